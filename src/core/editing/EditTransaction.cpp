#include "editing/EditTransaction.h"

#include <algorithm>

#include "editing/AfterEdit.h"

namespace vandrel {

namespace {

void widen(std::optional<CellRange>& range, const CellRange& cells) {
  if (!range) {
    range = cells;
    return;
  }
  range->firstRow = std::min(range->firstRow, cells.firstRow);
  range->lastRow = std::max(range->lastRow, cells.lastRow);
  range->firstColumn = std::min(range->firstColumn, cells.firstColumn);
  range->lastColumn = std::max(range->lastColumn, cells.lastColumn);
}

}  // namespace

void EditTransaction::keepTableBefore(std::initializer_list<int> rows) {
  if (!wrote()) keepTableBeforeEdit(doc_, rows);
}

void EditTransaction::setValue(int row, int column, double value) {
  doc_.table_.setValue(row, column, value);
  note(CellRange{row, row, column, column});
}

void EditTransaction::setAnchor(int row, int column, bool on) {
  doc_.table_.setAnchor(row, column, on);
  note(CellRange{row, row, column, column});
}

void EditTransaction::note(const CellRange& cells) {
  if (cells.firstRow > cells.lastRow || cells.firstColumn > cells.lastColumn) return;
  widen(written_, cells);
  widen(untold_, cells);
}

void EditTransaction::noteResized() {
  resized_ = resizedUntold_ = true;
  note(CellRange{0, kParamCount - 1, 0, std::max(doc_.table_.columns() - 1, 0)});
}

void EditTransaction::flush() {
  if (!untold_) return;
  const CellRange cells = *untold_;
  untold_.reset();
  if (resizedUntold_) {
    resizedUntold_ = false;
    doc_.notifyStructureChanged();
  } else {
    doc_.notifyCellsChanged(cells);
  }
}

void EditTransaction::commit() {
  if (!written_) return;
  if (resized_)
    doc_.undo.noteAllChanged();
  else
    doc_.undo.noteChanged(*written_);
  afterEditStep(doc_);
  flush();
  doc_.markEdited();  // last: the flags' listeners see the table as it now is
  written_.reset();
  resized_ = false;
}

}  // namespace vandrel
