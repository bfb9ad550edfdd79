// Writing parameter files: the three header lines, the colours, the shown
// flags and anchors ten to a line, the row names, then one line per frame.

#include <array>
#include <charconv>
#include <cstdint>
#include <limits>
#include <new>
#include <string>
#include <vector>

#include "document/VandrelDoc.h"
#include "document/VdrFile.h"
#include "util/AtomicFile.h"

namespace vandrel {

namespace {

std::int32_t truncateToInt32(double v) {
  if (v != v) return 0;  // NaN cannot come from the table; keep the file readable
  if (v <= -2147483648.0) return std::numeric_limits<std::int32_t>::min();
  if (v >= 2147483647.0) return std::numeric_limits<std::int32_t>::max();
  return static_cast<std::int32_t>(v);
}

class TextOut {
 public:
  explicit TextOut(std::string& s) : s_(s) {}

  void value(std::int64_t v) {
    char buf[24];
    const auto r = std::to_chars(buf, buf + sizeof buf, v);
    s_.append(buf, r.ptr);
    s_.push_back('\t');
  }
  void text(std::string_view t) {
    s_.append(t);
    s_.push_back('\t');
  }
  void endLine() { s_.append("\r\n"); }

 private:
  std::string& s_;
};

// Lines 4 and 5 break after every tenth entry and end with one more line end.
class TenPerLine {
 public:
  explicit TenPerLine(TextOut& out) : out_(out) {}
  void value(std::int64_t v) {
    out_.value(v);
    counted();
  }
  void text(std::string_view t) {
    out_.text(t);
    counted();
  }
  void finish() { out_.endLine(); }

 private:
  void counted() {
    if (++n_ % 10 == 0) out_.endLine();
  }
  TextOut& out_;
  int n_ = 0;
};

}  // namespace

std::string_view suggestedFileName(VdrKind kind) {
  return kind == VdrKind::kAllParameters ? "All_Parameters" : "Sel_Parameters";
}

std::string writeVdr(const CVandrelDoc& doc, VdrKind kind) {
  const ParameterSet& ps = doc.params();
  const FrameTable& t = doc.table();
  const int columns = t.columns();

  std::array<bool, kParamCount> written{};
  int writtenCount = 0;
  for (int r = 0; r < kParamCount; ++r) {
    written[static_cast<std::size_t>(r)] = kind == VdrKind::kAllParameters || ps.at(r).selected != 0;
    writtenCount += written[static_cast<std::size_t>(r)] ? 1 : 0;
  }

  std::string s;
  // About seven characters a value; one allocation for a long table.
  s.reserve(512 + static_cast<std::size_t>(columns) * static_cast<std::size_t>(writtenCount) * 7);
  TextOut out(s);

  out.value(truncateToInt32(ps.fileLengthMs));
  out.value(truncateToInt32(doc.sampleRate()));
  out.value(ps.intervalMs);
  out.endLine();

  const int anchors = t.anchorCount();
  out.value(ps.cascadeParallel);
  out.value(anchors);
  for (int i = 0; i < 7; ++i) out.value(0);
  out.value(50);
  out.endLine();

  for (Colorref c : doc.colors()) {
    out.value(redOf(c));
    out.value(greenOf(c));
    out.value(blueOf(c));
  }
  out.endLine();

  TenPerLine flags(out);
  for (int r = 0; r < kParamCount; ++r) flags.value(ps.at(r).selected != 0 ? 1 : 0);
  flags.finish();

  if (anchors > 0) {
    TenPerLine entries(out);
    std::string entry;
    for (int r = 0; r < kParamCount; ++r) {
      if (!written[static_cast<std::size_t>(r)]) continue;
      for (int col = 0; col < columns; ++col) {
        if (!t.anchor(r, col)) continue;
        entry.assign(builtinParams()[static_cast<std::size_t>(r)].name);
        entry.push_back(',');
        entry.append(std::to_string(col));
        entries.text(entry);
      }
    }
    entries.finish();
  }

  for (int r = 0; r < kParamCount; ++r)
    if (written[static_cast<std::size_t>(r)]) out.text(builtinParams()[static_cast<std::size_t>(r)].name);
  out.endLine();

  std::vector<const double*> rows;
  for (int r = 0; r < kParamCount; ++r)
    if (written[static_cast<std::size_t>(r)]) rows.push_back(t.row(r));
  // A frame's line is put together on the stack and appended whole: a
  // string append per value of a few characters cost more than formatting it.
  std::array<char, kParamCount * 12 + 2> line;  // an int32 is at most 11 characters, then its tab
  for (int col = 0; col < columns; ++col) {
    char* p = line.data();
    for (const double* row : rows) {
      p = std::to_chars(p, p + 11, truncateToInt32(row[col])).ptr;
      *p++ = '\t';
    }
    *p++ = '\r';
    *p++ = '\n';
    s.append(line.data(), p);
  }
  return s;
}

std::string saveVdrFile(const std::string& path, const CVandrelDoc& doc, VdrKind kind,
                        const WriteOptions& options) {
  std::string text;
  try {
    text = writeVdr(doc, kind);
  } catch (const std::bad_alloc&) {
    return "Not enough memory to write " + path + ".";
  }
  return writeFileAtomically(path, text, options);
}

}  // namespace vandrel
