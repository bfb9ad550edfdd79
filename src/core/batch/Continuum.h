#pragma once
// Continua between two tables: step k of N holds, in every stepped row and
// frame, the value k/(N-1) of the way from table A to table B; step 0 is A
// and step N-1 is B. Rows that are not stepped keep A's values, and every
// step keeps A's anchors.
//
// On the bark scale a formant frequency steps evenly in perceived pitch
// rather than in Hz (Traunmueller's formula), so the steps crowd together
// at low frequencies as the ear's resolution does.

#include <string>
#include <vector>

#include "document/FrameTable.h"

namespace vandrel {

enum class ContinuumScale { kLinear, kBark };

// Traunmueller (1990): z = 26.81 f / (1960 + f) - 0.53, and its inverse.
double hzToBark(double hz);
double barkToHz(double bark);

// f1..f8: the rows the bark scale applies to. Other rows step linearly.
bool isFormantFrequencyRow(int row);

struct ContinuumPlan {
  std::vector<int> rows;         // stepped rows, in storage order
  std::vector<int> widestFrame;  // per stepped row, the first frame where A and B differ most
};

// The rows named in `only` (storage order, whether they differ or not), or
// with `only` empty every row in which A and B differ somewhere. The tables
// must have the same number of frames.
ContinuumPlan planContinuum(const FrameTable& a, const FrameTable& b, const std::vector<int>& only);

// The value of step `step` (0..steps-1, steps >= 2) between a and b, rounded
// to a whole number as the document holds it.
double continuumValue(double a, double b, int step, int steps, ContinuumScale scale, bool formantRow);

// Step `step` of `steps`: a copy of A with the planned rows stepped.
FrameTable continuumStep(const FrameTable& a, const FrameTable& b, const ContinuumPlan& plan, int step,
                         int steps, ContinuumScale scale);

// Why two tables cannot make a continuum, or an empty string.
std::string continuumMismatch(int framesA, int intervalA, int framesB, int intervalB);

}  // namespace vandrel
