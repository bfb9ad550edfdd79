#include "batch/TableImport.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <map>
#include <vector>

#include "batch/TableExport.h"
#include "editing/EditTransaction.h"
#include "labels/PraatText.h"

namespace vandrel {

namespace {

// klsyn's parameters and our rows. Names compare without regard to case:
// klsyn's own files write F1..F5 but f6.
struct KlsynParam {
  std::string_view name;
  int row;  // -1: klsyn has it, we do not
};

constexpr KlsynParam kKlsyn[] = {
    {"f0", kF0},  {"av", kAv},  {"ah", kAh},   {"af", kAf},   {"tl", kTl},  {"F1", kF1},  {"F2", kF2},
    {"F3", kF3},  {"F4", kF4},  {"F5", kF5},   {"f6", kF6},   {"b1", kB1},  {"b2", kB2},  {"b3", kB3},
    {"b4", kB4},  {"b5", kB5},  {"b6", kB6},   {"a1", kA1f},  {"a2", kA2f}, {"a3", kA3f}, {"a4", kA4f},
    {"a5", kA5f}, {"a6", kA6f}, {"p1", kB1f},  {"p2", kB2f},  {"p3", kB3f}, {"p4", kB4f}, {"p5", kB5f},
    {"p6", kB6f}, {"fz", kFnz}, {"bz", kBnz},  {"fp", kFnp},  {"bp", kBnp}, {"an", kAnv}, {"ab", kAb},
    {"ap", kApv}, {"at", kAtu}, {"sk", kSkew}, {"g0", kGain}, {"du", -1},   {"ui", -1},   {"sr", -1},
    {"nf", -1},   {"ss", -1},   {"rs", -1},    {"os", -1},    {"oq", -1},   {"db", -1},   {"dF", -1},
    {"agc", -1},
};

const KlsynParam* findKlsyn(std::string_view name) {
  for (const auto& p : kKlsyn)
    if (p.name.size() == name.size() &&
        std::equal(name.begin(), name.end(), p.name.begin(),
                   [](char a, char b) { return std::tolower(a) == std::tolower(b); }))
      return &p;
  return nullptr;
}

std::string_view trim(std::string_view s) {
  while (!s.empty() && std::isspace(static_cast<unsigned char>(s.front()))) s.remove_prefix(1);
  while (!s.empty() && std::isspace(static_cast<unsigned char>(s.back()))) s.remove_suffix(1);
  return s;
}

bool toNumber(std::string_view s, double& v) {
  if (!s.empty() && s[0] == '+') s.remove_prefix(1);
  const auto [end, ec] = std::from_chars(s.data(), s.data() + s.size(), v);
  return ec == std::errc() && end == s.data() + s.size() && std::isfinite(v);
}

// Fields split at tabs, or at blanks when a line has no tab.
std::vector<std::string_view> fields(std::string_view line) {
  std::vector<std::string_view> out;
  const bool tabs = line.find('\t') != std::string_view::npos;
  std::size_t i = 0;
  while (i <= line.size()) {
    std::size_t j = i;
    while (j < line.size() && (tabs ? line[j] != '\t' : !std::isspace(static_cast<unsigned char>(line[j]))))
      ++j;
    const std::string_view f = trim(line.substr(i, j - i));
    if (!f.empty() || tabs) out.push_back(f);
    i = j + 1;
  }
  while (!out.empty() && out.back().empty()) out.pop_back();
  return out;
}

// Our value for klsyn's: f0 is Hz there and tenths of a Hz here.
double fromKlsyn(int row, double v) { return std::round(row == kF0 ? v * 10.0 : v); }

void startTable(CVandrelDoc& doc, int frames, int intervalMs) {
  doc.initialise();
  doc.newTable(frames, intervalMs);
  doc.setUntouched(false);
}

std::string joined(const std::vector<std::string>& names, const std::string& what) {
  if (names.empty()) return {};
  std::string s;
  for (const auto& n : names) s += (s.empty() ? "" : " ") + n;
  return s + " " + what;
}

}  // namespace

std::string_view klsynName(int row) {
  for (const auto& p : kKlsyn)
    if (p.row == row) return p.name;
  return {};
}

ImportResult importKlp(std::string_view text, const std::string& name, CVandrelDoc& doc) {
  ImportResult result;
  const auto refuse = [&](int line, const std::string& why) {
    result.message = name + ", line " + std::to_string(line) + ": " + why;
    return result;
  };
  std::vector<double> constant(kParamCount, std::nan(""));
  double du = -1.0, ui = 5.0, sr = 11025.0;
  std::vector<std::string> unmatched;
  const auto noCounterpart = [&](std::string_view n) {
    if (std::find(unmatched.begin(), unmatched.end(), n) == unmatched.end()) unmatched.emplace_back(n);
  };
  struct Column {
    int row = -1;        // our row, or -1
    bool notes = false;  // text for the notes tier
  };
  std::vector<Column> columns;
  std::vector<std::vector<double>> rows;  // per update, per column
  std::vector<std::string> notes;
  enum { kConstants, kHeading, kVaried } part = kConstants;
  int lineNo = 0;
  for (std::size_t at = 0; at < text.size();) {
    std::size_t end = text.find('\n', at);
    if (end == std::string_view::npos) end = text.size();
    std::string_view line = text.substr(at, end - at);
    at = end + 1;
    ++lineNo;
    std::string_view comment;
    if (const std::size_t hash = line.find('#'); hash != std::string_view::npos) {
      comment = trim(line.substr(hash + 1));
      line = line.substr(0, hash);
    }
    line = trim(line);
    if (line.empty()) continue;
    if (line == "_varied_params_" || line == "__varied_params__") {
      if (part != kConstants) return refuse(lineNo, "a second " + std::string(line));
      part = kHeading;
      continue;
    }
    const auto f = fields(line);
    if (part == kConstants) {
      double v = 0.0;
      if (f.size() != 2 || !toNumber(f[1], v))
        return refuse(lineNo, "a constant is a name and a number, not \"" + std::string(line) + "\"");
      const KlsynParam* p = findKlsyn(f[0]);
      if (!p || p->row < 0) {
        const std::string n = p ? std::string(p->name) : std::string(f[0]);
        if (n == "du")
          du = v;
        else if (n == "ui")
          ui = v;
        else if (n == "sr")
          sr = v;
        else
          noCounterpart(f[0]);
        continue;
      }
      constant[static_cast<std::size_t>(p->row)] = fromKlsyn(p->row, v);
    } else if (part == kHeading) {
      for (const auto n : f) {
        Column c;
        const std::string lower = [&] {
          std::string s(n);
          for (char& ch : s) ch = static_cast<char>(std::tolower(static_cast<unsigned char>(ch)));
          return s;
        }();
        if (lower == "notes" || lower == "note" || lower == "label" || lower == "labels") {
          c.notes = true;
        } else if (n.front() != '_' && lower != "msec") {
          const KlsynParam* p = findKlsyn(n);
          if (!p) return refuse(lineNo, "no klsyn parameter is called \"" + std::string(n) + "\"");
          if (p->row < 0) noCounterpart(n);
          c.row = p->row;
        }
        columns.push_back(c);
      }
      part = kVaried;
    } else {
      std::vector<double> values(columns.size(), std::nan(""));
      std::string note(comment);
      if (f.size() > columns.size())
        return refuse(
            lineNo, std::to_string(f.size()) + " values for " + std::to_string(columns.size()) + " columns");
      for (std::size_t k = 0; k < f.size(); ++k) {
        if (columns[k].notes) {
          if (!f[k].empty()) note = (note.empty() ? "" : note + " ") + std::string(f[k]);
        } else if (!toNumber(f[k], values[k]) && columns[k].row >= 0) {
          return refuse(lineNo, "\"" + std::string(f[k]) + "\" is not a number");
        }
      }
      for (std::size_t k = 0; k < columns.size(); ++k)
        if (columns[k].row >= 0 && std::isnan(values[k]))
          return refuse(lineNo, std::to_string(f.size()) + " values for " + std::to_string(columns.size()) +
                                    " columns");
      rows.push_back(std::move(values));
      notes.push_back(std::move(note));
    }
  }
  if (part == kHeading) return refuse(lineNo, "the varied parameters have no column names");
  if (!(ui >= 1.0) || ui != std::floor(ui) || ui > 1000.0)
    return refuse(lineNo, "the update interval ui must be a whole number of ms from 1 to 1000");
  const int interval = static_cast<int>(ui);
  const long frames = du > 0.0 ? std::lround(du / ui) : static_cast<long>(rows.size());
  if (frames < 1 || frames > kMaxFrames)
    return refuse(lineNo, "a duration du of " + std::to_string(frames) + " updates is not a table");

  CVandrelDoc fresh;
  startTable(fresh, static_cast<int>(frames), interval);
  EditTransaction fill(fresh);
  if (sr > 16000.0) fill.params().setSelected(kF6, true);  // synthesized at 22050 Hz with f6..f8
  fill.noteResized();
  for (int r = 0; r < kParamCount; ++r)
    if (!std::isnan(constant[static_cast<std::size_t>(r)]))
      for (int c = 0; c < frames; ++c) fill.table().setValue(r, c, constant[static_cast<std::size_t>(r)]);
  for (int c = 0; c < frames && !rows.empty(); ++c) {
    const auto& values = rows[std::min(rows.size() - 1, static_cast<std::size_t>(c))];  // the last one held
    for (std::size_t k = 0; k < columns.size(); ++k)
      if (columns[k].row >= 0) fill.table().setValue(columns[k].row, c, fromKlsyn(columns[k].row, values[k]));
  }
  LabelTier tier = makeTier("notes", true, 0.0, static_cast<double>(frames) * ui / 1000.0);
  for (std::size_t k = 0; k < notes.size() && static_cast<long>(k) < frames; ++k)
    if (!notes[k].empty()) tier.points.push_back({static_cast<double>(k) * ui / 1000.0, notes[k]});
  if (!tier.points.empty()) result.labels = {0.0, tier.end, {tier}};
  result.warning = joined(unmatched, "have no counterpart here and are left out");
  doc = std::move(fresh);
  return result;
}

namespace {

struct GridPoint {
  double time, value;
};
using GridTier = std::vector<GridPoint>;

// Praat's value of a tier at `t`: straight lines between its points, the
// first and last held beyond them.
double tierValue(const GridTier& tier, double t) {
  const auto after = std::upper_bound(tier.begin(), tier.end(), t,
                                      [](double time, const GridPoint& p) { return time < p.time; });
  if (after == tier.begin()) return tier.front().value;
  if (after == tier.end()) return tier.back().value;
  const GridPoint& a = *std::prev(after);
  return a.value + (after->value - a.value) * (t - a.time) / (after->time - a.time);
}

// Walks a KlattGrid in the order Praat lays it down, keeping each tier by
// its path ("pitch", "oral_formants.formants.2", ...).
class GridWalk {
 public:
  explicit GridWalk(PraatReader& r) : r_(r) {}
  std::map<std::string, GridTier> tiers;

