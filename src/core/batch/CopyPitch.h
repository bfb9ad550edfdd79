#pragma once
// The pitch a copy sounds: the autocorrelation track in two passes, the
// second searching only the speaker's own range (Hirst 2011, after De Looze
// and Hirst 2008). The first pass searches kLowestF0..kHighestF0; the
// quartiles q1 and q3 of its voiced frames give the second pass a floor of
// kFloorRatio q1 and a ceiling of kCeilingRatio q3. A male voice's nasal
// murmur or a stop's burst otherwise comes out voiced at four times the
// voice's f0 (430 Hz in a 105 Hz voice): a copy plays that as a whistle. In
// the narrow range such a frame has no candidate strong enough and is
// unvoiced, or takes the period of the voice around it.

#include <cstdint>
#include <span>
#include <vector>

namespace vandrel {

struct CopyPitchSettings {
  static constexpr double kLowestF0 = 60.0, kHighestF0 = 500.0;
  static constexpr double kFloorRatio = 0.75, kCeilingRatio = 1.5;
  // Fewer voiced frames than this in the first pass say too little of the
  // speaker's range: the first pass stands.
  static constexpr int kMinVoicedFrames = 10;
  int frames = 0;
  double firstCentre = 0.0;  // samples
  double spacing = 0.0;      // samples
};

// f0 in Hz per frame (0 = unvoiced), each frame's window centred on its
// middle (frames whose window would start before the recording take the
// first window's value). Empty when the recording is too short for a window;
// throws std::bad_alloc when the tracker cannot have its working memory.
std::vector<double> copyPitch(std::span<const std::int16_t> samples, double fs, const CopyPitchSettings& s);

}  // namespace vandrel
