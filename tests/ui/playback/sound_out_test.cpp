// CSoundOut and the Play command against a private sound server: what reaches
// the sink is recorded and compared with what was played.
#include <gtest/gtest.h>
#include <QTest>
#include <QWidget>

#include <functional>
#include <memory>
#include <tuple>

#include "../app/ShellFixture.h"
#include "SoundTestKit.h"
#include "editing/EditTransaction.h"
#include "engine/Synthesizer.h"
#include "playback/PlayCommand.h"
#include "playback/SoundOut.h"

namespace vandrel::ui {
namespace {

using namespace soundtest;

[[maybe_unused]] ::testing::Environment* const gEnv =
    ::testing::AddGlobalTestEnvironment(new PulseTestServer);

// Messages are collected by the shell's fixture; a sound test expects none.
class SoundTest : public test::ShellFixture {
 protected:
  void SetUp() override {
    ShellFixture::SetUp();
    ASSERT_TRUE(capture.start()) << "parec recorded nothing from the test sink";
  }
  void TearDown() override {
    capture.stop();
    ShellFixture::TearDown();
    EXPECT_TRUE(messages.empty());
  }

  // Serves the interface thread's events until `done`; false if it never came
  // (the time limit only keeps a broken player from hanging the test).
  static bool waitFor(const std::function<bool()>& done, int limitMs = 5000) {
    const auto end = Clock::now() + std::chrono::milliseconds(limitMs);
    while (!done() && Clock::now() < end) QTest::qWait(5);
    return done();
  }

  // Lets the server play out what it holds, then stops recording.
  Samples finishRecording(int settleMs = 400) {
    QTest::qWait(settleMs);
    capture.stop();
    return capture.samples();
  }

