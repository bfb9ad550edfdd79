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

#include <initializer_list>

#include "document/VandrelDoc.h"
#include "editing/TableSelection.h"

namespace vandrel {

void afterEditStep(CVandrelDoc& doc, TableViewState& view);

// For code outside core/editing that wrote table values itself (graphical
// entry, copying tracks): tells the undo history which cells were written,
// then runs the after-edit step.
void afterEditStep(CVandrelDoc& doc, TableViewState& view, const CellRange& written);

// Undo goes back to the snapshot before the current one. When the table was
// changed without one (a recording attached to a blank table gives it the
// recording's length; a new document has none yet), the table as it is now is
// kept first, so that undoing the coming stroke or copy brings exactly this
// back. Only `rows`, the rows about to be written, are compared.
void keepTableBeforeEdit(CVandrelDoc& doc, std::initializer_list<int> rows);

void afterCellEdit(CVandrelDoc& doc, TableViewState& view, int row, int column);

}  // namespace vandrel
