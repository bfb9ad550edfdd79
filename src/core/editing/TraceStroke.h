#pragma once
// One stroke of tracing a track from the spectrogram/pitch view into the
// table: every frame the pointer passes over takes the traced value. A fast
// drag skips frames between two pointer positions; they take the straight
// line between the two values, so a stroke leaves no holes. f0 is stored in
// tenths of a hertz, the formants in hertz; values are held to the row's
// limits. The stroke ends as one edit (one undo step).

#include <optional>
#include "document/DocObserver.h"
#include "document/VandrelDoc.h"
#include "editing/EditTransaction.h"

namespace vandrel {

class TraceStroke {
 public:
  // `row` is kF0 or one of kF1 .. kF5.
  explicit TraceStroke(int row) : row_(row) {}

  // The pointer is over `ms` at `hz`. Writes the frames from the previous
  // point to this one and returns them (an empty range, firstColumn >
  // lastColumn, when the time lies outside the table).
  CellRange add(CVandrelDoc& doc, double ms, double hz);

  // Ends the stroke: the document is marked edited and the written frames go
  // to the undo history as one step. Nothing happens when nothing was written.
  void finish();

  bool wrote() const { return edit_ && edit_->wrote(); }
  CellRange written() const { return edit_ ? edit_->written() : CellRange{row_, row_, 1, 0}; }

 private:
  int row_;
  std::optional<EditTransaction> edit_;  // from the first write to finish()
  int lastColumn_ = -1;
  double lastValue_ = 0;
};

}  // namespace vandrel
