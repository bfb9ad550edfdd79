#pragma once
// CChildFrame: one document window inside the main frame. It frames the
// document's view (the table) and routes the table's own keys (Ctrl+1,
// Ctrl+B ...) to the main frame's commands while it has the focus. Several
// child frames may show one document ("New Window"); the document lives as
// long as its last window.

#include <QMdiSubWindow>

#include <functional>
#include <memory>

namespace vandrel::ui {

class CMainFrame;
class OpenDocument;

class CChildFrame : public QMdiSubWindow {
  Q_OBJECT
 public:
  CChildFrame(CMainFrame& mainFrame, std::shared_ptr<OpenDocument> document);
  ~CChildFrame() override;

  OpenDocument& document() const { return *document_; }
  const std::shared_ptr<OpenDocument>& sharedDocument() const { return document_; }
  QWidget* view() const { return widget(); }

  // 0 when this is the document's only window ("Vandr1"), else its number
  // among the document's windows ("Vandr1:2").
  void setWindowNumber(int n);
  int windowNumber() const { return windowNumber_; }
  void updateTitle();

 protected:
  void closeEvent(QCloseEvent* event) override;

 private:
  CMainFrame& mainFrame_;
  std::shared_ptr<OpenDocument> document_;
  int windowNumber_ = 0;
};

// A window of the area that shows one document without being one of its
// table windows (the analysis views). While one is active, the document's
// commands act on the document's first table window.
class DocumentWindow {
 public:
  virtual ~DocumentWindow() = default;
  virtual OpenDocument& document() const = 0;
};

// Makes the widget that shows a document inside a child frame. The table
// view installs its own with setDocumentViewFactory (from a static
// initialiser, like a command installer); without one the window is empty.
using DocumentViewFactory = std::function<QWidget*(OpenDocument& document, CChildFrame& frame)>;
bool setDocumentViewFactory(DocumentViewFactory factory);

}  // namespace vandrel::ui
