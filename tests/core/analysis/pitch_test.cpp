// Cepstral pitch and the pitch track: pulse trains and synthesized vowels of
// known f0, the cleaning passes case by case, and natural speech.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "analysis/PitchTrack.h"
#include "audio/Wave.h"
#include "document/VandrelDoc.h"
#include "engine/Resonator.h"
#include "engine/Synthesizer.h"

namespace vandrel {
namespace {

constexpr double kTruePi = 3.14159265358979323846;

// A band-limited pulse train (every harmonic of f0 below fs/2 at equal
// amplitude, so the period need not be a whole number of samples), coloured
// by two resonators like a vowel.
std::vector<std::int16_t> pulseTrain(double f0, double fs, std::size_t n) {
  std::vector<double> x(n, 0.0);
  const int harmonics = static_cast<int>((0.5 * fs - 1.0) / f0);
  for (std::size_t i = 0; i < n; ++i) {
    double v = 0.0;
    for (int h = 1; h <= harmonics; ++h) v += std::cos(2.0 * kTruePi * h * f0 * static_cast<double>(i) / fs);
    x[i] = 1000.0 * v / harmonics;
  }
  Resonator r1, r2;
  r1.set(600, 80, -kTruePi / fs, 2.0 * kTruePi / fs);
  r2.set(1700, 120, -kTruePi / fs, 2.0 * kTruePi / fs);
  std::vector<std::int16_t> out(n);
  for (std::size_t i = 0; i < n; ++i) {
    const double v = r2.step(r1.step(x[i]));
    out[i] = static_cast<std::int16_t>(std::clamp(v, -32768.0, 32767.0));
  }
  return out;
}

// A steady vowel from the synthesizer at f0 (Hz), 11025 Hz.
SampleSet vowel(double f0, int ms) {
  CVandrelDoc doc;
  ParameterSet& ps = doc.params();
  ps.fileLengthMs = ms;
  ps.frameCount = ms / ps.intervalMs;
  doc.table.reset(ps.frameCount, ps);
  for (int c = 0; c < ps.frameCount; ++c) {
    doc.table.setValue(kF0, c, f0 * 10.0);
    doc.table.setValue(kF1, c, 700);
    doc.table.setValue(kF2, c, 1200);
  }
  KlattState state;
  state.reset(1);
  EXPECT_TRUE(synthesize(doc, {}, state));
  return doc.synthesized;
}

// Median of the non-zero values and the share of frames that have one.
std::pair<double, double> voicedMedian(const std::vector<double>& track) {
  std::vector<double> v;
  for (double f : track)
    if (f != 0.0) v.push_back(f);
  if (v.empty()) return {0.0, 0.0};
  std::nth_element(v.begin(), v.begin() + static_cast<std::ptrdiff_t>(v.size() / 2), v.end());
  return {v[v.size() / 2], static_cast<double>(v.size()) / static_cast<double>(track.size())};
}

TEST(CMathFuncPitchTest, PulseTrainsWithinTwoPercent) {
  CMathFunc math;
  for (double fs : {11025.0, 22050.0}) {
    for (double f0 : {80.0, 100.0, 133.0, 180.0, 250.0, 320.0, 400.0}) {
      SCOPED_TRACE(testing::Message() << fs << " Hz, f0 " << f0);
      const auto x = pulseTrain(f0, fs, static_cast<std::size_t>(fs / 2));
      const int n = static_cast<int>(fs / 1000.0 * 35);
      const double got = math.cepstralPitch(x.data(), 0.3 * fs, fs / 2, fs, 50.0, 500.0, 1024, n);
      EXPECT_NEAR(got, f0, 0.02 * f0);
    }
  }
}

TEST(CMathFuncPitchTest, UnsupportedFftSize) {
  CMathFunc math;
  const auto x = pulseTrain(100.0, 11025.0, 11025);
  for (int size : {64, 100, 1000, 8192})
    EXPECT_EQ(math.cepstralPitch(x.data(), 0, 11025, 11025, 50, 500, size, 385), -1.0) << size;
  for (int size : {128, 256, 512, 1024, 2048, 4096})
    EXPECT_GE(math.cepstralPitch(x.data(), 0, 11025, 11025, 50, 500, size, 100), 0.0) << size;
}

TEST(CMathFuncPitchTest, UpperLimitIsInclusive) {
  // A period of exactly 30 samples: f0 = 367.5 Hz with its cepstral peak on
  // the first lag searched when fmax is 367.5.
  const double fs = 11025.0;
  const auto x = pulseTrain(fs / 30.0, fs, 11025);
  CMathFunc math;
  EXPECT_DOUBLE_EQ(math.cepstralPitch(x.data(), 2000, fs, fs, 50, fs / 30.0, 1024, 385), 367.5);
  EXPECT_EQ(math.cepstralPitch(x.data(), 2000, fs, fs, 50, 367.0, 1024, 385), 0.0);
}

TEST(CMathFuncPitchTest, FrameNearTheEndKeepsThePreviousSamples) {
  // Near the end the copy stops at end - start, so a late frame of a silent
  // signal still holds the pulses of the frame before.
  const double fs = 11025.0;
  const auto pulses = pulseTrain(200.0, fs, 4000);
  const std::vector<std::int16_t> silence(4000, 0);
  CMathFunc math;
  const double first = math.cepstralPitch(pulses.data(), 1000, 4000, fs, 50, 500, 1024, 385);
  EXPECT_NEAR(first, 200.0, 4.0);
  EXPECT_EQ(math.cepstralPitch(silence.data(), 3800, 4000, fs, 50, 500, 1024, 385), first);
  EXPECT_EQ(CMathFunc().cepstralPitch(silence.data(), 3800, 4000, fs, 50, 500, 1024, 385), 0.0);
}

TEST(CPitchTrackerTest, CleaningPasses) {
  struct Case {
    const char* what;
    std::vector<double> raw, energy;
    int deviation, threshold;
    std::vector<double> expected;
  } cases[] = {
      {"difference 9.9 truncates to 9 and passes",
       {100, 109.9, 100, 109.9, 100},
       {1, 1, 1, 1, 1},
       10,
       0,
       {0, 106, 100, 109.9, 0}},
      {"difference 10 fails", {100, 110, 100, 110, 100}, {1, 1, 1, 1, 1}, 10, 0, {0, 0, 0, 0, 0}},
      {"averages stored at the first of three, from unchanged values",
       {0, 100, 110, 121, 133, 0, 150, 160, 0, 90, 0},
       std::vector<double>(11, 1),
       1000,
       0,
       {0, 110, 121, 121, 133, 0, 150, 160, 0, 90, 0}},
      {"energy equal to the threshold is unvoiced",
       {100, 100, 100, 100, 100, 100},
       {100, 1, 1.0001, 0.5, 100, 100},
       1000,
       1,
       {0, 0, 100, 0, 100, 0}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    std::vector<double> track;
    CPitchTracker::clean(c.raw, c.energy, c.deviation, c.threshold, track);
    EXPECT_EQ(track, c.expected);
  }
}

TEST(CPitchTrackerTest, SynthesizedVowelsWithinTwoPercent) {
  // The engine's period is a whole number of quarter samples; these f0 give
  // whole samples (at 11025 Hz), so the signal repeats at 1/f0 and not only
  // at a multiple of it.
  for (double f0 : {80.1, 100.2, 150.0, 220.5, 306.2, 393.7}) {
    SCOPED_TRACE(f0);
    SampleSet s = vowel(f0, 600);
    CPitchTracker tracker;
    COptionPitch opt;
    ASSERT_EQ(tracker.compute(s.samples, s.sampleRate, opt), CPitchTracker::Status::kOk);
    const auto [median, share] = voicedMedian(tracker.track());
    EXPECT_NEAR(median, f0, 0.02 * f0);
    EXPECT_GT(share, 0.7);
    for (double f : tracker.track()) {
      if (f != 0.0) {
        EXPECT_NEAR(f, f0, 0.02 * f0);
      }
    }
  }
}

TEST(CPitchTrackerTest, TrackShapeAndLimits) {
  const double fs = 11025.0;
  CPitchTracker tracker;
  COptionPitch opt;
  std::vector<std::int16_t> x = pulseTrain(150.0, fs, 1099);
  EXPECT_EQ(tracker.compute(x, fs, opt), CPitchTracker::Status::kTooShort);
  EXPECT_FALSE(tracker.computed());

  x = pulseTrain(150.0, fs, 11025);
  ASSERT_EQ(tracker.compute(x, fs, opt), CPitchTracker::Status::kOk);
  EXPECT_EQ(tracker.track().size(), 100u);  // 11025 / 110.25
  EXPECT_EQ(tracker.fftSize(), 1024);
  EXPECT_EQ(tracker.windowSamples(), 385);

  // A window of 4096 samples or more is shortened, in the options too.
  opt.windowMs = 400;
  ASSERT_EQ(tracker.compute(x, fs, opt), CPitchTracker::Status::kOk);
  EXPECT_EQ(opt.windowMs, 371);
  EXPECT_EQ(tracker.windowSamples(), 4090);
  EXPECT_EQ(tracker.fftSize(), 4096);

  opt.setDefaults();
  opt.stepMs = 0;
  EXPECT_EQ(tracker.compute(x, fs, opt), CPitchTracker::Status::kBadOptions);
}

TEST(CPitchTrackerTest, TwoTrackersSideBySide) {
  const auto a = pulseTrain(120.0, 11025.0, 8000);
  const auto b = pulseTrain(240.0, 11025.0, 8000);
  CPitchTracker ta, tb, ref;
  COptionPitch o1, o2, o3;
  // Interleaved frames would corrupt shared storage; separate objects do not.
  ASSERT_EQ(ta.compute(a, 11025.0, o1, 0.0,
                       [&](int done, int) {
                         if (done == 10) {
                           ASSERT_EQ(tb.compute(b, 11025.0, o2), CPitchTracker::Status::kOk);
                         }
                       }),
            CPitchTracker::Status::kOk);
  ASSERT_EQ(ref.compute(a, 11025.0, o3), CPitchTracker::Status::kOk);
  EXPECT_EQ(ta.track(), ref.track());
  EXPECT_NEAR(voicedMedian(tb.track()).first, 240.0, 5.0);
}

TEST(CPitchTrackerTest, NaturalSpeechAgreesWithPraat) {
  const std::filesystem::path file =
      "/usr/share/pocketsphinx/test/data/librivox/sense_and_sensibility_01_austen_64kb-0870.wav";
  if (!std::filesystem::exists(file)) GTEST_SKIP() << "pocketsphinx-testdata is not installed";
  SampleSet s;
  ASSERT_EQ(loadWaveFile(file.string(), s), WaveLoad::kOk);
  CPitchTracker tracker;
  COptionPitch opt;
  ASSERT_EQ(tracker.compute(s.samples, s.sampleRate, opt), CPitchTracker::Status::kOk);

  // Praat's autocorrelation track of the same file, frame centres every 10 ms.
  std::ifstream ref(std::string(VANDREL_TEST_DATA) + "/analysis/librivox-0870-praat-pitch.tsv");
  ASSERT_TRUE(ref.good());
  std::map<long, double> praat;
  for (std::string line; std::getline(ref, line);) {
    if (line.empty() || line[0] == '#' || line[0] == 'c') continue;
    const auto tab = line.find('\t');
    praat[std::lround(std::stod(line.substr(0, tab)))] = std::stod(line.substr(tab + 1));
  }

  // Our frame i starts at 10 i ms and is 35 ms long: its centre is 10 i + 17.5.
  int both = 0, agree = 0, oursVoiced = 0, praatVoiced = 0;
  for (std::size_t i = 0; i < tracker.track().size(); ++i) {
    const auto it = praat.find(static_cast<long>(i) * 10 + 20);
    if (it == praat.end()) continue;
    const double ours = tracker.track()[i], theirs = it->second;
    oursVoiced += ours != 0.0;
    praatVoiced += theirs != 0.0;
    if (ours != 0.0 && theirs != 0.0) {
      ++both;
      agree += std::fabs(ours - theirs) < 0.05 * theirs;
    }
  }
  // The cepstral track voices fewer frames and errs near voicing edges, but
  // where both find a voice they mostly agree (measured: 207 frames, 68%).
  EXPECT_GT(both, 150);
  EXPECT_GT(agree, both * 6 / 10);
  EXPECT_GT(oursVoiced, praatVoiced / 3);
}

}  // namespace
}  // namespace vandrel
