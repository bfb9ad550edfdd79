#pragma once
// Straight-line interpolation of the frame table between anchor cells.
//
// Values are doubles and are not rounded here, nor held to the parameter's
// limits (the end values lie within them already). The operations tell the
// undo history which cells they wrote and the document's observers which
// cells changed.
//
// Rows are 0..47 whether shown or hidden. A column bound of -1 in
// interpolateRange stands for the table's edge.

#include "document/VandrelDoc.h"
#include "editing/TableSelection.h"

namespace vandrel {

// A cell as interpolation reads it. The whole-row form of Interpolate
// Selection takes the column count itself as its last column, so the cell one
// past the last frame is read as an end point: it reads as the last frame's
// value (the row is held level beyond its end) and is never an anchor. Any
// other column outside the table reads as the nearest edge cell; a table
// without columns reads 0.
double interpolationValue(const FrameTable& table, int row, int column);

// Fills the cells strictly between `firstColumn` and `lastColumn` of `row` with
// the line between those two cells: cell a + k = va + k (vb - va) / (b - a).
// Nothing happens when the columns are equal or when lastColumn < firstColumn
// (no cell lies strictly between them in that direction).
void interpolateSegment(CVandrelDoc& doc, int row, int firstColumn, int lastColumn);

// For each row from firstRow to lastRow, the anchors in firstColumn..lastColumn
// in column order; with anchorsOnly each consecutive pair of them is a segment
// (cells outside the outer anchors, and rows with fewer than two, stay). With
// open ends the range's first and last column are end points too: a row with
// no anchor in range is one segment from end to end.
void interpolateRange(CVandrelDoc& doc, int firstColumn, int firstRow, int lastColumn, int lastRow,
                      bool anchorsOnly);

// The whole table between anchors only.
void interpolateAll(CVandrelDoc& doc);

// Commands of the Interpolation menu.
//
// Interpolate Selection: a whole row from column 0 to the column count (one
// past the last frame, see interpolationValue) with open ends; a block after
// the exchange of its stored start and end column, row by row from the start
// row down to the end row with open ends (an end row above the start row does
// nothing); a whole column or no selection changes nothing. In every case the
// document is marked modified and for synthesis and the after-edit step runs.
void interpolateSelectionCommand(CVandrelDoc& doc, TableSelection& selection);

// Interpolate All (Ctrl+B): interpolateAll, the marks, the after-edit step.
void interpolateAllCommand(CVandrelDoc& doc);

}  // namespace vandrel
