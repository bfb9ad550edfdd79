#pragma once
// The analyses one signal of the spectrogram/pitch view needs, computed on a
// worker thread from a request that carries copies of everything it reads:
// the spectrogram grid (as a grey image) with its formant tracks, and the
// pitch track with the intensity curve. Each result names the stretch of time
// it covers, so the view can keep drawing an older result, scaled into place,
// until the newer one arrives.

#include <QImage>

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

#include "analysis/AnalysisOptions.h"
#include "analysis/AnalysisTracks.h"

namespace vandrel::ui {

using Samples = std::shared_ptr<const std::vector<std::int16_t>>;

// Steps done / total of a running computation; the progress dialog reads
// them from the interface thread.
struct AnalysisProgressCounter {
  std::atomic<int> done{0};
  std::atomic<int> total{0};
};

struct SpectrogramRequest {
  Samples samples;
  double fs = 0;
  double startMs = 0;  // the analysed stretch
  double endMs = 0;
  int columns = 0;  // the drawing area's width ...
  int rows = 0;     // ... and height, in pixels
  vandrel::COptionSpectrogram options;
};

struct SpectrogramResult {
  bool ok = false;
  double startMs = 0;
  double endMs = 0;
  int fmax = 0;  // Hz at the top of the image
  // One pixel per cell: white is 0 dB (or more than the dynamic range below
  // the strongest cell), black the strongest cell. Top row = fmax.
  QImage image;
  // Per column, its centre time and up to five formants in Hz (0 = none);
  // empty when formant tracking is off.
  std::vector<double> columnMs;
  std::vector<double> columnPeakDb;  // the strongest cell of each column, 0 .. D
  std::vector<std::array<std::int16_t, 5>> formants;
};

struct PitchRequest {
  Samples samples;
  double fs = 0;
  double startMs = 0;
  double endMs = 0;
  vandrel::COptionPitch options;
  vandrel::PitchMethod method = vandrel::PitchMethod::kCepstral;
};

struct PitchResult {
  bool ok = false;
  double startMs = 0;  // the stretch the frames cover
  double endMs = 0;
  std::vector<double> frameMs;    // centre of each analysis window
  std::vector<double> f0;         // Hz, 0 = unvoiced
  std::vector<double> intensity;  // dB of the mean square per frame (0 for silence)
  int windowMs = 0;               // as used: a window of 4096 samples or more is shortened
};

SpectrogramResult computeSpectrogram(const SpectrogramRequest& request, AnalysisProgressCounter* progress);
PitchResult computePitch(const PitchRequest& request, AnalysisProgressCounter* progress);

}  // namespace vandrel::ui
