// A machine with no sound device: no server can be reached (the address points
// at a socket that does not exist) and none may be started on demand. Playing
// says "No Sound Output Device" and carries on.
#include <QTest>
#include <gtest/gtest.h>

#include <filesystem>

#include "PulseTestServer.h"
#include "SignalMatch.h"
#include "common/Messages.h"
#include "playback/PlayCommand.h"
#include "playback/SoundOut.h"

namespace vandrel::ui {
namespace {

class NoServerEnvironment : public ::testing::Environment {
public:
  void SetUp() override {
    dir_ = test::makeScratchDir("vandrel-nosound");
    ASSERT_FALSE(dir_.empty());
    setenv("PULSE_SERVER", ("unix:" + dir_ + "/absent/native").c_str(), 1);
    setenv("PULSE_CLIENTCONFIG", test::writeClientConfig(dir_).c_str(), 1);
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
  const auto tone = test::fadedTone(440.0, 11025, 0.5);
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

TEST_F(NoSoundTest, PlayCommandsStillSynthesizeAndTellTheUserOnce) {
  CVandrelDoc doc;
  std::unique_ptr<CSoundOut> player;
  EXPECT_EQ(playCommand(doc, PlayWhich::Current, player, nullptr), kSoundNoError);
  EXPECT_FALSE(doc.changedSinceSynthesis);
  EXPECT_FALSE(doc.synthesized.empty());
  EXPECT_EQ(messages, QStringList{"No Sound Output Device"});

  // Playing again replaces the silent player and says it again; an empty set
  // says nothing at all.
  EXPECT_EQ(playCommand(doc, PlayWhich::Previous, player, nullptr), kSoundNoError);
  EXPECT_EQ(playCommand(doc, PlayWhich::Audio, player, nullptr), kSoundNoError);
  EXPECT_EQ(messages, (QStringList{"No Sound Output Device", "No Sound Output Device"}));
}

}  // namespace
}  // namespace vandrel::ui
