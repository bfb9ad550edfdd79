#include "table/TableCommands.h"

#include <functional>

#include "app/CMainFrame.h"
#include "app/CommandIds.h"
#include "app/CommandRouter.h"
#include "app/OpenDocument.h"
#include "editing/Anchors.h"
#include "editing/Interpolation.h"
#include "editing/RowColumnCommands.h"
#include "editing/SetDefaults.h"
#include "editing/UndoCommands.h"
#include "table/CVandrelView.h"

namespace vandrel::ui {

namespace {

using TableOp = std::function<void(CVandrelDoc&, TableSelection&)>;

bool tableActive(const CommandContext& ctx) { return CVandrelView::active(ctx) != nullptr; }

// Each handler reads the view's stored selection, runs one core operation on it and
// lets the document's notifications repaint the table.
void attach(CommandRouter& router, int id, TableOp op) {
  router.setHandler(
      id,
      [op = std::move(op)](CommandContext& ctx) {
        CVandrelView* view = CVandrelView::active(ctx);
        if (!view) return;
        op(view->document().doc(), view->selection());
      },
      &tableActive);
}

void undoRedo(CommandContext& ctx, bool undo) {
  CVandrelView* view = CVandrelView::active(ctx);
  if (!view) return;
  CVandrelDoc& doc = view->document().doc();
  const UndoStatus status = undo ? undoCommand(doc) : redoCommand(doc);
  if (status == UndoStatus::kInvalidArgument)
    ctx.mainFrame->showStatus(undo ? QStringLiteral("Nothing to undo") : QStringLiteral("Nothing to redo"));
}

const bool installed = addCommandInstaller(&installTableCommands);

}  // namespace

void installTableCommands(CommandRouter& router) {
  (void)installed;
  router.setHandler(
      ID_EDIT_UNDO, [](CommandContext& ctx) { undoRedo(ctx, true); }, &tableActive);
  router.setHandler(
      ID_EDIT_REDO, [](CommandContext& ctx) { undoRedo(ctx, false); }, &tableActive);
  attach(router, ID_EDIT_REMOVE_ROW, [](CVandrelDoc& doc, TableSelection&) { removeRow(doc); });
  router.setHandler(
      ID_EDIT_REMOVE_COLUMN,
      [](CommandContext& ctx) {
        CVandrelView* view = CVandrelView::active(ctx);
        if (!view) return;
        removeColumn(view->document().doc(), view->selection());
        view->showStoredSelection();  // a whole-column selection is gone
      },
      &tableActive);
  attach(router, ID_EDIT_SET_DEFAULTS, &setToDefaultValues);
  router.setHandler(
      ID_EDIT_SELECT_ALL,
      [](CommandContext& ctx) {
        CVandrelView* view = CVandrelView::active(ctx);
        if (!view) return;
        view->selection() = selectAll(view->document().doc().table());
        view->showStoredSelection();
      },
      &tableActive);
  attach(router, ID_ANCHORS_ADD, &addAnchorsToSelection);
  attach(router, ID_ANCHORS_REMOVE, &removeAnchorsFromSelection);
  attach(router, ID_ANCHORS_REMOVE_ALL, [](CVandrelDoc& doc, TableSelection&) { removeAllAnchors(doc); });
  attach(router, ID_INTERPOLATE_SELECTION, &interpolateSelectionCommand);
  attach(router, ID_INTERPOLATE_ALL, [](CVandrelDoc& doc, TableSelection&) { interpolateAllCommand(doc); });
}

}  // namespace vandrel::ui
