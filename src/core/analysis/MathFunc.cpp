#include "analysis/MathFunc.h"

#include <algorithm>
#include <cstdio>

namespace vandrel {

namespace {

inline double powerDb(double re, double im) {
  const double p = re * re + im * im;
  return p != 0.0 ? 10.0 * std::log10(p) : 0.0;
}

template <class V>
double* grow(V& v, std::size_t n) {
  if (v.size() < n) v.resize(n);
  return v.data();
}

}  // namespace

double* CMathFunc::reals(std::size_t n) { return grow(re_, n); }

// Abscissae 0, 1, 2 ... for knots at the bins of a spectrum or the lags of a
// cepstrum.
const double* CMathFunc::unitKnots(int n) {
  const std::size_t old = knotX_.size();
  if (old < static_cast<std::size_t>(n)) {
    knotX_.resize(static_cast<std::size_t>(n));
    for (std::size_t i = old; i < knotX_.size(); ++i) knotX_[i] = static_cast<double>(i);
  }
  return knotX_.data();
}
double* CMathFunc::imags(std::size_t n) { return grow(im_, n); }

const double* CMathFunc::window(int n, int type) {
  if (type != 1 || n < 1) return nullptr;
  for (const Window& w : windows_)
    if (w.n == n) return w.w.data();
  Window& w = windows_[nextWindow_];
  nextWindow_ = (nextWindow_ + 1) % windows_.size();
  w.n = n;
  w.w.resize(static_cast<std::size_t>(n));
  for (int i = 0; i < n; ++i) w.w[static_cast<std::size_t>(i)] = hamming(i, n);
  return w.w.data();
}

bool CMathFunc::resample(double* x, int knots, int points, double step) {
  if (points < 1) return true;
  if (knots < 2) {
    // One bin (a two-sample frame) has no slope to follow.
    const double v = knots == 1 ? x[0] : 0.0;
    for (int i = 0; i < points; ++i) x[i] = v;
    return true;
  }
  const auto k = static_cast<std::size_t>(knots);
  double* y = grow(knotY_, k);
  double* y2 = grow(y2_, k);
  std::copy(x, x + knots, y);
  if (!spline_.prepareUnitKnots(y, knots, y2)) {
    splineFailed_ = true;
    return false;
  }
  CubicSpline::evaluateUnitKnotsEvenly(y, y2, knots, step, points, x);
  return true;
}

int CMathFunc::fftSpectrum(double* x, int n, double preemph, int windowType, int doResample, int points,
                           int fmax, double fs) {
  if (n < 1 || n > (1 << FftTables::kMaxOrder)) return 0;
  int m = 1;
  while ((1 << m) < n && m < FftTables::kMaxOrder) ++m;
  const std::size_t size = std::size_t{1} << m;
  double* re = reals(size);
  double* im = imags(size);
  const double* w = window(n, windowType);

  for (int i = 0; i < n; ++i) {
    const double v = preemph > 0.0 ? x[i + 1] - preemph * x[i] : x[i];
    re[i] = w ? v * w[i] : v;
  }
  std::fill(re + n, re + size, 0.0);
  std::fill(im, im + size, 0.0);
  fft(re, im, m);

  const int half = n / 2;
  for (int k = 0; k < half; ++k) x[k] = powerDb(re[k], im[k]);
  if (doResample == 0) return 0;
  const double step = (fmax / (0.5 * fs)) * half / points;
  return resample(x, half, points, step) ? 0 : -1;
}

// ---- Linear prediction ---------------------------------------------------

const LpcPredictor& CMathFunc::predictor(const double* y, int n, int p) {
  if (p > kMaxLpcOrder) {
    std::fputs("Requested LPC order too large\n", stderr);
    p = kMaxLpcOrder;
  }
  if (p < 0) p = 0;
  const auto np = static_cast<std::size_t>(p) + 1;
  pred_.order = p;
  pred_.k.assign(np, 0.0);
  pred_.a.assign(np, 0.0);
  pred_.a[0] = 1.0;

  // r[k] = sum_i y[i] y[i + k]
  double* r = grow(r_, np);
  // Four running sums side by side (the sum's order is free; this one keeps
  // the multipliers busy), added up at the end.
  for (int k = 0; k <= p; ++k) {
    const int len = n - k;
    double s0 = 0.0, s1 = 0.0, s2 = 0.0, s3 = 0.0;
    int i = 0;
    for (; i + 4 <= len; i += 4) {
      s0 += y[i] * y[i + k];
      s1 += y[i + 1] * y[i + 1 + k];
      s2 += y[i + 2] * y[i + 2 + k];
      s3 += y[i + 3] * y[i + 3 + k];
    }
    for (; i < len; ++i) s0 += y[i] * y[i + k];
    r[k] = (s0 + s1) + (s2 + s3);
  }
  pred_.error = r[0];
  if (r[0] == 0.0 || p == 0) return pred_;  // silence: the flat predictor

  // Schur recursion. fwd[j] holds the forward error's correlation at lag j,
  // bwd[j] the backward error's; both start as r. At step i the head of the
  // forward row, fwd[i], is the numerator of k[i], and the recursion
  //   fwd'[j] = fwd[j] + k bwd[j-1],   bwd'[j] = bwd[j-1] + k fwd[j]
  // needs no polynomial, only the two rows.
  double* fwd = grow(eFwd_, np);
  double* bwd = grow(eBwd_, np);
  std::copy(r, r + np, fwd);
  std::copy(r, r + np, bwd);
  double e = r[0];
  for (int i = 1; i <= p; ++i) {
    if (!(e > 0.0)) break;  // prediction already perfect: the rest stay 0
    const double head = fwd[i];
    const double k = -head / e;
    pred_.k[static_cast<std::size_t>(i)] = k;
    e = e + k * head;
    for (int j = p; j > i; --j) {
      const double f = fwd[j];
      fwd[j] = f + k * bwd[j - 1];
      bwd[j] = bwd[j - 1] + k * f;
    }
    bwd[i] = e;
  }
  pred_.error = e;

  // Step-up: a_i[j] = a_(i-1)[j] + k[i] a_(i-1)[i-j], a_i[i] = k[i].
  double* a = pred_.a.data();
  double* prev = grow(aPrev_, np);
  for (int i = 1; i <= p; ++i) {
    const double k = pred_.k[static_cast<std::size_t>(i)];
    std::copy(a, a + i, prev);
    for (int j = 1; j < i; ++j) a[j] = prev[j] + k * prev[i - j];
    a[i] = k;
  }
  return pred_;
}

void CMathFunc::lpcSpectrum(double* x, int p, int n, double preemph, int windowType, int doResample,
                            int points, int fmax, double fs, int formants, int spectrumOff) {
  if (n < 0) n = 0;
  double* y = grow(frame_, static_cast<std::size_t>(n) + 1);
  const double* w = window(n, windowType);
  for (int i = 0; i < n; ++i) {
    const double v = preemph > 0.0 ? x[i + 1] - preemph * x[i] : x[i];
    y[i] = w ? v * w[i] : v;
  }
  const LpcPredictor& pr = predictor(y, n, p);

  candidatesOk_ = false;
  if (formants != 0) {
    double* c = grow(roots_, kMaxLpcOrder + 1);
    std::fill(c, c + kMaxLpcOrder + 1, 0.0);
    std::copy(pr.a.begin(), pr.a.end(), c);
    candidatesOk_ = formantCandidates(pr.order, kLpcBandwidthLimit, c, fs) != nullptr;
  }
  if (spectrumOff != 0) return;

  constexpr int kSize = 1 << kLpcSpectrumOrder;
  double* re = reals(kSize);
  double* im = imags(kSize);
  std::fill(re, re + kSize, 0.0);
  std::fill(im, im + kSize, 0.0);
  // The inverse filter's impulse response; an order of 256 or more does not
  // fit the fixed transform and is cut at 256 taps.
  const int taps = std::min(pr.order + 1, kSize);
  std::copy(pr.a.begin(), pr.a.begin() + taps, re);
  fft(re, im, kLpcSpectrumOrder);
  constexpr int kBins = kSize / 2;
  for (int k = 0; k < kBins; ++k) x[k] = powerDb(re[k], im[k]);
  if (doResample == 0) return;
  resample(x, kBins, points, (fmax / (0.5 * fs)) * kBins / points);
}

}  // namespace vandrel
