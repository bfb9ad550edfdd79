#include "editing/RowColumnCommands.h"

#include "editing/AfterEdit.h"

namespace vandrel {

void removeRow(CVandrelDoc& doc, TableViewState& view) {
  if (doc.rowsInUse > 0) --doc.rowsInUse;
  doc.markEdited();
  view.tableChanged = true;
  afterEditStep(doc, view);
}

void removeColumn(CVandrelDoc& doc, TableViewState& view) {
  doc.markEdited();
  if (view.selection.kind == SelectionKind::kColumn) view.selection = TableSelection::none();
  view.tableChanged = true;
}

}  // namespace vandrel
