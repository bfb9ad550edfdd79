#pragma once
// Refinement of one voiced frame's formants by analysis by synthesis: the
// formants are moved until the cascade of the synthesizer's resonators,
// sounded by a source of some level and slope, meets the recording's
// harmonics.
//
// A high voice samples its spectral envelope only at multiples of f0, and an
// LPC envelope fitted to those few peaks bends towards the strongest harmonic
// near each formant (F1 of /i/ at 350 Hz reads 405 Hz, the second harmonic
// of a 203 Hz voice). The model fitted here is evaluated exactly at the
// harmonics, so it has nothing to bend to: only the levels of the harmonics
// around a formant, and how they fall off on either side, place it.
//
// Measured: the level in dB of each harmonic h f0 below the fit's top, from
// a Hann window kPeriods periods long (the peak of the zero-padded spectrum
// within a third of f0 of h f0, refined by a parabola through its three
// bins; above kHighVoiceHz, the mean of kPhases such windows). Model, at
// each harmonic's frequency f:
//
//   M(f) = S(f; q) + T(f; tl) + sum_k R(f; F_k, B_k) + g + s log2(f / 1 kHz)
//   S    = the level of the synthesizer's glottal pulse, the derivative of a
//          flow a t^2 - b t^3 open for q periods (the open quotient)
//   T    = the level of the synthesizer's tilt filter at tl dB (a one-pole
//          low-pass whose knee lies near a high voice's F1 at 10-15 dB:
//          the slope s alone cannot take its shape, and F1 bent to take
//          it, 20-25% high on steady synthetic vowels at f0 200-260 Hz)
//   R    = the level of one of the synthesizer's digital resonators at
//          kModelRate (unity at 0 Hz)
//
// with g and s (level, and a slope for the recording) solved by least
// squares for every trial and q and tl chosen from a grid, then refined,
// between sweeps. The objective is the mean squared difference in dB (the fit
// meter's distance, at the harmonics) plus a pull of each bandwidth
// towards kTypicalBandwidth, which decides between fits the harmonics cannot
// tell apart, and a pull of F1 towards where its descent started
// (kStartPull). Search: coordinate descent on each formant's frequency and log
// bandwidth, steps halved when a sweep gains nothing; no formant leaves
// kMaxShift of its start, none comes closer to its neighbour than kMinGapHz.
// Every formant below the top moves, F5 too: held where the LPC put it, its
// misfit at the top harmonics is taken up by the lower formants instead (F2
// of a /u/ at f0 170 Hz then reads 60 Hz low).

#include <array>
#include <cstddef>
#include <span>
#include <vector>

#include "analysis/Fft.h"
#include "analysis/FormantPath.h"
#include "analysis/HarmonicLevels.h"

