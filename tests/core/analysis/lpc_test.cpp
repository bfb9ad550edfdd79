// Linear prediction and formant candidates against textbook references and
// signals with known poles.

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <limits>
#include <random>
#include <vector>

#include "analysis/MathFunc.h"
#include "engine/Resonator.h"

namespace vandrel {
namespace {

constexpr double kTruePi = 3.14159265358979323846;

struct Textbook {
  std::vector<double> k, a;
  double e = 0;
};

// Levinson–Durbin on the autocorrelation of y, as found in any DSP text.
Textbook levinson(const std::vector<double>& y, int p) {
  std::vector<double> r(static_cast<std::size_t>(p) + 1, 0.0);
  for (int lag = 0; lag <= p; ++lag)
    for (std::size_t i = 0; i + static_cast<std::size_t>(lag) < y.size(); ++i)
      r[static_cast<std::size_t>(lag)] += y[i] * y[i + static_cast<std::size_t>(lag)];
  Textbook t;
  t.a.assign(static_cast<std::size_t>(p) + 1, 0.0);
  t.k.assign(static_cast<std::size_t>(p) + 1, 0.0);
  t.a[0] = 1.0;
  t.e = r[0];
  for (int i = 1; i <= p; ++i) {
    double acc = r[static_cast<std::size_t>(i)];
    for (int j = 1; j < i; ++j) acc += t.a[static_cast<std::size_t>(j)] * r[static_cast<std::size_t>(i - j)];
    const double k = -acc / t.e;
    std::vector<double> next = t.a;
    for (int j = 1; j < i; ++j)
      next[static_cast<std::size_t>(j)] =
          t.a[static_cast<std::size_t>(j)] + k * t.a[static_cast<std::size_t>(i - j)];
    next[static_cast<std::size_t>(i)] = k;
    t.a = next;
    t.k[static_cast<std::size_t>(i)] = k;
    t.e *= 1.0 - k * k;
  }
  return t;
}

std::vector<double> noise(std::size_t n, unsigned seed, double amp = 1000.0) {
  std::mt19937 gen(seed);
  std::normal_distribution<double> d(0.0, amp);
  std::vector<double> v(n);
  for (double& x : v) x = d(gen);
  return v;
}

TEST(CMathFuncLpcTest, PredictorMatchesLevinsonDurbin) {
  CMathFunc math;
  struct Case {
    std::size_t n;
    int p;
    unsigned seed;
  } cases[] = {{50, 1, 1}, {200, 10, 2}, {512, 24, 3}, {300, 40, 4}};
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << "n " << c.n << " p " << c.p);
    auto y = noise(c.n, c.seed);
    // Colour the noise so the coefficients are far from zero.
    for (std::size_t i = 2; i < y.size(); ++i) y[i] += 1.3 * y[i - 1] - 0.6 * y[i - 2];
    const Textbook ref = levinson(y, c.p);
    const LpcPredictor& pr = math.predictor(y.data(), static_cast<int>(y.size()), c.p);
    ASSERT_EQ(pr.order, c.p);
    for (int i = 1; i <= c.p; ++i) {
      EXPECT_NEAR(pr.k[static_cast<std::size_t>(i)], ref.k[static_cast<std::size_t>(i)], 1e-9) << i;
      EXPECT_NEAR(pr.a[static_cast<std::size_t>(i)], ref.a[static_cast<std::size_t>(i)], 1e-9) << i;
    }
    EXPECT_EQ(pr.a[0], 1.0);
    EXPECT_NEAR(pr.error / ref.e, 1.0, 1e-9);
  }
}

TEST(CMathFuncLpcTest, OrderOneClosedForm) {
  CMathFunc math;
  const std::vector<double> y = {3.0, -1.0, 4.0, 1.0, -5.0};
  const double r0 = 9 + 1 + 16 + 1 + 25, r1 = -3 - 4 + 4 - 5;
  const LpcPredictor& pr = math.predictor(y.data(), 5, 1);
  EXPECT_DOUBLE_EQ(pr.k[1], -r1 / r0);
  EXPECT_DOUBLE_EQ(pr.a[1], -r1 / r0);
  EXPECT_NEAR(pr.error, r0 * (1.0 - (r1 / r0) * (r1 / r0)), 1e-12 * r0);
}

