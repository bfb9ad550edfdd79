#pragma once
// Edit > "Set to Default Values\tCtrl+L".

#include "document/VandrelDoc.h"
#include "editing/TableSelection.h"

namespace vandrel {

// Writes defaults into the selection, as they are (not held to the limits):
//  - a whole column: each row up to the count of rows in use takes its own
//    parameter's default;
//  - a block: after the exchange of its stored columns (BlockWalk.h), each
//    cell takes its own row's default;
//  - a whole row: the command walks all 48 parameters and writes each one's
//    default across the selected row, so the row ends up holding the default
//    of the last parameter (gain, row 47) in every column.
// Then the document is marked modified and for synthesis, the table-changed
// flag is set and the after-edit step runs.
void setToDefaultValues(CVandrelDoc& doc, TableSelection& selection);

}  // namespace vandrel
