#include "document/VdrFile.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstring>
#include <limits>
#include <new>
#include <optional>
#include <utility>
#include <vector>

#include "document/VandrelDoc.h"
#include "util/AtomicFile.h"

namespace vandrel {

namespace {

// One line, cut at its tabs, blanks trimmed, trailing empty fields dropped
// (the writer's last tab, and the padding some spreadsheets add).
struct Line {
  std::size_t number = 0;  // 1-based, for messages
  std::vector<std::string_view> fields;
  bool empty() const { return fields.empty(); }
};

std::string_view trim(std::string_view s) {
  while (!s.empty() && (s.front() == ' ' || s.front() == '\v' || s.front() == '\f')) s.remove_prefix(1);
  while (!s.empty() && (s.back() == ' ' || s.back() == '\v' || s.back() == '\f')) s.remove_suffix(1);
  return s;
}

void splitFields(std::string_view text, std::vector<std::string_view>& out) {
  out.clear();
  std::size_t start = 0;
  for (;;) {
    const std::size_t tab = text.find('\t', start);
    out.push_back(
        trim(text.substr(start, tab == std::string_view::npos ? std::string_view::npos : tab - start)));
    if (tab == std::string_view::npos) break;
    start = tab + 1;
  }
  while (!out.empty() && out.back().empty()) out.pop_back();
}

struct TooLong {
  std::size_t line;
};

// Cuts the text at CR LF, LF or a lone CR. Text after the last line end is a
// line of its own (a missing final line end is tolerated).
class LineReader {
 public:
  explicit LineReader(std::string_view text) : text_(text) {
    if (text_.substr(0, 3) == "\xEF\xBB\xBF") text_.remove_prefix(3);
  }

  bool atEnd() const { return pos_ >= text_.size(); }
  std::size_t lineNumber() const { return number_; }

  // Reads the next line; false at the end of the text. Throws TooLong for a
  // line beyond kMaxVdrLineBytes.
  bool next(Line& line) {
    if (atEnd()) return false;
    std::size_t end = pos_;
    while (end < text_.size() && text_[end] != '\r' && text_[end] != '\n') ++end;
    if (end - pos_ > kMaxVdrLineBytes) throw TooLong{number_ + 1};
    splitFields(text_.substr(pos_, end - pos_), line.fields);
    line.number = ++number_;
    if (end < text_.size())
      end += (text_[end] == '\r' && end + 1 < text_.size() && text_[end + 1] == '\n') ? 2 : 1;
    pos_ = end;
    return true;
  }

  // How many lines are left, without reading them: every LF, every CR not
  // followed by one, and a last line without a line end.
  std::size_t remaining() const {
    const char* const end = text_.data() + text_.size();
    const char* const from = text_.data() + pos_;
    std::size_t n = 0;
    for (const char* lf = from;
         (lf = static_cast<const char*>(std::memchr(lf, '\n', static_cast<std::size_t>(end - lf)))) !=
         nullptr;
         ++lf)
      ++n;
    for (const char* cr = from;
         (cr = static_cast<const char*>(std::memchr(cr, '\r', static_cast<std::size_t>(end - cr)))) !=
         nullptr;
         ++cr)
      if (cr + 1 == end || cr[1] != '\n') ++n;
    const char last = text_.empty() ? '\n' : text_.back();
    if (!atEnd() && last != '\n' && last != '\r') ++n;
    return n;
  }

  // Reads the next line as exactly `count` plain numbers into `out`: each
  // field blanks, an optional sign, digits, an optional fraction, blanks; then
  // nothing but empty fields. Anything else - and a line beyond
  // kMaxVdrLineBytes - leaves the line unread and returns false, for next()
  // to read and the caller to judge. Data lines are nearly all of a table's
  // text: this keeps them from a vector of fields and a second pass each.
  bool nextNumbers(std::int32_t* out, std::size_t count) {
    const char* const begin = text_.data();
    const char* const end = begin + text_.size();
    const char* p = begin + pos_;
    const auto blank = [](char ch) { return ch == ' ' || ch == '\v' || ch == '\f'; };
    for (std::size_t k = 0; k < count; ++k) {
      if (k > 0) {
        if (p == end || *p != '\t') return false;
        ++p;
      }
      while (p != end && blank(*p)) ++p;
      bool negative = false;
      if (p != end && (*p == '+' || *p == '-')) negative = *p++ == '-';
      std::int64_t v = 0;
      const char* const digits = p;
      while (p != end && static_cast<unsigned>(*p - '0') < 10U) {
        v = v * 10 + (*p++ - '0');
        if (v > 2147483648LL) return false;
      }
      bool any = p != digits;
      if (p != end && *p == '.') {
        ++p;
        while (p != end && static_cast<unsigned>(*p - '0') < 10U) {
          any = true;
          ++p;
        }
      }
      if (!any) return false;
      if (negative) v = -v;
      if (v > 2147483647LL) return false;
      out[k] = static_cast<std::int32_t>(v);
      while (p != end && blank(*p)) ++p;
    }
    while (p != end && (*p == '\t' || blank(*p))) ++p;  // trailing empty fields
    if (p != end && *p != '\r' && *p != '\n') return false;
    if (static_cast<std::size_t>(p - (begin + pos_)) > kMaxVdrLineBytes) return false;
    if (p != end) p += (*p == '\r' && p + 1 != end && p[1] == '\n') ? 2 : 1;
    pos_ = static_cast<std::size_t>(p - begin);
    ++number_;
    return true;
  }

