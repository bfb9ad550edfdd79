#pragma once
// CFreqInputWnd: the drawing window of graphical data entry. Three strips,
// one above the other over the table's whole length - f0, the formants f1 ..
// f5 and the amplitudes - show the current table values of every drawable
// track in its colour (the selected one bold, anchors as handles); dragging
// with the left button writes the selected track into the table, one edit per
// stroke (DrawStroke). Behind the strips it can show the recording's
// spectrogram (formant strip, same frequency scale) and pitch track (f0
// strip), time-aligned with the table's frames; both are computed on a
// worker thread.

#include <QFutureWatcher>
#include <QPen>
#include <QPointer>
#include <QTimer>
#include <QWidget>

#include <array>
#include <optional>
#include <utility>

#include "entry/DrawStroke.h"
#include "views/common/SignalAnalysis.h"

namespace vandrel::ui {

class CMainFrame;
class CVandrelView;
class OpenDocument;

class CFreqInputWnd : public QWidget {
  Q_OBJECT
 public:
  // One pen per track, then the grid's and the anchors' handles.
  static constexpr int kPenCount = 15;
  static constexpr int kGridPen = 13;
  static constexpr int kAnchorPen = 14;

  CFreqInputWnd(CMainFrame& mainFrame, OpenDocument& document, QWidget* parent = nullptr);

  OpenDocument& document() const { return document_; }
  const vandrel::DrawingLayout& layout() const { return layout_; }

  // The display maxima of the f0 and formant strips, taken again from the
  // pitch and spectrogram options (for the recording's rate, else the
  // synthesis's); the layout follows.
  void refreshSettings();

  // The pens again from the document's colours.
  void makePens();

  // Set when F1 is chosen; kept for the window's owner to read.
  int displayMode() const { return displayMode_; }
  void setDisplayMode(int mode) { displayMode_ = mode; }

  // The recording behind the strips (computed when first shown).
  void setShowRecording(bool on);
  bool showsRecording() const { return showRecording_; }
  bool backgroundBusy() const;
  bool hasBackground() const { return spectrogram_.ok || pitch_.ok; }

  // The table view the strokes write through: the document's first table
  // window's; null when it has none.
  // Drawing needs a table window of the document open (a stroke writes
  // through the document either way).
  bool hasTableWindow() const;

  QSize sizeHint() const override { return {900, 640}; }

 protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;

 private:
  void updateLayout();
  std::pair<int, int> displayMaxima() const;  // f0 and formant strips, Hz
  void cellsChanged(const vandrel::CellRange& cells);
  void startBackground();
  // Pixel column of the left edge of frame `column` (column = frames: the right edge).
  double xOfColumn(int column) const;
  void showReadout(const QPoint& p);

  // FreqInputPainting.cpp
  void paintStrip(QPainter& p, vandrel::Strip strip, int x0, int x1) const;
  void paintTrack(QPainter& p, vandrel::DrawTrack track, int x0, int x1) const;
  void paintAnchors(QPainter& p, vandrel::DrawTrack track, int x0, int x1) const;
  void paintBackground(QPainter& p) const;
  void paintTimeAxis(QPainter& p) const;
  void paintTitle(QPainter& p, vandrel::Strip strip) const;
  double yOf(vandrel::Strip strip, double value) const;

  CMainFrame& mainFrame_;
  OpenDocument& document_;
  vandrel::DrawingLayout layout_;
  int f0MaxHz_ = 500;
  int formantMaxHz_ = 5000;
  std::array<QPen, kPenCount> pens_;

  // The mouse protocol's state.
  bool stroking_ = false;  // a stroke began at button down
  QPoint last_;
  bool drawn_ = false;
  std::optional<vandrel::DrawStroke> stroke_;
  QVector<QPoint> ink_;  // the pointer's path during a stroke
  int displayMode_ = 0;

  bool showRecording_ = false;
  SpectrogramResult spectrogram_;
  PitchResult pitch_;
  QFutureWatcher<SpectrogramResult>* spectrogramWatcher_;
  QFutureWatcher<PitchResult>* pitchWatcher_;
  QTimer* backgroundTimer_;  // a resize recomputes the background once it settles
};

}  // namespace vandrel::ui
