#include "audio/PlayStretch.h"

#include <gtest/gtest.h>

namespace vandrel {
namespace {

// Times become samples at each set's own rate, so the recording and the copy
// play the same moments; what a set does not hold is cut off.
TEST(PlayStretchTest, TimesBecomeSamplesOfEachSetCutToItsLength) {
  SampleSet copy, recording;
  copy.sampleRate = 11025;
  copy.samples.assign(2205, 0);  // 200 ms
  recording.sampleRate = 16000;
  recording.samples.assign(1600, 0);  // 100 ms
  struct Case {
    const SampleSet* set;
    std::optional<TimeSpan> span;
    SampleSpan want;
  };
  const Case cases[] = {
      {&copy, std::nullopt, {0, 2205}},
      {&copy, columnsSpan(12, 5, 10), {552, 882}},  // 50..130 ms, the block's ends in either order
      {&recording, columnsSpan(5, 12, 10), {800, 800}},
      {&recording, TimeSpan{150, 180}, {1600, 0}},
      {&copy, TimeSpan{-20, 0.05}, {0, 1}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.span ? c.span->startMs : -1);
    EXPECT_EQ(samplesIn(*c.set, c.span), c.want);
  }
}

}  // namespace
}  // namespace vandrel
