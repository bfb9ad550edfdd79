#include "engine/Synthesizer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace vandrel {
namespace {

bool allZero(const std::vector<std::int16_t>& v, std::size_t from, std::size_t to) {
  return std::all_of(v.begin() + static_cast<long>(from), v.begin() + static_cast<long>(to),
                     [](std::int16_t s) { return s == 0; });
}

// The rate follows the shown rows: 11025 Hz and 5 cascade formants, or 22050
// Hz and 8 as soon as a high-formant row is shown. The block holds the file
// length's samples; the tail past the last whole frame stays zero.
TEST(SynthesizerTest, RateFrameSizeAndBlockFollowTheShownRows) {
  struct Case {
    int shownRow;  // -1: the default selection
    double rate;
    int perFrame, formants;
    std::size_t written, block;
  };
  const Case cases[] = {{-1, 11025.0, 110, 5, 2200, 2205},
                        {kF6, 22050.0, 220, 8, 4400, 4410},
                        {kB8f, 22050.0, 220, 8, 4400, 4410}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.shownRow);
    CVandrelDoc doc;
    if (c.shownRow >= 0) doc.params().setSelected(c.shownRow, true);
    KlattState state;
    std::vector<std::pair<int, int>> progress;
    ASSERT_TRUE(synthesize(
        doc, [&](int d, int t) { progress.emplace_back(d, t); }, state));
    const SampleSet& s = doc.synthesized;
    EXPECT_EQ(s.sampleRate, c.rate);
    EXPECT_EQ(doc.highRate, c.rate == 22050.0);
    EXPECT_EQ(synthesisSetup(doc).samplesPerFrame, c.perFrame);
    EXPECT_EQ(synthesisSetup(doc).cascadeFormants, c.formants);
    ASSERT_EQ(s.samples.size(), c.block);
    EXPECT_EQ(s.byteSize(), 2 * c.block);
    EXPECT_FALSE(allZero(s.samples, c.written - 100, c.written));
    EXPECT_TRUE(allZero(s.samples, c.written, c.block));
    ASSERT_EQ(progress.size(), 20u);
    EXPECT_EQ(progress.back(), std::make_pair(20, 20));
    EXPECT_FALSE(doc.changedSinceSynthesis);
    EXPECT_FALSE(doc.changedCompanion);
  }
}

TEST(SynthesizerTest, PreviousBufferKeepsTheEarlierResult) {
  CVandrelDoc doc;
  KlattState state;
  ASSERT_TRUE(synthesize(doc, {}, state));
  const SampleSet first = doc.synthesized;
  EXPECT_EQ(doc.previous, first);  // the first synthesis fills both

  for (int c = 0; c < doc.table.columns(); ++c) doc.table.setValue(kF1, c, 800);
  doc.changedSinceSynthesis = true;
  ASSERT_TRUE(synthesize(doc, {}, state));
  EXPECT_EQ(doc.previous, first);
  EXPECT_NE(doc.synthesized.samples, first.samples);
  const SampleSet second = doc.synthesized;

  ASSERT_TRUE(synthesize(doc, {}, state));
  EXPECT_EQ(doc.previous, second);
}

// Play and Save As Audio bring the sound up to date through one call, which
// tells the windows about both buffers and the flag, and does nothing while
// the table is unchanged.
TEST(SynthesizerTest, EnsureSynthesizedRunsOnlyForAChangedTableAndTellsTheObservers) {
  struct Recorder : DocObserver {
    std::vector<int> calls;  // sample slots, and -1 for the flags
    void notifySamplesChanged(SampleSlot s) override { calls.push_back(static_cast<int>(s)); }
    void notifyFlagsChanged() override { calls.push_back(-1); }
  } recorder;
  CVandrelDoc doc;
  doc.addObserver(&recorder);
  ASSERT_TRUE(ensureSynthesized(doc));
  EXPECT_FALSE(doc.changedSinceSynthesis);
  EXPECT_EQ(recorder.calls, (std::vector<int>{static_cast<int>(SampleSlot::kSynthesized),
                                              static_cast<int>(SampleSlot::kPrevious), -1}));
  recorder.calls.clear();
  EXPECT_FALSE(ensureSynthesized(doc));
  EXPECT_TRUE(recorder.calls.empty());
  doc.markEdited();
  recorder.calls.clear();
  EXPECT_TRUE(ensureSynthesized(doc));
  EXPECT_EQ(recorder.calls.size(), 3u);
  doc.removeObserver(&recorder);
}

TEST(SynthesizerTest, HiddenRowsStillDriveTheEngine) {
  CVandrelDoc a, b;
  ASSERT_EQ(b.params().at(kGain).selected, 0);
  for (int c = 0; c < b.table.columns(); ++c) b.table.setValue(kGain, c, 40);
  KlattState sa, sb;
  ASSERT_TRUE(synthesize(a, {}, sa));
  ASSERT_TRUE(synthesize(b, {}, sb));
  int peakA = 0, peakB = 0;
  for (auto v : a.synthesized.samples) peakA = std::max(peakA, std::abs(int{v}));
  for (auto v : b.synthesized.samples) peakB = std::max(peakB, std::abs(int{v}));
  EXPECT_LT(peakB * 5, peakA);  // 20 dB quieter
}

TEST(SynthesizerTest, CellsAreTruncatedTowardZero) {
  CVandrelDoc whole, fraction;
  for (int c = 0; c < fraction.table.columns(); ++c) fraction.table.setValue(kF1, c, 500.9);
  KlattState s1, s2;
  ASSERT_TRUE(synthesize(whole, {}, s1));
  ASSERT_TRUE(synthesize(fraction, {}, s2));
  EXPECT_EQ(whole.synthesized, fraction.synthesized);
}

TEST(SynthesizerTest, FramesThatDoNotFillTheFileLeaveZeros) {
  CVandrelDoc doc;
  doc.params().intervalMs = 7;
  doc.params().frameCount = ParameterSet::framesFor(200.0, 7);  // 28 frames, 196 ms
  doc.table.reset(doc.params().frameCount, doc.params());
  KlattState state;
  ASSERT_TRUE(synthesize(doc, {}, state));
  EXPECT_EQ(synthesisSetup(doc).samplesPerFrame, 77);  // 11025 * 7 / 1000
  ASSERT_EQ(doc.synthesized.samples.size(), 2205u);
  EXPECT_FALSE(allZero(doc.synthesized.samples, 2000, 28 * 77));
  EXPECT_TRUE(allZero(doc.synthesized.samples, 28 * 77, 2205));
}

TEST(SynthesizerTest, ParallelOnlySilencesTheCascade) {
  CVandrelDoc doc;  // defaults: apv = 0, so only the cascade carries voicing
  doc.params().cascadeParallel = 0;
  KlattState state;
  ASSERT_TRUE(synthesize(doc, {}, state));
  EXPECT_TRUE(allZero(doc.synthesized.samples, 0, doc.synthesized.samples.size()));
}

TEST(SynthesizerTest, OddFileLengthKeepsItsLastByte) {
  CVandrelDoc doc;
  doc.params().fileLengthMs = 200.05;  // 2205.55125 samples: 4411 bytes
  KlattState state;
  ASSERT_TRUE(synthesize(doc, {}, state));
  EXPECT_EQ(doc.synthesized.samples.size(), 2206u);
  EXPECT_NEAR(doc.synthesized.sampleCount, 2205.55125, 1e-9);
}

}  // namespace
}  // namespace vandrel
