#pragma once
// The harmonic fit's inner loops: the levels of the source pulse and of a
// resonator at a frame's harmonics, and the misfits of a grid of sources.
// Each gives the same values, to the last bit, whatever the vector width the
// processor has: the fit's descent compares trials whose objectives differ
// in the last digits, and a copy is the same on every machine. The misfits
// are the plain formulas' to the last bit, the levels within 1e-7 dB of
// CHarmonicFit's (their logarithms, sines and cosines computed side by
// side).

#include <cstddef>
#include <vector>

namespace vandrel::harmonics {

// The factors of the pulse's transform that depend on the harmonic's
// frequency only (w = 2 pi f, 1 / w and its powers), made once per frame for
// `count` harmonics (the arrays padded to a multiple of four).
struct PulseTerms {
  std::size_t count = 0;
  std::vector<double> w, inverse, inverse2, inverse3x2;
  void prepare(const std::vector<double>& hz);
};

// CHarmonicFit::sourceDb(hz[h], open) for the harmonics of `terms`, within
// 1e-7 dB (its sine, cosine and logarithm computed side by side).
void pulseLevels(const PulseTerms& terms, double open, double* out);

// The level in dB of the resonator (b, c, gain a2) at n harmonics, from the
// cosines and sines of w and 2w there; the arrays are padded to a multiple
// of four.
void resonanceLevels(const double* c1, const double* s1, const double* c2, const double* s2, std::size_t n,
                     double b, double c, double a2, double* out);

// The level in dB of the synthesizer's tilt filter at `tilt` dB
// (CHarmonicFit::tiltDb) at n harmonics, from the cosines of w there, padded
// as above.
void tiltLevels(const double* c1, std::size_t n, double tilt, double* out);

// The tilts a grid row holds at most.
constexpr std::size_t kGridTilts = 8;

// For each of kGridTilts tilts t, the mean squared residual of
//   db[h] - (pulse[h] + tilts[h * kGridTilts + t]) - formants[0][h] - ...
// after the source's level and slope (the orthonormal b0, b1) are taken out:
// CHarmonicFit's objective without its pulls, at a whole row of the grid in
// one pass over the n harmonics.
void gridMisfits(const double* db, const double* pulse, const double* tilts, const double* const* formants,
                 std::size_t formantCount, const double* b0, const double* b1, std::size_t n, double* out);

}  // namespace vandrel::harmonics
