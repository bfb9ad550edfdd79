// Edit > "Add Row...", "Add Column...", "Add/Subtract ..." and Options >
// "File...", "Parameters...": each opens its dialog, hands what the user
// confirmed to one core operation on the active table and shows the messages
// it returns.

#include "OptionCommands.h"

#include "CAddColumn.h"
#include "CDialogAddSubtract.h"
#include "COptionFile.h"
#include "COptionParameters.h"
#include "DialogSupport.h"
#include "app/CMainFrame.h"
#include "app/CommandIds.h"
#include "app/CommandRouter.h"
#include "app/OpenDocument.h"
#include "common/LazyProgress.h"
#include "editing/AddSubtract.h"
#include "editing/AdjustTime.h"
#include "editing/TableOptions.h"
#include "table/CVandrelView.h"

namespace vandrel::ui {

namespace {

bool tableActive(const CommandContext& ctx) { return CVandrelView::active(ctx) != nullptr; }

void addColumn(CommandContext& ctx) {
  CVandrelView* view = CVandrelView::active(ctx);
  if (!view) return;
  vandrel::CVandrelDoc& doc = view->document().doc();
  if (doc.hasAudio()) {
    // Refused before the dialog opens: the time is locked to the recording.
    view->showMessages(vandrel::addTime(doc, view->selection()));
    return;
  }
  CAddColumn dialog(doc.addColumnTimeMs(), doc.addColumnPlace(), ctx.dialogParent());
  if (runDialog(dialog) != QDialog::Accepted) return;
  doc.setAddColumnTimeMs(dialog.timeMs());
  doc.setAddColumnPlace(dialog.place());
  LazyProgress progress(ctx.dialogParent());
  view->showMessages(vandrel::addTime(doc, view->selection(), progress.callback()));
}

void addSubtract(CommandContext& ctx) {
  CVandrelView* view = CVandrelView::active(ctx);
  if (!view) return;
  vandrel::CVandrelDoc& doc = view->document().doc();
  CDialogAddSubtract dialog(doc.addSubtractAmount(), ctx.dialogParent());
  if (runDialog(dialog) != QDialog::Accepted) return;
  vandrel::addSubtract(doc, view->selection(), dialog.amount());
}

void fileOptions(CommandContext& ctx) {
  CVandrelView* view = CVandrelView::active(ctx);
  if (!view) return;
  vandrel::CVandrelDoc& doc = view->document().doc();
  std::array<vandrel::Colorref, vandrel::kGroupCount> groups{};
  for (int g = 0; g < vandrel::kGroupCount; ++g) groups[static_cast<std::size_t>(g)] = doc.groupColor(g);
  COptionFile dialog(vandrel::fileOptionsOf(doc), doc.hasAudio(), groups, ctx.dialogParent());
  if (runDialog(dialog) != QDialog::Accepted) return;
  LazyProgress progress(ctx.dialogParent());
  const auto messages = vandrel::applyFileOptions(doc, dialog.options(), progress.callback());
  view->showMessages(messages);
  ctx.mainFrame->writeConfigurationFile(&doc);
}

void parameterOptions(CommandContext& ctx) {
  CVandrelView* view = CVandrelView::active(ctx);
  if (!view) return;
  vandrel::CVandrelDoc& doc = view->document().doc();
  COptionParameters dialog(vandrel::parameterOptionsOf(doc), doc.anchorColor(), ctx.dialogParent());
  if (runDialog(dialog) != QDialog::Accepted) return;
  const auto messages = vandrel::applyParameterOptions(doc, dialog.options());
  view->showMessages(messages);
  if (messages.empty()) ctx.mainFrame->writeConfigurationFile(&doc);
}

}  // namespace

void installOptionCommands(CommandRouter& router) {
  router.setHandler(ID_EDIT_ADD_COLUMN, addColumn, &tableActive);
  router.setHandler(ID_EDIT_ADD_SUBTRACT, addSubtract, &tableActive);
  router.setHandler(ID_EDIT_ADD_ROW, parameterOptions, &tableActive);
  router.setHandler(ID_OPTIONS_FILE, fileOptions, &tableActive);
  router.setHandler(ID_OPTIONS_PARAMETERS, parameterOptions, &tableActive);
}

namespace {
const bool optionCommandsInstalled = addCommandInstaller(&installOptionCommands);
}  // namespace

}  // namespace vandrel::ui
