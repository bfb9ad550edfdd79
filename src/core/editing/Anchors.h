#pragma once
// Anchor cells: the points between which interpolation fills values.
//
// Anchor flags are not part of an undo snapshot (it holds values only), so
// none of these commands appends one: a snapshot would add an undo step that
// changes nothing.

#include "document/VandrelDoc.h"
#include "editing/TableSelection.h"

namespace vandrel {

// "Add Anchor" / "Remove Anchor" of a cell's right-click menu: the flag of
// that one cell, nothing else - the document is not marked modified.
void setCellAnchor(CVandrelDoc& doc, int row, int column, bool on);

// Anchors > "Add to Selection" / "Remove from Selection": every cell of the
// selection - a whole row (all columns), a whole column (all 48 rows), or a
// block taken in order whichever way it was dragged (the stored selection is
// left as it is). The anchors are saved with the file, so the document is
// marked modified; the sound does not change, so it is not marked for
// synthesis.
void addAnchorsToSelection(CVandrelDoc& doc, TableSelection& selection);
void removeAnchorsFromSelection(CVandrelDoc& doc, TableSelection& selection);

// Anchors > "Remove All": no cell of the table stays an anchor.
void removeAllAnchors(CVandrelDoc& doc);

}  // namespace vandrel
