#pragma once
// The document's ten colours, in the order the parameter file stores them:
// eight parameter-group colours ("Color set1" .. "Color set8"), the anchor
// cell colour and the grid's selection highlight.

#include <array>

#include "document/ParameterSet.h"

namespace vandrel {

inline constexpr int kColorSlotCount = 10;
inline constexpr int kGroupCount = 8;

// Groups in the order their rows first appear in the table, which is also the
// order of the parameters dialog and of the colour buttons.
enum ParamGroup : int {
  kGroupSource,              // f0 av ah af tl
  kGroupFormants,            // f8 .. f1
  kGroupCascadeBandwidths,   // b8 .. b1
  kGroupBypass,              // ab
  kGroupParallelAmps,        // a8f .. a1f
  kGroupParallelBandwidths,  // b8f .. b1f
  kGroupNasal,               // fnz bnz fnp bnp
  kGroupRemaining,           // oq anv apv atu skew gain
};

inline constexpr int kAnchorColorSlot = 8;
inline constexpr int kSelectionColorSlot = 9;

using ColorSlots = std::array<Colorref, kColorSlotCount>;

// The group a parameter row belongs to (index 0..47).
constexpr ParamGroup paramGroup(int index) {
  if (index <= kTl) return kGroupSource;
  if (index <= kF1) return kGroupFormants;
  if (index <= kB1) return kGroupCascadeBandwidths;
  if (index == kAb) return kGroupBypass;
  if (index <= kA1f) return kGroupParallelAmps;
  if (index <= kB1f) return kGroupParallelBandwidths;
  if (index <= kBnp) return kGroupNasal;
  return kGroupRemaining;
}

constexpr Colorref rgb(int r, int g, int b) {
  return static_cast<Colorref>(r & 0xFF) | (static_cast<Colorref>(g & 0xFF) << 8) |
         (static_cast<Colorref>(b & 0xFF) << 16);
}
constexpr int redOf(Colorref c) { return static_cast<int>(c & 0xFFu); }
constexpr int greenOf(Colorref c) { return static_cast<int>((c >> 8) & 0xFFu); }
constexpr int blueOf(Colorref c) { return static_cast<int>((c >> 16) & 0xFFu); }

// Every row starts white, like its parameter; anchors stand out in a light
// orange, the selection in a light blue.
inline constexpr ColorSlots kDefaultColors = {
    kWhite, kWhite, kWhite, kWhite, kWhite, kWhite, kWhite, kWhite, rgb(255, 200, 120), rgb(180, 210, 255),
};

}  // namespace vandrel
