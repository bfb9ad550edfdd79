#include "analysis/AutocorrelationPitch.h"

#include <algorithm>
#include <cmath>
#include <new>

namespace vandrel {
namespace {

constexpr double kPi = 3.14159265358979323846;
// Golden-section steps refining a peak's lag within +-0.6 lag: the bracket
// shrinks to 1.2 * 0.618^12, under 0.005 lag (0.02% of the shortest period
// at 450 Hz and 11025 Hz).
constexpr int kRefineSteps = 12;

}  // namespace

double CAutocorrelationPitch::windowCorrelation(double lag) const {
  const double t = lag / window_;
  if (t >= 1.0) return 0.0;
  const double a = 2.0 * kPi * t;
  return (1.0 - t) * (2.0 / 3.0 + std::cos(a) / 3.0) + std::sin(a) / (2.0 * kPi);
}

// Band-limited value of r between lags: a sinc tapered by a raised cosine over
// 2 * kSincDepth lags. r is even, so lags below 0 read r[-j]. The sinc and the
// taper each follow a rotation, so one evaluation costs two sin/cos pairs.
double CAutocorrelationPitch::interpolated(const std::vector<double>& r, double lag) const {
  const double base = std::floor(lag);
  const double frac = lag - base;
  const int i0 = static_cast<int>(base);
  if (frac < 1e-9) return r[static_cast<std::size_t>(std::abs(i0))];
  const double sinFrac = std::sin(kPi * frac);
  // Terms j = i0 - D + 1 .. i0 + D, distance d = lag - j = frac + (i0 - j).
  const int first = i0 - kSincDepth + 1;
  const double d0 = lag - first;  // the largest distance, just below D
  constexpr double step = kPi / kSincDepth;
  double tc = std::cos(step * d0), ts = std::sin(step * d0);
  static const double cs = std::cos(step), sn = std::sin(step);  // the same for every lag
  double sum = 0.0;
  for (int k = 0; k < 2 * kSincDepth; ++k) {
    const int j = first + k;
    const double d = lag - j;
    // sin(pi d) = sin(pi frac) * (-1)^(i0 - j)
    const double s = ((i0 - j) & 1) != 0 ? -sinFrac : sinFrac;
    const double w = 0.5 + 0.5 * tc;
    sum += r[static_cast<std::size_t>(std::abs(j))] * s / (kPi * d) * w;
    // taper angle step * d falls by step as j rises
    const double nc = tc * cs + ts * sn;
    ts = ts * cs - tc * sn;
    tc = nc;
  }
  return sum;
}

void CAutocorrelationPitch::autocorrelatePair(const double* a, const double* b) {
  const std::size_t n = std::size_t{1} << fftOrder_;
  const auto w = static_cast<std::size_t>(window_);
  std::copy(a, a + w, re_.begin());
  std::copy(b, b + w, im_.begin());
  std::fill(re_.begin() + static_cast<std::ptrdiff_t>(w), re_.end(), 0.0);
  std::fill(im_.begin() + static_cast<std::ptrdiff_t>(w), im_.end(), 0.0);
  fft_.transform(re_.data(), im_.data(), fftOrder_);
  // Two real frames in one transform: X_a[k] = (X[k] + X*[N-k]) / 2 and
  // X_b[k] = (X[k] - X*[N-k]) / 2i. Their power spectra are real and even, so
  // P_a + i P_b transformed again gives N r_a + i N r_b.
  for (std::size_t k = 0; k <= n / 2; ++k) {
    const std::size_t m = (n - k) & (n - 1);
    const double sr = re_[k] + re_[m], dr = re_[k] - re_[m];
    const double si = im_[k] + im_[m], di = im_[k] - im_[m];
    const double pa = 0.25 * (sr * sr + di * di);
    const double pb = 0.25 * (si * si + dr * dr);
    re_[k] = re_[m] = pa;
    im_[k] = im_[m] = pb;
  }
  fft_.transform(re_.data(), im_.data(), fftOrder_);
  const std::size_t lags = ra_.size();
  const double na = re_[0] > 0.0 ? 1.0 / re_[0] : 0.0;
  const double nb = im_[0] > 0.0 ? 1.0 / im_[0] : 0.0;
  for (std::size_t k = 0; k < lags; ++k) {
    ra_[k] = re_[k] * na;
    rb_[k] = im_[k] * nb;
  }
}

void CAutocorrelationPitch::candidatesOf(const std::vector<double>& r, double localPeak, std::size_t frame) {
  Candidate* c = &cand_[frame * (kMaxCandidates + 1)];
  // The unvoiced candidate grows stronger as the frame grows quieter.
  const double relative = globalPeak_ > 0.0 ? localPeak / globalPeak_ : 0.0;
  c[0] = {
      0.0, 0.0,
      kVoicingThreshold + std::max(0.0, 2.0 - relative / (kSilenceThreshold / (1.0 + kVoicingThreshold)))};
  count_[frame] = 1;
  if (!(localPeak > 0.0) || !(r[0] > 0.0)) return;

  // Local maxima of the corrected autocorrelation at whole lags, their
  // height and place estimated by a parabola; only the strongest go on to
  // the costlier refinement.
  peaks_.clear();
  const auto at = [&](int lag) {
    return r[static_cast<std::size_t>(lag)] / rw_[static_cast<std::size_t>(lag)];
  };
  double prev = at(minLag_ - 1), cur = at(minLag_);
  for (int lag = minLag_; lag <= maxLag_; ++lag) {
    const double next = at(lag + 1);
    if (cur > 0.0 && cur > prev && cur >= next) {
      const double curve = prev - 2.0 * cur + next;
      const double shift = curve < 0.0 ? 0.5 * (prev - next) / curve : 0.0;
      const double height = cur - 0.25 * (prev - next) * shift;
      const double period = lag + shift;
      peaks_.push_back({lag, cur, height - kOctaveCost * std::log2(fmin_ * period / fs_)});
    }
    prev = cur;
    cur = next;
  }
  const auto keep = std::min<std::size_t>(peaks_.size(), kMaxCandidates);
  std::partial_sort(peaks_.begin(), peaks_.begin() + static_cast<std::ptrdiff_t>(keep), peaks_.end(),
                    [](const Peak& x, const Peak& y) { return x.score > y.score; });

  // Golden-section search for the peak of the interpolated curve within
  // half a lag (and a little) of the whole-lag maximum.
  const auto corrected = [&](double lag) {
    const double rw = windowCorrelation(lag);
    return rw > 0.0 ? interpolated(r, lag) / rw : 0.0;
  };
  int n = 1;
  for (std::size_t p = 0; p < keep; ++p) {
    const double lag = peaks_[p].lag;
    double lo = lag - 0.6, hi = lag + 0.6;
    constexpr double g = 0.6180339887498949;
    double x1 = hi - g * (hi - lo), x2 = lo + g * (hi - lo);
    double f1 = corrected(x1), f2 = corrected(x2);
    for (int it = 0; it < kRefineSteps; ++it) {
      if (f1 < f2) {
        lo = x1;
        x1 = x2;
        f1 = f2;
        x2 = lo + g * (hi - lo);
        f2 = corrected(x2);
      } else {
        hi = x2;
        x2 = x1;
        f2 = f1;
        x1 = hi - g * (hi - lo);
        f1 = corrected(x1);
      }
    }
    const double whole = peaks_[p].atLag;
    double height = std::max(f1, f2);
    double period = f1 > f2 ? x1 : x2;
    if (!(height > whole)) {
      height = whole;
      period = lag;
    }
    // Above 1 the frame is not periodic but changing in loudness; such a
    // peak is worth as little as its inverse.
    if (height > 1.0) height = 1.0 / height;
    const double f = fs_ / period;
    if (f >= fmin_ && f <= fmax_)
      c[n++] = {f, height, height - kOctaveCost * std::log2(fmin_ * period / fs_)};
  }
  count_[frame] = n;
}

void CAutocorrelationPitch::bestPath(double stepSeconds) {
  const std::size_t m = count_.size();
  const std::size_t k = kMaxCandidates + 1;
  const double scale = 0.01 / stepSeconds;
  const double jump = kOctaveJumpCost * scale;
  const double switchCost = kVoicedUnvoicedCost * scale;
  for (int j = 0; j < count_[0]; ++j)
    delta_[static_cast<std::size_t>(j)] = cand_[static_cast<std::size_t>(j)].score;
  for (std::size_t i = 1; i < m; ++i) {
    const Candidate* prev = &cand_[(i - 1) * k];
    const Candidate* cur = &cand_[i * k];
    const double* dPrev = &delta_[(i - 1) * k];
    for (int j = 0; j < count_[i]; ++j) {
      double best = -1e300;
      int from = 0;
      for (int p = 0; p < count_[i - 1]; ++p) {
        const bool pv = prev[p].f > 0.0, cv = cur[j].f > 0.0;
        double cost = 0.0;
        if (pv && cv) {
          cost = jump * std::fabs(std::log2(prev[p].f / cur[j].f));
        } else if (pv != cv) {
          cost = switchCost;
        }
        const double v = dPrev[p] - cost;
        if (v > best) {
          best = v;
          from = p;
        }
      }
      delta_[i * k + static_cast<std::size_t>(j)] = best + cur[j].score;
      back_[i * k + static_cast<std::size_t>(j)] = from;
    }
  }
  const double* last = &delta_[(m - 1) * k];
  int at = static_cast<int>(std::max_element(last, last + count_[m - 1]) - last);
  for (std::size_t i = m; i-- > 0;) {
    const Candidate* c = &cand_[i * k];
    track_[i] = c[at].f;
    double s = c[at].r;
    if (at == 0)
      for (int j = 1; j < count_[i]; ++j) s = std::max(s, c[j].r);
    strength_[i] = std::clamp(s, 0.0, 1.0);
    if (i > 0) at = back_[i * k + static_cast<std::size_t>(at)];
  }
}

CAutocorrelationPitch::Status CAutocorrelationPitch::compute(std::span<const std::int16_t> samples, double fs,
                                                             const Settings& s,
                                                             const AnalysisProgress& progress) {
  track_.clear();
  strength_.clear();
  if (!(fs > 0.0) || !(s.fmin > 0.0) || !(s.fmax > s.fmin) || !(s.stepSamples >= 1.0) || !(s.offset >= 0.0))
    return Status::kBadOptions;
  fs_ = fs;
  fmin_ = s.fmin;
  fmax_ = std::min(s.fmax, fs / 2.0);
  minLag_ = std::max(2, static_cast<int>(std::floor(fs / fmax_)));
  maxLag_ = static_cast<int>(std::ceil(fs / fmin_));
  if (maxLag_ <= minLag_ || maxLag_ > 1 << 18) return Status::kBadOptions;
  const double window = std::ceil(std::max(s.minWindowSamples, kPeriodsPerWindow * fs / fmin_));
  if (!(window <= static_cast<double>(1 << 20))) return Status::kBadOptions;
  window_ = static_cast<int>(window);
  if (samples.size() < static_cast<std::size_t>(window_)) return Status::kTooShort;
  const double frames = std::floor(static_cast<double>(samples.size()) / s.stepSamples);
  if (frames < 1.0) return Status::kTooShort;
  const auto m = static_cast<std::size_t>(frames);

  const int lags = maxLag_ + kSincDepth + 2;
  fftOrder_ = 1;
  while ((1 << fftOrder_) < window_ + lags) ++fftOrder_;
  if (fftOrder_ > FftTables::kMaxOrder) return Status::kBadOptions;
  const std::size_t n = std::size_t{1} << fftOrder_;
  const auto w = static_cast<std::size_t>(window_);
  try {
    re_.assign(n, 0.0);
    im_.assign(n, 0.0);
    ra_.assign(static_cast<std::size_t>(lags), 0.0);
    rb_.assign(static_cast<std::size_t>(lags), 0.0);
    frameA_.assign(w, 0.0);
    frameB_.assign(w, 0.0);
    hann_.resize(w);
    rw_.resize(static_cast<std::size_t>(lags));
    peaks_.reserve(static_cast<std::size_t>(maxLag_));
    cand_.assign(m * (kMaxCandidates + 1), Candidate{});
    count_.assign(m, 0);
    delta_.assign(m * (kMaxCandidates + 1), 0.0);
    back_.assign(m * (kMaxCandidates + 1), 0);
    track_.assign(m, 0.0);
    strength_.assign(m, 0.0);
  } catch (const std::bad_alloc&) {
    track_.clear();
    strength_.clear();
    return Status::kNoMemory;
  }
  for (std::size_t i = 0; i < w; ++i)
    hann_[i] = 0.5 - 0.5 * std::cos(2.0 * kPi * (static_cast<double>(i) + 0.5) / window_);

  for (int lag = 0; lag < lags; ++lag) {
    const double v = windowCorrelation(lag);
    rw_[static_cast<std::size_t>(lag)] = v > 1e-9 ? v : 1e-9;
  }

  double mean = 0.0;
  for (auto v : samples) mean += v;
  mean /= static_cast<double>(samples.size());
  globalPeak_ = 0.0;
  for (auto v : samples) globalPeak_ = std::max(globalPeak_, std::fabs(v - mean));

  // Loads frame i into `out`: mean removed, windowed; returns its peak after
  // the window, so that a loud sound at the edge of the window does not make
  // a quiet middle count as loud. A window that would run past the end is
  // moved back to end with the signal: half a window of zeros would make the
  // window correction wrong and the last frames jump an octave.
  const auto load = [&](std::size_t i, std::vector<double>& out) {
    const auto size = static_cast<std::ptrdiff_t>(samples.size());
    const auto start =
        std::min(static_cast<std::ptrdiff_t>(s.offset + static_cast<double>(i) * s.stepSamples),
                 size - static_cast<std::ptrdiff_t>(w));
    const std::ptrdiff_t from = std::min(start, size);
    const std::ptrdiff_t to = std::min(start + static_cast<std::ptrdiff_t>(w), size);
    double sum = 0.0;
    for (std::ptrdiff_t j = from; j < to; ++j) sum += samples[static_cast<std::size_t>(j)];
    const double local = to > from ? sum / static_cast<double>(to - from) : 0.0;
    double peak = 0.0;
    for (std::size_t j = 0; j < w; ++j) {
      const auto at = start + static_cast<std::ptrdiff_t>(j);
      const double v = at < to ? samples[static_cast<std::size_t>(at)] - local : 0.0;
      out[j] = v * hann_[j];
      peak = std::max(peak, std::fabs(out[j]));
    }
    return peak;
  };

  for (std::size_t i = 0; i < m; i += 2) {
    const double peakA = load(i, frameA_);
    double peakB = 0.0;
    if (i + 1 < m) {
      peakB = load(i + 1, frameB_);
    } else {
      std::fill(frameB_.begin(), frameB_.end(), 0.0);
    }
    autocorrelatePair(frameA_.data(), frameB_.data());
    candidatesOf(ra_, peakA, i);
    if (progress) progress(static_cast<int>(i + 1), static_cast<int>(m));
    if (i + 1 < m) {
      candidatesOf(rb_, peakB, i + 1);
      if (progress) progress(static_cast<int>(i + 2), static_cast<int>(m));
    }
  }
  bestPath(s.stepSamples / fs);
  return Status::kOk;
}

}  // namespace vandrel
