// A machine with no sound device: the server address points at a socket that
// does not exist, and no server may be started on demand. Playing says "No
// Sound Output Device" once and carries on. (An executable of its own: Qt
// looks for the server once per process.)
#include <gtest/gtest.h>
#include <QTest>

#include "../app/ShellFixture.h"
#include "SoundTestKit.h"
#include "app/CChildFrame.h"
#include "app/CMainFrame.h"
#include "app/CommandIds.h"
#include "app/OpenDocument.h"
#include "playback/PlayCommands.h"
#include "playback/SoundOut.h"

namespace vandrel::ui {
namespace {

class NoServerEnvironment : public ::testing::Environment {
 public:
  void SetUp() override {
    ASSERT_TRUE(dir_.isValid());
    soundtest::usePulseServer(dir_.path(), dir_.filePath("absent/native"));
  }
  void TearDown() override {
    EXPECT_FALSE(QFile::exists(dir_.filePath("absent"))) << "a server was started in our name";
  }

 private:
  QTemporaryDir dir_{QDir::tempPath() + "/vandrel-nosound-XXXXXX"};
};

[[maybe_unused]] ::testing::Environment* const gEnv =
    ::testing::AddGlobalTestEnvironment(new NoServerEnvironment);

class NoSoundTest : public test::ShellFixture {};

TEST_F(NoSoundTest, StartInEitherModeSaysNoSoundOutputDeviceAndPlaysNothing) {
  const auto tone = soundtest::fadedTone(440.0, 11025, 0.5);
  for (const bool wholeBlock : {true, false}) {
    SCOPED_TRACE(wholeBlock ? "whole block" : "streamed");
    messages.clear();
    CSoundOut player;
    ASSERT_TRUE(player.SetSource(tone, 0, tone.size(), 11025, wholeBlock, nullptr));
    EXPECT_EQ(player.Start(), kSoundNoError);
    // The message comes once the sound system has given up, not at a fixed time.
    EXPECT_TRUE(QTest::qWaitFor([&] { return !messages.empty(); }, 5000));
    EXPECT_EQ(messages, std::vector<QString>{"No Sound Output Device"});
    EXPECT_FALSE(player.IsPlaying());
    EXPECT_EQ(player.PlayPosition(), 0);
  }
}

// Through the editor's window: Ctrl+1 on a fresh document synthesizes, then
// says there is no device; Ctrl+3 without a recording says nothing.
TEST_F(NoSoundTest, CtrlOneSynthesizesAndSaysNoSoundOutputDevice) {
  CMainFrame frame(environment());
  frame.show();
  CChildFrame* child = frame.newDocument();
  ASSERT_TRUE(QTest::qWaitForWindowActive(&frame));
  OpenDocument& document = child->document();
  ASSERT_TRUE(document.doc().changedSinceSynthesis());

  child->widget()->setFocus();
  QTest::keyClick(QApplication::focusWidget(), Qt::Key_1, Qt::ControlModifier);
  EXPECT_FALSE(document.doc().changedSinceSynthesis());
  EXPECT_FALSE(document.doc().synthesized().empty());
  EXPECT_EQ(messages, std::vector<QString>{"No Sound Output Device"});
  ASSERT_NE(documentPlayer(document), nullptr);
  EXPECT_FALSE(documentPlayer(document)->IsPlaying());

  messages.clear();
  // The progress dialog had the activation; offscreen, nothing hands it back.
  frame.activateWindow();
  ASSERT_TRUE(QTest::qWaitForWindowActive(&frame));
  child->widget()->setFocus();
  ASSERT_NE(QApplication::focusWidget(), nullptr);
  QTest::keyClick(QApplication::focusWidget(), Qt::Key_3, Qt::ControlModifier);
  EXPECT_TRUE(messages.empty());

  // A loop of a "Listen to" signal says the same, and nothing is left to stop.
  frame.action(ID_PLAY_LOOP)->trigger();
  frame.findChild<QAction*>(QStringLiteral("command_%1").arg(ID_LISTEN_TO_FIRST + 1))->trigger();
  EXPECT_EQ(messages, std::vector<QString>{"No Sound Output Device"});
  EXPECT_FALSE(frame.action(ID_PLAY_STOP)->isEnabled());
}

}  // namespace
}  // namespace vandrel::ui