TEST(CMathFuncLpcTest, SilentFrameGivesTheFlatPredictor) {
  CMathFunc math;
  const std::vector<double> y(100, 0.0);
  const LpcPredictor& pr = math.predictor(y.data(), 100, 12);
  EXPECT_EQ(pr.order, 12);
  EXPECT_EQ(pr.a[0], 1.0);
  for (int i = 1; i <= 12; ++i) EXPECT_EQ(pr.a[static_cast<std::size_t>(i)], 0.0);
}

TEST(CMathFuncLpcTest, OrderAboveFourHundredIsCapped) {
  CMathFunc math;
  const auto y = noise(1000, 9);
  testing::internal::CaptureStderr();
  const LpcPredictor& pr = math.predictor(y.data(), 1000, 501);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "Requested LPC order too large\n");
  EXPECT_EQ(pr.order, 400);
  EXPECT_EQ(pr.a.size(), 401u);
}

TEST(CMathFuncLpcTest, RecoversAKnownAllPoleFilter) {
  // x[n] = e[n] - a1 x[n-1] - ... - a4 x[n-4], poles at 0.9 e^{+-0.4i} and 0.8 e^{+-1.9i}.
  const auto pair = [](double r, double th) { return std::pair{-2.0 * r * std::cos(th), r * r}; };
  const auto [b1, c1] = pair(0.9, 0.4);
  const auto [b2, c2] = pair(0.8, 1.9);
  const double a[5] = {1.0, b1 + b2, c1 + b1 * b2 + c2, b1 * c2 + b2 * c1, c1 * c2};
  auto x = noise(40000, 5);
  for (std::size_t n = 4; n < x.size(); ++n)
    for (int j = 1; j <= 4; ++j) x[n] -= a[j] * x[n - static_cast<std::size_t>(j)];
  CMathFunc math;
  const LpcPredictor& pr = math.predictor(x.data(), static_cast<int>(x.size()), 4);
  for (int j = 1; j <= 4; ++j) EXPECT_NEAR(pr.a[static_cast<std::size_t>(j)], a[j], 0.02) << j;
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
    for (int j = 0; j <= 10; ++j)
      A += pr.a[static_cast<std::size_t>(j)] * std::polar(1.0, -2.0 * kTruePi * k * j / 256.0);
    EXPECT_NEAR(buf[static_cast<std::size_t>(k)], 10.0 * std::log10(std::norm(A)), 1e-9) << k;
  }
}

TEST(CMathFuncLpcTest, SpectrumOffLeavesTheBufferAlone) {
  CMathFunc math;
  auto x = noise(257, 12);
  const auto before = x;
  math.lpcSpectrum(x.data(), 8, 256, 0.98, 1, 1, 100, 5000, 11025.0, 1, 1);
  EXPECT_EQ(x, before);
  EXPECT_NE(math.lastCandidates(), nullptr);
}

// ---- Root pairs and candidates -------------------------------------------

TEST(CMathFuncFormantTest, RootPairConversion) {
  const double fs = 11025.0, k = fs / CMathFunc::kTwoPi;
  struct Case {
    double b, c, f, bw;
  } cases[] = {
      // A complex pair r e^{+-i th}: F = th fs / 2pi, B = -ln(r^2) fs / 2pi.
      {-2.0 * 0.95 * std::cos(0.5), 0.95 * 0.95, 0.5 * k, -std::log(0.95 * 0.95) * k},
      // Purely imaginary: reported at pi/2, unscaled.
      {0.0, 0.25, 1.5707963267949, -std::log(0.25) * k},
      // Real pairs: b >= 0 gives 0 Hz, b < 0 gives fs/2, r = sqrt(d) + |b/2|.
      {1.0, 0.2, 0.0, -std::log(std::pow(std::sqrt(0.05) + 0.5, 2)) * k},
      {-1.0, 0.2, fs / 2, -std::log(std::pow(std::sqrt(0.05) + 0.5, 2)) * k},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.b << " " << c.c);
    const RootPair rp = CMathFunc::rootPairToFormant(c.b, c.c, fs);
    EXPECT_NEAR(rp.frequency, c.f, 1e-9);
    EXPECT_NEAR(rp.bandwidth, c.bw, 1e-9);
  }
  EXPECT_DOUBLE_EQ(CMathFunc::rootPairToFormant(-1.0, 0.2, fs).re, -(std::sqrt(0.05) + 0.5));
}

// Monic polynomial with pole pairs at (F, B) and the given real roots.
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

