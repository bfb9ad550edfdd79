#include "editing/CellEdit.h"

#include "editing/AfterEdit.h"

namespace vandrel {

double clampToLimits(const ParamDef& def, double typed) {
  if (typed < def.lower) return def.lower;
  if (typed > def.upper) return def.upper;
  return typed;
}

bool editCell(CVandrelDoc& doc, TableViewState& view, int row, int column, double typed) {
  FrameTable& t = doc.table;
  if (typed != typed || row < 0 || row >= t.rows() || column < 0 || column >= t.columns()) return false;
  t.setValue(row, column, clampToLimits(doc.params().at(row), typed));
  doc.undo.noteRowChanged(row, column, column);
  doc.notifyCellsChanged(CellRange{row, row, column, column});
  afterCellEdit(doc, view, row, column);
  return true;
}

}  // namespace vandrel
