#include "analysis/CeilingChoice.h"

#include <algorithm>
#include <cmath>

namespace vandrel {

double stretchCost(const std::vector<FormantFrame>& path, const std::vector<double>& fit, std::size_t first,
                   std::size_t end, std::ptrdiff_t reach, double missingCost, double fitWeight) {
  double cost = 0.0;
  for (std::size_t k = 0; k < 3; ++k) {
    for (std::size_t j = first; j < end; ++j) {
      const double v = path[j].f[k];
      if (!(v > 0.0)) {
        cost += missingCost;
        continue;
      }
      double sum = 0.0;
      int n = 0;
      const auto lo = std::max(static_cast<std::ptrdiff_t>(first), static_cast<std::ptrdiff_t>(j) - reach);
      const auto hi = std::min(static_cast<std::ptrdiff_t>(end) - 1, static_cast<std::ptrdiff_t>(j) + reach);
      for (auto q = lo; q <= hi; ++q) {
        const double u = path[static_cast<std::size_t>(q)].f[k];
        if (u > 0.0) {
          sum += std::log(u);
          ++n;
        }
      }
      const double d = std::log(v) - sum / n;
      cost += d * d;
    }
  }
  for (std::size_t j = first; j < end; ++j) cost += fitWeight * fit[j];
  return cost;
}

namespace {
std::size_t cheapest(const std::vector<double>& costs) {
  return static_cast<std::size_t>(std::min_element(costs.begin(), costs.end()) - costs.begin());
}
}  // namespace

std::vector<std::size_t> chooseCeilings(const std::vector<StretchCosts>& stretches) {
  std::vector<std::size_t> picks(stretches.size(), 0);
  std::vector<std::size_t> pitched;
  for (std::size_t s = 0; s < stretches.size(); ++s) {
    if (stretches[s].costs.empty()) continue;
    if (stretches[s].f0 > 0.0)
      pitched.push_back(s);
    else
      picks[s] = cheapest(stretches[s].costs);
  }
  if (pitched.empty()) return picks;
  // In order of pitch, with running sums of the costs: the stretches of
  // about one pitch are then a range, and their summed costs a difference.
  std::stable_sort(pitched.begin(), pitched.end(),
                   [&](std::size_t a, std::size_t b) { return stretches[a].f0 < stretches[b].f0; });
  const std::size_t ceilings = stretches[pitched.front()].costs.size();
  std::vector<std::vector<double>> sums(pitched.size() + 1, std::vector<double>(ceilings, 0.0));
  for (std::size_t p = 0; p < pitched.size(); ++p)
    for (std::size_t c = 0; c < ceilings; ++c) sums[p + 1][c] = sums[p][c] + stretches[pitched[p]].costs[c];
  std::vector<double> pooled(ceilings);
  for (std::size_t p = 0, lo = 0, hi = 0; p < pitched.size(); ++p) {
    const double f0 = stretches[pitched[p]].f0;
    while (stretches[pitched[lo]].f0 * CeilingChoice::kSameVoice < f0) ++lo;
    while (hi < pitched.size() && stretches[pitched[hi]].f0 <= f0 * CeilingChoice::kSameVoice) ++hi;
    for (std::size_t c = 0; c < ceilings; ++c) pooled[c] = sums[hi][c] - sums[lo][c];
    picks[pitched[p]] = cheapest(pooled);
  }
  return picks;
}

std::vector<double> ceilingsAt(const std::vector<double>& grid, double spacing, double firstCentre,
                               int frames) {
  std::vector<double> out(static_cast<std::size_t>(std::max(frames, 0)), 0.0);
  if (grid.empty()) return out;
  for (std::size_t i = 0; i < out.size(); ++i) {
    const double at = (firstCentre + static_cast<double>(i) * spacing) / spacing - 0.5;
    out[i] =
        grid[static_cast<std::size_t>(std::clamp(std::lround(at), 0L, static_cast<long>(grid.size()) - 1))];
  }
  return out;
}

}  // namespace vandrel
