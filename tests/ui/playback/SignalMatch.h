#pragma once
// Finding a played sound in a recording of the sink: normalised
// cross-correlation of the sound with the recording at a given lag. A sound at
// half the sink's rate is compared against every second recorded sample.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <span>
#include <vector>

namespace vandrel::soundtest {

struct Match {
  std::int64_t lag = -1;  // recording index of the sound's first sample
  double ncc = 0.0;
};

// Correlation of ref[0, n) with cap[lag + step * k]; 0 when the recording is
// too short or either side is silent.
inline double ncc(const std::vector<std::int16_t>& cap, std::span<const std::int16_t> ref, std::int64_t lag,
                  int step, std::size_t n) {
  n = std::min(n, ref.size());
  if (lag < 0 || n == 0) return 0.0;
  if (lag + static_cast<std::int64_t>(step) * static_cast<std::int64_t>(n - 1) >=
      static_cast<std::int64_t>(cap.size()))
    return 0.0;
  double xy = 0, xx = 0, yy = 0;
  for (std::size_t k = 0; k < n; ++k) {
    const double x = cap[static_cast<std::size_t>(lag) + static_cast<std::size_t>(step) * k];
    const double y = ref[k];
    xy += x * y;
    xx += x * x;
    yy += y * y;
  }
  return xx > 0 && yy > 0 ? xy / std::sqrt(xx * yy) : 0.0;
}

// Index of the first non-zero recorded sample at or after `from`, or -1.
inline std::int64_t firstSound(const std::vector<std::int16_t>& cap, std::int64_t from = 0) {
  for (auto i = static_cast<std::size_t>(std::max<std::int64_t>(from, 0)); i < cap.size(); ++i)
    if (cap[i] != 0) return static_cast<std::int64_t>(i);
  return -1;
}

// The lag within `radius` of `around` where the first `head` samples of `ref`
// match best.
inline Match locate(const std::vector<std::int16_t>& cap, std::span<const std::int16_t> ref, int step,
                    std::int64_t around, std::int64_t radius, std::size_t head) {
  Match best;
  for (std::int64_t lag = std::max<std::int64_t>(0, around - radius); lag <= around + radius; ++lag) {
    const double c = ncc(cap, ref, lag, step, head);
    if (c > best.ncc) best = Match{lag, c};
  }
  return best;
}

// A sine with a linear fade-in, so that it has exactly one best alignment.
inline std::vector<std::int16_t> fadedTone(double hz, int rate, double seconds, double amplitude = 12000.0,
                                           double fadeSeconds = 0.05) {
  const auto n = static_cast<std::size_t>(seconds * rate);
  const double fade = fadeSeconds * rate;
  std::vector<std::int16_t> out(n);
  for (std::size_t i = 0; i < n; ++i) {
    const double gain = std::min(1.0, static_cast<double>(i) / fade);
    out[i] = static_cast<std::int16_t>(std::lround(
        amplitude * gain * std::sin(2.0 * 3.14159265358979 * hz * static_cast<double>(i) / rate)));
  }
  return out;
}

}  // namespace vandrel::soundtest
