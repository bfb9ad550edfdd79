#pragma once
// Stimulus grids: every combination of the steps of one or more rows of a
// base table. A step moves its whole row by one constant so that the row's
// value at a reference frame becomes the step's value: a steady vowel takes
// the value everywhere, a diphthong keeps its shape and moves as a whole.
// Formant frequencies may step evenly in bark instead of Hz.

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "batch/Continuum.h"
#include "document/FrameTable.h"

namespace vandrel {

// One stepped row: `steps` values from `from` to `to`, ends included.
struct GridAxis {
  int row = 0;
  double from = 0.0;
  double to = 0.0;
  int steps = 0;
};

// Reads "ROW:FROM:TO:N" (f2:900:2100:11). Empty string on success, else why.
std::string parseGridAxis(std::string_view text, GridAxis& out);

struct GridPlan {
  std::vector<GridAxis> axes;
  int referenceFrame = 0;
  // Per axis, per step: the whole value the row takes at the reference frame.
  std::vector<std::vector<double>> values;

  std::size_t pointCount() const;
  // The step of each axis at point `n`; the first axis changes slowest.
  std::vector<int> indices(std::size_t n) const;
  // "grid_03_07": the 1-based steps, zero-padded to each axis's width.
  std::string pointName(const std::vector<int>& indices) const;
};

// At most this many points in one grid.
inline constexpr std::size_t kMaxGridPoints = 10000;

// Plans a grid over `base` (its limits from `params`) with the reference at
// frame `referenceFrame`. Refuses, with why, a repeated row, a step count
// out of 1..1000, a one-step axis whose ends differ, a reference outside
// the table, too many points, and any step that would take a frame of its
// row outside the row's limits. Empty string on success.
std::string planGrid(const FrameTable& base, const ParameterSet& params, const std::vector<GridAxis>& axes,
                     ContinuumScale scale, int referenceFrame, GridPlan& out);

// `base` with each axis's row shifted to its step's value at the reference.
FrameTable gridPoint(const FrameTable& base, const GridPlan& plan, const std::vector<int>& indices);

// The manifest's header: file, each axis's step number, each axis's value at
// the reference (named like f2@150ms).
std::string gridManifestHeader(const GridPlan& plan, int intervalMs);
// One manifest line for the point written as `file`.
std::string gridManifestLine(const GridPlan& plan, const std::vector<int>& indices, const std::string& file);

}  // namespace vandrel
