#include "audio/Wave.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "util/AtomicFile.h"

namespace vandrel {

namespace {

void put32(std::string& s, std::uint32_t v) {
  for (int i = 0; i < 4; ++i) s.push_back(static_cast<char>((v >> (8 * i)) & 0xFFu));
}
void put16(std::string& s, std::uint16_t v) {
  s.push_back(static_cast<char>(v & 0xFFu));
  s.push_back(static_cast<char>((v >> 8) & 0xFFu));
}
std::uint32_t get32(std::string_view s, std::size_t at) {
  std::uint32_t v = 0;
  for (int i = 3; i >= 0; --i) v = (v << 8) | static_cast<unsigned char>(s[at + static_cast<std::size_t>(i)]);
  return v;
}

bool isTagChar(char c) { return c >= 0x20 && c < 0x7F; }
bool looksLikeTag(std::string_view s, std::size_t at) {
  return at + 4 <= s.size() && std::all_of(s.begin() + static_cast<std::ptrdiff_t>(at),
                                           s.begin() + static_cast<std::ptrdiff_t>(at + 4), isTagChar);
}

}  // namespace

WaveFormat WaveFormat::pcm16Mono(std::uint32_t rate) {
  WaveFormat f;
  f.formatTag = 1;
  f.channels = 1;
  f.samplesPerSec = rate;
  f.avgBytesPerSec = rate * 2;
  f.blockAlign = 2;
  f.bitsPerSample = 16;
  return f;
}

int CWave::write(std::string& out, const void* block, std::size_t blockBytes, const WaveFormat& format,
                 std::size_t offset, std::size_t byteCount) {
  if (offset > blockBytes || byteCount > blockBytes - offset || byteCount > 0xFFFFFFFFu) return 1;
  const auto n = static_cast<std::uint32_t>(byteCount);
  out.reserve(out.size() + 44 + byteCount);
  out += "RIFF";
  put32(out, n);  // the data byte count, not the chunk size; kept for compatibility
  out += "WAVE";
  out += "fmt ";
  if (format.formatTag == 1) {
    put32(out, 16);
    put16(out, format.formatTag);
    put16(out, format.channels);
    put32(out, format.samplesPerSec);
    put32(out, format.avgBytesPerSec);
    put16(out, format.blockAlign);
    put16(out, format.bitsPerSample);
  } else {
    put32(out, 0);
  }
  out += "data";
  put32(out, n);
  out.append(static_cast<const char*>(block) + offset, byteCount);
  return 0;
}

int CWave::read(std::string_view file, WaveChunks& chunks) {
  const std::size_t length = file.size();
  if (length < 12) return -1;
  const bool riff = file.substr(0, 4) == "RIFF";
  const bool wave = file.substr(8, 4) == "WAVE";
  if (!riff && !wave) return -1;

  std::size_t pos = 12;
  while (pos + 8 <= length) {
    const std::string_view tag = file.substr(pos, 4);
    const std::uint32_t size = get32(file, pos + 4);
    if (tag == "data") {
      chunks.dataLength = std::min<double>(size, static_cast<double>(length));
      chunks.dataOffset = pos + 8;
      return 0;
    }
    if (tag == "fmt ") {
      char rec[18] = {};
      const std::size_t want = size < 19 ? size : 18;
      const std::size_t have = std::min(want, length - (pos + 8));
      std::memcpy(rec, file.data() + pos + 8, have);
      auto u16 = [&](int at) {
        return static_cast<std::uint16_t>(static_cast<unsigned char>(rec[at]) |
                                          (static_cast<unsigned char>(rec[at + 1]) << 8));
      };
      auto u32 = [&](int at) {
        return static_cast<std::uint32_t>(u16(at)) | (static_cast<std::uint32_t>(u16(at + 2)) << 16);
      };
      WaveFormat& f = chunks.format;
      f.formatTag = u16(0);
      f.channels = u16(2);
      f.samplesPerSec = u32(4);
      f.avgBytesPerSec = u32(8);
      f.blockAlign = u16(12);
      f.bitsPerSample = u16(14);
      f.extraSize = u16(16);
    }
    // Skip the chunk's body. RIFF pads odd sizes to even, but some writers
    // forget the pad byte: prefer whichever position holds a readable tag.
    const std::size_t next = pos + 8 + static_cast<std::size_t>(size);
    if (next < pos) return -1;  // overflow on a 32-bit size_t
    pos = next;
    if ((size & 1u) != 0 && (looksLikeTag(file, pos + 1) || !looksLikeTag(file, pos))) ++pos;
  }
  return -1;
}

std::string saveWaveFile(const std::string& path, const SampleSet& set, const WriteOptions& options) {
  const auto rate = static_cast<std::uint32_t>(set.sampleRate);
  const double wanted = std::max(0.0, 2.0 * set.sampleCount);
  const std::size_t bytes = std::min(static_cast<std::size_t>(wanted), set.byteSize());
  std::string image;
  if (const std::string why = waveTooLarge(static_cast<double>(bytes) / 2.0, set.sampleRate); !why.empty())
    return why;
  if (CWave::write(image, set.samples.data(), set.byteSize(), WaveFormat::pcm16Mono(rate), 0, bytes) != 0)
    return "The sound is too large for a WAV file.";
  return writeFileAtomically(path, image, options);
}

std::string waveTooLarge(double sampleCount, double sampleRate) {
  if (!(sampleCount > kMaxWaveSamples)) return {};
  const auto seconds = static_cast<long long>(sampleRate > 0 ? sampleCount / sampleRate : 0);
  char text[200];
  std::snprintf(
      text, sizeof text,
      "The sound would be %.0f samples (%lld:%02lld:%02lld at %.0f Hz, %.1f GiB); a WAV file holds at "
      "most 4 GiB.",
      sampleCount, seconds / 3600, seconds / 60 % 60, seconds % 60, sampleRate,
      2.0 * sampleCount / 1073741824.0);
  return text;
}

std::string tooLongMessage(const std::string& path, double seconds) {
  const std::string name = std::filesystem::path(path).filename().string();
  return "The recording in " + name + " lasts " + std::to_string(static_cast<long long>(seconds / 60.0)) +
         " minutes; Vandrel opens recordings of at most one hour. Nothing was opened.";
}

WaveLoad decodeWave(std::string_view bytes, SampleSet& set, WaveLoadInfo* info) {
  WaveChunks c;
  if (CWave::read(bytes, c) != 0) return WaveLoad::kNotWave;
  const WaveFormat& f = c.format;
  if (f.formatTag != 1 || f.channels != 1 || f.bitsPerSample != 16 || f.samplesPerSec == 0)
    return WaveLoad::kNotPcm16Mono;

  // The data length may be capped at the file length, not at what remains.
  const std::size_t avail = bytes.size() - std::min(bytes.size(), c.dataOffset);
  const std::size_t readBytes = std::min(static_cast<std::size_t>(c.dataLength), avail);
  const std::size_t n = readBytes / 2;
  if (info) {
    // The size field as written, not as capped by the reader.
    info->claimedBytes = static_cast<double>(get32(bytes, c.dataOffset - 4));
    info->readBytes = readBytes;
    info->seconds = static_cast<double>(n) / f.samplesPerSec;
  }
  if (static_cast<double>(n) > kMaxAudioSeconds * f.samplesPerSec) return WaveLoad::kTooLong;
  SampleSet s;
  s.samples.resize(n);
  for (std::size_t i = 0; i < n; ++i) {
    const auto lo = static_cast<unsigned char>(bytes[c.dataOffset + 2 * i]);
    const auto hi = static_cast<unsigned char>(bytes[c.dataOffset + 2 * i + 1]);
    s.samples[i] = static_cast<std::int16_t>(static_cast<std::uint16_t>(lo | (hi << 8)));
  }
  s.sampleRate = f.samplesPerSec;
  s.sampleCount = static_cast<double>(n);
  s.fileLengthMs = s.sampleCount * 1000.0 / s.sampleRate;
  set = std::move(s);
  return WaveLoad::kOk;
}

WaveLoad loadWaveFile(const std::string& path, SampleSet& set, WaveLoadInfo* info) {
  std::error_code ec;
  const auto size = std::filesystem::file_size(path, ec);
  if (!ec && size > kMaxAudioFileBytes) return WaveLoad::kCannotOpen;
  // Twelve bytes tell a wave from anything else; a long parameter table,
  // which every open tries as a wave first, is then not read twice.
  std::string bytes;
  if (!readWholeFile(path, bytes, 12)) return WaveLoad::kCannotOpen;
  if (bytes.size() < 12 || (bytes.compare(0, 4, "RIFF") != 0 && bytes.compare(8, 4, "WAVE") != 0))
    return WaveLoad::kNotWave;
  if (!readWholeFile(path, bytes)) return WaveLoad::kCannotOpen;
  return decodeWave(bytes, set, info);
}

}  // namespace vandrel
