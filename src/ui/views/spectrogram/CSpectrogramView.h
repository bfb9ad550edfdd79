#pragma once
// CSpectrogramView: the content of a spectrogram/pitch window - a toolbar
// (zoom, the other signal beneath or overlaid, the table's own values) over
// the drawing area. It is what File > Print and "Save As bmp..." print: the
// selected stretch when there is one, else the visible one, at the size the
// spectrogram options give (inches or cm), in colour or black and white as
// the pitch options say.

#include <QWidget>

#include <functional>
#include <optional>

#include "common/Printable.h"
#include "document/DocObserver.h"
#include "editing/TraceStroke.h"
#include "views/spectrogram/SpectrogramScene.h"

class QAction;
class QComboBox;
class QToolBar;

namespace vandrel::ui {

class OpenDocument;
class SpectrogramCanvas;

class CSpectrogramView : public QWidget, public Printable {
  Q_OBJECT
 public:
  CSpectrogramView(OpenDocument& document, vandrel::SampleSlot own, const SpectrogramViewOptions& options,
                   QWidget* parent = nullptr);

  SpectrogramCanvas* canvas() const { return canvas_; }
  vandrel::SampleSlot ownSlot() const;
  void setOptions(const SpectrogramViewOptions& options);

  // The toolbar's toggles, also for tests and the frame's menu keys.
  QAction* action(const QString& name) const;

  void printTo(QPrinter& printer, const QString& title) override;
  QImage picture() override;
  QSizeF vectorSize() override { return pageInches() * 96.0; }
  void paintVector(QPainter& p) override;

  // Trace mode: a drag over the pitch pane (F0) or the spectrogram (F1..F5)
  // writes the frames under the pointer into the table, one undo step per
  // stroke. `row` is kF0 or kF1 .. kF5.
  void startTracing(int row);
  void stopTracing();
  bool tracing() const;
  int traceRow() const;

  // The printed size: the spectrogram options' height for the waveform and
  // the spectrogram, the pitch options' height for pitch and intensity, the
  // wider of their widths. Pictures take it at 150 dots per inch.
  QSizeF pageInches() const;
  QSize pictureSize() const;

 private:
  void updateCompareActions();
  double printStartMs() const;
  double printEndMs() const;
  double upperShare() const;

  void updateTracing();

  OpenDocument& document_;
  SpectrogramCanvas* canvas_;
  QComboBox* traceRow_ = nullptr;
  std::optional<vandrel::TraceStroke> stroke_;
  QToolBar* bar_;
  SpectrogramViewOptions options_;
};

}  // namespace vandrel::ui
