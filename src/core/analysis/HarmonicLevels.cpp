#include "analysis/HarmonicLevels.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <iterator>
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

// Lanes h.. of v into out[h..], those below n only (the arrays read are
// padded to a multiple of four, the levels written are not).
template <class V>
[[gnu::always_inline]] inline void storeLanes(const V& v, std::size_t h, std::size_t n, double* out) {
  constexpr std::size_t kWidth = sizeof(V) / sizeof(double);
  if (h + kWidth <= n)
    __builtin_memcpy(out + h, &v, sizeof(V));
  else
    for (std::size_t j = 0; h + j < n; ++j) out[h + j] = v[j];
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
    storeLanes(db, h, n, out);
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

// cos x and sin x of x >= 0 (below 2^30), two or four at once, within 3e-16 of
// the library's for the arguments the pulse takes (w times the open phase,
// up to about 300): x is brought into [-pi/4, pi/4] by whole quarters of pi
// (pi/4 in three parts, so the reduction is exact to the last bits), and
// there the series of Cody and Waite's minimax polynomials. The pulse's
// levels, a sine, a cosine and a logarithm per harmonic and open quotient,
// one at a time, were a sixth of a high voice's copy.
template <class V, class I>
[[gnu::always_inline]] inline void cosSin(const V& x, V& cosine, V& sine) {
  constexpr double kFourOverPi = 1.2732395447351628;
  constexpr double kQuarter1 = 7.85398125648498535156e-1, kQuarter2 = 3.77489470793079817668e-8,
                   kQuarter3 = 2.69515142907905952645e-15;
  I j = __builtin_convertvector(x * kFourOverPi, I);
  j = j + (j & 1);  // the even octant nearest below: [-pi/4, pi/4] around it
  const V y = __builtin_convertvector(j, V);
  const V z = ((x - y * kQuarter1) - y * kQuarter2) - y * kQuarter3, z2 = z * z;
  // Cody and Waite's coefficients, highest power first.
  constexpr double kSine[] = {1.58962301576546568060e-10, -2.50507477628578072866e-8,
                              2.75573136213857245213e-6,  -1.98412698295895385996e-4,
                              8.33333333332211858878e-3,  -1.66666666666666307295e-1};
  constexpr double kCosine[] = {-1.13585365213876817300e-11, 2.08757008419747316778e-9,
                                -2.75573141792967388112e-7,  2.48015872888517045348e-5,
                                -1.38888888888730564116e-3,  4.16666666666665929218e-2};
  V ps = V{} + kSine[0], pc = V{} + kCosine[0];
  for (std::size_t i = 1; i < std::size(kSine); ++i) {
    ps = ps * z2 + kSine[i];
    pc = pc * z2 + kCosine[i];
  }
  const V s = z + z * z2 * ps;
  const V c = 1.0 - 0.5 * z2 + z2 * z2 * pc;
  // j / 2 quarter turns: 0 (cos, sin), 1 (-sin, cos), 2 (-cos, -sin), 3 (sin, -cos).
  const I turn = (j >> 1) & 3;
  const I swap = (turn & 1) != 0;
  const V c1 = swap ? s : c, s1 = swap ? c : s;
  cosine = ((turn + 1) & 2) != 0 ? -c1 : c1;
  sine = (turn & 2) != 0 ? -s1 : s1;
}

// sourceDb's complex arithmetic written out on its parts, with the terms of
// i / w, (i / w)^2 = -1 / w^2 and (i / w)^3 = -i / w^3 whose real or
// imaginary part is zero left out.
template <class V>
[[gnu::always_inline]] inline void pulseLevelsOf(const PulseTerms& terms, double open, double* out) {
  using I = std::conditional_t<sizeof(V) == 32, I4, I2>;
  constexpr std::size_t kWidth = sizeof(V) / sizeof(double);
  const double a = 2.0 / open, b = 3.0 / (open * open);
  for (std::size_t h = 0; h < terms.count; h += kWidth) {
    V w, u, p, t3;
    __builtin_memcpy(&w, terms.w.data() + h, sizeof(V));
    __builtin_memcpy(&u, terms.inverse.data() + h, sizeof(V));
    __builtin_memcpy(&p, terms.inverse2.data() + h, sizeof(V));
    __builtin_memcpy(&t3, terms.inverse3x2.data() + h, sizeof(V));
    V c, s;
    cosSin<V, I>(w * open, c, s);
    s = -s;  // of -w open
    const V ou = open * u;
    const V i1r = (c * p - s * ou) - p;
    const V i1i = c * ou + s * p;
    const V br = 2.0 * open * p;
    const V bi = open * open * u + t3;
    const V i2r = c * br - s * bi;
    const V i2i = (c * bi + s * br) - t3;
    const V dr = a * i1r - b * i2r, di = a * i1i - b * i2i;
    V db = dr * dr + di * di + 1e-300;
    toPowerDb<V, I>(db);
    storeLanes(db, h, terms.count, out);
  }
}

void pulseLevels2(const PulseTerms& terms, double open, double* out) { pulseLevelsOf<V2>(terms, open, out); }

__attribute__((target("avx2"))) void pulseLevels4(const PulseTerms& terms, double open, double* out) {
  pulseLevelsOf<V4>(terms, open, out);
}

// 10 log10((1 - d)^2 / (1 - 2 d cos w + d^2)) with d = 0.033 per dB of tilt.
template <class V>
[[gnu::always_inline]] inline void tiltLevelsOf(const double* c1, std::size_t n, double tilt, double* out) {
  using I = std::conditional_t<sizeof(V) == 32, I4, I2>;
  constexpr std::size_t kWidth = sizeof(V) / sizeof(double);
  const double d = 0.033 * tilt, gain = (1.0 - d) * (1.0 - d), d2 = 1.0 + d * d;
  for (std::size_t h = 0; h < n; h += kWidth) {
    V vc1;
    __builtin_memcpy(&vc1, c1 + h, sizeof(V));
    V db = gain / (d2 - 2.0 * d * vc1);
    toPowerDb<V, I>(db);
    storeLanes(db, h, n, out);
  }
}

void tiltLevels2(const double* c1, std::size_t n, double tilt, double* out) {
  tiltLevelsOf<V2>(c1, n, tilt, out);
}

__attribute__((target("avx2"))) void tiltLevels4(const double* c1, std::size_t n, double tilt, double* out) {
  tiltLevelsOf<V4>(c1, n, tilt, out);
}

bool haveAvx2() {
  static const bool avx2 = __builtin_cpu_supports("avx2");
  return avx2;
}

}  // namespace

