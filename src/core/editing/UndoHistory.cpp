#include "editing/UndoHistory.h"

#include <algorithm>
#include <limits>
#include <unordered_set>
#include <utility>

namespace vandrel {

std::int32_t UndoHistory::wholeValue(double v) {
  if (v != v) return 0;
  if (v <= -2147483648.0) return std::numeric_limits<std::int32_t>::min();
  if (v >= 2147483647.0) return std::numeric_limits<std::int32_t>::max();
  return static_cast<std::int32_t>(v);
}

int UndoHistory::segmentsFor(int columns) {
  return columns <= 0 ? 0 : (columns + kLeafColumns - 1) / kLeafColumns;
}

UndoHistory::LeafPtr UndoHistory::buildLeaf(const FrameTable& table, int row, int segment) {
  const int first = segment * kLeafColumns;
  const int width = std::min(kLeafColumns, table.columns() - first);
  auto leaf = std::make_shared<Leaf>(static_cast<std::size_t>(width));
  const double* src = table.row(row) + first;
  for (int i = 0; i < width; ++i) (*leaf)[static_cast<std::size_t>(i)] = wholeValue(src[i]);
  return leaf;
}

bool UndoHistory::leafMatches(const Leaf& leaf, const FrameTable& table, int row, int segment) {
  const int first = segment * kLeafColumns;
  const int width = std::min(kLeafColumns, table.columns() - first);
  if (static_cast<int>(leaf.size()) != width) return false;
  const double* src = table.row(row) + first;
  for (int i = 0; i < width; ++i)
    if (leaf[static_cast<std::size_t>(i)] != wholeValue(src[i])) return false;
  return true;
}

bool UndoHistory::leafIsWhole(const FrameTable& table, int row, int segment) {
  const int first = segment * kLeafColumns;
  const int width = std::min(kLeafColumns, table.columns() - first);
  const double* src = table.row(row) + first;
  for (int i = 0; i < width; ++i)
    if (static_cast<double>(wholeValue(src[i])) != src[i]) return false;
  return true;
}

const UndoHistory::LeafPtr& UndoHistory::leafOf(const Snapshot& s, int leafId) {
  const auto& page = *s.pages[static_cast<std::size_t>(leafId / kLeavesPerPage)];
  return page[static_cast<std::size_t>(leafId % kLeavesPerPage)];
}

const UndoHistory::Snapshot* UndoHistory::base() const {
  return base_ >= 0 && base_ < count() ? &entries_[static_cast<std::size_t>(base_)] : nullptr;
}

// Every leaf is looked at. A leaf equal to the base's leaf in the same place
// (same geometry) is shared; a leaf equal to the one just left of it in the
// same row is shared too, which keeps rows of one repeated value (a blank
// table) almost free.
UndoHistory::Snapshot UndoHistory::buildFull(const FrameTable& table,
                                             std::vector<std::uint8_t>& stillDirty) const {
  const Snapshot* b = base();
  const bool sameGeometry = b != nullptr && b->columns == table.columns();
  const int segments = segmentsFor(table.columns());
  const int leaves = kParamCount * segments;

  Snapshot s;
  s.columns = table.columns();
  std::vector<LeafPtr> flat(static_cast<std::size_t>(leaves));
  for (int row = 0; row < kParamCount; ++row) {
    for (int seg = 0; seg < segments; ++seg) {
      const int id = row * segments + seg;
      LeafPtr& out = flat[static_cast<std::size_t>(id)];
      stillDirty[static_cast<std::size_t>(id)] = leafIsWhole(table, row, seg) ? 0 : 1;
      if (sameGeometry) {
        const LeafPtr& old = leafOf(*b, id);
        if (leafMatches(*old, table, row, seg)) {
          out = old;
          continue;
        }
      }
      if (seg > 0) {
        const LeafPtr& left = flat[static_cast<std::size_t>(id - 1)];
        if (leafMatches(*left, table, row, seg)) {
          out = left;
          continue;
        }
      }
      out = buildLeaf(table, row, seg);
    }
  }
  for (int first = 0; first < leaves; first += kLeavesPerPage) {
    const int last = std::min(leaves, first + kLeavesPerPage);
    s.pages.push_back(std::make_shared<const Page>(flat.begin() + first, flat.begin() + last));
  }
  return s;
}

// Only the leaves noted as written are looked at; every other page is the
// base's own.
UndoHistory::Snapshot UndoHistory::buildFromBase(const FrameTable& table,
                                                 std::vector<std::uint8_t>& stillDirty) const {
  const Snapshot& b = *base();
  Snapshot s;
  s.columns = b.columns;
  s.pages = b.pages;
  if (!anyDirty_) return s;

  const int segments = segmentsFor(b.columns);
  const int leaves = static_cast<int>(dirty_.size());
  for (int pageNo = 0; pageNo * kLeavesPerPage < leaves; ++pageNo) {
    const int first = pageNo * kLeavesPerPage;
    const int last = std::min(leaves, first + kLeavesPerPage);
    std::shared_ptr<Page> changed;
    for (int id = first; id < last; ++id) {
      if (dirty_[static_cast<std::size_t>(id)] == 0) continue;
      const int row = id / segments;
      const int seg = id % segments;
      stillDirty[static_cast<std::size_t>(id)] = leafIsWhole(table, row, seg) ? 0 : 1;
      const LeafPtr& old = leafOf(b, id);
      if (leafMatches(*old, table, row, seg)) continue;
      if (!changed) changed = std::make_shared<Page>(*b.pages[static_cast<std::size_t>(pageNo)]);
      (*changed)[static_cast<std::size_t>(id - first)] = buildLeaf(table, row, seg);
    }
    if (changed) s.pages[static_cast<std::size_t>(pageNo)] = std::move(changed);
  }
  return s;
}

void UndoHistory::append(const FrameTable& table, int intervalMs, std::shared_ptr<const Labels> labels) {
  const Snapshot* b = base();
  const bool incremental = b != nullptr && !allDirty_ && b->columns == table.columns();
  std::vector<std::uint8_t> stillDirty(static_cast<std::size_t>(leafCountFor(table.columns())), 0);
  entries_.push_back(incremental ? buildFromBase(table, stillDirty) : buildFull(table, stillDirty));
  entries_.back().intervalMs = intervalMs;
  entries_.back().labels = std::move(labels);
  current_ = count() - 1;
  base_ = current_;
  dirty_ = std::move(stillDirty);
  anyDirty_ = std::find(dirty_.begin(), dirty_.end(), std::uint8_t{1}) != dirty_.end();
  allDirty_ = false;
}

void UndoHistory::writeLeaf(const Leaf& leaf, FrameTable& table, int row, int segment) const {
  double* dst = table.row(row) + static_cast<std::ptrdiff_t>(segment) * kLeafColumns;
  for (std::size_t i = 0; i < leaf.size(); ++i) dst[i] = static_cast<double>(leaf[i]);
}

bool UndoHistory::restore(int index, FrameTable& table) {
  if (index < 0 || index >= count()) return false;
  const Snapshot& target = entries_[static_cast<std::size_t>(index)];
  const Snapshot* b = base();
  const int segments = segmentsFor(target.columns);
  const int leaves = kParamCount * segments;

  if (b != nullptr && !allDirty_ && b->columns == target.columns && table.columns() == target.columns) {
    // The table equals the base apart from the noted cells: write only the
    // leaves where the target differs from the base, or that were written.
    for (int pageNo = 0; pageNo * kLeavesPerPage < leaves; ++pageNo) {
      const auto p = static_cast<std::size_t>(pageNo);
      const int first = pageNo * kLeavesPerPage;
      const int last = std::min(leaves, first + kLeavesPerPage);
      const bool samePage = target.pages[p] == b->pages[p];
      for (int id = first; id < last; ++id) {
        const bool dirty = anyDirty_ && dirty_[static_cast<std::size_t>(id)] != 0;
        if (samePage && !dirty) continue;
        const LeafPtr& want = leafOf(target, id);
        if (!dirty && want == leafOf(*b, id)) continue;
        writeLeaf(*want, table, id / segments, id % segments);
      }
    }
  } else {
    if (table.columns() != target.columns) {
      FrameTable resized;
      resized.reset(target.columns, ParameterSet{});
      const int keep = std::min(table.columns(), target.columns);
      for (int row = 0; row < kParamCount; ++row)
        for (int col = 0; col < keep; ++col)
          if (table.anchor(row, col)) resized.setAnchor(row, col, true);
      table = std::move(resized);
    }
    for (int id = 0; id < leaves; ++id) writeLeaf(*leafOf(target, id), table, id / segments, id % segments);
  }
  base_ = index;
  clearDirty();
  return true;
}

void UndoHistory::clearDirty() {
  const Snapshot* b = base();
  dirty_.assign(b != nullptr ? static_cast<std::size_t>(leafCountFor(b->columns)) : 0U, 0);
  anyDirty_ = false;
  allDirty_ = false;
}

void UndoHistory::noteChanged(const CellRange& cells) {
  const Snapshot* b = base();
  if (b == nullptr || allDirty_) return;  // the next append looks at every leaf anyway
  const int segments = segmentsFor(b->columns);
  const int r0 = std::max(0, std::min(cells.firstRow, cells.lastRow));
  const int r1 = std::min(kParamCount - 1, std::max(cells.firstRow, cells.lastRow));
  const int c0 = std::max(0, std::min(cells.firstColumn, cells.lastColumn));
  const int c1 = std::min(b->columns - 1, std::max(cells.firstColumn, cells.lastColumn));
  if (r0 > r1 || c0 > c1) return;
  for (int row = r0; row <= r1; ++row)
    for (int seg = c0 / kLeafColumns; seg <= c1 / kLeafColumns; ++seg)
      dirty_[static_cast<std::size_t>(row) * static_cast<std::size_t>(segments) +
             static_cast<std::size_t>(seg)] = 1;
  anyDirty_ = true;
}

int UndoHistory::columnsAt(int index) const { return entries_.at(static_cast<std::size_t>(index)).columns; }

int UndoHistory::intervalAt(int index) const {
  return entries_.at(static_cast<std::size_t>(index)).intervalMs;
}

const std::shared_ptr<const Labels>& UndoHistory::labelsAt(int index) const {
  return entries_.at(static_cast<std::size_t>(index)).labels;
}

std::int32_t UndoHistory::valueAt(int index, int row, int column) const {
  const Snapshot& s = entries_.at(static_cast<std::size_t>(index));
  const int segments = segmentsFor(s.columns);
  if (row < 0 || row >= kParamCount || column < 0 || column >= s.columns) return 0;
  const Leaf& leaf = *leafOf(s, row * segments + column / kLeafColumns);
  return leaf[static_cast<std::size_t>(column % kLeafColumns)];
}

std::size_t UndoHistory::storageBytes() const {
  std::unordered_set<const void*> seen;
  std::size_t bytes = 0;
  for (const Snapshot& s : entries_) {
    bytes += sizeof(Snapshot) + s.pages.capacity() * sizeof(PagePtr);
    for (const PagePtr& page : s.pages) {
      if (!seen.insert(page.get()).second) continue;
      bytes += sizeof(Page) + page->capacity() * sizeof(LeafPtr);
      for (const LeafPtr& leaf : *page)
        if (seen.insert(leaf.get()).second) bytes += sizeof(Leaf) + leaf->capacity() * sizeof(std::int32_t);
    }
  }
  return bytes;
}

}  // namespace vandrel
