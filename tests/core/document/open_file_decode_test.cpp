// Opening audio: the WAV reader for 16-bit mono PCM, the libsndfile decoder
// for everything else. The WAV files are put together byte by byte here, so
// the expected samples come from the bytes, not from a decoder.

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "SndfileDecoder.h"
#include "document/OpenFile.h"
#include "document/VandrelDoc.h"
#include "util/AtomicFile.h"

namespace vandrel {
namespace {

namespace fs = std::filesystem;

void put16(std::string& s, std::uint32_t v) {
  s.push_back(static_cast<char>(v & 0xFF));
  s.push_back(static_cast<char>((v >> 8) & 0xFF));
}
void put32(std::string& s, std::uint32_t v) {
  put16(s, v & 0xFFFF);
  put16(s, v >> 16);
}

// A canonical RIFF/WAVE file around `data`.
std::string wav(std::uint16_t tag, std::uint16_t channels, std::uint32_t rate, std::uint16_t bits,
                const std::string& data) {
  std::string s = "RIFF";
  put32(s, static_cast<std::uint32_t>(36 + data.size()));
  s += "WAVEfmt ";
  put32(s, 16);
  put16(s, tag);
  put16(s, channels);
  put32(s, rate);
  put32(s, rate * channels * bits / 8);
  put16(s, static_cast<std::uint16_t>(channels * bits / 8));
  put16(s, bits);
  if (tag == 3) {  // float files carry a fact chunk
    s += "fact";
    put32(s, 4);
    put32(s, static_cast<std::uint32_t>(data.size() / (channels * bits / 8)));
  }
  s += "data";
  put32(s, static_cast<std::uint32_t>(data.size()));
  return s + data;
}

std::string pcm16(const std::vector<int>& v) {
  std::string s;
  for (int x : v) put16(s, static_cast<std::uint32_t>(x) & 0xFFFF);
  return s;
}
std::string pcm24(const std::vector<int>& v) {
  std::string s;
  for (int x : v) {
    const auto u = static_cast<std::uint32_t>(x);
    s.push_back(static_cast<char>(u & 0xFF));
    s.push_back(static_cast<char>((u >> 8) & 0xFF));
    s.push_back(static_cast<char>((u >> 16) & 0xFF));
  }
  return s;
}
std::string float32(const std::vector<float>& v) {
  std::string s;
  for (float x : v) {
    std::uint32_t u = 0;
    std::memcpy(&u, &x, 4);
    put32(s, u);
  }
  return s;
}

class OpenAudioTest : public testing::Test {
 protected:
  void SetUp() override {
    dir_ = fs::temp_directory_path() /
           ("vandrel-open-" + std::string(testing::UnitTest::GetInstance()->current_test_info()->name()));
    fs::create_directories(dir_);
  }
  void TearDown() override { fs::remove_all(dir_); }

  std::string file(const std::string& name, const std::string& bytes) {
    const std::string path = (dir_ / name).string();
    EXPECT_EQ(writeFileAtomically(path, bytes), "");
    return path;
  }

