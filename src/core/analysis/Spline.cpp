#include "analysis/Spline.h"

#include <new>

namespace vandrel {

const char* const CubicSpline::kNoMemoryMessage =
    "Not enough memory to interpolate the spectrum.";

bool CubicSpline::prepare(const double* x, const double* y, int n, double yp1, double ypn,
                          double* y2) {
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

}  // namespace vandrel
