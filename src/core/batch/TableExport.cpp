#include "batch/TableExport.h"

#include <cmath>
#include <cstdio>
#include <functional>

namespace vandrel {

namespace {

std::string number(double v) {
  char buf[40];
  std::snprintf(buf, sizeof buf, "%.15g", v);
  return buf;
}

struct Point {
  double time;
  double value;
};

// Writes Praat's text serialisation: "name = value " lines, nested objects
// indented by four blanks per level (Praat reads the tokens, not the layout,
// but keeping its layout keeps the file easy to compare with its own).
class GridText {
 public:
  GridText(double xmax) : xmax_(xmax) {}

  void line(int depth, const std::string& text) {
    out_.append(static_cast<std::size_t>(depth) * 4, ' ');
    out_ += text;
    out_ += '\n';
  }
  void range(int depth) {
    line(depth, "xmin = 0 ");
    line(depth, "xmax = " + number(xmax_) + " ");
  }
  void tier(int depth, const std::vector<Point>& points) {
    range(depth);
    line(depth, "points: size = " + std::to_string(points.size()) + " ");
    for (std::size_t i = 0; i < points.size(); ++i) {
      line(depth, "points [" + std::to_string(i + 1) + "]:");
      line(depth + 1, "number = " + number(points[i].time) + " ");
      line(depth + 1, "value = " + number(points[i].value) + " ");
    }
  }
  // A named tier at the top level ("pitch? <exists> ").
  void named(const std::string& name, const std::vector<Point>& points) {
    line(0, name + "? <exists> ");
    tier(0, points);
  }
  // A list of tiers ("formants: size = n ", "formants [k]:").
  void list(const std::string& name, const std::vector<std::vector<Point>>& tiers) {
    line(0, name + ": size = " + std::to_string(tiers.size()) + " ");
    for (std::size_t k = 0; k < tiers.size(); ++k) {
      line(0, name + " [" + std::to_string(k + 1) + "]:");
      tier(1, tiers[k]);
    }
  }
  // A formant grid: frequencies and bandwidths.
  void formantGrid(const std::string& name, const std::vector<std::vector<Point>>& freq,
                   const std::vector<std::vector<Point>>& bw) {
    line(0, name + "? <exists> ");
    range(0);
    list("formants", freq);
    list("bandwidths", bw);
  }
  std::string take() { return std::move(out_); }

