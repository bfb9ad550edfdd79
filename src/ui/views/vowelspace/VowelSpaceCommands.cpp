#include "views/vowelspace/VowelSpaceCommands.h"

#include <QMdiArea>
#include <QMdiSubWindow>

#include "app/CChildFrame.h"
#include "app/CMainFrame.h"
#include "app/CommandIds.h"
#include "app/CommandRouter.h"
#include "app/OpenDocument.h"
#include "views/common/WindowKinds.h"
#include "views/vowelspace/CVowelSpaceFrame.h"

namespace vandrel::ui {

namespace {

void openVowelSpace(CommandContext& ctx) {
  findOrOpen<CVowelSpaceFrame>(*ctx.mainFrame, *ctx.document, [&ctx] {
    return new CVowelSpaceFrame(*ctx.mainFrame, ctx.childFrame->sharedDocument());
  });
}

const bool installed = addCommandInstaller(&installVowelSpaceCommands);

}  // namespace

void installVowelSpaceCommands(CommandRouter& router) {
  router.setHandler(ID_VIEW_VOWEL_SPACE, openVowelSpace);
}

}  // namespace vandrel::ui
