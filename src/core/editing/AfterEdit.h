#pragma once
// The two steps that end the table's editing commands.
//
// afterEditStep: the document appends a snapshot of the table to its undo
// history and the view's table-changed flag is set. Every command that ends
// with it has already told the history which cells it wrote.
//
// afterCellEdit: what follows the edit of one cell - the cell becomes an
// anchor if the anchor-after-edit option is on; the whole table is
// interpolated between its anchors if automatic interpolation is on; the
// document is marked modified and for synthesis; then the after-edit step.
// Graphical entry runs the same hook after writing its cells.

#include "document/VandrelDoc.h"
#include "editing/TableSelection.h"

namespace vandrel {

void afterEditStep(CVandrelDoc& doc, TableViewState& view);

// For code outside core/editing that wrote table values itself (graphical
// entry, copying tracks): tells the undo history which cells were written,
// then runs the after-edit step.
void afterEditStep(CVandrelDoc& doc, TableViewState& view, const CellRange& written);

void afterCellEdit(CVandrelDoc& doc, TableViewState& view, int row, int column);

}  // namespace vandrel
