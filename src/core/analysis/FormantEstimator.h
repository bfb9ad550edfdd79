#pragma once
// Formant estimates that hold on high voices as on low ones, in three steps:
//
// 1. Candidates under several vocal tracts. For each ceiling of kCeilings
//    (up to the recording's Nyquist frequency) the recording is resampled to
//    twice the ceiling and every frame analysed by Burg's method with five
//    pole pairs (a 25 ms Hamming window, pre-emphasis from 50 Hz); the roots
//    give each frame's candidates and formantPath picks a path through them.
// 2. One ceiling per sounding stretch (as Praat's FormantPath and Barreda's
//    Fast Track choose one per token): the ceiling whose F1..F3 run
//    smoothest - the least mean squared difference in log frequency from
//    their own running mean over kSmoothMs either side, plus kMissingCost for
//    every frame a formant is missing - summed over the stretches of the
//    same voice (CeilingChoice.h).
//    The ceilings are chosen on frames of their own, not on the frames
//    asked for (estimateCeilings): centred at (k + 1/2) spacing and at k
//    spacing from the recording's start, the stretches of both weighed
//    together, under the estimator's own pitch track. Chosen on the frames
//    asked for, the choice flipped with where they fell: the boy's sentence
//    `cs3_c_16k` took 5500 Hz on the copy's frames (centred 5 ms into each
//    10 ms) and 6000 Hz on `analyse`'s (12.5 ms in), F1 at 420 or at 600 Hz
//    in one stretch. Now every reading of a recording at one spacing takes
//    the same ceilings: the copies of 27 high voices met F1 (within 10% of
//    their recordings', our analysis) on all 27 instead of 24, F2 on 23
//    instead of 21. Chosen on the copy's frames alone they met as many, but
//    a man's command (`cards/002`), read by its copy with the copy's pitch
//    track and by `analyse` with its own, took 5000 Hz in one and 5500 Hz
//    in the other, and lost F2 (80% of its frames instead of 91%).
// 3. Analysis by synthesis in voiced frames (CHarmonicFit): the formants of
//    the chosen path (an F1 or F2 it left out started from a neighbour's,
//    withGapsFilled) are moved until the resonators, sounded by a source of
//    fitted level and slope, meet the levels of the recording's harmonics.
//    Twice: the second pass pulls each frame's open quotient towards the
//    median of the first's around it (a frame alone cannot tell a lower F1
//    from a shorter open phase when F1 lies below 2 f0, and took one or the
//    other from frame to frame). A median over kMedianFrames frames then
//    removes slips of a frame or two.
//
// Frame i is centred on sample firstCentre + i * spacing. Runs on any thread
// (it owns its working state); the ceilings' paths and the voiced frames'
// fits are shared out over `threads` threads, which give the same result as
// one (each frame's work depends on no other frame's), and with a memo
// (FitMemo.h) the same result as without.

#include <atomic>
#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include "analysis/FitMemo.h"
#include "analysis/FormantPath.h"
#include "analysis/PitchTrack.h"
#include "analysis/Resample.h"

namespace vandrel {

struct FormantEstimateSettings {
  static constexpr double kCeilings[] = {4500.0, 5000.0, 5500.0, 6000.0, 6500.0};
  static constexpr double kLpcWindowMs = 25.0;
  static constexpr double kPreEmphasisHz = 50.0;
  static constexpr double kMaxCandidateBandwidth = 1500.0;  // wider poles are the source's slope
  static constexpr double kSilenceDb = 50.0;                // quieter frames get no formants
  static constexpr double kSmoothMs = 20.0;
  static constexpr double kMissingCost = 0.01;  // per missing formant and frame, in (ln Hz)^2
  // Weighs the harmonic fit (dB^2 per voiced frame) against smoothness: a
  // 1 dB^2 worse fit counts as much as a formant 10% off its neighbours'
  // mean in one frame.
  static constexpr double kFitWeight = 0.01;
  static constexpr int kMedianFrames = 5;
  // The second pass of the harmonic fit pulls each frame's open quotient
  // towards the median of the first pass's over kSourceReach frames either
  // side (about 200 ms: a syllable's voice), by kOpenQuotientPull dB^2 per
  // tenth, squared: about the misfit by which the two readings of such a
  // frame differ (measured on high-voice copies: 2 agreed less with their
  // recordings, none much less).
  static constexpr int kSourceReach = 10;
  static constexpr double kOpenQuotientPull = 1.0;
  static constexpr double kLowestF0 = 60.0, kHighestF0 = 500.0;  // the pitch searched when none is given

  int frames = 0;
  // Threads to share the work (the calling one included); 0: one per core.
  int threads = 0;
  double firstCentre = 0.0;  // samples
  double spacing = 0.0;      // samples
  // f0 per frame (Hz, 0 = unvoiced) on the same frames; computed by
  // autocorrelation when empty. Or computed by `pitch` when that is set: on
  // one of the threads, beside the candidates, which do not need it (its
  // result is used only when it has a value per frame).
  std::vector<double> f0;
  std::function<std::vector<double>()> pitch;
  // Where set, each voiced frame's harmonic fits are taken from it when an
  // earlier estimate made them on the same inputs, and kept in it otherwise.
  CFitMemo* memo = nullptr;
  // Where it has a value per frame (Hz, an earlier estimate's `ceiling` of a
  // signal much like this one), each sounding stretch takes the ceiling
  // given most often over its frames instead of choosing, and only the
  // ceilings given are analysed. The copy's formant loop reads syntheses
  // that differ from its first in some frames' F1 and F2: each chose the
  // first's ceilings everywhere on 27 high voices, and made under those
  // alone a round takes a quarter less time.
  std::vector<double> ceilings;
};

struct FormantEstimate {
  enum class Status { kOk, kTooShort, kBadOptions, kNoMemory, kCancelled };
  Status status = Status::kBadOptions;
  std::vector<FormantFrame> frames;
  // The f0 used, Hz: the autocorrelation track (fmin kLowestF0, fmax
  // kHighestF0) when none was given, for callers that need it too.
  std::vector<double> f0;
  std::vector<double> ceiling;  // chosen per frame, Hz (0 where silent)
  // The open quotient of the source that fitted the harmonics (0..1), 0
  // where no fit was made.
  std::vector<double> openQuotient;
};

// `progress` is called on the calling thread; `cancel`, when set, stops the
// work between frames (kCancelled, no frames). Where `settings` gives no
// ceilings, they are estimateCeilings' on the same spacing.
FormantEstimate estimateFormants(std::span<const std::int16_t> samples, double fs,
                                 const FormantEstimateSettings& settings,
                                 const AnalysisProgress& progress = {},
                                 const std::atomic<bool>* cancel = nullptr);

// The ceiling of each frame centred at (k + 1/2) spacing (Hz, 0 where
// silent; frames up to the last whole one), chosen over those frames and
// the frames between them (step 2 above); empty when cancelled or too short.
std::vector<double> estimateCeilings(std::span<const std::int16_t> samples, double fs, double spacing,
                                     int threads, const AnalysisProgress& progress = {},
                                     const std::atomic<bool>* cancel = nullptr);

}  // namespace vandrel
