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
  tell(CellRange{row, row, column, column});
}

void EditTransaction::tell(const CellRange& cells) {
  if (cells.firstRow > cells.lastRow || cells.firstColumn > cells.lastColumn) return;
  widen(written_, cells);
  widen(untold_, cells);
}

void EditTransaction::noteAnchors(const CellRange& cells) { tell(cells); }

void EditTransaction::note(const CellRange& cells) {
  doc_.undo_.noteChanged(cells);
  tell(cells);
}

void EditTransaction::noteResized() {
  doc_.undo_.noteAllChanged();
  structureUntold_ = true;
  tell(CellRange{0, kParamCount - 1, 0, std::max(doc_.table_.columns() - 1, 0)});
}

bool EditTransaction::restore(int index) {
  // Undo moves the index even onto an entry that is not there; the next
  // snapshot puts it right again.
  doc_.undo_.setCurrent(index);
  const int before = doc_.table_.columns();
  if (!doc_.undo_.restore(index, doc_.table_)) return false;
  const int interval = doc_.undo_.intervalAt(index);
  const bool retimed = interval > 0 && interval != doc_.params().intervalMs;
  if (doc_.table_.columns() != before || retimed) {
    ParameterSet& ps = params();
    if (retimed) ps.intervalMs = interval;
    ps.frameCount = doc_.table_.columns();
    ps.fileLengthMs = static_cast<double>(ps.frameCount) * ps.intervalMs;
    tell(CellRange{0, kParamCount - 1, 0, std::max(doc_.table_.columns() - 1, 0)});
  } else {
    tell(CellRange{0, kParamCount - 1, 0, before - 1});
  }
  return true;
}

void EditTransaction::flush() {
  if (!untold_ && !structureUntold_) return;
  const std::optional<CellRange> cells = untold_;
  untold_.reset();
  if (structureUntold_) {
    structureUntold_ = false;
    doc_.notifyStructureChanged();
  } else {
    doc_.notifyCellsChanged(*cells);
  }
}

void EditTransaction::commit() {
  if (!written_) return;
  afterEditStep(doc_);
  flush();
  doc_.markEdited();  // last: the flags' listeners see the table as it now is
  written_.reset();
}

}  // namespace vandrel
