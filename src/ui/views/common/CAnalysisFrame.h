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

 protected:
  void closeEvent(QCloseEvent* event) override;

 private:
  void updateTitle();
  void closeWhenOrphaned();
  // Numbers the document's windows of this kind when there are several,
  // leaving `leaving` out.
  void renumber(const CAnalysisFrame* leaving);

  CMainFrame& mainFrame_;
  std::shared_ptr<OpenDocument> document_;
  QString suffix_;
  int number_ = 0;  // 0 while it is the document's only window of its kind
};

}  // namespace vandrel::ui
