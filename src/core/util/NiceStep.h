#pragma once
// Readable scale steps for axes and grids: 1, 2 or 5 times a power of ten.

#include <algorithm>
#include <cmath>

namespace vandrel {

// The smallest step of 1, 2 or 5 × 10^k that is at least `least`.
inline double niceStepAtLeast(double least) {
  const double power = std::pow(10.0, std::floor(std::log10(std::max(least, 1e-9))));
  for (const double m : {1.0, 2.0, 5.0, 10.0})
    if (m * power >= least) return m * power;
  return 10.0 * power;
}

// A step that puts marks at least `minPixels` apart on a scale of `span`
// units drawn over `pixels`.
inline double niceStep(double span, double pixels, double minPixels) {
  return niceStepAtLeast(span * minPixels / std::max(pixels, 1.0));
}

}  // namespace vandrel
