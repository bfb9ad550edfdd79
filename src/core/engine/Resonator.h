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

// The pole pair of the last (f, bw) asked for. A table's formants often hold
// for many frames, and exp and cos are most of a frame's setup.
class PolePairCache {
 public:
  const PolePair& get(int f, int bw, double minusPiOverRate, double twoPiOverRate) {
    if (!valid_ || f != f_ || bw != bw_) {
      k_ = polePair(f, bw, minusPiOverRate, twoPiOverRate);
      f_ = f;
      bw_ = bw;
      valid_ = true;
    }
    return k_;
  }
  void clear() { valid_ = false; }

 private:
  PolePair k_{};
  int f_ = 0, bw_ = 0;
  bool valid_ = false;
};

// y[n] = a x[n] + b y[n-1] + c y[n-2]
struct Resonator {
  double a = 0.0, b = 0.0, c = 0.0;
  double p1 = 0.0, p2 = 0.0;  // last output, the one before

  void set(const PolePair& k) {
    a = k.a;
    b = k.b;
    c = k.c;
  }
  void set(int f, int bw, double minusPiOverRate, double twoPiOverRate) {
    set(polePair(f, bw, minusPiOverRate, twoPiOverRate));
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
  static int poleFrequency(int f) {
    f = f == INT_MIN ? INT_MAX : -f;
    return f >= 0 ? -1 : f;
  }
  // `k` is the pole pair at poleFrequency(f); the zeros are its inverse.
  void set(const PolePair& k) {
    a = 1.0 / k.a;
    c = -k.c * a;
    b = -k.b * a;
  }
  void set(int f, int bw, double minusPiOverRate, double twoPiOverRate) {
    set(polePair(poleFrequency(f), bw, minusPiOverRate, twoPiOverRate));
  }
  void reset() { p1 = p2 = 0.0; }
  double step(double x) {
    const double y = a * x + b * p1 + c * p2;
    p2 = p1;
    p1 = x;
    return y;
  }
};

}  // namespace vandrel
