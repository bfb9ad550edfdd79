#include "engine/SineWave.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <new>
#include <numbers>
#include <vector>

#include "engine/Synthesizer.h"

namespace vandrel {

namespace {

// The loudest frame's peak, at most: 1 dB below full scale.
constexpr double kPeak = 32767.0 * 0.891;
constexpr std::array<int, 4> kFreqRows{kF1, kF2, kF3, kF4};
constexpr std::array<int, 4> kAmpRows{kA1f, kA2f, kA3f, kA4f};

double cell(const FrameTable& t, int row, int col) { return std::trunc(t.value(row, col)); }

// Linear level of sinusoid k in frame `col` (any scale; the replica is
// normalised afterwards). Zero above the Nyquist frequency.
double level(const FrameTable& t, int col, std::size_t k, double nyquist) {
  const double src = std::max({cell(t, kAv, col), cell(t, kAh, col), cell(t, kAf, col)});
  const double amp = cell(t, kAmpRows[k], col);
  const double f = cell(t, kFreqRows[k], col);
  if (src <= 0.0 || amp <= 0.0 || f <= 0.0 || f >= nyquist) return 0.0;
  // Relative to a level no table reaches (87 + 87 dB), so the numbers stay
  // small before normalising.
  return std::pow(10.0, (src + amp - 174.0) / 20.0);
}

}  // namespace

SampleSet synthesizeSineWave(const CVandrelDoc& doc, int sinusoids) {
  const auto count = static_cast<std::size_t>(std::clamp(sinusoids, 1, 4));
  const SynthesisSetup setup = synthesisSetup(doc);
  const ParameterSet& ps = doc.params();
  const FrameTable& t = doc.table();
  const double rate = setup.sampleRate;
  const double nyquist = rate / 2.0;
  const double sampleCount = rate * ps.fileLengthMs / 1000.0;
  const int frames = std::min(ps.frameCount, t.columns());
  const auto spf = static_cast<std::size_t>(std::max(setup.samplesPerFrame, 0));

  SampleSet out;
  std::vector<double> levels;  // frame by frame, `count` a frame
  try {
    out.samples.assign((static_cast<std::size_t>(std::max(0.0, 2.0 * sampleCount)) + 1) / 2, 0);
    levels.assign(static_cast<std::size_t>(std::max(frames, 0)) * count, 0.0);
  } catch (const std::bad_alloc&) {
    return {};
  }
  double loudest = 0.0;
  for (int f = 0; f < frames; ++f) {
    double sum = 0.0;
    for (std::size_t k = 0; k < count; ++k)
      sum += levels[static_cast<std::size_t>(f) * count + k] = level(t, f, k, nyquist);
    loudest = std::max(loudest, sum);
  }
  // Levels glide linearly between frames, so no moment's sum of amplitudes
  // exceeds the loudest frame's: scaled to kPeak, the sum cannot clip.
  const double scale = loudest > 0.0 ? kPeak / loudest : 0.0;

  std::array<double, 4> phase{};
  const double step = 2.0 * std::numbers::pi / rate;
  for (int f = 0; f < frames; ++f) {
    const int next = std::min(f + 1, frames - 1);
    const std::size_t at = static_cast<std::size_t>(f) * spf;
    const std::size_t n = at < out.samples.size() ? std::min(spf, out.samples.size() - at) : 0;
    std::array<double, 4> f0{}, f1{}, a0{}, a1{};
    for (std::size_t k = 0; k < count; ++k) {
      f0[k] = cell(t, kFreqRows[k], f);
      f1[k] = cell(t, kFreqRows[k], next);
      a0[k] = levels[static_cast<std::size_t>(f) * count + k] * scale;
      a1[k] = levels[static_cast<std::size_t>(next) * count + k] * scale;
    }
    for (std::size_t i = 0; i < n; ++i) {
      const double x = spf > 0 ? static_cast<double>(i) / static_cast<double>(spf) : 0.0;
      double sum = 0.0;
      for (std::size_t k = 0; k < count; ++k) {
        phase[k] += step * (f0[k] + x * (f1[k] - f0[k]));
        if (phase[k] > 2.0 * std::numbers::pi) phase[k] -= 2.0 * std::numbers::pi;
        sum += (a0[k] + x * (a1[k] - a0[k])) * std::sin(phase[k]);
      }
      out.samples[at + i] = static_cast<std::int16_t>(std::lround(sum));
    }
  }
  out.sampleRate = rate;
  out.fileLengthMs = ps.fileLengthMs;
  out.sampleCount = sampleCount;
  return out;
}

}  // namespace vandrel
