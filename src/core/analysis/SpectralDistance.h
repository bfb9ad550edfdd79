#pragma once
// The fit meter of the FFT/LPC view: how far the LPC envelope of a synthetic
// copy lies from that of the natural recording, in dB.
//
// Both envelopes are sampled on one frequency grid (0 Hz up to the view's
// frequency range). Over the points both cover (neither is NaN), each curve
// is first referred to its own level, its mean in dB, so that an overall
// gain difference does not count:
//   n'[i] = n[i] - mean(n),  c'[i] = c[i] - mean(c)
//   distance = sqrt(mean over i of (c'[i] - n'[i])^2)
// and at each of the first four peaks F1..F4 of the natural envelope (see
// envelopePeaks) the difference c'(Fj) - n'(Fj), the envelopes read by linear
// interpolation: positive where the copy is too strong there. The largest of
// these in size names the formant to correct first.

#include <array>
#include <atomic>
#include <functional>
#include <vector>

#include "analysis/SpectralSlice.h"
#include "audio/SampleSet.h"

namespace vandrel {

struct FitMeter {
  static constexpr int kPeaks = 4;
  double distanceDb = 0.0;
  bool valid = false;  // false when the envelopes share no point
  int peaks = 0;       // natural peaks found (at most kPeaks)
  std::array<double, kPeaks> peakHz{};
  std::array<double, kPeaks> peakDiffDb{};
  int worstPeak = -1;  // index of the largest |peakDiffDb|, -1 without peaks
};

// The RMS difference defined above; NaN when no point is covered by both.
double envelopeDistance(const std::vector<double>& natural, const std::vector<double>& copy);

FitMeter fitMeter(const std::vector<double>& natural, const std::vector<double>& copy, double hzPerPoint);

// The distance frame by frame over the stretch both recordings cover: value
// i belongs to the time i * stepMs. NaN where either frame is silent.
struct DistanceTrack {
  int stepMs = 10;
  std::vector<double> db;
  double maxDb() const;  // largest finite value, 0 when none
};

// Runs on any thread (it owns its analysers). `cancel`, when given, is polled
// between frames; a cancelled run returns what it has so far.
DistanceTrack distanceTrack(const SampleSet& natural, const SampleSet& copy, const SliceSettings& settings,
                            int stepMs, const std::atomic<bool>* cancel = nullptr);

}  // namespace vandrel
