#pragma once
// CSpectrogramView: the content of a spectrogram/pitch window - a toolbar
// (zoom, the other signal beneath or overlaid, the table's own values) over
// the drawing area. It is what File > Print and "Save As bmp..." print: the
// selected stretch when there is one, else the visible one, at the size the
// spectrogram options give (inches or cm), in colour or black and white as
// the pitch options say.

#include <QWidget>

#include "common/Printable.h"
#include "document/DocObserver.h"
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

  // The size of a picture: the spectrogram options' width and height at 150
  // dots per inch.
  QSize pictureSize() const;

 private:
  void updateCompareActions();
  double printStartMs() const;
  double printEndMs() const;

  SpectrogramCanvas* canvas_;
  QToolBar* bar_;
  SpectrogramViewOptions options_;
};

}  // namespace vandrel::ui
