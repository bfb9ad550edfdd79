#pragma once
// Editing one cell of the table in place.

#include "document/VandrelDoc.h"
#include "editing/TableSelection.h"

namespace vandrel {

// The row's limits applied to a typed value: below the lower limit gives the
// lower limit, above the upper limit the upper one (silently).
double clampToLimits(const ParamDef& def, double typed);

// Stores `typed`, held to the row's limits, in the cell and runs the
// after-cell-edit hook (AfterEdit.h). A value that is not a number, or a cell
// outside the table, stores nothing and returns false.
bool editCell(CVandrelDoc& doc, TableViewState& view, int row, int column, double typed);

}  // namespace vandrel
