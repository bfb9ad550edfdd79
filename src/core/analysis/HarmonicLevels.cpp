#include "analysis/HarmonicLevels.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <type_traits>

namespace vandrel::harmonics {
namespace {

constexpr double kPi = 3.14159265358979323846;

using V2 = double __attribute__((vector_size(16)));
using I2 = std::int64_t __attribute__((vector_size(16)));
using V4 = double __attribute__((vector_size(32)));
using I4 = std::int64_t __attribute__((vector_size(32)));

// 10 log10(x) of positive normal numbers, two or four at once, within 1e-8
// dB: the exponent from the bits, the logarithm of the mantissa (brought
// into [sqrt(1/2), sqrt(2))) from five terms of the series of 2 atanh((m -
// 1) / (m + 1)). The fit takes the level of every trial resonator at every
// harmonic, and the library's log10, one number at a time, was a fifth of a
// copy's time.
// In place: a vector wider than the default target's may not be passed by
// value.
template <class V, class I>
[[gnu::always_inline]] inline void toPowerDb(V& x) {
  const auto bits = reinterpret_cast<I>(x);
  const I big = reinterpret_cast<I>((bits & 0x000fffffffffffffLL) | 0x3ff0000000000000LL) >
                reinterpret_cast<I>(V{} + 1.4142135623730951);
  // Mantissas above sqrt(2) are halved (their exponent field one more).
  const I mantissa = (bits & 0x000fffffffffffffLL) | (0x3ff0000000000000LL + (big & -0x0010000000000000LL));
  const I exponent = ((bits >> 52) & 0x7ff) - big;  // big is -1 where true
  constexpr double kTwo52 = 4503599627370496.0;
  const V e = reinterpret_cast<V>(exponent | 0x4330000000000000LL) - (kTwo52 + 1023.0);
  const V m = reinterpret_cast<V>(mantissa);
  const V z = (m - 1.0) / (m + 1.0), z2 = z * z;
  const V ln = 2.0 * z * (1.0 + z2 * (1.0 / 3.0 + z2 * (1.0 / 5.0 + z2 * (1.0 / 7.0 + z2 / 9.0))));
  constexpr double kLn2 = 0.6931471805599453, kDbPerNeper = 4.342944819032518;  // 10 / ln 10
  x = kDbPerNeper * (ln + e * kLn2);
}

// Each harmonic's arithmetic is the same whatever the vector width, so both
// widths give the same levels; four at a time halves the cost of the
// divisions where the processor has AVX2.
template <class V>
[[gnu::always_inline]] inline void resonanceLevelsOf(const double* c1, const double* s1, const double* c2,
                                                     const double* s2, std::size_t n, double b, double c,
                                                     double a2, double* out) {
  using I = std::conditional_t<sizeof(V) == 32, I4, I2>;
  constexpr std::size_t kWidth = sizeof(V) / sizeof(double);
  for (std::size_t h = 0; h < n; h += kWidth) {
    V vc1, vs1, vc2, vs2;
    __builtin_memcpy(&vc1, c1 + h, sizeof(V));
    __builtin_memcpy(&vs1, s1 + h, sizeof(V));
    __builtin_memcpy(&vc2, c2 + h, sizeof(V));
    __builtin_memcpy(&vs2, s2 + h, sizeof(V));
    const V re = 1.0 - b * vc1 - c * vc2;
    const V im = b * vs1 + c * vs2;
    V db = a2 / (re * re + im * im);
    toPowerDb<V, I>(db);
    if (h + kWidth <= n)
      __builtin_memcpy(out + h, &db, sizeof(V));
    else
      for (std::size_t j = 0; h + j < n; ++j) out[h + j] = db[j];
  }
}

void resonanceLevels2(const double* c1, const double* s1, const double* c2, const double* s2, std::size_t n,
                      double b, double c, double a2, double* out) {
  resonanceLevelsOf<V2>(c1, s1, c2, s2, n, b, c, a2, out);
}

__attribute__((target("avx2"))) void resonanceLevels4(const double* c1, const double* s1, const double* c2,
                                                      const double* s2, std::size_t n, double b, double c,
                                                      double a2, double* out) {
  resonanceLevelsOf<V4>(c1, s1, c2, s2, n, b, c, a2, out);
}

// The lanes of a vector are the grid row's tilts: each lane runs the scalar
// loop's operations in the scalar loop's order, so its sums are the same.
template <class V>
[[gnu::always_inline]] inline void gridMisfitsOf(const double* db, const double* pulse, const double* tilts,
                                                 const double* const* formants, std::size_t formantCount,
                                                 const double* b0, const double* b1, std::size_t n,
                                                 double* out) {
  constexpr std::size_t kWidth = sizeof(V) / sizeof(double), kLanes = kGridTilts / kWidth;
  V sse[kLanes], d0[kLanes], d1[kLanes];
  for (std::size_t l = 0; l < kLanes; ++l) sse[l] = d0[l] = d1[l] = V{};
  for (std::size_t h = 0; h < n; ++h) {
    for (std::size_t l = 0; l < kLanes; ++l) {
      V t;
      __builtin_memcpy(&t, tilts + h * kGridTilts + l * kWidth, sizeof(V));
      V r = db[h] - (pulse[h] + t);
      for (std::size_t k = 0; k < formantCount; ++k) r = r - formants[k][h];
      sse[l] = sse[l] + r * r;
      d0[l] = d0[l] + r * b0[h];
      d1[l] = d1[l] + r * b1[h];
    }
  }
  for (std::size_t l = 0; l < kLanes; ++l)
    for (std::size_t j = 0; j < kWidth; ++j)
      out[l * kWidth + j] =
          std::max(sse[l][j] - d0[l][j] * d0[l][j] - d1[l][j] * d1[l][j], 0.0) / static_cast<double>(n);
}

void gridMisfits2(const double* db, const double* pulse, const double* tilts, const double* const* formants,
                  std::size_t formantCount, const double* b0, const double* b1, std::size_t n, double* out) {
  gridMisfitsOf<V2>(db, pulse, tilts, formants, formantCount, b0, b1, n, out);
}

__attribute__((target("avx2"))) void gridMisfits4(const double* db, const double* pulse, const double* tilts,
                                                  const double* const* formants, std::size_t formantCount,
                                                  const double* b0, const double* b1, std::size_t n,
                                                  double* out) {
  gridMisfitsOf<V4>(db, pulse, tilts, formants, formantCount, b0, b1, n, out);
}

bool haveAvx2() {
  static const bool avx2 = __builtin_cpu_supports("avx2");
  return avx2;
}

}  // namespace

void PulseTerms::prepare(const std::vector<double>& hz) {
  const std::size_t n = hz.size();
  w.resize(n);
  inverse.resize(n);
  inverse2.resize(n);
  inverse3x2.resize(n);
  for (std::size_t h = 0; h < n; ++h) {
    w[h] = 2.0 * kPi * hz[h];
    inverse[h] = 1.0 / w[h];
    inverse2[h] = inverse[h] * inverse[h];
    inverse3x2[h] = 2.0 * -(inverse2[h] * inverse[h]);
  }
}

// sourceDb's complex arithmetic written out on its parts, with the terms of
// i / w, (i / w)^2 = -1 / w^2 and (i / w)^3 = -i / w^3 whose real or
// imaginary part is zero left out: adding or subtracting a zero, or
// multiplying one, changes no other part's value.
void pulseLevels(const PulseTerms& terms, double open, double* out) {
  const double a = 2.0 / open, b = 3.0 / (open * open);
  for (std::size_t h = 0; h < terms.w.size(); ++h) {
    const double w = terms.w[h], u = terms.inverse[h], p = terms.inverse2[h], t3 = terms.inverse3x2[h];
    const double c = std::cos(-w * open), s = std::sin(-w * open);
    const double ou = open * u;
    const double i1r = (c * p - s * ou) - p;
    const double i1i = c * ou + s * p;
    const double br = 2.0 * open * p;
    const double bi = open * open * u + t3;
    const double i2r = c * br - s * bi;
    const double i2i = (c * bi + s * br) - t3;
    const double dr = a * i1r - b * i2r, di = a * i1i - b * i2i;
    out[h] = 10.0 * std::log10(dr * dr + di * di + 1e-300);
  }
}

void resonanceLevels(const double* c1, const double* s1, const double* c2, const double* s2, std::size_t n,
                     double b, double c, double a2, double* out) {
  (haveAvx2() ? resonanceLevels4 : resonanceLevels2)(c1, s1, c2, s2, n, b, c, a2, out);
}

void gridMisfits(const double* db, const double* pulse, const double* tilts, const double* const* formants,
                 std::size_t formantCount, const double* b0, const double* b1, std::size_t n, double* out) {
  (haveAvx2() ? gridMisfits4 : gridMisfits2)(db, pulse, tilts, formants, formantCount, b0, b1, n, out);
}

}  // namespace vandrel::harmonics
