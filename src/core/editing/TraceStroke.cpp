#include "editing/TraceStroke.h"

#include <algorithm>
#include <cmath>

namespace vandrel {

CellRange TraceStroke::add(CVandrelDoc& doc, double ms, double hz) {
  const int interval = doc.params().intervalMs;
  const int columns = doc.table().columns();
  if (interval <= 0 || columns <= 0 || !(ms >= 0) || !std::isfinite(hz)) return CellRange{row_, row_, 1, 0};
  const int column = static_cast<int>(ms) / interval;
  if (column >= columns) return CellRange{row_, row_, 1, 0};
  const ParamDef& def = doc.params().at(row_);
  const double value = std::clamp(std::trunc(row_ == kF0 ? hz * 10.0 : hz), static_cast<double>(def.lower),
                                  static_cast<double>(def.upper));
  if (!edit_) {
    edit_.emplace(doc);
    edit_->keepTableBefore({row_});
  }
  const int from = lastColumn_ < 0 ? column : std::min(lastColumn_, column);
  const int to = lastColumn_ < 0 ? column : std::max(lastColumn_, column);
  for (int c = from; c <= to; ++c) {
    double v = value;
    if (lastColumn_ >= 0 && lastColumn_ != column) {
      const double share = static_cast<double>(c - lastColumn_) / (column - lastColumn_);
      v = std::trunc(lastValue_ + share * (value - lastValue_));
    }
    edit_->setValue(row_, c, v);
  }
  lastColumn_ = column;
  lastValue_ = value;
  edit_->flush();
  return CellRange{row_, row_, from, to};
}

void TraceStroke::finish() {
  if (edit_) edit_->commit();
  edit_.reset();
  lastColumn_ = -1;
}

}  // namespace vandrel
