#include "entry/DrawStroke.h"

#include <algorithm>

namespace vandrel {

std::optional<DrawPoint> drawPointAt(const DrawingLayout& layout, DrawTrack track, int frames, int x, int y) {
  const PixelBox& area = layout.area;
  if (!area.contains(x, y) || frames <= 0) return std::nullopt;
  const DrawTrackDef& def = drawTrack(track);
  const PixelBox& strip = layout.stripOf(def.strip);
  if (!strip.contains(x, y)) return std::nullopt;
  // 64-bit products: a wide window over a long table overflows int.
  const auto column = static_cast<int>(static_cast<long long>(x - area.left) * frames / area.width);
  const auto value =
      static_cast<int>(static_cast<long long>(strip.bottom() - y) * layout.rangeOf(def.strip) / strip.height);
  return DrawPoint{column, def.row == kF0 ? 10.0 * value : value};
}

bool DrawStroke::write(CVandrelDoc& doc, const DrawPoint& point) {
  if (point.column < 0 || point.column >= doc.table().columns()) return false;
  if (!edit_) {
    edit_.emplace(doc);
    edit_->keepTableBefore({row_});
  }
  edit_->setValue(row_, point.column, point.value);
  edit_->flush();
  return true;
}

void DrawStroke::finish() {
  if (edit_) edit_->commit();
  edit_.reset();
}

}  // namespace vandrel
