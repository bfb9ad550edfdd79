#include "vowelspace/FormantDrag.h"

#include <algorithm>
#include <cmath>

#include "editing/AfterEdit.h"
#include "editing/EditTransaction.h"
#include "editing/Interpolation.h"

namespace vandrel {

CellRange FormantDrag::moveTo(CVandrelDoc& doc, double f1, double f2) {
  const CellRange none{kF2, kF1, 1, 0};
  if (frame_ < 0 || frame_ >= doc.table().columns() || !std::isfinite(f1) || !std::isfinite(f2)) return none;
  const bool moveF1 = doc.table().anchor(kF1, frame_), moveF2 = doc.table().anchor(kF2, frame_);
  if (!moveF1 && !moveF2) return none;
  if (!wrote_) keepTableBeforeEdit(doc, {kF1, kF2});
  const auto held = [&](int row, double hz) {
    const ParamDef& def = doc.params().at(row);
    return std::clamp(std::round(hz), static_cast<double>(def.lower), static_cast<double>(def.upper));
  };
  EditTransaction edit(doc);  // the drag's undo step is taken by finish()
  if (moveF1) edit.setValue(kF1, frame_, held(kF1, f1));
  if (moveF2) edit.setValue(kF2, frame_, held(kF2, f2));
  wrote_ = true;
  // f2 and f1 are neighbouring rows (f2 above f1 in storage order).
  const CellRange cells{moveF2 ? kF2 : kF1, moveF1 ? kF1 : kF2, frame_, frame_};
  edit.flush();
  return cells;
}

void FormantDrag::finish(CVandrelDoc& doc) {
  if (!wrote_) return;
  wrote_ = false;
  if (doc.autoInterpolate()) interpolateAll(doc);
  doc.markEdited();
  afterEditStep(doc);
}

}  // namespace vandrel