  // Looks at the next line without taking it.
  bool peek(Line& line) {
    const std::size_t pos = pos_, number = number_;
    const bool got = next(line);
    pos_ = pos;
    number_ = number;
    return got;
  }

 private:
  std::string_view text_;
  std::size_t pos_ = 0;
  std::size_t number_ = 0;
};

// A decimal number as a spreadsheet may leave it: optional sign, digits, an
// optional fraction that is cut off (truncation toward zero). No exponents,
// no blanks inside. The whole part must fit 32 bits.
std::optional<std::int32_t> parseNumber(std::string_view s) {
  std::size_t i = 0;
  bool negative = false;
  if (i < s.size() && (s[i] == '+' || s[i] == '-')) negative = s[i++] == '-';
  const std::size_t digitsFrom = i;
  std::int64_t v = 0;
  while (i < s.size() && s[i] >= '0' && s[i] <= '9') {
    v = v * 10 + (s[i] - '0');
    if (v > 2147483648LL) return std::nullopt;
    ++i;
  }
  const bool wholeDigits = i > digitsFrom;
  bool fractionDigits = false;
  if (i < s.size() && s[i] == '.') {
    ++i;
    while (i < s.size() && s[i] >= '0' && s[i] <= '9') {
      fractionDigits = true;
      ++i;
    }
  }
  if (i != s.size() || (!wholeDigits && !fractionDigits)) return std::nullopt;
  if (negative) v = -v;
  if (v > std::numeric_limits<std::int32_t>::max() || v < std::numeric_limits<std::int32_t>::min())
    return std::nullopt;
  return static_cast<std::int32_t>(v);
}

struct Failure {
  VdrError error;
  std::string detail;
};

class Parser {
 public:
  Parser(std::string_view text, const ParameterSet& defaults) : in_(text), defaults_(defaults) {}

  VdrReadResult run() {
    VdrReadResult r;
    try {
      parse(r.content);
    } catch (Failure& f) {
      r.error = f.error;
      r.detail = std::move(f.detail);
      r.content = VdrContent{};
    } catch (const TooLong& t) {
      r.error = VdrError::kTooLarge;
      r.detail = "Line " + std::to_string(t.line) +
                 " of this file is longer than 1 MB. It is not a parameter file; nothing was opened.";
      r.content = VdrContent{};
    } catch (const std::bad_alloc&) {
      r.error = VdrError::kNotRecognized;
      r.detail = "not enough memory for the table";
      r.content = VdrContent{};
    }
    return r;
  }

 private:
  [[noreturn]] void fail(std::size_t line, const std::string& why) {
    throw Failure{VdrError::kNotRecognized, "line " + std::to_string(line) + ": " + why};
  }
  [[noreturn]] void failAnchors(const std::string& why) { throw Failure{VdrError::kWrongAnchorCount, why}; }

  Line take(const char* what) {
    Line l;
    if (!in_.next(l)) fail(in_.lineNumber() + 1, std::string("the file ends before ") + what);
    return l;
  }

  std::int32_t number(const Line& l, std::size_t i) {
    const auto v = parseNumber(l.fields[i]);
    if (!v) fail(l.number, "'" + std::string(l.fields[i].substr(0, 40)) + "' is not a 32-bit whole number");
    return *v;
  }

  // A line of exactly `count` numbers, each within [lo, hi].
  std::vector<std::int32_t> numbers(const char* what, std::size_t count, std::int32_t lo, std::int32_t hi) {
    const Line l = take(what);
    if (l.fields.size() != count)
      fail(l.number, std::string(what) + ": " + std::to_string(count) + " values expected, " +
                         std::to_string(l.fields.size()) + " found");
    std::vector<std::int32_t> v(count);
    for (std::size_t i = 0; i < count; ++i) {
      v[i] = number(l, i);
      if (v[i] < lo || v[i] > hi)
        fail(l.number, std::string(what) + ": " + std::to_string(v[i]) + " is outside " + std::to_string(lo) +
                           ".." + std::to_string(hi));
    }
    return v;
  }

