#include "analysis/Resample.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>

namespace vandrel {

namespace {
constexpr double kPi = 3.14159265358979323846;
constexpr int kCrossings = 8;
constexpr int kPerSample = 256;  // table points per input sample
}  // namespace

template <class T>
CResampler<T>::CResampler(std::span<const T> x, double from, double to) : x_(x) {
  if (x.empty() || !(from > 0.0) || !(to > 0.0)) return;
  ratio_ = to / from;
  const double narrow = std::min(1.0, ratio_);  // the narrower band, in input Nyquists
  const double cut = 0.95 * 0.5 * narrow;       // cycles per input sample
  half_ = kCrossings / narrow;                  // input samples either side
  const auto points = static_cast<std::size_t>(std::ceil(half_ * kPerSample)) + 2;
  table_.resize(points);
  for (std::size_t i = 0; i < points; ++i) {
    const double d = static_cast<double>(i) / kPerSample;
    const double sinc = d == 0.0 ? 2.0 * cut : std::sin(2.0 * kPi * cut * d) / (kPi * d);
    const double t = std::min(d / half_, 1.0);
    table_[i] = sinc * (0.42 + 0.5 * std::cos(kPi * t) + 0.08 * std::cos(2.0 * kPi * t));
  }
  n_ = static_cast<std::size_t>(static_cast<double>(x.size()) * ratio_);
  // The copy's rates are whole numbers of Hz, so output j lies at j M / L
  // input samples with small L: the L filters, one per fraction, are made
  // once, and every output away from the ends is one dot product (the
  // resampling was a tenth of a copy's time).
  const auto wholeFrom = std::llround(from), wholeTo = std::llround(to);
  const long long g = std::gcd(wholeFrom, wholeTo);
  L_ = g > 0 ? wholeTo / g : 0, M_ = g > 0 ? wholeFrom / g : 0;
  rational_ = std::fabs(from - static_cast<double>(wholeFrom)) < 1e-9 &&
              std::fabs(to - static_cast<double>(wholeTo)) < 1e-9 && L_ > 0 && L_ <= 4096;
  if (!rational_) return;
  taps_ = static_cast<std::size_t>(2.0 * half_) + 2;
  weights_.assign(static_cast<std::size_t>(L_) * taps_, 0.0);
  firstTap_.resize(static_cast<std::size_t>(L_));
  for (long long r = 0; r < L_; ++r) {
    const double frac = static_cast<double>(r) / static_cast<double>(L_);
    const auto lo = static_cast<std::ptrdiff_t>(std::ceil(frac - half_));
    const auto hi = static_cast<std::ptrdiff_t>(std::floor(frac + half_));
    double* w = weights_.data() + static_cast<std::size_t>(r) * taps_;
    double gain = 0.0;
    for (auto k = lo; k <= hi; ++k) {
      const double h = filterAt(std::fabs(frac - static_cast<double>(k)));
      w[k - lo] = h;
      gain += h;
    }
    for (std::size_t k = 0; k < taps_; ++k) w[k] = gain != 0.0 ? w[k] / gain : 0.0;
    firstTap_[static_cast<std::size_t>(r)] = lo;
  }
}

// The filter at `distance` input samples from its centre (at most half_),
// between the table's points in a straight line.
template <class T>
double CResampler<T>::filterAt(double distance) const {
  const double pos = distance * kPerSample;
  const auto i = static_cast<std::size_t>(pos);
  return table_[i] + (pos - static_cast<double>(i)) * (table_[i + 1] - table_[i]);
}

// Output j the long way: the table's filter at its place, its sum of weights
// divided out (near the ends, where taps fall outside, and for rates that
// are not whole numbers of Hz).
template <class T>
double CResampler<T>::edge(std::size_t j) const {
  const auto last = static_cast<std::ptrdiff_t>(x_.size()) - 1;
  if (rational_) {
    const long long jm = static_cast<long long>(j) * M_;
    const auto r = static_cast<std::size_t>(jm % L_);
    const auto first = static_cast<std::ptrdiff_t>(jm / L_) + firstTap_[r];
    if (first >= 0 && first + static_cast<std::ptrdiff_t>(taps_) - 1 <= last) {
      const double* w = weights_.data() + r * taps_;
      const T* in = x_.data() + first;
      double acc = 0.0;
      for (std::size_t k = 0; k < taps_; ++k) acc += w[k] * in[k];
      return acc;
    }
  }
  const double t = static_cast<double>(j) / ratio_;
  const auto lo = std::max<std::ptrdiff_t>(0, static_cast<std::ptrdiff_t>(std::ceil(t - half_)));
  const auto hi = std::min<std::ptrdiff_t>(last, static_cast<std::ptrdiff_t>(std::floor(t + half_)));
  double acc = 0.0, gain = 0.0;
  for (auto k = lo; k <= hi; ++k) {
    const double h = filterAt(std::fabs(t - static_cast<double>(k)));
    acc += h * x_[static_cast<std::size_t>(k)];
    gain += h;
  }
  return gain != 0.0 ? acc / gain : 0.0;
}

template <class T>
void CResampler<T>::range(std::size_t begin, std::size_t end, double* out) const {
  end = std::min(end, n_);
  if (begin >= end) return;
  const auto y = [&](std::size_t j) -> double& { return out[j - begin]; };  // output j
  const auto last = static_cast<std::ptrdiff_t>(x_.size()) - 1;
  // Where each output's dot product starts: output j lies at j M / L input
  // samples, counted in whole samples and fractions (no division per output).
  long long whole = 0, part = 0;
  if (rational_) {
    const long long jm = static_cast<long long>(begin) * M_;
    whole = jm / L_, part = jm % L_;
  }
  const auto advance = [&] {
    part += M_;
    while (part >= L_) part -= L_, ++whole;
  };
  // Four outputs at a time: each dot product is a chain of additions, and
  // four chains keep the adder busy where one waits on it (each sum still in
  // its own order, the one edge() takes).
  constexpr std::size_t kGroup = 4;
  std::size_t j = begin;
  for (; rational_ && j + kGroup <= end; j += kGroup) {
    std::array<const double*, kGroup> w{};
    std::array<const T*, kGroup> in{};
    const long long w0 = whole, p0 = part;
    bool inside = true;
    for (std::size_t q = 0; q < kGroup; ++q, advance()) {
      const auto first = static_cast<std::ptrdiff_t>(whole) + firstTap_[static_cast<std::size_t>(part)];
      inside = inside && first >= 0 && first + static_cast<std::ptrdiff_t>(taps_) - 1 <= last;
      w[q] = weights_.data() + static_cast<std::size_t>(part) * taps_;
      in[q] = x_.data() + std::max<std::ptrdiff_t>(first, 0);
    }
    if (!inside) {
      whole = w0, part = p0;
      for (std::size_t q = 0; q < kGroup; ++q, advance()) y(j + q) = edge(j + q);
      continue;
    }
    double a0 = 0.0, a1 = 0.0, a2 = 0.0, a3 = 0.0;
    for (std::size_t k = 0; k < taps_; ++k) {
      a0 += w[0][k] * in[0][k];
      a1 += w[1][k] * in[1][k];
      a2 += w[2][k] * in[2][k];
      a3 += w[3][k] * in[3][k];
    }
    y(j) = a0, y(j + 1) = a1, y(j + 2) = a2, y(j + 3) = a3;
  }
  for (; j < end; ++j) y(j) = edge(j);
}

template class CResampler<double>;
template class CResampler<std::int16_t>;

std::vector<double> resampleSignal(const std::vector<double>& x, double from, double to) {
  const CResampler<double> r(x, from, to);
  std::vector<double> y(r.size());
  r.range(0, y.size(), y.data());
  return y;
}

}  // namespace vandrel
