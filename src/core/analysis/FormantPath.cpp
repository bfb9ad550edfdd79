#include "analysis/FormantPath.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace vandrel {
namespace {

using C = FormantPathCosts;
constexpr int kFormants = FormantFrame::kFormants;

struct State {
  std::array<std::int8_t, kFormants> pick{};  // candidate index per formant, -1 = absent
  double cost = 0.0;
};

// A state kept for the search, with its frequencies (0 = absent) beside the
// picks, and where each frequency stands in its frame's list of the
// distinct frequencies its kept states give that formant.
struct Kept : State {
  std::array<double, kFormants> f{};
  std::array<std::uint8_t, kFormants> slot{};
};

// Per formant, the distinct frequencies (0 = absent) of a frame's kept states.
using Slots = std::array<std::vector<double>, kFormants>;

class PathSearch {
 public:
  PathSearch(const std::vector<std::vector<FormantCandidate>>& cand, double ceiling, double stepMs)
      : cand_(cand), stepScale_(std::clamp(C::kReferenceStepMs / stepMs, 0.01, 100.0)) {
    for (int k = 0; k < kFormants; ++k)
      reference_[static_cast<std::size_t>(k)] = (2 * k + 1) * ceiling / 10.0;
  }

  // Each stretch of frames with candidates is searched on its own, and only
  // two frames' states are held at a time: what the way back needs of the
  // others is their picks and where each state came from (a long recording's
  // states of every frame took 2 KB a frame, times the ceilings searched at
  // once).
  std::vector<FormantFrame> run() {
    const std::size_t m = cand_.size();
    std::vector<FormantFrame> out(m);
    for (std::size_t i = 0; i < m;) {
      if (count(i) == 0) {
        ++i;
        continue;
      }
      std::size_t end = i;
      while (end < m && count(end) > 0) ++end;
      bestPath(i, end, out);
      i = end;
    }
    return out;
  }

 private:
  std::size_t count(std::size_t frame) const {
    return std::min<std::size_t>(cand_[frame].size(), C::kMaxCandidates);
  }

  void enumerate(std::size_t frame, int formant, std::size_t next, int gaps, State& s) {
    if (formant == kFormants) {
      all_.push_back(s);
      return;
    }
    const auto k = static_cast<std::size_t>(formant);
    const double saved = s.cost;
    s.pick[k] = -1;
    s.cost = saved + C::kMissingCost;
    enumerate(frame, formant + 1, next, formant == 0 ? gaps : gaps + 1, s);
    const auto& c = cand_[frame];
    for (std::size_t j = next; j < count(frame); ++j) {
      const double f = c[j].f;
      if (f < C::kLowest[k]) continue;
      if (f > C::kHighest[k]) break;
      s.pick[k] = static_cast<std::int8_t>(j);
      s.cost = saved + C::kFrequencyWeight * std::fabs(f - reference_[k]) / reference_[k] +
               C::kBandwidthWeight * c[j].b / f + gaps * C::kInnerGapCost;
      enumerate(frame, formant + 1, j + 1, 0, s);
    }
    s.cost = saved;
  }

  // The kept states of a frame that has candidates, and their slots.
  void statesOf(std::size_t frame, std::vector<Kept>& kept, Slots& slots) {
    all_.clear();
    State s;
    enumerate(frame, 0, 0, 0, s);
    const auto keep = static_cast<std::ptrdiff_t>(std::min<std::size_t>(all_.size(), C::kBeam));
    std::partial_sort(all_.begin(), all_.begin() + keep, all_.end(),
                      [](const State& a, const State& b) { return a.cost < b.cost; });
    kept.resize(static_cast<std::size_t>(keep));
    for (auto& v : slots) v.clear();
    for (std::size_t i = 0; i < kept.size(); ++i) {
      static_cast<State&>(kept[i]) = all_[i];
      for (std::size_t k = 0; k < kFormants; ++k) {
        const double f =
            all_[i].pick[k] < 0 ? 0.0 : cand_[frame][static_cast<std::size_t>(all_[i].pick[k])].f;
        kept[i].f[k] = f;
        const auto at = std::find(slots[k].begin(), slots[k].end(), f);
        kept[i].slot[k] = static_cast<std::uint8_t>(at - slots[k].begin());
        if (at == slots[k].end()) slots[k].push_back(f);
      }
    }
  }

  // One formant's part of the transition cost.
  static double transition(double fa, double fb) {
    if (fa == 0.0 && fb == 0.0) return 0.0;
    if (fa == 0.0 || fb == 0.0) return C::kSwitchCost;
    return std::min(C::kMaxTransition, C::kTransitionWeight * std::fabs(fa - fb) / (0.5 * (fa + fb)));
  }

  // Every pair of states of two neighbouring frames is compared, but their
  // formants take only a few distinct frequencies: each formant's part is
  // taken once per pair of frequencies, into terms_ (per formant, a table
  // of the earlier frame's slots by the later's), and a pair of states adds
  // up five of them, in the order of the formants.
  void transitionTerms(const Slots& a, const Slots& b) {
    for (std::size_t k = 0; k < kFormants; ++k) {
      auto& t = terms_[k];
      t.resize(a[k].size() * b[k].size());
      for (std::size_t p = 0; p < a[k].size(); ++p)
        for (std::size_t q = 0; q < b[k].size(); ++q) t[p * b[k].size() + q] = transition(a[k][p], b[k][q]);
    }
  }

