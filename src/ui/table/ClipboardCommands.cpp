// Edit > Cut, Copy and Paste on the table: the toolbar's buttons and the
// usual keys. The text on the clipboard is tab-separated, one line per shown
// row, which a spreadsheet pastes as numbers and a text editor as columns.

#include <QClipboard>
#include <QGuiApplication>

#include <algorithm>

#include "app/CMainFrame.h"
#include "app/CommandIds.h"
#include "app/CommandRouter.h"
#include "editing/Clipboard.h"
#include "table/CVandrelView.h"

namespace vandrel::ui {

namespace {

// The stored selection, or the current cell when nothing is selected.
vandrel::TableSelection selectionOrCurrentCell(CVandrelView& view) {
  const vandrel::TableSelection& sel = view.selection();
  if (sel.kind != vandrel::SelectionKind::kNone) return sel;
  return vandrel::TableSelection::block(view.currentColumn(), view.currentParam(), view.currentColumn(),
                                        view.currentParam());
}

QString copiedStatus(const std::string& text, const QString& verb) {
  const qsizetype lines = std::count(text.begin(), text.end(), '\n');
  const qsizetype cells = std::count(text.begin(), text.end(), '\t') + lines;
  return QStringLiteral("%1 %2 cells (%3 rows)").arg(verb).arg(cells).arg(lines);
}

void copyOrCut(CommandContext& ctx, bool cut) {
  CVandrelView* view = CVandrelView::active(ctx);
  if (!view) return;
  const vandrel::TableSelection sel = selectionOrCurrentCell(*view);
  const std::string text = cut ? vandrel::cutSelection(*ctx.doc(), sel, view->shownParams())
                               : vandrel::copySelection(*ctx.doc(), sel, view->shownParams());
  if (text.empty()) {
    ctx.mainFrame->showStatus(QStringLiteral("Nothing shown is selected"));
    return;
  }
  QGuiApplication::clipboard()->setText(QString::fromStdString(text));
  ctx.mainFrame->showStatus(copiedStatus(text, cut ? QStringLiteral("Cut") : QStringLiteral("Copied")));
}

void paste(CommandContext& ctx) {
  CVandrelView* view = CVandrelView::active(ctx);
  if (!view) return;
  const QString text = QGuiApplication::clipboard()->text();
  if (text.isEmpty()) {
    ctx.mainFrame->showStatus(QStringLiteral("The clipboard holds no text to paste"));
    return;
  }
  vandrel::CVandrelDoc& doc = *ctx.doc();
  const auto [row, column] =
      vandrel::pasteTarget(view->selection(), doc.table(), view->currentParam(), view->currentColumn());
  const vandrel::PasteResult r =
      vandrel::pasteText(doc, row, column, text.toStdString(), view->shownParams());
  QString status = QStringLiteral("Pasted %1 cells").arg(r.written);
  if (r.skipped > 0) status += QStringLiteral("; skipped %1 that were not numbers").arg(r.skipped);
  if (r.outside > 0) status += QStringLiteral("; %1 fell beyond the table").arg(r.outside);
  ctx.mainFrame->showStatus(status, r.skipped + r.outside > 0 ? 15000 : 5000);
}

void install(CommandRouter& r) {
  const CommandEnabler onTable = [](const CommandContext& ctx) {
    return CVandrelView::active(ctx) != nullptr;
  };
  r.setHandler(
      ID_EDIT_COPY, [](CommandContext& ctx) { copyOrCut(ctx, false); }, onTable);
  r.setHandler(
      ID_EDIT_CUT, [](CommandContext& ctx) { copyOrCut(ctx, true); }, onTable);
  r.setHandler(ID_EDIT_PASTE, paste, onTable);
}

const bool installed = addCommandInstaller(&install);

}  // namespace

}  // namespace vandrel::ui
