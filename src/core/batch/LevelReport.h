#pragma once
// The figures a batch prints for each synthesized file: how long, how loud,
// and whether it clipped.

#include "audio/SampleSet.h"

namespace vandrel {

struct LevelReport {
  double durationMs = 0.0;
  double sampleRate = 0.0;
  double peakDbfs = 0.0;  // -inf for silence; 0 dBFS = 32768
  double rmsDbfs = 0.0;
  long clipped = 0;  // samples at either end of the 16-bit range
};

LevelReport measureLevels(const SampleSet& sound);

// 20 log10(|x| / 32768), -inf for 0.
double dbfs(double amplitude);

}  // namespace vandrel
