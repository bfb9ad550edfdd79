#pragma once
// The copy's F1 and F2 closed over its own analysis. The formant estimate
// (FormantEstimator.h) is not a fixed point of the synthesizer: on a high
// voice, where F1 lies between f0 and 2 f0 and one or two harmonics decide
// it, a vowel synthesized with F1 700 Hz reads 618-699 Hz, so a copy whose
// table holds what the recording read reads elsewhere. So the table is
// synthesized and analysed with the same estimator, and where the copy's F1
// or F2 reads more than kLeastMiss off the recording's, the table's value is
// moved by that difference (damped, by less each round, held to the row's
// limits and to a largest step) and the table synthesized and read again;
// each frame keeps, per formant, the value whose readings lie closer to the
// recording's, unless its spectral envelope (CNoiseFit::envelopeError
// against the recording's band levels) grows by more than kEnvelopeSlack:
// without that guard the copy read as the recording did on more frames but
// lay 0.2-0.4 dB further from it in mel-cepstral distance, the moved
// formant's peak standing where the recording has none.
//
// Nor is a move kept within kPitchReach frames of where the copy's pitch,
// as `analyse --method ac` reads it, moved more than kPitchSlack off the
// recording's (and further than before): F1 moved half way between two
// harmonics made the copy of a woman's sentence read an octave down over 8
// frames (f0 within 5% on 94.2% of its frames instead of 97.5%).
//
// The readings are compared at each frame's middle and at its two ends
// (half a frame off): the estimate jumps between neighbouring windows, and
// a copy matched at the middles alone read the recording's F1 half a frame
// later as often wrong as before on some voices.
//
// Only voiced frames above kFromF0Hz are moved, and only when they are at
// least kLeastShare of the voiced frames: below it F1 spans several
// harmonics and the estimate holds, and a low voice's copy costs no more
// time (the loop estimates the recording once more and the copy eight
// times: at the middles and at the ends, before and after each round; the
// two readings of a synthesis run side by side, and a frame's harmonic fits
// are made once over all eight where their inputs are the same, FitMemo.h).

#include <atomic>
#include <functional>
#include <vector>

#include "analysis/FormantPath.h"
#include "audio/SampleSet.h"
#include "batch/CopyShapeChoice.h"
#include "document/VandrelDoc.h"

namespace vandrel {

struct FormantLoopSettings {
  static constexpr double kFromF0Hz = 150.0;
  static constexpr double kLeastShare = 0.2;
  // Within this (in ln, 3%) a frame already meets the recording's reading.
  // The reading jumps between windows a few ms apart, so a frame read 5%
  // off at its middle and ends can read 10% off between them: with 8% here
  // the copies of 27 high voices met F1 on 12 and F2 on 10, with 3% on 14
  // and 15, in the same mel distance. Below 3% nothing more was gained.
  static constexpr double kLeastMiss = 0.03;
  // The share of the misreading moved in the first round, halved each round
  // after (where a harmonic holds F1 the reading follows the table by less
  // or more than one to one, so a frame whose first step was refused tries
  // a smaller one).
  static constexpr double kDamping = 0.8;
  static constexpr double kDampingDecay = 0.5;
  static constexpr int kRounds = 3;
  static constexpr double kLargestStep = 0.2;  // in ln: about 20% per round
  static constexpr double kEnvelopeSlack = 1.15;
  static constexpr double kPitchSlack = 0.05;
  static constexpr int kPitchReach = 3;
};

// The table's value `tableHz` of a formant moved by `damping` of the log
// ratio `missLn` (ln of the recording's reading over the copy's), at most
// kLargestStep either way, held to [lower, upper] and rounded.
double loopStep(double tableHz, double missLn, double damping, double lower, double upper);

// Moves F1 and F2 of the voiced frames of `doc` that `sung` marks (see
// above). `wanted` is the estimate of `audio` on the table's frames (centred
// on their middles), `wantedCeilings` the ceilings it read them under, and
// `bands` its band levels (CopyShapeChoice.h); b1 and b2 stay at their
// floors (CopyBandwidthFloor.h) for the values kept.
// `threads` as FormantEstimateSettings::threads. On a long high voice the
// loop is most of the copy's time, so it tells `progress` after each of its
// syntheses is read (done of total) and stops when `cancel` is set, within
// a frame's estimate. Throws std::bad_alloc when a synthesis or a reading
// cannot have the memory it needs (the table then holds the rounds before).
using LoopProgress = std::function<void(int done, int total)>;
void closeFormantLoop(CVandrelDoc& doc, const SampleSet& audio, const std::vector<FormantFrame>& wanted,
                      const std::vector<double>& wantedCeilings, const std::vector<double>& f0,
                      const std::vector<Bands>& bands, const std::vector<char>& sung, int threads,
                      const LoopProgress& progress = {}, const std::atomic<bool>* cancel = nullptr);

}  // namespace vandrel