namespace vandrel {

class CHarmonicFit {
 public:
  // The window, in periods: a Hann window's main lobe reaches 2 / length
  // either side, so 5 periods leave 0.6 f0 between two harmonics' lobes. At
  // 3 (lobes just apart) a weak harmonic between two 20 dB stronger ones
  // read 1-2 dB high, enough to move a high voice's F1 by a harmonic;
  // longer windows blur a moving f0 (measured on high-voice copies: 4, 6
  // and 7 periods all agreed less with their recordings than 5).
  static constexpr double kPeriods = 5.0;
  // At most 30 ms: a low voice's 5 periods would span a formant transition
  // (at 40 ms the copies of short male commands agreed with their
  // recordings on F1 on 7-8% fewer frames than at 30).
  static constexpr double kMinWindowMs = 10.0, kMaxWindowMs = 30.0;
  static constexpr double kTopHz = 5000.0;
  // A high voice, whose F1 one or two harmonics place, is read more
  // carefully above this f0 in two ways. A man's F1 spans several
  // harmonics, and on the men's recordings each way moved the F2 of a short
  // command by a frame or two, below 90%.
  //
  // Its levels are the mean, in dB, of kPhases windows a kPhases-th of a
  // period apart, which fall at every phase of the glottal cycle: in one
  // window the levels of the harmonics about F1 move with where it falls in
  // the cycle. Five high-voice sentences read again 2.5 ms later agreed with
  // their own F1 within 10% on 76.1-90.2% of the frames with one window,
  // 79.0-92.0% with three, and the copies of 27 high voices met F1 on 21 and
  // F2 on 21 instead of 20 and 19. Windows half a period apart lost F2 (met
  // on 18).
  //
  // And refine() weighs the ends of its starts by their fit alone, without
  // the pull towards each one's start (below): the starts half a harmonic
  // either side lie where they do by construction, and an end far from its
  // own start lost to one that had not moved. An /e/ (F1 450 Hz) at f0 260
  // Hz, started at its second harmonic as the LPC puts it, kept F1 there
  // (540 Hz, with an open quotient of 0.69 instead of 0.4); the synthetic
  // diphthongs at 210 Hz read F1 within 5% on 100% of their frames instead
  // of 94.9-96.9%, the high voices' copies met F1 and F2 on as many files.
  static constexpr double kHighVoiceHz = 150.0;
  static constexpr int kPhases = 3;
  // The rate of the synthesizer the copy is played by: its digital
  // resonators, not ideal analogue ones, are what the fit places.
  static constexpr double kModelRate = 11025.0;  // harmonics fitted up to here
  // Harmonics lower than this below the loudest are noise. Those at the top
  // are left out, the others held at the floor. Held at a floor 60 dB down,
  // the top harmonics of a high /u/ (F2 low, its harmonics at 4 kHz 68-74
  // dB down) stood 8-14 dB above the model there, and F1 rose 12% to meet
  // them: our own /u/ at f0 210-250 Hz (with a vibrato) read within 10% on
  // 16 of 51 frames, on 49 with them left out. At 70 dB and left out, the
  // copies of 27 high voices met F1 on 24 instead of 21 (F2 on 21 either
  // way) and lay 0.16 dB nearer their recordings in mel distortion; one of
  // the boy's sentences read F2 less alike (71-76% of the frames instead of
  // 85-89%).
  static constexpr double kFloorBelowPeakDb = 70.0;
  static constexpr int kMinHarmonics = 4;  // fewer leave g, s and a formant undetermined
  static constexpr std::array<double, FormantFrame::kFormants> kTypicalBandwidth = {80.0, 100.0, 150.0, 200.0,
                                                                                    250.0};
  // dB^2 per (ln B / typical)^2. F1's is 7 times the others': below 2 f0
  // one or two harmonics cannot place both its frequency and its bandwidth,
  // and a freer B1 let F1 read 10-15% apart in a recording and in its copy
  // (with 0.5 the copies' F1 agreed with their recordings' on 5 points
  // fewer frames, high voices at 16 kHz, and on 3 of 10 male recordings
  // below 80% instead of none; 6 times did less well, and 8 lost F2 of a
  // synthetic /au/ at 170 Hz where F1 and F2 close in).
  static constexpr std::array<double, FormantFrame::kFormants> kBandwidthPull = {3.5, 0.5, 0.5, 0.5, 0.5};
  // dB^2 per (ln(F1 / start) / 0.1)^2: a pull of F1 towards where its
  // descent started (for the estimate, the LPC path's F1). A high voice's
  // F1 between two harmonics fits about as well a little below one of them
  // as a little above, and which of the two wins moves with the window's
  // phase: the same recordings read again 2.5 ms later agreed with
  // themselves on F1 within 10% on only 71-73% of the frames (three
  // high-voice sentences), where the LPC path's F1 moves little. Pulled, the
  // descent keeps to the valley nearer the path unless the harmonics say
  // more: those three agreed on 76-80%, and copies of 27 high voices met F1
  // on 20 instead of 14 (0.05: 18; 0.15: 19). Stronger, the path's own bend
  // towards the nearest harmonic comes back: F1 of a synthetic /ai/ at f0
  // 210 Hz within 5% on 95% of its frames at 0.1, 90% at 0.2, 61-72% at 1.
  static constexpr double kStartPull = 0.1;
  static constexpr double kMinBandwidth = 30.0, kMaxBandwidth = 600.0;
  static constexpr double kMaxShift = 0.25;  // of the start frequency
  static constexpr double kMinGapHz = 150.0;
  // F1 below this many times f0 is sampled by so few harmonics that the
  // objective may have a second valley a harmonic away: the descent also
  // starts half a harmonic spacing either side.
  static constexpr double kFewHarmonics = 4.0;
  static constexpr double kFirstStep = 0.03, kLastStep = 0.004;  // relative frequency steps
  static constexpr int kMaxSweeps = 40;
  // The open quotients tried: a grid, then halved steps around the best.
  static constexpr double kMinOpenQuotient = 0.1, kMaxOpenQuotient = 0.9, kOpenQuotientGrid = 0.1;
  // The tilts tried (dB, the synthesizer's row): a grid, refined as the open
  // quotient is.
  static constexpr double kMaxTilt = 24.0, kTiltGrid = 4.0;

