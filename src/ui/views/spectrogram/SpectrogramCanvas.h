#pragma once
// SpectrogramCanvas: the drawing area of the spectrogram/pitch view. It owns
// the scene, starts the analyses of its signals on worker threads whenever
// what they cover changes (the signal, the options, the zoom, the size of the
// spectrogram panes), and draws the last results it has until newer ones
// arrive. The picture is kept in a pixmap; the crosshair and the document's
// cursor are painted over it, so following the mouse costs one blit.
//
// Mouse: the crosshair reads time, frequency and level (or f0) out to the
// status line and moves the document's cursor; a drag selects a time range
// (the document's selection); Ctrl+wheel zooms about the pointer. Keys: + and
// - zoom, 0 shows all, Enter zooms to the selection, Escape clears it.

#include <QElapsedTimer>
#include <QFutureWatcher>
#include <QPixmap>
#include <QPointer>
#include <QWidget>

#include <functional>
#include <memory>
#include <optional>

#include "document/DocObserver.h"
#include "views/common/TimeAxis.h"
#include "views/spectrogram/SpectrogramScene.h"

class QTimer;

namespace vandrel::ui {

class CProgressDialog;
class OpenDocument;

class SpectrogramCanvas : public QWidget {
  Q_OBJECT
 public:
  // `own` is the signal this view analyses: the synthesized buffer or the
  // audio file; the other one is shown beside it on request.
  SpectrogramCanvas(OpenDocument& document, vandrel::SampleSlot own, const SpectrogramViewOptions& options,
                    QWidget* parent = nullptr);
  ~SpectrogramCanvas() override;

  OpenDocument& document() const { return document_; }
  vandrel::SampleSlot ownSlot() const { return own_; }
  const SpectrogramScene& scene() const { return scene_; }
  TimeAxis& axis() { return axis_; }
  std::vector<Pane> panes() const { return scene_.layout(rect()); }

  void setOptions(const SpectrogramViewOptions& options);
  void setCompare(Compare compare);
  void setTableOverlay(bool on);
  void setTableColumn(int column);  // the table's current column, -1 for none
  int tableColumn() const { return tableColumn_; }
  // Whether the other signal exists (so comparing makes sense).
  bool hasOther() const { return scene_.signal[1].samples != nullptr; }

  void zoomIn();
  void zoomOut();
  void zoomToSelection();
  void showAll();

  // Analyses still running.
  bool busy() const;

  // The status line the read-out goes to.
  std::function<void(const QString&)> statusSink;

  // Trace mode: a drag writes the traced track instead of selecting; the
  // view's owner receives each point (time in ms, frequency in Hz) and the
  // end of the stroke.
  std::function<void(double ms, double hz)> tracePoint;
  std::function<void()> traceEnd;
  bool tracing = false;
  bool tracePitch = false;  // trace over the pitch pane, else the spectrogram

  // Draws the picture of the times [startMs, endMs] into `area` (printing and
  // saved pictures), the panes above the pitch pane taking `upperShare` of
  // the height.
  void paintPage(QPainter& p, const QRect& area, double startMs, double endMs, double upperShare) const;

 signals:
  void analysed();  // a result has arrived and is drawn
  void zoomChanged();

 protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void showEvent(QShowEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void wheelEvent(QWheelEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void leaveEvent(QEvent* event) override;

 private:
  void reloadSignal(int index);
  void invalidate();        // the picture must be drawn again
  void scheduleAnalysis();  // soon, once the current events are handled
  void startAnalysis();
  void receive(int index, bool pitch);
  void updateProgress();
  void updateCrosshair(const QPoint& at);
  std::optional<Pane> paneAt(const QPoint& at) const;

  OpenDocument& document_;
  vandrel::SampleSlot own_;
  SpectrogramScene scene_;
  TimeAxis axis_;

  QPixmap cache_;
  bool cacheValid_ = false;
  QPoint crosshair_{-1, -1};
  double cursorMs_ = -1;  // the document's cursor, drawn when the pointer is elsewhere
  double playMs_ = -1;    // the sound being heard, while the document plays
  int tableColumn_ = -1;  // the table's current column, tinted over the picture

  // What the running or last analyses cover, so a repaint that changes
  // nothing asks for nothing.
  struct Covered {
    double startMs = -1, endMs = -1;
    int columns = 0, rows = 0;
    bool operator==(const Covered&) const = default;
  };
  std::array<Covered, 2> spectroCovered_{};
  std::array<Covered, 2> pitchCovered_{};
  std::array<QFutureWatcher<SpectrogramResult>*, 2> spectroWatch_{};
  std::array<QFutureWatcher<PitchResult>*, 2> pitchWatch_{};
  std::array<std::shared_ptr<AnalysisProgressCounter>, 2> spectroProgress_{};
  std::array<std::shared_ptr<AnalysisProgressCounter>, 2> pitchProgress_{};
  bool scheduled_ = false;

  QElapsedTimer running_;  // since the oldest analysis still running started
  QTimer* progressTimer_ = nullptr;
  QPointer<CProgressDialog> progressDialog_;

  bool dragging_ = false;
  double dragStartMs_ = 0;
};

}  // namespace vandrel::ui
