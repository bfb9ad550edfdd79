#pragma once
// Labels: the segmentation of a table or a recording in tiers, as Praat's
// TextGrids hold it. An interval tier covers its whole time range with
// intervals that touch end to end, each with a text ("the vowel", "b");
// a point tier marks single moments ("burst"). Times are seconds from the
// start, as in the files.
//
// The edits keep those rules: a boundary splits an interval, removing one
// joins its neighbours, a dragged boundary stays between its neighbours.
// Each edit either happens whole or returns why not (and changes nothing).

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace vandrel {

struct LabelInterval {
  double start = 0.0;
  double end = 0.0;
  std::string text;
  bool operator==(const LabelInterval&) const = default;
};

struct LabelPoint {
  double time = 0.0;
  std::string mark;
  bool operator==(const LabelPoint&) const = default;
};

struct LabelTier {
  std::string name;
  bool pointTier = false;  // a TextTier: points instead of intervals
  double start = 0.0;
  double end = 0.0;
  std::vector<LabelInterval> intervals;  // interval tiers: at least one, end to end
  std::vector<LabelPoint> points;        // point tiers: in time order
  bool operator==(const LabelTier&) const = default;

  // The interval that holds time `t` (the later one at a boundary, the last
  // one at the very end), or nothing outside the tier or on a point tier.
  std::optional<std::size_t> intervalAt(double t) const;
};

struct Labels {
  double start = 0.0;
  double end = 0.0;
  std::vector<LabelTier> tiers;
  bool operator==(const Labels&) const = default;

  bool empty() const { return tiers.empty(); }
  // The first interval tier, or null: the one continua align by.
  const LabelTier* firstIntervalTier() const;
};

// A tier over [start, end]: one empty interval, or no points.
LabelTier makeTier(const std::string& name, bool pointTier, double start, double end);

// --- edits (an empty string when done, else why nothing changed) ----------
// Adds a tier at the end; the labels' range is kept, or set to [start, end]
// when there were no tiers yet.
std::string addTier(Labels& labels, const std::string& name, bool pointTier, double start, double end);
std::string removeTier(Labels& labels, std::size_t tier);
// Interval tier: splits the interval at `t` (the text stays on the left).
// Point tier: adds an empty point at `t`.
std::string addBoundary(Labels& labels, std::size_t tier, double t);
// Sets the text of interval (or point) `index`.
std::string setLabelText(Labels& labels, std::size_t tier, std::size_t index, const std::string& text);
// Moves the boundary between intervals `boundary - 1` and `boundary` (or
// point `boundary`) to `t`, held strictly between its neighbours.
std::string moveBoundary(Labels& labels, std::size_t tier, std::size_t boundary, double t);
// Removes the boundary before interval `boundary` (joining the two texts
// with a blank when both have one), or point `boundary`.
std::string removeBoundary(Labels& labels, std::size_t tier, std::size_t boundary);

}  // namespace vandrel
