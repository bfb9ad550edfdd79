#pragma once
// Ramer-Douglas-Peucker simplification of one table row: the fewest points
// (frames) such that the straight lines between them stay within `tolerance`
// of every value of the row.
//
// The distance is vertical (in the row's own unit), not perpendicular: time
// and value have different units, and what matters is how far the value the
// interpolation puts back lies from the value that was there.

#include <span>
#include <vector>

namespace vandrel {

// Indices of the points kept, ascending; the first and the last point are
// always kept (an empty row gives none, one point gives {0}). Iterative, so
// rows of a million frames do not exhaust the stack.
std::vector<int> simplifyLine(std::span<const double> values, double tolerance);

// The values at the kept points whose straight lines come closest to
// `values` (least squares over every point; a tridiagonal system). The
// points simplifyLine keeps are a track's extremes: where a jittery track
// keeps only some of them, lines through those run along the jitter's edge,
// these through its middle.
std::vector<double> fittedLineValues(std::span<const double> values, const std::vector<int>& kept);

// The value at frame c of the straight line from (a, va) to (b, vb),
// rounded to a whole number as the file holds it: a line between two
// anchors drawn again after one of them moved.
double roundedLineValue(int a, double va, int b, double vb, int c);

// The largest vertical distance between `values` and the straight lines
// through the kept points (0 for fewer than two points).
double simplificationError(std::span<const double> values, const std::vector<int>& kept);

}  // namespace vandrel
