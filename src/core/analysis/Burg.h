#pragma once
// Burg's method: the predictor a[0..p] (a[0] = 1) of a frame y[0..n-1], one
// frame at a time or several side by side.
//
// Each step's reflection coefficient needs two sums over the frame, and each
// sum is one chain of additions: a frame alone waits on the adder's latency
// at every sample. Frames side by side run the same operations in the same
// order in the lanes of a vector, so their predictors are the one-at-a-time
// ones to the last bit, at a fraction of the time.

#include <array>
#include <cstddef>
#include <vector>

namespace vandrel {

class CBurg {
 public:
  static constexpr std::size_t kLanes = 4;

  // The predictor of order p of y (n samples) into a (p + 1 values). A step
  // whose error power is not positive ends the recursion there.
  void predictor(const double* y, std::size_t n, int p, std::vector<double>& a);

  // The predictors of `count` (at most kLanes) frames of n samples each.
  void predictors(const std::array<const double*, kLanes>& frames, std::size_t count, std::size_t n, int p,
                  std::array<std::vector<double>, kLanes>& a);

 private:
  std::vector<double> f_, b_, prev_;
};

}  // namespace vandrel
