#pragma once
// The cells that Add/Subtract and Set to Default Values work on.

#include <algorithm>

#include "document/VandrelDoc.h"
#include "editing/EditTransaction.h"
#include "editing/TableSelection.h"

namespace vandrel {

// Calls f(row, column) for every cell of the selection's column or block
// form, in the table's bounds, and tells the undo history and the observers
// (through `edit`, whose table f writes).
//  - a whole column: rows from the first down to the document's count of rows
//    in use;
//  - a block: the stored start and end column are exchanged first (and stay
//    exchanged), then columns from the start column to the end column, rows
//    from the start row to the end row - a range that runs backwards is empty.
// A whole row and no selection are left to the caller. Returns false when the
// selection is neither a column nor a block.
template <class F>
bool forColumnOrBlock(CVandrelDoc& doc, EditTransaction& edit, TableSelection& sel, F f) {
  const FrameTable& t = doc.table();
  int r0 = 0, r1 = -1, c0 = 0, c1 = -1;
  if (sel.kind == SelectionKind::kColumn) {
    r1 = std::min(doc.rowsInUse(), t.rows()) - 1;
    c0 = c1 = sel.column;
  } else if (sel.kind == SelectionKind::kBlock) {
    sel.exchangeBlockColumns();
    r0 = sel.startRow;
    r1 = sel.endRow;
    c0 = sel.startColumn;
    c1 = sel.endColumn;
  } else {
    return false;
  }
  r0 = std::max(r0, 0);
  r1 = std::min(r1, t.rows() - 1);
  c0 = std::max(c0, 0);
  c1 = std::min(c1, t.columns() - 1);
  if (r0 > r1 || c0 > c1) return true;
  for (int r = r0; r <= r1; ++r)
    for (int c = c0; c <= c1; ++c) f(r, c);
  const CellRange cells{r0, r1, c0, c1};
  edit.note(cells);
  edit.flush();
  return true;
}

}  // namespace vandrel
