#include "document/FrameTable.h"

#include <algorithm>

namespace vandrel {

void FrameTable::reset(int columns, const ParameterSet& set) {
  columns_ = std::max(columns, 0);
  values_.assign(static_cast<std::size_t>(kParamCount) * static_cast<std::size_t>(columns_), 0.0);
  anchors_.assign(values_.size(), 0);
  for (int r = 0; r < kParamCount; ++r)
    std::fill_n(row(r), columns_, static_cast<double>(set.at(r).defaultValue));
}

int FrameTable::anchorCount() const {
  return static_cast<int>(std::count(anchors_.begin(), anchors_.end(), std::uint8_t{1}));
}

void FrameTable::clearAnchors() { std::fill(anchors_.begin(), anchors_.end(), std::uint8_t{0}); }

}  // namespace vandrel
