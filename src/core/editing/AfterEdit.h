#pragma once
// The step that ends the table's editing commands: the document appends a
// snapshot of the table to its undo history and its table-changed flag is
// set. Every command that ends with it wrote through an EditTransaction,
// which told the history which cells were written; edits that write cells
// one by one commit() theirs, which runs this step.

#include <initializer_list>

#include "document/VandrelDoc.h"

namespace vandrel {

void afterEditStep(CVandrelDoc& doc);

// Undo goes back to the snapshot before the current one. When the table was
// changed without one (a recording attached to a blank table gives it the
// recording's length; a new document has none yet), the table as it is now is
// kept first, so that undoing the coming stroke or copy brings exactly this
// back. Only `rows`, the rows about to be written, are compared.
void keepTableBeforeEdit(CVandrelDoc& doc, std::initializer_list<int> rows);

}  // namespace vandrel
