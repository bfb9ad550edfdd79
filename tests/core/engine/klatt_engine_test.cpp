#include "engine/KlattEngine.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <random>
#include <vector>

#include "../../../bench/KlattBaseline.h"

namespace vandrel {
namespace {

FrameRecord defaults() {
  FrameRecord r{};
  for (std::size_t i = 0; i < r.size(); ++i) r[i] = builtinParams()[i].defaultValue;
  return r;
}

struct RunSetup {
  int rate = 11025;
  int formants = 5;
  std::uint8_t model = CKlattEngine::kCascadeParallel;
  std::uint8_t quiet = 1;
  int frames = 100;
  int samplesPerFrame = 110;
};

// Runs `frames` frames of `rec` through `e`, each frame from a fresh copy of the record.
std::vector<std::int32_t> run(CKlattEngine& e, const FrameRecord& rec, int frames) {
  std::vector<std::int32_t> out(static_cast<std::size_t>(frames * e.config.samplesPerFrame));
  std::int32_t* p = out.data();
  for (int f = 0; f < frames; ++f) {
    FrameRecord r = rec;
    e.synthesizeFrame(r, p);
  }
  EXPECT_EQ(p, out.data() + out.size());
  return out;
}

// Synthesizes `setup.frames` frames of `rec` with a fresh noise state.
std::vector<std::int32_t> synth(const FrameRecord& rec, const RunSetup& setup = {}) {
  KlattState state;
  CKlattEngine e(state);
  e.config.sampleRate = setup.rate;
  e.config.cascadeFormants = setup.formants;
  e.config.model = setup.model;
  e.config.quiet = setup.quiet;
  e.config.samplesPerFrame = setup.samplesPerFrame;
  e.initialise();
  return run(e, rec, setup.frames);
}

double rms(const std::vector<std::int32_t>& v, std::size_t from = 0) {
  double s = 0;
  for (std::size_t i = from; i < v.size(); ++i) s += static_cast<double>(v[i]) * v[i];
  return std::sqrt(s / static_cast<double>(v.size() - from));
}

// Normalised autocorrelation at `lag`.
double autocorr(const std::vector<std::int32_t>& x, std::size_t lag, std::size_t from) {
  double num = 0, den = 0;
  for (std::size_t i = from; i + lag < x.size(); ++i) {
    num += static_cast<double>(x[i]) * x[i + lag];
    den += static_cast<double>(x[i]) * x[i];
  }
  return den > 0 ? num / den : 0.0;
}

TEST(CKlattEngineTest, DecibelTableFollowsSixDecibelsPerDoubling) {
  // Silent outside 13..87 dB, whatever the sign or size.
  for (int db : {INT_MIN, -100, -1, 0, 5, 12, 88, 1000, INT_MAX}) {
    SCOPED_TRACE(db);
    EXPECT_EQ(CKlattEngine::dbToLinear(db), 0.0);
  }
  EXPECT_DOUBLE_EQ(CKlattEngine::dbToLinear(13), 0.006);
  EXPECT_DOUBLE_EQ(CKlattEngine::dbToLinear(87), 32.767);
  // Every entry within a decibel of a true dB scale anchored at 60 dB = 1.024:
  // a mistyped entry stands out.
  for (int db = 20; db <= 87; ++db) {
    SCOPED_TRACE(db);
    const double rel = 20.0 * std::log10(CKlattEngine::dbToLinear(db) / CKlattEngine::dbToLinear(60));
    EXPECT_NEAR(rel, db - 60, 0.6);
    EXPECT_GT(CKlattEngine::dbToLinear(db), CKlattEngine::dbToLinear(db - 1));
  }
}

// Each case changes the default record and says how loud the result is
// against the default voice: silent, the same samples, or a level in dB.
TEST(CKlattEngineTest, AmplitudeAndGainRules) {
  struct Case {
    const char* what;
    std::vector<std::pair<int, int>> set;  // (row, value)
    enum { kSilent, kSame, kLevel } expect;
    double db = 0;
  };
  const std::vector<std::pair<int, int>> noSources = {{kAv, 0},  {kAh, 0},  {kAf, 0},  {kApv, 0},
                                                      {kAb, 0},  {kA1f, 0}, {kA2f, 0}, {kA3f, 0},
                                                      {kA4f, 0}, {kA5f, 0}, {kA6f, 0}, {kAnv, 0}};
  auto with = [&](std::vector<std::pair<int, int>> v, std::pair<int, int> extra) {
    v.push_back(extra);
    return v;
  };
  const Case cases[] = {
      {"no source, gain 4", with(noSources, {kGain, 4}), Case::kSilent},
      {"no source, gain 87", with(noSources, {kGain, 87}), Case::kSilent},
      {"av 19 is 12 dB after the -7", {{kAv, 19}}, Case::kSilent},
      {"av negative", {{kAv, -5}}, Case::kSilent},
      {"av 95 is past the table", {{kAv, 95}}, Case::kSilent},
      {"ah 88 alone", {{kAv, 0}, {kAh, 88}}, Case::kSilent},
      {"ah -1 alone", {{kAv, 0}, {kAh, -1}}, Case::kSilent},
      {"gain 0 becomes 57", {{kGain, 0}}, Case::kSame},
      {"gain 3 becomes 57", {{kGain, 3}}, Case::kSame},
      {"gain 4 is 1 dB", {{kGain, 4}}, Case::kSilent},
      {"gain 30", {{kGain, 30}}, Case::kLevel, -30.0},
      {"av 54", {{kAv, 54}}, Case::kLevel, -6.0},
  };
  const auto ref = synth(defaults());
  ASSERT_GT(rms(ref), 100.0);
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    FrameRecord r = defaults();
    for (auto [row, v] : c.set) r[static_cast<std::size_t>(row)] = v;
    const auto out = synth(r);
    switch (c.expect) {
      case Case::kSilent:
        EXPECT_EQ(rms(out), 0.0);
        break;
      case Case::kSame:
        EXPECT_EQ(out, ref);
        break;
      case Case::kLevel:
        EXPECT_NEAR(20 * std::log10(rms(out) / rms(ref)), c.db, 1.0);
        break;
    }
  }
}

// The voiced side is the pitch trackers' tests' truth; here, f0 = 0 silences
// the voice however loud av is.
TEST(CKlattEngineTest, WithoutAnF0NothingIsVoiced) {
  FrameRecord r = defaults();
  r[kAh] = 50;
  const std::size_t lag = 110;  // 100 Hz at 11025 Hz
  r[kF0] = 0;
  const auto unvoiced = synth(r);
  EXPECT_GT(rms(unvoiced), 10.0);  // aspiration still sounds
  // Past the ringing of the formants nothing repeats, the voiced period included.
  for (std::size_t l = lag - 10; l < 400; ++l) EXPECT_LT(std::fabs(autocorr(unvoiced, l, 1000)), 0.3) << l;

  r[kAh] = 0;  // and without noise nothing is left
  EXPECT_EQ(rms(synth(r)), 0.0);
}

TEST(CKlattEngineTest, OpenPhaseIsBoundedWithWarnings) {
  struct Case {
    int f0, oq, nopen;
    const char* warning;
  };
  const Case cases[] = {
      {1000, 20, 80, ""},
      {1000, 5, 40, "Warning: minimum glottal open period is 10 samples.\ntruncated, nopen = 40\n"},
      {5000, 65, 86, "Warning: glottal open period cannot exceed T0, truncated\n"},  // T0 = 88
      // The open phase must end at least two samples before the period does.
      {4950, 22, 87, "Warning: glottal open period cannot exceed T0, truncated\n"},  // T0 = 89: T0 - 1
      {4900, 22, 88, ""},                                                            // T0 = 90: T0 - 2
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.f0);
    FrameRecord r = defaults();
    r[kF0] = c.f0;
    r[kOq] = c.oq;
    for (std::uint8_t quiet : {std::uint8_t{0}, std::uint8_t{1}}) {
      KlattState state;
      CKlattEngine e(state);
      e.config.quiet = quiet;
      e.initialise();
      ::testing::internal::CaptureStdout();
      run(e, r, 1);
      const std::string printed = ::testing::internal::GetCapturedStdout();
      EXPECT_EQ(e.openPhase(), c.nopen);
      if (quiet || *c.warning == '\0') {
        EXPECT_EQ(printed, "");
      } else {
        EXPECT_EQ(printed.substr(0, std::string(c.warning).size()), c.warning);
      }
    }
  }
}

