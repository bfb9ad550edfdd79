#pragma once
// Second-order digital resonator and antiresonator of the formant synthesizer.

#include <climits>
#include <cmath>

namespace vandrel {

// The coefficients of a pole pair at centre frequency f, bandwidth bw (Hz):
//   r = exp(bw * -pi/fs), c = -r^2, b = 2 r cos(2 pi f / fs), a = 1 - b - c
// which gives unity gain at 0 Hz. minusPiOverRate = -pi/fs and
// twoPiOverRate = 2 pi/fs, as the engine keeps them.
struct PolePair {
  double a, b, c;
};
inline PolePair polePair(int f, int bw, double minusPiOverRate, double twoPiOverRate) {
  const double r = std::exp(bw * minusPiOverRate);
  const double c = -(r * r);
  const double b = 2.0 * r * std::cos(f * twoPiOverRate);
  return {1.0 - b - c, b, c};
}

// y[n] = a x[n] + b y[n-1] + c y[n-2]
struct Resonator {
  double a = 0.0, b = 0.0, c = 0.0;
  double p1 = 0.0, p2 = 0.0;  // last output, the one before

  void set(int f, int bw, double minusPiOverRate, double twoPiOverRate) {
    const PolePair k = polePair(f, bw, minusPiOverRate, twoPiOverRate);
    a = k.a;
    b = k.b;
    c = k.c;
  }
  void reset() { p1 = p2 = 0.0; }
  double step(double x) {
    const double y = a * x + b * p1 + c * p2;
    p2 = p1;
    p1 = y;
    return y;
  }
};

// y[n] = a x[n] + b x[n-1] + c x[n-2], the inverse of a resonator: a zero pair.
struct Antiresonator {
  double a = 0.0, b = 0.0, c = 0.0;
  double p1 = 0.0, p2 = 0.0;  // last input, the one before

  // The frequency is negated first; a zero at 0 Hz or below is moved to -1 Hz,
  // so fnz = 0 never produces a degenerate zero on the real axis at DC.
  void set(int f, int bw, double minusPiOverRate, double twoPiOverRate) {
    f = f == INT_MIN ? INT_MAX : -f;
    if (f >= 0) f = -1;
    const PolePair k = polePair(f, bw, minusPiOverRate, twoPiOverRate);
    a = 1.0 / k.a;
    c = -k.c * a;
    b = -k.b * a;
  }
  void reset() { p1 = p2 = 0.0; }
  double step(double x) {
    const double y = a * x + b * p1 + c * p2;
    p2 = p1;
    p1 = x;
    return y;
  }
};

// Two resonators fed the same input, one per lane of a 2-wide vector. Each
// lane computes a*x + b*p1 + c*p2 in the scalar order, so the results are
// bit-identical to two Resonator::step calls.
using Pair = double __attribute__((vector_size(16)));

struct ResonatorPair {
  Pair a, b, c, p1, p2;

  ResonatorPair(const Resonator& r, const Resonator& s)
      : a{r.a, s.a}, b{r.b, s.b}, c{r.c, s.c}, p1{r.p1, s.p1}, p2{r.p2, s.p2} {}
  void store(Resonator& r, Resonator& s) const {
    r.p1 = p1[0];
    r.p2 = p2[0];
    s.p1 = p1[1];
    s.p2 = p2[1];
  }
  Pair step(double x) {
    const Pair xx = {x, x};
    const Pair y = a * xx + b * p1 + c * p2;
    p2 = p1;
    p1 = y;
    return y;
  }
};

}  // namespace vandrel
