#include "analysis/SpectralSlice.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <new>

namespace vandrel {

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// Points of a `points`-value curve up to fmax that still lie within `knots`
// spline knots of a spectrum spanning 0 .. fs/2; beyond them the spline would
// only extrapolate.
int coveredPoints(const SliceSettings& s, double fs, int knots) {
  if (s.fmaxHz <= 0 || fs <= 0.0) return 0;
  const double step = (s.fmaxHz / (0.5 * fs)) * knots / s.points;  // knots per point
  const double last = static_cast<double>(knots - 1);
  const auto n = static_cast<long>(std::floor(last / step)) + 1;
  return static_cast<int>(std::clamp(n, 0L, static_cast<long>(s.points)));
}

std::size_t sz(int n) { return static_cast<std::size_t>(std::max(n, 0)); }

}  // namespace

SliceSettings sliceSettings(const COptionFFTLPC& o, double preEmphasis, int points) {
  SliceSettings s;
  s.fftPoints = analysisSizePoints(std::clamp(o.sizeIndex, 0, COptionFFTLPC::kSizeEntries - 1));
  s.windowMs = std::max(o.appliedWindowMs, 1);
  s.preEmphasis = preEmphasis;
  s.lpcOrder = std::clamp(o.lpcCoefficients, 1, CMathFunc::kMaxLpcOrder);
  s.orderRate = o.fs;
  s.points = std::max(points, 2);
  s.fmaxHz = std::max(o.frequencyRange, 1);
  return s;
}

int SliceSettings::lpcOrderAt(double fs) const {
  if (orderRate <= 0.0 || fs <= 0.0 || fs == orderRate || lpcOrder <= 4) return lpcOrder;
  int p = static_cast<int>((lpcOrder - 4) * fs / orderRate) + 4;
  p -= p % 2;
  return std::clamp(p, 4, CMathFunc::kMaxLpcOrder);
}

bool SliceAnalyser::prepareFrame(const SampleSet& signal, const SliceSettings& s, double ms) {
  const double fs = signal.sampleRate;
  const auto count = static_cast<long>(signal.samples.size());
  if (fs <= 0.0 || count == 0) return false;
  const int n = s.fftPoints;
  const int len = std::clamp(static_cast<int>(s.windowMs * fs / 1000.0), 2, n);
  frameLength_ = len;
  const long centre = std::lround(ms * fs / 1000.0);
  const long start = centre - len / 2;
  if (start + len < 0 || start >= count) return false;

  frame_.assign(sz(std::max({n + 1, 128, s.points})), 0.0);
  double sum = 0.0;
  auto sample = [&](long i) {
    return i >= 0 && i < count ? static_cast<double>(signal.samples[static_cast<std::size_t>(i)]) : 0.0;
  };
  for (int i = 0; i < len; ++i) {
    const double x = sample(start + i);
    const double v = s.preEmphasis > 0.0 ? sample(start + i + 1) - s.preEmphasis * x : x;
    const double w = CMathFunc::hamming(i, len);
    frame_[sz(i)] = v * w;
    sum += w;
  }
  levelOffset_ = 20.0 * std::log10(sum);
  return true;
}

bool SliceAnalyser::frameCurves(const SampleSet& signal, const SliceSettings& s, double ms, double* fft,
                                double* lpc, bool formants) {
  if (!prepareFrame(signal, s, ms)) return false;
  const double fs = signal.sampleRate;
  const int len = frameLength_;
  const auto points = sz(s.points);

  if (fft != nullptr) {
    work_ = frame_;
    math_.fftSpectrum(work_.data(), s.fftPoints, 0.0, 0, 1, s.points, s.fmaxHz, fs);
    const int covered = coveredPoints(s, fs, s.fftPoints / 2);
    for (std::size_t i = 0; i < points; ++i) fft[i] = i < sz(covered) ? work_[i] - levelOffset_ : kNaN;
  }

  work_.assign(frame_.begin(), frame_.end());
  math_.lpcSpectrum(work_.data(), s.lpcOrderAt(fs), len, 0.0, 0, 1, s.points, s.fmaxHz, fs, formants ? 1 : 0,
                    0);
  // A curve whose spline could not have its memory is no curve of this frame.
  if (math_.takeSplineFailure()) throw std::bad_alloc();
  const double e = math_.lastPredictor().error;
  if (!(e > 0.0)) return false;  // silence: no envelope to speak of
  const double gain = 10.0 * std::log10(e) - levelOffset_;
  const int covered = coveredPoints(s, fs, 128);
  for (std::size_t i = 0; i < points; ++i) lpc[i] = i < sz(covered) ? gain - work_[i] : kNaN;
  return true;
}

