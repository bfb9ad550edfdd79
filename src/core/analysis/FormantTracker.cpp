#include "analysis/FormantTracker.h"

#include <algorithm>
#include <cmath>
#include <new>

namespace vandrel {
namespace {

constexpr double kPi = 3.14159265358979323846;

}  // namespace

// signal_ = x low-passed and kept every d-th sample, by a windowed sinc
// (Blackman) of 32 d + 1 taps cut off at 90% of the new Nyquist frequency;
// with d = 1 a plain copy.
void CFormantTracker::decimate(std::span<const std::int16_t> x, int d) {
  const std::size_t n = x.size() / static_cast<std::size_t>(d);
  signal_.resize(n);
  if (d == 1) {
    std::copy(x.begin(), x.end(), signal_.begin());
    return;
  }
  const int half = 16 * d;
  taps_.resize(static_cast<std::size_t>(2 * half + 1));
  const double cut = 0.9 * 0.5 / d;  // cycles per input sample
  double sum = 0.0;
  for (int k = -half; k <= half; ++k) {
    const double w = 0.42 + 0.5 * std::cos(kPi * k / half) + 0.08 * std::cos(2.0 * kPi * k / half);
    const double sinc = k == 0 ? 2.0 * cut : std::sin(2.0 * kPi * cut * k) / (kPi * k);
    taps_[static_cast<std::size_t>(k + half)] = w * sinc;
    sum += w * sinc;
  }
  for (double& t : taps_) t /= sum;  // unit gain at 0 Hz
  const auto size = static_cast<std::ptrdiff_t>(x.size());
  for (std::size_t i = 0; i < n; ++i) {
    const auto centre = static_cast<std::ptrdiff_t>(i) * d;
    double acc = 0.0;
    const std::ptrdiff_t lo = std::max<std::ptrdiff_t>(-half, -centre);
    const std::ptrdiff_t hi = std::min<std::ptrdiff_t>(half, size - 1 - centre);
    for (std::ptrdiff_t k = lo; k <= hi; ++k)
      acc += taps_[static_cast<std::size_t>(k + half)] * x[static_cast<std::size_t>(centre + k)];
    signal_[i] = acc;
  }
}

// A window that would run past the end of the signal ends with it instead, as
// the pitch tracker's does: a window half full of zeros gives a predictor
// that fits the cut, not the formants.
void CFormantTracker::analyseFrame(double start, std::size_t frame) {
  const auto size = static_cast<std::ptrdiff_t>(signal_.size());
  const auto first =
      std::max<std::ptrdiff_t>(0, std::min(static_cast<std::ptrdiff_t>(start), size - window_));
  const auto at = [&](std::ptrdiff_t i) {
    return i >= 0 && i < size ? signal_[static_cast<std::size_t>(i)] : 0.0;
  };
  // y[i] = (x[i] - a x[i-1]) w[i]: pre-emphasis lifts the upper formants to
  // the level of the lower ones, so the predictor resolves them.
  double loud = 0.0;
  double prev = at(first - 1);
  for (int i = 0; i < window_; ++i) {
    const double x = at(first + i);
    loud += x * x;
    frame_[static_cast<std::size_t>(i)] = (x - preEmphasis_ * prev) * hamming_[static_cast<std::size_t>(i)];
    prev = x;
  }
  loudness_[frame] = loud / window_;
  candCount_[frame] = 0;
  if (loud == 0.0) return;

  const LpcPredictor& pred = math_.predictor(frame_.data(), window_, order_);
  std::copy(pred.a.begin(), pred.a.begin() + pred.order + 1, coeffs_.begin());
  const FormantCandidates* fc = math_.formantCandidates(pred.order, kMaxBandwidth, coeffs_.data(), fs_);
  if (fc == nullptr) return;
  Candidate* out = &cand_[frame * kMaxCandidates];
  int n = 0;
  for (int i = 0; i < fc->count && n < kMaxCandidates; ++i) {
    const double f = fc->frequency[static_cast<std::size_t>(i)];
    const double b = fc->bandwidth[static_cast<std::size_t>(i)];
    if (f < kLowest[0] || f > kHighest[kFormants - 1] || f >= 0.5 * fs_ - 50.0 || !(b > 0.0)) continue;
    out[n++] = {f, b};
  }
  candCount_[frame] = n;
}

// All increasing assignments of this frame's candidates to the formants from
// `formant` on, each candidate at index `next` or above.
void CFormantTracker::enumerate(std::size_t frame, int formant, int next, State& s) {
  if (formant == kFormants) {
    all_.push_back(s);
    return;
  }
  const auto k = static_cast<std::size_t>(formant);
  const double saved = s.cost;
  s.pick[k] = -1;
  s.cost = saved + kMissingCost;
  enumerate(frame, formant + 1, next, s);
  const Candidate* c = &cand_[frame * kMaxCandidates];
  for (int j = next; j < candCount_[frame]; ++j) {
    const double f = c[j].f;
    if (f < kLowest[k]) continue;
    if (f > kHighest[k]) break;
    s.pick[k] = static_cast<std::int8_t>(j);
    s.cost = saved + kFrequencyWeight * std::fabs(f - kReference[k]) / kReference[k] +
             kBandwidthWeight * c[j].b / f;
    enumerate(frame, formant + 1, j + 1, s);
  }
  s.cost = saved;
}

void CFormantTracker::statesOf(std::size_t frame) {
  all_.clear();
  State s;
  enumerate(frame, 0, 0, s);
  const auto keep = std::min<std::size_t>(all_.size(), kBeam);
  std::partial_sort(all_.begin(), all_.begin() + static_cast<std::ptrdiff_t>(keep), all_.end(),
                    [](const State& a, const State& b) { return a.cost < b.cost; });
  std::copy(all_.begin(), all_.begin() + static_cast<std::ptrdiff_t>(keep),
            states_.begin() + static_cast<std::ptrdiff_t>(frame * kBeam));
  stateCount_[frame] = static_cast<int>(keep);
}

double CFormantTracker::transition(std::size_t prevFrame, const State& a, std::size_t frame,
                                   const State& b) const {
  const Candidate* ca = &cand_[prevFrame * kMaxCandidates];
  const Candidate* cb = &cand_[frame * kMaxCandidates];
  double cost = 0.0;
  for (std::size_t k = 0; k < kFormants; ++k) {
    const int i = a.pick[k], j = b.pick[k];
    if (i < 0 && j < 0) continue;
    if (i < 0 || j < 0) {
      cost += kSwitchCost;
      continue;
    }
    const double fa = ca[i].f, fb = cb[j].f;
    cost += std::min(kMaxTransition, kTransitionWeight * std::fabs(fa - fb) / (0.5 * (fa + fb)));
  }
  return cost * stepScale_;
}

// Viterbi over frames first .. end - 1, all of which have states.
void CFormantTracker::bestPath(std::size_t first, std::size_t end) {
  const auto beam = static_cast<std::size_t>(kBeam);
  for (int j = 0; j < stateCount_[first]; ++j)
    delta_[first * beam + static_cast<std::size_t>(j)] =
        states_[first * beam + static_cast<std::size_t>(j)].cost;
  for (std::size_t i = first + 1; i < end; ++i) {
    for (int j = 0; j < stateCount_[i]; ++j) {
      const State& cur = states_[i * beam + static_cast<std::size_t>(j)];
      double best = 1e300;
      int from = 0;
      for (int p = 0; p < stateCount_[i - 1]; ++p) {
        const double v = delta_[(i - 1) * beam + static_cast<std::size_t>(p)] +
                         transition(i - 1, states_[(i - 1) * beam + static_cast<std::size_t>(p)], i, cur);
        if (v < best) {
          best = v;
          from = p;
        }
      }
      delta_[i * beam + static_cast<std::size_t>(j)] = best + cur.cost;
      back_[i * beam + static_cast<std::size_t>(j)] = from;
    }
  }
  const double* last = &delta_[(end - 1) * beam];
  int at = static_cast<int>(std::min_element(last, last + stateCount_[end - 1]) - last);
  for (std::size_t i = end; i-- > first;) {
    const State& s = states_[i * beam + static_cast<std::size_t>(at)];
    const Candidate* c = &cand_[i * kMaxCandidates];
    for (std::size_t k = 0; k < kFormants; ++k) {
      const int j = s.pick[k];
      freq_[i][k] = j < 0 ? 0.0 : c[j].f;
      bw_[i][k] = j < 0 ? 0.0 : c[j].b;
    }
    if (i > first) at = back_[i * beam + static_cast<std::size_t>(at)];
  }
}

CFormantTracker::Status CFormantTracker::compute(std::span<const std::int16_t> samples, double fs,
                                                 const FormantTrackSettings& s,
                                                 const AnalysisProgress& progress) {
  freq_.clear();
  bw_.clear();
  if (samples.size() < static_cast<std::size_t>(kMinSamples)) return Status::kTooShort;
  if (!(fs > 0.0) || s.frames < 0 || !(s.spacing > 0.0) || !(s.firstSample >= 0.0) || s.lpcCoefficients < 2 ||
      !(s.windowMs > 0.0) || !(s.preEmphasis >= 0.0))
    return Status::kBadOptions;
  // Formants lie below about 5.5 kHz: at twice kAnalysisRate or more the
  // signal is decimated, so that the predictor spends its poles there, and
  // the order shrinks with the rate (to an even count).
  const int d = std::clamp(static_cast<int>(fs / kAnalysisRate), 1, 16);
  fs_ = fs / d;
  order_ = std::min(s.lpcCoefficients, CMathFunc::kMaxLpcOrder);
  if (d > 1) order_ = std::max(4, 2 * ((order_ + 2 * d - 1) / (2 * d)));
  const double window = s.windowMs * fs_ / 1000.0;
  if (!(window <= static_cast<double>(1 << 20))) return Status::kBadOptions;
  window_ = static_cast<int>(window);
  if (window_ <= order_) return Status::kBadOptions;
  preEmphasis_ = s.preEmphasis;
  stepScale_ = std::clamp(kReferenceStepMs / 1000.0 * fs / s.spacing, 0.01, 100.0);
  const auto m = static_cast<std::size_t>(s.frames);
  const auto w = static_cast<std::size_t>(window_);
  try {
    frame_.assign(w, 0.0);
    hamming_.resize(w);
    coeffs_.assign(static_cast<std::size_t>(CMathFunc::kMaxLpcOrder) + 1, 0.0);
    cand_.assign(m * kMaxCandidates, Candidate{});
    candCount_.assign(m, 0);
    loudness_.assign(m, 0.0);
    states_.assign(m * kBeam, State{});
    stateCount_.assign(m, 0);
    delta_.assign(m * kBeam, 0.0);
    back_.assign(m * kBeam, 0);
    freq_.assign(m, {});
    bw_.assign(m, {});
  } catch (const std::bad_alloc&) {
    freq_.clear();
    bw_.clear();
    return Status::kNoMemory;
  }
  for (std::size_t i = 0; i < w; ++i)
    hamming_[i] = 0.54 - 0.46 * std::cos(2.0 * kPi * static_cast<double>(i) / static_cast<double>(w - 1));

  try {
    decimate(samples, d);
  } catch (const std::bad_alloc&) {
    freq_.clear();
    bw_.clear();
    return Status::kNoMemory;
  }
  for (std::size_t i = 0; i < m; ++i) {
    analyseFrame((s.firstSample + static_cast<double>(i) * s.spacing) / d, i);
    if (progress) progress(static_cast<int>(i + 1), static_cast<int>(m));
  }
  const double loudest = m > 0 ? *std::max_element(loudness_.begin(), loudness_.end()) : 0.0;
  const double gate = loudest * std::pow(10.0, -kSilenceDb / 10.0);
  for (std::size_t i = 0; i < m; ++i) {
    if (loudness_[i] < gate) candCount_[i] = 0;
    if (candCount_[i] > 0) statesOf(i);
  }
  // Silent stretches split the recording; each sounding stretch gets its own
  // best path, so a formant may start afresh after a pause.
  for (std::size_t i = 0; i < m;) {
    if (candCount_[i] == 0) {
      ++i;
      continue;
    }
    std::size_t end = i;
    while (end < m && candCount_[end] > 0) ++end;
    bestPath(i, end);
    i = end;
  }
  return Status::kOk;
}

}  // namespace vandrel
