#pragma once
// What a table view has selected.
//
// A block is kept exactly as the grid reports it: the cell where the
// selection began (start) and the cell where it ended (end), in either order.
// Interpolate Selection, Add/Subtract and Set to Default Values exchange the
// stored start and end column every time they run, without comparing them,
// and the exchange stays here - so a block dragged from left to right is
// worked on only by every second use of those commands. The anchor commands
// order the block for themselves and leave the stored one alone.

#include "document/FrameTable.h"

namespace vandrel {

enum class SelectionKind { kNone, kRow, kColumn, kBlock };

struct TableSelection {
  SelectionKind kind = SelectionKind::kNone;
  int row = 0;                        // kRow: the row whose side heading was clicked
  int column = 0;                     // kColumn: the column whose top heading was clicked
  int startColumn = 0, startRow = 0;  // kBlock: where the selection began
  int endColumn = 0, endRow = 0;      // kBlock: where it ended

  static TableSelection none() { return {}; }
  static TableSelection wholeRow(int r);
  static TableSelection wholeColumn(int c);
  static TableSelection block(int startColumn, int startRow, int endColumn, int endRow);

  // The stored start and end column trade places.
  void exchangeBlockColumns();

  bool operator==(const TableSelection&) const = default;
};

// "Select All": the whole table as one block from its first cell to its last.
TableSelection selectAll(const FrameTable& table);

}  // namespace vandrel
