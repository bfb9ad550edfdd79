#include "labels/Labels.h"

#include <algorithm>

namespace vandrel {

namespace {

// Boundaries closer than this are one boundary: a millionth of a
// millisecond is far below anything a frame or a sample can show.
constexpr double kSameTime = 1e-9;

std::string badTier(const Labels& labels, std::size_t tier) {
  return tier < labels.tiers.size() ? std::string() : "there is no tier " + std::to_string(tier + 1);
}

}  // namespace

std::optional<std::size_t> LabelTier::intervalAt(double t) const {
  if (pointTier || intervals.empty() || t < start || t > end) return std::nullopt;
  const auto after = std::upper_bound(intervals.begin(), intervals.end(), t,
                                      [](double time, const LabelInterval& i) { return time < i.start; });
  if (after == intervals.begin()) return std::size_t{0};
  return static_cast<std::size_t>(after - intervals.begin()) - 1;
}

const LabelTier* Labels::firstIntervalTier() const {
  for (const auto& t : tiers)
    if (!t.pointTier) return &t;
  return nullptr;
}

LabelTier makeTier(const std::string& name, bool pointTier, double start, double end) {
  LabelTier t{name, pointTier, start, end, {}, {}};
  if (!pointTier) t.intervals.push_back({start, end, {}});
  return t;
}

std::string addTier(Labels& labels, const std::string& name, bool pointTier, double start, double end) {
  if (labels.tiers.empty()) {
    if (!(end > start)) return "a tier needs a time range of some length";
    labels.start = start;
    labels.end = end;
  }
  labels.tiers.push_back(makeTier(name, pointTier, labels.start, labels.end));
  return {};
}

std::string removeTier(Labels& labels, std::size_t tier) {
  if (std::string why = badTier(labels, tier); !why.empty()) return why;
  labels.tiers.erase(labels.tiers.begin() + static_cast<std::ptrdiff_t>(tier));
  return {};
}

std::string addBoundary(Labels& labels, std::size_t tier, double t) {
  if (std::string why = badTier(labels, tier); !why.empty()) return why;
  LabelTier& tr = labels.tiers[tier];
  if (t < tr.start || t > tr.end) return "the time lies outside the tier";
  if (tr.pointTier) {
    const auto at = std::lower_bound(tr.points.begin(), tr.points.end(), t,
                                     [](const LabelPoint& p, double time) { return p.time < time; });
    if (at != tr.points.end() && at->time - t < kSameTime) return "there is a point at that time already";
    if (at != tr.points.begin() && t - std::prev(at)->time < kSameTime)
      return "there is a point at that time already";
    tr.points.insert(at, LabelPoint{t, {}});
    return {};
  }
  const std::size_t i = *tr.intervalAt(t);
  LabelInterval& in = tr.intervals[i];
  if (t - in.start < kSameTime || in.end - t < kSameTime) return "there is a boundary at that time already";
  LabelInterval right{t, in.end, {}};
  in.end = t;
  tr.intervals.insert(tr.intervals.begin() + static_cast<std::ptrdiff_t>(i) + 1, right);
  return {};
}

std::string setLabelText(Labels& labels, std::size_t tier, std::size_t index, const std::string& text) {
  if (std::string why = badTier(labels, tier); !why.empty()) return why;
  LabelTier& tr = labels.tiers[tier];
  const std::size_t count = tr.pointTier ? tr.points.size() : tr.intervals.size();
  if (index >= count) return "there is no such interval";
  (tr.pointTier ? tr.points[index].mark : tr.intervals[index].text) = text;
  return {};
}

std::string moveBoundary(Labels& labels, std::size_t tier, std::size_t boundary, double t) {
  if (std::string why = badTier(labels, tier); !why.empty()) return why;
  LabelTier& tr = labels.tiers[tier];
  if (tr.pointTier) {
    if (boundary >= tr.points.size()) return "there is no such point";
    const double lo = boundary > 0 ? tr.points[boundary - 1].time + kSameTime : tr.start;
    const double hi = boundary + 1 < tr.points.size() ? tr.points[boundary + 1].time - kSameTime : tr.end;
    tr.points[boundary].time = std::clamp(t, lo, std::max(lo, hi));
    return {};
  }
  if (boundary == 0 || boundary >= tr.intervals.size()) return "there is no such boundary";
  LabelInterval& left = tr.intervals[boundary - 1];
  LabelInterval& right = tr.intervals[boundary];
  const double lo = left.start + kSameTime * 10, hi = right.end - kSameTime * 10;
  if (!(hi > lo)) return "the boundary has no room to move";
  left.end = right.start = std::clamp(t, lo, hi);
  return {};
}

std::string removeBoundary(Labels& labels, std::size_t tier, std::size_t boundary) {
  if (std::string why = badTier(labels, tier); !why.empty()) return why;
  LabelTier& tr = labels.tiers[tier];
  if (tr.pointTier) {
    if (boundary >= tr.points.size()) return "there is no such point";
    tr.points.erase(tr.points.begin() + static_cast<std::ptrdiff_t>(boundary));
    return {};
  }
  if (boundary == 0 || boundary >= tr.intervals.size()) return "there is no such boundary";
  LabelInterval& left = tr.intervals[boundary - 1];
  const LabelInterval& right = tr.intervals[boundary];
  left.end = right.end;
  if (!left.text.empty() && !right.text.empty()) left.text += ' ';
  left.text += right.text;
  tr.intervals.erase(tr.intervals.begin() + static_cast<std::ptrdiff_t>(boundary));
  return {};
}

}  // namespace vandrel
