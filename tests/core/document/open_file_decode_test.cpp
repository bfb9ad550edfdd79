// Opening audio: the WAV reader for 16-bit mono PCM, the libsndfile decoder
// for everything else. The WAV files are put together byte by byte here, so
// the expected samples come from the bytes, not from a decoder.

#include <gtest/gtest.h>
#include <unistd.h>

#include <bit>
#include <cstdint>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "SndfileDecoder.h"
#include "document/OpenFile.h"
#include "document/VandrelDoc.h"
#include "util/AtomicFile.h"

namespace vandrel {
namespace {

namespace fs = std::filesystem;

// Each value as `width` little-endian bytes.
std::string le(const std::vector<std::int64_t>& values, int width) {
  std::string s;
  for (std::int64_t v : values)
    for (int b = 0; b < width; ++b) s.push_back(static_cast<char>((v >> (8 * b)) & 0xFF));
  return s;
}
std::string f32(const std::vector<float>& values) {
  std::vector<std::int64_t> bits;
  for (float f : values) bits.push_back(std::bit_cast<std::uint32_t>(f));
  return le(bits, 4);
}

// A canonical RIFF/WAVE file around `data`; float files carry a fact chunk.
std::string wav(int tag, int channels, int rate, int bits, const std::string& data) {
  const int frame = channels * bits / 8;
  const auto size = static_cast<std::int64_t>(data.size());
  const std::string fact = tag == 3 ? "fact" + le({4, size / frame}, 4) : "";
  return "RIFF" + le({36 + static_cast<std::int64_t>(fact.size()) + size}, 4) + "WAVEfmt " + le({16}, 4) +
         le({tag, channels}, 2) + le({rate, rate * frame}, 4) + le({frame, bits}, 2) + fact + "data" +
         le({size}, 4) + data;
}

std::vector<std::int16_t> s16(const std::vector<int>& v) { return {v.begin(), v.end()}; }

// Writes `bytes` to a file of the test folder, which each test empties at its
// end. The folder is the process's own: the tests of this file run side by
// side, and one's clean-up must not take the other's files.
const fs::path kTemp = fs::temp_directory_path() / ("vandrel-open-audio-" + std::to_string(::getpid()));
std::string file(const std::string& name, const std::string& bytes) {
  fs::create_directories(kTemp);
  EXPECT_EQ(writeFileAtomically((kTemp / name).string(), bytes), "");
  return (kTemp / name).string();
}

// Every format arrives as 16-bit mono at the file's own rate: 24-bit steps
// are 1/256 of a 16-bit step, rounded; beyond 16 bits is clipped, not
// wrapped; channels are averaged; a cut data chunk keeps its whole frames.
// The FLAC fixture holds ((i * 7919) mod 65536) - 32768 at 16 kHz, 480
// samples, and comes back exactly.
TEST(OpenAudioTest, EachFormatDecodesToSixteenBitMono) {
  std::vector<std::int16_t> pattern;
  for (int i = 0; i < 480; ++i) pattern.push_back(static_cast<std::int16_t>((i * 7919) % 65536 - 32768));
  const std::string stereo = wav(1, 2, 8000, 16, le({10, 30, 50, 70, 90, 110}, 2));
  struct Case {
    const char* what;
    std::string path;
    OpenedBy by;
    double rate;
    std::vector<std::int16_t> samples;
  };
  const Case cases[] = {
      {"16-bit mono", file("a.wav", wav(1, 1, 16000, 16, le({0, 1, -1, 32767, -32768, 1234}, 2))),
       OpenedBy::kWaveReader, 16000.0, s16({0, 1, -1, 32767, -32768, 1234})},
      {"24-bit mono", file("b.wav", wav(1, 1, 44100, 24, le({0, 256, 0x7FFFFF, -8388608, 25728, -1792}, 3))),
       OpenedBy::kSecondCheck, 44100.0, s16({0, 1, 32767, -32768, 101, -7})},
      {"32-bit float", file("c.wav", wav(3, 1, 22050, 32, f32({0.5f, -0.25f, 1.5f, -2.0f, 0.0f}))),
       OpenedBy::kSecondCheck, 22050.0, s16({16384, -8192, 32767, -32768, 0})},
      {"16-bit stereo",
       file("d.wav", wav(1, 2, 8000, 16, le({1000, 3000, 32767, 32767, -32768, -32768, 9, -9}, 2))),
       OpenedBy::kSecondCheck, 8000.0, s16({2000, 32767, -32768, 0})},
      {"stereo, data cut short", file("e.wav", stereo.substr(0, stereo.size() - 4)), OpenedBy::kSecondCheck,
       8000.0, s16({20, 60})},
      {"FLAC", VANDREL_TEST_DATA "/audio/pattern_16k.flac", OpenedBy::kSecondCheck, 16000.0, pattern},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    const OpenedFile f = readAnyFile(c.path, sndfileDecoder(), ParameterSet{});
    ASSERT_EQ(f.kind, OpenedKind::kAudio) << f.message;
    EXPECT_EQ(f.by, c.by);
    EXPECT_EQ(f.audio.sampleRate, c.rate);
    EXPECT_EQ(f.audio.samples, c.samples);
    EXPECT_EQ(f.audio.sampleCount, static_cast<double>(c.samples.size()));
    CVandrelDoc doc;  // the open command puts the recording beside the table
    applyOpened(doc, f);
    EXPECT_EQ(doc.audio().samples, c.samples);
  }
  fs::remove_all(kTemp);
}

// A text file and a parameter file are no audio: every audio reader
// declines. libsndfile never returns from a WAV whose LIST chunk runs past
// the file's end; such a file is refused by name before it gets there, while
// a LIST chunk that fits still opens.
TEST(OpenAudioTest, TextAndAListChunkPastTheEndAreRefused) {
  const std::string text = file("f.wav", "hello\r\nthis is text\r\n");
  EXPECT_FALSE(decodeWithSndfile(text).has_value());
  EXPECT_EQ(readAudioFile(VANDREL_TEST_DATA "/vdr/good_all.vdr", sndfileDecoder()).message,
            kMsgFileTypeNotRecognized);
  const std::pair<std::string, std::string> refused[] = {
      {text, std::string(kMsgFileTypeNotRecognized)},
      {VANDREL_TEST_DATA "/audio/list_chunk_past_end.wav",
       "list_chunk_past_end.wav is damaged: a LIST chunk runs past the end of the file. Nothing was "
       "opened."}};
  for (const auto& [path, message] : refused) {
    const OpenedFile f = readAnyFile(path, sndfileDecoder(), ParameterSet{});
    EXPECT_EQ(f.kind, OpenedKind::kNothing);
    EXPECT_EQ(f.message, message);
  }
  EXPECT_TRUE(decodeWithSndfile(VANDREL_TEST_DATA "/wav/list_before_data.wav").has_value());
  fs::remove_all(kTemp);
}

}  // namespace
}  // namespace vandrel
