// FFT, spectrum and spline, checked against a direct DFT and exact algebra.

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <random>
#include <vector>

#include "analysis/MathFunc.h"

namespace vandrel {
namespace {

constexpr double kTruePi = 3.14159265358979323846;

std::vector<std::complex<double>> directDft(const std::vector<double>& re, const std::vector<double>& im) {
  const std::size_t n = re.size();
  std::vector<std::complex<double>> out(n);
  // e^{-2 pi i j / n} for every j, in long double; k t is reduced mod n so
  // every angle is exact.
  std::vector<long double> cs(n), sn(n);
  for (std::size_t j = 0; j < n; ++j) {
    const long double ang =
        -2.0L * 3.141592653589793238462643383279L * static_cast<long double>(j) / static_cast<long double>(n);
    cs[j] = std::cos(ang);
    sn[j] = std::sin(ang);
  }
  for (std::size_t k = 0; k < n; ++k) {
    long double sr = 0, si = 0;
    for (std::size_t t = 0; t < n; ++t) {
      const std::size_t j = (k * t) % n;
      const long double c = cs[j], s = sn[j];
      sr += re[t] * c - im[t] * s;
      si += re[t] * s + im[t] * c;
    }
    out[k] = {static_cast<double>(sr), static_cast<double>(si)};
  }
  return out;
}

TEST(CMathFuncFftTest, MatchesDirectDftForEveryPowerOfTwo) {
  std::mt19937 gen(12345);
  std::uniform_real_distribution<double> dist(-32768.0, 32767.0);
  CMathFunc math;
  for (int m = 1; m <= 13; ++m) {
    SCOPED_TRACE(m);
    const std::size_t n = std::size_t{1} << m;
    std::vector<double> re(n), im(n);
    for (std::size_t i = 0; i < n; ++i) {
      re[i] = dist(gen);
      im[i] = dist(gen);
    }
    const auto ref = directDft(re, im);
    math.fft(re.data(), im.data(), m);
    double errNorm = 0, refNorm = 0;
    for (std::size_t k = 0; k < n; ++k) {
      errNorm += std::norm(std::complex<double>(re[k], im[k]) - ref[k]);
      refNorm += std::norm(ref[k]);
    }
    EXPECT_LT(std::sqrt(errNorm / refNorm), 1e-9);
  }
}

// The transform in its plainest loop order: bit reversal by swaps, then per
// stage one twiddle value at a time over the whole array, the twiddle
// advanced by a complex multiplication.
void plainFft(std::vector<double>& re, std::vector<double>& im) {
  const std::size_t n = re.size();
  for (std::size_t i = 0, j = 0; i + 1 < n; ++i) {
    if (i < j) {
      std::swap(re[i], re[j]);
      std::swap(im[i], im[j]);
    }
    std::size_t k = n / 2;
    while (k <= j) {
      j -= k;
      k /= 2;
    }
    j += k;
  }
  for (std::size_t le = 2; le <= n; le *= 2) {
    const std::size_t h = le / 2;
    const double wr = std::cos(CMathFunc::kPi / static_cast<double>(h)),
                 wi = -std::sin(CMathFunc::kPi / static_cast<double>(h));
    double ur = 1.0, ui = 0.0;
    for (std::size_t j = 0; j < h; ++j) {
      for (std::size_t i = j; i < n; i += le) {
        const std::size_t p = i + h;
        const double tr = re[p] * ur - im[p] * ui, ti = re[p] * ui + im[p] * ur;
        re[p] = re[i] - tr;
        im[p] = im[i] - ti;
        re[i] += tr;
        im[i] += ti;
      }
      const double t = ur * wr - ui * wi;
      ui = ur * wi + ui * wr;
      ur = t;
    }
  }
}

TEST(CMathFuncFftTest, ReorderedLoopsGiveThePlainLoopsResultsExactly) {
  std::mt19937 gen(99);
  std::uniform_real_distribution<double> dist(-1000.0, 1000.0);
  CMathFunc math;
  for (int m = 1; m <= 13; ++m) {
    SCOPED_TRACE(m);
    const std::size_t n = std::size_t{1} << m;
    std::vector<double> re(n), im(n);
    for (std::size_t i = 0; i < n; ++i) {
      re[i] = dist(gen);
      im[i] = dist(gen);
    }
    auto pre = re, pim = im;
    plainFft(pre, pim);
    math.fft(re.data(), im.data(), m);
    EXPECT_EQ(re, pre);
    EXPECT_EQ(im, pim);
  }
}

// Spectrum: a frame of N samples (plus the one past it), rectangular or Hamming.
std::vector<double> spectrum(CMathFunc& math, std::vector<double> x, int n, double a, int window) {
  x.resize(static_cast<std::size_t>(n) + 1, 0.0);
  math.fftSpectrum(x.data(), n, a, window, 0, 0, 0, 11025.0);
  x.resize(static_cast<std::size_t>(n / 2));
  return x;
}

TEST(CMathFuncSpectrumTest, ImpulseIsFlatAndSilenceIsZeroDb) {
  CMathFunc math;
  for (int n : {8, 64, 512}) {
    SCOPED_TRACE(n);
    std::vector<double> impulse(static_cast<std::size_t>(n), 0.0);
    impulse[0] = 100.0;
    for (double v : spectrum(math, impulse, n, 0.0, 0)) EXPECT_DOUBLE_EQ(v, 40.0);  // 10 log10(100^2)
    for (double v : spectrum(math, std::vector<double>(static_cast<std::size_t>(n), 0.0), n, 0.98, 1))
      EXPECT_EQ(v, 0.0);
  }
}

TEST(CMathFuncSpectrumTest, SinusoidPeaksAtItsBin) {
  CMathFunc math;
  const int n = 256;
  for (int k : {1, 5, 31, 64, 100, 127}) {
    for (int window : {0, 1}) {
      SCOPED_TRACE(testing::Message() << "bin " << k << " window " << window);
      std::vector<double> x(n);
      // A complex-exponential test would hide a sign error in a real signal;
      // the cosine plus a phase-shifted sine keeps the peak only at +k.
      for (int i = 0; i < n; ++i)
        x[static_cast<std::size_t>(i)] = 1000.0 * std::cos(2.0 * kTruePi * k * i / n + 0.3);
      const auto s = spectrum(math, x, n, 0.0, window);
      const auto peak = std::max_element(s.begin(), s.end()) - s.begin();
      EXPECT_EQ(peak, k);
    }
  }
}

TEST(CMathFuncSpectrumTest, ForwardSignConvention) {
  // x = e^{+2 pi i 3 t / 16} must land in bin 3 (X[k] = sum x e^{-2 pi i k t / N}).
  CMathFunc math;
  std::vector<double> re(16), im(16);
  for (int t = 0; t < 16; ++t) {
    re[static_cast<std::size_t>(t)] = std::cos(2.0 * kTruePi * 3 * t / 16);
    im[static_cast<std::size_t>(t)] = std::sin(2.0 * kTruePi * 3 * t / 16);
  }
  math.fft(re.data(), im.data(), 4);
  EXPECT_NEAR(re[3], 16.0, 1e-9);
  EXPECT_NEAR(std::hypot(re[13], im[13]), 0.0, 1e-9);
}

TEST(CMathFuncSpectrumTest, PreEmphasisIsTheForwardDifference) {
  // A ramp x[i] = i: with a = 1 every difference x[i+1] - x[i] is 1, including
  // the last, which reads x[N]. A rectangular window then gives N at DC and
  // nothing elsewhere; the backward form x[i] - x[i-1] would not.
  CMathFunc math;
  const int n = 32;
  std::vector<double> ramp(static_cast<std::size_t>(n) + 1);
  for (std::size_t i = 0; i < ramp.size(); ++i) ramp[i] = static_cast<double>(i);
  const auto s = spectrum(math, ramp, n, 1.0, 0);
  EXPECT_NEAR(s[0], 10.0 * std::log10(32.0 * 32.0), 1e-9);
  // An exactly zero bin reads 0 dB, not minus infinity.
  for (int k = 1; k < n / 2; ++k) {
    const double v = s[static_cast<std::size_t>(k)];
    EXPECT_TRUE(v < -200.0 || v == 0.0) << k << ": " << v;
  }

  // a = 0 takes the plain path: the ramp's DC is its sum.
  const auto plain = spectrum(math, ramp, n, 0.0, 0);
  EXPECT_NEAR(plain[0], 10.0 * std::log10(496.0 * 496.0), 1e-9);
}

TEST(CMathFuncSpectrumTest, HammingWindowIsThePeriodicForm) {
  // The periodic window's DFT has exactly three non-zero bins: 0.54 N at DC
  // and -0.23 N at bins 1 and N-1 (up to the 13-decimal pi).
  CMathFunc math;
  const int n = 64;
  const auto s = spectrum(math, std::vector<double>(n, 1.0), n, 0.0, 1);
  EXPECT_NEAR(s[0], 20.0 * std::log10(0.54 * n), 1e-9);
  EXPECT_NEAR(s[1], 20.0 * std::log10(0.23 * n), 1e-9);
  for (int k = 2; k < n / 2; ++k) {
    const double v = s[static_cast<std::size_t>(k)];
    EXPECT_TRUE(v < -150.0 || v == 0.0) << k << ": " << v;
  }
}

TEST(CMathFuncSpectrumTest, ResamplingAtNyquistReturnsTheKnots) {
  CMathFunc math;
  std::mt19937 gen(7);
  std::uniform_real_distribution<double> dist(-1000.0, 1000.0);
  for (int n : {16, 256, 1024}) {
    SCOPED_TRACE(n);
    std::vector<double> x(static_cast<std::size_t>(n) + 1);
    for (double& v : x) v = dist(gen);
    auto plain = x, resampled = x;
    math.fftSpectrum(plain.data(), n, 0.98, 1, 0, 0, 0, 22050.0);
    math.fftSpectrum(resampled.data(), n, 0.98, 1, 1, n / 2, 11025, 22050.0);
    for (int i = 0; i < n / 2; ++i)
      EXPECT_DOUBLE_EQ(resampled[static_cast<std::size_t>(i)], plain[static_cast<std::size_t>(i)]) << i;
  }
}

TEST(CubicSplineTest, ReproducesACubicWithExactEndSlopes) {
  // A cubic is its own spline when the end derivatives are the true ones.
  const auto f = [](double x) { return 0.5 * x * x * x - 2.0 * x * x + x - 3.0; };
  const auto df = [](double x) { return 1.5 * x * x - 4.0 * x + 1.0; };
  std::vector<double> x = {0.0, 0.7, 1.1, 2.5, 3.0, 4.2, 5.0};
  std::vector<double> y(x.size()), y2(x.size());
  for (std::size_t i = 0; i < x.size(); ++i) y[i] = f(x[i]);
  CubicSpline s;
  ASSERT_TRUE(s.prepare(x.data(), y.data(), 7, df(0.0), df(5.0), y2.data()));
  for (double at = 0.0; at <= 5.0; at += 0.13)
    EXPECT_NEAR(CubicSpline::evaluate(x.data(), y.data(), y2.data(), 7, at), f(at), 1e-9) << at;
}

TEST(CubicSplineTest, NaturalEndsAreStraightAndLinesAreExact) {
  std::vector<double> x = {0, 1, 2, 3, 4, 5}, y(6), y2(6, 99.0);
  for (std::size_t i = 0; i < 6; ++i) y[i] = 3.0 * x[i] - 7.0;
  CubicSpline s;
  ASSERT_TRUE(s.prepare(x.data(), y.data(), 6, 1e30, 1e30, y2.data()));
  EXPECT_EQ(y2[0], 0.0);
  EXPECT_EQ(y2[5], 0.0);
  for (double at : {0.25, 2.5, 4.9})
    EXPECT_NEAR(CubicSpline::evaluate(x.data(), y.data(), y2.data(), 6, at), 3.0 * at - 7.0, 1e-12);
}

TEST(CubicSplineTest, UnitKnotShortcutEqualsTheBisection) {
  std::mt19937 gen(3);
  std::uniform_real_distribution<double> dist(-50.0, 50.0);
  const int n = 40;
  std::vector<double> x(n), y(n), y2(n);
  for (int i = 0; i < n; ++i) {
    x[static_cast<std::size_t>(i)] = i;
    y[static_cast<std::size_t>(i)] = dist(gen);
  }
  CubicSpline s;
  ASSERT_TRUE(s.prepare(x.data(), y.data(), n, 1e30, 1e30, y2.data()));
  for (int m : {2, 3, 17, n}) {
    std::vector<double> general(static_cast<std::size_t>(m)), unit(static_cast<std::size_t>(m), 5.0);
    ASSERT_TRUE(s.prepare(x.data(), y.data(), m, 1e30, 1e30, general.data()));
    ASSERT_TRUE(s.prepareUnitKnots(y.data(), m, unit.data()));
    EXPECT_EQ(unit, general) << m;
  }
  std::vector<double> evenly(451);
  CubicSpline::evaluateUnitKnotsEvenly(y.data(), y2.data(), n, 0.1, 451, evenly.data());
  for (int i = 0; i < 451; ++i) {
    const double at = i * 0.1;  // past the last knot too
    const double ref = CubicSpline::evaluate(x.data(), y.data(), y2.data(), n, at);
    EXPECT_EQ(CubicSpline::evaluateUnitKnots(y.data(), y2.data(), n, at), ref) << at;
    EXPECT_EQ(evenly[static_cast<std::size_t>(i)], ref) << at;
  }
}

}  // namespace
}  // namespace vandrel
