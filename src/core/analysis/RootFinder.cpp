#include "analysis/RootFinder.h"

#include <algorithm>
#include <cmath>
#include <complex>

namespace vandrel {

namespace {

constexpr double kTolerance = 0.0001;
constexpr int kMaxIterations = 100;
constexpr int kScanSteps = 128;  // sampling of [-1, 1] for a sign change

double horner(const double* c, int n, double x) {
  double v = c[0];
  for (int i = 1; i <= n; ++i) v = v * x + c[i];
  return v;
}

// P(x) and P'(x) together.
void horner2(const double* c, int n, double x, double& v, double& d) {
  v = c[0];
  d = 0.0;
  for (int i = 1; i <= n; ++i) {
    d = d * x + v;
    v = v * x + c[i];
  }
}

// P at the scan's points x_s = -1 + s (2 / kScanSteps), s = 0 .. kScanSteps,
// four at a time: four independent Horner chains keep the multiplier busy.
void scanValues(const double* c, int n, double* v) {
  static_assert(kScanSteps % 4 == 0);
  for (int s = 0; s < kScanSteps; s += 4) {
    const double x0 = -1.0 + s * (2.0 / kScanSteps), x1 = -1.0 + (s + 1) * (2.0 / kScanSteps);
    const double x2 = -1.0 + (s + 2) * (2.0 / kScanSteps), x3 = -1.0 + (s + 3) * (2.0 / kScanSteps);
    double v0 = c[0], v1 = c[0], v2 = c[0], v3 = c[0];
    for (int i = 1; i <= n; ++i) {
      v0 = v0 * x0 + c[i];
      v1 = v1 * x1 + c[i];
      v2 = v2 * x2 + c[i];
      v3 = v3 * x3 + c[i];
    }
    v[s] = v0;
    v[s + 1] = v1;
    v[s + 2] = v2;
    v[s + 3] = v3;
  }
  v[kScanSteps] = horner(c, n, 1.0);
}

bool realRoot(const double* c, int n, double& root) {
  double values[kScanSteps + 1];
  scanValues(c, n, values);
  double x0 = -1.0;
  double v0 = values[0];
  for (int s = 1; s <= kScanSteps; ++s) {
    const double x1 = -1.0 + s * (2.0 / kScanSteps);
    const double v1 = values[s];
    if (v0 == 0.0) {
      root = x0;
      return true;
    }
    if ((v0 < 0.0 && v1 > 0.0) || (v0 > 0.0 && v1 < 0.0)) {
      // Interval halving down to the tolerance.
      double lo = x0, hi = x1, vlo = v0;
      while (hi - lo > kTolerance) {
        const double mid = 0.5 * (lo + hi);
        const double vm = horner(c, n, mid);
        if (vm == 0.0) {
          lo = hi = mid;
          break;
        }
        if ((vm < 0.0) == (vlo < 0.0)) {
          lo = mid;
          vlo = vm;
        } else {
          hi = mid;
        }
      }
      // A few Newton steps make the deflation exact to rounding; a step that
      // would leave the bracket is not taken.
      double x = 0.5 * (lo + hi);
      for (int it = 0; it < 4; ++it) {
        double v, d;
        horner2(c, n, x, v, d);
        if (v == 0.0 || d == 0.0) break;
        const double nx = x - v / d;
        if (!(nx >= lo - kTolerance && nx <= hi + kTolerance)) break;
        x = nx;
      }
      root = x;
      return true;
    }
    x0 = x1;
    v0 = v1;
  }
  if (v0 == 0.0) {
    root = x0;
    return true;
  }
  return false;
}

// Bound on the roots' size (Cauchy): every root has |z| <= 1 + max |c[i]|.
double rootBound(const double* c, int n) {
  double m = 0.0;
  for (int i = 1; i <= n; ++i) m = std::max(m, std::fabs(c[i]));
  return 1.0 + m;
}

// Bairstow: divides P by z^2 - r z - s twice (b and g rows) and corrects r, s
// by Newton's method on the remainder. A factor whose coefficients leave what
// any factor of P can have is diverging, and the search stops at once.
bool bairstow(const double* c, int n, double& b, double& cc, double* q) {
  double r = 2.0;
  double s = -1.0;
  const double bound = rootBound(c, n);
  const double rMax = 20.0 * bound;
  const double sMax = 10.0 * bound * bound;
  for (int it = 0; it < kMaxIterations; ++it) {
    // bq[k]: quotient row, descending; bq[n-1], bq[n] form the remainder.
    double b2 = 0.0, b1 = 0.0;  // bq[k-2], bq[k-1]
    double g2 = 0.0, g1 = 0.0;  // the second division's row
    double g3 = 0.0;
    for (int k = 0; k <= n; ++k) {
      const double bk = c[k] + r * b1 + s * b2;
      q[k] = bk;
      b2 = b1;
      b1 = bk;
      if (k < n) {
        const double gk = bk + r * g1 + s * g2;
        g3 = g2;
        g2 = g1;
        g1 = gk;
      }
    }
    // b1 = b_0 (last), b2 = b_1; g1 = c_1, g2 = c_2, g3 = c_3 in ascending terms.
    const double det = g2 * g2 - g3 * g1;
    if (det == 0.0 || !std::isfinite(det)) return false;
    const double dr = (b1 * g3 - b2 * g2) / det;
    const double ds = (b2 * g1 - b1 * g2) / det;
    if (!std::isfinite(dr) || !std::isfinite(ds)) return false;
    r += dr;
    s += ds;
    if (std::fabs(dr) + std::fabs(ds) < kTolerance) {
      b = -r;
      cc = -s;
      return true;
    }
    if (std::fabs(r) > rMax || std::fabs(s) > sMax) return false;
  }
  return false;
}

// Laguerre's method (as in the classic texts): stops when |P(z)| is within
// the rounding error of its own evaluation, or when a step no longer moves z;
// every tenth step is shortened to break a limit cycle.
bool laguerre(const double* c, int n, std::complex<double>& z) {
  using C = std::complex<double>;
  constexpr double kEps = 1e-14;
  static constexpr double kFrac[] = {0.0, 0.5, 0.25, 0.75, 0.13, 0.38, 0.62, 0.88, 1.0};
  z = C(0.3, 0.7);
  const double dn = n;
  for (int it = 1; it <= 400; ++it) {
    C p = c[0], d = 0.0, dd = 0.0;
    // The rounding-error scale of the evaluation, with |re| + |im| standing
    // in for the modulus (within a factor of sqrt 2, and far cheaper).
    const auto mag = [](C w) { return std::fabs(w.real()) + std::fabs(w.imag()); };
    double err = mag(p);
    const double az = mag(z);
    for (int i = 1; i <= n; ++i) {
      dd = dd * z + d;
      d = d * z + p;
      p = p * z + c[i];
      err = mag(p) + az * err;
    }
    dd *= 2.0;
    if (mag(p) <= kEps * err) return true;
    const C g = d / p;
    const C h = g * g - dd / p;
    const C sq = std::sqrt((dn - 1.0) * (dn * h - g * g));
    const C den1 = g + sq;
    const C den2 = g - sq;
    const C den = std::abs(den1) >= std::abs(den2) ? den1 : den2;
    const C step = std::abs(den) > 0.0 ? dn / den : std::polar(1.0 + az, static_cast<double>(it));
    const C next = z - step;
    if (!std::isfinite(next.real()) || !std::isfinite(next.imag())) return false;
    if (next == z) return true;
    if (it % 10 != 0) {
      z = next;
    } else {
      z -= kFrac[(it / 10) % 9] * step;
    }
  }
  return false;
}

}  // namespace

void divideLinear(const double* c, int n, double root, double* q) {
  q[0] = c[0];
  for (int k = 1; k < n; ++k) q[k] = c[k] + root * q[k - 1];
}

void divideQuadratic(const double* c, int n, double b, double cc, double* q) {
  q[0] = c[0];
  if (n >= 3) q[1] = c[1] - b * q[0];
  for (int k = 2; k <= n - 2; ++k) q[k] = c[k] - b * q[k - 1] - cc * q[k - 2];
}

PolyFactor splitFactor(const double* c, int n, double* q, bool& seekReal) {
  PolyFactor f;
  if (n < 1) return f;
  double root = 0.0;
  if (seekReal) {
    if (realRoot(c, n, root)) {
      f.kind = PolyFactor::kLinear;
      f.root = root;
      divideLinear(c, n, root, q);
      return f;
    }
    seekReal = false;
  }
  if (n >= 3 && bairstow(c, n, f.b, f.c, q)) {
    f.kind = PolyFactor::kQuadratic;
    divideQuadratic(c, n, f.b, f.c, q);
    return f;
  }
  std::complex<double> z;
  if (laguerre(c, n, z)) {
    if (std::fabs(z.imag()) <= 1e-9 * std::max(1.0, std::fabs(z.real()))) {
      f.kind = PolyFactor::kLinear;
      f.root = z.real();
      divideLinear(c, n, f.root, q);
    } else {
      f.kind = PolyFactor::kQuadratic;
      f.b = -2.0 * z.real();
      f.c = std::norm(z);
      divideQuadratic(c, n, f.b, f.c, q);
    }
    return f;
  }
  return f;
}

}  // namespace vandrel