  void parse(VdrContent& c) {
    constexpr std::int32_t kMax = std::numeric_limits<std::int32_t>::max();
    constexpr std::int32_t kMin = std::numeric_limits<std::int32_t>::min();

    const auto timing = numbers("the timing line", 3, 0, kMax);
    c.fileLengthMs = timing[0];
    c.sampleRate = timing[1];
    c.intervalMs = timing[2];
    if (c.sampleRate <= 0) fail(1, "the sample rate must be above 0");
    if (c.intervalMs <= 0) fail(1, "the frame interval must be above 0");
    const int frames = c.fileLengthMs / c.intervalMs;
    if (frames > kMaxFrames)
      throw Failure{VdrError::kTooLarge, "This table has " + std::to_string(frames) +
                                             " frames; Vandrel opens tables of at most 1000000 frames "
                                             "(10000 s at 10 ms). Nothing was opened."};

    const auto settings = numbers("the settings line", 10, kMin, kMax);
    if (settings[0] != 0 && settings[0] != 1) fail(2, "the synthesis method must be 0 or 1");
    if (settings[1] < 0) fail(2, "the anchor count must not be negative");
    c.cascadeParallel = settings[0];
    c.anchorCount = settings[1];

    const auto colours = numbers("the colour line", 3 * kColorSlotCount, 0, 255);
    for (std::size_t s = 0; s < kColorSlotCount; ++s)
      c.colors[s] = rgb(colours[3 * s], colours[3 * s + 1], colours[3 * s + 2]);

    std::size_t flag = 0;
    while (flag < kParamCount) {
      const std::size_t n = std::min<std::size_t>(10, kParamCount - flag);
      for (std::int32_t v : numbers("a line of shown-row flags", n, 0, 1)) c.selected[flag++] = v != 0;
    }

    const std::vector<std::pair<int, int>> anchors = readAnchorSection(c.anchorCount > 0);

    const Line header = take("the row names");
    std::vector<int> columnRow;
    columnRow.reserve(header.fields.size());
    for (std::string_view name : header.fields) {
      const auto row = paramIndex(name);
      if (!row) fail(header.number, "'" + std::string(name.substr(0, 40)) + "' is not a parameter name");
      if (c.written[static_cast<std::size_t>(*row)])
        fail(header.number, std::string(name) + " is named twice");
      c.written[static_cast<std::size_t>(*row)] = true;
      columnRow.push_back(*row);
    }
    c.writtenCount = static_cast<int>(columnRow.size());

    readData(c, frames, columnRow);
    Line rest;
    while (in_.next(rest))
      if (!rest.empty())
        fail(rest.number,
             "more data lines than the " + std::to_string(frames) + " frames of the timing line");

    checkAnchors(c, anchors, frames);
  }

  // The anchor section is every line that holds "name,column" entries; when
  // the entries fill their last line, an empty line closes the section.
  std::vector<std::pair<int, int>> readAnchorSection(bool announced) {
    std::vector<std::pair<int, int>> entries;
    Line l;
    while (in_.peek(l) && isAnchorLine(l)) {
      in_.next(l);
      for (std::string_view e : l.fields) entries.push_back(anchorEntry(l.number, e));
    }
    if ((announced || !entries.empty()) && entries.size() % 10 == 0 && in_.peek(l) && l.empty()) in_.next(l);
    return entries;
  }

  static bool isAnchorLine(const Line& l) {
    for (std::string_view f : l.fields)
      if (f.find(',') != std::string_view::npos) return true;
    return false;
  }

  // Row -1 for a name that is no parameter: that is an anchor mismatch, not
  // an unreadable file.
  std::pair<int, int> anchorEntry(std::size_t line, std::string_view e) {
    const std::size_t comma = e.find(',');
    if (comma == std::string_view::npos || comma == 0)
      fail(line, "'" + std::string(e.substr(0, 40)) + "' is not an anchor entry (name,column)");
    const std::string_view name = trim(e.substr(0, comma));
    const std::string_view col = trim(e.substr(comma + 1));
    bool digits = !col.empty();
    std::size_t from = (col.size() > 1 && col[0] == '-') ? 1 : 0;
    for (std::size_t i = from; i < col.size(); ++i) digits = digits && col[i] >= '0' && col[i] <= '9';
    const auto column = digits ? parseNumber(col) : std::nullopt;
    if (!column) fail(line, "'" + std::string(e.substr(0, 40)) + "' is not an anchor entry (name,column)");
    // The entries come row by row: most name the row of the one before.
    if (name != lastAnchorName_) {
      const auto row = paramIndex(name);
      lastAnchorName_ = name;
      lastAnchorRow_ = row ? *row : -1;
    }
    return {lastAnchorRow_, *column};
  }