TEST(CMathFuncFormantTest, RootsOfKnownPolynomials) {
  const double fs = 11025.0;
  struct Case {
    std::vector<std::pair<double, double>> pairs;
    std::vector<double> reals;
    std::vector<double> expected;  // accepted frequencies, ascending
    int quadratics;
  } cases[] = {
      {{{1500, 90}, {500, 60}}, {}, {500, 1500}, 2},
      {{{2500, 120}, {700, 80}, {1200, 100}}, {0.5}, {700, 1200, 2500}, 3},
      {{{3300, 250}, {600, 700}, {2400, 150}, {300, 50}},
       {-0.3, 0.7},
       {300, 2400, 3300},
       4},  // 700 Hz wide: dropped
      {{{4500, 400}, {3500, 300}, {2500, 200}, {1500, 100}, {500, 50}},
       {0.9},
       {500, 1500, 2500, 3500, 4500},
       5},
  };
  CMathFunc math;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.expected.size());
    auto p = polynomial(c.pairs, c.reals, fs);
    std::vector<double> buf(401, 0.0);
    std::copy(p.begin(), p.end(), buf.begin());
    const FormantCandidates* fc =
        math.formantCandidates(static_cast<int>(p.size()) - 1, 600.0, buf.data(), fs);
    ASSERT_NE(fc, nullptr);
    EXPECT_EQ(fc->quadraticCount, c.quadratics);
    ASSERT_EQ(fc->count, static_cast<int>(c.expected.size()));
    for (std::size_t i = 0; i < c.expected.size(); ++i)
      EXPECT_NEAR(fc->frequency[i], c.expected[i], 1e-3) << i;
  }
}

TEST(CMathFuncFormantTest, BandwidthLimitIsInclusive) {
  const double fs = 11025.0;
  CMathFunc math;
  for (auto [bw, kept] : {std::pair{599.999, true}, {600.01, false}}) {
    SCOPED_TRACE(bw);
    auto p = polynomial({{1000, bw}}, {}, fs);
    EXPECT_EQ(math.formantCandidates(2, 600.0, p.data(), fs)->count, kept ? 1 : 0);
  }
  // Exactly at the limit: the limit set to the pair's own computed bandwidth.
  auto p = polynomial({{1000, 600}}, {}, fs);
  const double exact = CMathFunc::rootPairToFormant(p[1], p[2], fs).bandwidth;
  auto q = p;
  EXPECT_EQ(math.formantCandidates(2, exact, p.data(), fs)->count, 1);
  EXPECT_EQ(math.formantCandidates(2, std::nextafter(exact, 0.0), q.data(), fs)->count, 0);
}

TEST(CMathFuncFormantTest, UnfactorablePolynomialSaysSoOnStandardError) {
  CMathFunc math;
  std::vector<double> c = {1.0, 0.5, std::numeric_limits<double>::quiet_NaN(), 0.1, 0.2};
  testing::internal::CaptureStderr();
  EXPECT_EQ(math.formantCandidates(4, 600.0, c.data(), 11025.0), nullptr);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "  factor() is confused,");
}

TEST(CMathFuncFormantTest, TwoResonatorSignalWithinTwoPercent) {
  // White noise through the synthesizer's own resonators at f1, f2.
  const double fs = 11025.0;
  struct Case {
    int f1, b1, f2, b2;
  } cases[] = {{500, 60, 1500, 90}, {300, 50, 2200, 100}, {800, 80, 1200, 90}};
  CMathFunc math;
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.f1 << " " << c.f2);
    Resonator r1, r2;
    r1.set(c.f1, c.b1, -kTruePi / fs, 2.0 * kTruePi / fs);
    r2.set(c.f2, c.b2, -kTruePi / fs, 2.0 * kTruePi / fs);
    auto x = noise(4097, static_cast<unsigned>(c.f1));
    for (double& v : x) v = r2.step(r1.step(v));
    math.lpcSpectrum(x.data(), 4, 4096, 0.0, 1, 0, 0, 5000, fs, 1, 1);
    const FormantCandidates* fc = math.lastCandidates();
    ASSERT_NE(fc, nullptr);
    ASSERT_EQ(fc->count, 2);
    EXPECT_NEAR(fc->frequency[0], c.f1, 0.02 * c.f1);
    EXPECT_NEAR(fc->frequency[1], c.f2, 0.02 * c.f2);
  }
}

}  // namespace
}  // namespace vandrel
