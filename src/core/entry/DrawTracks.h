#pragma once
// The tracks that can be drawn with the mouse, the three strips they are
// drawn in, and the document's drawing choices: which track is selected and
// the colour each one is drawn in.

#include <array>
#include <string_view>

#include "document/ParameterSet.h"

namespace vandrel {

// The thirteen drawable tracks, in the order the document keeps their flags.
enum class DrawTrack : int { kF0, kF1, kF2, kF3, kF4, kF5, kAv, kApv, kA1f, kA2f, kA3f, kA4f, kA5f };
inline constexpr int kDrawTrackCount = 13;

// The strips of the drawing window, top to bottom: f0 (0 .. the pitch display
// maximum), the formants (0 .. the spectrogram's frequency range) and the
// amplitudes (0 .. 90 dB).
enum class Strip : int { kF0, kFormants, kAmplitudes };
inline constexpr int kStripCount = 3;
inline constexpr int kAmplitudeStripMaxDb = 90;

struct DrawTrackDef {
  std::string_view name;  // the row's name in the table
  int row;                // parameter index
  Strip strip;
  Colorref defaultColor;
};

const std::array<DrawTrackDef, kDrawTrackCount>& drawTracks();
inline const DrawTrackDef& drawTrack(DrawTrack t) { return drawTracks()[static_cast<std::size_t>(t)]; }

// The document's choices. Exactly one track is selected at a time, so the
// selection is kept as one index rather than thirteen flags that could
// disagree; flag() answers as the flags would.
struct DrawingChoice {
  DrawTrack selected = DrawTrack::kF0;
  std::array<Colorref, kDrawTrackCount> colors = defaultColors();

  bool flag(DrawTrack t) const { return selected == t; }
  Colorref color(DrawTrack t) const { return colors[static_cast<std::size_t>(t)]; }
  void setColor(DrawTrack t, Colorref c) { colors[static_cast<std::size_t>(t)] = c; }

  static std::array<Colorref, kDrawTrackCount> defaultColors();
};

}  // namespace vandrel