  void bestPath(std::size_t first, std::size_t end, std::vector<FormantFrame>& out) {
    // Per frame, from where its states start in picks_ and back_.
    start_.assign(end - first + 1, 0);
    picks_.clear();
    back_.clear();
    const auto keepPicks = [&](std::size_t i) {
      for (const Kept& s : cur_) picks_.push_back(s.pick);
      start_[i + 1 - first] = picks_.size();
    };
    statesOf(first, cur_, curSlots_);
    keepPicks(first);
    back_.resize(cur_.size());
    before_.resize(cur_.size());
    for (std::size_t j = 0; j < cur_.size(); ++j) before_[j] = cur_[j].cost;
    for (std::size_t i = first + 1; i < end; ++i) {
      std::swap(prev_, cur_);
      std::swap(prevSlots_, curSlots_);
      statesOf(i, cur_, curSlots_);
      keepPicks(i);
      const auto& cur = cur_;
      const auto& prev = prev_;
      auto& d = delta_;
      d.resize(cur.size());
      transitionTerms(prevSlots_, curSlots_);
      // Where each earlier state's row starts in each formant's table.
      for (std::size_t k = 0; k < kFormants; ++k) {
        rows_[k].resize(prev.size());
        for (std::size_t p = 0; p < prev.size(); ++p) rows_[k][p] = prev[p].slot[k] * curSlots_[k].size();
      }
      for (std::size_t j = 0; j < cur.size(); ++j) {
        double best = 1e300;
        int from = 0;
        const std::vector<double>& before = before_;
        std::array<const double*, kFormants> col;
        for (std::size_t k = 0; k < kFormants; ++k) col[k] = terms_[k].data() + cur[j].slot[k];
        for (std::size_t p = 0; p < prev.size(); ++p) {
          const double cost = col[0][rows_[0][p]] + col[1][rows_[1][p]] + col[2][rows_[2][p]] +
                              col[3][rows_[3][p]] + col[4][rows_[4][p]];
          const double v = before[p] + cost * stepScale_;
          if (v < best) {
            best = v;
            from = static_cast<int>(p);
          }
        }
        d[j] = best + cur[j].cost;
        back_.push_back(static_cast<std::uint8_t>(from));
      }
      std::swap(before_, delta_);
    }
    const auto& last = before_;
    auto at = static_cast<std::size_t>(std::min_element(last.begin(), last.end()) - last.begin());
    for (std::size_t i = end; i-- > first;) {
      const std::size_t here = start_[i - first] + at;
      const std::array<std::int8_t, kFormants>& pick = picks_[here];
      for (std::size_t k = 0; k < kFormants; ++k) {
        const int j = pick[k];
        out[i].f[k] = j < 0 ? 0.0 : cand_[i][static_cast<std::size_t>(j)].f;
        out[i].b[k] = j < 0 ? 0.0 : cand_[i][static_cast<std::size_t>(j)].b;
      }
      if (i > first) at = back_[here];
    }
  }

  const std::vector<std::vector<FormantCandidate>>& cand_;
  double stepScale_;
  std::array<double, kFormants> reference_{};
  std::vector<State> all_;
  static_assert(C::kBeam <= 256, "a state's predecessor is kept in a byte");
  std::vector<Kept> prev_, cur_;
  Slots prevSlots_, curSlots_;
  std::vector<double> before_, delta_;  // the path costs to the previous frame's states, and to this one's
  std::vector<std::size_t> start_;
  std::vector<std::array<std::int8_t, kFormants>> picks_;
  // Per state (but the first frame's), the previous frame's state it came from.
  std::vector<std::uint8_t> back_;
  std::array<std::vector<double>, kFormants> terms_;
  std::array<std::vector<std::size_t>, kFormants> rows_;
};

}  // namespace

std::vector<FormantFrame> formantPath(const std::vector<std::vector<FormantCandidate>>& candidates,
                                      double ceilingHz, double stepMs) {
  return PathSearch(candidates, ceilingHz, stepMs).run();
}

std::vector<FormantFrame> withGapsFilled(const std::vector<FormantFrame>& path,
                                         const std::vector<char>& fitted, const std::vector<double>& f0,
                                         double margin, double fewHarmonics) {
  using G = FormantGapFill;
  std::vector<FormantFrame> out = path;
  const auto m = static_cast<std::ptrdiff_t>(std::min({path.size(), fitted.size(), f0.size()}));
  const auto usable = [&](std::ptrdiff_t j) {
    return j >= 0 && j < m && fitted[static_cast<std::size_t>(j)] != 0;
  };
  // Formant k of frame i from the nearest usable frame's whose value `fits`.
  const auto nearest = [&](std::ptrdiff_t i, std::size_t k, const auto& fits) {
    for (std::ptrdiff_t d = 1; d <= G::kGapReach; ++d)
      for (const std::ptrdiff_t j : {i - d, i + d}) {  // the earlier first
        if (!usable(j)) continue;
        const double u = path[static_cast<std::size_t>(j)].f[k];
        if (u > 0.0 && fits(u)) return u;
      }
    return 0.0;
  };
  for (std::ptrdiff_t i = 0; i < m; ++i) {
    if (!usable(i)) continue;
    FormantFrame& f = out[static_cast<std::size_t>(i)];
    if (f.f[0] > 0.0 && !(f.f[1] > 0.0) && f.f[2] > 0.0) {
      const double u = nearest(i, 1, [&](double v) { return v > f.f[0] + margin && v < f.f[2] - margin; });
      if (u > 0.0) {
        f.f[1] = u;
        f.b[1] = G::kGapBandwidth;
      }
    }
    if (!(f.f[0] > 0.0) && f.f[1] > 0.0) {
      const double low = fewHarmonics * f0[static_cast<std::size_t>(i)];
      f.f[0] = nearest(i, 0, [&](double v) { return v > low && v < f.f[1] - margin; });
      if (f.f[0] > 0.0) f.b[0] = G::kF1GapBandwidth;
    }
  }
  return out;
}

}  // namespace vandrel
