// Listening through the editor's window against a private sound server: a
// selected stretch, a loop, A/B between the copy and the recording, and the
// synthesizer's signals on their own. What reaches the sink is recorded and
// compared with what should have been played.
#include <gtest/gtest.h>
#include <QAction>
#include <QLabel>
#include <QMdiArea>
#include <QStatusBar>
#include <QTest>

#include <functional>

#include "../app/ShellFixture.h"
#include "SoundTestKit.h"
#include "app/CChildFrame.h"
#include "app/CMainFrame.h"
#include "app/CommandIds.h"
#include "app/OpenDocument.h"
#include "common/Workspace.h"
#include "editing/EditTransaction.h"
#include "playback/ListenTo.h"
#include "playback/Listening.h"
#include "table/CVandrelView.h"

namespace vandrel::ui {
namespace {

using namespace soundtest;

[[maybe_unused]] ::testing::Environment* const gEnv =
    ::testing::AddGlobalTestEnvironment(new PulseTestServer);

// Noise at the sink's own rate: it matches itself at one lag only.
Samples noise(std::uint32_t seed, std::size_t n) {
  Samples out(n);
  for (auto& s : out) {
    seed = seed * 1103515245u + 12345u;
    s = static_cast<std::int16_t>(static_cast<int>((seed >> 16) % 16001u) - 8000);
  }
  return out;
}

int peakOf(const Samples& s) {
  int p = 0;
  for (const auto v : s) p = std::max(p, std::abs(int{v}));
  return p;
}

std::span<const std::int16_t> part(const Samples& s, std::size_t first, std::size_t n) {
  return std::span<const std::int16_t>(s).subspan(first, n);
}

class ListeningTest : public test::ShellFixture {
 protected:
  void SetUp() override {
    ShellFixture::SetUp();
    frame = std::make_unique<CMainFrame>(environment());
    frame->show();
    child = frame->newDocument();
    ASSERT_TRUE(QTest::qWaitForWindowActive(frame.get()));
    ASSERT_TRUE(capture.start()) << "parec recorded nothing from the test sink";
  }
  void TearDown() override {
    capture.stop();
    frame.reset();
    ShellFixture::TearDown();
    EXPECT_TRUE(messages.empty());
  }

  CVandrelDoc& doc() { return child->document().doc(); }
  Listening& listening() { return Listening::of(child->document()); }

  // A synthesized buffer of our own, up to date with a table of its length.
  void setSynthesized(const Samples& s, int rate = kSinkRate) {
    doc().changeParams([&](vandrel::ParameterSet& ps) {
      ps.fileLengthMs = 1000.0 * double(s.size()) / rate;
      ps.frameCount = static_cast<int>(ps.fileLengthMs) / ps.intervalMs;
    });
    doc().replaceTable(vandrel::FrameTable(doc().params().frameCount, doc().params()));
    doc().acceptSynthesis(vandrel::SampleSet{s, double(rate)}, rate);
  }

  static bool waitFor(const std::function<bool()>& done, int limitMs = 8000) {
    const auto end = Clock::now() + std::chrono::milliseconds(limitMs);
    while (!done() && Clock::now() < end) QTest::qWait(5);
    return done();
  }
  Samples finishRecording() {
    QTest::qWait(400);
    capture.stop();
    return capture.samples();
  }
  // Menu items, the "Listen to" choices among them.
  QAction* item(int id) { return frame->findChild<QAction*>(QStringLiteral("command_%1").arg(id)); }
  void trigger(int id) { item(id)->trigger(); }

