#pragma once
// A block of 16-bit mono samples with its rate. The document holds three: the
// synthesized buffer, the previous synthesized buffer and the audio file.

#include <cstdint>
#include <vector>

namespace vandrel {

struct SampleSet {
  std::vector<std::int16_t> samples;
  double sampleRate = 0.0;   // Hz
  double sampleCount = 0.0;  // rate x length / 1000; may exceed what was synthesized
  double fileLengthMs = 0.0;

  bool empty() const { return samples.empty(); }
  std::size_t byteSize() const { return samples.size() * sizeof(std::int16_t); }
  bool operator==(const SampleSet&) const = default;
};

}  // namespace vandrel
