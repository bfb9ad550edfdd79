#pragma once
// Small documents for the editing tests.

#include <vector>

#include "document/VandrelDoc.h"
#include "editing/TableSelection.h"

namespace vandrel::testing {

// A blank document whose table has `columns` frames of `intervalMs`.
inline void shapeDoc(CVandrelDoc& doc, int columns, int intervalMs = 10) {
  ParameterSet& ps = doc.params();
  ps.intervalMs = intervalMs;
  ps.fileLengthMs = static_cast<double>(columns) * intervalMs;
  ps.frameCount = columns;
  doc.table.reset(columns, ps);
}

inline std::vector<double> rowValues(const FrameTable& t, int row) {
  return std::vector<double>(t.row(row), t.row(row) + t.columns());
}

inline void setRowValues(FrameTable& t, int row, const std::vector<double>& v) {
  for (int c = 0; c < static_cast<int>(v.size()); ++c) t.setValue(row, c, v[static_cast<std::size_t>(c)]);
}

inline std::vector<int> anchorColumns(const FrameTable& t, int row) {
  std::vector<int> out;
  for (int c = 0; c < t.columns(); ++c)
    if (t.anchor(row, c)) out.push_back(c);
  return out;
}

}  // namespace vandrel::testing
