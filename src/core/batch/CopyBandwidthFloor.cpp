#include "batch/CopyBandwidthFloor.h"

#include <algorithm>
#include <cmath>

#include "batch/CopyAnchors.h"
#include "batch/LineSimplify.h"
#include "editing/EditTransaction.h"

namespace vandrel {

namespace {

constexpr int kFormantRows[kFlooredFormants] = {kF1, kF2};
constexpr int kBandwidthRows[kFlooredFormants] = {kB1, kB2};

// The floor of bandwidth k in frame c of `t`; 0 when unvoiced.
double floorAt(const FrameTable& t, int k, int c) {
  if (!(t.value(kAv, c) > 0.0)) return 0.0;
  return bandwidthFloor(t.value(kF0, c) / 10.0, t.value(kFormantRows[k], c));
}

// The line of `row` between anchors a and b drawn again.
void redraw(FrameTable& t, int row, int a, int b) {
  const double va = t.value(row, a), vb = t.value(row, b);
  for (int c = a + 1; c < b; ++c) t.setValue(row, c, roundedLineValue(a, va, b, vb, c));
}

}  // namespace

double bandwidthFloor(double f0Hz, double hz) {
  if (!(f0Hz > 0.0) || !(hz > 0.0)) return 0.0;
  return kFloorRatio * std::abs(hz - f0Hz * std::round(hz / f0Hz));
}

void raiseToFloors(FrameTable& t) {
  for (int k = 0; k < kFlooredFormants; ++k)
    for (int c = 0; c < t.columns(); ++c)
      t.setValue(kBandwidthRows[k], c, std::max(t.value(kBandwidthRows[k], c), std::ceil(floorAt(t, k, c))));
}

void keepFloors(CVandrelDoc& doc, const std::vector<int>& rows, std::vector<int>& counts) {
  EditTransaction edit(doc);
  FrameTable& t = edit.table();
  const int frames = t.columns();
  const int cap = std::max(2, static_cast<int>(AnchorTolerances::kMaxAnchorShare * frames));
  for (int k = 0; k < kFlooredFormants; ++k) {
    const int row = kBandwidthRows[k];
    const auto at = std::find(rows.begin(), rows.end(), row);
    if (at == rows.end()) continue;
    int& count = counts[static_cast<std::size_t>(at - rows.begin())];
    // Segment by segment from the left; an added anchor splits its segment,
    // and the left part is looked at again first.
    for (int a = 0; a < frames && count < cap;) {
      int b = a + 1;
      while (b < frames && !t.anchor(row, b)) ++b;
      if (b >= frames || !t.anchor(row, a)) break;
      int worst = -1;
      double deepest = 0.5;  // less is the rounding of a whole-number row
      for (int c = a + 1; c < b; ++c) {
        const double below = floorAt(t, k, c) - t.value(row, c);
        if (below > deepest) {
          deepest = below;
          worst = c;
        }
      }
      if (worst < 0) {
        a = b;
        continue;
      }
      t.setAnchor(row, worst, true);
      t.setValue(row, worst, std::ceil(floorAt(t, k, worst)));
      redraw(t, row, a, worst);
      redraw(t, row, worst, b);
      ++count;
    }
    edit.note(CellRange{row, row, 0, frames - 1});
  }
}

}  // namespace vandrel