 private:
  double xmax_;
  std::string out_;
};

// The points of one row at the frames' middles, `map` turning a value into
// Praat's, and only the frames `use` accepts. Inside a run of accepted
// frames a point that lies on the line through its neighbours is left out:
// Praat draws the same line without it.
std::vector<Point> rowPoints(const FrameTable& t, int row, int intervalMs,
                             const std::function<double(double)>& map,
                             const std::function<bool(int)>& use = {}) {
  std::vector<Point> all;
  std::vector<Point> points;
  auto flush = [&] {
    for (std::size_t i = 0; i < all.size(); ++i) {
      if (i > 0 && i + 1 < all.size()) {
        const Point& a = points.back();
        const Point& c = all[i + 1];
        const double onLine = a.value + (c.value - a.value) * (all[i].time - a.time) / (c.time - a.time);
        if (std::fabs(onLine - all[i].value) < 1e-9) continue;
      }
      points.push_back(all[i]);
    }
    all.clear();
  };
  for (int c = 0; c < t.columns(); ++c) {
    if (use && !use(c)) {
      flush();
      continue;
    }
    const double v = static_cast<double>(static_cast<int>(t.value(row, c)));  // as the file holds it
    all.push_back({(c + 0.5) * intervalMs / 1000.0, map(v)});
  }
  flush();
  return points;
}

}  // namespace

std::string writeKlattGrid(const FrameTable& t, int intervalMs, int oralFormants) {
  const double xmax = static_cast<double>(t.columns()) * intervalMs / 1000.0;
  GridText g(xmax);
  const auto same = [](double v) { return v; };
  const auto db = [](double v) { return v > 0.0 ? v + kKlattGridDbOffset : 0.0; };
  const auto gain = [](double v) { return v > 0.0 ? v - kParallelReferenceDb : kSilentGainDb; };
  const auto rows = [&](int first, int count, int step, const std::function<double(double)>& map) {
    std::vector<std::vector<Point>> tiers;
    for (int k = 0; k < count; ++k) tiers.push_back(rowPoints(t, first + k * step, intervalMs, map));
    return tiers;
  };
  const std::vector<Point> none;

  g.line(0, "File type = \"ooTextFile\"");
  g.line(0, "Object class = \"KlattGrid\"");
  g.line(0, "");
  g.range(0);
  g.line(0, "phonation? <exists> ");
  g.range(0);
  g.named("pitch", rowPoints(
                       t, kF0, intervalMs, [](double v) { return v / 10.0; },
                       [&](int c) { return t.value(kF0, c) >= 1.0; }));
  g.named("flutter", none);
  g.named("voicingAmplitude", rowPoints(t, kAv, intervalMs, db));
  g.named("doublePulsing", none);
  g.named("openPhase", none);
  g.named("collisionPhase", none);
  g.named("power1", none);
  g.named("power2", none);
  g.named("spectralTilt", rowPoints(t, kTl, intervalMs, same));
  g.named("aspirationAmplitude", rowPoints(t, kAh, intervalMs, db));
  g.named("breathinessAmplitude", none);

  // Storage order runs from the highest formant down: f1 is kF1, f2 is
  // kF1 - 1, and likewise for b, a..f and b..f.
  g.line(0, "vocalTract? <exists> ");
  g.range(0);
  g.formantGrid("oral_formants", rows(kF1, oralFormants, -1, same), rows(kB1, oralFormants, -1, same));
  g.formantGrid("nasal_formants", {rowPoints(t, kFnp, intervalMs, same)},
                {rowPoints(t, kBnp, intervalMs, same)});
  g.formantGrid("nasal_antiformants", {rowPoints(t, kFnz, intervalMs, same)},
                {rowPoints(t, kBnz, intervalMs, same)});
  g.list("oral_formants_amplitudes", rows(kA1f, oralFormants, -1, gain));
  g.list("nasal_formants_amplitudes", {rowPoints(t, kAnv, intervalMs, gain)});

  g.line(0, "coupling? <exists> ");
  g.range(0);
  g.formantGrid("tracheal_formants", {none}, {none});
  g.formantGrid("tracheal_antiformants", {none}, {none});
  g.list("tracheal_formants_amplitudes", {none});
  g.formantGrid("delta_formants", {none}, {none});

  // The parallel branch the frication drives: formants 2..6 (the first is
  // left without points, so Praat leaves it out).
  auto fricFreq = rows(kF1, 6, -1, same);
  auto fricBw = rows(kB1f, 6, -1, same);
  auto fricAmp = rows(kA1f, 6, -1, gain);
  fricFreq[0].clear();
  fricBw[0].clear();
  fricAmp[0].clear();
  g.line(0, "frication? <exists> ");
  g.range(0);
  g.named("fricationAmplitude", rowPoints(t, kAf, intervalMs, db));
  g.formantGrid("frication_formants", fricFreq, fricBw);
  g.list("frication_formants_amplitudes", fricAmp);
  g.named("bypass", rowPoints(t, kAb, intervalMs, gain));
  g.named("gain", none);
  return g.take();
}

std::string writeLongTable(const FrameTable& t, int intervalMs, const std::vector<int>& rows) {
  std::string out = "time_ms\tparameter\tvalue\n";
  for (int c = 0; c < t.columns(); ++c) {
    const std::string time = std::to_string(static_cast<long long>(c) * intervalMs) + '\t';
    for (const int r : rows) {
      out += time;
      out += builtinParams()[static_cast<std::size_t>(r)].name;
      out += '\t';
      out += std::to_string(static_cast<int>(t.value(r, c)));
      out += '\n';
    }
  }
  return out;
}

}  // namespace vandrel
