#include "audio/Wave.h"
#include "audio/RiffCheck.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "util/AtomicFile.h"

namespace vandrel {
namespace {

std::string data(const char* name) { return std::string(VANDREL_TEST_DATA) + "/wav/" + name; }

std::string slurp(const std::string& path) {
  std::string s;
  EXPECT_TRUE(readWholeFile(path, s)) << path;
  return s;
}

std::uint32_t le32(const std::string& s, std::size_t at) {
  return static_cast<std::uint32_t>(static_cast<unsigned char>(s[at])) |
         static_cast<std::uint32_t>(static_cast<unsigned char>(s[at + 1])) << 8 |
         static_cast<std::uint32_t>(static_cast<unsigned char>(s[at + 2])) << 16 |
         static_cast<std::uint32_t>(static_cast<unsigned char>(s[at + 3])) << 24;
}

class CWaveTest : public ::testing::Test {
 protected:
  std::filesystem::path dir =
      std::filesystem::temp_directory_path() /
      ("vandrel_wave_" + std::to_string(::testing::UnitTest::GetInstance()->random_seed()) +
       ::testing::UnitTest::GetInstance()->current_test_info()->name());
  void SetUp() override { std::filesystem::create_directories(dir); }
  void TearDown() override { std::filesystem::remove_all(dir); }
};

TEST_F(CWaveTest, WritesTheExactHeaderWithDataCountInBothSizeFields) {
  SampleSet s;
  s.samples.resize(2200);
  for (std::size_t i = 0; i < s.samples.size(); ++i) s.samples[i] = static_cast<std::int16_t>(i * 29 - 30000);
  s.sampleRate = 11025.0;
  s.sampleCount = 2200.0;
  const std::string path = (dir / "out.wav").string();
  ASSERT_EQ(saveWaveFile(path, s), "");
  const std::string f = slurp(path);

  const unsigned char header[44] = {'R',  'I',  'F', 'F', 0x30, 0x11, 0,   0,  // 4400, not 4400 + 36
                                    'W',  'A',  'V', 'E', 'f',  'm',  't', ' ',
                                    16,   0,    0,   0,   1,    0,    1,   0,  // PCM, mono
                                    0x11, 0x2B, 0,   0,                        // 11025
                                    0x22, 0x56, 0,   0,                        // 22050 bytes a second
                                    2,    0,    16,  0,                        // block 2, 16 bits
                                    'd',  'a',  't', 'a', 0x30, 0x11, 0,   0};
  ASSERT_EQ(f.size(), 44u + 4400u);
  EXPECT_EQ(f.substr(0, 44), std::string(reinterpret_cast<const char*>(header), 44));
  // The samples read back by the loader, whose byte order the fixed files below pin down.
  SampleSet back;
  ASSERT_EQ(loadWaveFile(path, back), WaveLoad::kOk);
  EXPECT_EQ(back.samples, s.samples);
  EXPECT_EQ(back.sampleRate, 11025.0);
  EXPECT_NEAR(back.fileLengthMs, 2200 * 1000.0 / 11025, 1e-9);
}

TEST_F(CWaveTest, WriterTakesAnOffsetAndRefusesToReadPastTheBlock) {
  const std::int16_t block[4] = {1, 2, 3, 4};
  std::string out;
  ASSERT_EQ(CWave::write(out, block, sizeof block, WaveFormat::pcm16Mono(8000), 2, 4), 0);
  EXPECT_EQ(out.size(), 48u);
  EXPECT_EQ(le32(out, 4), 4u);
  EXPECT_EQ(out.substr(44), std::string("\x02\x00\x03\x00", 4));
  std::string bad;
  EXPECT_EQ(CWave::write(bad, block, sizeof block, WaveFormat::pcm16Mono(8000), 2, 8), 1);
  EXPECT_EQ(CWave::write(bad, block, sizeof block, WaveFormat::pcm16Mono(8000), 10, 0), 1);

  WaveFormat alaw = WaveFormat::pcm16Mono(8000);
  alaw.formatTag = 6;  // anything but PCM gets an empty format chunk
  std::string a;
  ASSERT_EQ(CWave::write(a, block, sizeof block, alaw, 0, 8), 0);
  EXPECT_EQ(le32(a, 16), 0u);
  EXPECT_EQ(a.substr(20, 4), "data");
}

// Each awkward file through the chunk reader and the loader: the loader takes
// only 16-bit mono PCM, whose samples all these files hold as 0, 1000,
// -1000, 32767, -32768, 5, -5, 0 at 8000 Hz.
TEST_F(CWaveTest, ReaderAndLoaderCases) {
  using enum WaveLoad;
  struct Case {
    const char* file;
    int result;  // the reader's; what it found follows when it is 0
    double length;
    std::size_t offset;
    std::uint16_t tag, channels, bits, extra;
    WaveLoad load;
  };
  const Case cases[] = {
      {"list_before_data.wav", 0, 16, 70, 1, 1, 16, 0, kOk},
      {"odd_chunk.wav", 0, 16, 56, 1, 1, 16, 0, kOk},
      {"odd_chunk_unpadded.wav", 0, 16, 55, 1, 1, 16, 0, kOk},
      {"data_longer_than_file.wav", 0, 60, 44, 1, 1, 16, 0, kOk},  // capped at the file; 8 samples load
      {"fmt18.wav", 0, 16, 46, 1, 1, 16, 0, kOk},
      {"fmt40_extensible.wav", 0, 16, 68, 0xFFFE, 1, 16, 22, kNotPcm16Mono},
      {"wave_without_riff.wav", 0, 16, 44, 1, 1, 16, 0, kOk},
      {"stereo.wav", 0, 16, 44, 1, 2, 16, 0, kNotPcm16Mono},
      {"eight_bit.wav", 0, 16, 44, 1, 1, 8, 0, kNotPcm16Mono},
      {"empty.wav", -1, 0, 0, 0, 0, 0, 0, kNotWave},
      {"eleven_bytes.wav", -1, 0, 0, 0, 0, 0, 0, kNotWave},
      {"no_data.wav", -1, 0, 0, 1, 1, 16, 0, kNotWave},
      {"not_a_wave.wav", -1, 0, 0, 0, 0, 0, 0, kNotWave},
      {"huge_chunk_size.wav", -1, 0, 0, 1, 1, 16, 0, kNotWave},
      {"truncated_header.wav", -1, 0, 0, 0, 0, 0, 0, kNotWave},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.file);
    WaveChunks ch;
    EXPECT_EQ(CWave::read(slurp(data(c.file)), ch), c.result);
    if (c.result == 0) {
      EXPECT_EQ(ch.dataLength, c.length);
      EXPECT_EQ(ch.dataOffset, c.offset);
      EXPECT_EQ(ch.format.formatTag, c.tag);
      EXPECT_EQ(ch.format.channels, c.channels);
      EXPECT_EQ(ch.format.bitsPerSample, c.bits);
      EXPECT_EQ(ch.format.extraSize, c.extra);
    }
    SampleSet s;
    s.sampleRate = 1234;  // untouched unless the load succeeds
    ASSERT_EQ(loadWaveFile(data(c.file), s), c.load);
    EXPECT_EQ(s.sampleRate, c.load == kOk ? 8000 : 1234);
    if (c.load == kOk) {
      EXPECT_EQ(s.samples, (std::vector<std::int16_t>{0, 1000, -1000, 32767, -32768, 5, -5, 0}));
    }
  }
  SampleSet s;
  EXPECT_EQ(loadWaveFile(data("does_not_exist.wav"), s), kCannotOpen);
  EXPECT_EQ(loadWaveFile(std::string(VANDREL_TEST_DATA) + "/wav", s), kCannotOpen);  // a folder
}

// The data size is twice the sample count, cut to a whole byte, held to the
// buffer: a stretch ending half-way into a sample keeps its odd byte.
TEST_F(CWaveTest, SavedStretchSizesBothFieldsAndTheFile) {
  struct Case {
    double sampleCount;
    std::uint32_t bytes;
  };
  for (const Case& c : {Case{10.0, 20}, Case{9.5, 19}, Case{9.75, 19}, Case{1e12, 20}, Case{-3.0, 0}}) {
    SCOPED_TRACE(c.sampleCount);
    SampleSet s;
    s.sampleRate = 11025;
    s.sampleCount = c.sampleCount;
    s.samples.assign(10, 0x0101);
    const std::string path = (dir / "stretch.wav").string();
    ASSERT_EQ(saveWaveFile(path, s), "");
    const std::string f = slurp(path);
    EXPECT_EQ(f.size(), 44u + c.bytes);
    EXPECT_EQ(le32(f, 4), c.bytes);
    EXPECT_EQ(le32(f, 40), c.bytes);
  }
  // The atomic writer's refusals (its own test has them all) come back as the reason.
  SampleSet s;
  EXPECT_NE(saveWaveFile((dir / "no" / "such" / "folder.wav").string(), s), "");
}

// A chunk as the file holds it: id, length (little- or big-endian), body.
std::string chunk(const char* id, const std::string& body, bool bigEndian = false, std::uint32_t length = 0) {
  const std::uint32_t n = length ? length : static_cast<std::uint32_t>(body.size());
  std::string out(id, 4);
  for (int i = 0; i < 4; ++i) out += static_cast<char>(n >> (bigEndian ? 24 - 8 * i : 8 * i) & 0xff);
  return out + body;
}

// The LIST walk that keeps libsndfile from hanging: pad bytes after odd
// chunks at both levels, sub-chunks measured against their LIST, both byte
// orders. Expected answers are read off the byte layouts by hand.
TEST(RiffCheckTest, ListChunksAndTheirSubChunksMustFitTheirContainers) {
  const std::string fmt = chunk("fmt ", std::string(16, '\1'));
  const std::string samples = chunk("data", std::string(8, '\0'));
  const std::string info = chunk("LIST", "INFO" + chunk("INAM", "ab") + chunk("ISFT", "xyz") + '\0');
  struct Case {
    const char* what;
    std::string body;  // what follows "WAVE"
    bool sound;
  };
  const Case cases[] = {
      {"a LIST of sub-chunks that fit, the last odd and padded", fmt + info + samples, true},
      {"a LIST that ends exactly at the end of the file", fmt + samples + info, true},
      {"an odd chunk's pad byte, then a LIST running past the end",
       fmt + chunk("junk", "abc") + '\0' + chunk("LIST", "INFO", false, 40), false},
      {"an odd chunk's pad byte, then a LIST that fits", fmt + chunk("junk", "abc") + '\0' + info, true},
      {"an odd sub-chunk's pad byte, then one that fits",
       fmt + chunk("LIST", "INFO" + chunk("INAM", "abc") + '\0' + chunk("ISFT", "xy")) + samples, true},
      {"a sub-chunk running past its LIST but not past the file",
       fmt + chunk("LIST", "INFO" + chunk("INAM", "ab", false, 10)) + samples, false},
      {"a sub-chunk one byte past its LIST",
       fmt + chunk("LIST", "INFO" + chunk("INAM", "ab", false, 3)) + samples, false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    const std::string file = chunk("RIFF", "WAVE" + c.body);
    EXPECT_EQ(riffListChunksAreSound(file), c.sound);
  }
  // Big-endian RIFX: a LIST of 4 bytes read the other way round would claim 64 MiB.
  EXPECT_TRUE(riffListChunksAreSound(chunk("RIFX", "WAVE" + chunk("LIST", "INFO", true), true)));
  EXPECT_FALSE(riffListChunksAreSound(chunk("RIFX", "WAVE" + chunk("LIST", "INFO", true, 5), true)));
}

}  // namespace
}  // namespace vandrel