  bool tier(const std::string& path) {
    double from = 0.0, to = 0.0;
    std::size_t n = 0;
    if (!r_.number("the start of " + path, from) || !r_.number("the end of " + path, to) ||
        !r_.count("the number of points of " + path, n))
      return false;
    GridTier& t = tiers[path];
    for (std::size_t k = 1; k <= n; ++k) {
      GridPoint p{};
      const std::string which = "point " + std::to_string(k) + " of " + path;
      if (!r_.number("the time of " + which, p.time) || !r_.number("the value of " + which, p.value))
        return false;
      if (!t.empty() && p.time <= t.back().time)
        return r_.fail(r_.line, which + " is not after the one before");
      t.push_back(p);
    }
    return true;
  }
  // "name? <exists>" and what follows, or nothing for <absent>.
  template <class F>
  bool present(const std::string& name, F body) {
    const PraatToken* flag = r_.take(PraatToken::kFlag, "the flag of " + name);
    return flag && (flag->text != "exists" || body());
  }
  bool named(const std::string& name) {
    return present(name, [&] { return tier(name); });
  }
  bool list(const std::string& name) {
    std::size_t n = 0;
    if (!r_.count("the number of " + name, n)) return false;
    for (std::size_t k = 1; k <= n; ++k)
      if (!tier(name + "." + std::to_string(k))) return false;
    return true;
  }
  bool formantGrid(const std::string& name) {
    return present(name,
                   [&] { return range(name) && list(name + ".formants") && list(name + ".bandwidths"); });
  }
  bool range(const std::string& name) {
    double a = 0.0, b = 0.0;
    return r_.number("the start of " + name, a) && r_.number("the end of " + name, b);
  }
  template <class F>
  bool section(const std::string& name, F body) {
    return present(name, [&] { return range(name) && body(); });
  }