  void readData(VdrContent& c, int frames, const std::vector<int>& columnRow) {
    // The lines must be there before the table is made, so a timing line
    // cannot ask for more memory than the file has lines.
    if (in_.remaining() < static_cast<std::size_t>(frames))
      fail(in_.lineNumber() + in_.remaining() + 1, "the file ends after " + std::to_string(in_.remaining()) +
                                                       " of " + std::to_string(frames) + " frames");
    c.table.reset(frames, defaults_);
    // Frames are read a block at a time and stored row by row: the table
    // keeps each row together, and 48 rows written a value at a time would
    // each miss the cache.
    constexpr std::size_t kBlock = 64;
    const std::size_t width = columnRow.size();
    std::vector<std::int32_t> block(kBlock * width);
    Line l;
    for (std::size_t first = 0; first < static_cast<std::size_t>(frames); first += kBlock) {
      const std::size_t count = std::min(kBlock, static_cast<std::size_t>(frames) - first);
      for (std::size_t f = 0; f < count; ++f) {
        std::int32_t* values = block.data() + f * width;
        if (in_.nextNumbers(values, width)) continue;
        // Not a plain line: read it field by field, which says what is wrong.
        in_.next(l);
        if (l.fields.size() != width)
          fail(l.number,
               std::to_string(width) + " values expected, " + std::to_string(l.fields.size()) + " found");
        for (std::size_t k = 0; k < width; ++k) values[k] = number(l, k);
      }
      for (std::size_t k = 0; k < width; ++k) {
        double* row = c.table.row(columnRow[k]) + first;
        for (std::size_t f = 0; f < count; ++f) row[f] = static_cast<double>(block[f * width + k]);
      }
    }
  }

  void checkAnchors(VdrContent& c, const std::vector<std::pair<int, int>>& anchors, int frames) {
    const auto found = static_cast<std::int64_t>(anchors.size());
    // A selected-parameters file counts the anchors of hidden rows on line 2
    // but does not list them.
    const bool allRows = c.writtenCount == kParamCount;
    if (allRows ? found != c.anchorCount : found > c.anchorCount)
      failAnchors("line 2 counts " + std::to_string(c.anchorCount) + " anchors, the file lists " +
                  std::to_string(found));
    for (const auto& [row, col] : anchors) {
      if (row < 0) failAnchors("an anchor entry names no parameter");
      if (col < 0 || col >= frames)
        failAnchors("an anchor entry names column " + std::to_string(col) + " of a table of " +
                    std::to_string(frames) + " columns");
      if (c.table.anchor(row, col)) failAnchors("an anchor cell is listed twice");
      c.table.setAnchor(row, col, true);
    }
  }

  LineReader in_;
  const ParameterSet& defaults_;
  std::string_view lastAnchorName_;
  int lastAnchorRow_ = -1;
};

}  // namespace

std::string_view VdrReadResult::message() const {
  switch (error) {
    case VdrError::kNone:
      return {};
    case VdrError::kWrongAnchorCount:
      return kMsgWrongAnchorCount;
    case VdrError::kTooLarge:
      return detail;
    case VdrError::kNotRecognized:
      break;
  }
  return kMsgFileTypeNotRecognized;
}

VdrReadResult parseVdr(std::string_view text, const ParameterSet& defaults) {
  return Parser(text, defaults).run();
}

VdrReadResult readVdrFile(const std::string& path, const ParameterSet& defaults) {
  std::string bytes;
  bool read = false;
  try {
    read = readWholeFile(path, bytes);
  } catch (const std::bad_alloc&) {
    read = false;
  }
  if (!read) {
    VdrReadResult r;
    r.error = VdrError::kNotRecognized;
    r.detail = "cannot read " + path;
    return r;
  }
  return parseVdr(bytes, defaults);
}

void loadVdr(CVandrelDoc& doc, VdrContent content) {
  ParameterSet ps = doc.params();
  ps.fileLengthMs = content.fileLengthMs;
  ps.intervalMs = content.intervalMs;
  ps.frameCount = content.table.columns();
  ps.cascadeParallel = content.cascadeParallel;
  for (int r = 0; r < kParamCount; ++r) ps.setSelected(r, content.selected[static_cast<std::size_t>(r)]);
  doc.loadTable(std::move(content.table), ps, content.sampleRate, content.colors);
}

}  // namespace vandrel