  MonitorCapture capture;
};

// A known buffer played as a whole block and streamed: a 440 Hz tone at the
// sink's rate, and the default table synthesized (a vowel at 11025 Hz).
class KnownBufferTest : public SoundTest, public ::testing::WithParamInterface<std::tuple<bool, bool>> {};

TEST_P(KnownBufferTest, ReachesTheSinkAsGiven) {
  const auto [vowel, wholeBlock] = GetParam();
  Samples sound = fadedTone(440.0, kSinkRate, 1.0);
  int rate = kSinkRate;
  if (vowel) {
    CVandrelDoc doc;  // the default table stretched to 1 s: five streamed buffers
    doc.newTable(100, 10);
    ASSERT_TRUE(synthesize(doc));
    sound = doc.synthesized().samples;
    rate = static_cast<int>(doc.synthesized().sampleRate);
  }
  const int step = kSinkRate / rate;
  const auto n = std::ssize(sound);

  QWidget view;
  CSoundOut player;
  ASSERT_TRUE(player.SetSource(sound, 0, sound.size(), rate, wholeBlock, &view));
  player.SetMarker(&view, QRect(10, 5, 100, 20));
  ASSERT_EQ(player.Start(), kSoundNoError);
  EXPECT_EQ(player.Restart(), kSoundNoError);  // Play's Restart leaves a running sound alone
  // A stream ends by itself; a whole block plays on to its end.
  EXPECT_TRUE(waitFor([&] { return wholeBlock ? player.PlayPosition() >= n : !player.IsPlaying(); }))
      << "position stopped at " << player.PlayPosition();
  const auto cap = finishRecording();
  player.Close();

  const auto onset = firstSound(cap);
  ASSERT_GE(onset, 0) << "nothing reached the sink";
  const auto m = locate(cap, sound, step, onset, 200, static_cast<std::size_t>(4096 / step));
  EXPECT_GT(ncc(cap, sound, m.lag, step, sound.size()), 0.9999);

  // Streamed: two buffers are written at Start and one per refill. The slots
  // of the last buffer past the end still hold what it carried two buffers
  // earlier, and they are played. The marker steps right, inside its rectangle.
  const std::int64_t spb = player.SamplesPerBuffer(), buffers = (n + spb - 1) / spb, tail = buffers * spb - n;
  if (!wholeBlock) {
    ASSERT_TRUE(buffers >= 3 && tail > 0) << buffers << " buffers, tail " << tail;
    const std::span<const std::int16_t> earlier(sound.data() + n - 2 * spb, static_cast<std::size_t>(tail));
    EXPECT_GT(ncc(cap, earlier, m.lag + n * step, step, earlier.size()),
              step == 1 ? 0.999 : 0.95);  // resampling blurs the last samples
    EXPECT_EQ(player.RefillCount(), buffers - 2);
    EXPECT_TRUE(player.MarkerStrip().x() > 10 && player.MarkerStrip().x() < 110) << player.MarkerStrip().x();
  } else {
    EXPECT_EQ(player.RefillCount(), 0);
    EXPECT_EQ(player.MarkerStrip(), QRect(10, 5, 1, 20));  // a whole block has no marker steps
  }
}

INSTANTIATE_TEST_SUITE_P(Sound, KnownBufferTest, ::testing::Combine(::testing::Bool(), ::testing::Bool()),
                         [](const auto& info) {
                           return std::string(std::get<0>(info.param) ? "Vowel" : "Tone440") +
                                  (std::get<1>(info.param) ? "WholeBlock" : "Streamed");
                         });

TEST_F(SoundTest, AFormatTheDeviceRefusesSaysCannotOpenDevice) {
  const Samples samples(100, 1000);
  CSoundOut player;
  ASSERT_TRUE(player.SetSource(samples, 0, samples.size(), 0, true, nullptr));
  EXPECT_EQ(player.Start(), kSoundBadFormat);
  EXPECT_FALSE(player.IsPlaying());
  EXPECT_EQ(messages, std::vector<QString>{"Sound output Cannot Open Device!"});
  messages.clear();
}

// The user listens to a sound, edits the table and presses Play Current: the
// table is synthesized first, the running sound stops, and the new synthesis
// (not the old one) plays from its beginning, once.
TEST_F(SoundTest, PlayCurrentDuringPlaybackSynthesizesTheEditAndReplacesTheSound) {
  CVandrelDoc doc;
  ASSERT_TRUE(synthesize(doc));
  const SampleSet before = doc.synthesized();
  doc.acceptSynthesis(SampleSet{fadedTone(440.0, kSinkRate, 3.0), kSinkRate}, kSinkRate);  // the tone, and
  doc.acceptSynthesis(before, before.sampleRate);  // behind it the synthesis: the tone is the previous sound
  const Samples first = doc.previous().samples;

  std::unique_ptr<CSoundOut> player;
  ASSERT_EQ(playCommand(doc, PlayWhich::Previous, player, nullptr), kSoundNoError);
  ASSERT_TRUE(waitFor([&] { return player->PlayPosition() >= kSinkRate / 2; }));
  for (int c = 0; c < doc.table().columns(); ++c) vandrel::EditTransaction(doc).setValue(kF1, c, 750.0);
  doc.markDueForSynthesis();  // what every table edit leaves behind
  ASSERT_EQ(playCommand(doc, PlayWhich::Current, player, nullptr), kSoundNoError);
  EXPECT_FALSE(doc.changedSinceSynthesis());
  EXPECT_EQ(doc.previous(), before);
  const auto& second = doc.synthesized().samples;
  EXPECT_TRUE(waitFor([&] { return player->PlayPosition() >= std::ssize(second); }));
  const auto cap = finishRecording(600);
  player.reset();

  const auto m1 = locate(cap, first, 1, firstSound(cap), 200, 4096);
  ASSERT_GT(m1.ncc, 0.999);
  // The second sound begins where the first stops: look for it after that.
  Match m2;
  for (auto lag = m1.lag + kSinkRate / 4; lag < std::ssize(cap) && m2.ncc <= 0.999; lag += 64)
    if (const auto c = locate(cap, second, 2, lag, 32, 1024); c.ncc > m2.ncc) m2 = c;
  ASSERT_GT(m2.ncc, 0.99) << "the new sound's beginning is not in the recording";
  m2 = locate(cap, second, 2, m2.lag, 64, second.size());
  const double old = ncc(cap, before.samples, m2.lag, 2, before.samples.size());

  // The first sound from its beginning, cut short; then the new one alone,
  // whole; then silence.
  const auto playedFirst = m2.lag - m1.lag;
  EXPECT_LT(playedFirst, std::ssize(first)) << "the first sound was not cut";
  EXPECT_GT(ncc(cap, first, m1.lag, 1, static_cast<std::size_t>(playedFirst) - 2048), 0.999);
  EXPECT_GT(m2.ncc, 0.999);
  EXPECT_LT(old, m2.ncc - 0.1) << "the old synthesis was played";
  EXPECT_EQ(firstSound(cap, m2.lag + 2 * std::ssize(second) + 256), -1) << "a sound came back";
}

}  // namespace
}  // namespace vandrel::ui