 private:
  PraatReader& r_;
};

}  // namespace

ImportResult importKlattGrid(std::string_view bytes, const std::string& name, int intervalMs,
                             CVandrelDoc& doc) {
  ImportResult result;
  std::vector<PraatToken> tokens;
  std::string why;
  if (!readPraatText(bytes, tokens, why))
    return {name + (why.rfind("line ", 0) == 0 ? ", " : ": ") + why, {}, {}};
  PraatReader r(tokens);
  if (!readPraatHeader(r, "KlattGrid", why))
    return {why.empty() ? name + ", " + r.why : name + ": " + why, {}, {}};
  double xmin = 0.0, xmax = 0.0;
  GridWalk w(r);
  const bool read =
      r.number("the start time", xmin) && r.number("the end time", xmax) &&
      w.section("phonation",
                [&] {
                  for (const char* t : {"pitch", "flutter", "voicingAmplitude", "doublePulsing", "openPhase",
                                        "collisionPhase", "power1", "power2", "spectralTilt",
                                        "aspirationAmplitude", "breathinessAmplitude"})
                    if (!w.named(t)) return false;
                  return true;
                }) &&
      w.section("vocalTract",
                [&] {
                  return w.formantGrid("oral_formants") && w.formantGrid("nasal_formants") &&
                         w.formantGrid("nasal_antiformants") && w.list("oral_formants_amplitudes") &&
                         w.list("nasal_formants_amplitudes");
                }) &&
      w.section("coupling",
                [&] {
                  return w.formantGrid("tracheal_formants") && w.formantGrid("tracheal_antiformants") &&
                         w.list("tracheal_formants_amplitudes") && w.formantGrid("delta_formants");
                }) &&
      w.section("frication",
                [&] {
                  return w.named("fricationAmplitude") && w.formantGrid("frication_formants") &&
                         w.list("frication_formants_amplitudes") && w.named("bypass");
                }) &&
      w.named("gain");
  if (!read) return {name + ", " + r.why, {}, {}};
  const long frames = std::lround((xmax - xmin) * 1000.0 / intervalMs);
  if (frames < 1 || frames > kMaxFrames)
    return {name + ": " + std::to_string(frames) + " frames of " + std::to_string(intervalMs) +
                " ms is not a table",
            {},
            {}};

  CVandrelDoc fresh;
  startTable(fresh, static_cast<int>(frames), intervalMs);
  EditTransaction fill(fresh);
  fill.noteResized();
  const auto db = [](double v) { return std::max(0.0, v - kKlattGridDbOffset); };
  const auto gain = [](double v) {
    return v <= kSilentGainDb + 0.5 ? 0.0 : std::max(0.0, v + kParallelReferenceDb);
  };
  const auto same = [](double v) { return v; };
  std::map<std::string, bool> used;
  const auto put = [&](int row, const std::string& path, auto map) {
    const auto it = w.tiers.find(path);
    if (it == w.tiers.end() || it->second.empty()) return false;
    used[path] = true;
    for (int c = 0; c < frames; ++c)
      fill.table().setValue(row, c,
                            std::round(map(tierValue(it->second, xmin + (c + 0.5) * intervalMs / 1000.0))));
    return true;
  };
  put(kF0, "pitch", [](double v) { return v * 10.0; });
  put(kAv, "voicingAmplitude", db);
  put(kTl, "spectralTilt", same);
  put(kAh, "aspirationAmplitude", db);
  put(kAf, "fricationAmplitude", db);
  put(kAb, "bypass", gain);
  put(kFnp, "nasal_formants.formants.1", same);
  put(kBnp, "nasal_formants.bandwidths.1", same);
  put(kFnz, "nasal_antiformants.formants.1", same);
  put(kBnz, "nasal_antiformants.bandwidths.1", same);
  put(kAnv, "nasal_formants_amplitudes.1", gain);
  // Storage order runs from the highest formant down: formant k is kF1 - (k - 1).
  for (int k = 1; k <= 8; ++k) {
    const std::string n = std::to_string(k);
    const bool f = put(kF1 - (k - 1), "oral_formants.formants." + n, same);
    const bool b = put(kB1 - (k - 1), "oral_formants.bandwidths." + n, same);
    const bool a = put(kA1f - (k - 1), "oral_formants_amplitudes." + n, gain);
    // Above the fifth, formants drawn in Praat's cascade mean the high rate here.
    if (k > 5 && (f || b || a)) fill.params().setSelected(kF1 - (k - 1), true);
    if (k >= 2 && k <= 6) {
      // The frication branch's formants are the parallel ones: its frequencies
      // only where the cascade gave none, its bandwidths always.
      if (!f) put(kF1 - (k - 1), "frication_formants.formants." + n, same);
      used["frication_formants.formants." + n] = true;
      put(kB1f - (k - 1), "frication_formants.bandwidths." + n, same);
      if (!a) put(kA1f - (k - 1), "frication_formants_amplitudes." + n, gain);
      used["frication_formants_amplitudes." + n] = true;
    }
  }
  std::vector<std::string> unmatched;
  for (const auto& [path, tier] : w.tiers)
    if (!tier.empty() && !used[path]) unmatched.push_back(path);
  result.warning = joined(unmatched, "have no counterpart here and are left out");
  doc = std::move(fresh);
  return result;
}

std::string writeKlp(const CVandrelDoc& doc, const std::string& source, std::string& leftOut) {
  const FrameTable& t = doc.table();
  const ParameterSet& ps = doc.params();
  const auto value = [&](int row, int c) {
    const int v = static_cast<int>(t.value(row, c));  // as the parameter file holds it
    if (row != kF0) return std::to_string(v);
    std::string hz = std::to_string(v / 10);
    if (v % 10 != 0) hz += "." + std::to_string(std::abs(v % 10));
    return (v < 0 && v > -10 ? "-" : "") + hz;
  };
  std::string out = "# " + source + ": " + std::to_string(t.columns()) + " frames of " +
                    std::to_string(ps.intervalMs) + " ms, written by vandrel-cli\n";
  out += "du\t" + std::to_string(static_cast<long long>(t.columns()) * ps.intervalMs) + "\n";
  out += "ui\t" + std::to_string(ps.intervalMs) + "\n";
  out += "sr\t" + std::to_string(static_cast<int>(ps.sampleRate())) + "\n";
  std::vector<int> varied;
  for (int r = 0; r < kParamCount; ++r) {
    const std::string_view n = klsynName(r);
    bool constant = true;
    for (int c = 1; c < t.columns() && constant; ++c) constant = value(r, c) == value(r, 0);
    if (n.empty()) {
      bool atDefault =
          constant && t.columns() > 0 && static_cast<int>(t.value(r, 0)) == ps.at(r).defaultValue;
      if (!atDefault) leftOut += (leftOut.empty() ? "" : " ") + std::string(ps.at(r).name);
    } else if (constant) {
      out += std::string(n) + "\t" + value(r, 0) + "\n";
    } else {
      varied.push_back(r);
    }
  }
  out += "\n_varied_params_\n_msec_";
  for (const int r : varied) out += "\t" + std::string(klsynName(r));
  out += "\n";
  for (int c = 0; c < t.columns(); ++c) {
    out += std::to_string(static_cast<long long>(c) * ps.intervalMs);
    for (const int r : varied) out += "\t" + value(r, c);
    out += "\n";
  }
  return out;
}

}  // namespace vandrel
