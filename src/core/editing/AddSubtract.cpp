#include "editing/AddSubtract.h"

#include <cmath>

#include "editing/AfterEdit.h"
#include "editing/BlockWalk.h"

namespace vandrel {

void addSubtract(CVandrelDoc& doc, TableSelection& selection, int amount) {
  doc.setAddSubtractAmount(amount);
  afterEditStep(doc);

  EditTransaction edit(doc);
  FrameTable& t = edit.table();
  const double add = amount;
  TableSelection& sel = selection;
  if (sel.kind == SelectionKind::kRow) {
    if (sel.row >= 0 && sel.row < t.rows() && t.columns() > 0) {
      double* row = t.row(sel.row);
      for (int c = 0; c < t.columns(); ++c) row[c] = std::trunc(row[c]) + add;
      const CellRange cells{sel.row, sel.row, 0, t.columns() - 1};
      edit.note(cells);
      edit.flush();
    }
  } else {
    forColumnOrBlock(doc, edit, sel,
                     [&](int r, int c) { t.setValue(r, c, std::trunc(t.value(r, c)) + add); });
  }
  doc.markEdited();
  doc.setTableChanged(true);
}

}  // namespace vandrel
