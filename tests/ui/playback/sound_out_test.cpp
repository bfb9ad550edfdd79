// CSoundOut and the Play command against a real sound server: what reaches the
// sink is recorded and compared with what was played.
#include <gtest/gtest.h>
#include <QTest>
#include <QWidget>

#include <chrono>
#include <cstdio>
#include <functional>

#include "../app/ShellFixture.h"
#include "PulseTestServer.h"
#include "SignalMatch.h"
#include "app/CChildFrame.h"
#include "app/CMainFrame.h"
#include "app/CommandIds.h"
#include "app/OpenDocument.h"
#include "common/Messages.h"
#include "engine/Synthesizer.h"
#include "playback/PlayCommand.h"
#include "playback/PlayCommands.h"
#include "playback/SoundOut.h"

namespace vandrel::ui {
namespace {

using soundtest::kSinkRate;
using Clock = std::chrono::steady_clock;

soundtest::PulseTestServer* gServer = nullptr;

class PulseEnvironment : public ::testing::Environment {
 public:
  void SetUp() override {
    gServer = &server_;
    const std::string why = server_.start();
    ASSERT_TRUE(why.empty()) << why;
  }
  void TearDown() override { server_.stop(); }

 private:
  soundtest::PulseTestServer server_;
};

[[maybe_unused]] ::testing::Environment* const gEnv =
    ::testing::AddGlobalTestEnvironment(new PulseEnvironment);

// Waits (serving the interface thread's events) until `done` or `ms` passed.
bool waitFor(const std::function<bool()>& done, int ms) {
  const auto end = Clock::now() + std::chrono::milliseconds(ms);
  while (!done()) {
    if (Clock::now() > end) return false;
    QTest::qWait(5);
  }
  return true;
}

class SoundTest : public ::testing::Test {
 protected:
  void SetUp() override {
    setMessagePresenter([this](const MessageRequest& r) {
      messages.push_back(r.text);
      return QMessageBox::Ok;
    });
    ASSERT_TRUE(capture.start()) << "parec recorded nothing from the test sink";
  }
  void TearDown() override {
    capture.stop();
    setMessagePresenter({});
  }

  // Lets the server play out what it holds, then stops recording.
  std::vector<std::int16_t> finishRecording(int settleMs = 400) {
    QTest::qWait(settleMs);
    capture.stop();
    return capture.samples();
  }

  static double ms(Clock::duration d) { return std::chrono::duration<double, std::milli>(d).count(); }

