#include "SndfileDecoder.h"

#include <sndfile.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <new>
#include <vector>

#include <filesystem>
#include <fstream>

#include "audio/RiffCheck.h"
#include "audio/Wave.h"

namespace vandrel {

namespace {

struct SndfileCloser {
  void operator()(SNDFILE* f) const { sf_close(f); }
};
using SndfilePtr = std::unique_ptr<SNDFILE, SndfileCloser>;

// libsndfile's doubles are normalised so that 16-bit samples come back as
// v / 32768 exactly; deeper formats land between those steps and are rounded.
std::int16_t toSample16(double x) {
  const double v = std::round(x * 32768.0);
  if (!(v > -32768.0)) return x != x ? 0 : -32768;  // NaN from a broken float file: silence
  if (v > 32767.0) return 32767;
  return static_cast<std::int16_t>(v);
}

std::optional<SampleSet> decode(SNDFILE* file, const SF_INFO& info, const std::string& name,
                                std::string* refusal, double maxSamples = kNoFrameLimit) {
  if (!file || info.channels < 1 || info.samplerate <= 0) return std::nullopt;
  // Headers may lie about the length, so the limit is applied to what the
  // header says and again to what is decoded.
  const double limit = std::min(kMaxAudioSeconds * info.samplerate, maxSamples / info.channels);
  auto tooLong = [&](double frames) {
    if (refusal) *refusal = tooLongMessage(name, frames / info.samplerate);
    return std::nullopt;
  };
  if (static_cast<double>(info.frames) > limit) return tooLong(static_cast<double>(info.frames));
  sf_command(file, SFC_SET_NORM_DOUBLE, nullptr, SF_TRUE);

  try {
    const auto channels = static_cast<std::size_t>(info.channels);
    constexpr sf_count_t kBlock = 4096;
    std::vector<double> block(static_cast<std::size_t>(kBlock) * channels);
    SampleSet set;
    if (info.frames > 0)
      set.samples.reserve(static_cast<std::size_t>(std::min<sf_count_t>(info.frames, 1 << 26)));
    for (;;) {
      const sf_count_t got = sf_readf_double(file, block.data(), kBlock);
      if (got <= 0) break;
      for (sf_count_t i = 0; i < got; ++i) {
        const double* frame = block.data() + static_cast<std::size_t>(i) * channels;
        double sum = 0.0;
        for (std::size_t c = 0; c < channels; ++c) sum += frame[c];
        set.samples.push_back(toSample16(sum / static_cast<double>(channels)));
      }
      if (static_cast<double>(set.samples.size()) > limit)
        return tooLong(static_cast<double>(set.samples.size()));
    }
    set.sampleRate = info.samplerate;
    set.sampleCount = static_cast<double>(set.samples.size());
    set.fileLengthMs = set.sampleCount * 1000.0 / set.sampleRate;
    return set;
  } catch (const std::bad_alloc&) {
    return std::nullopt;
  }
}

// libsndfile's virtual I/O over a block of memory.
struct MemoryFile {
  std::string_view bytes;
  sf_count_t pos = 0;
};

sf_count_t memLength(void* user) {
  return static_cast<sf_count_t>(static_cast<MemoryFile*>(user)->bytes.size());
}
sf_count_t memSeek(sf_count_t offset, int whence, void* user) {
  auto* m = static_cast<MemoryFile*>(user);
  const auto size = static_cast<sf_count_t>(m->bytes.size());
  sf_count_t to = offset;
  if (whence == SEEK_CUR) to += m->pos;
  if (whence == SEEK_END) to += size;
  if (to < 0) return -1;
  m->pos = to;
  return to;
}
sf_count_t memRead(void* ptr, sf_count_t count, void* user) {
  auto* m = static_cast<MemoryFile*>(user);
  const auto size = static_cast<sf_count_t>(m->bytes.size());
  if (count <= 0 || m->pos >= size) return 0;
  const sf_count_t n = std::min(count, size - m->pos);
  std::memcpy(ptr, m->bytes.data() + m->pos, static_cast<std::size_t>(n));
  m->pos += n;
  return n;
}
sf_count_t memWrite(const void*, sf_count_t, void*) { return 0; }
sf_count_t memTell(void* user) { return static_cast<MemoryFile*>(user)->pos; }

// The MIDI Sample Dump Standard (a sampler's SysEx dump, F0 7E ...) is no
// recording, and libsndfile's reader of it prints a line on standard output
// for every damaged block: a broken dump of a few bytes wrote megabytes into
// the command line tool's output. Such files are declined before libsndfile
// sees them, as any other file type Vandrel does not read.
bool isMidiSampleDump(const char* first, std::size_t n) {
  return n >= 2 && static_cast<unsigned char>(first[0]) == 0xF0 &&
         static_cast<unsigned char>(first[1]) == 0x7E;
}

std::optional<SampleSet> damaged(const std::string& path, std::string* refusal) {
  if (refusal)
    *refusal = std::filesystem::path(path).filename().string() +
               " is damaged: a LIST chunk runs past the end of the file. Nothing was opened.";
  return std::nullopt;
}

}  // namespace

std::optional<SampleSet> decodeWithSndfile(const std::string& path, std::string* refusal) {
  std::ifstream in(path, std::ios::binary);
  std::error_code error;
  const auto size = std::filesystem::file_size(path, error);
  if (in && !error) {
    const ByteSource read = [&in](std::uint64_t offset, char* out, std::size_t n) -> std::size_t {
      in.clear();
      in.seekg(static_cast<std::streamoff>(offset));
      in.read(out, static_cast<std::streamsize>(n));
      return static_cast<std::size_t>(in.gcount());
    };
    if (!riffListChunksAreSound(read, size)) return damaged(path, refusal);
    char first[2];
    if (isMidiSampleDump(first, read(0, first, sizeof first))) return std::nullopt;
  }
  SF_INFO info{};
  SndfilePtr file(sf_open(path.c_str(), SFM_READ, &info));
  return decode(file.get(), info, path, refusal);
}

std::optional<SampleSet> decodeBytesWithSndfile(std::string_view bytes, const std::string& name,
                                                std::string* refusal, double maxSamples) {
  if (!riffListChunksAreSound(bytes)) return damaged(name, refusal);
  if (isMidiSampleDump(bytes.data(), bytes.size())) return std::nullopt;
  SF_VIRTUAL_IO io{memLength, memSeek, memRead, memWrite, memTell};
  MemoryFile memory{bytes, 0};
  SF_INFO info{};
  SndfilePtr file(sf_open_virtual(&io, SFM_READ, &info, &memory));
  return decode(file.get(), info, name, refusal, maxSamples);
}

AudioDecoder sndfileDecoder() {
  return [](const std::string& path, std::string& refusal) { return decodeWithSndfile(path, &refusal); };
}

}  // namespace vandrel