  fs::path dir_;
};

std::vector<std::int16_t> s16(const std::vector<int>& v) { return {v.begin(), v.end()}; }

TEST_F(OpenAudioTest, EachFormatDecodesToSixteenBitMono) {
  struct Case {
    const char* what;
    std::string bytes;
    OpenedBy by;
    double rate;
    std::vector<std::int16_t> samples;
  };
  const Case cases[] = {
      {"16-bit mono PCM: the WAV reader", wav(1, 1, 16000, 16, pcm16({0, 1, -1, 32767, -32768, 1234})),
       OpenedBy::kWaveReader, 16000.0, s16({0, 1, -1, 32767, -32768, 1234})},
      // 24-bit steps are 1/256 of a 16-bit step: rounded, the top clipped.
      {"24-bit mono", wav(1, 1, 44100, 24, pcm24({0, 256, 0x7FFFFF, -8388608, 256 * 100 + 128, -256 * 7})),
       OpenedBy::kSecondCheck, 44100.0, s16({0, 1, 32767, -32768, 101, -7})},
      {"32-bit float, clipped not wrapped", wav(3, 1, 22050, 32, float32({0.5f, -0.25f, 1.5f, -2.0f, 0.0f})),
       OpenedBy::kSecondCheck, 22050.0, s16({16384, -8192, 32767, -32768, 0})},
      {"16-bit stereo, channels averaged",
       wav(1, 2, 8000, 16, pcm16({1000, 3000, 32767, 32767, -32768, -32768, 100, -100})),
       OpenedBy::kSecondCheck, 8000.0, s16({2000, 32767, -32768, 0})},
      {"8-bit unsigned", wav(1, 1, 11025, 8, std::string("\x80\xFF\x00\xC0", 4)), OpenedBy::kSecondCheck,
       11025.0, s16({0, 32512, -32768, 16384})},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    const OpenedFile f = readAnyFile(file("a.wav", c.bytes), sndfileDecoder(), ParameterSet{});
    ASSERT_EQ(f.kind, OpenedKind::kAudio) << f.message;
    EXPECT_EQ(f.by, c.by);
    EXPECT_EQ(f.audio.sampleRate, c.rate);
    EXPECT_EQ(f.audio.samples, c.samples);
    EXPECT_EQ(f.audio.sampleCount, static_cast<double>(c.samples.size()));
  }
}

// FLAC and AIFF fixtures hold the 16-bit pattern ((i * 7919) mod 65536) - 32768
// at 16 kHz, 480 samples; both are lossless, so it comes back exactly.
TEST_F(OpenAudioTest, LosslessFixtures) {
  std::vector<std::int16_t> pattern;
  for (int i = 0; i < 480; ++i) pattern.push_back(static_cast<std::int16_t>((i * 7919) % 65536 - 32768));
  for (const char* name : {"pattern_16k.flac", "pattern_16k.aiff"}) {
    SCOPED_TRACE(name);
    const OpenedFile f =
        readAnyFile(std::string(VANDREL_TEST_DATA "/audio/") + name, sndfileDecoder(), ParameterSet{});
    ASSERT_EQ(f.kind, OpenedKind::kAudio) << f.message;
    EXPECT_EQ(f.by, OpenedBy::kSecondCheck);
    EXPECT_EQ(f.audio.sampleRate, 16000.0);
    EXPECT_EQ(f.audio.samples, pattern);
  }
}

TEST_F(OpenAudioTest, TextAndBrokenFilesAreRefused) {
  const std::string kNotRecognized(kMsgFileTypeNotRecognized);
  const std::string full = wav(1, 1, 16000, 16, pcm16({1, 2, 3, 4}));
  struct Case {
    const char* what;
    std::string bytes;
  };
  const Case cases[] = {
      {"plain text", "hello\r\nthis is text\r\n"},
      {"RIFF header only", full.substr(0, 12)},
      {"no data chunk", full.substr(0, 36)},
      {"nonsense after RIFF", "RIFF\x10\x00\x00\x00" + std::string(40, '\xAB')},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    const std::string path = file("b.wav", c.bytes);
    EXPECT_FALSE(decodeWithSndfile(path).has_value());
    const OpenedFile audio = readAudioFile(path, sndfileDecoder());
    EXPECT_EQ(audio.kind, OpenedKind::kNothing);
    EXPECT_EQ(audio.message, kNotRecognized);
    const OpenedFile any = readAnyFile(path, sndfileDecoder(), ParameterSet{});
    EXPECT_EQ(any.kind, OpenedKind::kNothing);
    EXPECT_EQ(any.message, kNotRecognized);
  }
  // A parameter file is no audio file.
  const OpenedFile vdr = readAudioFile(VANDREL_TEST_DATA "/vdr/good_all.vdr", sndfileDecoder());
  EXPECT_EQ(vdr.kind, OpenedKind::kNothing);
  EXPECT_EQ(vdr.message, kNotRecognized);
}

// A WAV whose data chunk is cut short keeps the samples that are there.
TEST_F(OpenAudioTest, ShortDataChunk) {
  std::string bytes = wav(1, 2, 8000, 16, pcm16({10, 30, 50, 70, 90, 110}));
  bytes.resize(bytes.size() - 4);
  const OpenedFile f = readAnyFile(file("c.wav", bytes), sndfileDecoder(), ParameterSet{});
  ASSERT_EQ(f.kind, OpenedKind::kAudio) << f.message;
  EXPECT_EQ(f.audio.samples, s16({20, 60}));
}

// The open command puts a recording beside the table: an untouched table
// takes its length; the parameters stay.
TEST_F(OpenAudioTest, RecordingGoesBesideTheTable) {
  std::vector<int> stereo(2 * 8000 * 3 / 4, 0);  // 750 ms at 8 kHz
  CVandrelDoc doc;
  applyOpened(doc,
              readAnyFile(file("d.wav", wav(1, 2, 8000, 16, pcm16(stereo))), sndfileDecoder(), doc.params()));
  EXPECT_TRUE(doc.hasAudio());
  EXPECT_EQ(doc.audio.sampleRate, 8000.0);
  EXPECT_EQ(doc.table.columns(), 75);
  EXPECT_EQ(doc.params().fileLengthMs, 750.0);
  EXPECT_EQ(doc.table.value(kF0, 74), 1000.0);
}

}  // namespace
}  // namespace vandrel
