// Edit > "Add Row...", "Add Column...", "Add/Subtract ..." and Options >
// "File...", "Parameters...": each opens its dialog, hands what the user
// confirmed to one core operation and shows the messages it returns.

#include "OptionCommands.h"

#include <QObject>

#include <algorithm>

#include "CAddColumn.h"
#include "CDialogAddSubtract.h"
#include "COptionFile.h"
#include "COptionParameters.h"
#include "DialogSupport.h"
#include "app/CMainFrame.h"
#include "app/CProgressDialog.h"
#include "app/CommandIds.h"
#include "app/CommandRouter.h"
#include "app/OpenDocument.h"
#include "editing/AddSubtract.h"
#include "editing/AdjustTime.h"
#include "editing/TableOptions.h"

namespace vandrel::ui {

namespace {

// The selection and table-changed flag of the document's table, kept beside
// the document while no table view holds them.
class ViewStateSlot : public QObject {
 public:
  explicit ViewStateSlot(QObject* parent) : QObject(parent) { setObjectName(kName); }
  static constexpr const char* kName = "vandrel-table-state";
  vandrel::TableViewState state;
};

vandrel::TableViewState& viewState(CommandContext& ctx) {
  OpenDocument& document = *ctx.document;
  auto* slot = dynamic_cast<ViewStateSlot*>(
      document.findChild<QObject*>(ViewStateSlot::kName, Qt::FindDirectChildrenOnly));
  if (slot == nullptr) slot = new ViewStateSlot(&document);
  return slot->state;
}

// Work that grows the table by this many cells or more runs behind the
// progress window; smaller changes are over before it could be read.
constexpr long long kProgressCells = 2'000'000;

template <class Work>
vandrel::UserMessages withProgress(CommandContext& ctx, long long cells, Work work) {
  vandrel::UserMessages out;
  if (cells < kProgressCells) return work(vandrel::ProgressFn{});
  CProgressDialog::run(ctx.dialogParent(), CProgressDialog::kBuildingTable,
                       [&](const CProgressDialog::Progress& progress) { out = work(progress); });
  return out;
}

long long cellsFor(long long columns) { return columns * vandrel::kParamCount; }

void addColumn(CommandContext& ctx) {
  vandrel::CVandrelDoc& doc = *ctx.doc();
  vandrel::TableViewState& view = viewState(ctx);
  if (doc.hasAudio()) {
    // Refused before the dialog opens: the time is locked to the recording.
    showUserMessages(ctx.dialogParent(), vandrel::addTime(doc, view));
    return;
  }
  CAddColumn dialog(doc.addColumnTimeMs, doc.addColumnPlace, ctx.dialogParent());
  if (runDialog(dialog) != QDialog::Accepted) return;
  doc.addColumnTimeMs = dialog.timeMs();
  doc.addColumnPlace = dialog.place();
  const int interval = std::max(doc.params().intervalMs, 1);
  const auto messages =
      withProgress(ctx, cellsFor(doc.table.columns() + dialog.timeMs() / interval),
                   [&](const vandrel::ProgressFn& p) { return vandrel::addTime(doc, view, p); });
  showUserMessages(ctx.dialogParent(), messages);
}

void addSubtract(CommandContext& ctx) {
  vandrel::CVandrelDoc& doc = *ctx.doc();
  CDialogAddSubtract dialog(doc.addSubtractAmount, ctx.dialogParent());
  if (runDialog(dialog) != QDialog::Accepted) return;
  vandrel::addSubtract(doc, viewState(ctx), dialog.amount());
}

void fileOptions(CommandContext& ctx) {
  vandrel::CVandrelDoc& doc = *ctx.doc();
  std::array<vandrel::Colorref, vandrel::kGroupCount> groups{};
  for (int g = 0; g < vandrel::kGroupCount; ++g) groups[static_cast<std::size_t>(g)] = doc.groupColor(g);
  COptionFile dialog(vandrel::fileOptionsOf(doc), doc.hasAudio(), groups, ctx.dialogParent());
  if (runDialog(dialog) != QDialog::Accepted) return;
  const vandrel::FileOptions options = dialog.options();
  const long long columns = options.fileLengthMs / std::max(options.intervalMs, 1);
  const auto messages = withProgress(ctx, cellsFor(columns), [&](const vandrel::ProgressFn& p) {
    return vandrel::applyFileOptions(doc, viewState(ctx), options, p);
  });
  showUserMessages(ctx.dialogParent(), messages);
  ctx.mainFrame->writeConfigurationFile(&doc);
}

void parameterOptions(CommandContext& ctx) {
  vandrel::CVandrelDoc& doc = *ctx.doc();
  COptionParameters dialog(vandrel::parameterOptionsOf(doc), doc.anchorColor(), ctx.dialogParent());
  if (runDialog(dialog) != QDialog::Accepted) return;
  const auto messages = vandrel::applyParameterOptions(doc, viewState(ctx), dialog.options());
  showUserMessages(ctx.dialogParent(), messages);
  if (messages.empty()) ctx.mainFrame->writeConfigurationFile(&doc);
}

}  // namespace

void installOptionCommands(CommandRouter& router) {
  router.setHandler(ID_EDIT_ADD_COLUMN, addColumn);
  router.setHandler(ID_EDIT_ADD_SUBTRACT, addSubtract);
  router.setHandler(ID_EDIT_ADD_ROW, parameterOptions);
  router.setHandler(ID_OPTIONS_FILE, fileOptions);
  router.setHandler(ID_OPTIONS_PARAMETERS, parameterOptions);
}

namespace {
const bool optionCommandsInstalled = addCommandInstaller(&installOptionCommands);
}  // namespace

}  // namespace vandrel::ui
