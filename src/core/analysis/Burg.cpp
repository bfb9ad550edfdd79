#include "analysis/Burg.h"

namespace vandrel {
namespace {

using V4 = double __attribute__((vector_size(32)));
constexpr std::size_t kLanes = CBurg::kLanes;
static_assert(sizeof(V4) == kLanes * sizeof(double));

// By reference: a vector wider than the default target's may not be passed
// or returned by value.
[[gnu::always_inline]] inline void load(V4& v, const double* p) { __builtin_memcpy(&v, p, sizeof v); }
[[gnu::always_inline]] inline void store(double* p, const V4& v) { __builtin_memcpy(p, &v, sizeof v); }

// The one-frame recursion in four lanes, on interleaved arrays (sample i of
// lane l at i * kLanes + l). False when a lane's error power is not
// positive at a step the others go on with: the caller then runs the frames
// one at a time.
[[gnu::always_inline]] inline bool lanes(double* f, double* b, double* a, double* prev, std::size_t n,
                                         int p) {
  for (std::size_t m = 0; m < static_cast<std::size_t>(p) && m + 1 < n; ++m) {
    V4 num{}, den{}, fi, bi, x, y;
    for (std::size_t i = m + 1; i < n; ++i) {
      load(fi, f + i * kLanes);
      load(bi, b + (i - 1) * kLanes);
      num = num + fi * bi;
      den = den + (fi * fi + bi * bi);
    }
    for (std::size_t l = 0; l < kLanes; ++l)
      if (!(den[l] > 0.0)) return false;
    const V4 k = -2.0 * num / den;
    __builtin_memcpy(prev, a, (m + 2) * sizeof(V4));
    for (std::size_t j = 1; j <= m + 1; ++j) {
      load(x, prev + j * kLanes);
      load(y, prev + (m + 1 - j) * kLanes);
      store(a + j * kLanes, x + k * y);
    }
    for (std::size_t i = n - 1; i > m; --i) {
      load(fi, f + i * kLanes);
      load(bi, b + (i - 1) * kLanes);
      store(f + i * kLanes, fi + k * bi);
      store(b + i * kLanes, bi + k * fi);
    }
  }
  return true;
}

bool lanesPlain(double* f, double* b, double* a, double* prev, std::size_t n, int p) {
  return lanes(f, b, a, prev, n, p);
}

__attribute__((target("avx2"))) bool lanesAvx2(double* f, double* b, double* a, double* prev, std::size_t n,
                                               int p) {
  return lanes(f, b, a, prev, n, p);
}

}  // namespace

void CBurg::predictor(const double* y, std::size_t n, int p, std::vector<double>& a) {
  f_.assign(y, y + n);
  b_.assign(y, y + n);
  a.assign(static_cast<std::size_t>(p) + 1, 0.0);
  a[0] = 1.0;
  for (std::size_t m = 0; m < static_cast<std::size_t>(p) && m + 1 < n; ++m) {
    double num = 0.0, den = 0.0;
    for (std::size_t i = m + 1; i < n; ++i) {
      num += f_[i] * b_[i - 1];
      den += f_[i] * f_[i] + b_[i - 1] * b_[i - 1];
    }
    if (!(den > 0.0)) break;
    const double k = -2.0 * num / den;
    prev_ = a;
    for (std::size_t j = 1; j <= m + 1; ++j) a[j] = prev_[j] + k * prev_[m + 1 - j];
    for (std::size_t i = n - 1; i > m; --i) {
      const double fi = f_[i];
      f_[i] = fi + k * b_[i - 1];
      b_[i] = b_[i - 1] + k * fi;
    }
  }
}

void CBurg::predictors(const std::array<const double*, kLanes>& frames, std::size_t count, std::size_t n,
                       int p, std::array<std::vector<double>, kLanes>& a) {
  const auto order = static_cast<std::size_t>(p) + 1;
  if (count > 1) {
    // Lanes without a frame of their own repeat the first.
    f_.resize(n * kLanes);
    b_.resize(n * kLanes);
    prev_.resize(order * kLanes);
    for (std::size_t i = 0; i < n; ++i)
      for (std::size_t l = 0; l < kLanes; ++l) f_[i * kLanes + l] = frames[l < count ? l : 0][i];
    b_ = f_;
    std::vector<double>& all = a[kLanes - 1];  // interleaved, spread to the lanes below
    all.assign(order * kLanes, 0.0);
    for (std::size_t l = 0; l < kLanes; ++l) all[l] = 1.0;
    static const bool avx2 = __builtin_cpu_supports("avx2");
    if ((avx2 ? lanesAvx2 : lanesPlain)(f_.data(), b_.data(), all.data(), prev_.data(), n, p)) {
      for (std::size_t l = 0; l + 1 < kLanes; ++l) {
        a[l].resize(order);
        for (std::size_t j = 0; j < order; ++j) a[l][j] = all[j * kLanes + l];
      }
      for (std::size_t j = 0; j < order; ++j) all[j] = all[j * kLanes + kLanes - 1];
      all.resize(order);
      return;
    }
  }
  for (std::size_t l = 0; l < count; ++l) predictor(frames[l], n, p, a[l]);
}

}  // namespace vandrel
