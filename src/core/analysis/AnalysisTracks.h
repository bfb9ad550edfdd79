#pragma once
// The two calls the editor makes for the tracks drawn over a spectrogram and
// copied into the table, whatever method the user chose:
//
//   computePitchTrack    f0 per frame (Hz, 0 = unvoiced) and a strength per
//                        frame, by the cepstral tracker or by autocorrelation;
//   computeFormantTracks F1..F5 and B1..B5 per frame (Hz, 0 = none), chosen
//                        for continuity from the LPC candidates of each frame.
//
// Thread safety: each call builds its own working state and touches nothing
// shared, so both may run on a worker thread while the UI thread (or another
// worker) runs them too. `progress`, when given, is called on the calling
// thread after each frame with (frames done, frames in all).

#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "analysis/AnalysisOptions.h"
#include "analysis/PitchTrack.h"

namespace vandrel {

// The pitch options' "Calculation Method", in the order of its buttons.
enum class PitchMethod : int {
  kCepstral = 0,         // "Cepstral": the editor's default
  kAutocorrelation = 1,  // "AutoCorrolation"
};

struct PitchTrackResult {
  enum class Status {
    kOk,
    kTooShort,    // cepstral: fewer than 1100 samples; autocorrelation: less than one window
    kBadOptions,  // no rate, a step or window below one sample, an empty or inverted range
    kNoMemory,
  };
  Status status = Status::kBadOptions;
  // One value per frame; frame i analyses the window that starts at sample
  // offset + i * stepSamples (the same frames for both methods).
  std::vector<double> f0;  // Hz, 0 = unvoiced
  // How periodic the frame is, 0..1. Autocorrelation: the normalised
  // autocorrelation at the chosen period (for an unvoiced frame, at its best
  // voiced candidate; 0 when it has none). Cepstral: 1 for a voiced frame,
  // 0 otherwise (the cepstrum gives no comparable measure).
  std::vector<double> strength;
  double stepSamples = 0.0;  // S = fs / 1000 * step_ms
  int windowSamples = 0;     // length of each frame's window (also set with kTooShort by autocorrelation)
};

// The pitch track of `samples` at rate fs with the pitch options (window,
// step, calculation range, and for the cepstral method the deviation and
// threshold as well). The cepstral method may shorten options.windowMs (a
// window is at most 4096 samples) and that change stays in the options.
PitchTrackResult computePitchTrack(std::span<const std::int16_t> samples, double fs, COptionPitch& options,
                                   PitchMethod method, double offset = 0.0,
                                   const AnalysisProgress& progress = {});

// Where the formant frames lie and how each is analysed.
struct FormantTrackSettings {
  static constexpr double kDefaultWindowMs = 25.0;

  int frames = 0;                      // how many frames
  double firstSample = 0.0;            // start of frame 0
  double spacing = 0.0;                // samples from one frame's start to the next
  double windowMs = kDefaultWindowMs;  // each frame measures the middle of this window from its start
  // f0 on the same frames (Hz, 0 = unvoiced), when the caller has it; else
  // the estimate tracks its own.
  std::vector<double> f0;

  // Frames at the columns of a spectrogram: `columns` frames spread evenly
  // over `sampleCount` samples from `offset`.
  static FormantTrackSettings forColumns(int columns, std::size_t sampleCount, double offset = 0.0);
  // Frames at the frames of a pitch track (stepSamples apart).
  static FormantTrackSettings forFrames(int frames, double stepSamples, double offset = 0.0);
};

struct FormantTrackResult {
  static constexpr int kFormants = 5;
  using Values = std::array<double, kFormants>;
  enum class Status { kOk, kTooShort, kBadOptions, kNoMemory };

  Status status = Status::kBadOptions;
  std::vector<Values> frequency;  // F1..F5 per frame, Hz, 0 = none
  std::vector<Values> bandwidth;  // B1..B5 per frame, Hz, 0 where the formant is 0
};

// Formant tracks of `samples` at rate fs: the candidates of every frame, then
// one choice of F1..F5 over the whole recording that keeps each track near
// its expected region, prefers narrow bandwidths and penalises jumps between
// frames. Needs at least 100 samples.
FormantTrackResult computeFormantTracks(std::span<const std::int16_t> samples, double fs,
                                        const FormantTrackSettings& settings,
                                        const AnalysisProgress& progress = {});

}  // namespace vandrel
