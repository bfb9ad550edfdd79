#include "batch/LineSimplify.h"

#include <cmath>
#include <utility>

namespace vandrel {

namespace {

// The value of the line from (a, ya) to (b, yb) at i.
double lineAt(std::span<const double> v, int a, int b, int i) {
  const double ya = v[static_cast<std::size_t>(a)];
  const double yb = v[static_cast<std::size_t>(b)];
  return ya + (yb - ya) * (i - a) / static_cast<double>(b - a);
}

}  // namespace

std::vector<int> simplifyLine(std::span<const double> values, double tolerance) {
  const int n = static_cast<int>(values.size());
  if (n == 0) return {};
  if (n == 1) return {0};
  std::vector<char> keep(values.size(), 0);
  keep.front() = keep.back() = 1;
  std::vector<std::pair<int, int>> todo{{0, n - 1}};
  while (!todo.empty()) {
    const auto [a, b] = todo.back();
    todo.pop_back();
    int worst = -1;
    double worstDistance = tolerance;
    for (int i = a + 1; i < b; ++i) {
      const double d = std::fabs(values[static_cast<std::size_t>(i)] - lineAt(values, a, b, i));
      if (d > worstDistance) {
        worstDistance = d;
        worst = i;
      }
    }
    if (worst < 0) continue;
    keep[static_cast<std::size_t>(worst)] = 1;
    todo.emplace_back(a, worst);
    todo.emplace_back(worst, b);
  }
  std::vector<int> kept;
  for (int i = 0; i < n; ++i)
    if (keep[static_cast<std::size_t>(i)] != 0) kept.push_back(i);
  return kept;
}

std::vector<double> fittedLineValues(std::span<const double> values, const std::vector<int>& kept) {
  const std::size_t n = kept.size();
  if (n < 2) {
    std::vector<double> out;
    for (const int k : kept) out.push_back(values[static_cast<std::size_t>(k)]);
    return out;
  }
  // The normal equations: each point between kept points a and b weighs
  // 1 - u on a's value and u on b's, u = (i - a) / (b - a); diagonal d,
  // off-diagonal e (between k and k + 1), right-hand side r.
  std::vector<double> d(n), e(n), r(n);
  for (std::size_t k = 0; k + 1 < n; ++k) {
    const int a = kept[k], b = kept[k + 1];
    for (int i = a; i < b || (k + 2 == n && i == b); ++i) {
      const double u = (i - a) / static_cast<double>(b - a), y = values[static_cast<std::size_t>(i)];
      d[k] += (1.0 - u) * (1.0 - u);
      e[k] += (1.0 - u) * u;
      d[k + 1] += u * u;
      r[k] += (1.0 - u) * y;
      r[k + 1] += u * y;
    }
  }
  // Forward elimination and back substitution (the system is positive
  // definite: every kept point weighs 1 on its own value).
  for (std::size_t k = 1; k < n; ++k) {
    const double m = e[k - 1] / d[k - 1];
    d[k] -= m * e[k - 1];
    r[k] -= m * r[k - 1];
  }
  std::vector<double> y(n);
  y[n - 1] = r[n - 1] / d[n - 1];
  for (std::size_t k = n - 1; k-- > 0;) y[k] = (r[k] - e[k] * y[k + 1]) / d[k];
  return y;
}

double simplificationError(std::span<const double> values, const std::vector<int>& kept) {
  double worst = 0.0;
  for (std::size_t k = 1; k < kept.size(); ++k)
    for (int i = kept[k - 1] + 1; i < kept[k]; ++i)
      worst = std::fmax(
          worst, std::fabs(values[static_cast<std::size_t>(i)] - lineAt(values, kept[k - 1], kept[k], i)));
  return worst;
}

double roundedLineValue(int a, double va, int b, double vb, int c) {
  return std::round(va + (vb - va) * (c - a) / static_cast<double>(b - a));
}

}  // namespace vandrel
