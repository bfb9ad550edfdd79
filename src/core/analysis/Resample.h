#pragma once
// Resampling by a windowed sinc (Blackman, 8 zero crossings of the narrower
// band either side), cut at 95% of the lower Nyquist frequency.
//
// CResampler gives any stretch of the resampled signal on its own: each
// output is a sum over the input around it, the same to the last bit
// whichever stretch it is asked in, so that a long recording's analysis
// resamples only the part it reads instead of holding the whole.

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace vandrel {

// Input samples as doubles or as 16-bit integers (the same values).
template <class T>
class CResampler {
 public:
  // `x` must outlive the resampler.
  CResampler(std::span<const T> x, double from, double to);

  // The length of the whole resampled signal (0 when it cannot be made).
  std::size_t size() const { return n_; }
  // Outputs [begin, end) of the whole, into `out`.
  void range(std::size_t begin, std::size_t end, double* out) const;

 private:
  double filterAt(double distance) const;
  double edge(std::size_t j) const;

  std::span<const T> x_;
  double ratio_ = 0.0, half_ = 0.0;
  std::size_t n_ = 0, taps_ = 0;
  std::vector<double> table_, weights_;
  std::vector<std::ptrdiff_t> firstTap_;
  long long L_ = 0, M_ = 0;
  bool rational_ = false;
};

// The whole of x resampled from rate `from` to rate `to`.
std::vector<double> resampleSignal(const std::vector<double>& x, double from, double to);

}  // namespace vandrel
