#include "analysis/Fft.h"

#include <cmath>
#include <cstring>

namespace vandrel {

namespace {

constexpr double kPi = 3.1415926535898;  // the analysis's 13-decimal pi

// Two or four doubles side by side (GCC/Clang vector extension: SSE2 or
// AVX2 on x86-64, NEON on ARM, plain pairs elsewhere). Loads and stores go
// through memcpy, so no alignment is assumed; by reference, as a vector
// wider than the default target's may not be passed by value.
typedef double V2 __attribute__((vector_size(16)));
typedef double V4 __attribute__((vector_size(32)));

template <class V>
[[gnu::always_inline]] inline void load(V& v, const double* p) {
  std::memcpy(&v, p, sizeof v);
}
template <class V>
[[gnu::always_inline]] inline void store(double* p, const V& v) {
  std::memcpy(p, &v, sizeof v);
}

// t = y u; y = x - t; x = x + t (complex, in each lane).
template <class V>
[[gnu::always_inline]] inline void butterfly(V& xr, V& xi, V& yr, V& yi, const V& ur, const V& ui) {
  const V tr = yr * ur - yi * ui;
  const V ti = yr * ui + yi * ur;
  yr = xr - tr;
  yi = xi - ti;
  xr = xr + tr;
  xi = xi + ti;
}

// The stages after the first two (see transform), two or four butterflies
// per step; the first sweep reads `from`, the others re and im in place.
// Every element sees exactly the operations of the one-stage-at-a-time
// loop, whatever the width, so the results are the same to the last bit.
template <class V>
[[gnu::always_inline]] inline void laterStages(const double* wr, const double* wi, const double* fromRe,
                                               const double* fromIm, double* re, double* im, std::size_t n,
                                               std::size_t h) {
  constexpr std::size_t kWidth = sizeof(V) / sizeof(double);
  V ar, ai, br, bi, cr, ci, dr, di, ur, ui, vr, vi;
  for (; 2 * h < n; h <<= 2) {
    const double* w1r = wr + (h - 1);
    const double* w1i = wi + (h - 1);
    const double* w2r = wr + (2 * h - 1);
    const double* w2i = wi + (2 * h - 1);
    for (std::size_t blk = 0; blk < n; blk += 4 * h) {
      const double* fr = fromRe + blk;
      const double* fi = fromIm + blk;
      double* r0 = re + blk;
      double* i0 = im + blk;
      for (std::size_t s = 0; s < h; s += kWidth) {
        load(ar, fr + s), load(ai, fi + s);
        load(br, fr + s + h), load(bi, fi + s + h);
        load(cr, fr + s + 2 * h), load(ci, fi + s + 2 * h);
        load(dr, fr + s + 3 * h), load(di, fi + s + 3 * h);
        load(ur, w1r + s), load(ui, w1i + s);
        butterfly(ar, ai, br, bi, ur, ui);
        butterfly(cr, ci, dr, di, ur, ui);
        load(ur, w2r + s), load(ui, w2i + s);
        load(vr, w2r + s + h), load(vi, w2i + s + h);
        butterfly(ar, ai, cr, ci, ur, ui);
        butterfly(br, bi, dr, di, vr, vi);
        store(r0 + s, ar);
        store(i0 + s, ai);
        store(r0 + s + h, br);
        store(i0 + s + h, bi);
        store(r0 + s + 2 * h, cr);
        store(i0 + s + 2 * h, ci);
        store(r0 + s + 3 * h, dr);
        store(i0 + s + 3 * h, di);
      }
    }
    fromRe = re;
    fromIm = im;
  }
  if (h < n) {  // an odd number of later stages leaves the last on its own
    const double* w1r = wr + (h - 1);
    const double* w1i = wi + (h - 1);
    for (std::size_t s = 0; s < h; s += kWidth) {
      load(ar, fromRe + s), load(ai, fromIm + s);
      load(br, fromRe + s + h), load(bi, fromIm + s + h);
      load(ur, w1r + s), load(ui, w1i + s);
      butterfly(ar, ai, br, bi, ur, ui);
      store(re + s, ar);
      store(im + s, ai);
      store(re + s + h, br);
      store(im + s + h, bi);
    }
  }
}

void laterStages2(const double* wr, const double* wi, const double* fromRe, const double* fromIm, double* re,
                  double* im, std::size_t n, std::size_t h) {
  laterStages<V2>(wr, wi, fromRe, fromIm, re, im, n, h);
}

__attribute__((target("avx2"))) void laterStages4(const double* wr, const double* wi, const double* fromRe,
                                                  const double* fromIm, double* re, double* im, std::size_t n,
                                                  std::size_t h) {
  laterStages<V4>(wr, wi, fromRe, fromIm, re, im, n, h);
}

}  // namespace

const FftTables::Order& FftTables::tables(int m) {
  Order& o = orders_[static_cast<std::size_t>(m)];
  if (o.ready) return o;
  const std::uint32_t n = 1u << m;

  // Bit reversal with a running index: j counts in reversed binary.
  o.rev.assign(n, 0);
  std::uint32_t j = 0;
  for (std::uint32_t i = 0; i + 1 < n; ++i) {
    o.rev[i] = j;
    std::uint32_t k = n / 2;
    while (k <= j) {
      j -= k;
      k /= 2;
    }
    j += k;
  }
  o.rev[n - 1] = n - 1;

  // Twiddles of each stage, advanced by one complex multiplication per step
  // (u = u * w, w = cos(theta) - i sin(theta), theta = pi / h) exactly as the
  // butterfly loop would advance them, so storing them changes no result.
  o.wr.assign(n > 1 ? n - 1 : 0, 0.0);
  o.wi.assign(o.wr.size(), 0.0);
  for (std::uint32_t h = 1; h < n; h <<= 1) {
    const double theta = kPi / h;
    const double wr = std::cos(theta);
    const double wi = -std::sin(theta);
    double ur = 1.0;
    double ui = 0.0;
    for (std::uint32_t s = 0; s < h; ++s) {
      o.wr[h - 1 + s] = ur;
      o.wi[h - 1 + s] = ui;
      const double t = ur * wr - ui * wi;
      ui = ur * wi + ui * wr;
      ur = t;
    }
  }
  o.ready = true;
  return o;
}

void FftTables::transform(double* re, double* im, int m) {
  if (m < 1 || m > kMaxOrder) return;
  const Order& o = tables(m);
  const std::size_t n = std::size_t{1} << m;
  if (scratchRe_.size() < n) {
    scratchRe_.resize(n);
    scratchIm_.resize(n);
  }
  double* sr = scratchRe_.data();
  double* si = scratchIm_.data();

  // Bit-reversal permutation and the first two stages in one pass, gathered
  // into the scratch arrays: reading in scattered order and writing in
  // sequence is much kinder to the caches than swapping in place. Stage 1's
  // only twiddle is 1 (a sum and a difference); stage 2 multiplies by its
  // two stored twiddles as every later stage does.
  const std::uint32_t* rev = o.rev.data();
  std::size_t h = 2;
  if (n == 2) {
    const double xr = re[0], xi = im[0], tr = re[1], ti = im[1];
    sr[1] = xr - tr;
    si[1] = xi - ti;
    sr[0] = xr + tr;
    si[0] = xi + ti;
  } else {
    const double u0r = o.wr[1], u0i = o.wi[1], u1r = o.wr[2], u1i = o.wi[2];
    for (std::size_t i = 0; i < n; i += 4) {
      const std::uint32_t p0 = rev[i], p1 = rev[i + 1], p2 = rev[i + 2], p3 = rev[i + 3];
      double ar = re[p0], ai = im[p0], br = re[p1], bi = im[p1];
      double cr = re[p2], ci = im[p2], dr = re[p3], di = im[p3];
      double tr = br, ti = bi;
      br = ar - tr;
      bi = ai - ti;
      ar = ar + tr;
      ai = ai + ti;
      tr = dr;
      ti = di;
      dr = cr - tr;
      di = ci - ti;
      cr = cr + tr;
      ci = ci + ti;
      tr = cr * u0r - ci * u0i;
      ti = cr * u0i + ci * u0r;
      sr[i + 2] = ar - tr;
      si[i + 2] = ai - ti;
      sr[i] = ar + tr;
      si[i] = ai + ti;
      tr = dr * u1r - di * u1i;
      ti = dr * u1i + di * u1r;
      sr[i + 3] = br - tr;
      si[i + 3] = bi - ti;
      sr[i + 1] = br + tr;
      si[i + 1] = bi + ti;
    }
    h = 4;
  }

  // Later stages block by block, so each block is swept while it is in
  // cache, and two stages (half spans h and 2h) per sweep: the four points
  // a, b, c, d = x[s], x[s+h], x[s+2h], x[s+3h] of a 4h block go through
  // stage h's butterflies (a, b) and (c, d), then stage 2h's (a, c) and
  // (b, d), in registers. The first sweep reads the scratch arrays and
  // writes the caller's.
  if (h < n) {
    static const bool avx2 = __builtin_cpu_supports("avx2");
    (avx2 ? laterStages4 : laterStages2)(o.wr.data(), o.wi.data(), sr, si, re, im, n, h);
  } else {  // n <= 4: the gathering pass did every stage
    std::memcpy(re, sr, n * sizeof(double));
    std::memcpy(im, si, n * sizeof(double));
  }
}

}  // namespace vandrel
