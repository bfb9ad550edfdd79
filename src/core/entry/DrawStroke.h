#pragma once
// Drawing a track with the mouse: where a pointer position falls in the
// table, and one stroke's writes as one edit.
//
// The drawing rectangle spans every frame of the table across its width; the
// three strips lie inside it, one above the other, each with its own range. A
// position maps to the frame trunc((x - left) * frames / width) and, inside
// the selected track's strip, to the value trunc((bottom - y) * range /
// height), bottom being the first row below the strip - so the top row of a
// strip gives its full range. f0 is kept in tenths of a hertz and so takes ten
// times that value. Positions are taken as the pointer reports them: a quick
// drag leaves the frames between two reports as they were.

#include <array>
#include <optional>

#include "document/VandrelDoc.h"
#include "editing/EditTransaction.h"
#include "editing/TableSelection.h"
#include "entry/DrawTracks.h"

namespace vandrel {

// A rectangle of pixels: [left, left + width) x [top, top + height).
struct PixelBox {
  int left = 0;
  int top = 0;
  int width = 0;
  int height = 0;

  int bottom() const { return top + height; }
  bool contains(int x, int y) const { return x >= left && x < left + width && y >= top && y < bottom(); }
};

struct DrawingLayout {
  PixelBox area;                            // the drawing rectangle
  std::array<PixelBox, kStripCount> strip;  // indexed by Strip
  std::array<int, kStripCount> range{};     // the value at the top of each strip (Hz, Hz, dB)

  const PixelBox& stripOf(Strip s) const { return strip[static_cast<std::size_t>(s)]; }
  int rangeOf(Strip s) const { return range[static_cast<std::size_t>(s)]; }
};

struct DrawPoint {
  int column = 0;
  double value = 0;  // as stored in the table
};

// What a move to (x, y) writes for `track` in a table of `frames` frames;
// nothing outside the drawing rectangle or the track's strip.
std::optional<DrawPoint> drawPointAt(const DrawingLayout& layout, DrawTrack track, int frames, int x, int y);

// One stroke of one track: every write goes straight into the table (values
// are stored as computed, without the row's limits), and finish() ends the
// stroke as one edit - the document marked edited and one undo snapshot
// holding every frame of the stroke.
class DrawStroke {
 public:
  explicit DrawStroke(DrawTrack track) : row_(drawTrack(track).row) {}

  // Writes one point; false (nothing written) for a column outside the table.
  bool write(CVandrelDoc& doc, const DrawPoint& point);
  // Nothing happens when nothing was written.
  void finish();

  bool drew() const { return edit_ && edit_->wrote(); }
  CellRange written() const { return edit_ ? edit_->written() : CellRange{row_, row_, 1, 0}; }

 private:
  int row_;
  std::optional<EditTransaction> edit_;  // from the first write to finish()
};

}  // namespace vandrel
