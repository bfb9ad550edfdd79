#pragma once
// EditTransaction: one edit of a document's table, ending as one step.
//
// Cells are written through it (or written straight into the table and
// noted), and commit() ends the edit the way every edit ends, whichever
// window it came from and whether or not a table window is open: the cells
// written go to the undo history as one snapshot, the document is marked
// modified and due for synthesis, its table-changed flag is set, and the
// observers hear of the written cells once, as one range.
//
// A stroke the user watches while drawing (tracing, graphical entry) calls
// flush() after each move so the windows show it as it grows; commit() then
// tells only what was not yet told. A transaction that wrote nothing commits
// nothing: no snapshot, no flag.

#include <optional>

#include "document/VandrelDoc.h"

namespace vandrel {

class EditTransaction {
 public:
  explicit EditTransaction(CVandrelDoc& doc) : doc_(doc) {}
  EditTransaction(const EditTransaction&) = delete;
  EditTransaction& operator=(const EditTransaction&) = delete;

  // Before the first write: when the table changed without a snapshot since
  // the last one (see keepTableBeforeEdit), keep it, so the coming edit undoes
  // to exactly the table as it is now. `rows` are the rows about to change.
  void keepTableBefore(std::initializer_list<int> rows);

  void setValue(int row, int column, double value);
  void setAnchor(int row, int column, bool on);
  // Cells written straight into the document's table.
  void note(const CellRange& cells);

  bool wrote() const { return written_.has_value(); }
  // Every cell written so far (empty, firstColumn > lastColumn, before any).
  CellRange written() const { return written_.value_or(CellRange{0, 0, 1, 0}); }

  // Tells the observers of the cells written since the last flush.
  void flush();
  // The after-edit step, then one notification of the cells not yet told.
  void commit();

 private:
  CVandrelDoc& doc_;
  std::optional<CellRange> written_;
  std::optional<CellRange> untold_;
};

}  // namespace vandrel
