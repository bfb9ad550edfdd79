#include "audio/PlayStretch.h"

#include <algorithm>
#include <cmath>

#include "analysis/FormantEstimator.h"

namespace vandrel {

TimeSpan columnsSpan(int c0, int c1, int intervalMs) {
  const int lo = std::max(0, std::min(c0, c1));
  const int hi = std::max(0, std::max(c0, c1));
  return TimeSpan{static_cast<double>(lo) * intervalMs, static_cast<double>(hi + 1) * intervalMs};
}

SampleSpan samplesIn(const SampleSet& set, const std::optional<TimeSpan>& span) {
  const std::size_t size = set.samples.size();
  if (!span || set.sampleRate <= 0) return SampleSpan{0, size};
  const double lo = std::min(span->startMs, span->endMs), hi = std::max(span->startMs, span->endMs);
  const double first = std::ceil(std::max(0.0, lo) * set.sampleRate / 1000.0);
  const double end = std::ceil(std::max(0.0, hi) * set.sampleRate / 1000.0);
  const auto clamp = [size](double v) {
    return v >= static_cast<double>(size) ? size : static_cast<std::size_t>(v);
  };
  const std::size_t a = clamp(first), b = clamp(end);
  return SampleSpan{a, b > a ? b - a : 0};
}

SampleSet atRate(const SampleSet& set, double rate) {
  if (set.empty() || rate <= 0 || set.sampleRate <= 0 || rate == set.sampleRate) return set;
  SampleSet out;
  out.sampleRate = rate;
  out.sampleCount = set.sampleCount * rate / set.sampleRate;
  out.fileLengthMs = set.fileLengthMs;
  const std::vector<double> y =
      resampleSignal(std::vector<double>(set.samples.begin(), set.samples.end()), set.sampleRate, rate);
  out.samples.reserve(y.size());
  for (const double v : y)
    out.samples.push_back(static_cast<std::int16_t>(std::clamp(std::lround(v), -32768L, 32767L)));
  return out;
}

}  // namespace vandrel
