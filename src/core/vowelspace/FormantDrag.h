#pragma once
// Dragging a handle of the vowel space: the frame's f1 and f2 anchors move
// to the pointer (a row that is no anchor at that frame stays as it is, so a
// handle anchored in f1 alone moves up and down only). Values are whole hertz
// held to the rows' limits. The drag ends as one edit: the after-edit rules
// (automatic interpolation) run once and the history gets one step.

#include "document/DocObserver.h"
#include "document/VandrelDoc.h"
#include "editing/TableSelection.h"

namespace vandrel {

class FormantDrag {
 public:
  explicit FormantDrag(int frame) : frame_(frame) {}

  // The pointer is at (f1, f2) Hz. Writes the frame's anchored cells and
  // returns them (empty, firstColumn > lastColumn, when the frame has no
  // anchor in f1 or f2 or lies outside the table).
  CellRange moveTo(CVandrelDoc& doc, double f1, double f2);

  // Ends the drag. Nothing happens when nothing was written.
  void finish(CVandrelDoc& doc);

  int frame() const { return frame_; }
  bool wrote() const { return wrote_; }

 private:
  int frame_;
  bool wrote_ = false;
};

}  // namespace vandrel
