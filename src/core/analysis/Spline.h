#pragma once
// Natural cubic spline through knots (x[i], y[i]), i = 0 .. n-1, x ascending.
// The classic tridiagonal form: prepare() solves for the second derivatives,
// evaluate() interpolates between the two knots that bracket an abscissa.

#include <vector>

namespace vandrel {

// A first-derivative argument above this makes that end natural (second
// derivative zero); every caller in the analyses passes 1e30 for both ends.
inline constexpr double kNaturalEnd = 0.99e30;

class CubicSpline {
 public:
  // Writes the second derivatives y2[0..n-1]. `yp1` and `ypn` are the first
  // derivatives at the two ends (> kNaturalEnd: natural). Returns false, with
  // y2 untouched, when the working array cannot be had.
  bool prepare(const double* x, const double* y, int n, double yp1, double ypn, double* y2);

  // prepare() for natural ends and knots at x[i] = i. The factors of the
  // elimination depend on n alone and are kept between calls; the other
  // divisions are by 1 or 2 and exact, so the result is prepare()'s to the bit.
  bool prepareUnitKnots(const double* y, int n, double* y2);

  // Value at `at`, the bracketing knots found by bisection. Beyond either
  // end the outermost cubic is extended. Needs n >= 2.
  static double evaluate(const double* x, const double* y, const double* y2, int n, double at);

  // The same value for knots at x[i] = i (the bins of a spectrum, the lags of
  // a cepstrum): the bracket is floor(at), found without a search.
  static double evaluateUnitKnots(const double* y, const double* y2, int n, double at) {
    int lo;
    if (!(at >= 0.0)) {
      lo = 0;
    } else if (at >= static_cast<double>(n - 1)) {
      lo = n - 2;
    } else {
      lo = static_cast<int>(at);
    }
    // piece() with h = 1: dividing or multiplying by 1.0 is exact, so
    // leaving those steps out changes no bit of the result.
    const double a = static_cast<double>(lo + 1) - at;
    const double b = at - static_cast<double>(lo);
    return a * y[lo] + b * y[lo + 1] + ((a * a * a - a) * y2[lo] + (b * b * b - b) * y2[lo + 1]) / 6.0;
  }

  // out[i] = evaluateUnitKnots(y, y2, n, i * step) for i = 0 .. count-1, two
  // points at a time (each lane does exactly the scalar operations, so the
  // values are the same to the last bit).
  static void evaluateUnitKnotsEvenly(const double* y, const double* y2, int n, double step, int count,
                                      double* out);

  // The message shown (after a beep) when prepare() could not get its memory.
  static const char* const kNoMemoryMessage;

 private:
  static double piece(double xlo, double xhi, double ylo, double yhi, double y2lo, double y2hi, double at) {
    const double h = xhi - xlo;
    const double a = (xhi - at) / h;
    const double b = (at - xlo) / h;
    return a * ylo + b * yhi + ((a * a * a - a) * y2lo + (b * b * b - b) * y2hi) * (h * h) / 6.0;
  }

  std::vector<double> u_;                 // the decomposition's working row
  std::vector<double> unitP_, unitDiag_;  // prepareUnitKnots' p and y2 factors
  int unitN_ = 0;
};

}  // namespace vandrel
