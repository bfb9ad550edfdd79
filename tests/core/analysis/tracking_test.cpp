// Autocorrelation pitch and formant tracks against the truth of our own
// synthesizer: the table says what f0 and f1..f3 each 10 ms frame has, so the
// tracks can be checked frame by frame.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <thread>
#include <vector>

#include "SynthesizedVoice.h"
#include "analysis/AnalysisTracks.h"
#include "analysis/AutocorrelationPitch.h"
#include "analysis/Spectrogram.h"

namespace vandrel {
namespace {

TEST(CAutocorrelationPitchTest, SynthesizedVoicesSteadyAndGliding) {
  const struct {
    double from, to;
    int ah;
    bool highRate = false;
  } cases[] = {
      {70, 70, 0},  {100, 100, 0},  {150, 150, 40}, {220, 220, 0}, {300, 300, 0},      {450, 450, 0},
      {70, 140, 0}, {120, 250, 45}, {200, 450, 0},  {450, 180, 0}, {90, 200, 0, true}, {450, 450, 40, true},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.from << " -> " << c.to << " Hz, ah " << c.ah
                                    << (c.highRate ? ", 22050 Hz" : ""));
    const Utterance u(
        60,
        [&](double t) {
          return Column{c.from + (c.to - c.from) * t, 60, c.ah};
        },
        c.highRate);
    COptionPitch opt;
    const auto r = computePitchTrack(u.audio.samples, u.audio.sampleRate, opt, PitchMethod::kAutocorrelation);
    ASSERT_EQ(r.status, PitchTrackResult::Status::kOk);
    int frames = 0, voiced = 0, within = 0, octave = 0;
    for (std::size_t i = 0; i < r.f0.size(); ++i) {
      const double start = static_cast<double>(i) * r.stepSamples;
      if (start + r.windowSamples > static_cast<double>(u.audio.samples.size())) break;
      ++frames;
      if (r.f0[i] == 0.0) continue;
      ++voiced;
      // The window sees the mean period of the pulses inside it.
      const double truth = u.f0Seen(start, r.windowSamples);
      if (std::fabs(r.f0[i] - truth) <= 0.01 * truth) ++within;
      if (std::fabs(std::log2(r.f0[i] / truth)) > 0.4) ++octave;
    }
    EXPECT_GE(voiced, frames * 95 / 100);
    EXPECT_GE(within, voiced * 98 / 100) << voiced << " voiced";
    EXPECT_EQ(octave, 0);
  }
}

// No voicing, no pitch: silence and frication are unvoiced in every frame
// (aspiration alone is not: the engine halves its noise over the second half
// of every period, and that beat is periodic), and silence has no formants.
// Too little sound and impossible settings are refused.
TEST(CAutocorrelationPitchTest, UnvoicedSoundsAndRefusals) {
  const struct {
    const char* name;
    int ah, af;
  } cases[] = {{"silence", 0, 0}, {"frication", 0, 60}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    const Utterance u(40, [&](double) { return Column{120, 0, c.ah, c.af}; });
    COptionPitch opt;
    const auto r = computePitchTrack(u.audio.samples, u.audio.sampleRate, opt, PitchMethod::kAutocorrelation);
    ASSERT_EQ(r.status, PitchTrackResult::Status::kOk);
    EXPECT_EQ(std::count(r.f0.begin(), r.f0.end(), 0.0), static_cast<std::ptrdiff_t>(r.f0.size()));
  }
  const std::vector<std::int16_t> shortSound(600, 100);
  COptionPitch opt;
  EXPECT_EQ(computePitchTrack(shortSound, 11025, opt, PitchMethod::kAutocorrelation).status,
            PitchTrackResult::Status::kTooShort);
  const std::vector<std::int16_t> quiet(5000);
  opt.calcHighHz = 40;
  EXPECT_EQ(computePitchTrack(quiet, 11025, opt, PitchMethod::kAutocorrelation).status,
            PitchTrackResult::Status::kBadOptions);
  opt = COptionPitch{};
  opt.windowMs = 2000000000;
  EXPECT_EQ(computePitchTrack(quiet, 11025, opt, PitchMethod::kAutocorrelation).status,
            PitchTrackResult::Status::kBadOptions);

  FormantTrackSettings fs = FormantTrackSettings::forFrames(10, 110.25);
  EXPECT_EQ(computeFormantTracks(std::vector<std::int16_t>(99), 11025, fs).status,
            FormantTrackResult::Status::kTooShort);
  for (auto spoil : {+[](FormantTrackSettings& s) { s.spacing = 0.0; },
                     +[](FormantTrackSettings& s) { s.windowMs = 1e12; }}) {
    FormantTrackSettings bad = fs;
    spoil(bad);
    EXPECT_EQ(computeFormantTracks(quiet, 11025, bad).status, FormantTrackResult::Status::kBadOptions);
  }
  // Silence has no formants at all.
  const auto none = computeFormantTracks(quiet, 11025, fs);
  ASSERT_EQ(none.status, FormantTrackResult::Status::kOk);
  for (const auto& f : none.frequency) EXPECT_EQ(f, (FormantTrackResult::Values{}));
}

// Three rules of the path and the candidates that ordinary voices never test.
// A voice just above the floor (80.1 Hz with fmin 80 Hz at 16 kHz) has its
// autocorrelation peak at the last lag looked at, 200. And the path's costs
// are per 10 ms: a noisy voice tracked every 2.5 ms must not switch between
// voiced and unvoiced more often than one tracked every 10 ms (with costs
// not scaled up for the shorter step it switched 49 times).
TEST(CAutocorrelationPitchTest, TheFloorsLastLagAndCostsPerStep) {
  const double fs = 16000.0;
  const auto voice = [fs](double f0, double noise, std::size_t n) {
    std::vector<std::int16_t> x(n);
    std::uint32_t seed = 5;
    double phase = 0.0;
    for (auto& s : x) {
      phase = std::fmod(phase + f0 / fs, 1.0);
      double white = 0.0;  // twelve uniform draws: near enough normal
      for (int k = 0; k < 12; ++k) {
        seed = seed * 1103515245u + 12345u;
        white += static_cast<double>(seed >> 8) / 16777216.0;
      }
      s = static_cast<std::int16_t>(3000 * std::sin(2 * M_PI * phase) + 1500 * std::sin(4 * M_PI * phase) +
                                    noise * (white - 6.0));
    }
    return x;
  };
  const auto track = [fs](const std::vector<std::int16_t>& x, double fmin, double stepMs) {
    CAutocorrelationPitch p;
    CAutocorrelationPitch::Settings s;
    s.fmin = fmin;
    s.stepSamples = stepMs * fs / 1000.0;
    EXPECT_EQ(p.compute(x, fs, s), CAutocorrelationPitch::Status::kOk);
    return p.track();
  };
  const auto floor = track(voice(80.1, 0.0, 16000), 80.0, 10.0);
  EXPECT_GE(std::count_if(floor.begin(), floor.end(), [](double f) { return std::fabs(f - 80.1) < 1.0; }),
            40);

  const auto switches = [](const std::vector<double>& t) {
    int n = 0;
    for (std::size_t i = 1; i < t.size(); ++i) n += (t[i] > 0.0) != (t[i - 1] > 0.0);
    return n;
  };
  const auto noisy = voice(120.0, 3000.0, 32000);
  EXPECT_LE(switches(track(noisy, 75.0, 2.5)), switches(track(noisy, 75.0, 10.0)) + 4);

  // Pulses growing by half each period: the window's correction lifts their
  // autocorrelation above 1, a sign of changing loudness, not of a perfect
  // voice; such a frame is worth the inverse (its strength 0.98 here, not 1).
  std::vector<std::int16_t> growing(16000);
  for (std::size_t i = 0; i < growing.size(); ++i) {
    const std::size_t at = i % 160;
    const double amp = std::pow(1.5, static_cast<double>(i / 160 % 5) - 4.0);
    growing[i] = static_cast<std::int16_t>(at < 8 ? 30000 * amp * (1 - static_cast<double>(at) / 8.0) : 0);
  }
  CAutocorrelationPitch p;
  CAutocorrelationPitch::Settings s;
  s.stepSamples = 80;
  s.fmin = 75.0;
  ASSERT_EQ(p.compute(growing, fs, s), CAutocorrelationPitch::Status::kOk);
  EXPECT_LT(*std::max_element(p.strength().begin(), p.strength().end()), 0.995);
}

struct Vowel {
  int f1, f2, f3;
};

// F1..F3 of a frame (window from `start`): on 90% of the frames each within 5% or 60 Hz of the
// table's mean over the window, and never nearer another formant (F1..F4,
// F4 at its default 3250 Hz) than its own.
TEST(FormantEstimateTest, SynthesizedVowelsAndDiphthongs) {
  const Vowel i{270, 2290, 3010}, a{730, 1090, 2440}, u{300, 870, 2240}, ae{660, 1720, 2410},
      oh{570, 840, 2410};
  const struct {
    const char* name;
    Vowel from, to;
    double f0;
    bool highRate = false;
    double stepMs = 10.0;
  } cases[] = {
      {"i", i, i, 120},
      {"a", a, a, 100},
      {"u", u, u, 150},
      {"ae", ae, ae, 250},
      {"ai", a, i, 110},
      {"oi", oh, i, 160},
      {"au", a, u, 170},
      {"ia", i, a, 130},
      {"ai", a, i, 120, true},
      {"i", i, i, 120, true},
      {"a", a, a, 120, true},
      {"ai", a, i, 110, false, 3.0},
      {"oi", oh, i, 160, false, 25.0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.name << " at " << c.f0 << " Hz" << (c.highRate ? ", 22050 Hz" : "")
                                    << ", frames " << c.stepMs << " ms apart");
    const Utterance utt(
        40,
        [&](double t) {
          const auto at = [t](int x, int y) { return static_cast<int>(std::lround(x + (y - x) * t)); };
          return Column{
              c.f0, 60, 0, 0, at(c.from.f1, c.to.f1), at(c.from.f2, c.to.f2), at(c.from.f3, c.to.f3)};
        },
        c.highRate);
    const double fs = utt.audio.sampleRate;
    const COptionSpectrogram so(fs);
    const double step = fs * c.stepMs / 1000.0;
    const int frames = static_cast<int>(static_cast<double>(utt.audio.samples.size()) / step);
    const auto r = computeFormantTracks(utt.audio.samples, fs, FormantTrackSettings::forFrames(frames, step));
    ASSERT_EQ(r.status, FormantTrackResult::Status::kOk);
    const double window = FormantTrackSettings::kDefaultWindowMs * fs / 1000.0;
    int counted = 0, swaps = 0;
    std::array<int, 3> good{};
    for (std::size_t f = 0; f < r.frequency.size(); ++f) {
      const double start = static_cast<double>(f) * step;
      if (start + window > static_cast<double>(utt.audio.samples.size())) break;
      ++counted;
      std::array<double, 4> truth{0.0, 0.0, 0.0, 3250.0};
      for (int k = 0; k < 3; ++k)
        truth[static_cast<std::size_t>(k)] = utt.mean(start, start + window, [k](const Column& col) {
          return k == 0 ? col.f1 : k == 1 ? col.f2 : col.f3;
        });
      for (std::size_t k = 0; k < 3; ++k) {
        const double got = r.frequency[f][k];
        if (std::fabs(got - truth[k]) <= std::max(60.0, 0.05 * truth[k])) ++good[k];
        for (std::size_t other = 0; other < truth.size(); ++other)
          if (got > 0.0 && std::fabs(got - truth[other]) < std::fabs(got - truth[k])) {
            ++swaps;
            break;
          }
      }
    }
    for (int k = 0; k < 3; ++k)
      EXPECT_GE(good[static_cast<std::size_t>(k)], counted * 90 / 100) << "F" << k + 1;
    EXPECT_EQ(swaps, 0);
  }
}

// The cepstral method is the editor's tracker as it stands. Both tracks on
// worker threads while the calling thread computes them too: each call has
// its own working state, so every run gives the serial result, and progress
// counts each run's frames up to its total.
TEST(AnalysisTracksTest, CepstralIsTheTrackerAsItStandsAndConcurrentRunsMatchSerialOnes) {
  const Utterance voice(50, [](double t) { return Column{100 + 150 * t, 60, 0, 0, 700, 1200, 2500}; });
  const auto& x = voice.audio.samples;
  const double fs = voice.audio.sampleRate;
  const auto formantSettings = FormantTrackSettings::forColumns(120, x.size());

  COptionPitch cepstralOptions, trackerOptions;
  const auto cepstral = computePitchTrack(x, fs, cepstralOptions, PitchMethod::kCepstral);
  CPitchTracker tracker;
  ASSERT_EQ(tracker.compute(x, fs, trackerOptions), CPitchTracker::Status::kOk);
  EXPECT_EQ(cepstral.f0, tracker.track());
  EXPECT_EQ(cepstral.stepSamples, tracker.stepSamples());
  for (std::size_t i = 0; i < cepstral.f0.size(); ++i)
    EXPECT_EQ(cepstral.strength[i], cepstral.f0[i] != 0.0 ? 1.0 : 0.0);
  const auto run = [&](PitchTrackResult& p, FormantTrackResult& f, std::vector<int>& seen) {
    COptionPitch opt;
    p = computePitchTrack(x, fs, opt, PitchMethod::kAutocorrelation, 0.0,
                          [&](int done, int total) { seen.push_back(total - done); });
    f = computeFormantTracks(x, fs, formantSettings,
                             [&](int done, int total) { seen.push_back(total - done); });
  };
  PitchTrackResult serialPitch;
  FormantTrackResult serialFormants;
  std::vector<int> serialSeen;
  run(serialPitch, serialFormants, serialSeen);
  ASSERT_EQ(serialPitch.status, PitchTrackResult::Status::kOk);
  ASSERT_EQ(serialFormants.status, FormantTrackResult::Status::kOk);
  EXPECT_EQ(serialFormants.frequency.size(), 120u);
  EXPECT_EQ(std::count(serialSeen.begin(), serialSeen.end(), 0), 2);  // each run ends at its total
  EXPECT_TRUE(std::is_sorted(serialSeen.begin(),
                             serialSeen.begin() + static_cast<std::ptrdiff_t>(serialPitch.f0.size()),
                             std::greater<>()));

  std::array<PitchTrackResult, 3> pitch;
  std::array<FormantTrackResult, 3> formants;
  std::array<std::vector<int>, 3> seen;
  std::thread a([&] { run(pitch[0], formants[0], seen[0]); });
  std::thread b([&] { run(pitch[1], formants[1], seen[1]); });
  run(pitch[2], formants[2], seen[2]);
  a.join();
  b.join();
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(pitch[i].f0, serialPitch.f0);
    EXPECT_EQ(pitch[i].strength, serialPitch.strength);
    EXPECT_EQ(formants[i].frequency, serialFormants.frequency);
    EXPECT_EQ(formants[i].bandwidth, serialFormants.bandwidth);
    EXPECT_EQ(seen[i], serialSeen);
  }
}

}  // namespace
}  // namespace vandrel
