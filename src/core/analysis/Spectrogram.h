#pragma once
// The spectrogram of a recording as a grid of C columns x R rows of dB values,
// with up to five LPC formant frequencies per column when tracking is on.
// Columns are spread evenly over the signal; each is an FFT spectrum
// resampled onto R rows from 0 Hz to fmax. The finished grid is referred to
// its maximum and clipped to the dynamic range D: the strongest cell is D,
// anything D dB or more below it is 0.

#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "analysis/AnalysisOptions.h"
#include "analysis/MathFunc.h"
#include "analysis/PitchTrack.h"

namespace vandrel {

struct SpectrogramSettings {
  int columns = 0;            // C
  int rows = 0;               // R
  int size = 64;              // FFT analysis length N
  double preEmphasis = 0.98;  // 0 adds nothing
  int fmax = 5000;            // Hz at the top row
  int dynamicRangeDb = 35;    // D
  bool trackFormants = false;
  int lpcCoefficients = 14;  // p; also the LPC frame length in ms
  double offset = 0.0;       // first sample of the analysed stretch
  // Samples the columns spread over (0: all of them). A zoomed view spreads
  // its columns over the stretch it shows and passes the samples after it
  // too, so its last columns read whole frames instead of running out.
  double length = 0.0;

  // The spectrogram options' values on a grid of the given shape.
  static SpectrogramSettings from(const COptionSpectrogram& o, int columns, int rows);
};

class CSpectrogram {
 public:
  enum class Status {
    kOk,
    kTooShort,    // fewer than 100 samples: abandoned without a message
    kBadOptions,  // no columns, no rows, an FFT length below 2 or no rate
    kNoMemory,
  };
  static constexpr int kMinSamples = 100;
  static constexpr int kFormants = 5;
  using Formants = std::array<std::int16_t, kFormants>;

  // LPC frame length for formant tracking: truncated(fs / 1000) x p samples.
  // The coefficient count doubles as the frame length in milliseconds.
  static int lpcFrameLength(double fs, int p) { return static_cast<int>(fs / 1000.0) * p; }

  // Computes the grid of `samples` (all of the recording; L = its size).
  // Formant arrays are written only when tracking is on; the computed flags
  // are cleared first and set as each part completes.
  Status compute(std::span<const std::int16_t> samples, double fs, const SpectrogramSettings& s,
                 const AnalysisProgress& progress = {});

  bool spectrogramComputed() const { return spectrogramDone_; }
  bool formantsComputed() const { return formantsDone_; }
  int columns() const { return columns_; }
  int rows() const { return rows_; }
  // Column i's R values, bottom row (0 Hz) first, each in 0 .. D.
  const double* column(int i) const {
    return grid_.data() + static_cast<std::size_t>(i) * static_cast<std::size_t>(rows_);
  }
  // Formants of column i in Hz, lowest first; 0 = none.
  const std::vector<Formants>& formants() const { return formants_; }

 private:
  CMathFunc math_;
  std::vector<double> grid_;
  std::vector<Formants> formants_;
  std::vector<double> frame_;     // FFT frame; keeps older contents where a copy stops short
  std::vector<double> lpcFrame_;  // likewise for the LPC frame
  int columns_ = 0;
  int rows_ = 0;
  bool spectrogramDone_ = false;
  bool formantsDone_ = false;
};

}  // namespace vandrel
