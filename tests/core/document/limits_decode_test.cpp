// The readers' limits: files too long, too large or too strange to read
// whole are refused with a message that says which limit, before memory
// runs out; a WAV that holds less than its header announces is read as far
// as it goes, with a note for the status bar.

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "SndfileDecoder.h"
#include "audio/Wave.h"
#include "config/ConfigFile.h"
#include "document/OpenFile.h"
#include "document/VandrelDoc.h"
#include "document/VdrFile.h"
#include "editing/AdjustTime.h"
#include "util/AtomicFile.h"

namespace vandrel {
namespace {

namespace fs = std::filesystem;

std::string le32(std::uint32_t v) {
  std::string s;
  for (int i = 0; i < 4; ++i) s.push_back(static_cast<char>((v >> (8 * i)) & 0xFF));
  return s;
}

// `samples` frames of silence at `rate` Hz; `bits` 16 (PCM) or 32 (float).
std::string wav(std::uint32_t rate, std::uint32_t samples, int bits) {
  const std::uint32_t bytes = samples * static_cast<std::uint32_t>(bits / 8);
  const std::string tagChannels = bits == 16 ? std::string("\1\0\1\0", 4) : std::string("\3\0\1\0", 4);
  const std::string alignBits =
      std::string(1, static_cast<char>(bits / 8)) + '\0' + static_cast<char>(bits) + '\0';
  return "RIFF" + le32(36 + bytes) + "WAVEfmt " + le32(16) + tagChannels + le32(rate) +
         le32(rate * static_cast<std::uint32_t>(bits / 8)) + alignBits + "data" + le32(bytes) +
         std::string(bytes, '\0');
}

class ReaderLimits : public ::testing::Test {
 protected:
  void SetUp() override { fs::create_directories(dir); }
  void TearDown() override { fs::remove_all(dir); }
  std::string file(const std::string& name, const std::string& bytes) {
    EXPECT_EQ(writeFileAtomically((dir / name).string(), bytes), "");
    return (dir / name).string();
  }
  // The process's own: the tests run side by side, and one's TearDown must not
  // take the other's files.
  const fs::path dir = fs::temp_directory_path() / ("vandrel-limits-test-" + std::to_string(::getpid()));
};

TEST_F(ReaderLimits, RefusedWithTheLimitInTheMessage) {
  // A recording at 1 Hz makes an hour from 3600 samples.
  const std::string sparse = (dir / "huge.wav").string();
  { std::ofstream(sparse) << "RIFF"; }
  fs::resize_file(sparse, kMaxAudioFileBytes + 1);  // sparse: no disk is used
  struct Case {
    std::string path;
    std::string message;    // empty: opened
    std::string note = "";  // for the status bar: a WAV that holds less than it announces
  } cases[] = {
      {VANDREL_TEST_DATA "/vdr/limit_frames.vdr",
       "This table has 1000001 frames; Vandrel opens tables of at most 1000000 frames (10000 s at 10 ms). "
       "Nothing was opened."},
      {file("hour.wav", wav(1, 3600, 16)), ""},
      {VANDREL_TEST_DATA "/wav/data_longer_than_file.wav", "",
       "data_longer_than_file.wav is cut short: its header announces 50000 samples, it holds 8."},
      {file("hour_and_a_bit.wav", wav(1, 3660, 16)),
       "The recording in hour_and_a_bit.wav lasts 61 minutes; Vandrel opens recordings of at most one hour. "
       "Nothing was opened."},
      {file("float_hour.wav", wav(1, 3600, 32)), ""},
      {file("float_two_hours.wav", wav(1, 7200, 32)),
       "The recording in float_two_hours.wav lasts 120 minutes; Vandrel opens recordings of at most one "
       "hour. Nothing was opened."},
      {sparse, "Cannot open " + sparse + ": the file is larger than 2 GB."},
      // 21 bytes that libsndfile would read as a million frames, printing a
      // line on standard output for every damaged block
      {VANDREL_TEST_DATA "/audio/damaged_sample_dump.sds", std::string(kMsgFileTypeNotRecognized)},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.path);
    ::testing::internal::CaptureStdout();
    const OpenedFile f = readAnyFile(c.path, sndfileDecoder(), ParameterSet{});
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(f.message, c.message);
    EXPECT_EQ(f.ok(), c.message.empty());
    EXPECT_EQ(f.note, c.note);
  }

  std::string longLine = std::string(kMaxVdrLineBytes + 1, '1') + "\r\n";
  EXPECT_EQ(parseVdr(longLine, ParameterSet{}).message(),
            "Line 1 of this file is longer than 1 MB. It is not a parameter file; nothing was opened.");
  longLine.erase(0, 1);  // exactly 1 MB: an ordinary refusal
  EXPECT_EQ(parseVdr(longLine, ParameterSet{}).message(), kMsgFileTypeNotRecognized);

  for (const char* cfg : {"length_1e300.cfg", "length_beyond_limit.cfg"}) {
    ConfigRecord r;
    EXPECT_EQ(loadConfigFile(std::string(VANDREL_TEST_DATA "/config/") + cfg, r), ConfigStatus::kBadField)
        << cfg;
  }
}

// Lengthening the table by typing a huge length or time to add is refused
// the same way, before anything changes.
TEST_F(ReaderLimits, EditsStopAtTheFrameLimit) {
  CVandrelDoc doc;
  TableSelection selection;
  const std::string before = writeVdr(doc, VdrKind::kAllParameters);
  const UserMessages longer = changeFileLength(doc, 2'000'000'000);
  ASSERT_EQ(longer.size(), 1u);
  EXPECT_EQ(longer[0].text, tooManyFramesMessage(200'000'000));
  doc.setAddColumnTimeMs(10'000'000);
  ASSERT_EQ(addTime(doc, selection).size(), 1u);
  EXPECT_EQ(addTime(doc, selection)[0].text, tooManyFramesMessage(1'000'020));
  EXPECT_EQ(writeVdr(doc, VdrKind::kAllParameters), before);
}

}  // namespace
}  // namespace vandrel
