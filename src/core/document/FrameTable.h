#pragma once
// The document's data: one row per parameter, one column per frame. Each cell
// holds a double (the grid edits doubles; the engine truncates them) and an
// anchor flag. Column c stands for the time c x interval ms.

#include <cstdint>
#include <string>
#include <vector>

#include "document/ParameterSet.h"

namespace vandrel {

// The longest table any reader builds: 10,000 s at 10 ms frames. A table of
// 48 doubles a frame this long already takes about 400 MB; beyond it a typo
// in a timing line would exhaust memory before the user saw anything.
inline constexpr int kMaxFrames = 1'000'000;

// The refusal of an edit that would make a table of `frames` frames.
inline std::string tooManyFramesMessage(long long frames) {
  return "A table of " + std::to_string(frames) +
         " frames is more than Vandrel holds (at most 1000000 frames, 10000 s at 10 ms). Nothing was "
         "changed.";
}

class FrameTable {
 public:
  FrameTable() = default;
  FrameTable(int columns, const ParameterSet& set) { reset(columns, set); }

  int rows() const { return kParamCount; }
  int columns() const { return columns_; }

  // Resizes to `columns` frames, every cell at its row's default, no anchors.
  void reset(int columns, const ParameterSet& set);

  double value(int row, int col) const { return values_[index(row, col)]; }
  void setValue(int row, int col, double v) { values_[index(row, col)] = v; }

  bool anchor(int row, int col) const { return anchors_[index(row, col)] != 0; }
  void setAnchor(int row, int col, bool on) { anchors_[index(row, col)] = on ? 1 : 0; }
  int anchorCount() const;
  void clearAnchors();

  // Whole row, contiguous (columns() values).
  const double* row(int r) const { return values_.data() + index(r, 0); }
  double* row(int r) { return values_.data() + index(r, 0); }

  bool operator==(const FrameTable&) const = default;

 private:
  std::size_t index(int row, int col) const {
    return static_cast<std::size_t>(row) * static_cast<std::size_t>(columns_) + static_cast<std::size_t>(col);
  }

  int columns_ = 0;
  std::vector<double> values_;
  std::vector<std::uint8_t> anchors_;
};

}  // namespace vandrel
