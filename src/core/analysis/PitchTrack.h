#pragma once
// The pitch (f0) track of a recording: the cepstral pitch of frames every
// step_ms, cleaned by a neighbour-deviation filter, a three-point average and
// an energy (voicing) gate.

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include "analysis/AnalysisOptions.h"
#include "analysis/MathFunc.h"

namespace vandrel {

// Called after each frame (or column) with (done, total).
using AnalysisProgress = std::function<void(int done, int total)>;

// `progress` told by a part of some work as the share [from, to) of `whole`:
// its (done, total) becomes (from + (to - from) done / total, whole). Empty
// when `progress` is; it refers to `progress`, which must outlive it.
AnalysisProgress progressShare(const AnalysisProgress& progress, int from, int to, int whole);

class CPitchTracker {
 public:
  enum class Status {
    kOk,
    kTooShort,    // fewer than 1100 samples: abandoned without a message
    kBadOptions,  // a window, step or rate that gives no frames
    kNoMemory,
  };
  static constexpr int kMinSamples = 1100;

  // Tracks `samples` at rate fs, frame i starting at i S + offset with
  // S = (fs / 1000) step_ms samples. A window of 4096 samples or more is
  // shortened in `options` itself (window_ms = truncated(4096000 / fs)), and
  // stays so. On kOk track() holds one value per frame, in Hz, 0 = no pitch.
  Status compute(std::span<const std::int16_t> samples, double fs, COptionPitch& options, double offset = 0.0,
                 const AnalysisProgress& progress = {});

  bool computed() const { return computed_; }
  const std::vector<double>& track() const { return track_; }
  double stepSamples() const { return step_; }   // S
  int windowSamples() const { return window_; }  // n
  int fftSize() const { return fftSize_; }

  // The cleaning passes on their own, for a raw track and the frames' mean
  // square energies (both M values). Writes M values to `track`.
  static void clean(const std::vector<double>& raw, const std::vector<double>& energy, int deviationHz,
                    int thresholdPercent, std::vector<double>& track);

 private:
  CMathFunc math_;
  std::vector<double> raw_, energy_, track_;
  double step_ = 0.0;
  int window_ = 0;
  int fftSize_ = 0;
  bool computed_ = false;
};

}  // namespace vandrel
