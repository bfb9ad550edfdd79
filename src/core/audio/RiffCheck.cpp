#include "audio/RiffCheck.h"

#include <algorithm>
#include <cstring>

namespace vandrel {

namespace {

// Enough for any real file; a fuzzed one with millions of empty chunks is
// walked no further (libsndfile stops early on those too).
constexpr int kMaxChunks = 100000;

class ChunkReader {
 public:
  ChunkReader(const ByteSource& read, bool littleEndian) : read_(read), little_(littleEndian) {}

  // The chunk header at `at`: false when fewer than 8 bytes are there.
  bool header(std::uint64_t at, char id[4], std::uint64_t& length) const {
    unsigned char h[8];
    if (read_(at, reinterpret_cast<char*>(h), 8) != 8) return false;
    std::memcpy(id, h, 4);
    const unsigned char* s = h + 4;
    length = little_
                 ? (std::uint64_t{s[3]} << 24 | std::uint64_t{s[2]} << 16 | std::uint64_t{s[1]} << 8 | s[0])
                 : (std::uint64_t{s[0]} << 24 | std::uint64_t{s[1]} << 16 | std::uint64_t{s[2]} << 8 | s[3]);
    return true;
  }

  // The sub-chunks of a LIST body [from, to), after its four-letter type.
  bool subChunksFit(std::uint64_t from, std::uint64_t to) const {
    std::uint64_t at = from + 4;
    for (int n = 0; at + 8 <= to && n < kMaxChunks; ++n) {
      char id[4];
      std::uint64_t length = 0;
      if (!header(at, id, length)) return true;
      if (length > to - (at + 8)) return false;
      at += 8 + length + (length & 1);
    }
    return true;
  }

 private:
  const ByteSource& read_;
  bool little_;
};

}  // namespace

bool riffListChunksAreSound(const ByteSource& read, std::uint64_t size) {
  char form[12];
  if (size < 12 || read(0, form, 12) != 12) return true;
  const bool little = std::memcmp(form, "RIFF", 4) == 0;
  if (!(little || std::memcmp(form, "RIFX", 4) == 0) || std::memcmp(form + 8, "WAVE", 4) != 0) return true;
  const ChunkReader chunks(read, little);
  std::uint64_t at = 12;
  for (int n = 0; at + 8 <= size && n < kMaxChunks; ++n) {
    char id[4];
    std::uint64_t length = 0;
    if (!chunks.header(at, id, length)) break;
    const std::uint64_t body = at + 8;
    if (std::memcmp(id, "LIST", 4) == 0 &&
        (length > size - body || !chunks.subChunksFit(body, body + length)))
      return false;
    at = body + length + (length & 1);
  }
  return true;
}

bool riffListChunksAreSound(std::string_view bytes) {
  const ByteSource read = [bytes](std::uint64_t offset, char* out, std::size_t n) -> std::size_t {
    if (offset >= bytes.size()) return 0;
    const std::size_t got = std::min<std::uint64_t>(n, bytes.size() - offset);
    std::memcpy(out, bytes.data() + offset, got);
    return got;
  };
  return riffListChunksAreSound(read, bytes.size());
}

}  // namespace vandrel
