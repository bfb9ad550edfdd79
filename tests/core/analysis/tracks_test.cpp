// Cepstral pitch and the pitch track (pulse trains and synthesized vowels of
// known f0, the cleaning passes, natural speech), and the spectrogram grid and
// formant tracks of synthesized vowels.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "SynthesizedVoice.h"
#include "analysis/PitchTrack.h"
#include "analysis/Spectrogram.h"
#include "audio/Wave.h"
#include "engine/Resonator.h"

namespace vandrel {
namespace {

constexpr double kTruePi = 3.14159265358979323846;

// A band-limited pulse train (every harmonic of f0 below fs/2 at equal
// amplitude, so the period need not be a whole number of samples), coloured
// by two resonators like a vowel.
std::vector<std::int16_t> pulseTrain(double f0, double fs, std::size_t n) {
  const int harmonics = static_cast<int>((0.5 * fs - 1.0) / f0);
  Resonator r1, r2;
  r1.set(600, 80, -kTruePi / fs, 2.0 * kTruePi / fs);
  r2.set(1700, 120, -kTruePi / fs, 2.0 * kTruePi / fs);
  std::vector<std::int16_t> out(n);
  for (std::size_t i = 0; i < n; ++i) {
    double v = 0.0;
    for (int h = 1; h <= harmonics; ++h) v += std::cos(2.0 * kTruePi * h * f0 * static_cast<double>(i) / fs);
    out[i] =
        static_cast<std::int16_t>(std::clamp(r2.step(r1.step(1000.0 * v / harmonics)), -32768.0, 32767.0));
  }
  return out;
}

// Median of the non-zero values and the share of frames that have one.
std::pair<double, double> voicedMedian(const std::vector<double>& track) {
  std::vector<double> v;
  std::copy_if(track.begin(), track.end(), std::back_inserter(v), [](double f) { return f != 0.0; });
  if (v.empty()) return {0.0, 0.0};
  std::nth_element(v.begin(), v.begin() + static_cast<std::ptrdiff_t>(v.size() / 2), v.end());
  return {v[v.size() / 2], static_cast<double>(v.size()) / static_cast<double>(track.size())};
}

TEST(CMathFuncPitchTest, FftSizesUpperLimitAndTheFrameNearTheEnd) {
  const double fs = 11025.0;
  CMathFunc math;
  const auto x = pulseTrain(100.0, fs, 11025);
  for (int size : {64, 100, 1000, 8192})
    EXPECT_EQ(math.cepstralPitch(x.data(), 0, fs, fs, 50, 500, size, 385), -1.0);
  for (int size : {128, 4096}) EXPECT_GE(math.cepstralPitch(x.data(), 0, fs, fs, 50, 500, size, 100), 0.0);

  // A period of exactly 30 samples has its cepstral peak on the first lag
  // searched when fmax is fs / 30: the upper limit is inclusive.
  const auto p30 = pulseTrain(fs / 30.0, fs, 11025);
  EXPECT_DOUBLE_EQ(math.cepstralPitch(p30.data(), 2000, fs, fs, 50, fs / 30.0, 1024, 385), 367.5);
  EXPECT_EQ(math.cepstralPitch(p30.data(), 2000, fs, fs, 50, 367.0, 1024, 385), 0.0);

  // Near the end the copy stops at end - start, so a late frame of a silent
  // signal still holds the pulses of the frame before.
  const auto pulses = pulseTrain(200.0, fs, 4000);
  const std::vector<std::int16_t> silence(4000, 0);
  const double first = math.cepstralPitch(pulses.data(), 1000, 4000, fs, 50, 500, 1024, 385);
  EXPECT_NEAR(first, 200.0, 4.0);
  EXPECT_EQ(math.cepstralPitch(silence.data(), 3800, 4000, fs, 50, 500, 1024, 385), first);
  EXPECT_EQ(CMathFunc().cepstralPitch(silence.data(), 3800, 4000, fs, 50, 500, 1024, 385), 0.0);
}

TEST(CPitchTrackerTest, CleaningPasses) {
  const struct {
    const char* what;
    std::vector<double> raw, energy;
    int deviation, threshold;
    std::vector<double> expected;
  } cases[] = {
      // clang-format off
      {"difference 9.9 truncates to 9 and passes", {100, 109.9, 100, 109.9, 100}, {1, 1, 1, 1, 1}, 10, 0,
       {0, 106, 100, 109.9, 0}},
      {"difference 10 fails", {100, 110, 100, 110, 100}, {1, 1, 1, 1, 1}, 10, 0, {0, 0, 0, 0, 0}},
      {"averages stored at the first of three, from unchanged values", {0, 100, 110, 121, 133, 0, 150, 160, 0, 90, 0},
       std::vector<double>(11, 1.0), 1000, 0, {0, 110, 121, 121, 133, 0, 150, 160, 0, 90, 0}},
      {"energy equal to the threshold is unvoiced", {100, 100, 100, 100, 100, 100}, {100, 1, 1.0001, 0.5, 100, 100},
       1000, 1, {0, 0, 100, 0, 100, 0}},
      // clang-format on
  };
  for (const auto& c : cases) {
    std::vector<double> track;
    CPitchTracker::clean(c.raw, c.energy, c.deviation, c.threshold, track);
    EXPECT_EQ(track, c.expected) << c.what;
  }
}

TEST(CPitchTrackerTest, TrackShapeLimitsAndTwoTrackersSideBySide) {
  const double fs = 11025.0;
  CPitchTracker tracker, other, ref;
  COptionPitch opt, otherOpt, refOpt;
  EXPECT_EQ(tracker.compute(pulseTrain(150.0, fs, 1099), fs, opt), CPitchTracker::Status::kTooShort);
  EXPECT_FALSE(tracker.computed());

  // Interleaved frames of two trackers must not share storage.
  const auto x = pulseTrain(150.0, fs, 11025), y = pulseTrain(240.0, fs, 8000);
  const auto interleave = [&](int done, int) {
    if (done == 10) {
      ASSERT_EQ(other.compute(y, fs, otherOpt), CPitchTracker::Status::kOk);
    }
  };
  ASSERT_EQ(tracker.compute(x, fs, opt, 0.0, interleave), CPitchTracker::Status::kOk);
  ASSERT_EQ(ref.compute(x, fs, refOpt), CPitchTracker::Status::kOk);
  EXPECT_EQ(tracker.track(), ref.track());
  EXPECT_NEAR(voicedMedian(other.track()).first, 240.0, 5.0);
  EXPECT_EQ(tracker.track().size(), 100u);  // a frame every 10 ms
  EXPECT_TRUE(tracker.fftSize() == 1024 && tracker.windowSamples() == 385);

  // A window of 4096 samples or more is shortened, in the options too.
  opt.windowMs = 400;
  ASSERT_EQ(tracker.compute(x, fs, opt), CPitchTracker::Status::kOk);
  EXPECT_EQ(opt.windowMs, 371);
  EXPECT_TRUE(tracker.windowSamples() == 4090 && tracker.fftSize() == 4096);
  opt.setDefaults();
  opt.stepMs = 0;
  EXPECT_EQ(tracker.compute(x, fs, opt), CPitchTracker::Status::kBadOptions);
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
  // Our frame i starts at 10 i ms and is 35 ms long: its centre, rounded to
  // Praat's grid, is 10 i + 20.
  int both = 0, agree = 0, oursVoiced = 0, praatVoiced = 0;
  for (std::size_t i = 0; i < tracker.track().size(); ++i) {
    const auto it = praat.find(static_cast<long>(i) * 10 + 20);
    if (it == praat.end()) continue;
    const double ours = tracker.track()[i], theirs = it->second;
    oursVoiced += ours != 0.0;
    praatVoiced += theirs != 0.0;
    both += ours != 0.0 && theirs != 0.0;
    agree += ours != 0.0 && theirs != 0.0 && std::fabs(ours - theirs) < 0.05 * theirs;
  }
  // The cepstral track voices fewer frames and errs near voicing edges, but
  // where both find a voice they mostly agree (measured: 207 frames, 68%).
  EXPECT_GT(both, 150);
  EXPECT_GT(agree, both * 6 / 10);
  EXPECT_GT(oursVoiced, praatVoiced / 3);
}

SpectrogramSettings settings(int columns, int rows, bool formants) {
  SpectrogramSettings s = SpectrogramSettings::from(COptionSpectrogram(11025.0), columns, rows);
  s.trackFormants = formants;
  return s;
}

TEST(CSpectrogramTest, GridIsReferredToItsMaximumAndShortOrBadInputIsRefused) {
  // A 1 kHz tone, then digital silence: the silent columns' raw bins are 0 dB,
  // far more than D below the tone's peak, so they clip to 0; the peak cell is D.
  std::vector<std::int16_t> x(11025, 0);
  for (std::size_t i = 0; i < 5512; ++i)
    x[i] = static_cast<std::int16_t>(8000.0 *
                                     std::sin(2.0 * kTruePi * 1000.0 * static_cast<double>(i) / 11025.0));
  CSpectrogram sg;
  auto s = settings(20, 250, false);
  s.size = 256;
  ASSERT_EQ(sg.compute(x, 11025.0, s), CSpectrogram::Status::kOk);
  EXPECT_TRUE(sg.spectrogramComputed() && !sg.formantsComputed());
  double top = 0.0;
  for (int c = 0; c < 20; ++c) {
    const double* col = sg.column(c);
    top = std::max(top, *std::max_element(col, col + 250));
    // Rows span 0 .. 5000 Hz in 20 Hz steps: the tone sits at row 50.
    const auto peakRow = static_cast<double>(std::max_element(col, col + 250) - col);
    EXPECT_TRUE(c >= 10 || std::fabs(peakRow - 50.0) <= 2.0) << c << ": " << peakRow;
    EXPECT_TRUE(c < 12 || std::all_of(col, col + 250, [](double v) { return v == 0.0; })) << c;
  }
  EXPECT_EQ(top, 35.0);
  // Columns spread over the first quarter (a zoomed view) read on past it:
  // the last one holds the tone as the first does, none runs out of samples.
  s.length = 2756;
  ASSERT_EQ(sg.compute(x, 11025.0, s), CSpectrogram::Status::kOk);
  for (const int c : {0, 19}) {
    const double* col = sg.column(c);
    EXPECT_NEAR(static_cast<double>(std::max_element(col, col + 250) - col), 50.0, 2.0) << c;
    EXPECT_GT(col[50], 30.0) << c;
  }

  EXPECT_EQ(sg.compute(std::vector<std::int16_t>(99, 1), 11025.0, settings(10, 10, true)),
            CSpectrogram::Status::kTooShort);
  EXPECT_FALSE(sg.spectrogramComputed());
  EXPECT_EQ(sg.compute(std::vector<std::int16_t>(100, 1), 11025.0, settings(10, 10, true)),
            CSpectrogram::Status::kOk);
  EXPECT_EQ(sg.compute(x, 11025.0, settings(0, 10, false)), CSpectrogram::Status::kBadOptions);
  EXPECT_EQ(sg.compute(x, 0.0, settings(10, 10, false)), CSpectrogram::Status::kBadOptions);
}

// Synthesized vowels: the pitch track within 2% (the engine's period is whole
// quarter samples; these f0 give whole samples) and formants within 5% (a first
// formant at 300-400 Hz would read up to 10% high from a 14 ms frame).
TEST(CSpectrogramTest, FormantsAndPitchOfSynthesizedVowels) {
  // clang-format off
  for (auto [f0, f1, f2, f3] : {std::tuple{80.1, 500, 1500, 2500}, {150.0, 700, 1200, 2600}, {100.2, 600, 2000, 2800},
                                {220.5, 700, 1200, 0}, {393.7, 700, 1200, 0}}) {
    // clang-format on
    SCOPED_TRACE(testing::Message() << f0 << ": " << f1 << " " << f2 << " " << f3);
    const SampleSet s = Utterance(60, [&](double) { return Column{f0, 60, 0, 0, f1, f2, f3}; }).audio;
    CPitchTracker tracker;
    COptionPitch opt;
    ASSERT_EQ(tracker.compute(s.samples, s.sampleRate, opt), CPitchTracker::Status::kOk);
    const auto [median, share] = voicedMedian(tracker.track());
    EXPECT_NEAR(median, f0, 0.02 * f0);
    EXPECT_GT(share, 0.7);
    for (double f : tracker.track()) EXPECT_TRUE(f == 0.0 || std::fabs(f - f0) < 0.02 * f0) << f;
    if (f3 == 0) continue;  // the harmonics of a high voice are too sparse for formants

    CSpectrogram sg;
    ASSERT_EQ(sg.compute(s.samples, s.sampleRate, settings(48, 64, true)), CSpectrogram::Status::kOk);
    ASSERT_TRUE(sg.formantsComputed());
    // The median over columns clear of the onset and of the end's shortened frames.
    const int want[5] = {f1, f2, f3, 3250, 3700};
    for (std::size_t k = 0; k < 5; ++k) {
      std::vector<double> v;
      for (std::size_t col = 4; col < 40; ++col) v.push_back(sg.formants()[col][k]);
      std::nth_element(v.begin(), v.begin() + 18, v.end());
      EXPECT_NEAR(v[18], want[k], 0.05 * want[k]) << "f" << k + 1;
    }
    // Tracking off leaves the formant arrays as they were.
    const auto before = sg.formants();
    ASSERT_EQ(sg.compute(s.samples, s.sampleRate, settings(12, 32, false)), CSpectrogram::Status::kOk);
    EXPECT_FALSE(sg.formantsComputed());
    EXPECT_EQ(sg.formants(), before);
  }
}

}  // namespace
}  // namespace vandrel
