#include "editing/AfterEdit.h"

#include "editing/Interpolation.h"

namespace vandrel {

void afterEditStep(CVandrelDoc& doc, TableViewState& view) {
  doc.undo.append(doc.table, doc.params().intervalMs);
  view.tableChanged = true;
}

void afterEditStep(CVandrelDoc& doc, TableViewState& view, const CellRange& written) {
  doc.undo.noteChanged(written);
  afterEditStep(doc, view);
}

void afterCellEdit(CVandrelDoc& doc, TableViewState& view, int row, int column) {
  if (doc.anchorAfterEdit && row >= 0 && row < doc.table.rows() && column >= 0 &&
      column < doc.table.columns()) {
    doc.table.setAnchor(row, column, true);
    doc.notifyCellsChanged(CellRange{row, row, column, column});
  }
  if (doc.autoInterpolate) interpolateAll(doc);
  doc.markEdited();
  afterEditStep(doc, view);
}

}  // namespace vandrel
