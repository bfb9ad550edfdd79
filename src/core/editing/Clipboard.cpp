#include "editing/Clipboard.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "editing/AfterEdit.h"
#include "editing/CellEdit.h"
#include "editing/EditTransaction.h"
#include "editing/Interpolation.h"

namespace vandrel {

namespace {

// The shown rows from `first` to `last`, in order.
std::vector<int> shownBetween(const std::vector<int>& shownRows, int first, int last) {
  std::vector<int> out;
  for (const int r : shownRows)
    if (r >= first && r <= last) out.push_back(r);
  return out;
}

std::string_view trimmed(std::string_view s) {
  const auto blank = [](char c) { return c == ' ' || c == '\t'; };
  while (!s.empty() && blank(s.front())) s.remove_prefix(1);
  while (!s.empty() && blank(s.back())) s.remove_suffix(1);
  return s;
}

// The value of a pasted cell whose whole text is a number. Spreadsheets copy
// numbers formatted for show ("1,234", "12 ms"); those are refused rather
// than read as their leading digits.
std::optional<double> wholeNumber(std::string_view cell) {
  const std::string_view s = trimmed(cell);
  std::size_t i = 0;
  if (i < s.size() && (s[i] == '+' || s[i] == '-')) ++i;
  // from_chars also takes "inf" and "nan"; neither is a table value.
  if (i >= s.size() || !(std::isdigit(static_cast<unsigned char>(s[i])) || s[i] == '.')) return std::nullopt;
  double ignored = 0.0;
  const auto [end, ec] = std::from_chars(s.data() + i, s.data() + s.size(), ignored);
  if (end != s.data() + s.size() || (ec != std::errc() && ec != std::errc::result_out_of_range))
    return std::nullopt;
  return parseTypedValue(s);
}

std::vector<std::string_view> splitLines(std::string_view text) {
  std::vector<std::string_view> lines;
  std::size_t start = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '\n' && text[i] != '\r') continue;
    lines.push_back(text.substr(start, i - start));
    if (text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n') ++i;
    start = i + 1;
  }
  // Text that ends with a line break has no further line.
  if (start < text.size()) lines.push_back(text.substr(start));
  return lines;
}

void growTo(CellRange& r, bool& any, int row, int column) {
  if (!any) {
    r = CellRange{row, row, column, column};
    any = true;
    return;
  }
  r.firstRow = std::min(r.firstRow, row);
  r.lastRow = std::max(r.lastRow, row);
  r.firstColumn = std::min(r.firstColumn, column);
  r.lastColumn = std::max(r.lastColumn, column);
}

}  // namespace

std::string formatCellValue(double v) {
  const double r = std::round(v * 100.0) / 100.0;
  char buf[64];
  std::to_chars_result res{};
  if (r == std::trunc(r) && std::fabs(r) < 1e15) {
    res = std::to_chars(buf, buf + sizeof buf, static_cast<long long>(r));
  } else if (std::fabs(r) < 1e15) {
    res = std::to_chars(buf, buf + sizeof buf, r, std::chars_format::fixed, 2);
    while (res.ptr[-1] == '0') --res.ptr;  // a fraction ends in a non-zero digit
  } else {
    res = std::to_chars(buf, buf + sizeof buf, v);
  }
  return std::string(buf, res.ptr);
}

std::vector<std::string> widestCellTexts(int lower, int upper) {
  std::vector<std::string> texts = {formatCellValue(lower), formatCellValue(upper)};
  if (upper > lower) {
    texts.push_back(formatCellValue(lower + 0.01));
    texts.push_back(formatCellValue(upper - 0.01));
  }
  return texts;
}

