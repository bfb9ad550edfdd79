#include "batch/LevelReport.h"

#include <cmath>
#include <cstdlib>
#include <limits>

namespace vandrel {

double dbfs(double amplitude) {
  return amplitude > 0.0 ? 20.0 * std::log10(amplitude / 32768.0) : -std::numeric_limits<double>::infinity();
}

LevelReport measureLevels(const SampleSet& sound) {
  LevelReport r;
  r.sampleRate = sound.sampleRate;
  const auto n = sound.samples.size();
  r.durationMs = sound.sampleRate > 0.0 ? static_cast<double>(n) * 1000.0 / sound.sampleRate : 0.0;
  int peak = 0;
  double energy = 0.0;
  for (const auto s : sound.samples) {
    const int a = std::abs(static_cast<int>(s));
    peak = a > peak ? a : peak;
    energy += static_cast<double>(s) * s;
    // The engine holds its output to -32768..32767: a sample on either rail
    // is one whose true value lay beyond it.
    if (s == 32767 || s == -32768) ++r.clipped;
  }
  r.peakDbfs = dbfs(peak);
  r.rmsDbfs = dbfs(n > 0 ? std::sqrt(energy / static_cast<double>(n)) : 0.0);
  return r;
}

}  // namespace vandrel
