#include "vowelspace/VowelSpace.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <sstream>

#include "batch/Continuum.h"
#include "util/NiceStep.h"

namespace vandrel {

double formantScaled(double hz, FormantScale scale) {
  return scale == FormantScale::kBark ? hzToBark(hz) : hz;
}

double formantFromScaled(double v, FormantScale scale) {
  return scale == FormantScale::kBark ? barkToHz(v) : v;
}

double VowelSpaceMap::xOf(double f2) const {
  const double hi = formantScaled(f2High, scale), lo = formantScaled(f2Low, scale);
  return left + (hi - formantScaled(f2, scale)) / (hi - lo) * (right - left);
}

double VowelSpaceMap::yOf(double f1) const {
  const double hi = formantScaled(f1High, scale), lo = formantScaled(f1Low, scale);
  return top + (formantScaled(f1, scale) - lo) / (hi - lo) * (bottom - top);
}

double VowelSpaceMap::f2At(double x) const {
  const double hi = formantScaled(f2High, scale), lo = formantScaled(f2Low, scale);
  return formantFromScaled(hi - (x - left) / (right - left) * (hi - lo), scale);
}

double VowelSpaceMap::f1At(double y) const {
  const double hi = formantScaled(f1High, scale), lo = formantScaled(f1Low, scale);
  return formantFromScaled(lo + (y - top) / (bottom - top) * (hi - lo), scale);
}

std::vector<double> VowelSpaceMap::ticks(double low, double high, double pixels, double minPixels) const {
  const double lo = formantScaled(low, scale), hi = formantScaled(high, scale);
  const double step = scale == FormantScale::kBark
                          ? std::max(1.0, std::round(niceStep(hi - lo, pixels, minPixels)))
                          : niceStep(hi - lo, pixels, minPixels);
  std::vector<double> out;
  for (double v = std::ceil(lo / step) * step; v <= hi + 1e-9; v += step)
    out.push_back(formantFromScaled(v, scale));
  return out;
}

std::vector<TrajectoryPoint> vowelTrajectory(const FrameTable& table) {
  std::vector<TrajectoryPoint> out(static_cast<std::size_t>(table.columns()));
  const double* f1 = table.row(kF1);
  const double* f2 = table.row(kF2);
  for (int c = 0; c < table.columns(); ++c)
    out[static_cast<std::size_t>(c)] = {f1[c], f2[c], table.anchor(kF1, c), table.anchor(kF2, c)};
  return out;
}

int nearestFrame(const std::vector<TrajectoryPoint>& points, const VowelSpaceMap& map, double x, double y,
                 double radius, bool handlesOnly) {
  int best = -1;
  double bestDistance = radius * radius;
  for (std::size_t i = 0; i < points.size(); ++i) {
    if (handlesOnly && !points[i].handle()) continue;
    const double dx = map.xOf(points[i].f2) - x, dy = map.yOf(points[i].f1) - y;
    if (dx * dx + dy * dy <= bestDistance) {
      bestDistance = dx * dx + dy * dy;
      best = static_cast<int>(i);
    }
  }
  return best;
}

namespace {

bool readNumber(const std::string& s, double& out) {
  const auto [ptr, ec] = std::from_chars(s.data(), s.data() + s.size(), out);
  return ec == std::errc() && ptr == s.data() + s.size() && std::isfinite(out) && out > 0.0;
}

}  // namespace

std::string readReferenceVowels(const std::string& text, std::vector<ReferenceVowel>& out) {
  std::vector<ReferenceVowel> read;
  std::istringstream lines(text);
  int number = 0;
  bool first = true;  // the first line with text may be a header
  for (std::string line; std::getline(lines, line);) {
    ++number;
    if (!line.empty() && line.back() == '\r') line.pop_back();
    std::istringstream fields(line);
    std::string label, f1, f2;
    fields >> label >> f1 >> f2;
    if (label.empty() || label[0] == '#') continue;
    ReferenceVowel v{label, 0, 0};
    if (readNumber(f1, v.f1) && readNumber(f2, v.f2)) {
      read.push_back(v);
    } else if (!first) {
      return "line " + std::to_string(number) + " is not \"vowel f1 f2\" with two frequencies in Hz: " + line;
    }
    first = false;
  }
  if (read.empty()) return "no line holds \"vowel f1 f2\" with two frequencies in Hz";
  out = std::move(read);
  return {};
}

}  // namespace vandrel
