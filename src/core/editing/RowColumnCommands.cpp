#include "editing/RowColumnCommands.h"

#include "editing/AfterEdit.h"

namespace vandrel {

void removeRow(CVandrelDoc& doc) {
  if (doc.rowsInUse() > 0) doc.setRowsInUse(doc.rowsInUse() - 1);
  doc.markEdited();
  doc.setTableChanged(true);
  afterEditStep(doc);
}

void removeColumn(CVandrelDoc& doc, TableSelection& selection) {
  doc.markEdited();
  if (selection.kind == SelectionKind::kColumn) selection = TableSelection::none();
  doc.setTableChanged(true);
}

}  // namespace vandrel