bool SliceAnalyser::envelope(const SampleSet& signal, const SliceSettings& s, double ms,
                             std::vector<double>& env) {
  env.resize(sz(s.points));
  return frameCurves(signal, s, ms, nullptr, env.data(), false);
}

const SpectralSlice& SliceAnalyser::analyse(const SampleSet& signal, const SliceSettings& s, double startMs,
                                            double endMs, int stepMs) {
  const auto points = sz(s.points);
  slice_.fftDb.assign(points, 0.0);
  slice_.lpcDb.assign(points, 0.0);
  slice_.formants.clear();
  slice_.frames = 0;
  slice_.lpcOrder = s.lpcOrderAt(signal.sampleRate);

  const double fs = signal.sampleRate;
  const bool average = endMs > startMs;
  if (!average) {
    if (frameCurves(signal, s, startMs, slice_.fftDb.data(), slice_.lpcDb.data(), true)) {
      slice_.frames = 1;
      if (const FormantCandidates* c = math_.lastCandidates()) {
        const double top = std::min(static_cast<double>(s.fmaxHz), 0.5 * fs);
        for (int i = 0; i < c->count; ++i) {
          const double f = c->frequency[sz(i)];
          // Real root pairs sit at 0 Hz or fs/2 and are no resonances.
          if (!(f > 0.0 && f < top)) continue;
          const double at = f / s.hzPerPoint();
          const auto lo = std::min(sz(static_cast<int>(at)), points - 2);
          const double t = std::clamp(at - static_cast<double>(lo), 0.0, 1.0);
          const double level = slice_.lpcDb[lo] * (1.0 - t) + slice_.lpcDb[lo + 1] * t;
          slice_.formants.push_back({f, c->bandwidth[sz(i)], level});
        }
      }
    }
    return slice_;
  }

  double step = std::max(stepMs, 1);
  if ((endMs - startMs) / step + 1.0 > kMaxAveragedFrames)
    step = (endMs - startMs) / (kMaxAveragedFrames - 1);
  fft_.resize(points);
  lpc_.resize(points);
  for (double t = startMs; t <= endMs + 1e-9; t += step) {
    if (!frameCurves(signal, s, t, fft_.data(), lpc_.data(), false)) continue;
    for (std::size_t i = 0; i < points; ++i) {
      slice_.fftDb[i] += fft_[i];
      slice_.lpcDb[i] += lpc_[i];
    }
    ++slice_.frames;
  }
  if (slice_.frames > 0) {
    for (std::size_t i = 0; i < points; ++i) {
      slice_.fftDb[i] /= slice_.frames;
      slice_.lpcDb[i] /= slice_.frames;
    }
    slice_.formants = envelopePeaks(slice_.lpcDb, s.hzPerPoint(), 8);
  }
  return slice_;
}

std::vector<SliceFormant> envelopePeaks(const std::vector<double>& env, double hzPerPoint, int maxPeaks) {
  std::vector<SliceFormant> peaks;
  const auto n = env.size();
  for (std::size_t i = 1; i + 1 < n && static_cast<int>(peaks.size()) < maxPeaks; ++i) {
    const double l = env[i - 1], c = env[i], r = env[i + 1];
    if (std::isnan(l) || std::isnan(c) || std::isnan(r) || !(c > l && c >= r)) continue;
    // Vertex of the parabola through the three points.
    const double denom = l - 2.0 * c + r;
    const double offset = denom < 0.0 ? 0.5 * (l - r) / denom : 0.0;
    const double top = c - 0.25 * (l - r) * offset;
    const double half = top - 3.0;
    auto crossing = [&](int dir) -> double {  // fractional index where the peak falls 3 dB below its top
      for (auto j = static_cast<long>(i); j + dir >= 0 && j + dir < static_cast<long>(n); j += dir) {
        const double a = env[sz(static_cast<int>(j))], b = env[sz(static_cast<int>(j + dir))];
        if (std::isnan(b)) return kNaN;
        if (b <= half) return static_cast<double>(j) + dir * (a - half) / (a - b);
        if (b > a) return kNaN;  // the next peak before the 3 dB point
      }
      return kNaN;
    };
    const double lo = crossing(-1), hi = crossing(+1);
    const double bw = std::isnan(lo) || std::isnan(hi) ? 0.0 : (hi - lo) * hzPerPoint;
    peaks.push_back({(static_cast<double>(i) + offset) * hzPerPoint, bw, top});
  }
  return peaks;
}

}  // namespace vandrel
