#pragma once
// Edit > "Remove Row\tCtrl+J" and "Remove Column\tCtrl+K". Neither takes
// anything out of the grid: rows are hidden through the parameter selection,
// and time is taken away by shortening the file length (AdjustTime.h).

#include "document/VandrelDoc.h"
#include "editing/TableSelection.h"

namespace vandrel {

// Lowers the document's count of rows in use by one (not below 0) - the bound
// of the column forms of Add/Subtract and Set to Default Values - marks the
// document modified and for synthesis, sets the table-changed flag and runs
// the after-edit step.
void removeRow(CVandrelDoc& doc);

// Marks the document modified and for synthesis, drops a whole-column
// selection and sets the table-changed flag. No column goes and no snapshot is
// taken.
void removeColumn(CVandrelDoc& doc, TableSelection& selection);

}  // namespace vandrel
