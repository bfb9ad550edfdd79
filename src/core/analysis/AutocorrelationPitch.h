#pragma once
// Pitch by autocorrelation with a best path through the candidates, after
// Boersma (1993), "Accurate short-term analysis of the fundamental frequency
// and the harmonics-to-noise ratio of a sampled sound".
//
// Per frame: the mean is removed, a Hanning window applied, and the
// autocorrelation of the windowed frame divided by the window's own
// autocorrelation,
//
//   r_x(tau) = r_a(tau) / r_w(tau),   r_w(tau) = (1 - tau/T)(2/3 + cos(2 pi tau/T)/3) + sin(2 pi tau/T)/(2
//   pi)
//
// (T the window length), which undoes the taper's fall-off with lag. Local
// maxima of r_x between the lags of fmax and fmin are candidates, their lag and
// height refined on the band-limited (sinc-interpolated) autocorrelation.
// With the unvoiced candidate they go into a Viterbi search that maximises
// the sum of strengths less the costs of octave jumps and voicing changes.

#include <cstdint>
#include <span>
#include <vector>

#include "analysis/Fft.h"
#include "analysis/PitchTrack.h"

namespace vandrel {

class CAutocorrelationPitch {
 public:
  // Three periods of the lowest f0 in the window: enough for the window
  // correction to hold up to a lag of one period.
  static constexpr double kPeriodsPerWindow = 3.0;
  // Voiced candidates kept per frame (the unvoiced one comes on top).
  static constexpr int kMaxCandidates = 14;
  // A frame whose peak is below 3% of the recording's peak counts as silence.
  static constexpr double kSilenceThreshold = 0.03;
  // The strength of the unvoiced candidate in a loud frame: a voiced
  // candidate must beat this to win on its own.
  static constexpr double kVoicingThreshold = 0.45;
  // Favours the shorter of two near-equal periods, since the autocorrelation
  // of a periodic signal peaks at every multiple of its period: a candidate
  // of period P scores r - kOctaveCost * log2(fmin * P), a bonus that grows
  // by kOctaveCost per octave above fmin.
  static constexpr double kOctaveCost = 0.01;
  // Path costs for a step of 10 ms (scaled by 10 ms / step): per octave of
  // f0 change between voiced frames, and per change between voiced and
  // unvoiced.
  static constexpr double kOctaveJumpCost = 0.35;
  static constexpr double kVoicedUnvoicedCost = 0.14;
  // Half-width, in lags, of the windowed sinc that interpolates the
  // autocorrelation between lags.
  static constexpr int kSincDepth = 16;

  enum class Status { kOk, kTooShort, kBadOptions, kNoMemory };

  struct Settings {
    double fmin = 50.0, fmax = 500.0;  // calculation range, Hz
    double stepSamples = 0.0;          // frame i starts at offset + i * step
    double offset = 0.0;
    double minWindowSamples = 0.0;  // the window is at least this long
  };

  // Tracks `samples` at rate fs. The frame count is truncated(size / step),
  // as for the cepstral tracker; the windows of the last frames, which would
  // run past the end, end with the signal instead.
  Status compute(std::span<const std::int16_t> samples, double fs, const Settings& s,
                 const AnalysisProgress& progress = {});

  const std::vector<double>& track() const { return track_; }
  const std::vector<double>& strength() const { return strength_; }
  int windowSamples() const { return window_; }

 private:
  struct Candidate {
    double f = 0.0;  // Hz; 0 = the unvoiced candidate
    double r = 0.0;  // normalised autocorrelation at the refined lag
    double score = 0.0;
  };
  struct Peak {
    int lag = 0;         // a whole lag where r_x has a local maximum
    double atLag = 0.0;  // r_x there
    double score = 0.0;  // estimated from a parabola through the three lags
  };

  // Fills ra_ (first frame) and rb_ (second) with the normalised
  // autocorrelations of two windowed frames, using one complex FFT for both.
  void autocorrelatePair(const double* a, const double* b);
  // Candidates of one frame from its autocorrelation and local peak.
  void candidatesOf(const std::vector<double>& r, double localPeak, std::size_t frame);
  double interpolated(const std::vector<double>& r, double lag) const;
  double windowCorrelation(double lag) const;
  void bestPath(double stepSeconds);

  FftTables fft_;
  std::vector<double> re_, im_, ra_, rb_, frameA_, frameB_, hann_;
  std::vector<double> rw_;       // the window's autocorrelation at whole lags
  std::vector<Peak> peaks_;      // one frame's whole-lag maxima
  std::vector<Candidate> cand_;  // kMaxCandidates + 1 per frame, unvoiced first
  std::vector<int> count_;       // candidates used per frame
  std::vector<double> delta_;    // Viterbi scores
  std::vector<int> back_;        // Viterbi back-pointers
  std::vector<double> track_, strength_;
  int window_ = 0;
  int fftOrder_ = 0;
  int minLag_ = 0, maxLag_ = 0;
  double fs_ = 0.0, fmin_ = 0.0, fmax_ = 0.0;
  double globalPeak_ = 0.0;
};

}  // namespace vandrel
