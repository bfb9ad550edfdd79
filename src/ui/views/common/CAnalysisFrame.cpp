#include "views/common/CAnalysisFrame.h"

#include <QCloseEvent>
#include <QKeySequence>
#include <QMdiArea>
#include <QShortcut>

#include "app/CMainFrame.h"
#include "app/CommandTable.h"
#include "app/OpenDocument.h"

namespace vandrel::ui {

CAnalysisFrame::CAnalysisFrame(CMainFrame& mainFrame, std::shared_ptr<OpenDocument> document,
                               QString titleSuffix)
    : mainFrame_(mainFrame), document_(std::move(document)), suffix_(std::move(titleSuffix)) {
  setAttribute(Qt::WA_DeleteOnClose);
  for (const int id : viewKeyCommands()) {
    const CommandDef* def = findCommand(id);
    auto* key = new QShortcut(QKeySequence(shortcutTextOf(def->text)), this);
    key->setContext(Qt::WidgetWithChildrenShortcut);
    connect(key, &QShortcut::activated, this, [this, id] {
      mainFrame_.mdiArea()->setActiveSubWindow(this);
      mainFrame_.runCommand(id);
    });
  }
  connect(document_.get(), &OpenDocument::titleChanged, this, &CAnalysisFrame::updateTitle);
  // A table window leaves the area only after its destruction has begun, and
  // the main frame announces the change of active document just after that.
  connect(&mainFrame_, &CMainFrame::activeDocumentChanged, this, &CAnalysisFrame::closeWhenOrphaned);
  updateTitle();
}

CAnalysisFrame::~CAnalysisFrame() {
  // QMdiSubWindow's destructor hands activation to another window, and the
  // main frame announces that while this frame is already half destroyed:
  // the slot must not be called on what is left of it.
  disconnect(&mainFrame_, nullptr, this, nullptr);
}

void CAnalysisFrame::addToArea() {
  mainFrame_.mdiArea()->addSubWindow(this);
  show();
  mainFrame_.mdiArea()->setActiveSubWindow(this);
  renumber(nullptr);
}

void CAnalysisFrame::renumber(const CAnalysisFrame* leaving) {
  // Windows of one kind for one document are told apart as the table's are:
  // "Vandr1::Spectrogram:1", "Vandr1::Spectrogram:2", in the order they opened.
  QList<CAnalysisFrame*> same;
  for (QMdiSubWindow* w : mainFrame_.mdiArea()->subWindowList(QMdiArea::CreationOrder))
    if (auto* f = qobject_cast<CAnalysisFrame*>(w);
        f && f != leaving && f->document_ == document_ && f->suffix_ == suffix_)
      same << f;
  for (int i = 0; i < same.size(); ++i) {
    same[i]->number_ = same.size() > 1 ? i + 1 : 0;
    same[i]->updateTitle();
  }
}

void CAnalysisFrame::closeEvent(QCloseEvent* event) {
  QMdiSubWindow::closeEvent(event);
  if (event->isAccepted()) renumber(this);
}

void CAnalysisFrame::updateTitle() {
  setWindowTitle(document_->title() + suffix_ +
                 (number_ > 0 ? QStringLiteral(":%1").arg(number_) : QString()));
}

void CAnalysisFrame::closeWhenOrphaned() {
  if (mainFrame_.windowsOf(*document_).isEmpty()) close();
}

}  // namespace vandrel::ui