  soundtest::MonitorCapture capture;
  QStringList messages;
};

// ---- CSoundOut ----------------------------------------------------------

TEST_F(SoundTest, WholeBlockPlaysTheSamplesAsGiven) {
  const auto tone = soundtest::fadedTone(440.0, kSinkRate, 1.0);
  CSoundOut player;
  ASSERT_TRUE(player.SetSource(tone, 0, tone.size(), kSinkRate, true, nullptr));
  const auto t = Clock::now();
  ASSERT_EQ(player.Start(), kSoundNoError);
  EXPECT_EQ(player.Restart(), kSoundNoError);
  EXPECT_TRUE(waitFor([&] { return player.PlayPosition() >= static_cast<std::int64_t>(tone.size()); }, 4000))
      << "position stopped at " << player.PlayPosition();
  const auto cap = finishRecording();
  player.Close();

  const auto onset = soundtest::firstSound(cap);
  ASSERT_GE(onset, 0) << "nothing reached the sink";
  const auto m = soundtest::locate(cap, tone, 1, onset, 200, 4096);
  EXPECT_GT(soundtest::ncc(cap, tone, m.lag, 1, tone.size()), 0.9999);
  EXPECT_TRUE(messages.isEmpty()) << messages.join('|').toStdString();
  std::printf("[ whole block ] 440 Hz, 1 s: correlation %.6f; start to sink %.1f ms\n",
              soundtest::ncc(cap, tone, m.lag, 1, tone.size()), ms(capture.timeOf(m.lag) - t));
}

TEST_F(SoundTest, StreamedPlaysEveryBufferInOrderAndKeepsTheLeftoverTail) {
  // 1 s at 22050 Hz is 4.9 buffers of 4515 samples: two written at Start, three
  // refills, the last one 525 slots past the end.
  const auto tone = soundtest::fadedTone(440.0, kSinkRate, 1.0);
  QWidget view;
  view.resize(200, 50);
  CSoundOut player;
  ASSERT_TRUE(player.SetSource(tone, 0, tone.size(), kSinkRate, false, &view));
  ASSERT_EQ(player.SamplesPerBuffer(), 4515);
  player.SetMarker(&view, QRect(10, 5, 100, 20));
  const QRect firstStrip = player.MarkerStrip();

  ASSERT_EQ(player.Start(), kSoundNoError);
  std::vector<int> stripX;
  const bool ended = waitFor(
      [&] {
        const QRect s = player.MarkerStrip();
        if (!s.isNull() && (stripX.empty() || stripX.back() != s.x())) stripX.push_back(s.x());
        return !player.IsPlaying();
      },
      5000);
  EXPECT_TRUE(ended) << "streamed playback did not end by itself; position " << player.PlayPosition();
  const auto cap = finishRecording(200);
  player.Close();

  const auto n = static_cast<std::int64_t>(tone.size());
  const std::int64_t spb = player.SamplesPerBuffer();
  const auto onset = soundtest::firstSound(cap);
  ASSERT_GE(onset, 0) << "nothing reached the sink";
  const auto m = soundtest::locate(cap, tone, 1, onset, 200, 4096);
  const double whole = soundtest::ncc(cap, tone, m.lag, 1, tone.size());
  EXPECT_GT(whole, 0.9999);

  // The slots of the last buffer past the end still hold what that buffer
  // carried two buffers earlier, and they are played.
  const std::int64_t buffers = (n + spb - 1) / spb;
  const std::int64_t tail = buffers * spb - n;
  ASSERT_GT(tail, 0);
  const std::span<const std::int16_t> earlier(tone.data() + n - 2 * spb, static_cast<std::size_t>(tail));
  const double tailMatch = soundtest::ncc(cap, earlier, m.lag + n, 1, earlier.size());
  EXPECT_GT(tailMatch, 0.999);
  EXPECT_EQ(player.RefillCount(), buffers - 2);

  // The marker starts at the rectangle's left edge and moves right by one step
  // for each buffer heard but the last (playback ends there), without leaving
  // the rectangle.
  EXPECT_EQ(firstStrip, QRect(10, 5, 1, 20));
  ASSERT_FALSE(stripX.empty());
  EXPECT_TRUE(std::is_sorted(stripX.begin(), stripX.end()));
  EXPECT_GE(stripX.front(), 10);
  EXPECT_LT(stripX.back(), 110);
  EXPECT_EQ(static_cast<std::int64_t>(stripX.size()), buffers);
  EXPECT_TRUE(messages.isEmpty()) << messages.join('|').toStdString();
  std::printf("[ streamed ] 440 Hz, 1 s: correlation %.6f, tail %.6f, refills %d\n", whole, tailMatch,
              player.RefillCount());
}

TEST_F(SoundTest, PauseHoldsTheSoundAndRestartGoesOnFromTheSameSample) {
  const auto tone = soundtest::fadedTone(523.0, kSinkRate, 1.2);
  CSoundOut player;
  ASSERT_TRUE(player.SetSource(tone, 0, tone.size(), kSinkRate, true, nullptr));
  ASSERT_EQ(player.Start(), kSoundNoError);
  ASSERT_TRUE(waitFor([&] { return player.PlayPosition() >= kSinkRate / 3; }, 3000));
  EXPECT_EQ(player.Pause(), kSoundNoError);
  QTest::qWait(400);
  EXPECT_EQ(player.Restart(), kSoundNoError);
  EXPECT_TRUE(waitFor([&] { return player.PlayPosition() >= static_cast<std::int64_t>(tone.size()); }, 4000));
  const auto cap = finishRecording();
  player.Close();

  // The longest run of silence inside the sound is the pause; without it the
  // recording is the tone, every sample once.
  const auto onset = soundtest::firstSound(cap);
  ASSERT_GE(onset, 0);
  std::size_t gapStart = 0, gapLength = 0;
  for (std::size_t i = static_cast<std::size_t>(onset); i < cap.size();) {
    std::size_t j = i;
    while (j < cap.size() && cap[j] == 0) ++j;
    if (j < cap.size() && j - i > gapLength) {
      gapStart = i;
      gapLength = j - i;
    }
    i = j + 1;
  }
  EXPECT_GT(gapLength, static_cast<std::size_t>(kSinkRate / 4)) << "the pause left no silence";
  std::vector<std::int16_t> joined(cap.begin(), cap.begin() + static_cast<std::ptrdiff_t>(gapStart));
  joined.insert(joined.end(), cap.begin() + static_cast<std::ptrdiff_t>(gapStart + gapLength), cap.end());
  const auto m = soundtest::locate(joined, tone, 1, onset, 200, 4096);
  const double c = soundtest::ncc(joined, tone, m.lag, 1, tone.size());
  EXPECT_GT(c, 0.999);
  EXPECT_TRUE(messages.isEmpty()) << messages.join('|').toStdString();
  std::printf("[ pause ] silence of %.0f ms; without it, correlation %.6f\n",
              1000.0 * static_cast<double>(gapLength) / kSinkRate, c);
}

TEST_F(SoundTest, AFormatTheDeviceRefusesSaysCannotOpenDevice) {
  const std::vector<std::int16_t> samples(100, 1000);
  CSoundOut player;
  ASSERT_TRUE(player.SetSource(samples, 0, samples.size(), 0, true, nullptr));
  EXPECT_EQ(player.Start(), kSoundBadFormat);
  EXPECT_EQ(messages, QStringList{"Sound output Cannot Open Device!"});
  EXPECT_FALSE(player.IsPlaying());
}

// ---- The Play command ---------------------------------------------------

TEST_F(SoundTest, PlayCurrentAfterAnEditSynthesizesFirst) {
  CVandrelDoc doc;
  ASSERT_TRUE(synthesize(doc));
  const SampleSet before = doc.synthesized;
  for (int c = 0; c < doc.table.columns(); ++c) doc.table.setValue(kF1, c, 750.0);
  doc.changedSinceSynthesis = true;  // what every table edit leaves behind

  std::unique_ptr<CSoundOut> player;
  ASSERT_EQ(playCommand(doc, PlayWhich::Current, player, nullptr), kSoundNoError);
  EXPECT_FALSE(doc.changedSinceSynthesis);
  EXPECT_NE(doc.synthesized.samples, before.samples);
  EXPECT_EQ(doc.previous, before);
  ASSERT_TRUE(player);
  EXPECT_EQ(player->SampleRate(), 11025);

  const auto& played = doc.synthesized.samples;
  EXPECT_TRUE(
      waitFor([&] { return player->PlayPosition() >= static_cast<std::int64_t>(played.size()); }, 3000));
  const auto cap = finishRecording();
  player.reset();

  // The server resamples 11025 Hz to the sink's 22050 Hz: compare every second
  // recorded sample with the new buffer, and make sure it is not the old one.
  const auto onset = soundtest::firstSound(cap);
  ASSERT_GE(onset, 0) << "nothing reached the sink";
  const auto m = soundtest::locate(cap, played, 2, onset, 200, 1024);
  const double now = soundtest::ncc(cap, played, m.lag, 2, played.size());
  const double old = soundtest::ncc(cap, before.samples, m.lag, 2, before.samples.size());
  EXPECT_GT(now, 0.95);
  EXPECT_LT(old, now - 0.1);
  EXPECT_TRUE(messages.isEmpty()) << messages.join('|').toStdString();
  std::printf("[ play current ] 11025 Hz vowel: correlation %.4f with the new buffer, %.4f with the old\n",
              now, old);
}

TEST_F(SoundTest, PlayDuringPlaybackStopsTheFirstSoundAndStartsTheSecondFromItsBeginning) {
  CVandrelDoc doc;
  doc.audio.samples = soundtest::fadedTone(440.0, kSinkRate, 3.0);
  doc.audio.sampleRate = kSinkRate;
  doc.previous.samples = soundtest::fadedTone(659.0, kSinkRate, 0.6, 9000.0);
  doc.previous.sampleRate = kSinkRate;
  const auto& first = doc.audio.samples;
  const auto& second = doc.previous.samples;

  std::unique_ptr<CSoundOut> player;
  ASSERT_EQ(playCommand(doc, PlayWhich::Audio, player, nullptr), kSoundNoError);
  ASSERT_TRUE(waitFor([&] { return player->PlayPosition() >= kSinkRate / 2; }, 3000));
  ASSERT_EQ(playCommand(doc, PlayWhich::Previous, player, nullptr), kSoundNoError);
  EXPECT_TRUE(
      waitFor([&] { return player->PlayPosition() >= static_cast<std::int64_t>(second.size()); }, 3000));
  const auto cap = finishRecording(600);
  player.reset();

  const auto onset1 = soundtest::firstSound(cap);
  ASSERT_GE(onset1, 0);
  const auto m1 = soundtest::locate(cap, first, 1, onset1, 200, 4096);
  ASSERT_GT(m1.ncc, 0.999);
  // The second sound begins where the first stops; search after its start.
  soundtest::Match m2;
  for (std::int64_t lag = m1.lag + kSinkRate / 4; lag < static_cast<std::int64_t>(cap.size()); lag += 64) {
    const auto c = soundtest::locate(cap, second, 1, lag, 32, 2048);
    if (c.ncc > m2.ncc) m2 = c;
    if (m2.ncc > 0.999) break;
  }
  ASSERT_GT(m2.ncc, 0.99) << "the second sound's beginning is not in the recording";
  m2 = soundtest::locate(cap, second, 1, m2.lag, 64, second.size());

  const auto playedFirst = m2.lag - m1.lag;
  EXPECT_LT(playedFirst, static_cast<std::int64_t>(first.size())) << "the first sound was not cut";
  // Until the second starts the recording is the first from its beginning;
  // from then on it is the second alone (no mixing with the first) ...
  EXPECT_GT(soundtest::ncc(cap, first, m1.lag, 1, static_cast<std::size_t>(playedFirst) - 2048), 0.999);
  EXPECT_GT(m2.ncc, 0.999);
  // ... and after it, silence: the first sound did not come back.
  const auto after = m2.lag + static_cast<std::int64_t>(second.size());
  EXPECT_EQ(soundtest::firstSound(cap, after + 64), -1);
  EXPECT_TRUE(messages.isEmpty()) << messages.join('|').toStdString();
  std::printf("[ replay ] first cut after %.0f ms; second from its start, correlation %.6f\n",
              1000.0 * static_cast<double>(playedFirst) / kSinkRate, m2.ncc);
}

TEST_F(SoundTest, EmptySetPlaysNothingAndSaysNothing) {
  CVandrelDoc doc;  // no audio file opened
  std::unique_ptr<CSoundOut> player;
  EXPECT_EQ(playCommand(doc, PlayWhich::Audio, player, nullptr), kSoundNoError);
  ASSERT_TRUE(player);
  EXPECT_FALSE(player->IsPlaying());
  const auto cap = finishRecording(300);
  EXPECT_EQ(soundtest::firstSound(cap), -1);
  EXPECT_TRUE(messages.isEmpty()) << messages.join('|').toStdString();
}

// Play Current on a 10-second table, from the command to the first sample at
// the sink, synthesis included. Reported, not asserted.
TEST_F(SoundTest, TenSecondTableStartLatency) {
  CVandrelDoc doc;
  doc.params().fileLengthMs = 10000.0;
  doc.params().frameCount = 1000;
  doc.table.reset(1000, doc.params());
  doc.changedSinceSynthesis = true;

  CVandrelDoc alone = doc;  // the synthesis by itself, for the report
  const auto s0 = Clock::now();
  synthesize(alone);
  const double synthesisMs = ms(Clock::now() - s0);

  std::unique_ptr<CSoundOut> player;
  const auto t0 = Clock::now();
  ASSERT_EQ(playCommand(doc, PlayWhich::Current, player, nullptr), kSoundNoError);
  const auto t1 = Clock::now();
  ASSERT_EQ(doc.synthesized.samples.size(), 110250u);
  waitFor([&] { return player->PlayPosition() >= 11025; }, 3000);
  const auto cap = finishRecording(100);
  player.reset();

  const auto& played = doc.synthesized.samples;
  const auto onset = soundtest::firstSound(cap);
  ASSERT_GE(onset, 0) << "nothing reached the sink";
  const auto m = soundtest::locate(cap, played, 2, onset, 200, 2048);
  EXPECT_GT(soundtest::ncc(cap, played, m.lag, 2, 8000), 0.95);
  const double latency = ms(capture.timeOf(m.lag) - t0);
  std::printf(
      "[ latency ] 10 s table: synthesis alone %.1f ms; command returned after %.1f ms; first sample at "
      "the sink after %.1f ms (correlation %.4f)\n",
      synthesisMs, ms(t1 - t0), latency, m.ncc);
  RecordProperty("start_latency_ms", std::to_string(latency));
}

// The same through the editor's window: Play Current (Ctrl+1) on a 10-second
// document, progress dialog included; then Play Audio replaces it at once.
class PlayShellTest : public test::ShellFixture {};

TEST_F(PlayShellTest, PlayCurrentFromTheWindowAndItsStartLatency) {
  CMainFrame frame(environment());
  frame.show();
  CChildFrame* child = frame.newDocument();
  ASSERT_TRUE(QTest::qWaitForWindowActive(&frame));
  CVandrelDoc& doc = child->document().doc();
  doc.params().fileLengthMs = 10000.0;
  doc.params().frameCount = 1000;
  doc.table.reset(1000, doc.params());
  doc.changedSinceSynthesis = true;

  soundtest::MonitorCapture capture;
  ASSERT_TRUE(capture.start());
  const auto t0 = Clock::now();
  frame.runCommand(ID_PLAY_CURRENT);
  const auto t1 = Clock::now();
  CSoundOut* player = documentPlayer(child->document());
  ASSERT_NE(player, nullptr);
  EXPECT_FALSE(doc.changedSinceSynthesis);
  waitFor([&] { return player->PlayPosition() >= 11025; }, 3000);
  frame.runCommand(ID_PLAY_AUDIO);  // no recording: the sound stops, nothing follows
  QTest::qWait(300);
  capture.stop();
  const auto cap = capture.samples();

  const auto& played = doc.synthesized.samples;
  const auto onset = soundtest::firstSound(cap);
  ASSERT_GE(onset, 0) << "nothing reached the sink";
  const auto m = soundtest::locate(cap, played, 2, onset, 200, 2048);
  EXPECT_GT(soundtest::ncc(cap, played, m.lag, 2, 8000), 0.95);
  const auto lastSound = [&] {
    for (auto i = static_cast<std::int64_t>(cap.size()) - 1; i >= 0; --i)
      if (cap[static_cast<std::size_t>(i)] != 0) return i;
    return std::int64_t{-1};
  }();
  EXPECT_LT(lastSound - m.lag, 2 * 22050) << "Play Audio did not stop the running sound";
  EXPECT_TRUE(messages.empty());
  const double latency = std::chrono::duration<double, std::milli>(capture.timeOf(m.lag) - t0).count();
  std::printf(
      "[ latency ] 10 s table through the window: command returned after %.1f ms; first sample at the "
      "sink after %.1f ms\n",
      std::chrono::duration<double, std::milli>(t1 - t0).count(), latency);
  RecordProperty("window_start_latency_ms", std::to_string(latency));
}

}  // namespace
}  // namespace vandrel::ui
