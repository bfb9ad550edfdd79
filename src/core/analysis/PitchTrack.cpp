#include "analysis/PitchTrack.h"

#include <algorithm>
#include <cmath>
#include <new>

namespace vandrel {

AnalysisProgress progressShare(const AnalysisProgress& progress, int from, int to, int whole) {
  if (!progress) return {};
  return [&progress, from, to, whole](int done, int total) {
    progress(from + static_cast<int>(static_cast<long long>(to - from) * done / std::max(1, total)), whole);
  };
}

void CPitchTracker::clean(const std::vector<double>& raw, const std::vector<double>& energy, int deviationHz,
                          int thresholdPercent, std::vector<double>& track) {
  const std::size_t m = raw.size();
  track.assign(m, 0.0);  // the end frames have one neighbour only and stay 0

  // A frame keeps its value only when both neighbours lie within the
  // deviation, the differences truncated to whole Hz.
  const auto near = [&](std::size_t a, std::size_t b) {
    return static_cast<long long>(std::fabs(raw[a] - raw[b])) < deviationHz;
  };
  for (std::size_t i = 1; i + 1 < m; ++i) track[i] = near(i - 1, i) && near(i + 1, i) ? raw[i] : 0.0;

  // Three-point average stored at the first of the three: each step writes
  // only its own first position, so it never reads a value it has changed.
  for (std::size_t j = 0; j + 3 < m; ++j) {
    if (track[j] != 0.0 && track[j + 1] != 0.0 && track[j + 2] != 0.0)
      track[j] = static_cast<std::int16_t>(static_cast<int>((track[j] + track[j + 1] + track[j + 2]) / 3.0));
  }

  // Voicing gate: at or below threshold% of the loudest frame is unvoiced.
  double emax = -1e9;
  for (double e : energy) emax = std::max(emax, e);
  const double threshold = thresholdPercent * emax / 100.0;
  for (std::size_t i = 0; i < m && i < energy.size(); ++i)
    if (energy[i] - threshold <= 0.0) track[i] = 0.0;
}

CPitchTracker::Status CPitchTracker::compute(std::span<const std::int16_t> samples, double fs,
                                             COptionPitch& options, double offset,
                                             const AnalysisProgress& progress) {
  computed_ = false;
  const auto total = static_cast<double>(samples.size());
  if (samples.size() < static_cast<std::size_t>(kMinSamples)) return Status::kTooShort;
  if (!(fs > 0.0) || options.stepMs <= 0 || options.windowMs <= 0 || !(offset >= 0.0))
    return Status::kBadOptions;

  int n = static_cast<int>(fs / 1000.0 * options.windowMs);
  int size = n < 1024 ? 1024 : n < 2048 ? 2048 : 4096;
  if (n >= 4096) {
    options.windowMs = static_cast<int>(1000.0 / fs * 4096.0);
    n = static_cast<int>(fs / 1000.0 * options.windowMs);
  }
  if (n < 1) return Status::kBadOptions;
  const double step = fs / 1000.0 * options.stepMs;
  const double frames = std::floor(total / step);
  if (frames > 1e8) return Status::kBadOptions;
  const auto m = static_cast<std::size_t>(frames);

  try {
    raw_.assign(m, 0.0);
    energy_.assign(m, 0.0);
  } catch (const std::bad_alloc&) {
    return Status::kNoMemory;
  }

  const std::int16_t* x = samples.data();
  const double fmin = options.calcLowHz;
  const double fmax = options.calcHighHz;
  for (std::size_t i = 0; i < m; ++i) {
    const double start = static_cast<double>(i) * step + offset;
    const double f0 = math_.cepstralPitch(x, start, total, fs, fmin, fmax, size, n);
    // A frame whose spline could not have its memory reads 0 Hz: the track
    // fails rather than call it unvoiced.
    if (math_.takeSplineFailure()) return Status::kNoMemory;
    if (f0 == -1.0) return Status::kBadOptions;
    raw_[i] = f0;

    // Mean square over the S samples of the frame's step.
    const auto from = static_cast<std::size_t>(start);
    auto to = static_cast<std::size_t>(start + step);
    if (to > samples.size()) to = samples.size();
    double sum = 0.0;
    for (std::size_t j = from; j < to; ++j) sum += static_cast<double>(x[j]) * x[j];
    energy_[i] = sum / step;
    if (progress) progress(static_cast<int>(i + 1), static_cast<int>(m));
  }

  try {
    clean(raw_, energy_, options.deviationHz, options.thresholdPercent, track_);
  } catch (const std::bad_alloc&) {
    return Status::kNoMemory;
  }
  step_ = step;
  window_ = n;
  fftSize_ = size;
  computed_ = true;
  return Status::kOk;
}

}  // namespace vandrel
