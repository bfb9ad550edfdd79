#include "entry/DrawTracks.h"

#include "document/ColorSlots.h"

namespace vandrel {

namespace {

// Each amplitude of the parallel branch shares its formant's hue, so A2F reads
// as the strength of F2 at a glance; voicing is near black, its parallel
// branch brown. Every hue stays dark enough to read over a grey spectrogram.
constexpr Colorref kF1Red = rgb(214, 39, 40);
constexpr Colorref kF2Green = rgb(30, 140, 30);
constexpr Colorref kF3Blue = rgb(31, 100, 200);
constexpr Colorref kF4Orange = rgb(235, 110, 0);
constexpr Colorref kF5Purple = rgb(148, 60, 189);

const std::array<DrawTrackDef, kDrawTrackCount> kTracks = {{
    {"f0", kF0, Strip::kF0, rgb(200, 0, 120)},
    {"f1", kF1, Strip::kFormants, kF1Red},
    {"f2", kF2, Strip::kFormants, kF2Green},
    {"f3", kF3, Strip::kFormants, kF3Blue},
    {"f4", kF4, Strip::kFormants, kF4Orange},
    {"f5", kF5, Strip::kFormants, kF5Purple},
    {"av", kAv, Strip::kAmplitudes, rgb(40, 40, 40)},
    {"apv", kApv, Strip::kAmplitudes, rgb(140, 86, 60)},
    {"a1f", kA1f, Strip::kAmplitudes, kF1Red},
    {"a2f", kA2f, Strip::kAmplitudes, kF2Green},
    {"a3f", kA3f, Strip::kAmplitudes, kF3Blue},
    {"a4f", kA4f, Strip::kAmplitudes, kF4Orange},
    {"a5f", kA5f, Strip::kAmplitudes, kF5Purple},
}};

}  // namespace

const std::array<DrawTrackDef, kDrawTrackCount>& drawTracks() { return kTracks; }

std::array<Colorref, kDrawTrackCount> DrawingChoice::defaultColors() {
  std::array<Colorref, kDrawTrackCount> c{};
  for (std::size_t i = 0; i < c.size(); ++i) c[i] = kTracks[i].defaultColor;
  return c;
}

}  // namespace vandrel
