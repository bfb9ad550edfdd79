#include "analysis/SpectralDistance.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace vandrel {

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

bool shared(const std::vector<double>& a, const std::vector<double>& b, std::size_t i) {
  return !std::isnan(a[i]) && !std::isnan(b[i]);
}

// The means of both curves over the points they share; false when none.
bool levels(const std::vector<double>& a, const std::vector<double>& b, double& ma, double& mb) {
  const std::size_t n = std::min(a.size(), b.size());
  double sa = 0.0, sb = 0.0;
  std::size_t count = 0;
  for (std::size_t i = 0; i < n; ++i) {
    if (!shared(a, b, i)) continue;
    sa += a[i];
    sb += b[i];
    ++count;
  }
  if (count == 0) return false;
  ma = sa / static_cast<double>(count);
  mb = sb / static_cast<double>(count);
  return true;
}

double readAt(const std::vector<double>& env, double at) {
  if (env.size() < 2 || !(at >= 0.0)) return kNaN;
  const auto lo = std::min(static_cast<std::size_t>(at), env.size() - 2);
  const double t = std::min(at - static_cast<double>(lo), 1.0);
  return env[lo] * (1.0 - t) + env[lo + 1] * t;
}

}  // namespace

double envelopeDistance(const std::vector<double>& natural, const std::vector<double>& copy) {
  double mn = 0.0, mc = 0.0;
  if (!levels(natural, copy, mn, mc)) return kNaN;
  const std::size_t n = std::min(natural.size(), copy.size());
  double sum = 0.0;
  std::size_t count = 0;
  for (std::size_t i = 0; i < n; ++i) {
    if (!shared(natural, copy, i)) continue;
    const double d = (copy[i] - mc) - (natural[i] - mn);
    sum += d * d;
    ++count;
  }
  return std::sqrt(sum / static_cast<double>(count));
}

FitMeter fitMeter(const std::vector<double>& natural, const std::vector<double>& copy, double hzPerPoint) {
  FitMeter m;
  double mn = 0.0, mc = 0.0;
  if (hzPerPoint <= 0.0 || !levels(natural, copy, mn, mc)) return m;
  m.valid = true;
  m.distanceDb = envelopeDistance(natural, copy);
  double worst = -1.0;
  for (const SliceFormant& p : envelopePeaks(natural, hzPerPoint, FitMeter::kPeaks)) {
    const double at = p.frequency / hzPerPoint;
    const double d = (readAt(copy, at) - mc) - (readAt(natural, at) - mn);
    if (std::isnan(d)) break;  // above the copy's band: so are the rest
    const auto j = static_cast<std::size_t>(m.peaks);
    m.peakHz[j] = p.frequency;
    m.peakDiffDb[j] = d;
    if (std::abs(d) > worst) {
      worst = std::abs(d);
      m.worstPeak = m.peaks;
    }
    ++m.peaks;
  }
  return m;
}

double DistanceTrack::maxDb() const {
  double top = 0.0;
  for (double v : db)
    if (std::isfinite(v)) top = std::max(top, v);
  return top;
}

DistanceTrack distanceTrack(const SampleSet& natural, const SampleSet& copy, const SliceSettings& settings,
                            int stepMs, const std::atomic<bool>* cancel) {
  DistanceTrack track;
  track.stepMs = std::max(stepMs, 1);
  auto lengthMs = [](const SampleSet& s) {
    return s.sampleRate > 0.0 ? 1000.0 * static_cast<double>(s.samples.size()) / s.sampleRate : 0.0;
  };
  const double span = std::min(lengthMs(natural), lengthMs(copy));
  if (span <= 0.0) return track;
  const auto frames = static_cast<std::size_t>(span / track.stepMs) + 1;
  track.db.reserve(frames);
  SliceAnalyser an, ac;
  std::vector<double> en, ec;
  for (std::size_t i = 0; i < frames; ++i) {
    if (cancel != nullptr && cancel->load(std::memory_order_relaxed)) break;
    const double t = static_cast<double>(i) * track.stepMs;
    const bool ok = an.envelope(natural, settings, t, en) && ac.envelope(copy, settings, t, ec);
    track.db.push_back(ok ? envelopeDistance(en, ec) : kNaN);
  }
  return track;
}

}  // namespace vandrel