  CHarmonicFit();

  // The harmonic levels of the frame centred on sample `centre` of x (rate
  // fs) for a voice of f0; false when fewer than kMinHarmonics lie below the
  // top (min(kTopHz, 0.45 fs)).
  bool measure(const std::vector<double>& x, double fs, double centre, double f0) {
    return measure(x, 0, x.size(), fs, centre, f0);
  }
  // The same where only samples [offset, offset + piece's size) of x, of
  // `total` samples in all, are at hand; the piece must hold the windows
  // (each kMaxWindowMs at most, centred up to a third of a period either
  // side of `centre`, held inside the signal).
  bool measure(std::span<const double> piece, std::size_t offset, std::size_t total, double fs, double centre,
               double f0);

  // Refines the formants of `frame` (those below the top; the rest sound as
  // given) on the last measured harmonics. Returns the objective at the end.
  // kGiven descends from the given formants only, not also from F1 half a
  // harmonic either side (a third of the work where F1 is low). Of a high
  // voice's ends the best fit wins (kHighVoiceHz), of others the best
  // objective.
  enum class Starts { kAll, kGiven };
  double refine(FormantFrame& frame, Starts starts = Starts::kAll);

  const std::vector<double>& harmonicHz() const { return hz_; }
  const std::vector<double>& harmonicDb() const { return db_; }

  // The levels of one factor of the source at the harmonics (the pulse at
  // open quotient `key`, or the tilt filter at `key` dB), the last ones made
  // kept: a frame tries about 25 of each per descent.
  struct Levels {
    double key = 0.0;
    std::vector<double> levels;
  };
  struct LevelCache {
    std::vector<Levels> entries;  // at most kKeptLevels, then each new one replaces the oldest
    std::size_t next = 0;
  };
  static constexpr std::size_t kKeptLevels = 32;

  // The last measured harmonics with the source's levels made on them so
  // far, taken out of the fit, and use() to take them up again as measure()
  // left them: a frame's paths are scored before its refinement, and it is
  // refined twice, on the same harmonics. Its spectrum and the pulse's
  // levels (a sine and a logarithm per harmonic and open quotient, the same
  // grid of open quotients in every pass) are the larger part of the work.
  struct Harmonics {
    std::vector<double> hz, db;
    double f0 = 0.0, top = 0.0;
    LevelCache pulses, tilts;
  };
  Harmonics release();
  void use(Harmonics&& h);

  // Adds weight (q - centre)^2 / kOpenQuotientGrid^2 to the objective, for
  // the open quotient q, until the next measure() or use().
  void pullOpenQuotient(double centre, double weight);

  // The objective of `frame` as it stands (the best of a few open
  // quotients), on the last measured harmonics: how well a path's formants
  // fit before any refinement.
  double score(const FormantFrame& frame);

  // The open quotient of the source that fitted best (after refine()).
  double openQuotient() const { return open_; }

