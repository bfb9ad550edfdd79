#pragma once
// The median the estimates and the copy take of a short run of values.

#include <algorithm>
#include <cstddef>
#include <vector>

namespace vandrel {

// The upper median of w (not empty): of an even count, the higher of the two
// middle values. Reorders w.
inline double upperMedian(std::vector<double>& w) {
  std::nth_element(w.begin(), w.begin() + static_cast<std::ptrdiff_t>(w.size() / 2), w.end());
  return w[w.size() / 2];
}

}  // namespace vandrel
