#include "batch/Continuum.h"

#include <algorithm>
#include <cmath>

namespace vandrel {

double hzToBark(double hz) { return 26.81 * hz / (1960.0 + hz) - 0.53; }

double barkToHz(double bark) { return 1960.0 * (bark + 0.53) / (26.28 - bark); }

bool isFormantFrequencyRow(int row) { return row >= kF8 && row <= kF1; }

ContinuumPlan planContinuum(const FrameTable& a, const FrameTable& b, const std::vector<int>& only) {
  ContinuumPlan plan;
  const int frames = std::min(a.columns(), b.columns());
  for (int r = 0; r < kParamCount; ++r) {
    int widest = 0;
    double most = -1.0;
    for (int c = 0; c < frames; ++c) {
      const double d = std::fabs(a.value(r, c) - b.value(r, c));
      if (d > most) {
        most = d;
        widest = c;
      }
    }
    const bool named = std::find(only.begin(), only.end(), r) != only.end();
    if (only.empty() ? most > 0.0 : named) {
      plan.rows.push_back(r);
      plan.widestFrame.push_back(widest);
    }
  }
  return plan;
}

double continuumValue(double a, double b, int step, int steps, ContinuumScale scale, bool formantRow) {
  const double t = static_cast<double>(step) / (steps - 1);
  // Whole values at both ends come back exactly: round(a + 0) is a.
  if (scale == ContinuumScale::kBark && formantRow && a > 0.0 && b > 0.0) {
    const double za = hzToBark(a);
    return std::round(barkToHz(za + t * (hzToBark(b) - za)));
  }
  return std::round(a + t * (b - a));
}

FrameTable continuumStep(const FrameTable& a, const FrameTable& b, const ContinuumPlan& plan, int step,
                         int steps, ContinuumScale scale) {
  FrameTable out = a;
  for (const int r : plan.rows) {
    const bool formant = isFormantFrequencyRow(r);
    for (int c = 0; c < out.columns(); ++c)
      out.setValue(r, c, continuumValue(a.value(r, c), b.value(r, c), step, steps, scale, formant));
  }
  return out;
}

std::string continuumMismatch(int framesA, int intervalA, int framesB, int intervalB) {
  if (framesA == framesB && intervalA == intervalB) return {};
  return "the two ends differ in timing (" + std::to_string(framesA) + " frames of " +
         std::to_string(intervalA) + " ms against " + std::to_string(framesB) + " frames of " +
         std::to_string(intervalB) + " ms); a continuum needs the same frame count and interval at both ends";
}

}  // namespace vandrel
