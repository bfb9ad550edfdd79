#include "analysis/Spline.h"

#include <cstring>
#include <new>

namespace vandrel {

const char* const CubicSpline::kNoMemoryMessage = "Not enough memory to interpolate the spectrum.";

bool CubicSpline::prepare(const double* x, const double* y, int n, double yp1, double ypn, double* y2) {
  if (n < 1) return true;
  try {
    if (u_.size() < static_cast<std::size_t>(n)) u_.resize(static_cast<std::size_t>(n));
  } catch (const std::bad_alloc&) {
    return false;
  }
  double* u = u_.data();
  const int last = n - 1;
  if (n == 1) {
    y2[0] = 0.0;
    return true;
  }

  if (yp1 > kNaturalEnd) {
    y2[0] = u[0] = 0.0;
  } else {
    y2[0] = -0.5;
    u[0] = (3.0 / (x[1] - x[0])) * ((y[1] - y[0]) / (x[1] - x[0]) - yp1);
  }
  for (int i = 1; i < last; ++i) {
    const double sig = (x[i] - x[i - 1]) / (x[i + 1] - x[i - 1]);
    const double p = sig * y2[i - 1] + 2.0;
    y2[i] = (sig - 1.0) / p;
    u[i] = (y[i + 1] - y[i]) / (x[i + 1] - x[i]) - (y[i] - y[i - 1]) / (x[i] - x[i - 1]);
    u[i] = (6.0 * u[i] / (x[i + 1] - x[i - 1]) - sig * u[i - 1]) / p;
  }
  double qn;
  double un;
  if (ypn > kNaturalEnd) {
    qn = un = 0.0;
  } else {
    qn = 0.5;
    un = (3.0 / (x[last] - x[last - 1])) * (ypn - (y[last] - y[last - 1]) / (x[last] - x[last - 1]));
  }
  y2[last] = (un - qn * u[last - 1]) / (qn * y2[last - 1] + 1.0);
  for (int k = last - 1; k >= 0; --k) y2[k] = y2[k] * y2[k + 1] + u[k];
  return true;
}

bool CubicSpline::prepareUnitKnots(const double* y, int n, double* y2) {
  if (n < 3) {
    for (int i = 0; i < n; ++i) y2[i] = 0.0;
    return true;
  }
  const auto un = static_cast<std::size_t>(n);
  try {
    if (u_.size() < un) u_.resize(un);
    if (unitN_ != n) {
      unitN_ = 0;
      unitP_.resize(un);
      unitDiag_.resize(un);
      // sig = (x[i] - x[i-1]) / (x[i+1] - x[i-1]) = 1/2 exactly.
      unitDiag_[0] = 0.0;
      for (std::size_t i = 1; i + 1 < un; ++i) {
        unitP_[i] = 0.5 * unitDiag_[i - 1] + 2.0;
        unitDiag_[i] = (0.5 - 1.0) / unitP_[i];
      }
      unitN_ = n;
    }
  } catch (const std::bad_alloc&) {
    return false;
  }
  double* u = u_.data();
  const double* p = unitP_.data();
  const int last = n - 1;
  y2[0] = u[0] = 0.0;
  for (int i = 1; i < last; ++i) {
    y2[i] = unitDiag_[static_cast<std::size_t>(i)];
    const double d = (y[i + 1] - y[i]) - (y[i] - y[i - 1]);
    u[i] = (6.0 * d / 2.0 - 0.5 * u[i - 1]) / p[i];
  }
  y2[last] = 0.0;  // (0 - 0 u) / (0 y2 + 1)
  for (int k = last - 1; k >= 0; --k) y2[k] = y2[k] * y2[k + 1] + u[k];
  return true;
}

double CubicSpline::evaluate(const double* x, const double* y, const double* y2, int n, double at) {
  int lo = 0;
  int hi = n - 1;
  while (hi - lo > 1) {
    const int k = (hi + lo) >> 1;
    if (x[k] > at) {
      hi = k;
    } else {
      lo = k;
    }
  }
  return piece(x[lo], x[hi], y[lo], y[hi], y2[lo], y2[hi], at);
}

namespace {

typedef double V2 __attribute__((vector_size(16)));

// The bracket's lower knot, as evaluateUnitKnots chooses it.
inline int lowKnot(double at, int n) {
  if (!(at >= 0.0)) return 0;
  if (at >= static_cast<double>(n - 1)) return n - 2;
  return static_cast<int>(at);
}

}  // namespace

void CubicSpline::evaluateUnitKnotsEvenly(const double* y, const double* y2, int n, double step, int count,
                                          double* out) {
  int i = 0;
  const V2 six = {6.0, 6.0};
  for (; i + 2 <= count; i += 2) {
    const V2 at = {i * step, (i + 1) * step};
    const int lo0 = lowKnot(at[0], n);
    const int lo1 = lowKnot(at[1], n);
    const V2 xlo = {static_cast<double>(lo0), static_cast<double>(lo1)};
    const V2 xhi = {static_cast<double>(lo0 + 1), static_cast<double>(lo1 + 1)};
    const V2 ylo = {y[lo0], y[lo1]};
    const V2 yhi = {y[lo0 + 1], y[lo1 + 1]};
    const V2 dlo = {y2[lo0], y2[lo1]};
    const V2 dhi = {y2[lo0 + 1], y2[lo1 + 1]};
    const V2 a = xhi - at;
    const V2 b = at - xlo;
    const V2 v = a * ylo + b * yhi + ((a * a * a - a) * dlo + (b * b * b - b) * dhi) / six;
    std::memcpy(out + i, &v, sizeof v);
  }
  for (; i < count; ++i) out[i] = evaluateUnitKnots(y, y2, n, i * step);
}

}  // namespace vandrel