  std::unique_ptr<CMainFrame> frame;
  CChildFrame* child = nullptr;
  MonitorCapture capture;
};

// 300-500 ms are selected - columns 30..49 of the table, or a drag in the
// spectrogram window in front - and Loop is on: the stretch plays twice in a
// row with nothing from outside it; the table's current column and the play
// head stay inside it; Stop ends it.
class SelectionTest : public ListeningTest, public ::testing::WithParamInterface<bool> {};

TEST_P(SelectionTest, ASelectedStretchLoopsUntilStopped) {
  const Samples sound = noise(7, kSinkRate);
  setSynthesized(sound);
  auto* table = qobject_cast<CVandrelView*>(child->view());
  ASSERT_NE(table, nullptr);
  if (GetParam()) {
    table->selection() = TableSelection::block(30, 5, 49, 5);
    table->showStoredSelection();
  } else {
    frame->runCommand(ID_ANALYSIS_SPECTRO_SYNTH);
    ASSERT_NE(frame->mdiArea()->activeSubWindow(), child);
    Workspace::of(child->document()).setSelection(500, 300);
  }
  const std::size_t first = 300 * kSinkRate / 1000, n = 200 * kSinkRate / 1000;

  trigger(ID_PLAY_LOOP);
  ASSERT_TRUE(frame->action(ID_PLAY_LOOP)->isChecked());
  EXPECT_FALSE(frame->action(ID_PLAY_STOP)->isEnabled());
  trigger(ID_PLAY_CURRENT);
  EXPECT_TRUE(frame->action(ID_PLAY_STOP)->isEnabled());
  double lowMs = 1e9, highMs = -1, lastMs = -1;
  int lowColumn = 1 << 30, highColumn = -1, wraps = 0;
  ASSERT_TRUE(waitFor([&] {
    const double ms = Workspace::of(child->document()).playHeadMs();
    lowMs = std::min(lowMs, ms), highMs = std::max(highMs, ms);
    lowColumn = std::min(lowColumn, table->currentColumn());
    highColumn = std::max(highColumn, table->currentColumn());
    if (ms < lastMs - 50) ++wraps;
    lastMs = ms;
    return wraps >= 2;
  })) << "the play head did not go round twice";
  trigger(ID_PLAY_STOP);
  EXPECT_FALSE(listening().playing());
  EXPECT_LT(Workspace::of(child->document()).playHeadMs(), 0);
  const auto cap = finishRecording();

  EXPECT_GE(lowMs, 300.0);
  EXPECT_LT(highMs, 500.0);
  EXPECT_GT(highMs - lowMs, 100.0) << "the play head did not move";
  EXPECT_GE(lowColumn, 30);
  EXPECT_LE(highColumn, 49);
  const auto lag = firstSound(cap);
  ASSERT_GE(lag, 0) << "nothing reached the sink";
  const auto stretch = part(sound, first, n);
  EXPECT_GT(ncc(cap, stretch, lag, 1, n), 0.999) << "not the selected stretch";
  EXPECT_GT(ncc(cap, stretch, lag + std::int64_t(n), 1, n), 0.999) << "the second pass does not follow";
  EXPECT_LT(std::abs(ncc(cap, part(sound, first - n, n), lag, 1, n)), 0.1);
}

INSTANTIATE_TEST_SUITE_P(Sound, SelectionTest, ::testing::Bool(),
                         [](const auto& info) { return info.param ? "TableColumns" : "SpectrogramRange"; });

// Loop over the whole sound, the copy first; A/B goes over to the recording
// and the recording goes on from the moment the copy had reached, with no
// silence between them; the toolbar says which side is heard. Sides of
// different rates are heard at the higher of the two (the sink's here, so
// what it records is what was played): the lower one taken up to it.
struct ABCase {
  const char* name;
  int copyRate, originalRate;
  const char* copyLabel;
  const char* originalLabel;
};

class ABSwitchTest : public ListeningTest, public ::testing::WithParamInterface<ABCase> {};

TEST_P(ABSwitchTest, GoesOnFromTheSameMomentWithoutABreak) {
  const ABCase& c = GetParam();
  const Samples copy = noise(11, std::size_t(c.copyRate)), original = noise(23, std::size_t(c.originalRate));
  setSynthesized(copy, c.copyRate);
  doc().attachAudio(vandrel::SampleSet{original, double(c.originalRate)});
  // What the sink should hear of each: one second at its rate.
  const Samples heardCopy = atRate(doc().synthesized(), kSinkRate).samples;
  const Samples heardOriginal = atRate(doc().audio(), kSinkRate).samples;
  auto* side = frame->findChild<QLabel*>(QStringLiteral("vandrel-now-playing"));
  ASSERT_NE(side, nullptr);
  trigger(ID_PLAY_LOOP);
  trigger(ID_PLAY_CURRENT);
  EXPECT_EQ(side->text().trimmed(), QString::fromUtf8(c.copyLabel));
  ASSERT_TRUE(waitFor([&] { return listening().player()->PlayPosition() >= kSinkRate / 3; }));
  trigger(ID_PLAY_SWITCH);
  EXPECT_EQ(listening().side(), PlayWhich::Audio);
  EXPECT_EQ(side->text().trimmed(), QString::fromUtf8(c.originalLabel));
  const auto switchedAt = listening().player()->PlayPosition();
  ASSERT_TRUE(waitFor([&] { return listening().player()->PlayPosition() >= switchedAt + kSinkRate / 3; }));
  trigger(ID_PLAY_STOP);
  EXPECT_EQ(side->text(), QString());
  const auto cap = finishRecording();

  const auto lag = firstSound(cap);
  ASSERT_GE(lag, 0);
  ASSERT_GT(ncc(cap, heardCopy, lag, 1, 2048), 0.999);
  // The copy, bit for bit, up to where it stopped; then, with not one
  // sample of silence, the recording from that very sample on.
  std::int64_t end = lag;
  while (end < std::ssize(cap) &&
         cap[std::size_t(end)] == heardCopy[std::size_t(end - lag) % heardCopy.size()])
    ++end;
  ASSERT_LT(end + 2048, std::ssize(cap));
  const std::size_t at = std::size_t(end - lag) % heardCopy.size();
  for (std::size_t k = 0; k < 2048; ++k)
    ASSERT_EQ(cap[std::size_t(end) + k], heardOriginal[(at + k) % heardOriginal.size()])
        << "sample " << k << " after the switch";
}

INSTANTIATE_TEST_SUITE_P(
    Sound, ABSwitchTest,
    ::testing::Values(ABCase{"SameRate", kSinkRate, kSinkRate, "Playing: Current", "Playing: Audio"},
                      ABCase{"RecordingAtHalfRate", kSinkRate, kSinkRate / 2, "Playing: Current",
                             "Playing: Audio (11025 Hz, heard at 22050 Hz)"},
                      ABCase{"CopyAtHalfRate", kSinkRate / 2, kSinkRate,
                             "Playing: Current (11025 Hz, heard at 22050 Hz)", "Playing: Audio"}),
    [](const auto& info) { return std::string(info.param.name); });

// Each "Listen to" choice plays its own signal of the table, leaving the
// synthesized buffer and the undo history alone; frication alone of a table
// without frication is silence. Loud frication alone would clip: it is heard
// at a -1 dBFS peak and the status bar says by how much it was turned down.
TEST_F(ListeningTest, EachListenToChoicePlaysItsSignalAlone) {
  trigger(ID_PLAY_AUDIO);  // nothing to play: the status bar says why
  EXPECT_EQ(frame->statusBar()->currentMessage(),
            QStringLiteral("No audio file is open beside this document"));
  for (const int row : {kAh, kAf, kAb})
    for (int c = 0; c < doc().table().columns(); ++c)
      vandrel::EditTransaction(doc()).setValue(row, c, row == kAf ? 80 : 50);
  doc().notifyCellsChanged(CellRange{kAh, kAb, 0, doc().table().columns() - 1});
  trigger(ID_PLAY_CURRENT);  // the normal output, synthesized first
  ASSERT_TRUE(waitFor([&] { return !listening().playing(); }));
  const SampleSet normal = doc().synthesized();
  const int undoCount = doc().undo().count();

  std::vector<Samples> played;
  for (std::size_t i = 1; i < kListenChoices.size(); ++i) {
    trigger(ID_LISTEN_TO_FIRST + int(i));
    ASSERT_TRUE(waitFor([&] { return !listening().playing(); }));
    played.push_back(listening().soloSet().samples);
    if (kListenChoices[i].select != CKlattEngine::kFrication) continue;
    const double down = listening().soloTurnedDownDb();
    EXPECT_GT(down, 3.0);
    EXPECT_EQ(
        frame->statusBar()->currentMessage(),
        QStringLiteral("Frication noise turned down by %1 dB to keep it from clipping").arg(down, 0, 'f', 1));
  }
  for (int c = 0; c < doc().table().columns(); ++c) vandrel::EditTransaction(doc()).setValue(kAf, c, 0);
  doc().notifyCellsChanged(CellRange{kAf, kAf, 0, doc().table().columns() - 1});
  trigger(ID_LISTEN_TO_FIRST + 3);
  ASSERT_TRUE(waitFor([&] { return !listening().playing(); }));
  const Samples silentFrication = listening().soloSet().samples;
  const auto cap = finishRecording();

  // The choice and Loop belong to the document: another one in front shows
  // its own, and coming back shows this one's again.
  trigger(ID_PLAY_LOOP);
  CChildFrame* other = frame->newDocument();
  EXPECT_TRUE(item(ID_LISTEN_TO_FIRST)->isChecked());
  EXPECT_FALSE(item(ID_PLAY_LOOP)->isChecked());
  frame->mdiArea()->setActiveSubWindow(child);
  EXPECT_TRUE(item(ID_LISTEN_TO_FIRST + 3)->isChecked());
  EXPECT_TRUE(item(ID_PLAY_LOOP)->isChecked());
  EXPECT_FALSE(Workspace::of(other->document()).loop());

  EXPECT_EQ(doc().synthesized(), normal);
  EXPECT_EQ(doc().undo().count(), undoCount);
  EXPECT_LT(peakOf(cap), 32767) << "something clipped on the way";
  EXPECT_TRUE(std::all_of(silentFrication.begin(), silentFrication.end(), [](auto s) { return s == 0; }));
  for (std::size_t i = 0; i < played.size(); ++i) {
    SCOPED_TRACE(kListenChoices[i + 1].label);
    const Samples& s = played[i];
    ASSERT_EQ(s.size(), normal.samples.size());
    EXPECT_LT(std::abs(ncc(s, normal.samples, 0, 1, s.size())), 0.9) << "the same as the whole output";
    // Heard at the sink: it is played at half the sink's rate.
    const auto m = locate(cap, s, 2, std::ssize(cap) / 2, std::ssize(cap) / 2, 512);
    EXPECT_GT(m.ncc, 0.99) << "not found in the recording";
    if (kListenChoices[i + 1].select == CKlattEngine::kFrication) {
      EXPECT_NEAR(peakOf(s), 29204, 30);
    }
  }
}

}  // namespace
}  // namespace vandrel::ui
