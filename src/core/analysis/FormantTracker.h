#pragma once
// Formant tracks chosen for continuity, in the manner of Talkin (1987): every
// frame offers the formant candidates of its LPC roots (frequency and
// bandwidth); a frame's "state" is one assignment of candidates to F1..F5 in
// increasing frequency, any formant possibly absent. Dynamic programming then
// picks one state per frame minimising
//
//   sum over frames and formants of  local(F, B) + transition(F_prev, F)
//
//   local      = kFrequencyWeight |F - R_k| / R_k + kBandwidthWeight B / F,
//                or kMissingCost for an absent formant;
//   transition = kTransitionWeight |F - F_prev| / ((F + F_prev) / 2), at most
//                kMaxTransition, or
//                kSwitchCost when the formant appears or disappears.
//
// Because a state holds all five formants at once, two tracks can never swap
// or cross, and a candidate that suits no track (a wide pole of the source's
// slope, a spurious pair between two formants) is simply left out.

#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "analysis/AnalysisTracks.h"
#include "analysis/MathFunc.h"

namespace vandrel {

class CFormantTracker {
 public:
  static constexpr int kFormants = FormantTrackResult::kFormants;
  // Where F1..F5 are expected: the resonances of a uniform 17.5 cm tube
  // closed at the glottis, (2k - 1) c / 4L.
  static constexpr std::array<double, kFormants> kReference = {500.0, 1500.0, 2500.0, 3500.0, 4500.0};
  // The band each formant may occupy at all, generous enough for children.
  static constexpr std::array<double, kFormants> kLowest = {150.0, 450.0, 1200.0, 2000.0, 2600.0};
  static constexpr std::array<double, kFormants> kHighest = {1400.0, 3400.0, 4400.0, 5400.0, 6500.0};
  // Poles wider than this are the source's slope or noise, not formants.
  // Generous on purpose: in running speech a damped F1 can measure 1 kHz
  // wide for a frame or two, and the bandwidth cost already prefers narrow
  // poles; a lower limit leaves F1 empty in more voiced frames.
  static constexpr double kMaxBandwidth = 1500.0;
  // At most this many candidates (the lowest) per frame.
  static constexpr int kMaxCandidates = 10;
  // Cost weights of the sum above. The frequency term only breaks ties
  // between plausible assignments; continuity and bandwidth decide the rest.
  static constexpr double kFrequencyWeight = 0.3;
  static constexpr double kBandwidthWeight = 0.5;
  static constexpr double kTransitionWeight = 3.0;
  // A jump costs at most this: at a consonant a formant may well move far
  // between two frames, and it should then move, not vanish.
  static constexpr double kMaxTransition = 1.0;
  static constexpr double kMissingCost = 1.5;
  static constexpr double kSwitchCost = 0.5;
  // The transition costs hold for frames 10 ms apart and scale with 10 ms /
  // spacing: closer frames see smaller changes but more of them, and the
  // balance between continuity and the local costs stays the same.
  static constexpr double kReferenceStepMs = 10.0;
  // States kept per frame (the cheapest by local cost); the rest are pruned.
  static constexpr int kBeam = 48;
  // Rates of twice this or more are decimated by whole(fs / kAnalysisRate).
  static constexpr double kAnalysisRate = 10000.0;
  // Frames quieter than this below the loudest frame get no formants.
  static constexpr double kSilenceDb = 50.0;

  using Status = FormantTrackResult::Status;
  static constexpr int kMinSamples = 100;

  Status compute(std::span<const std::int16_t> samples, double fs, const FormantTrackSettings& s,
                 const AnalysisProgress& progress = {});

  const std::vector<FormantTrackResult::Values>& frequency() const { return freq_; }
  const std::vector<FormantTrackResult::Values>& bandwidth() const { return bw_; }

 private:
  struct Candidate {
    double f = 0.0, b = 0.0;
  };
  struct State {
    std::array<std::int8_t, kFormants> pick{};  // candidate index per formant, -1 = absent
    double cost = 0.0;
  };

  void decimate(std::span<const std::int16_t> x, int d);
  void analyseFrame(double start, std::size_t frame);
  void statesOf(std::size_t frame);
  void enumerate(std::size_t frame, int formant, int next, State& s);
  double transition(std::size_t prevFrame, const State& a, std::size_t frame, const State& b) const;
  void bestPath(std::size_t first, std::size_t end);

  CMathFunc math_;
  std::vector<double> signal_;  // the samples at the analysis rate
  std::vector<double> taps_;    // the decimation filter
  std::vector<double> frame_, hamming_, coeffs_;
  std::vector<Candidate> cand_;   // kMaxCandidates per frame
  std::vector<int> candCount_;    // per frame
  std::vector<double> loudness_;  // mean square per frame
  std::vector<State> all_;        // one frame's states before pruning
  std::vector<State> states_;     // kBeam per frame
  std::vector<int> stateCount_;   // per frame
  std::vector<double> delta_;     // Viterbi costs, kBeam per frame
  std::vector<int> back_;         // Viterbi back-pointers
  std::vector<FormantTrackResult::Values> freq_, bw_;
  int order_ = 0;
  int window_ = 0;
  double fs_ = 0.0;
  double preEmphasis_ = 0.0;
  double stepScale_ = 1.0;  // kReferenceStepMs / the frame spacing
};

}  // namespace vandrel
