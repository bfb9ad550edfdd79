#pragma once
// CWave: RIFF/WAVE writing and the chunk reader for mono 16-bit PCM files.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "audio/SampleSet.h"
#include "util/WriteOptions.h"

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

// The most samples a 16-bit WAV file holds: its sizes are 32-bit byte counts.
inline constexpr double kMaxWaveSamples = 2147483647.0;

// Empty when `sampleCount` samples at `sampleRate` fit in a WAV file, else
// "The sound would be 2304225000 samples (29:01:20 at 22050 Hz, 4.3 GiB);
// a WAV file holds at most 4 GiB."
std::string waveTooLarge(double sampleCount, double sampleRate);

// Writes the synthesized buffer: twice the sample count (truncated) bytes at
// the set's own rate, atomically. Empty string on success, else the reason.
std::string saveWaveFile(const std::string& path, const SampleSet& set, const WriteOptions& options = {});

// The longest recording the editor opens. Every analysis view works on the
// whole recording at once; an hour at 48 kHz is already 345 MB of samples.
inline constexpr double kMaxAudioSeconds = 3600.0;
// Files beyond this size are refused before a byte is read.
inline constexpr std::uintmax_t kMaxAudioFileBytes = std::uintmax_t{1} << 31;

// "The recording in <name> lasts <n> minutes; Vandrel opens recordings of at
// most one hour."
std::string tooLongMessage(const std::string& path, double seconds);

enum class WaveLoad { kOk, kCannotOpen, kNotWave, kNotPcm16Mono, kTooLong };

// What loading found besides the samples.
struct WaveLoadInfo {
  double claimedBytes = 0.0;  // the "data" size field
  std::size_t readBytes = 0;  // what the file really holds of it
  double seconds = 0.0;       // the length of what it holds
  bool shortData() const { return claimedBytes > static_cast<double>(readBytes) + 1.0; }
};

// Decodes a WAV file's bytes: mono 16-bit PCM at its own rate. A "data"
// chunk that claims more than the file holds gives what is there (see
// `info`). Anything but kOk leaves `set` untouched, so another reader can be
// tried; kTooLong is beyond kMaxAudioSeconds.
WaveLoad decodeWave(std::string_view bytes, SampleSet& set, WaveLoadInfo* info = nullptr);

// decodeWave on the file at `path`.
WaveLoad loadWaveFile(const std::string& path, SampleSet& set, WaveLoadInfo* info = nullptr);

}  // namespace vandrel
