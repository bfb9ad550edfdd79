// The parts of the formant estimate on inputs whose answer is known by
// construction: the path search on hand-made candidate lists, the ceilings'
// choice on hand-made costs, and the harmonic fit on a sum of harmonics with
// levels from a known vocal tract.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <numbers>
#include <vector>

#include "analysis/Burg.h"
#include "analysis/CeilingChoice.h"
#include "analysis/FormantEstimator.h"
#include "analysis/FormantPath.h"
#include "analysis/HarmonicFit.h"
#include "analysis/HarmonicLevels.h"
#include "audio/Wave.h"

namespace vandrel {
namespace {

using Frames = std::vector<std::vector<FormantCandidate>>;

// A neutral vowel (F1 500, F2 1500 ... F5 4500) with narrow bandwidths, and
// one wide spurious pole at 1000 Hz in every frame.
std::vector<FormantCandidate> vowel(double f1 = 500.0) {
  return {{f1, 60.0}, {1000.0, 900.0}, {1500.0, 80.0}, {2500.0, 120.0}, {3500.0, 200.0}, {4500.0, 250.0}};
}

TEST(FormantPathTest, MissingFormantKeepsTheOthersInPlaceAndTheStepDoesNotMatter) {
  // Frame 3 lost its F1: F2 must not slide down to F1, nor the spurious pole
  // be taken; F1 is simply absent there.
  Frames frames(7, vowel());
  frames[3].erase(frames[3].begin());
  const auto path = formantPath(frames, 5000.0, 10.0);
  ASSERT_EQ(path.size(), 7u);
  for (std::size_t i = 0; i < path.size(); ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(path[i].f[0], i == 3 ? 0.0 : 500.0);
    EXPECT_EQ(path[i].f[1], 1500.0);
    EXPECT_EQ(path[i].f[2], 2500.0);
    EXPECT_EQ(path[i].b[1], 80.0);
  }

  // A child's /i/ under a 6000 Hz tract, four candidates for five formants:
  // the missing one is the top one, not F2 (the tube's F3..F5 lie nearer
  // the upper three than its F2..F4 do).
  const Frames child(5, {{470.0, 100.0}, {2550.0, 220.0}, {3260.0, 450.0}, {4990.0, 256.0}});
  EXPECT_EQ(formantPath(child, 6000.0, 10.0)[2].f,
            (std::array<double, 5>{470.0, 2550.0, 3260.0, 4990.0, 0.0}));

  // A glide of F1 from 400 to 700 Hz over 100 ms gives the same path whether
  // it is sampled every 3 ms or every 10 ms (at the frames both have).
  const auto glide = [](double stepMs) {
    Frames g;
    for (double t = 0.0; t <= 90.0 + 1e-9; t += stepMs) g.push_back(vowel(400.0 + 300.0 * t / 90.0));
    return formantPath(g, 5000.0, stepMs);
  };
  const auto fine = glide(3.0), coarse = glide(10.0);
  for (std::size_t i = 0; i < coarse.size(); ++i) {
    EXPECT_DOUBLE_EQ(coarse[i].f[0], 400.0 + 300.0 * static_cast<double>(i) * 10.0 / 90.0);
    EXPECT_EQ(coarse[i].f[1], 1500.0);
  }
  for (std::size_t i = 0; i < fine.size(); ++i) EXPECT_EQ(fine[i].f[1], 1500.0);
  // Silence (no candidates) splits the path and stays empty.
  frames[5].clear();
  EXPECT_EQ(formantPath(frames, 5000.0, 10.0)[5].f, (std::array<double, 5>{}));
}

// A formant the path left out starts the fit from the nearest fitted frame's
// that fits between its neighbours, the earlier on a tie; nowhere else. F2
// between F1 and F3; F1 below F2, and only where it spans four harmonics.
TEST(FormantPathTest, GapsTakeTheNearestFittedValueThatFitsBetweenTheNeighbours) {
  const auto frame = [](double f1, double f2, double f3) {
    return FormantFrame{{f1, f2, f3, 3500.0, 4500.0}, {80.0, f2 > 0.0 ? 90.0 : 0.0, 150.0, 200.0, 250.0}};
  };
  const std::vector<FormantFrame> path = {
      frame(300, 1500, 2600), frame(300, 0, 2600),  frame(300, 1800, 2600),  // 0-2: a tie, 1500 taken
      frame(300, 2500, 2600), frame(300, 0, 2600),  frame(300, 0, 2600),     // 3-5: 2500 is too near F3
      frame(0, 0, 2600),      frame(300, 0, 2600),  frame(300, 1200, 2600),  // 6-8: no F1; 7 unfitted
      frame(520, 1300, 2600), frame(0, 1250, 2600), frame(480, 1200, 2600),  // 9-11: a tie, 520 taken
      frame(0, 600, 2600),                                                   // 12: 480 is too near F2
      frame(0, 1900, 2600),                                                  // 13: f0 250, nothing above 1000
      frame(420, 1000, 2600),
  };
  const std::vector<char> fitted = {1, 1, 1, 1, 1, 1, 1, 0, 1, 1, 1, 1, 1, 1, 1};
  std::vector<double> f0(path.size(), 100.0);
  f0[13] = 250.0;
  const std::vector<FormantFrame> out =
      withGapsFilled(path, fitted, f0, CHarmonicFit::kMinGapHz, CHarmonicFit::kFewHarmonics);
  const std::vector<double> f1 = {300, 300, 300, 300, 300, 300, 0, 300, 300, 520, 520, 480, 420, 0, 420};
  const std::vector<double> f2 = {1500, 1500, 1800, 2500, 1800, 1800, 0,   0,
                                  1200, 1300, 1250, 1200, 600,  1900, 1000};
  for (std::size_t i = 0; i < path.size(); ++i) {
    EXPECT_EQ(out[i].f[0], f1[i]) << "frame " << i;
    EXPECT_EQ(out[i].f[1], f2[i]) << "frame " << i;
    EXPECT_EQ(out[i].b[1], path[i].f[1] > 0.0 || f2[i] == 0.0 ? path[i].b[1] : FormantGapFill::kGapBandwidth);
    EXPECT_EQ(out[i].b[0],
              path[i].f[0] == 0.0 && f1[i] > 0.0 ? FormantGapFill::kF1GapBandwidth : path[i].b[0]);
  }
}

// Costs per ceiling (say 5000, 5500, 6000 Hz). A woman's stretches (f0
// 200-250 Hz) tie between 5500 and 6000 Hz stretch by stretch but together
// favour 5500; a man's (110-120 Hz) favour 5000 together, though one of them
// alone and all stretches together would take 5500. A stretch without pitch,
// and one beyond the woman's range, take their own.
TEST(CeilingChoiceTest, StretchesOfOneVoiceShareTheirCostsAndOtherVoicesKeepTheirOwn) {
  const std::vector<StretchCosts> stretches = {
      {200.0, {9.0, 1.00, 1.02}}, {240.0, {9.0, 1.02, 1.00}}, {220.0, {9.0, 1.00, 1.01}},
      {110.0, {1.0, 3.00, 9.00}}, {0.0, {5.0, 5.00, 1.00}},   {120.0, {2.1, 2.00, 9.00}},
      {230.0, {9.0, 2.00, 2.01}}, {320.0, {9.0, 1.10, 1.00}}, {250.0, {9.0, 1.00, 1.00}},
  };
  EXPECT_EQ(chooseCeilings(stretches), (std::vector<std::size_t>{1, 1, 1, 0, 2, 0, 1, 2, 1}));
  EXPECT_EQ(chooseCeilings({stretches[1]}), std::vector<std::size_t>{2});
  EXPECT_EQ(chooseCeilings({stretches[5]}), std::vector<std::size_t>{1});
  EXPECT_TRUE(chooseCeilings({}).empty());
}

// The harmonics of a voice of f0 whose source is open for oq of a period,
// through the formants of `truth`, a slope of -3 dB an octave and the
// synthesizer's tilt filter at `tilt` dB, run over the signal.
std::vector<double> harmonicVoice(double fs, double f0, double oq, const FormantFrame& truth, double tilt) {
  std::vector<double> x(2048);
  for (int h = 1; h * f0 < 0.5 * fs; ++h) {
    double db = CHarmonicFit::sourceDb(h * f0, oq / f0) - 3.0 * std::log2(h * f0 / 1000.0);
    for (std::size_t k = 0; k < 5; ++k) db += CHarmonicFit::resonanceDb(h * f0, truth.f[k], truth.b[k]);
    const double amp = std::pow(10.0, db / 20.0);
    for (std::size_t i = 0; i < x.size(); ++i)
      x[i] += amp * std::cos(2.0 * 3.141592653589793 * h * f0 * static_cast<double>(i) / fs + h);
  }
  const double d = 0.033 * tilt;
  for (std::size_t i = 1; i < x.size(); ++i) x[i] = (1.0 - d) * x[i] + d * x[i - 1];
  return x;
}

// A 210 Hz voice whose F1 (350 Hz) lies between its first two harmonics: the
// LPC would put it near the second (420 Hz). From there the fit must find
// it again, and the open quotient of the source the harmonics were made with,
// with the synthesizer's tilt filter at 12 dB (its knee near F1). And a
// 230 Hz /u/, whose F2 is so low that its top harmonics fall 68-75 dB below
// its loudest: held at a floor 60 dB down, they left a misfit of 3 dB^2
// that an open quotient of 0.64 instead of 0.4 took up best. And the starts
// of a high voice weighed by their fit.
TEST(HarmonicFitTest, HighVoiceFirstFormantBetweenHarmonics) {
  const double fs = 11025.0, f0 = 210.0, oq = 0.4;
  const FormantFrame truth{{350.0, 2200.0, 2900.0, 3500.0, 4200.0}, {60.0, 90.0, 150.0, 200.0, 200.0}};
  const std::vector<double> x = harmonicVoice(fs, f0, oq, truth, 12.0);
  CHarmonicFit fit;
  ASSERT_TRUE(fit.measure(x, fs, 1024.0, f0));
  FormantFrame start = truth;
  start.f[0] = 420.0;
  start.f[1] = 2100.0;
  EXPECT_LT(fit.refine(start), 0.5);
  EXPECT_NEAR(start.f[0], 350.0, 10.0);
  EXPECT_NEAR(start.f[1], 2200.0, 30.0);
  EXPECT_NEAR(start.b[0], 60.0, 25.0);
  EXPECT_NEAR(fit.openQuotient(), oq, 0.05);
  // Too few harmonics below the top: nothing to fit.
  EXPECT_FALSE(fit.measure(x, fs, 1024.0, 1500.0));

  const FormantFrame u{{300.0, 870.0, 2240.0, 3250.0, 3700.0}, {60.0, 90.0, 150.0, 200.0, 200.0}};
  ASSERT_TRUE(fit.measure(harmonicVoice(fs, 230.0, oq, u, 0.0), fs, 1024.0, 230.0));
  start = u;
  start.f[0] = 315.0;
  EXPECT_LT(fit.refine(start), 0.5);
  EXPECT_NEAR(start.f[0], 300.0, 15.0);
  EXPECT_NEAR(start.f[1], 870.0, 25.0);
  EXPECT_NEAR(fit.openQuotient(), oq, 0.05);

  // An /e/ at 260 Hz from its second harmonic, where the LPC puts its F1:
  // the descent from there ends in a valley of its own (an open quotient of
  // 0.69), the one from half a harmonic below finds F1 again.
  const FormantFrame e{{450.0, 2000.0, 2600.0, 3250.0, 3700.0}, {60.0, 90.0, 150.0, 200.0, 200.0}};
  ASSERT_TRUE(fit.measure(harmonicVoice(fs, 260.0, oq, e, 0.0), fs, 1024.0, 260.0));
  start = e;
  start.f[0] = 520.0;
  fit.refine(start);
  EXPECT_NEAR(start.f[0], 450.0, 22.5);
  EXPECT_NEAR(fit.openQuotient(), oq, 0.05);
}

// The fit's vector loops give the plain formulas' values: the misfits to the
// last bit (its descent compares trials that differ in the last digits), the
// pulse's and the tilt's levels within 1e-7 dB.
TEST(HarmonicLevelsTest, AsThePlainFormulas) {
  std::vector<double> hz, db, b0, b1, r1, r2, tilts;
  for (int h = 1; h <= 23; ++h) {
    hz.push_back(197.3 * h + 3.1 * std::sin(h));
    db.push_back(-2.5 * h + 7.0 * std::cos(0.7 * h));
    b0.push_back(0.2);
    b1.push_back(0.01 * h - 0.12);
    r1.push_back(9.0 / h);
    r2.push_back(std::sin(0.3 * h));
    for (std::size_t t = 0; t < harmonics::kGridTilts; ++t)
      tilts.push_back(-0.4 * static_cast<double>(t * h));
  }
  harmonics::PulseTerms terms;
  terms.prepare(hz);
  std::vector<double> pulse(hz.size());
  for (const double open : {0.1 / 197.3, 0.45 / 197.3, 0.9 / 197.3}) {
    harmonics::pulseLevels(terms, open, pulse.data());
    for (std::size_t h = 0; h < hz.size(); ++h)
      EXPECT_NEAR(pulse[h], CHarmonicFit::sourceDb(hz[h], open), 1e-7);
  }
  std::vector<double> c1;
  for (const double f : hz) c1.push_back(std::cos(2.0 * std::numbers::pi * f / CHarmonicFit::kModelRate));
  c1.resize((c1.size() + 3) / 4 * 4, c1.back());
  std::vector<double> tilt(hz.size());
  for (const double dB : {0.0, 13.5, 24.0}) {
    harmonics::tiltLevels(c1.data(), hz.size(), dB, tilt.data());
    for (std::size_t h = 0; h < hz.size(); ++h) EXPECT_NEAR(tilt[h], CHarmonicFit::tiltDb(hz[h], dB), 1e-7);
  }
  const double* formants[] = {r1.data(), r2.data()};
  std::array<double, harmonics::kGridTilts> misfits{};
  harmonics::gridMisfits(db.data(), pulse.data(), tilts.data(), formants, 2, b0.data(), b1.data(), hz.size(),
                         misfits.data());
  for (std::size_t t = 0; t < misfits.size(); ++t) {
    double sse = 0.0, d0 = 0.0, d1 = 0.0;
    for (std::size_t h = 0; h < hz.size(); ++h) {
      const double r = db[h] - (pulse[h] + tilts[h * harmonics::kGridTilts + t]) - r1[h] - r2[h];
      sse += r * r;
      d0 += r * b0[h];
      d1 += r * b1[h];
    }
    EXPECT_EQ(misfits[t], std::max(sse - d0 * d0 - d1 * d1, 0.0) / static_cast<double>(hz.size()));
  }
}

// Frames side by side get the predictors they get one at a time, bit for
// bit; a silent frame among them (no error power) as well.
TEST(BurgTest, LanesGiveTheOneAtATimePredictors) {
  std::array<std::vector<double>, CBurg::kLanes> frames;
  for (int l = 0; l < 3; ++l)
    for (int i = 0; i < 200; ++i)
      frames[static_cast<std::size_t>(l)].push_back(std::sin(0.3 * i * (l + 1)) +
                                                    0.2 * std::cos(1.7 * i + l));
  CBurg burg;
  for (const bool silent : {false, true}) {
    if (silent) frames[1].assign(200, 0.0);
    std::array<std::vector<double>, CBurg::kLanes> a;
    burg.predictors({frames[0].data(), frames[1].data(), frames[2].data()}, 3, 200, 10, a);
    for (std::size_t l = 0; l < 3; ++l) {
      std::vector<double> one;
      burg.predictor(frames[l].data(), 200, 10, one);
      EXPECT_EQ(a[l], one);
    }
  }
}

// Resampled tones are the same tones at the new rate's instants, for ratios
// of whole rates and for one that is not; a stretch made alone is the
// whole's.
TEST(ResampleTest, TonesKeepTheirPhase) {
  for (const auto& [from, to] : {std::pair{16000.0, 10000.0},
                                 {16000.0, 11000.0},
                                 {44100.0, 9000.0},
                                 {11025.0, 22050.0},
                                 {16000.0, 10000.5}}) {
    SCOPED_TRACE(testing::Message() << from << " -> " << to);
    std::vector<double> x(8000);
    for (std::size_t i = 0; i < x.size(); ++i)
      x[i] = std::sin(2.0 * 3.141592653589793 * 440.0 * static_cast<double>(i) / from);
    const std::vector<double> y = resampleSignal(x, from, to);
    ASSERT_EQ(y.size(), static_cast<std::size_t>(static_cast<double>(x.size()) * to / from));
    double worst = 0.0;
    for (std::size_t j = y.size() / 10; j < y.size() * 9 / 10; ++j)
      worst = std::max(
          worst, std::fabs(y[j] - std::sin(2.0 * 3.141592653589793 * 440.0 * static_cast<double>(j) / to)));
    EXPECT_LT(worst, 2e-3);
    // Any stretch asked on its own (the ends, odd starts and lengths) is the
    // same to the last bit as the whole.
    const CResampler<double> r(x, from, to);
    for (const std::size_t begin : {std::size_t{0}, std::size_t{37}, y.size() / 2 + 3, y.size() - 5}) {
      std::vector<double> piece(std::min<std::size_t>(1001, y.size() - begin));
      r.range(begin, begin + piece.size(), piece.data());
      EXPECT_TRUE(std::equal(piece.begin(), piece.end(), y.begin() + static_cast<std::ptrdiff_t>(begin)))
          << begin;
    }
  }
}

// Fits taken from a memo are the fits the estimate makes without one: two
// high-voice vowels apart, the second's F1 then moved, estimated again with
// the same memo (the first vowel's frames take its fits, the second's not).
// Given the ceilings it chose, the estimate makes the same frames from
// those ceilings' paths alone; given another on most frames and its own
// choice on the rest, every sounding frame takes the other.
TEST(FitMemoTest, TakenFitsAndGivenCeilingsAreTheEstimateMade) {
  const double fs = 11025.0, f0 = 220.0;
  const auto sound = [&](double f1b) {
    std::vector<std::int16_t> x(static_cast<std::size_t>(0.7 * fs));
    for (std::size_t i = 0; i < x.size(); ++i) {
      const double t = static_cast<double>(i) / fs;
      if (t > 0.3 && t < 0.4) continue;
      const double f1 = t < 0.3 ? 400.0 + 300.0 * t : f1b, wobble = 1.0 + 0.02 * std::sin(9.0 * t);
      double v = 0.0;
      for (int h = 1; h * f0 < 0.45 * fs; ++h) {
        double db = CHarmonicFit::sourceDb(h * f0, 0.5 / f0) + CHarmonicFit::resonanceDb(h * f0, f1, 70.0) +
                    CHarmonicFit::resonanceDb(h * f0, 1800.0, 100.0) +
                    CHarmonicFit::resonanceDb(h * f0, 2700.0, 150.0);
        v += std::pow(10.0, db / 20.0) * std::sin(2.0 * 3.141592653589793 * h * f0 * wobble * t);
      }
      x[i] = static_cast<std::int16_t>(std::lround(std::clamp(300.0 * v, -30000.0, 30000.0)));
    }
    return x;
  };
  FormantEstimateSettings s;
  s.frames = 68;
  s.spacing = 110.25;
  s.firstCentre = 55.0;
  CFitMemo memo;
  for (const double f1b : {500.0, 560.0}) {
    SCOPED_TRACE(f1b);
    const std::vector<std::int16_t> x = sound(f1b);
    const FormantEstimate plain = estimateFormants(x, fs, s);
    s.memo = &memo;
    const FormantEstimate kept = estimateFormants(x, fs, s);
    s.memo = nullptr;
    ASSERT_EQ(plain.status, FormantEstimate::Status::kOk);
    ASSERT_EQ(kept.frames.size(), plain.frames.size());
    EXPECT_GT(
        std::count_if(plain.openQuotient.begin(), plain.openQuotient.end(), [](double q) { return q > 0; }),
        40);
    EXPECT_EQ(kept.openQuotient, plain.openQuotient);
    s.ceilings = plain.ceiling;
    const FormantEstimate given = estimateFormants(x, fs, s);
    const double other = plain.ceiling[10] == 4500.0 ? 5000.0 : 4500.0;
    s.ceilings.assign(plain.ceiling.size(), other);
    for (std::size_t i = 0; i < s.ceilings.size(); i += 4)
      if (plain.ceiling[i] > 0.0) s.ceilings[i] = plain.ceiling[i];
    const FormantEstimate forced = estimateFormants(x, fs, s);
    s.ceilings.clear();
    ASSERT_EQ(forced.ceiling.size(), plain.ceiling.size());
    EXPECT_EQ(given.ceiling, plain.ceiling);
    for (std::size_t i = 0; i < plain.frames.size(); ++i) {
      EXPECT_EQ(kept.frames[i].f, plain.frames[i].f) << i;
      EXPECT_EQ(kept.frames[i].b, plain.frames[i].b) << i;
      EXPECT_EQ(given.frames[i].f, plain.frames[i].f) << i;
      EXPECT_EQ(forced.ceiling[i], plain.ceiling[i] > 0.0 ? other : 0.0) << i;
    }
  }
}

// Where a reading's frames fall does not decide the ceiling a stretch is
// read under, so the copy (frames centred 5 ms into each 10 ms) and
// `analyse` (12.5 ms in) read a recording alike: the man's command
// `cards/002` took 5500 Hz on the copy's frames and 5000 Hz on `analyse`'s
// while each reading chose on its own frames.
TEST(FormantEstimateTest, ReadingsOnOtherFramesTakeTheSameCeilings) {
  const std::filesystem::path file = "/usr/share/pocketsphinx/test/data/cards/002.wav";
  if (!std::filesystem::exists(file)) GTEST_SKIP() << "pocketsphinx-testdata is not installed";
  SampleSet s;
  ASSERT_EQ(loadWaveFile(file.string(), s), WaveLoad::kOk);
  const double step = s.sampleRate / 100.0;
  std::vector<double> first;
  for (const double at : {0.5, 0.75, 1.0, 1.25}) {
    SCOPED_TRACE(at);
    FormantEstimateSettings es;
    es.spacing = step;
    es.firstCentre = at * step;
    es.frames = static_cast<int>(static_cast<double>(s.samples.size()) / step) - 2;
    const FormantEstimate e = estimateFormants(s.samples, s.sampleRate, es);
    ASSERT_EQ(e.status, FormantEstimate::Status::kOk);
    if (first.empty()) {
      first = e.ceiling;
      continue;
    }
    int compared = 0, differ = 0;
    for (std::size_t i = 0; i < e.ceiling.size(); ++i) {
      const auto j = static_cast<std::size_t>(std::lround(static_cast<double>(i) + at - 0.5));
      if (!(e.ceiling[i] > 0.0) || j >= first.size() || !(first[j] > 0.0)) continue;
      ++compared;
      differ += e.ceiling[i] != first[j];
    }
    EXPECT_GT(compared, 100);
    EXPECT_EQ(differ, 0);
  }
}

}  // namespace
}  // namespace vandrel
