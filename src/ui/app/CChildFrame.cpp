#include "app/CChildFrame.h"

#include <QCloseEvent>
#include <QIcon>
#include <QKeySequence>
#include <QMdiArea>
#include <QShortcut>

#include "app/CMainFrame.h"
#include "app/CommandTable.h"
#include "app/OpenDocument.h"

namespace vandrel::ui {

namespace {
DocumentViewFactory& viewFactory() {
  static DocumentViewFactory f;
  return f;
}
}  // namespace

bool setDocumentViewFactory(DocumentViewFactory factory) {
  viewFactory() = std::move(factory);
  return true;
}

CChildFrame::CChildFrame(CMainFrame& mainFrame, std::shared_ptr<OpenDocument> document)
    : mainFrame_(mainFrame), document_(std::move(document)) {
  setAttribute(Qt::WA_DeleteOnClose);
  setWindowIcon(QIcon(QStringLiteral(":/icons/document.svg")));
  QWidget* view = viewFactory() ? viewFactory()(*document_, *this) : nullptr;
  if (!view) {  // a program built without the table (some tests of the shell)
    view = new QWidget;
    view->setFocusPolicy(Qt::StrongFocus);
  }
  setWidget(view);

  // The table's keys: they act while this window, or anything in it, has the
  // focus, and only then (the menus name them, but they are not accelerators).
  for (const int id : viewKeyCommands()) {
    const CommandDef* def = findCommand(id);
    auto* key = new QShortcut(QKeySequence(shortcutTextOf(def->text)), this);
    key->setContext(Qt::WidgetWithChildrenShortcut);
    connect(key, &QShortcut::activated, this, [this, id] {
      mainFrame_.mdiArea()->setActiveSubWindow(this);
      mainFrame_.runCommand(id);
    });
  }

  connect(document_.get(), &OpenDocument::titleChanged, this, &CChildFrame::updateTitle);
  updateTitle();
}

CChildFrame::~CChildFrame() = default;

void CChildFrame::setWindowNumber(int n) {
  windowNumber_ = n;
  updateTitle();
}

void CChildFrame::updateTitle() {
  QString title = document_->title();
  if (windowNumber_ > 0) title += QStringLiteral(":%1").arg(windowNumber_);
  setWindowTitle(title);
}

void CChildFrame::closeEvent(QCloseEvent* event) {
  if (!mainFrame_.queryCloseWindow(*this)) {
    event->ignore();
    return;
  }
  QMdiSubWindow::closeEvent(event);
  if (event->isAccepted()) mainFrame_.windowClosing(*this);
}

}  // namespace vandrel::ui
