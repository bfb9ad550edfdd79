// A machine with no sound device: no server can be reached (the address points
// at a socket that does not exist) and none may be started on demand. Playing
// says "No Sound Output Device" and carries on.
#include <gtest/gtest.h>
#include <QTest>

#include <filesystem>

#include "../app/ShellFixture.h"
#include "PulseTestServer.h"
#include "SignalMatch.h"
#include "app/CChildFrame.h"
#include "app/CMainFrame.h"
#include "app/OpenDocument.h"
#include "common/Messages.h"
#include "playback/PlayCommands.h"
#include "playback/SoundOut.h"

namespace vandrel::ui {
namespace {

class NoServerEnvironment : public ::testing::Environment {
 public:
  void SetUp() override {
    dir_ = soundtest::makeScratchDir("vandrel-nosound");
    ASSERT_FALSE(dir_.empty());
    setenv("PULSE_SERVER", ("unix:" + dir_ + "/absent/native").c_str(), 1);
    setenv("PULSE_CLIENTCONFIG", soundtest::writeClientConfig(dir_).c_str(), 1);
  }
  void TearDown() override {
    // Nothing may have been started in our name.
    EXPECT_FALSE(std::filesystem::exists(dir_ + "/absent"));
    std::filesystem::remove_all(dir_);
  }

 private:
  std::string dir_;
};

[[maybe_unused]] ::testing::Environment* const gEnv =
    ::testing::AddGlobalTestEnvironment(new NoServerEnvironment);

class NoSoundTest : public ::testing::Test {
 protected:
  void SetUp() override {
    setMessagePresenter([this](const MessageRequest& r) {
      messages.push_back(r.text);
      beeps += r.beep ? 1 : 0;
      return QMessageBox::Ok;
    });
  }
  void TearDown() override { setMessagePresenter({}); }

  QStringList messages;
  int beeps = 0;
};

TEST_F(NoSoundTest, StartSaysNoSoundOutputDeviceAndPlaysNothing) {
  const auto tone = soundtest::fadedTone(440.0, 11025, 0.5);
  for (const bool wholeBlock : {true, false}) {
    SCOPED_TRACE(wholeBlock ? "whole block" : "streamed");
    messages.clear();
    beeps = 0;
    CSoundOut player;
    ASSERT_TRUE(player.SetSource(tone, 0, tone.size(), 11025, wholeBlock, nullptr));
    EXPECT_EQ(player.Start(), kSoundNoError);
    QTest::qWait(50);
    EXPECT_EQ(messages, QStringList{"No Sound Output Device"});
    EXPECT_EQ(beeps, 1);
    EXPECT_FALSE(player.IsPlaying());
    EXPECT_EQ(player.PlayPosition(), 0);
    player.Close();
  }
}

// Through the editor's window: Ctrl+1 on a fresh document synthesizes, then
// tells the user there is no device; Ctrl+3 without a recording says nothing.
class NoSoundShellTest : public test::ShellFixture {};

TEST_F(NoSoundShellTest, CtrlOneSynthesizesAndSaysNoSoundOutputDevice) {
  CMainFrame frame(environment());
  frame.show();
  CChildFrame* child = frame.newDocument();
  ASSERT_TRUE(QTest::qWaitForWindowActive(&frame));
  OpenDocument& document = child->document();
  ASSERT_TRUE(document.doc().changedSinceSynthesis);

  child->widget()->setFocus();
  QTest::keyClick(QApplication::focusWidget(), Qt::Key_1, Qt::ControlModifier);
  EXPECT_FALSE(document.doc().changedSinceSynthesis);
  EXPECT_FALSE(document.doc().synthesized.empty());
  EXPECT_EQ(messages, std::vector<QString>{"No Sound Output Device"});
  ASSERT_NE(documentPlayer(document), nullptr);
  EXPECT_FALSE(documentPlayer(document)->IsPlaying());

  messages.clear();
  // The progress dialog had the activation; without a window manager
  // (offscreen) nothing hands it back.
  frame.activateWindow();
  ASSERT_TRUE(QTest::qWaitForWindowActive(&frame));
  child->widget()->setFocus();
  ASSERT_NE(QApplication::focusWidget(), nullptr);
  QTest::keyClick(QApplication::focusWidget(), Qt::Key_3, Qt::ControlModifier);
  EXPECT_TRUE(messages.empty());
}

}  // namespace
}  // namespace vandrel::ui