void PulseTerms::prepare(const std::vector<double>& hz) {
  count = hz.size();
  // Padded to a multiple of four with the last harmonic's.
  const std::size_t padded = (count + 3) / 4 * 4;
  w.resize(padded);
  inverse.resize(padded);
  inverse2.resize(padded);
  inverse3x2.resize(padded);
  for (std::size_t h = 0; h < padded; ++h) {
    w[h] = 2.0 * kPi * hz[std::min(h, count - 1)];
    inverse[h] = 1.0 / w[h];
    inverse2[h] = inverse[h] * inverse[h];
    inverse3x2[h] = 2.0 * -(inverse2[h] * inverse[h]);
  }
}

void pulseLevels(const PulseTerms& terms, double open, double* out) {
  (haveAvx2() ? pulseLevels4 : pulseLevels2)(terms, open, out);
}

void resonanceLevels(const double* c1, const double* s1, const double* c2, const double* s2, std::size_t n,
                     double b, double c, double a2, double* out) {
  (haveAvx2() ? resonanceLevels4 : resonanceLevels2)(c1, s1, c2, s2, n, b, c, a2, out);
}

void tiltLevels(const double* c1, std::size_t n, double tilt, double* out) {
  (haveAvx2() ? tiltLevels4 : tiltLevels2)(c1, n, tilt, out);
}

void gridMisfits(const double* db, const double* pulse, const double* tilts, const double* const* formants,
                 std::size_t formantCount, const double* b0, const double* b1, std::size_t n, double* out) {
  (haveAvx2() ? gridMisfits4 : gridMisfits2)(db, pulse, tilts, formants, formantCount, b0, b1, n, out);
}

}  // namespace vandrel::harmonics
