#pragma once
// The open chain's second check: any audio file libsndfile reads (WAV of any
// sample format, stereo, FLAC, AIFF, ...) becomes 16-bit mono at the file's
// own sample rate. Channels are averaged; samples beyond 16 bits are clipped,
// never wrapped.

#include <optional>
#include <string>
#include <string_view>

#include "audio/SampleSet.h"
#include "document/OpenFile.h"

namespace vandrel {

inline constexpr double kNoFrameLimit = 1e300;

// The decoded samples, or std::nullopt when libsndfile does not read the file
// (or it holds no channels, or memory runs out). A recording longer than
// kMaxAudioSeconds is declined with the reason in `refusal` (when given),
// without decoding it. Never throws.
std::optional<SampleSet> decodeWithSndfile(const std::string& path, std::string* refusal = nullptr);

// The same for a file's bytes already in memory; `name` is used in messages.
// `maxSamples` (frames times channels) lowers the length limit further: a few
// kilobytes of FLAC or Opus, or a damaged header, can expand to millions of
// frames of hundreds of channels, and the fuzzer must not spend its time on
// decoding silence it has already checked.
std::optional<SampleSet> decodeBytesWithSndfile(std::string_view bytes, const std::string& name,
                                                std::string* refusal = nullptr,
                                                double maxSamples = kNoFrameLimit);

// decodeWithSndfile as the open chain's AudioDecoder.
AudioDecoder sndfileDecoder();

}  // namespace vandrel
