#include "batch/ContinuumAlign.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace vandrel {

namespace {

// A row's value at `t` ms: straight lines between the frames' middles, held
// beyond the first and the last.
double valueAt(const FrameTable& table, int row, int intervalMs, double t) {
  const int n = table.columns();
  const double p = std::clamp(t / intervalMs - 0.5, 0.0, static_cast<double>(n - 1));
  const int c = std::min(static_cast<int>(p), n - 1);
  const double f = p - c;
  const double* v = table.row(row);
  return c + 1 < n ? v[c] + f * (v[c + 1] - v[c]) : v[c];
}

std::string seconds(double ms) {
  char buf[32];
  std::snprintf(buf, sizeof buf, "%g s", ms / 1000.0);
  return buf;
}

// `labels` carried onto a time line of `to` knots: every boundary and point
// mapped; an interval that the map squeezes to nothing is left out.
Labels warpLabels(const Labels& labels, const std::vector<double>& from, const std::vector<double>& to) {
  const double end = to.back() / 1000.0;
  const auto map = [&](double s) { return warpTime(s * 1000.0, from, to) / 1000.0; };
  Labels out{0.0, end, {}};
  for (const LabelTier& t : labels.tiers) {
    LabelTier w = makeTier(t.name, t.pointTier, 0.0, end);
    w.intervals.clear();
    for (const LabelPoint& p : t.points) {
      const double at = map(p.time);
      if (w.points.empty() || at > w.points.back().time) w.points.push_back({at, p.mark});
    }
    for (const LabelInterval& in : t.intervals) {
      const double start = w.intervals.empty() ? 0.0 : w.intervals.back().end;
      const double stop = map(in.end);
      if (stop > start + 1e-9) w.intervals.push_back({start, stop, in.text});
    }
    if (!t.pointTier) {
      if (w.intervals.empty()) w.intervals.push_back({0.0, end, {}});
      w.intervals.back().end = end;
    }
    out.tiers.push_back(std::move(w));
  }
  return out;
}

}  // namespace

std::string alignmentKnots(AlignedEnd& end) {
  const LabelTier* tier = end.labels ? end.labels->firstIntervalTier() : nullptr;
  if (!tier) return "its labels have no interval tier";
  const double length = static_cast<double>(end.table->columns()) * end.intervalMs;
  end.knots = {0.0};
  for (std::size_t j = 1; j < tier->intervals.size(); ++j) {
    const double b = tier->intervals[j].start * 1000.0;
    if (b <= end.knots.back() || b >= length)
      return "its boundary at " + seconds(b) + " lies outside the table (0 to " + seconds(length) + ")";
    end.knots.push_back(b);
  }
  end.knots.push_back(length);
  return {};
}

std::string alignmentMismatch(const AlignedEnd& a, const AlignedEnd& b) {
  if (a.knots.size() == b.knots.size()) return {};
  return "the first interval tiers hold " + std::to_string(a.knots.size() - 1) + " and " +
         std::to_string(b.knots.size() - 1) + " intervals; aligning by labels needs the same number";
}

double warpTime(double t, const std::vector<double>& from, const std::vector<double>& to) {
  t = std::clamp(t, from.front(), from.back());
  const auto after = std::upper_bound(from.begin() + 1, from.end() - 1, t);
  const std::size_t j = static_cast<std::size_t>(after - from.begin()) - 1;
  const double span = from[j + 1] - from[j];
  const double u = span > 0.0 ? (t - from[j]) / span : 0.0;
  return to[j] + u * (to[j + 1] - to[j]);
}

ContinuumPlan planAlignedContinuum(const AlignedEnd& a, const AlignedEnd& b, const std::vector<int>& only) {
  FrameTable bOnA = *a.table;
  for (int c = 0; c < bOnA.columns(); ++c) {
    const double tB = warpTime((c + 0.5) * a.intervalMs, a.knots, b.knots);
    for (int r = 0; r < kParamCount; ++r) bOnA.setValue(r, c, valueAt(*b.table, r, b.intervalMs, tB));
  }
  return planContinuum(*a.table, bOnA, only);
}

AlignedStep alignedContinuumStep(const AlignedEnd& a, const AlignedEnd& b, const ContinuumPlan& plan,
                                 int step, int steps, ContinuumScale scale) {
  const double t = static_cast<double>(step) / (steps - 1);
  AlignedStep s;
  s.intervalMs = std::max(1, static_cast<int>(std::lround(a.intervalMs + t * (b.intervalMs - a.intervalMs))));
  const double length = a.knots.back() + t * (b.knots.back() - a.knots.back());
  const int frames = std::max(1, static_cast<int>(std::lround(length / s.intervalMs)));
  s.knots.resize(a.knots.size());
  for (std::size_t j = 0; j < a.knots.size(); ++j) s.knots[j] = a.knots[j] + t * (b.knots[j] - a.knots[j]);
  s.knots.back() = static_cast<double>(frames) * s.intervalMs;  // whole frames

  std::vector<bool> stepped(kParamCount, false);
  for (const int r : plan.rows) stepped[static_cast<std::size_t>(r)] = true;
  s.table.reset(frames, ParameterSet{});
  for (int c = 0; c < frames; ++c) {
    const double tau = (c + 0.5) * s.intervalMs;
    const double tA = warpTime(tau, s.knots, a.knots), tB = warpTime(tau, s.knots, b.knots);
    for (int r = 0; r < kParamCount; ++r) {
      const double va = valueAt(*a.table, r, a.intervalMs, tA);
      s.table.setValue(r, c,
                       stepped[static_cast<std::size_t>(r)]
                           ? continuumValue(va, valueAt(*b.table, r, b.intervalMs, tB), step, steps, scale,
                                            isFormantFrequencyRow(r))
                           : std::round(va));
    }
  }
  for (int r = 0; r < kParamCount; ++r)
    for (int c = 0; c < a.table->columns(); ++c)
      if (a.table->anchor(r, c)) {
        const double tau = warpTime((c + 0.5) * a.intervalMs, a.knots, s.knots);
        s.table.setAnchor(r, std::min(frames - 1, static_cast<int>(tau / s.intervalMs)), true);
      }
  if (a.labels) s.labels = warpLabels(*a.labels, a.knots, s.knots);
  return s;
}

}  // namespace vandrel