TEST(CKlattEngineTest, SkewLengthensAndShortensAlternatePeriods) {
  FrameRecord r = defaults();
  r[kSkew] = 20;
  KlattState state;
  CKlattEngine e(state);
  e.config.samplesPerFrame = 1;
  e.initialise();
  std::vector<std::int32_t> seen;
  std::int32_t buf[1];
  for (int i = 0; i < 2000; ++i) {
    FrameRecord rec = r;
    std::int32_t* p = buf;
    e.synthesizeFrame(rec, p);
    if (seen.empty() || seen.back() != e.periodLength()) seen.push_back(e.periodLength());
  }
  // T0 = 40 * 11025 / 1000 = 441 quarter samples, +-20.
  ASSERT_GE(seen.size(), 4u);
  for (std::size_t i = 0; i < 4; ++i) EXPECT_EQ(seen[i], i % 2 == 0 ? 461 : 421) << i;

  // A skew longer than the closed phase is cut to it, in the record too.
  FrameRecord big = defaults();
  big[kSkew] = 40;
  big[kF0] = 5000;  // T0 = 88, nopen = 80, closed = 8
  std::int32_t* p = buf;
  e.initialise();
  e.synthesizeFrame(big, p);
  EXPECT_EQ(big[kSkew], 8);
}

