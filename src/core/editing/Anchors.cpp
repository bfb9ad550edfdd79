#include "editing/Anchors.h"

#include <algorithm>

#include "editing/EditTransaction.h"

namespace vandrel {

namespace {

void setRange(CVandrelDoc& doc, int r0, int r1, int c0, int c1, bool on) {
  EditTransaction edit(doc);  // no undo step: it only tells the observers
  FrameTable& t = edit.table();
  r0 = std::max(r0, 0);
  r1 = std::min(r1, t.rows() - 1);
  c0 = std::max(c0, 0);
  c1 = std::min(c1, t.columns() - 1);
  if (r0 > r1 || c0 > c1) return;
  for (int r = r0; r <= r1; ++r)
    for (int c = c0; c <= c1; ++c) t.setAnchor(r, c, on);
  edit.noteAnchors(CellRange{r0, r1, c0, c1});
  edit.flush();
}

void setSelection(CVandrelDoc& doc, TableSelection& selection, bool on) {
  const TableSelection& sel = selection;
  const int lastColumn = doc.table().columns() - 1;
  switch (sel.kind) {
    case SelectionKind::kRow:
      setRange(doc, sel.row, sel.row, 0, lastColumn, on);
      break;
    case SelectionKind::kColumn:
      setRange(doc, 0, kParamCount - 1, sel.column, sel.column, on);
      break;
    case SelectionKind::kBlock:
      setRange(doc, std::min(sel.startRow, sel.endRow), std::max(sel.startRow, sel.endRow),
               std::min(sel.startColumn, sel.endColumn), std::max(sel.startColumn, sel.endColumn), on);
      break;
    case SelectionKind::kNone:
      return;
  }
  doc.setModified(true);
  doc.setTableChanged(true);
}

}  // namespace

void setCellAnchor(CVandrelDoc& doc, int row, int column, bool on) {
  setRange(doc, row, row, column, column, on);
}

void addAnchorsToSelection(CVandrelDoc& doc, TableSelection& selection) {
  setSelection(doc, selection, true);
}

void removeAnchorsFromSelection(CVandrelDoc& doc, TableSelection& selection) {
  setSelection(doc, selection, false);
}

void removeAllAnchors(CVandrelDoc& doc) {
  {
    EditTransaction edit(doc);  // no undo step: it only tells the observers
    edit.table().clearAnchors();
    if (doc.table().columns() > 0)
      edit.noteAnchors(CellRange{0, kParamCount - 1, 0, doc.table().columns() - 1});
  }
  doc.setModified(true);
  doc.setTableChanged(true);
}

}  // namespace vandrel
