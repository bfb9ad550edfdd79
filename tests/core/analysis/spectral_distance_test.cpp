// The FFT/LPC view's slices and its fit meter, against references computed
// here from first principles: analytic all-pole envelopes, sinusoids, and the
// RMS of known differences.

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <vector>

#include "analysis/SpectralDistance.h"
#include "analysis/SpectralSlice.h"

namespace vandrel {
namespace {

constexpr double kFs = 11025.0;

struct Resonance {
  double f, b;
};

// 10 log10 |H|^2 of a cascade of two-pole resonances, each with unity gain
// at 0 Hz, on `points` points from 0 to fmax.
std::vector<double> allPoleDb(const std::vector<Resonance>& rs, int points, double fmax) {
  std::vector<double> env(static_cast<std::size_t>(points));
  for (int i = 0; i < points; ++i) {
    const double w = 2.0 * std::numbers::pi * (i * fmax / points) / kFs;
    double db = 0.0;
    for (const Resonance& r : rs) {
      const double rad = std::exp(-std::numbers::pi * r.b / kFs);
      const double th = 2.0 * std::numbers::pi * r.f / kFs;
      const double a1 = -2.0 * rad * std::cos(th), a2 = rad * rad;
      const double re = 1.0 + a1 * std::cos(w) + a2 * std::cos(2 * w);
      const double im = -a1 * std::sin(w) - a2 * std::sin(2 * w);
      db += 10.0 * std::log10((1.0 + a1 + a2) * (1.0 + a1 + a2) / (re * re + im * im));
    }
    env[static_cast<std::size_t>(i)] = db;
  }
  return env;
}

// The same resonances excited by a 100 Hz impulse train, as 16-bit samples.
SampleSet vowel(const std::vector<Resonance>& rs, double seconds) {
  const auto n = static_cast<std::size_t>(seconds * kFs);
  std::vector<double> x(n, 0.0);
  for (std::size_t i = 0; i < n; i += static_cast<std::size_t>(kFs / 100.0)) x[i] = 1.0;
  for (const Resonance& r : rs) {
    const double rad = std::exp(-std::numbers::pi * r.b / kFs);
    const double a1 = 2.0 * rad * std::cos(2.0 * std::numbers::pi * r.f / kFs), a2 = -rad * rad;
    const double g = 1.0 - a1 - a2;
    double y1 = 0.0, y2 = 0.0;
    for (double& v : x) {
      const double y = g * v + a1 * y1 + a2 * y2;
      y2 = y1;
      y1 = y;
      v = y;
    }
  }
  SampleSet s;
  s.sampleRate = kFs;
  for (double v : x) s.samples.push_back(static_cast<std::int16_t>(std::lround(v * 3000.0)));
  return s;
}

const std::vector<Resonance> kVowel = {{700, 80}, {1200, 90}, {2500, 120}, {3500, 200}};

TEST(SpectralDistanceTest, DistanceIsTheRmsOfTheLevelFreeDifference) {
  const std::vector<double> base = allPoleDb(kVowel, 400, 5000);
  std::vector<double> louder = base, wavy = base, gapped = base;
  for (std::size_t i = 0; i < base.size(); ++i) {
    louder[i] += 17.0;  // gain only
    wavy[i] += 4.0 * std::sin(2.0 * std::numbers::pi * 5.0 * static_cast<double>(i) / 400.0);
  }
  EXPECT_DOUBLE_EQ(envelopeDistance(base, base), 0.0);
  EXPECT_NEAR(envelopeDistance(base, louder), 0.0, 1e-12);
  EXPECT_NEAR(envelopeDistance(base, wavy), 4.0 / std::sqrt(2.0), 1e-9);  // five whole periods
  // Points one curve lacks (above its fs/2) leave the sum, in both curves.
  for (std::size_t i = 200; i < gapped.size(); ++i) gapped[i] = std::nan("");
  std::vector<double> half(base.begin(), base.begin() + 200),
      louderHalf(louder.begin(), louder.begin() + 200);
  EXPECT_NEAR(envelopeDistance(gapped, louder), envelopeDistance(half, louderHalf), 1e-12);
  EXPECT_TRUE(std::isnan(envelopeDistance(std::vector<double>(5, std::nan("")), base)));
}

TEST(SpectralDistanceTest, PeaksOfAnAllPoleEnvelopeAreItsResonances) {
  const double hzPerPoint = 5000.0 / 1000;
  const auto peaks = envelopePeaks(allPoleDb(kVowel, 1000, 5000), hzPerPoint, 8);
  ASSERT_EQ(peaks.size(), kVowel.size());
  for (std::size_t i = 0; i < peaks.size(); ++i) {
    SCOPED_TRACE(i);
    EXPECT_NEAR(peaks[i].frequency, kVowel[i].f, 0.03 * kVowel[i].f);
    EXPECT_NEAR(peaks[i].bandwidth, kVowel[i].b, 0.25 * kVowel[i].b);
  }
}

TEST(SpectralDistanceTest, MeterNamesTheFormantThatMoved) {
  const std::vector<double> natural = allPoleDb(kVowel, 512, 5000);
  const FitMeter same = fitMeter(natural, natural, 5000.0 / 512);
  ASSERT_TRUE(same.valid);
  EXPECT_EQ(same.peaks, 4);
  EXPECT_EQ(same.distanceDb, 0.0);
  for (int j = 0; j < same.peaks; ++j) EXPECT_EQ(same.peakDiffDb[static_cast<std::size_t>(j)], 0.0);

  for (std::size_t moved = 0; moved < 3; ++moved) {
    SCOPED_TRACE(moved);
    auto shifted = kVowel;
    shifted[moved].f += 300.0;
    const FitMeter m = fitMeter(natural, allPoleDb(shifted, 512, 5000), 5000.0 / 512);
    EXPECT_EQ(m.worstPeak, static_cast<int>(moved));
    EXPECT_LT(m.peakDiffDb[moved], -3.0);  // the copy is weak where the natural formant is
    EXPECT_GT(m.distanceDb, 1.0);
  }
  EXPECT_FALSE(fitMeter(natural, std::vector<double>(512, std::nan("")), 5000.0 / 512).valid);
}

TEST(SpectralSliceTest, SinusoidPeaksAtItsFrequencyAndEnvelopeFollowsTheSpectrum) {
  SampleSet tone;
  tone.sampleRate = kFs;
  for (int i = 0; i < 4000; ++i)
    tone.samples.push_back(
        static_cast<std::int16_t>(std::lround(8000.0 * std::sin(2.0 * std::numbers::pi * 1000.0 * i / kFs))));
  SliceSettings s;
  s.fftPoints = 1024;
  s.windowMs = 92;
  s.preEmphasis = 0.0;
  s.lpcOrder = 4;
  s.points = 500;
  s.fmaxHz = 5000;
  SliceAnalyser an;
  const SpectralSlice& slice = an.analyse(tone, s, 150.0);
  ASSERT_EQ(slice.frames, 1);
  const auto top = std::max_element(slice.fftDb.begin(), slice.fftDb.end()) - slice.fftDb.begin();
  EXPECT_NEAR(static_cast<double>(top) * s.hzPerPoint(), 1000.0, 15.0);
  EXPECT_NEAR(slice.fftDb[static_cast<std::size_t>(top)], 20.0 * std::log10(8000.0 / 2), 1.8);  // scalloping

  // Above fs/2 there is nothing to show; outside the recording, no slice.
  s.fmaxHz = 8000;
  const SpectralSlice& wide = an.analyse(tone, s, 150.0);
  EXPECT_FALSE(std::isnan(wide.fftDb[340]));
  EXPECT_TRUE(std::isnan(wide.fftDb[350]) && std::isnan(wide.lpcDb[350]));
  EXPECT_TRUE(an.analyse(tone, s, 1000.0).empty());
  EXPECT_TRUE(an.analyse(SampleSet{}, s, 0.0).empty());
}

TEST(SpectralSliceTest, VowelFormantsFromRootsAndFromTheAveragedEnvelope) {
  const SampleSet v = vowel(kVowel, 0.5);
  SliceSettings s = sliceSettings(COptionFFTLPC(kFs), 0.98);
  SliceAnalyser an;
  for (const bool averaged : {false, true}) {
    SCOPED_TRACE(averaged);
    const SpectralSlice& slice = averaged ? an.analyse(v, s, 100.0, 300.0, 10) : an.analyse(v, s, 200.0);
    EXPECT_EQ(slice.frames, averaged ? 21 : 1);
    ASSERT_GE(slice.formants.size(), 3u);
    for (std::size_t i = 0; i < 3; ++i) {
      EXPECT_NEAR(slice.formants[i].frequency, kVowel[i].f, 0.05 * kVowel[i].f);
      // The model spectrum and the periodogram share one scale: the envelope
      // passes near the tops of the harmonics around each formant.
      const auto at = static_cast<std::ptrdiff_t>(kVowel[i].f / s.hzPerPoint());
      const double harmonic = *std::max_element(slice.fftDb.begin() + at - 10, slice.fftDb.begin() + at + 10);
      EXPECT_NEAR(slice.formants[i].levelDb, harmonic, 6.0);
    }
  }
}

TEST(SpectralDistanceTest, TrackOverTheSharedStretch) {
  const SampleSet a = vowel(kVowel, 0.5);
  auto moved = kVowel;
  moved[1].f = 1500.0;
  SampleSet b = vowel(moved, 0.3);
  const SliceSettings s = sliceSettings(COptionFFTLPC(kFs), 0.98);
  const DistanceTrack self = distanceTrack(a, a, s, 10);
  ASSERT_EQ(self.db.size(), 50u);  // 5512 samples: 0 .. 490 ms
  for (double d : self.db) EXPECT_EQ(d, 0.0);
  const DistanceTrack other = distanceTrack(a, b, s, 10);
  ASSERT_EQ(other.db.size(), 30u);  // the copy is shorter
  EXPECT_GT(other.db[15], 2.0);
  EXPECT_NEAR(other.maxDb(), *std::max_element(other.db.begin(), other.db.end()), 1e-12);
  std::atomic<bool> stop{true};
  EXPECT_TRUE(distanceTrack(a, a, s, 10, &stop).db.empty());
}

}  // namespace
}  // namespace vandrel