std::optional<CellRange> selectedCells(const TableSelection& sel, const FrameTable& t) {
  const int lastRow = t.rows() - 1, lastColumn = t.columns() - 1;
  CellRange r;
  switch (sel.kind) {
    case SelectionKind::kNone:
      return std::nullopt;
    case SelectionKind::kRow:
      r = CellRange{sel.row, sel.row, 0, lastColumn};
      break;
    case SelectionKind::kColumn:
      r = CellRange{0, lastRow, sel.column, sel.column};
      break;
    case SelectionKind::kBlock:
      r = CellRange{std::min(sel.startRow, sel.endRow), std::max(sel.startRow, sel.endRow),
                    std::min(sel.startColumn, sel.endColumn), std::max(sel.startColumn, sel.endColumn)};
      break;
  }
  r.firstRow = std::max(r.firstRow, 0);
  r.lastRow = std::min(r.lastRow, lastRow);
  r.firstColumn = std::max(r.firstColumn, 0);
  r.lastColumn = std::min(r.lastColumn, lastColumn);
  if (r.firstRow > r.lastRow || r.firstColumn > r.lastColumn) return std::nullopt;
  return r;
}

std::string copySelection(const CVandrelDoc& doc, const TableSelection& selection,
                          const std::vector<int>& shownRows) {
  const std::optional<CellRange> cells = selectedCells(selection, doc.table());
  if (!cells) return {};
  std::string text;
  for (const int r : shownBetween(shownRows, cells->firstRow, cells->lastRow)) {
    const double* values = doc.table().row(r);
    for (int c = cells->firstColumn; c <= cells->lastColumn; ++c) {
      if (c > cells->firstColumn) text += '\t';
      text += formatCellValue(values[c]);
    }
    text += '\n';
  }
  return text;
}

std::string cutSelection(CVandrelDoc& doc, const TableSelection& selection,
                         const std::vector<int>& shownRows) {
  std::string text = copySelection(doc, selection, shownRows);
  if (text.empty()) return text;
  const CellRange cells = *selectedCells(selection, doc.table());
  EditTransaction edit(doc);
  for (const int r : shownBetween(shownRows, cells.firstRow, cells.lastRow)) {
    double* values = edit.table().row(r);
    std::fill(values + cells.firstColumn, values + cells.lastColumn + 1, doc.params().at(r).defaultValue);
  }
  edit.note(cells);
  edit.flush();
  doc.markEdited();
  afterEditStep(doc);
  return text;
}

std::pair<int, int> pasteTarget(const TableSelection& selection, const FrameTable& table, int currentRow,
                                int currentColumn) {
  const std::optional<CellRange> cells = selectedCells(selection, table);
  if (cells && currentRow >= cells->firstRow && currentRow <= cells->lastRow &&
      currentColumn >= cells->firstColumn && currentColumn <= cells->lastColumn)
    return {cells->firstRow, cells->firstColumn};
  return {currentRow, currentColumn};
}

PasteResult pasteText(CVandrelDoc& doc, int row, int column, std::string_view text,
                      const std::vector<int>& shownRows) {
  EditTransaction edit(doc);
  FrameTable& t = edit.table();
  PasteResult result;
  CellRange written;
  bool any = false;
  std::size_t shown =
      static_cast<std::size_t>(std::lower_bound(shownRows.begin(), shownRows.end(), row) - shownRows.begin());
  for (const std::string_view line : splitLines(text)) {
    const int r = shown < shownRows.size() ? shownRows[shown] : -1;
    ++shown;
    int c = column;
    std::size_t start = 0;
    for (;;) {
      const std::size_t tab = std::min(line.find('\t', start), line.size());
      const std::string_view cell = line.substr(start, tab - start);
      if (r < 0 || r >= t.rows() || c < 0 || c >= t.columns()) {
        ++result.outside;
      } else if (const std::optional<double> v = wholeNumber(cell)) {
        t.setValue(r, c, clampToLimits(doc.params().at(r), *v));
        if (doc.anchorAfterEdit()) t.setAnchor(r, c, true);
        growTo(written, any, r, c);
        ++result.written;
      } else {
        ++result.skipped;
      }
      if (tab == line.size()) break;
      start = tab + 1;
      ++c;
    }
  }
  if (!any) return result;
  edit.note(written);
  edit.flush();
  if (doc.autoInterpolate()) interpolateAll(doc);
  doc.markEdited();
  afterEditStep(doc);
  return result;
}

}  // namespace vandrel
