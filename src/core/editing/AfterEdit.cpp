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

void keepTableBeforeEdit(CVandrelDoc& doc, std::initializer_list<int> rows) {
  UndoHistory& h = doc.undo;
  const int at = h.current();
  bool same = at >= 0 && at < h.count() && h.columnsAt(at) == doc.table.columns();
  for (const int row : rows)
    for (int c = 0; same && c < doc.table.columns(); ++c)
      same = h.valueAt(at, row, c) == UndoHistory::wholeValue(doc.table.value(row, c));
  if (same) return;
  h.noteAllChanged();
  h.append(doc.table, doc.params().intervalMs);
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
