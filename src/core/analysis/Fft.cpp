#include "analysis/Fft.h"

#include <cmath>
#include <cstring>

namespace vandrel {

namespace {

constexpr double kPi = 3.1415926535898;  // the analysis's 13-decimal pi

// Two doubles side by side (GCC/Clang vector extension: SSE2 on x86-64, NEON
// on ARM, plain pairs elsewhere). Loads and stores go through memcpy, so no
// alignment is assumed.
typedef double V2 __attribute__((vector_size(16)));

inline V2 load(const double* p) {
  V2 v;
  std::memcpy(&v, p, sizeof v);
  return v;
}
inline void store(double* p, V2 v) { std::memcpy(p, &v, sizeof v); }

// t = y u; y = x - t; x = x + t (complex, two lanes).
inline void butterfly(V2& xr, V2& xi, V2& yr, V2& yi, V2 ur, V2 ui) {
  const V2 tr = yr * ur - yi * ui;
  const V2 ti = yr * ui + yi * ur;
  yr = xr - tr;
  yi = xi - ti;
  xr = xr + tr;
  xi = xi + ti;
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
  // (b, d), in registers. Two butterflies per step in a two-lane vector.
  // Every element sees exactly the operations of the one-stage-at-a-time
  // loop, so the results are the same to the last bit. The first sweep reads
  // the scratch arrays and writes the caller's.
  const double* fromRe = sr;
  const double* fromIm = si;
  for (; 2 * h < n; h <<= 2) {
    const double* w1r = o.wr.data() + (h - 1);
    const double* w1i = o.wi.data() + (h - 1);
    const double* w2r = o.wr.data() + (2 * h - 1);
    const double* w2i = o.wi.data() + (2 * h - 1);
    for (std::size_t blk = 0; blk < n; blk += 4 * h) {
      const double* fr = fromRe + blk;
      const double* fi = fromIm + blk;
      double* r0 = re + blk;
      double* i0 = im + blk;
      for (std::size_t s = 0; s < h; s += 2) {
        V2 ar = load(fr + s), ai = load(fi + s);
        V2 br = load(fr + s + h), bi = load(fi + s + h);
        V2 cr = load(fr + s + 2 * h), ci = load(fi + s + 2 * h);
        V2 dr = load(fr + s + 3 * h), di = load(fi + s + 3 * h);
        const V2 ur = load(w1r + s), ui = load(w1i + s);
        butterfly(ar, ai, br, bi, ur, ui);
        butterfly(cr, ci, dr, di, ur, ui);
        butterfly(ar, ai, cr, ci, load(w2r + s), load(w2i + s));
        butterfly(br, bi, dr, di, load(w2r + s + h), load(w2i + s + h));
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
    const double* wr = o.wr.data() + (h - 1);
    const double* wi = o.wi.data() + (h - 1);
    for (std::size_t s = 0; s < h; s += 2) {
      V2 ar = load(fromRe + s), ai = load(fromIm + s);
      V2 br = load(fromRe + s + h), bi = load(fromIm + s + h);
      butterfly(ar, ai, br, bi, load(wr + s), load(wi + s));
      store(re + s, ar);
      store(im + s, ai);
      store(re + s + h, br);
      store(im + s + h, bi);
    }
  } else if (fromRe == sr) {  // n <= 4: the gathering pass did every stage
    std::memcpy(re, sr, n * sizeof(double));
    std::memcpy(im, si, n * sizeof(double));
  }
}

}  // namespace vandrel