  // The level S above, in dB, of a pulse open for `open` seconds.
  static double sourceDb(double f, double open);
  // The level R above, in dB.
  static double resonanceDb(double f, double F, double B);
  // The level in dB of the synthesizer's tilt filter at `tilt` dB.
  static double tiltDb(double f, double tilt);

 private:
  void prepare(double f0);
  // The peaks of the harmonics below the top in the window of n samples
  // centred on `centre`; false when the piece does not hold it.
  bool levelsAt(std::span<const double> piece, std::size_t offset, std::size_t total, double fs,
                double centre, std::size_t n, double f0, std::vector<double>& hz, std::vector<double>& db);
  double misfit(const double* rest, const double* trial) const;
  double bandwidthPull() const;
  double startPull(double f1) const;
  double startF1_ = 0.0;  // where the descent's F1 started (0: no F1)
  void resonance(std::size_t k, double F, double B, std::vector<double>& out);
  // Formant k's last resonator coefficients: its frequency's cosine and its
  // bandwidth's decays.
  struct Coefficients {
    double f = -1.0, cosine = 0.0, b = -1.0, decay = 0.0, decay2 = 0.0;
  };
  std::array<Coefficients, FormantFrame::kFormants> coefficients_;
  static constexpr std::size_t kSourceTerms = 2;
  static constexpr std::array<double, 4> kScoreQuotients = {0.2, 0.4, 0.6, 0.8};
  static constexpr std::array<double, 3> kScoreTilts = {0.0, 12.0, 24.0};
  std::vector<double> scoreSources_, nudgeSources_, zeros_;  // sources side by side, kGridTilts per harmonic
  void laneMisfits(const double* lanes, std::array<double, harmonics::kGridTilts>& out);
  void setSource(double q, double tilt);
  double descend(FormantFrame& frame, const std::array<double, FormantFrame::kFormants>& lo,
                 const std::array<double, FormantFrame::kFormants>& hi);
  double chooseOpenQuotient();
  double nudgeSource(double step);

  FftTables fft_;
  std::vector<double> re_, im_, hann_;
  std::vector<double> hz_, db_, resid_;
  std::vector<double> hzMore_, dbMore_;            // another window's, before they are averaged
  std::vector<double> cos1_, sin1_, cos2_, sin2_;  // of w and 2w at each harmonic
  std::vector<double> source_;                     // the source's level at the harmonics
  double open_ = 0.5, tilt_ = 0.0, f0_ = 0.0;
  double pullCentre_ = 0.5, pullWeight_ = 0.0;
  std::array<std::vector<double>, kSourceTerms> basis_;
  std::array<std::vector<double>, FormantFrame::kFormants> r_;  // each formant's level at the harmonics
  harmonics::PulseTerms pulseTerms_;
  std::vector<double> gridTilts_;  // the grid's tilt levels, kGridTilts per harmonic
  // The trials of each formant made on these harmonics: frequency,
  // bandwidth and levels, in the slot their frequency and bandwidth hash
  // to (a later trial of the same slot replaces it). Enough of them that
  // the second and third starts of a frame find the first's (with 8 kept,
  // half the trials were computed again; a search of 32 kept was a
  // quarter of the lookups' time).
  struct Trial {
    double f = 0.0, b = 0.0;
    std::vector<double> levels;
  };
  static constexpr int kTrialSlotBits = 6;
  std::array<std::array<Trial, std::size_t{1} << kTrialSlotBits>, FormantFrame::kFormants> tries_;
  const std::vector<double>& tried(std::size_t k, double F, double B);
  LevelCache pulses_, tilts_;
  template <class Make>
  const std::vector<double>& cached(LevelCache& cache, double key, const Make& make);
  const std::vector<double>& pulseLevels(double q);
  const std::vector<double>& tiltLevels(double tilt);
  std::array<double, FormantFrame::kFormants> bw_{}, logBw_{}, logTypical_{};
  void setBandwidth(std::size_t k, double b);
  double top_ = 0.0;
};

}  // namespace vandrel
