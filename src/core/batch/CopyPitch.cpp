#include "batch/CopyPitch.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <utility>

#include "analysis/AutocorrelationPitch.h"

namespace vandrel {

namespace {

// One pass between fmin and fmax, with the window of the lowest f0 of the
// first pass, so that both passes see the same frames.
std::vector<double> pass(std::span<const std::int16_t> samples, double fs, const CopyPitchSettings& s,
                         double fmin, double fmax) {
  const auto m = static_cast<std::size_t>(s.frames);
  std::vector<double> f0;
  const double window =
      std::ceil(CAutocorrelationPitch::kPeriodsPerWindow * fs / CopyPitchSettings::kLowestF0);
  const double lead = window / 2.0 - s.firstCentre;
  const int shift = lead > 0.0 ? static_cast<int>(std::ceil(lead / s.spacing)) : 0;
  CAutocorrelationPitch::Settings ps;
  ps.fmin = fmin;
  ps.fmax = fmax;
  ps.stepSamples = s.spacing;
  ps.offset = s.firstCentre + shift * s.spacing - window / 2.0;
  ps.minWindowSamples = window;
  if (m == 0) return f0;
  CAutocorrelationPitch tracker;
  const CAutocorrelationPitch::Status status = tracker.compute(samples, fs, ps);
  if (status == CAutocorrelationPitch::Status::kNoMemory) throw std::bad_alloc();
  if (status != CAutocorrelationPitch::Status::kOk || tracker.track().empty()) return f0;
  const auto& t = tracker.track();
  f0.resize(m);
  for (std::size_t i = 0; i < m; ++i)
    f0[i] = t[static_cast<std::size_t>(
        std::clamp(static_cast<int>(i) - shift, 0, static_cast<int>(t.size()) - 1))];
  return f0;
}

}  // namespace

std::vector<double> copyPitch(std::span<const std::int16_t> samples, double fs, const CopyPitchSettings& s) {
  std::vector<double> first =
      pass(samples, fs, s, CopyPitchSettings::kLowestF0, CopyPitchSettings::kHighestF0);
  // The quartiles weigh each voiced frame by its amplitude: the vowels, where
  // the track is surest, decide the range, not the weak frames of murmurs and
  // bursts, where the first pass errs most.
  std::vector<std::pair<double, double>> voiced;  // f0, weight
  double total = 0.0;
  const auto half = static_cast<std::ptrdiff_t>(s.spacing);
  const auto n = static_cast<std::ptrdiff_t>(samples.size());
  for (std::size_t i = 0; i < first.size(); ++i) {
    if (!(first[i] > 0.0)) continue;
    const auto mid = static_cast<std::ptrdiff_t>(s.firstCentre + static_cast<double>(i) * s.spacing);
    double e = 0.0;
    for (auto j = std::max<std::ptrdiff_t>(0, mid - half); j < std::min(n, mid + half); ++j)
      e += static_cast<double>(samples[static_cast<std::size_t>(j)]) * samples[static_cast<std::size_t>(j)];
    voiced.emplace_back(first[i], std::sqrt(e));
    total += std::sqrt(e);
  }
  if (static_cast<int>(voiced.size()) < CopyPitchSettings::kMinVoicedFrames || !(total > 0.0)) return first;
  std::sort(voiced.begin(), voiced.end());
  const auto quantile = [&](double q) {
    double sum = 0.0;
    for (const auto& [f, w] : voiced)
      if ((sum += w) >= q * total) return f;
    return voiced.back().first;
  };
  const double floor =
      std::max(CopyPitchSettings::kLowestF0, CopyPitchSettings::kFloorRatio * quantile(0.25));
  const double ceiling = std::max(2.0 * floor, CopyPitchSettings::kCeilingRatio * quantile(0.75));
  std::vector<double> second = pass(samples, fs, s, floor, ceiling);
  return second.empty() ? first : second;
}

}  // namespace vandrel
