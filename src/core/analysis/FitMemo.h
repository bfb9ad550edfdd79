#pragma once
// The harmonic fits of earlier formant estimates (FormantEstimator.h), taken
// again where a frame's fit has exactly the same inputs: the same measured
// harmonics, the same start, the same pull on the open quotient. A caller
// that estimates several signals differing in a few places (the copy's
// formant loop, CopyFormantLoop.h, reads eight syntheses of one table that
// differ in some frames' F1 and F2) fits each frame's harmonics once; a fit
// depends on nothing else, so what is taken is what would have been made.
// The inputs are compared byte for byte, not within a tolerance. Shared by
// the estimate's threads.
//
// A fit is kept only while the memo holds less than kMaxBytes (about 700
// bytes a fit of a high voice): a long recording's copy would otherwise keep
// a dozen fits of every voiced frame, 0.4 MB a second of it, and an hour's
// several GB. Beyond it the estimates make their fits again, which takes
// longer but gives the same.

#include <cstddef>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>

#include "analysis/FormantPath.h"

namespace vandrel {

class CFitMemo {
 public:
  struct Fit {
    FormantFrame frame;
    double openQuotient = 0.0;
  };

  static constexpr std::size_t kMaxBytes = std::size_t{64} << 20;

  // The fit kept under `key` (any bytes), or false.
  bool find(std::string_view key, Fit& out) const;
  void keep(std::string_view key, const Fit& fit);

  // The bytes of a trivially copyable value, appended to a key.
  template <class T>
  static void add(std::string& key, const T* values, std::size_t count) {
    key.append(reinterpret_cast<const char*>(values), count * sizeof(T));
  }

 private:
  mutable std::mutex mutex_;
  std::unordered_map<std::string, Fit> fits_;
  std::size_t bytes_ = 0;  // about what fits_ takes
};

}  // namespace vandrel
