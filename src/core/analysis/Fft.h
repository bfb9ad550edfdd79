#pragma once
// In-place radix-2 complex FFT over separate real and imaginary arrays.
//
//   X[k] = sum_n x[n] e^(-2 pi i k n / N),   N = 2^m, no scaling either way.
//
// There is no inverse: the cepstrum applies the same forward transform twice.
// Each object keeps, per order, the bit-reversal permutation and every stage's
// twiddles, so a transform allocates only the first time an order is used.

#include <array>
#include <cstdint>
#include <vector>

namespace vandrel {

class FftTables {
 public:
  static constexpr int kMaxOrder = 20;

  // Transforms re[0..2^m-1], im[0..2^m-1] in place; 1 <= m <= kMaxOrder.
  void transform(double* re, double* im, int m);

  // Builds the tables of order m now (so a later transform does not allocate).
  void prepare(int m) { tables(m); }

 private:
  struct Order {
    bool ready = false;
    std::vector<std::uint32_t> rev;  // bit-reversed index of each position
    // The twiddles of the stage with half span h sit at [h - 1, 2h - 1).
    std::vector<double> wr, wi;
  };
  const Order& tables(int m);

  std::array<Order, kMaxOrder + 1> orders_;
  std::vector<double> scratchRe_, scratchIm_;  // the permuted first stage
};

}  // namespace vandrel
