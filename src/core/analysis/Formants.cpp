// Formant candidates: the roots of the predictor polynomial, pair by pair.

#include <algorithm>
#include <cstdio>

#include "analysis/MathFunc.h"
#include "analysis/RootFinder.h"

namespace vandrel {

RootPair CMathFunc::rootPairToFormant(double b, double c, double fs) {
  const double k = fs / kTwoPi;
  const double half = b / 2.0;
  const double d = half * half - c;
  RootPair rp;
  if (d < 0.0) {
    rp.re = -half;
    rp.im = std::sqrt(-d);
    // A purely imaginary pair is reported at pi/2 "Hz": that branch never
    // scales by fs / 2pi. Kept, since tracks made with it depend on it.
    rp.frequency = half != 0.0 ? std::atan2(rp.im, rp.re) * k : kPi * 0.5;
    rp.bandwidth = -std::log(c) * k;
  } else {
    const double r = std::sqrt(d) + std::fabs(half);
    if (b >= 0.0) {
      rp.frequency = 0.0;
      rp.re = r;
    } else {
      rp.frequency = fs / 2.0;
      rp.re = -r;
    }
    rp.im = 0.0;
    rp.bandwidth = -std::log(r * r) * k;
  }
  return rp;
}

const FormantCandidates* CMathFunc::formantCandidates(int p, double bmax, double* c, double fs) {
  cand_.quadraticCount = 0;
  cand_.count = 0;
  if (p > kMaxLpcOrder) p = kMaxLpcOrder;
  double* q = quotient_.size() < static_cast<std::size_t>(kMaxLpcOrder) + 1
                  ? (quotient_.resize(kMaxLpcOrder + 1), quotient_.data())
                  : quotient_.data();
  int n = p;
  bool seekReal = true;
  while (n >= 2) {
    double b = 0.0;
    double cc = 0.0;
    bool quadratic = false;
    if (n == 2) {
      b = c[1];
      cc = c[2];
      quadratic = true;
      n = 0;
    } else {
      const PolyFactor f = splitFactor(c, n, q, seekReal);
      if (f.kind == PolyFactor::kLinear) {
        n -= 1;
      } else if (f.kind == PolyFactor::kQuadratic) {
        b = f.b;
        cc = f.c;
        quadratic = true;
        n -= 2;
      } else {
        std::fputs("  factor() is confused,", stderr);
        return nullptr;
      }
      std::copy(q, q + n + 1, c);
    }
    if (!quadratic) continue;
    const RootPair rp = rootPairToFormant(b, cc, fs);
    if (cand_.quadraticCount < FormantCandidates::kCapacity)
      cand_.factors[static_cast<std::size_t>(cand_.quadraticCount)] = {b, cc, rp.re, rp.im};
    ++cand_.quadraticCount;
    if (rp.bandwidth <= bmax && cand_.count < FormantCandidates::kCapacity) {
      cand_.frequency[static_cast<std::size_t>(cand_.count)] = rp.frequency;
      cand_.bandwidth[static_cast<std::size_t>(cand_.count)] = rp.bandwidth;
      ++cand_.count;
    }
  }

  // Insertion sort by frequency; equal frequencies keep the order found.
  for (std::size_t i = 1; i < static_cast<std::size_t>(cand_.count); ++i) {
    const double f = cand_.frequency[i];
    const double bw = cand_.bandwidth[i];
    std::size_t j = i;
    while (j > 0 && cand_.frequency[j - 1] > f) {
      cand_.frequency[j] = cand_.frequency[j - 1];
      cand_.bandwidth[j] = cand_.bandwidth[j - 1];
      --j;
    }
    cand_.frequency[j] = f;
    cand_.bandwidth[j] = bw;
  }
  return &cand_;
}

}  // namespace vandrel