TEST(CKlattEngineTest, NasalZeroAtZeroHertzSitsAtMinusOneHertz) {
  const double mpr = -3.1415927 / 11025, tpr = mpr * -2.0;
  Antiresonator at0, at1, atMinus5, at2;
  at0.set(0, 90, mpr, tpr);
  at1.set(1, 90, mpr, tpr);
  atMinus5.set(-5, 90, mpr, tpr);
  at2.set(2, 90, mpr, tpr);
  EXPECT_EQ(at0.b, at1.b);  // cos(-1 Hz) = cos(1 Hz)
  EXPECT_EQ(at0.b, atMinus5.b);
  EXPECT_EQ(at0.a, at1.a);
  EXPECT_NE(at0.b, at2.b);
}

TEST(CKlattEngineTest, AllParallelIgnoresTheCascade) {
  FrameRecord r = defaults();
  r[kApv] = 60;
  RunSetup par;
  par.model = CKlattEngine::kAllParallel;
  const auto a = synth(r, par);
  EXPECT_GT(rms(a), 10.0);
  FrameRecord r2 = r;
  r2[kB1] = 400;  // a cascade-only parameter
  r2[kAv] = 87;   // the cascade's source amplitude
  EXPECT_EQ(synth(r2, par), a);
  EXPECT_NE(synth(r2), synth(r));  // while the cascade model hears them
}

TEST(CKlattEngineTest, NoiseContinuesAcrossRunsThroughTheSharedState) {
  FrameRecord r = defaults();
  r[kAv] = 0;
  r[kAh] = 60;
  EXPECT_EQ(synth(r), synth(r));  // two fresh states: the same noise

  KlattState shared;
  const auto tenFrames = [&] {
    CKlattEngine e(shared);
    e.initialise();
    return run(e, r, 10);
  };
  const auto first = tenFrames();
  EXPECT_NE(tenFrames(), first);  // the second run continues the sequence
  shared.reset();
  EXPECT_EQ(tenFrames(), first);
}

TEST(CKlattEngineTest, OtherSourcesProduceBoundedSound) {
  for (std::uint8_t src : {std::uint8_t{CKlattEngine::kImpulsive}, std::uint8_t{CKlattEngine::kSampled}}) {
    SCOPED_TRACE(int(src));
    KlattState state;
    CKlattEngine e(state);
    e.config.sourceType = src;
    e.config.sampledFactor = 0.05;  // the driver's 0.00001 is inaudible after truncation
    e.initialise();
    FrameRecord rec = defaults();
    rec[kOq] = 65;
    rec[kAtu] = 0;  // no breathiness noise
    const auto out = run(e, rec, 100);
    EXPECT_GT(rms(out), 1.0);
    EXPECT_GT(autocorr(out, 110, 1000), 0.8);  // periodic at f0
  }
}

}  // namespace
}  // namespace vandrel

