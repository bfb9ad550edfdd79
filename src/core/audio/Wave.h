#pragma once
// CWave: RIFF/WAVE writing and the chunk reader for mono 16-bit PCM files.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "audio/SampleSet.h"

namespace vandrel {

// The PCM wave format record, plus room for the extra-size field that a
// "fmt " chunk of 18 bytes carries.
struct WaveFormat {
  std::uint16_t formatTag = 0;
  std::uint16_t channels = 0;
  std::uint32_t samplesPerSec = 0;
  std::uint32_t avgBytesPerSec = 0;
  std::uint16_t blockAlign = 0;
  std::uint16_t bitsPerSample = 0;
  std::uint16_t extraSize = 0;

  // Mono 16-bit PCM at `rate` Hz, as the synthesized buffer is written.
  static WaveFormat pcm16Mono(std::uint32_t rate);
};

struct WaveChunks {
  WaveFormat format;
  double dataLength = 0.0;     // bytes; never more than the file length
  std::size_t dataOffset = 0;  // from the start of the file
};

class CWave {
 public:
  // Appends the WAV image of `byteCount` bytes of `block`, from `offset` on.
  // The RIFF size field holds the data byte count itself (not data + header);
  // every file this program writes carries that, and readers ignore it.
  // For a format tag other than 1 (PCM) the "fmt " chunk is left empty.
  // Returns 0 on success, 1 when the block holds fewer bytes than asked for.
  static int write(std::string& out, const void* block, std::size_t blockBytes, const WaveFormat& format,
                   std::size_t offset, std::size_t byteCount);

  // Locates the format record and the "data" chunk in a file's bytes.
  // Returns 0 when a "data" chunk was found, -1 otherwise. The file is taken
  // as WAVE when it starts with "RIFF" or has "WAVE" as its form type (either
  // suffices). Chunks before "data" (LIST, fact, cue ...) are skipped whole,
  // odd sizes padded to even; a "fmt " chunk fills at most 18 bytes.
  static int read(std::string_view file, WaveChunks& chunks);
};

// Writes the synthesized buffer: twice the sample count (truncated) bytes at
// the set's own rate, atomically. Empty string on success, else the reason.
std::string saveWaveFile(const std::string& path, const SampleSet& set);

enum class WaveLoad { kOk, kCannotOpen, kNotWave, kNotPcm16Mono };

// Loads a mono 16-bit PCM WAV at its own rate. kNotWave and kNotPcm16Mono
// leave `set` untouched, so another reader can be tried.
WaveLoad loadWaveFile(const std::string& path, SampleSet& set);

}  // namespace vandrel
