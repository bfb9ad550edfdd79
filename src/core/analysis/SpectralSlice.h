#pragma once
// One spectral slice of a recording, as the FFT/LPC view draws it: the FFT
// spectrum and the LPC envelope in dB on evenly spaced points from 0 Hz up to
// the view's frequency range, and the formants of the envelope.
//
// The frame is centred on the requested time. Its first `window` samples are
// pre-emphasised (forward difference x[i+1] - a x[i]) and Hamming-weighted,
// the rest up to the FFT size is zero: the FFT size sets how finely the
// spectrum is sampled, the applied window how long a stretch it describes.
// Samples before the start or after the end of the recording count as 0.
//
// The LPC envelope is the model spectrum E / |A|^2 in dB, E the residual
// energy of the predictor: with the raw (unscaled) FFT, both curves then sit
// on the same dB scale, the envelope tracing the tops of the harmonics.
// Both are then referred to the window's sum, so the level of a sinusoid does
// not depend on the FFT size or the window: one of amplitude A (in sample
// units, no pre-emphasis) peaks at 20 log10(A / 2) dB; a full-scale one at
// about 84 dB. Points above the recording's fs/2 are NaN (nothing to show).

#include <vector>

#include "analysis/AnalysisOptions.h"
#include "analysis/MathFunc.h"
#include "audio/SampleSet.h"

namespace vandrel {

struct SliceSettings {
  int fftPoints = 256;        // FFT size, a power of two from 32 to 8192
  int windowMs = 23;          // applied window; capped at the FFT size
  double preEmphasis = 0.98;  // 0 or less: none
  int lpcOrder = 14;
  // The rate lpcOrder is meant for (0: any). A recording at another rate gets
  // the order that the same rule gives for its own: (p - 4) scaled by the
  // ratio of the rates, plus 4, rounded down to even - so a copy synthesized
  // at 11025 Hz beside a 16 kHz recording is not fitted with spurious peaks.
  double orderRate = 0.0;
  int points = 512;  // curve values from 0 Hz to fmaxHz (exclusive)
  int fmaxHz = 5000;

  double hzPerPoint() const { return points > 0 ? static_cast<double>(fmaxHz) / points : 0.0; }
  int lpcOrderAt(double fs) const;
};

// The slice settings of the FFT/LPC options (the view's one source of them).
SliceSettings sliceSettings(const COptionFFTLPC& options, double preEmphasis, int points = 512);

struct SliceFormant {
  double frequency = 0.0;  // Hz
  double bandwidth = 0.0;  // Hz
  double levelDb = 0.0;    // the envelope at `frequency`
};

struct SpectralSlice {
  std::vector<double> fftDb;           // settings.points values, NaN above fs/2
  std::vector<double> lpcDb;           // the same grid
  std::vector<SliceFormant> formants;  // by frequency, below the range and fs/2
  int frames = 0;                      // frames behind the curves; 0: no signal there
  int lpcOrder = 0;                    // the order used (see SliceSettings::lpcOrderAt)

  bool empty() const { return frames == 0; }
};

class SliceAnalyser {
 public:
  // The slice at `startMs`, or, when endMs > startMs, the average of the
  // slices from startMs to endMs every `stepMs` (dB values averaged point by
  // point; at most kMaxAveragedFrames frames, spread evenly when the range
  // holds more). A single frame's formants are the roots of its predictor
  // (bandwidth at most 600 Hz); an average's are the peaks of the averaged
  // envelope, with their half-power widths.
  const SpectralSlice& analyse(const SampleSet& signal, const SliceSettings& settings, double startMs,
                               double endMs = 0.0, int stepMs = 10);

  // The LPC envelope alone of the frame at `ms`, into env (settings.points
  // values). False when the frame lies outside the recording or is silent.
  // Short of memory, this and analyse() throw std::bad_alloc.
  bool envelope(const SampleSet& signal, const SliceSettings& settings, double ms, std::vector<double>& env);

  static constexpr int kMaxAveragedFrames = 1000;

 private:
  // Fills frame_ with the weighted frame at `ms`; false when no sample of
  // it lies inside the recording.
  bool prepareFrame(const SampleSet& signal, const SliceSettings& settings, double ms);
  // One frame's curves into fft/lpc; false for a silent frame.
  bool frameCurves(const SampleSet& signal, const SliceSettings& settings, double ms, double* fft,
                   double* lpc, bool formants);
  int frameLength_ = 0;       // applied window in samples, of the last prepareFrame()
  double levelOffset_ = 0.0;  // 20 log10 of that window's sum

  CMathFunc math_;
  std::vector<double> frame_, work_, fft_, lpc_;
  SpectralSlice slice_;
};

// Local maxima of an envelope (not at its first or last point, NaN skipped),
// by frequency, at most `maxPeaks`; the frequency is refined by a parabola
// through the three points around each maximum and the bandwidth is the
// width of the peak 3 dB below its top (0 when a side never gets there).
std::vector<SliceFormant> envelopePeaks(const std::vector<double>& env, double hzPerPoint, int maxPeaks);

}  // namespace vandrel
