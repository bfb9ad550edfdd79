#pragma once
// The spectral shape of a copy's noise, fitted to the recording's.
//
// The synthesizer shapes frication only in its parallel branch: the noise
// (white, through the generator's 0.75 memory) passes the parallel formants
// 2..6, each a resonator of unit gain at 0 Hz, summed with alternating signs,
// and the bypass; aspiration passes the cascade, the parallel F1, and - first
// differenced - the same parallel formants. Each resonator's skirt thus
// carries noise down to 0 Hz, and with amplitudes read off the envelope at
// f2..f5 a copied [s] holds 10-15 dB more below 1.5 kHz than the recording
// does. So the amplitudes of the bypass and of the parallel formants (a1f,
// only with aspiration) are fitted by analysis by synthesis: the branch's
// response to the frame's noise is computed from the same resonator
// coefficients as the synthesizer uses, and the amplitudes moved (in whole
// dB, coordinate-wise, from the steps of kSteps) while the log energies of
// kBands mel bands (0 to kTopShare of the synthesis rate) come closer to the
// recording's frame (a 25 ms Hamming window), their means set aside: the
// level is matched afterwards by the copy.

#include <array>
#include <complex>
#include <cstdint>
#include <span>
#include <vector>

#include "analysis/Fft.h"
#include "document/FrameTable.h"

namespace vandrel {

class CNoiseFit {
 public:
  static constexpr int kBands = 24;
  static constexpr double kTopShare = 0.45;  // below the output low-pass's steepest fall
  static constexpr double kWindowMs = 25.0;
  static constexpr int kPoints = 128;  // frequencies the branch's response is computed at
  static constexpr int kSteps[] = {12, 6, 3, 1};
  static constexpr int kMaxSweeps = 6;
  // Below this the fit leaves an amplitude off (the synthesizer's table is
  // silent below 13 dB).
  static constexpr int kOff = 12;
  static constexpr int kTopFrication = 60;

  enum class Source { kFrication, kAspiration };
  using Bands = std::array<double, kBands>;

  // The bands reach up to kTopShare of the synthesis rate or the
  // recording's Nyquist frequency, whichever is lower. measure() reads
  // signals at `measuredRate` (0: the recording's rate), so that a
  // synthesized copy is measured in the recording's bands.
  CNoiseFit(double synthesisRate, double recordingRate, int cascadeFormants, double measuredRate = 0.0);

  // The band log energies (dB) of a signal at the measured rate for a frame
  // centred on sample `centre`; false when the window holds no energy.
  bool measure(const std::vector<double>& x, double centre, std::array<double, kBands>& out);
  bool measure(std::span<const std::int16_t> x, double centre, std::array<double, kBands>& out);

  // The squared distance of two band shapes' envelopes (dB^2): the first
  // kEnvelopeTerms terms of the cosine transform of their difference, the
  // mean (term 0) and the finer ripple of single harmonics set aside.
  static constexpr std::size_t kEnvelopeTerms = 12;
  static double envelopeError(const std::array<double, kBands>& a, const std::array<double, kBands>& b);

  // The mean squared difference of two band shapes (dB^2), their means set aside.
  static double shapeError(const std::array<double, kBands>& a, const std::array<double, kBands>& b);

  // Fits the parallel amplitudes (and ab) of frame c of `t` for `source`,
  // in place. Returns the remaining mean squared band difference (dB^2).
  double fit(FrameTable& t, int c, Source source, const Bands& target);

  // What frame c of a noisy stretch is fitted to: the mean (in power) of its
  // bands with its noisy neighbours'. A noise's spectrum measured in one
  // window scatters by several dB per band.
  static Bands target(const std::vector<Bands>& bands, const std::vector<char>& noisy, int c);

  // After thinning (CopyAnchors.h): the fit's amplitudes jump from frame to
  // frame (its local optima: a formant off in one frame and at 60 dB in the
  // next, with about as good a shape), and straight lines between anchors
  // placed in a few of those frames miss the shapes of the frames between.
  // So each anchor value of the amplitude rows is moved (in whole dB, from
  // the steps of kRefitSteps, coordinate-wise) while the frames its lines
  // reach come closer, summed, to their targets: the fit's own objective, on
  // the values the table plays. Frames `noisy` marks count, with the source
  // `fricative` says; an anchor whose lines reach a voiced frame stays (the
  // branch is off there). The table's halves are refitted on two threads
  // when `parallel`.
  static constexpr int kRefitSteps[] = {6, 3, 1};
  static constexpr int kRefitSweeps = 3;  // more move a copy's distance by 0.05 dB at most, at twice the time
  static constexpr int kRefitBlock = 512;  // frames held at a time
  void refitAnchors(FrameTable& t, const std::vector<Bands>& bands, const std::vector<char>& noisy,
                    const std::vector<char>& fricative, bool parallel);

 private:
  template <class T>
  bool measureSamples(std::span<const T> x, double centre, std::array<double, kBands>& out);
  static constexpr int kParts = 7;  // ab, a1f..a6f
  using Response = std::array<std::complex<double>, kPoints>;
  // A frame's branch: the fixed part (the cascade, for aspiration) and, for
  // each amplitude, its resonator with its sign in the sum, per point.
  struct Branch {
    bool aspiration = false;
    Response fixed{};
    std::array<Response, kParts> part{};
  };
  Branch branchOf(const FrameTable& t, int c, Source source) const;
  static Response sumOf(const Branch& b, const std::array<int, kParts>& db);
  // The shape error of `sum` with `change` times `part` added (none when null).
  double errorOf(const Response& sum, const Response* part, double change, const Bands& target) const;
  std::array<double, kBands> bandsOf(const std::array<double, kPoints>& power) const;

  double synthRate_, measuredRate_, top_;
  int cascade_;
  Response z1_{};  // e^(-jw) at each point
  // Triangular mel bands: per band, the weights of the response points and
  // of the recording's FFT bins.
  std::vector<std::vector<std::pair<int, double>>> pointWeights_, binWeights_;
  int fftOrder_ = 0;
  std::vector<double> window_, re_, im_;
  FftTables fft_;
};

}  // namespace vandrel
