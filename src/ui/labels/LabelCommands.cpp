// File > "Open Labels...": a Praat TextGrid as the document's labels, one
// undo step; refused files say which line breaks which rule.

#include <QFileInfo>

#include "app/CMainFrame.h"
#include "app/CommandIds.h"
#include "app/CommandRouter.h"
#include "app/OpenDocument.h"
#include "common/Messages.h"
#include "labels/DocumentLabels.h"

namespace vandrel::ui {

namespace {

void openLabels(CommandContext& ctx) {
  const QString folder =
      ctx.document->path().isEmpty() ? QString() : QFileInfo(ctx.document->path()).absolutePath();
  const QString path = ctx.mainFrame->environment().hooks.openFileName(
      ctx.dialogParent(), QStringLiteral("Open Labels"), folder,
      QStringLiteral("Praat TextGrid files (*.TextGrid *.textgrid);;All files (*)"));
  if (path.isEmpty()) return;
  const std::string why = vandrel::openLabelsFile(ctx.document->doc(), path.toStdString());
  if (!why.empty()) {
    warn(ctx.dialogParent(), QString::fromStdString(why));
    return;
  }
  ctx.mainFrame->showStatus(
      QStringLiteral("Labels %1 opened; Save keeps them beside the table").arg(QFileInfo(path).fileName()));
}

void installLabelCommands(CommandRouter& router) { router.setHandler(ID_FILE_OPEN_LABELS, &openLabels); }

const bool installed = addCommandInstaller(&installLabelCommands);

}  // namespace

}  // namespace vandrel::ui
