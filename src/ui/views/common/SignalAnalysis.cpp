#include "views/common/SignalAnalysis.h"

#include <algorithm>
#include <cmath>
#include <span>

#include "analysis/Spectrogram.h"

namespace vandrel::ui {

namespace {

// Sample indices [first, last) of a stretch, cut to the recording.
struct Stretch {
  std::size_t first = 0;
  std::size_t last = 0;
  std::size_t size() const { return last - first; }
};

Stretch stretchOf(const std::vector<std::int16_t>& x, double fs, double startMs, double endMs) {
  const auto at = [&](double ms) {
    const double i = std::floor(ms * fs / 1000.0);
    return static_cast<std::size_t>(std::clamp(i, 0.0, static_cast<double>(x.size())));
  };
  return {at(startMs), at(endMs)};
}

vandrel::AnalysisProgress progressOf(AnalysisProgressCounter* counter) {
  if (counter == nullptr) return {};
  return [counter](int done, int total) {
    counter->total.store(total, std::memory_order_relaxed);
    counter->done.store(done, std::memory_order_relaxed);
  };
}

}  // namespace

SpectrogramResult computeSpectrogram(const SpectrogramRequest& r, AnalysisProgressCounter* progress) {
  SpectrogramResult out;
  if (!r.samples || r.columns <= 0 || r.rows <= 0 || !(r.fs > 0)) return out;
  const Stretch st = stretchOf(*r.samples, r.fs, r.startMs, r.endMs);
  if (st.size() < static_cast<std::size_t>(vandrel::CSpectrogram::kMinSamples)) return out;
  auto settings = vandrel::SpectrogramSettings::from(r.options, r.columns, r.rows);
  // The columns spread over the stretch shown; their frames read on into
  // the recording after it, where there is more.
  const std::size_t frame =
      static_cast<std::size_t>(
          std::max(settings.size, vandrel::CSpectrogram::lpcFrameLength(r.fs, settings.lpcCoefficients))) +
      11;
  const std::size_t end = std::min(r.samples->size(), st.last + frame);
  const std::span<const std::int16_t> part(r.samples->data() + st.first, end - st.first);
  settings.length = static_cast<double>(st.size());

  vandrel::CSpectrogram grid;
  if (grid.compute(part, r.fs, settings, progressOf(progress)) != vandrel::CSpectrogram::Status::kOk)
    return out;

  out.ok = true;
  out.startMs = static_cast<double>(st.first) * 1000.0 / r.fs;
  out.endMs = static_cast<double>(st.last) * 1000.0 / r.fs;
  out.fmax = settings.fmax;
  out.image = QImage(r.columns, r.rows, QImage::Format_Grayscale8);
  const double range = std::max(settings.dynamicRangeDb, 1);
  out.columnPeakDb.assign(static_cast<std::size_t>(r.columns), 0.0);
  for (int c = 0; c < r.columns; ++c) {
    const double* col = grid.column(c);
    for (int row = 0; row < r.rows; ++row) {
      out.columnPeakDb[static_cast<std::size_t>(c)] =
          std::max(out.columnPeakDb[static_cast<std::size_t>(c)], col[row]);
      const double level = std::clamp(col[row] / range, 0.0, 1.0);
      out.image.scanLine(r.rows - 1 - row)[c] = static_cast<uchar>(255.0 - 255.0 * level);
    }
  }
  // A column starts at i L / C; its FFT frame is `points` samples long.
  const double columnMs = (out.endMs - out.startMs) / r.columns;
  const double halfFrameMs = r.options.points * 500.0 / r.fs;
  out.columnMs.resize(static_cast<std::size_t>(r.columns));
  for (int c = 0; c < r.columns; ++c)
    out.columnMs[static_cast<std::size_t>(c)] = out.startMs + c * columnMs + halfFrameMs;
  if (grid.formantsComputed()) out.formants.assign(grid.formants().begin(), grid.formants().end());
  return out;
}

PitchResult computePitch(const PitchRequest& r, AnalysisProgressCounter* progress) {
  PitchResult out;
  if (!r.samples || !(r.fs > 0)) return out;
  // Half a window more on each side, so that the frames at the edges of the
  // view are analysed whole and a short zoomed stretch still has enough
  // samples.
  const double margin = r.options.windowMs / 2.0;
  const Stretch st = stretchOf(*r.samples, r.fs, r.startMs - margin, r.endMs + margin);
  const std::span<const std::int16_t> part(r.samples->data() + st.first, st.size());

  vandrel::COptionPitch options = r.options;
  const vandrel::PitchTrackResult track =
      vandrel::computePitchTrack(part, r.fs, options, r.method, 0.0, progressOf(progress));
  if (track.status != vandrel::PitchTrackResult::Status::kOk) return out;

  out.ok = true;
  out.windowMs = options.windowMs;
  out.startMs = static_cast<double>(st.first) * 1000.0 / r.fs;
  out.endMs = static_cast<double>(st.last) * 1000.0 / r.fs;
  out.f0 = track.f0;
  const double step = track.stepSamples;
  const int window = track.windowSamples;
  out.frameMs.resize(out.f0.size());
  out.intensity.resize(out.f0.size());
  for (std::size_t i = 0; i < out.f0.size(); ++i) {
    const double start = static_cast<double>(i) * step;
    out.frameMs[i] = out.startMs + (start + window / 2.0) * 1000.0 / r.fs;
    // Intensity over the same window as the pitch, so the two curves line up.
    const auto from = static_cast<std::size_t>(start);
    const std::size_t to = std::min(part.size(), from + static_cast<std::size_t>(window));
    double sum = 0;
    for (std::size_t j = from; j < to; ++j) sum += static_cast<double>(part[j]) * part[j];
    const double meanSquare = to > from ? sum / static_cast<double>(to - from) : 0.0;
    out.intensity[i] = meanSquare > 0 ? 10.0 * std::log10(meanSquare) : 0.0;
  }
  return out;
}

}  // namespace vandrel::ui
