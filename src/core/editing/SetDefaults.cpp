#include "editing/SetDefaults.h"

#include <algorithm>

#include "editing/AfterEdit.h"
#include "editing/BlockWalk.h"

namespace vandrel {

void setToDefaultValues(CVandrelDoc& doc, TableSelection& selection) {
  EditTransaction edit(doc);
  FrameTable& t = edit.table();
  const ParameterSet& ps = doc.params();
  TableSelection& sel = selection;
  if (sel.kind == SelectionKind::kRow) {
    if (sel.row >= 0 && sel.row < t.rows() && t.columns() > 0) {
      // Each parameter's default in turn overwrites the whole row; only the
      // last one's survives, so it is the one written.
      const double last = ps.at(kParamCount - 1).defaultValue;
      std::fill_n(t.row(sel.row), t.columns(), last);
      const CellRange cells{sel.row, sel.row, 0, t.columns() - 1};
      edit.note(cells);
      edit.flush();
    }
  } else {
    forColumnOrBlock(doc, edit, sel, [&](int r, int c) { t.setValue(r, c, ps.at(r).defaultValue); });
  }
  doc.markEdited();
  doc.setTableChanged(true);
  afterEditStep(doc);
}

}  // namespace vandrel
