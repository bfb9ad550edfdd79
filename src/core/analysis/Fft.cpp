#include "analysis/Fft.h"

#include <cmath>

namespace vandrel {

namespace {
constexpr double kPi = 3.1415926535898;  // the analysis's 13-decimal pi
}

const FftTables::Order& FftTables::tables(int m) {
  Order& o = orders_[static_cast<std::size_t>(m)];
  if (o.ready) return o;
  const std::uint32_t n = 1u << m;

  // Bit reversal with a running index: j counts in reversed binary.
  o.swaps.clear();
  std::uint32_t j = 0;
  for (std::uint32_t i = 0; i + 1 < n; ++i) {
    if (i < j) o.swaps.emplace_back(i, j);
    std::uint32_t k = n / 2;
    while (k <= j) {
      j -= k;
      k /= 2;
    }
    j += k;
  }

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

  for (const auto& [a, b] : o.swaps) {
    std::swap(re[a], re[b]);
    std::swap(im[a], im[b]);
  }

  // First stage: the only twiddle is 1, the butterfly is a sum and a difference.
  for (std::size_t i = 0; i < n; i += 2) {
    const double tr = re[i + 1];
    const double ti = im[i + 1];
    re[i + 1] = re[i] - tr;
    im[i + 1] = im[i] - ti;
    re[i] += tr;
    im[i] += ti;
  }

  // Later stages block by block, so each block is swept once while it is in
  // cache (rather than the whole array once per twiddle value).
  for (std::size_t h = 2; h < n; h <<= 1) {
    const double* wr = o.wr.data() + (h - 1);
    const double* wi = o.wi.data() + (h - 1);
    const std::size_t le = 2 * h;
    for (std::size_t blk = 0; blk < n; blk += le) {
      double* xr = re + blk;
      double* xi = im + blk;
      double* yr = xr + h;
      double* yi = xi + h;
      for (std::size_t s = 0; s < h; ++s) {
        const double tr = yr[s] * wr[s] - yi[s] * wi[s];
        const double ti = yr[s] * wi[s] + yi[s] * wr[s];
        yr[s] = xr[s] - tr;
        yi[s] = xi[s] - ti;
        xr[s] += tr;
        xi[s] += ti;
      }
    }
  }
}

}  // namespace vandrel
