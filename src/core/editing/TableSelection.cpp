#include "editing/TableSelection.h"

#include <utility>

namespace vandrel {

TableSelection TableSelection::wholeRow(int r) {
  TableSelection s;
  s.kind = SelectionKind::kRow;
  s.row = r;
  return s;
}

TableSelection TableSelection::wholeColumn(int c) {
  TableSelection s;
  s.kind = SelectionKind::kColumn;
  s.column = c;
  return s;
}

TableSelection TableSelection::block(int startColumn, int startRow, int endColumn, int endRow) {
  TableSelection s;
  s.kind = SelectionKind::kBlock;
  s.startColumn = startColumn;
  s.startRow = startRow;
  s.endColumn = endColumn;
  s.endRow = endRow;
  return s;
}

void TableSelection::exchangeBlockColumns() { std::swap(startColumn, endColumn); }

TableSelection selectAll(const FrameTable& table) {
  return TableSelection::block(0, 0, table.columns() - 1, table.rows() - 1);
}

}  // namespace vandrel
