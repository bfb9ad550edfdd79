// CMathFunc's FFT, spectra, spline and linear prediction, checked against a
// direct DFT, exact algebra, Levinson–Durbin and polynomials with known roots.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <limits>
#include <random>
#include <utility>
#include <vector>

#include "analysis/MathFunc.h"

namespace vandrel {
namespace {

constexpr double kTruePi = 3.14159265358979323846;

// X[k] = sum x[t] e^{-2 pi i k t / n}, from a table of e^{-2 pi i j / n} in
// long double indexed by k t mod n, so every angle is exact.
std::vector<std::complex<double>> directDft(const std::vector<double>& re, const std::vector<double>& im) {
  const std::size_t n = re.size();
  std::vector<std::complex<long double>> w(n);
  for (std::size_t j = 0; j < n; ++j)
    w[j] = std::polar(1.0L, -2.0L * 3.141592653589793238462643383279L * static_cast<long double>(j) /
                                static_cast<long double>(n));
  std::vector<std::complex<double>> out(n);
  for (std::size_t k = 0; k < n; ++k) {
    long double sr = 0, si = 0;  // written out: complex<long double> products are slow
    for (std::size_t t = 0; t < n; ++t) {
      const std::complex<long double> e = w[(k * t) % n];
      sr += re[t] * e.real() - im[t] * e.imag();
      si += re[t] * e.imag() + im[t] * e.real();
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
    for (std::size_t i = 0; i < n; ++i) re[i] = dist(gen), im[i] = dist(gen);
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

// Spectrum in dB of a frame of n samples (plus the one past it), rectangular
// (window 0) or Hamming (window 1), pre-emphasis a.
std::vector<double> spectrum(CMathFunc& math, std::vector<double> x, int n, double a, int window) {
  x.resize(static_cast<std::size_t>(n) + 1, 0.0);
  math.fftSpectrum(x.data(), n, a, window, 0, 0, 0, 11025.0);
  x.resize(static_cast<std::size_t>(n / 2));
  return x;
}

TEST(CMathFuncSpectrumTest, KnownSignalsWindowsAndPreEmphasis) {
  CMathFunc math;
  for (int n : {8, 512}) {
    std::vector<double> impulse(static_cast<std::size_t>(n), 0.0);
    impulse[0] = 100.0;
    for (double v : spectrum(math, impulse, n, 0.0, 0)) EXPECT_DOUBLE_EQ(v, 40.0) << n;  // 10 log10(100^2)
    for (double v : spectrum(math, std::vector<double>(std::size_t(n), 0.0), n, 0.98, 1))
      EXPECT_EQ(v, 0.0) << n;
  }
  const int n = 256;  // a sinusoid peaks at its bin, with either window
  for (int k : {1, 5, 64, 127}) {
    for (int window : {0, 1}) {
      std::vector<double> x(n);
      for (int i = 0; i < n; ++i) x[std::size_t(i)] = 1000.0 * std::cos(2.0 * kTruePi * k * i / n + 0.3);
      const auto s = spectrum(math, x, n, 0.0, window);
      EXPECT_EQ(std::max_element(s.begin(), s.end()) - s.begin(), k) << "window " << window;
    }
  }

  // A ramp x[i] = i with a = 1: every difference x[i+1] - x[i] is 1, the last
  // reading x[N], so a rectangular window gives N at DC and nothing elsewhere
  // (an exactly zero bin reads 0 dB); the backward difference would not.
  const int m = 32;
  std::vector<double> ramp(static_cast<std::size_t>(n) + 1);
  for (std::size_t i = 0; i < ramp.size(); ++i) ramp[i] = static_cast<double>(i);
  const auto s = spectrum(math, ramp, m, 1.0, 0);
  EXPECT_NEAR(s[0], 20.0 * std::log10(32.0), 1e-9);
  for (int k = 1; k < m / 2; ++k) EXPECT_TRUE(s[std::size_t(k)] < -200.0 || s[std::size_t(k)] == 0.0) << k;
  EXPECT_NEAR(spectrum(math, ramp, m, 0.0, 0)[0], 20.0 * std::log10(496.0), 1e-9);  // a = 0: the plain sum

  // The periodic window's DFT has three non-zero bins: 0.54 N at DC and
  // -0.23 N at bins 1 and N-1.
  const auto h = spectrum(math, std::vector<double>(64, 1.0), 64, 0.0, 1);
  EXPECT_NEAR(h[0], 20.0 * std::log10(0.54 * 64), 1e-9);
  EXPECT_NEAR(h[1], 20.0 * std::log10(0.23 * 64), 1e-9);
  for (int k = 2; k < 32; ++k) EXPECT_TRUE(h[std::size_t(k)] < -150.0 || h[std::size_t(k)] == 0.0) << k;
}

TEST(CubicSplineTest, ReproducesCubicsAndLines) {
  // A cubic is its own spline when the end derivatives are the true ones; a
  // line is its own natural spline, whose second derivatives are zero.
  const auto f = [](double x) { return 0.5 * x * x * x - 2.0 * x * x + x - 3.0; };
  const auto df = [](double x) { return 1.5 * x * x - 4.0 * x + 1.0; };
  std::vector<double> x = {0.0, 0.7, 1.1, 2.5, 3.0, 4.2, 5.0}, y(7), y2(7, 99.0), line(7);
  for (std::size_t i = 0; i < 7; ++i) y[i] = f(x[i]), line[i] = 3.0 * x[i] - 7.0;
  CubicSpline s;
  ASSERT_TRUE(s.prepare(x.data(), y.data(), 7, df(0.0), df(5.0), y2.data()));
  for (double at = 0.0; at <= 5.0; at += 0.13)
    EXPECT_NEAR(CubicSpline::evaluate(x.data(), y.data(), y2.data(), 7, at), f(at), 1e-9) << at;
  ASSERT_TRUE(s.prepare(x.data(), line.data(), 7, 1e30, 1e30, y2.data()));
  for (double v : y2) EXPECT_NEAR(v, 0.0, 1e-12);
  for (double at : {0.25, 2.5, 4.9})
    EXPECT_NEAR(CubicSpline::evaluate(x.data(), line.data(), y2.data(), 7, at), 3.0 * at - 7.0, 1e-12);
}

TEST(CubicSplineTest, UnitKnotShortcutsEqualTheGeneralForm) {
  std::mt19937 gen(3);
  std::uniform_real_distribution<double> dist(-50.0, 50.0);
  const int n = 40;
  std::vector<double> x(n), y(n), y2(n);
  for (int i = 0; i < n; ++i) x[std::size_t(i)] = i, y[std::size_t(i)] = dist(gen);
  CubicSpline s;
  for (int m : {2, 3, 17, n}) {
    std::vector<double> general(static_cast<std::size_t>(m)), unit(static_cast<std::size_t>(m), 5.0);
    ASSERT_TRUE(s.prepare(x.data(), y.data(), m, 1e30, 1e30, general.data()));
    ASSERT_TRUE(s.prepareUnitKnots(y.data(), m, unit.data()));
    EXPECT_EQ(unit, general) << m;
  }
  ASSERT_TRUE(s.prepare(x.data(), y.data(), n, 1e30, 1e30, y2.data()));
  std::vector<double> evenly(451);
  CubicSpline::evaluateUnitKnotsEvenly(y.data(), y2.data(), n, 0.1, 451, evenly.data());
  for (int i = 0; i < 451; ++i) {
    const double at = i * 0.1;  // past the last knot too
    const double ref = CubicSpline::evaluate(x.data(), y.data(), y2.data(), n, at);
    EXPECT_EQ(CubicSpline::evaluateUnitKnots(y.data(), y2.data(), n, at), ref) << at;
    EXPECT_EQ(evenly[std::size_t(i)], ref) << at;
  }
}

struct Textbook {
  std::vector<double> k, a;
  double e;
};

// Levinson–Durbin on the autocorrelation of y, as found in any DSP text.
Textbook levinson(const std::vector<double>& y, std::size_t p) {
  std::vector<double> r(p + 1, 0.0);
  for (std::size_t lag = 0; lag <= p; ++lag)
    for (std::size_t i = 0; i + lag < y.size(); ++i) r[lag] += y[i] * y[i + lag];
  Textbook t{std::vector<double>(p + 1, 0.0), std::vector<double>(p + 1, 0.0), r[0]};
  t.a[0] = 1.0;
  for (std::size_t i = 1; i <= p; ++i) {
    double acc = r[i];
    for (std::size_t j = 1; j < i; ++j) acc += t.a[j] * r[i - j];
    const double k = -acc / t.e;
    std::vector<double> next = t.a;
    for (std::size_t j = 1; j < i; ++j) next[j] = t.a[j] + k * t.a[i - j];
    next[i] = t.k[i] = k;
    t.a = next;
    t.e *= 1.0 - k * k;
  }
  return t;
}

std::vector<double> noise(std::size_t n, unsigned seed) {
  std::mt19937 gen(seed);
  std::normal_distribution<double> d(0.0, 1000.0);
  std::vector<double> v(n);
  for (double& x : v) x = d(gen);
  return v;
}

TEST(CMathFuncLpcTest, PredictorMatchesLevinsonDurbin) {
  CMathFunc math;
  for (auto [n, p] : {std::pair<std::size_t, int>{50, 1}, {200, 10}, {512, 24}, {300, 40}}) {
    SCOPED_TRACE(testing::Message() << "n " << n << " p " << p);
    auto y = noise(n, static_cast<unsigned>(p));
    // Colour the noise so the coefficients are far from zero.
    for (std::size_t i = 2; i < y.size(); ++i) y[i] += 1.3 * y[i - 1] - 0.6 * y[i - 2];
    const Textbook ref = levinson(y, static_cast<std::size_t>(p));
    const LpcPredictor& pr = math.predictor(y.data(), static_cast<int>(n), p);
    ASSERT_EQ(pr.order, p);
    for (std::size_t i = 1; i <= static_cast<std::size_t>(p); ++i) {
      EXPECT_NEAR(pr.k[i], ref.k[i], 1e-9) << i;
      EXPECT_NEAR(pr.a[i], ref.a[i], 1e-9) << i;
    }
    EXPECT_NEAR(pr.error / ref.e, 1.0, 1e-9);
  }
  // A silent frame gives the flat predictor; an order above 400 is capped.
  const std::vector<double> silence(100, 0.0);
  EXPECT_EQ(math.predictor(silence.data(), 100, 12).a,
            std::vector<double>({1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
  const auto y = noise(1000, 9);
  testing::internal::CaptureStderr();
  const LpcPredictor& capped = math.predictor(y.data(), 1000, 501);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "Requested LPC order too large\n");
  EXPECT_EQ(capped.order, 400);
  EXPECT_EQ(capped.a.size(), 401u);
}

TEST(CMathFuncLpcTest, SpectrumIsThePowerOfTheInverseFilter) {
  CMathFunc math;
  auto x = noise(301, 11);
  for (std::size_t i = 1; i < x.size(); ++i) x[i] += 0.8 * x[i - 1];
  std::vector<double> buf = x;
  buf.resize(400, 0.0);
  math.lpcSpectrum(buf.data(), 10, 300, 0.0, 1, 0, 0, 5512, 11025.0, 0, 0);
  const LpcPredictor& pr = math.lastPredictor();
  for (int k = 0; k < 128; ++k) {
    std::complex<double> A = 0.0;
    for (std::size_t j = 0; j <= 10; ++j)
      A += pr.a[j] * std::polar(1.0, -2.0 * kTruePi * k * double(j) / 256.0);
    EXPECT_NEAR(buf[std::size_t(k)], 10.0 * std::log10(std::norm(A)), 1e-9) << k;
  }
  // With the spectrum off only the candidates are computed: the buffer stays.
  const auto before = x;
  math.lpcSpectrum(x.data(), 8, 256, 0.98, 1, 1, 100, 5000, 11025.0, 1, 1);
  EXPECT_EQ(x, before);
  EXPECT_NE(math.lastCandidates(), nullptr);
}

// Monic polynomial with pole pairs at (F, B) Hz and the given real roots.
std::vector<double> polynomial(const std::vector<std::pair<double, double>>& pairs,
                               const std::vector<double>& reals, double fs) {
  std::vector<double> p = {1.0};
  const auto mul = [&p](const std::vector<double>& f) {
    std::vector<double> out(p.size() + f.size() - 1, 0.0);
    for (std::size_t i = 0; i < p.size(); ++i)
      for (std::size_t j = 0; j < f.size(); ++j) out[i + j] += p[i] * f[j];
    p = out;
  };
  for (auto [f, bw] : pairs) {
    const double r = std::exp(-kTruePi * bw / fs);
    mul({1.0, -2.0 * r * std::cos(2.0 * kTruePi * f / fs), r * r});
  }
  for (double x : reals) mul({1.0, -x});
  return p;
}

TEST(CMathFuncFormantTest, CandidatesAreTheKnownPolesNarrowerThanTheLimit) {
  const double fs = 11025.0;
  const struct {
    std::vector<std::pair<double, double>> pairs;
    std::vector<double> reals;
    std::vector<double> expected;  // accepted frequencies, ascending
    int quadratics;
  } cases[] = {
      // clang-format off
      {{{1500, 90}, {500, 60}}, {}, {500, 1500}, 2},
      {{{2500, 120}, {700, 80}, {1200, 100}}, {0.5}, {700, 1200, 2500}, 3},
      {{{3300, 250}, {600, 700}, {2400, 150}, {300, 50}}, {-0.3, 0.7}, {300, 2400, 3300}, 4},  // 700 Hz wide
      {{{4500, 400}, {3500, 300}, {2500, 200}, {1500, 100}, {500, 50}}, {0.9}, {500, 1500, 2500, 3500, 4500}, 5},
      {{{1000, 599.999}}, {}, {1000}, 1},
      {{{1000, 600.01}}, {}, {}, 1},
      // clang-format on
  };
  CMathFunc math;
  for (const auto& c : cases) {
    SCOPED_TRACE(&c - cases);
    auto p = polynomial(c.pairs, c.reals, fs);
    p.resize(401, 0.0);
    const FormantCandidates* fc =
        math.formantCandidates(static_cast<int>(c.pairs.size() * 2 + c.reals.size()), 600.0, p.data(), fs);
    ASSERT_NE(fc, nullptr);
    EXPECT_EQ(fc->quadraticCount, c.quadratics);
    ASSERT_EQ(fc->count, static_cast<int>(c.expected.size()));
    for (std::size_t i = 0; i < c.expected.size(); ++i)
      EXPECT_NEAR(fc->frequency[i], c.expected[i], 1e-3) << i;
  }
  // The limit is inclusive: set to the pair's own computed bandwidth, it keeps the pair.
  auto p = polynomial({{1000, 600}}, {}, fs), q = p;
  const double exact = CMathFunc::rootPairToFormant(p[1], p[2], fs).bandwidth;
  EXPECT_EQ(math.formantCandidates(2, exact, p.data(), fs)->count, 1);
  EXPECT_EQ(math.formantCandidates(2, std::nextafter(exact, 0.0), q.data(), fs)->count, 0);

  std::vector<double> bad = {1.0, 0.5, std::numeric_limits<double>::quiet_NaN(), 0.1, 0.2};
  testing::internal::CaptureStderr();
  EXPECT_EQ(math.formantCandidates(4, 600.0, bad.data(), fs), nullptr);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "  factor() is confused,");
}

}  // namespace
}  // namespace vandrel
