#include "labels/TextGrid.h"

#include <charconv>
#include <cmath>
#include <filesystem>
#include <vector>

#include "labels/PraatText.h"
#include "util/AtomicFile.h"

namespace vandrel {

namespace {

// Times that differ by less than this are the same boundary: Praat writes
// up to 17 digits, a hand-edited file may round the last one.
constexpr double kSameTime = 1e-9;

std::string seconds(double t) {
  char buf[32];
  const auto r = std::to_chars(buf, buf + sizeof buf, t);
  return std::string(buf, r.ptr) + " s";
}

bool readTier(PraatReader& r, std::size_t n, const Labels& grid, LabelTier& tier) {
  const std::string tierName = "tier " + std::to_string(n);
  const PraatToken* cls = r.take(PraatToken::kText, "the class of " + tierName);
  if (!cls) return false;
  if (cls->text != "IntervalTier" && cls->text != "TextTier")
    return r.fail(r.line, tierName + " is a \"" + cls->text + "\", not an IntervalTier or a TextTier");
  tier.pointTier = cls->text == "TextTier";
  const PraatToken* name = r.take(PraatToken::kText, "the name of " + tierName);
  if (!name) return false;
  tier.name = name->text;
  std::size_t size = 0;
  if (!r.number("the start of " + tierName, tier.start) || !r.number("the end of " + tierName, tier.end) ||
      !r.count("the size of " + tierName, size))
    return false;
  if (tier.start < grid.start - kSameTime || tier.end > grid.end + kSameTime || !(tier.end > tier.start))
    return r.fail(r.line, tierName + " runs from " + seconds(tier.start) + " to " + seconds(tier.end) +
                              ", outside the TextGrid's " + seconds(grid.start) + " to " + seconds(grid.end));
  const std::string of = " of " + std::to_string(size) + " in " + tierName;
  if (tier.pointTier) {
    for (std::size_t k = 1; k <= size; ++k) {
      LabelPoint p;
      if (!r.number("the time of point " + std::to_string(k) + of, p.time)) return false;
      const int at = r.line;
      const PraatToken* mark = r.take(PraatToken::kText, "the mark of point " + std::to_string(k) + of);
      if (!mark) return false;
      p.mark = mark->text;
      if (p.time < tier.start || p.time > tier.end)
        return r.fail(at, "point " + std::to_string(k) + " lies outside its tier");
      if (!tier.points.empty() && !(p.time > tier.points.back().time))
        return r.fail(at, "point " + std::to_string(k) + " is not after point " + std::to_string(k - 1));
      tier.points.push_back(std::move(p));
    }
    return true;
  }
  if (size == 0) return r.fail(r.line, tierName + " has no intervals");
  for (std::size_t k = 1; k <= size; ++k) {
    const std::string which = "interval " + std::to_string(k);
    LabelInterval in;
    if (!r.number("the start of " + which + of, in.start)) return false;
    const int at = r.line;
    if (!r.number("the end of " + which + of, in.end)) return false;
    const PraatToken* text = r.take(PraatToken::kText, "the text of " + which + of);
    if (!text) return false;
    in.text = text->text;
    const double expected = k == 1 ? tier.start : tier.intervals.back().end;
    const std::string before = k == 1 ? "its tier starts" : "interval " + std::to_string(k - 1) + " ends";
    if (in.start < expected - kSameTime) return r.fail(at, which + " starts before " + before);
    if (in.start > expected + kSameTime) return r.fail(at, which + " starts after " + before);
    in.start = expected;
    if (!(in.end > in.start)) return r.fail(at, which + " does not end after it starts");
    tier.intervals.push_back(std::move(in));
  }
  LabelInterval& last = tier.intervals.back();
  if (std::fabs(last.end - tier.end) > kSameTime)
    return r.fail(r.line, "interval " + std::to_string(size) + " ends at " + seconds(last.end) +
                              ", not where its tier ends (" + seconds(tier.end) + ")");
  last.end = tier.end;
  return true;
}

void appendQuoted(std::string& out, const std::string& text) {
  out += '"';
  for (const char c : text) {
    if (c == '"') out += '"';
    out += c;
  }
  out += '"';
}

std::string number(double v) {
  char buf[32];
  const auto r = std::to_chars(buf, buf + sizeof buf, v);  // the shortest text that reads back exactly
  return std::string(buf, r.ptr);
}

}  // namespace

TextGridRead parseTextGrid(std::string_view bytes, const std::string& name) {
  TextGridRead result;
  std::vector<PraatToken> tokens;
  std::string why;
  if (!readPraatText(bytes, tokens, why)) {
    result.message = name + (why.rfind("line ", 0) == 0 ? ", " : ": ") + why;
    return result;
  }
  PraatReader r(tokens);
  Labels& g = result.labels;
  const PraatToken* exists = nullptr;
  std::size_t tiers = 0;
  if (!readPraatHeader(r, "TextGrid", why)) {
    if (!why.empty()) return {{}, name + ": " + why};
  } else if (r.number("the start time", g.start) && r.number("the end time", g.end)) {
    if (!(g.end > g.start)) r.fail(r.line, "the TextGrid ends at or before its start");
    exists = r.why.empty() ? r.take(PraatToken::kFlag, "the tiers' flag") : nullptr;
  }
  if (exists && exists->text == "exists" && r.count("the number of tiers", tiers)) {
    for (std::size_t k = 1; k <= tiers && r.why.empty(); ++k) {
      LabelTier tier;
      if (readTier(r, k, g, tier)) g.tiers.push_back(std::move(tier));
    }
  }
  if (!r.why.empty()) return {{}, name + ", " + r.why};
  return result;
}

TextGridRead readTextGridFile(const std::string& path) {
  std::string bytes;
  if (!readWholeFile(path, bytes)) return {{}, path + ": cannot be read"};
  return parseTextGrid(bytes, path);
}

std::string writeTextGrid(const Labels& labels, TextGridForm form) {
  const bool longForm = form == TextGridForm::kLong;
  std::string out = "File type = \"ooTextFile\"\nObject class = \"TextGrid\"\n\n";
  const auto field = [&](int depth, const char* label, const std::string& value) {
    if (longForm) {
      out.append(static_cast<std::size_t>(depth) * 4, ' ');
      out += label;
      out += " = ";
    }
    out += value;
    out += longForm ? " \n" : "\n";
  };
  const auto heading = [&](int depth, const std::string& text) {
    if (!longForm) return;
    out.append(static_cast<std::size_t>(depth) * 4, ' ');
    out += text;
    out += '\n';
  };
  const auto quoted = [](const std::string& s) {
    std::string q;
    appendQuoted(q, s);
    return q;
  };
  field(0, "xmin", number(labels.start));
  field(0, "xmax", number(labels.end));
  out += longForm ? "tiers? " : "";
  out += labels.tiers.empty() ? "<absent>" : "<exists>";
  out += longForm ? " \n" : "\n";
  if (labels.tiers.empty()) return out;
  field(0, "size", std::to_string(labels.tiers.size()));
  heading(0, "item []: ");
  for (std::size_t k = 0; k < labels.tiers.size(); ++k) {
    const LabelTier& t = labels.tiers[k];
    heading(1, "item [" + std::to_string(k + 1) + "]:");
    field(2, "class", quoted(t.pointTier ? "TextTier" : "IntervalTier"));
    field(2, "name", quoted(t.name));
    field(2, "xmin", number(t.start));
    field(2, "xmax", number(t.end));
    const std::size_t n = t.pointTier ? t.points.size() : t.intervals.size();
    field(2, t.pointTier ? "points: size" : "intervals: size", std::to_string(n));
    for (std::size_t i = 0; i < n; ++i) {
      heading(2, (t.pointTier ? "points [" : "intervals [") + std::to_string(i + 1) + "]:");
      if (t.pointTier) {
        field(3, "number", number(t.points[i].time));
        field(3, "mark", quoted(t.points[i].mark));
      } else {
        field(3, "xmin", number(t.intervals[i].start));
        field(3, "xmax", number(t.intervals[i].end));
        field(3, "text", quoted(t.intervals[i].text));
      }
    }
  }
  return out;
}

std::string saveTextGridFile(const std::string& path, const Labels& labels) {
  return writeFileAtomically(path, writeTextGrid(labels));
}

std::string sidecarPath(const std::string& path) {
  return std::filesystem::path(path).replace_extension(kTextGridExtension).string();
}

std::string findSidecar(const std::string& path) {
  std::error_code ec;
  for (const char* ext : {".TextGrid", ".textgrid"}) {
    const std::string p = std::filesystem::path(path).replace_extension(ext).string();
    if (std::filesystem::is_regular_file(p, ec)) return p;
  }
  return {};
}

}  // namespace vandrel