namespace vandrel {
namespace {

// The engine against the plain transcription of its loop, integer for
// integer, over random tables: values mostly within each row's range, now and
// then anything a file could hold; every source, model, output select and
// formant count, frames of one sample up to a second, and flutter.
TEST(CKlattEngineTest, MatchesThePlainTranscriptionExactly) {
  struct Case {
    std::uint8_t source, model, select;
    int rate, formants, samplesPerFrame, flutter, frames;
    double wild;  // chance of an out-of-range value in a cell
  };
  const Case cases[] = {
      {2, 1, 0, 11025, 5, 110, 0, 300, 0.0},  {2, 1, 0, 22050, 8, 220, 0, 200, 0.0},
      {2, 2, 0, 11025, 5, 110, 0, 100, 0.0},  {2, 1, 0, 11025, 5, 55, 30, 100, 0.0},
      {2, 1, 0, 22050, 7, 1, 0, 3000, 0.0},   {2, 1, 0, 11025, 2, 3, 0, 1000, 0.0},
      {2, 1, 0, 11025, 0, 110, 0, 50, 0.0},   {2, 1, 0, 22050, 9, 22050, 0, 2, 0.0},
      {1, 1, 0, 11025, 5, 110, 0, 100, 0.0},  {3, 1, 0, 22050, 6, 220, 0, 100, 0.0},
      {2, 1, 1, 11025, 5, 110, 0, 40, 0.0},   {2, 1, 2, 11025, 5, 110, 0, 40, 0.0},
      {2, 1, 3, 11025, 5, 110, 0, 40, 0.0},   {2, 1, 4, 11025, 5, 110, 0, 40, 0.0},
      {2, 2, 5, 11025, 5, 110, 0, 40, 0.0},   {2, 1, 6, 11025, 5, 110, 0, 40, 0.0},
      {2, 1, 7, 11025, 5, 110, 0, 40, 0.0},   {2, 1, 9, 11025, 5, 110, 0, 40, 0.0},
      {2, 1, 0, 11025, 5, 110, 0, 200, 0.02}, {1, 2, 0, 22050, 8, 220, 50, 200, 0.02},
      {3, 1, 0, 11025, 3, 17, 0, 500, 0.02},  {2, 1, 0, 0, 5, 0, 0, 10, 0.0},
  };
  const std::int32_t wildValues[] = {INT_MIN, -100000, -1, 0, 1, 100000, INT_MAX};
  std::mt19937 rng(7);
  for (const Case& c : cases)
    for (bool wide : {false, true}) {  // both widths of the sample loop
      SCOPED_TRACE(::testing::Message()
                   << "source " << int(c.source) << " model " << int(c.model) << " select " << int(c.select)
                   << " formants " << c.formants << " frame " << c.samplesPerFrame << " wild " << c.wild
                   << " wide " << wide);
      KlattState engineState, baselineState;
      CKlattEngine engine(engineState);
      CKlattBaseline baseline(baselineState);
      for (CKlattEngine::Config* cfg : {&engine.config, &baseline.config}) {
        cfg->sourceType = c.source;
        cfg->model = c.model;
        cfg->outputSelect = c.select;
        cfg->sampleRate = c.rate;
        cfg->cascadeFormants = c.formants;
        cfg->samplesPerFrame = c.samplesPerFrame;
        cfg->flutter = c.flutter;
        cfg->sampledFactor = 0.05;
      }
      engine.config.wideVectors = wide;
      engine.initialise();
      baseline.initialise();
      const auto n = static_cast<std::size_t>(std::max(c.samplesPerFrame, 0));
      std::vector<std::int32_t> a(n), b(n);
      // A random walk from the defaults, so parameters hold for a while and move.
      FrameRecord rec = defaults();
      for (int f = 0; f < c.frames; ++f) {
        for (std::size_t p = 0; p < rec.size(); ++p) {
          const ParamDef& d = builtinParams()[p];
          if (rng() % 4 == 0)
            rec[p] = static_cast<std::int32_t>(std::clamp<std::int64_t>(
                rec[p] + static_cast<std::int64_t>(rng() % 41) - 20, d.lower, d.upper));
          if (rng() % 20 == 0)
            rec[p] = d.lower + static_cast<int>(rng() % static_cast<unsigned>(d.upper - d.lower + 1));
          if (std::uniform_real_distribution<>(0, 1)(rng) < c.wild) rec[p] = wildValues[rng() % 7];
        }
        FrameRecord ra = rec, rb = rec;
        std::int32_t *pa = a.data(), *pb = b.data();
        engine.synthesizeFrame(ra, pa);
        baseline.synthesizeFrame(rb, pb);
        ASSERT_EQ(ra, rb) << "frame " << f;
        ASSERT_EQ(a, b) << "frame " << f;
        ASSERT_EQ(pa - a.data(), static_cast<long>(n));
      }
      EXPECT_EQ(engineState.randNext, baselineState.randNext);
    }
}

}  // namespace
}  // namespace vandrel
