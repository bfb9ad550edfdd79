#include "SndfileDecoder.h"

#include <sndfile.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <new>
#include <vector>

namespace vandrel {

namespace {

struct SndfileCloser {
  void operator()(SNDFILE* f) const { sf_close(f); }
};

// libsndfile's doubles are normalised so that 16-bit samples come back as
// v / 32768 exactly; deeper formats land between those steps and are rounded.
std::int16_t toSample16(double x) {
  const double v = std::round(x * 32768.0);
  if (!(v > -32768.0)) return x != x ? 0 : -32768;  // NaN from a broken float file: silence
  if (v > 32767.0) return 32767;
  return static_cast<std::int16_t>(v);
}

}  // namespace

std::optional<SampleSet> decodeWithSndfile(const std::string& path) {
  SF_INFO info{};
  std::unique_ptr<SNDFILE, SndfileCloser> file(sf_open(path.c_str(), SFM_READ, &info));
  if (!file || info.channels < 1 || info.samplerate <= 0) return std::nullopt;
  sf_command(file.get(), SFC_SET_NORM_DOUBLE, nullptr, SF_TRUE);

  try {
    const auto channels = static_cast<std::size_t>(info.channels);
    constexpr sf_count_t kBlock = 4096;
    std::vector<double> block(static_cast<std::size_t>(kBlock) * channels);
    SampleSet set;
    if (info.frames > 0)
      set.samples.reserve(static_cast<std::size_t>(std::min<sf_count_t>(info.frames, 1 << 26)));
    for (;;) {
      const sf_count_t got = sf_readf_double(file.get(), block.data(), kBlock);
      if (got <= 0) break;
      for (sf_count_t i = 0; i < got; ++i) {
        const double* frame = block.data() + static_cast<std::size_t>(i) * channels;
        double sum = 0.0;
        for (std::size_t c = 0; c < channels; ++c) sum += frame[c];
        set.samples.push_back(toSample16(sum / static_cast<double>(channels)));
      }
    }
    set.sampleRate = info.samplerate;
    set.sampleCount = static_cast<double>(set.samples.size());
    set.fileLengthMs = set.sampleCount * 1000.0 / set.sampleRate;
    return set;
  } catch (const std::bad_alloc&) {
    return std::nullopt;
  }
}

AudioDecoder sndfileDecoder() {
  return [](const std::string& path) { return decodeWithSndfile(path); };
}

}  // namespace vandrel
