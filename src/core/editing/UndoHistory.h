#pragma once
// UndoHistory: the document's list of whole-table snapshots and the index of
// the current one.
//
// What a snapshot means: every value of the table cut toward zero to a whole
// number, column count included; anchor flags are not part of it. Restoring
// one therefore leaves whole numbers in the table and keeps the anchors the
// table has now.
//
// The list semantics are those of the Edit menu: a new document starts at
// index -5; every append goes to the end and makes the new last entry current;
// nothing is ever dropped, so entries behind the current index stay in the
// list after a new edit, only out of redo's reach; no depth limit.
//
// How it is stored: each row is cut into segments of kLeafColumns columns
// (a "leaf" of 32-bit values), leaves are grouped into pages, and a snapshot
// is the list of its pages. Leaves and pages are immutable and shared through
// shared_ptr, so a snapshot that differs from the one before it in one cell
// costs one leaf, one page and the page list - memory grows with what changed,
// not with the size of the table times the number of edits.
//
// Finding what changed without reading the whole table: whoever writes values
// into the table between two appends tells the history which cells it wrote
// (noteChanged and friends). Every operation in core/editing does so. Code
// elsewhere that writes table values and then appends must do the same, or call
// noteAllChanged() (or use the afterEditStep of AfterEdit.h that takes the
// cells written); a change of column count is always noticed by itself.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "document/DocObserver.h"
#include "document/FrameTable.h"

namespace vandrel {

struct Labels;

class UndoHistory {
 public:
  static constexpr int kNoSnapshot = -5;
  static constexpr int kLeafColumns = 256;
  static constexpr int kLeavesPerPage = 64;

  // --- the list -----------------------------------------------------------
  int count() const { return static_cast<int>(entries_.size()); }
  int current() const { return current_; }
  // Moves the current index without restoring anything (undo and redo clamp
  // and then restore; see UndoCommands.h).
  void setCurrent(int index) { current_ = index; }

  // Appends a snapshot of `table` at the end and makes it current. The
  // frame interval it was taken at travels with it, so that undoing an
  // interval change brings back the old timing with the old columns.
  // The document's labels go with it too (shared, never changed in place), so
  // a label edit is an undo step like a cell edit.
  void append(const FrameTable& table, int intervalMs = 0, std::shared_ptr<const Labels> labels = {});

  // Puts snapshot `index` into `table`: column count and whole-number values.
  // Anchor flags stay where their columns still exist; new columns have none.
  // Returns false, with `table` untouched, when `index` lies outside the list.
  bool restore(int index, FrameTable& table);

  // --- telling the history what was written -------------------------------
  void noteChanged(const CellRange& cells);
  void noteRowChanged(int row, int firstColumn, int lastColumn) {
    noteChanged(CellRange{row, row, firstColumn, lastColumn});
  }
  void noteAllChanged() { allDirty_ = true; }

  // --- looking inside (tests, benchmarks) ----------------------------------
  int columnsAt(int index) const;
  // The frame interval given with snapshot `index` (0: none was given).
  int intervalAt(int index) const;
  // The labels given with snapshot `index` (null: none).
  const std::shared_ptr<const Labels>& labelsAt(int index) const;
  // The whole number stored for a cell of snapshot `index`.
  std::int32_t valueAt(int index, int row, int column) const;
  // Bytes held by all snapshots together, each shared block counted once.
  std::size_t storageBytes() const;

  // A value as a snapshot keeps it: cut toward zero, held to 32 bits, NaN 0.
  static std::int32_t wholeValue(double v);

 private:
  using Leaf = std::vector<std::int32_t>;
  using LeafPtr = std::shared_ptr<const Leaf>;
  using Page = std::vector<LeafPtr>;
  using PagePtr = std::shared_ptr<const Page>;

  struct Snapshot {
    int columns = 0;
    int intervalMs = 0;
    std::vector<PagePtr> pages;
    std::shared_ptr<const Labels> labels;
  };

  // Leaf geometry of a table with `columns` columns.
  static int segmentsFor(int columns);
  static int leafCountFor(int columns) { return kParamCount * segmentsFor(columns); }

  static LeafPtr buildLeaf(const FrameTable& table, int row, int segment);
  static bool leafMatches(const Leaf& leaf, const FrameTable& table, int row, int segment);
  static const LeafPtr& leafOf(const Snapshot& s, int leafId);

  static bool leafIsWhole(const FrameTable& table, int row, int segment);

  // Both builders fill `stillDirty` (one flag per leaf of the new snapshot)
  // with the leaves where the table holds values that are not whole numbers:
  // there the table and the snapshot differ until a restore rewrites them.
  Snapshot buildFull(const FrameTable& table, std::vector<std::uint8_t>& stillDirty) const;
  Snapshot buildFromBase(const FrameTable& table, std::vector<std::uint8_t>& stillDirty) const;
  void writeLeaf(const Leaf& leaf, FrameTable& table, int row, int segment) const;
  void clearDirty();
  const Snapshot* base() const;

  std::vector<Snapshot> entries_;
  int current_ = kNoSnapshot;

  // The entry the table equals exactly, apart from the leaves flagged in
  // dirty_: those written since, and those whose values are not whole.
  int base_ = -1;
  std::vector<std::uint8_t> dirty_;  // one flag per leaf of the base's geometry
  bool anyDirty_ = false;
  bool allDirty_ = false;
};

}  // namespace vandrel
