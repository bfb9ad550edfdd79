#include "engine/Synthesizer.h"
#include "editing/EditTransaction.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace vandrel {
namespace {

bool allZero(const std::vector<std::int16_t>& v, std::size_t from, std::size_t to) {
  return std::all_of(v.begin() + static_cast<long>(from), v.begin() + static_cast<long>(to),
                     [](std::int16_t s) { return s == 0; });
}

// The rate follows the shown rows: 11025 Hz and 5 cascade formants, or 22050
// Hz and 8 as soon as a high-formant row is shown. The block holds the file
// length's samples (an odd length keeps its last byte); the tail past the last
// whole frame stays zero.
TEST(SynthesizerTest, RateFrameSizeAndBlockFollowTheShownRowsAndTheLength) {
  struct Case {
    int shownRow;  // -1: the default selection
    int interval;
    double lengthMs, rate;
    int perFrame, formants, frames;
    std::size_t block;
  };
  const Case cases[] = {{-1, 10, 200, 11025.0, 110, 5, 20, 2205},
                        {kF6, 10, 200, 22050.0, 220, 8, 20, 4410},
                        {kB8f, 10, 200, 22050.0, 220, 8, 20, 4410},
                        {-1, 7, 200, 11025.0, 77, 5, 28, 2205},
                        {-1, 10, 200.05, 11025.0, 110, 5, 20, 2206},
                        // 22050 x 100000 overflows 32 bits before the division by 1000.
                        {kF6, 100000, 100000, 22050.0, 2205000, 8, 1, 2205000}};
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << c.shownRow << " " << c.interval << " " << c.lengthMs);
    CVandrelDoc doc;
    doc.changeParams([&](ParameterSet& ps) {
      if (c.shownRow >= 0) ps.setSelected(c.shownRow, true);
      ps.intervalMs = c.interval;
      ps.fileLengthMs = c.lengthMs;
      ps.frameCount = ParameterSet::framesFor(c.lengthMs, c.interval);
    });
    doc.replaceTable(vandrel::FrameTable(doc.params().frameCount, doc.params()));
    KlattState state;
    std::vector<std::pair<int, int>> progress;
    ASSERT_TRUE(synthesize(
        doc, [&](int d, int t) { progress.emplace_back(d, t); }, state));
    const SampleSet& s = doc.synthesized();
    EXPECT_EQ(s.sampleRate, c.rate);
    EXPECT_EQ(doc.highRate(), c.rate == 22050.0);
    EXPECT_EQ(synthesisSetup(doc).samplesPerFrame, c.perFrame);
    EXPECT_EQ(synthesisSetup(doc).cascadeFormants, c.formants);
    ASSERT_EQ(s.samples.size(), c.block);
    EXPECT_NEAR(s.sampleCount, c.lengthMs * c.rate / 1000, 1e-9);
    const auto written = static_cast<std::size_t>(c.frames * c.perFrame);
    EXPECT_FALSE(allZero(s.samples, written - 100, written));
    EXPECT_TRUE(allZero(s.samples, written, c.block));
    ASSERT_EQ(progress.size(), static_cast<std::size_t>(c.frames));
    EXPECT_EQ(progress.back(), std::make_pair(c.frames, c.frames));
    EXPECT_FALSE(doc.changedSinceSynthesis());
    EXPECT_FALSE(doc.changedCompanion());
  }
}

