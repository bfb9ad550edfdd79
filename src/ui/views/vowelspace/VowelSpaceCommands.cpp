#include "views/vowelspace/VowelSpaceCommands.h"

#include <QMdiArea>
#include <QMdiSubWindow>

#include "app/CChildFrame.h"
#include "app/CMainFrame.h"
#include "app/CommandIds.h"
#include "app/CommandRouter.h"
#include "app/OpenDocument.h"
#include "views/vowelspace/CVowelSpaceFrame.h"

namespace vandrel::ui {

namespace {

void openVowelSpace(CommandContext& ctx) {
  for (QMdiSubWindow* w : ctx.mainFrame->mdiArea()->subWindowList())
    if (auto* f = qobject_cast<CVowelSpaceFrame*>(w); f && &f->document() == ctx.document) {
      ctx.mainFrame->mdiArea()->setActiveSubWindow(f);
      return;
    }
  auto* frame = new CVowelSpaceFrame(*ctx.mainFrame, ctx.childFrame->sharedDocument());
  frame->addToArea();
}

const bool installed = addCommandInstaller(&installVowelSpaceCommands);

}  // namespace

void installVowelSpaceCommands(CommandRouter& router) {
  router.setHandler(ID_VIEW_VOWEL_SPACE, openVowelSpace);
}

}  // namespace vandrel::ui
