#include "editing/CellEdit.h"

#include <charconv>
#include <cmath>

#include "editing/EditTransaction.h"
#include "editing/Interpolation.h"

namespace vandrel {

double clampToLimits(const ParamDef& def, double typed) {
  if (typed < def.lower) return def.lower;
  if (typed > def.upper) return def.upper;
  return typed;
}

bool editCell(CVandrelDoc& doc, int row, int column, double typed) {
  const FrameTable& t = doc.table();
  if (typed != typed || row < 0 || row >= t.rows() || column < 0 || column >= t.columns()) return false;
  EditTransaction edit(doc);
  edit.setValue(row, column, clampToLimits(doc.params().at(row), typed));
  if (doc.anchorAfterEdit()) edit.setAnchor(row, column, true);
  if (doc.autoInterpolate()) interpolateAll(doc);
  edit.commit();
  return true;
}

std::optional<double> parseTypedValue(std::string_view text) {
  std::size_t i = 0;
  while (i < text.size() && (text[i] == ' ' || text[i] == '\t')) ++i;
  bool negative = false;
  if (i < text.size() && (text[i] == '+' || text[i] == '-')) negative = text[i++] == '-';
  if (i >= text.size() || text[i] == '+' || text[i] == '-') return std::nullopt;
  double v = 0.0;
  const auto [end, ec] = std::from_chars(text.data() + i, text.data() + text.size(), v);
  if (end == text.data() + i) return std::nullopt;
  if (ec == std::errc::result_out_of_range) {
    // from_chars leaves v alone; a negative exponent underflowed to 0,
    // anything else is beyond every limit.
    const std::string_view digits(text.data() + i, static_cast<std::size_t>(end - (text.data() + i)));
    const std::size_t e = digits.find_first_of("eE");
    v = e != std::string_view::npos && e + 1 < digits.size() && digits[e + 1] == '-' ? 0.0 : HUGE_VAL;
  }
  return negative ? -v : v;
}

bool editCellText(CVandrelDoc& doc, int row, int column, std::string_view text) {
  const std::optional<double> v = parseTypedValue(text);
  return v.has_value() && editCell(doc, row, column, *v);
}

}  // namespace vandrel
