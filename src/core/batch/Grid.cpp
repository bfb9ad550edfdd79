#include "batch/Grid.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace vandrel {

namespace {

std::string whole(double v) { return std::to_string(static_cast<long long>(std::llround(v))); }

bool readNumber(std::string_view s, double& out) {
  const char* end = s.data() + s.size();
  const auto [ptr, ec] = std::from_chars(s.data(), end, out);
  return ec == std::errc() && ptr == end && std::isfinite(out);
}

int digits(int n) { return static_cast<int>(std::to_string(n).size()); }

}  // namespace

std::string parseGridAxis(std::string_view text, GridAxis& out) {
  std::vector<std::string_view> parts;
  for (std::size_t at = 0;;) {
    const std::size_t colon = text.find(':', at);
    parts.push_back(text.substr(at, colon == std::string_view::npos ? std::string_view::npos : colon - at));
    if (colon == std::string_view::npos) break;
    at = colon + 1;
  }
  const std::string quoted = "'" + std::string(text) + "'";
  if (parts.size() != 4) return quoted + " is not ROW:FROM:TO:N (for example f2:900:2100:11)";
  const auto row = paramIndex(parts[0]);
  if (!row) return quoted + ": no parameter is called '" + std::string(parts[0]) + "'";
  double steps = 0.0;
  if (!readNumber(parts[1], out.from) || !readNumber(parts[2], out.to))
    return quoted + ": FROM and TO must be numbers";
  if (!readNumber(parts[3], steps) || steps != std::floor(steps) || steps < 1 || steps > 1000)
    return quoted + ": N must be a whole number of steps from 1 to 1000";
  out.row = *row;
  out.steps = static_cast<int>(steps);
  return {};
}

std::size_t GridPlan::pointCount() const {
  std::size_t n = axes.empty() ? 0 : 1;
  for (const auto& a : axes) n *= static_cast<std::size_t>(a.steps);
  return n;
}

std::vector<int> GridPlan::indices(std::size_t n) const {
  std::vector<int> at(axes.size());
  for (std::size_t k = axes.size(); k-- > 0;) {
    const auto steps = static_cast<std::size_t>(axes[k].steps);
    at[k] = static_cast<int>(n % steps);
    n /= steps;
  }
  return at;
}

std::string GridPlan::pointName(const std::vector<int>& at) const {
  std::string name = "grid";
  for (std::size_t k = 0; k < axes.size(); ++k) {
    const std::string step = std::to_string(at[k] + 1);
    const auto width = static_cast<std::size_t>(std::max(2, digits(axes[k].steps)));
    name += '_' + std::string(width > step.size() ? width - step.size() : 0, '0') + step;
  }
  return name;
}

std::string planGrid(const FrameTable& base, const ParameterSet& params, const std::vector<GridAxis>& axes,
                     ContinuumScale scale, int referenceFrame, GridPlan& out) {
  if (axes.empty()) return "name at least one row to vary";
  if (referenceFrame < 0 || referenceFrame >= base.columns())
    return "the reference frame " + std::to_string(referenceFrame) + " lies outside the table's " +
           std::to_string(base.columns()) + " frames";
  GridPlan plan;
  plan.referenceFrame = referenceFrame;
  double points = 1.0;
  for (const GridAxis& a : axes) {
    const ParamDef& def = params.at(a.row);
    const std::string name(def.name);
    for (const GridAxis& before : plan.axes)
      if (before.row == a.row) return name + " is varied twice";
    if (a.steps < 1 || a.steps > 1000) return name + ": the step count must be from 1 to 1000";
    if (a.steps == 1 && a.from != a.to)
      return name + ": one step cannot go from " + whole(a.from) + " to " + whole(a.to);
    points *= a.steps;
    if (points > static_cast<double>(kMaxGridPoints))
      return "the grid would hold more than " + std::to_string(kMaxGridPoints) + " tables";

    // Where the row goes at its lowest and highest, relative to the reference.
    const double* row = base.row(a.row);
    const double* lo = std::min_element(row, row + base.columns());
    const double* hi = std::max_element(row, row + base.columns());
    const double ref = row[referenceFrame];
    std::vector<double> values;
    for (int k = 0; k < a.steps; ++k) {
      const double v = a.steps == 1
                           ? std::round(a.from)
                           : continuumValue(a.from, a.to, k, a.steps, scale, isFormantFrequencyRow(a.row));
      const double shift = v - ref;
      const auto beyond = [&](const double* cell, const char* side, std::int32_t limit) {
        const auto frame = static_cast<int>(cell - row);
        return name + " = " + whole(v) + " at frame " + std::to_string(referenceFrame) +
               " would take frame " + std::to_string(frame) + " to " + whole(*cell + shift) + ", " + side +
               " " + name + "'s limit " + std::to_string(limit);
      };
      if (*lo + shift < def.lower) return beyond(lo, "below", def.lower);
      if (*hi + shift > def.upper) return beyond(hi, "above", def.upper);
      values.push_back(v);
    }
    plan.axes.push_back(a);
    plan.values.push_back(std::move(values));
  }
  out = std::move(plan);
  return {};
}

FrameTable gridPoint(const FrameTable& base, const GridPlan& plan, const std::vector<int>& at) {
  FrameTable out = base;
  for (std::size_t k = 0; k < plan.axes.size(); ++k) {
    const int r = plan.axes[k].row;
    double* row = out.row(r);
    const double shift = plan.values[k][static_cast<std::size_t>(at[k])] - row[plan.referenceFrame];
    for (int c = 0; c < out.columns(); ++c) row[c] += shift;
  }
  return out;
}

std::string gridManifestHeader(const GridPlan& plan, int intervalMs) {
  std::string line = "file";
  for (const auto& a : plan.axes)
    line += '\t' + std::string(builtinParams()[static_cast<std::size_t>(a.row)].name) + "_step";
  const std::string at =
      "@" + std::to_string(static_cast<long long>(plan.referenceFrame) * intervalMs) + "ms";
  for (const auto& a : plan.axes)
    line += '\t' + std::string(builtinParams()[static_cast<std::size_t>(a.row)].name) + at;
  return line + '\n';
}

std::string gridManifestLine(const GridPlan& plan, const std::vector<int>& at, const std::string& file) {
  std::string line = file;
  for (const int i : at) line += '\t' + std::to_string(i + 1);
  for (std::size_t k = 0; k < plan.axes.size(); ++k)
    line += '\t' + whole(plan.values[k][static_cast<std::size_t>(at[k])]);
  return line + '\n';
}

}  // namespace vandrel
