#pragma once
// The best path through per-frame formant candidates, in the manner of
// Talkin (1987): a frame's "state" is one assignment of its candidates
// (frequency, bandwidth) to F1..F5 in increasing frequency, any formant
// possibly absent, and dynamic programming picks one state per frame that
// minimises
//
//   sum over frames and formants of  local(F, B) + transition(F_prev, F)
//
//   local      = kFrequencyWeight |F - R_k| / R_k + kBandwidthWeight B / F,
//                or kMissingCost for an absent formant (plus kInnerGapCost
//                for an absent F2..F4 below a present one);
//   transition = kTransitionWeight |F - F_prev| / ((F + F_prev) / 2), at most
//                kMaxTransition, or kSwitchCost when the formant appears or
//                disappears; scaled by 10 ms / step.
//
// R_k = (2k - 1) ceiling / 10 are the resonances of a uniform tube whose
// fifth resonance lies at the analysis ceiling, so the path follows the
// vocal tract the ceiling assumes. Because a state holds all five formants
// at once, two tracks can never swap or cross. A frame without candidates
// ends a path; the next sounding frame starts a new one.

#include <array>
#include <vector>

namespace vandrel {

struct FormantCandidate {
  double f = 0.0;  // Hz
  double b = 0.0;  // Hz
};

struct FormantFrame {
  static constexpr int kFormants = 5;
  std::array<double, kFormants> f{};  // Hz, 0 = none
  std::array<double, kFormants> b{};  // Hz, 0 where f is 0
};

struct FormantPathCosts {
  // The band each formant may occupy at all, generous enough for children.
  static constexpr std::array<double, FormantFrame::kFormants> kLowest = {150.0, 450.0, 1200.0, 2000.0,
                                                                          2600.0};
  static constexpr std::array<double, FormantFrame::kFormants> kHighest = {1400.0, 3400.0, 4400.0, 5400.0,
                                                                           6500.0};
  // The frequency term only breaks ties between plausible assignments;
  // continuity and bandwidth decide the rest.
  static constexpr double kFrequencyWeight = 0.3;
  static constexpr double kBandwidthWeight = 0.5;
  static constexpr double kTransitionWeight = 3.0;
  // A jump costs at most this: at a consonant a formant may well move far
  // between two frames, and it should then move, not vanish.
  static constexpr double kMaxTransition = 1.0;
  static constexpr double kMissingCost = 1.5;
  static constexpr double kSwitchCost = 0.5;
  // Added for each of F2..F4 absent below a formant that is present: a
  // tract's resonances below its ceiling are all there, so a gap costs more
  // than a missing top formant. Without it, a child's /i/ (candidates 470,
  // 2550, 3260, 4990 Hz under a 6000 Hz ceiling) read with no F2 and its F2
  // as F3, the tube's F3..F5 lying nearer those three than its F2..F4; the
  // high voices' recordings then had no F2 in 5-28% of their voiced frames.
  // F1 is exempt: it is often truly lost at a voicing onset, and moving F2
  // down into its place is worse than leaving it out (with F1 counted, low
  // voices read an F2 of 1000 Hz as F1 there).
  static constexpr double kInnerGapCost = 1.0;
  static constexpr double kReferenceStepMs = 10.0;
  // States kept per frame (the cheapest by local cost); the rest are pruned.
  static constexpr int kBeam = 20;
  // At most this many candidates (the lowest) per frame.
  static constexpr int kMaxCandidates = 10;
};

// One frame per element of `candidates` (each list sorted by frequency),
// frames `stepMs` apart, for a vocal tract of `ceilingHz`.
std::vector<FormantFrame> formantPath(const std::vector<std::vector<FormantCandidate>>& candidates,
                                      double ceilingHz, double stepMs);

// Formants a path leaves out, started from a neighbour's so that the
// harmonic fit (CHarmonicFit) can place them: Burg's method found no peak
// there, but the vocal tract has one. Only in frames `fitted` marks (their
// harmonics are fitted), from the path's value in the nearest such frame
// within kGapReach (the earlier on a tie), kept at least `margin` Hz from the
// formants beside it (the fit keeps formants that far apart,
// CHarmonicFit::kMinGapHz).
// - F2 left out between a present F1 and F3: with a high voice's few
//   harmonics F2 merges with F1 or F3. Measured on 27 high voices:
//   recordings cut 2.5 ms later agreed with themselves on F2 on 90% of the
//   frames of `it4_f_16k` and `cs3_c_16k` instead of 86% and 81% (a frame
//   without F2 in either reading counts as a miss), and their copies met F2
//   on 19 files instead of 15 (mean 90.2% -> 92.1%), F1 on the same 20, in
//   the same mel distance; the man's copies and the synthetic diphthongs the
//   same. 10 frames of reach did as 5.
// - F1 left out below a present F2, where the F1 taken lies above
//   `fewHarmonics` times the frame's f0 (Hz, per frame): a man's weak, wide F1
//   (in /r/, /l/, nasals, and where F1 and F2 close in) gives Burg's method
//   no peak, and the tracks of ten men's recordings had no F1 on 6-49% of
//   their voiced frames, 350 in all. Filled, 156 of those have F1 again (the
//   rest have no frame with F1 within reach, or are fricatives that a pitch
//   tracker calls voiced at 400-500 Hz), and the copies came 0.2 dB closer
//   to their recordings in mel distance (8 of the 10 within 16 dB instead
//   of 7). Below `fewHarmonics` f0, F1 lies among so few harmonics that the
//   fit cannot place a formant the LPC did not see: filled there too, the
//   copies of 27 high voices met F1 on 19 files instead of 20 and F2 on 17
//   instead of 19; as it is, the same 20 and 19.
struct FormantGapFill {
  static constexpr int kGapReach = 5;
  static constexpr double kGapBandwidth = 100.0;   // a filled F2's, to start from
  static constexpr double kF1GapBandwidth = 80.0;  // a filled F1's: a typical B1
};
std::vector<FormantFrame> withGapsFilled(const std::vector<FormantFrame>& path,
                                         const std::vector<char>& fitted, const std::vector<double>& f0,
                                         double margin, double fewHarmonics);

}  // namespace vandrel
