#pragma once
// Splitting one real factor off a real monic polynomial
//   P(z) = c[0] z^n + c[1] z^(n-1) + ... + c[n],  c[0] = 1,  n >= 3.
//
// Three methods, tried in turn:
//  1. a real root in [-1, 1] (where the roots of a stable predictor lie): P is
//     sampled for a sign change, the bracket halved down to 0.0001 and the
//     root polished by Newton's method inside it -> linear factor z - r;
//  2. Bairstow's iteration for a quadratic factor z^2 - r z - s from
//     r = 2.0, s = -1.0, tolerance 0.0001, at most 100 iterations;
//  3. Laguerre's method in complex arithmetic from a fixed start, which
//     converges from almost anywhere; its root gives a linear factor when real,
//     else the quadratic of the conjugate pair.
// If all three fail the polynomial is reported as not factored.

namespace vandrel {

struct PolyFactor {
  enum Kind { kLinear, kQuadratic, kFailed };
  Kind kind = kFailed;
  double root = 0.0;        // kLinear: z - root
  double b = 0.0, c = 0.0;  // kQuadratic: z^2 + b z + c
};

// Finds one factor of c[0..n] and writes the quotient (degree n-1 or n-2,
// monic) to q. q must hold n + 1 values; q may not alias c.
// `seekReal` starts true for a new polynomial; it turns false once the scan
// finds no sign change, and later calls skip the scan: dividing out a
// quadratic factor leaves the other roots where they were, so the quotient
// has no sign change in [-1, 1] either.
PolyFactor splitFactor(const double* c, int n, double* q, bool& seekReal);

// Quotients by a known factor (synthetic division; the remainder is dropped).
void divideLinear(const double* c, int n, double root, double* q);
void divideQuadratic(const double* c, int n, double b, double cc, double* q);

}  // namespace vandrel
