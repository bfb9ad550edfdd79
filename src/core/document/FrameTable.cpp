#include "document/FrameTable.h"

#include <algorithm>

namespace vandrel {

void FrameTable::reset(int columns, const ParameterSet& set) {
  columns_ = std::max(columns, 0);
  const auto width = static_cast<std::size_t>(columns_);
  // Each row straight to its default: one pass over a table that can be
  // hundreds of megabytes.
  values_.clear();
  values_.reserve(static_cast<std::size_t>(kParamCount) * width);
  for (int r = 0; r < kParamCount; ++r)
    values_.insert(values_.end(), width, static_cast<double>(set.at(r).defaultValue));
  anchors_.assign(values_.size(), 0);
}

int FrameTable::anchorCount() const {
  return static_cast<int>(std::count(anchors_.begin(), anchors_.end(), std::uint8_t{1}));
}

void FrameTable::clearAnchors() { std::fill(anchors_.begin(), anchors_.end(), std::uint8_t{0}); }

}  // namespace vandrel
