#pragma once
// CAnalysisFrame: the MDI window around an analysis view of a document (the
// spectrogram/pitch view, the FFT/LPC view). Its title is the document's
// title followed by the view's suffix ("Vandr1::Spectrogram"); the table's
// keys (Ctrl+T, Ctrl+G, Ctrl+D ...) work in it as in the table's own window;
// and it closes itself when the document's last table window has closed.

#include <QMdiSubWindow>
#include <QString>

#include <memory>

#include "app/CChildFrame.h"

namespace vandrel::ui {

class CMainFrame;
class OpenDocument;

class CAnalysisFrame : public QMdiSubWindow, public DocumentWindow {
  Q_OBJECT
 public:
  CAnalysisFrame(CMainFrame& mainFrame, std::shared_ptr<OpenDocument> document, QString titleSuffix);
  ~CAnalysisFrame() override;

  OpenDocument& document() const override { return *document_; }
  CMainFrame& mainFrame() const { return mainFrame_; }

  // Puts the frame into the main frame's area, shown and active.
  void addToArea();

 private:
  void updateTitle();
  void closeWhenOrphaned();

  CMainFrame& mainFrame_;
  std::shared_ptr<OpenDocument> document_;
  QString suffix_;
};

}  // namespace vandrel::ui