// Play and Save As Audio bring the sound up to date through one call, which
// tells the windows about both buffers and the flag, and does nothing while
// the table is unchanged. The previous buffer keeps the earlier result; the
// first synthesis fills both.
TEST(SynthesizerTest, EnsureSynthesizedRunsOnlyForAChangedTableAndKeepsTheEarlierResult) {
  struct Recorder : DocObserver {
    std::vector<int> calls;  // sample slots, and -1 for the flags
    void notifySamplesChanged(SampleSlot s) override { calls.push_back(static_cast<int>(s)); }
    void notifyFlagsChanged() override { calls.push_back(-1); }
  } recorder;
  CVandrelDoc doc;
  doc.addObserver(&recorder);
  ASSERT_TRUE(ensureSynthesized(doc));
  EXPECT_FALSE(doc.changedSinceSynthesis());
  EXPECT_EQ(recorder.calls, (std::vector<int>{static_cast<int>(SampleSlot::kSynthesized),
                                              static_cast<int>(SampleSlot::kPrevious), -1}));
  const SampleSet first = doc.synthesized();
  EXPECT_EQ(doc.previous(), first);
  recorder.calls.clear();
  EXPECT_FALSE(ensureSynthesized(doc));
  EXPECT_TRUE(recorder.calls.empty());

  for (int c = 0; c < doc.table().columns(); ++c) vandrel::EditTransaction(doc).setValue(kF1, c, 800);
  doc.markEdited();
  recorder.calls.clear();
  EXPECT_TRUE(ensureSynthesized(doc));
  EXPECT_EQ(recorder.calls.size(), 3u);
  EXPECT_EQ(doc.previous(), first);
  EXPECT_NE(doc.synthesized().samples, first.samples);
  const SampleSet second = doc.synthesized();
  doc.markEdited();
  ASSERT_TRUE(ensureSynthesized(doc));
  EXPECT_EQ(doc.previous(), second);
  doc.removeObserver(&recorder);
}

int peak(const SampleSet& s) {
  int p = 0;
  for (auto v : s.samples) p = std::max(p, std::abs(int{v}));
  return p;
}

// What the engine hears: hidden rows too, and cells cut toward zero. (The
// parallel-only model is the engine's test and a golden table's.)
TEST(SynthesizerTest, HiddenRowsAndFractions) {
  CVandrelDoc plain, quiet, fraction;
  ASSERT_EQ(quiet.params().at(kGain).selected, 0);
  for (int c = 0; c < plain.table().columns(); ++c) {
    vandrel::EditTransaction(quiet).setValue(kGain, c, 40);
    vandrel::EditTransaction(fraction).setValue(kF1, c, 500.9);
  }
  for (CVandrelDoc* d : {&plain, &quiet, &fraction}) {
    KlattState state;
    ASSERT_TRUE(synthesize(*d, {}, state));
  }
  EXPECT_LT(peak(quiet.synthesized()) * 5, peak(plain.synthesized()));  // 20 dB quieter
  EXPECT_EQ(fraction.synthesized(), plain.synthesized());
}

// A signal heard alone goes through the frames' gain as the whole does. The
// frication of a loud fricative would clip: it comes back at a -1 dBFS peak,
// the same waveform as at a gain 30 dB lower (the gain table's 1.024 against
// 0.032: 30.1 dB), which fits as it is and is left alone.
TEST(SynthesizerTest, ASignalAloneThatWouldClipIsTurnedDownToMinusOneDbfs) {
  CVandrelDoc loud, low;
  for (int c = 0; c < loud.table().columns(); ++c) {
    vandrel::EditTransaction(loud).setValue(kAf, c, 80);
    vandrel::EditTransaction(low).setValue(kAf, c, 80);
    vandrel::EditTransaction(low).setValue(kGain, c, 30);
  }
  KlattState state;
  const SoloSignal fits = synthesizeSolo(low, CKlattEngine::kFrication, state);
  const SoloSignal down = synthesizeSolo(loud, CKlattEngine::kFrication, state);
  EXPECT_EQ(fits.turnedDownDb, 0.0);
  ASSERT_EQ(down.set.samples.size(), fits.set.samples.size());
  EXPECT_NEAR(peak(down.set), 29204, 30);  // -1 dBFS within 0.01 dB
  const double expectedDb = 20 * std::log10(peak(fits.set) * 32.0 / 29204);
  EXPECT_GT(expectedDb, 3.0);
  EXPECT_NEAR(down.turnedDownDb, expectedDb, 0.05);
  // Sample for sample, within the truncation of the quieter run (and of the
  // peak it was measured by).
  const double ratio = 29204.0 / peak(fits.set);
  for (std::size_t i = 0; i < fits.set.samples.size(); ++i) {
    const double expected = fits.set.samples[i] * ratio;
    ASSERT_NEAR(down.set.samples[i], expected, ratio + 2 + 0.001 * std::abs(expected)) << i;
  }
}

}  // namespace
}  // namespace vandrel
