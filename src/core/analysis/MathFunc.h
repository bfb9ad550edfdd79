#pragma once
// CMathFunc: the mathematics of the analyses — FFT spectra, Hamming windows,
// spline resampling, linear prediction, formant candidates and the cepstral
// pitch of one frame.
//
// All signal arithmetic is double precision on raw 16-bit sample values (no
// scaling to +-1); spectra are dB of raw power, 10 log10(re^2 + im^2), with
// 0 dB where the power is exactly 0. Every working array belongs to the object,
// so two objects may analyse at the same time; one object is not re-entrant.
// Arrays grow to the largest size seen and are then reused: after the first
// frame of a given size no call allocates.

#include <array>
#include <cmath>
#include <cstdint>
#include <vector>

#include "analysis/Fft.h"
#include "analysis/Spline.h"

namespace vandrel {

// The predictor of one frame: inverse filter A(z) = 1 + a[1] z^-1 + ... + a[p] z^-p.
struct LpcPredictor {
  int order = 0;          // p actually used (at most 400)
  std::vector<double> k;  // reflection coefficients k[1..p]; k[0] unused
  double error = 0.0;     // residual energy E after the last step
  std::vector<double> a;  // a[0..p], a[0] = 1
};

// One quadratic factor z^2 + b z + c of the predictor polynomial and its root
// with the non-negative imaginary part (for a real pair: the recorded root).
struct QuadraticFactor {
  double b = 0.0, c = 0.0;
  double re = 0.0, im = 0.0;
};

// Result of the root-pair conversion.
struct RootPair {
  double frequency = 0.0;  // F, Hz
  double bandwidth = 0.0;  // B, Hz
  double re = 0.0, im = 0.0;
};

struct FormantCandidates {
  static constexpr int kCapacity = 200;       // 400 coefficients give 200 pairs
  int quadraticCount = 0;                     // quadratic factors found
  int count = 0;                              // candidates accepted (B <= Bmax)
  std::array<double, kCapacity> frequency{};  // sorted by increasing frequency
  std::array<double, kCapacity> bandwidth{};
  std::array<QuadraticFactor, kCapacity> factors{};  // in the order found
};

class CMathFunc {
 public:
  // The analysis keeps its constants to 13 decimals, not full precision.
  static constexpr double kPi = 3.1415926535898;
  static constexpr double kTwoPi = 6.2831853071796;
  static constexpr int kMaxLpcOrder = 400;
  static constexpr int kLpcSpectrumOrder = 8;  // the inverse filter's fixed 256-point FFT
  static constexpr double kLpcBandwidthLimit = 600.0;

  // Periodic Hamming window: w(i) = 0.54 - 0.46 cos(2 pi i / n).
  static double hamming(int i, int n) { return 0.54 - 0.46 * std::cos(kTwoPi * i / n); }

  // Window of length n: Hamming for type 1, else nullptr (every weight 1.0).
  // The table is cached per length.
  const double* window(int n, int type);

  // Forward FFT in place, N = 2^m (see Fft.h).
  void fft(double* re, double* im, int m) { fft_.transform(re, im, m); }

  // FFT spectrum of one frame, written back over x.
  //   x      n samples; with preemph > 0 it reads x[n] as well (the forward
  //          difference x[i+1] - a x[i] reaches one past the frame), so it
  //          must hold n + 1 values. It must also hold `points` values when
  //          resampling, and n/2 otherwise.
  //   window 1 = Hamming, anything else rectangular
  // The FFT size is the smallest 2^m >= n (m >= 1); x[0 .. n/2-1] receives the
  // dB values of bins 0 .. n/2-1. With `resample` set and points >= 1,
  // x[0 .. points-1] then receives those values resampled by a natural spline
  // onto points spaced (fmax / (fs/2)) (n/2) / points bins apart.
  // Returns 0; -1 when the spline's memory could not be had (x then holds the
  // unresampled dB values, and the caller shows CubicSpline::kNoMemoryMessage).
  int fftSpectrum(double* x, int n, double preemph, int window, int resample, int points, int fmax,
                  double fs);

  // Linear prediction of order p over y[0..n-1]: autocorrelation, Schur
  // recursion for the reflection coefficients, step-up to the polynomial.
  // Orders above 400 are capped (with a note on standard error). A silent
  // frame (r[0] = 0) gives the flat predictor a = 1, 0, 0 ...
  const LpcPredictor& predictor(const double* y, int n, int p);
  const LpcPredictor& lastPredictor() const { return pred_; }

  // LPC spectrum of one frame, written back over x (the frame is read as in
  // fftSpectrum, including x[n] when preemph > 0). With `formants` set the
  // formant candidates are computed as well (see lastCandidates()); with
  // `spectrumOff` set nothing is written to x. The spectrum is the power of
  // the inverse filter A in dB (not of 1/A, no gain): 128 values from a
  // 256-point FFT of a[0..p], then resampled onto `points` values as the FFT
  // spectrum is. x must hold max(n + 1, 128, points) values.
  void lpcSpectrum(double* x, int p, int n, double preemph, int window, int resample, int points, int fmax,
                   double fs, int formants, int spectrumOff);

  // Formant candidates from the roots of c[0] z^p + c[1] z^(p-1) + ... + c[p]
  // (c[0] = 1; c is overwritten). Each quadratic factor becomes a pair (F, B);
  // pairs with B <= bmax are kept, sorted by F. Returns nullptr when the
  // polynomial could not be factored.
  const FormantCandidates* formantCandidates(int p, double bmax, double* c, double fs);
  // The candidates of the last lpcSpectrum() with `formants` set, or nullptr.
  const FormantCandidates* lastCandidates() const { return candidatesOk_ ? &cand_ : nullptr; }

  // Frequency and bandwidth of the roots of z^2 + b z + c at rate fs.
  static RootPair rootPairToFormant(double b, double c, double fs);

  // Cepstral f0 of the frame of `samples` starting at `start`, in Hz; 0 when
  // the cepstral peak lies outside [fmin, fmax]; -1 when fftSize is not one of
  // 128, 256 ... 4096. `end` is the signal's sample count, `n` the window length.
  double cepstralPitch(const std::int16_t* samples, double start, double end, double fs, double fmin,
                       double fmax, int fftSize, int n);

  // Set when a spline could not get its memory; cleared by reading it.
  bool takeSplineFailure() {
    const bool f = splineFailed_;
    splineFailed_ = false;
    return f;
  }

 private:
  // Resamples the `knots` dB values in x onto `points` values `step` bins apart.
  bool resample(double* x, int knots, int points, double step);
  double* reals(std::size_t n);
  double* imags(std::size_t n);
  const double* unitKnots(int n);

  FftTables fft_;
  CubicSpline spline_;
  struct Window {
    int n = 0;
    std::vector<double> w;
  };
  std::array<Window, 4> windows_;
  std::size_t nextWindow_ = 0;

  std::vector<double> re_, im_;                  // FFT working arrays
  std::vector<double> knotX_, knotY_, y2_;       // spline knots and second derivatives
  std::vector<double> frame_;                    // windowed frame for the predictor
  std::vector<double> r_, eFwd_, eBwd_, aPrev_;  // predictor working rows
  std::vector<double> roots_;                    // polynomial being factored (401 values)
  std::vector<double> quotient_;
  std::vector<double> pitchFrame_;  // samples of the last pitch frame
  std::vector<double> fine_;        // cepstrum at tenths of a lag
  LpcPredictor pred_;
  FormantCandidates cand_;
  bool candidatesOk_ = false;
  bool splineFailed_ = false;
};

}  // namespace vandrel
