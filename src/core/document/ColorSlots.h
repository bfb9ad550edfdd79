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

// Light tints, one hue per group, so that black figures stay easy to read and
// neighbouring groups differ at a glance: source pale yellow, formant
// frequencies pale green, cascade bandwidths pale aqua, bypass light grey,
// parallel amplitudes pale pink, parallel bandwidths pale lavender, nasal
// pole and zero pale sand, the remaining parameters white. Anchors stand out
// in a stronger orange and the selection in a light blue, both apart from
// every group's tint.
inline constexpr ColorSlots kDefaultColors = {
    rgb(255, 245, 170),  // source
    rgb(204, 238, 196),  // formant frequencies
    rgb(196, 232, 240),  // cascade bandwidths
    rgb(224, 224, 224),  // bypass
    rgb(248, 208, 228),  // parallel amplitudes
    rgb(218, 210, 248),  // parallel bandwidths
    rgb(236, 226, 200),  // nasal
    kWhite,              // remaining
    rgb(255, 200, 120),  // anchor cells
    rgb(180, 210, 255),  // selection
};

}  // namespace vandrel
