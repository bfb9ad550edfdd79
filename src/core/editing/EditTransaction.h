#pragma once
// EditTransaction: one edit of a document's table, ending as one step.
//
// Cells are written through it (or written straight into the table and
// noted: noting tells the undo history which cells to compare at the next
// snapshot), and commit() ends the edit the way every edit ends, whichever
// window it came from and whether or not a table window is open: the cells
// written go to the undo history as one snapshot, the document is marked
// modified and due for synthesis, its table-changed flag is set, and the
// observers hear of the written cells once, as one range.
//
// A stroke the user watches while drawing (tracing, graphical entry) calls
// flush() after each move so the windows show it as it grows; commit() then
// tells only what was not yet told. A transaction that wrote nothing commits
// nothing: no snapshot, no flag.
//
// It is also the only way to the document's table for writing: commands with
// an end of their own (anchors are no undo step; undo restores a snapshot;
// Add/Subtract snapshots first) write through table(), note what they wrote
// and flush() instead of committing. A transaction dropped without either
// still tells the observers what it wrote, so no cell changes silently.

#include <optional>

#include "document/VandrelDoc.h"

namespace vandrel {

class EditTransaction {
 public:
  explicit EditTransaction(CVandrelDoc& doc) : doc_(doc) {}
  EditTransaction(const EditTransaction&) = delete;
  EditTransaction& operator=(const EditTransaction&) = delete;
  ~EditTransaction() { flush(); }

  // The document's table, for writing many cells at once; note() them (or
  // noteResized()) before the transaction flushes or commits.
  FrameTable& table() { return doc_.table_; }
  // The working parameter set, for the commands that change the table's
  // timing or shape with it; the observers hear of a structure change.
  ParameterSet& params() {
    structureUntold_ = true;
    return doc_.paramSets_[0];
  }

  // Before the first write: when the table changed without a snapshot since
  // the last one (see keepTableBeforeEdit), keep it, so the coming edit undoes
  // to exactly the table as it is now. `rows` are the rows about to change.
  void keepTableBefore(std::initializer_list<int> rows);

  void setValue(int row, int column, double value);
  void setAnchor(int row, int column, bool on);
  // Cells written straight into the document's table.
  void note(const CellRange& cells);
  // Anchor flags changed straight in the table: the observers hear of them,
  // the undo history (which keeps no anchors) does not.
  void noteAnchors(const CellRange& cells);
  // The table changed shape or was replaced: the observers hear of a
  // structure change instead of cells, and the undo history compares every
  // cell.
  void noteResized();

  // Undo and redo: makes history entry `index` current and puts its snapshot
  // into the table (false, the table untouched, when there is none). When the
  // column count or the snapshot's frame interval differs, the settings take
  // them (the file length following) and the observers hear of a structure
  // change, else of every cell; the history needs no note, the table being
  // its snapshot again.
  bool restore(int index);

  bool wrote() const { return written_.has_value(); }
  // Every cell written so far (empty, firstColumn > lastColumn, before any).
  CellRange written() const { return written_.value_or(CellRange{0, 0, 1, 0}); }

  // Tells the observers of the cells written since the last flush.
  void flush();
  // The after-edit step, then one notification of the cells not yet told.
  void commit();

 private:
  // Tells the observers of `cells` at the next flush.
  void tell(const CellRange& cells);

  CVandrelDoc& doc_;
  std::optional<CellRange> written_;
  std::optional<CellRange> untold_;
  bool structureUntold_ = false;  // a resize or new settings since the last flush
};

}  // namespace vandrel
