#include "audio/PlayStretch.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <numbers>

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

// A tone taken to another rate is the same tone sampled at that rate, at the
// same moments (away from the ends, where the kernel runs out of signal); a
// tone above the new rate's half is gone (a 0 Hz tone) rather than folded down.
TEST(PlayStretchTest, AtRateKeepsTheBandAndDropsWhatWouldFold) {
  const auto tone = [](double hz, double rate) {  // 200 ms
    SampleSet s;
    s.sampleRate = rate;
    for (int i = 0; i < int(rate) / 5; ++i)
      s.samples.push_back(std::int16_t(std::lround(1e4 * std::sin(2 * std::numbers::pi * hz * i / rate))));
    return s;
  };
  for (const auto& [hz, from, to] :
       {std::array{1000.0, 11025.0, 22050.0}, std::array{1000.0, 22050.0, 16000.0},
        std::array{7000.0, 22050.0, 11025.0}}) {
    const SampleSet out = atRate(tone(hz, from), to), want = tone(hz < to / 2 ? hz : 0, to);
    EXPECT_EQ(out.sampleRate, to);
    ASSERT_EQ(out.samples.size(), want.samples.size());
    const std::size_t n = want.samples.size();
    for (std::size_t i = n / 8; i < n * 7 / 8; ++i)
      ASSERT_NEAR(out.samples[i], want.samples[i], 10) << hz << " Hz from " << from << " to " << to;
  }
}

}  // namespace
}  // namespace vandrel
