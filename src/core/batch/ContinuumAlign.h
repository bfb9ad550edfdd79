#pragma once
// Continua between tokens of different lengths, aligned by their labels.
//
// Both ends carry a first interval tier with the same number of intervals
// (/b/, /a/ ... in A; the same segments in B). Their inner boundaries and
// the tables' ends are knots: step k of N, t = k/(N-1), puts each knot at
// a + (b - a) t, and within each segment maps its time linearly onto the
// segment of A and of B. A row's value at a step's frame is A's and B's
// values at the corresponding times (straight lines between frame middles),
// stepped as in an ordinary continuum. The step's labels are A's tiers
// carried through the same map.

#include <string>
#include <vector>

#include "batch/Continuum.h"
#include "document/FrameTable.h"
#include "labels/Labels.h"

namespace vandrel {

// One end of an aligned continuum.
struct AlignedEnd {
  const FrameTable* table = nullptr;
  int intervalMs = 10;
  const Labels* labels = nullptr;
  std::vector<double> knots;  // ms: 0, the inner boundaries, the table's end
};

// The knots of `end` from its first interval tier, or why it has none (no
// interval tier, a boundary outside the table).
std::string alignmentKnots(AlignedEnd& end);

// Why A and B cannot be aligned (different interval counts), or empty.
std::string alignmentMismatch(const AlignedEnd& a, const AlignedEnd& b);

// `t` (ms) on the time line of `from` knots, on the line of `to` knots.
double warpTime(double t, const std::vector<double>& from, const std::vector<double>& to);

struct AlignedStep {
  FrameTable table;
  int intervalMs = 10;
  Labels labels;
  std::vector<double> knots;
};

// The rows that differ: planned on A's frames, with B carried onto them.
ContinuumPlan planAlignedContinuum(const AlignedEnd& a, const AlignedEnd& b, const std::vector<int>& only);

// Step `step` of `steps`: length, interval (whole ms) and knots interpolated,
// frames whole (the length rounded to the nearest frame), A's anchors on the
// frames their times map to.
AlignedStep alignedContinuumStep(const AlignedEnd& a, const AlignedEnd& b, const ContinuumPlan& plan,
                                 int step, int steps, ContinuumScale scale);

}  // namespace vandrel
