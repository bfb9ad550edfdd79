#pragma once
// Editing one cell of the table in place.

#include <optional>
#include <string_view>

#include "document/VandrelDoc.h"
#include "editing/TableSelection.h"

namespace vandrel {

// The row's limits applied to a typed value: below the lower limit gives the
// lower limit, above the upper limit the upper one (silently).
double clampToLimits(const ParamDef& def, double typed);

// Stores `typed`, held to the row's limits, in the cell and runs the
// after-cell-edit hook (AfterEdit.h). A value that is not a number, or a cell
// outside the table, stores nothing and returns false.
bool editCell(CVandrelDoc& doc, int row, int column, double typed);

// The number at the start of typed text: blanks, an optional sign, digits
// with an optional fraction and exponent; whatever follows is ignored ("12ms"
// is 12). Always a point as the decimal mark, whatever the user's locale.
// Text that starts with no number gives nothing.
std::optional<double> parseTypedValue(std::string_view text);

// editCell with the text typed into the cell; text without a number stores
// nothing and returns false.
bool editCellText(CVandrelDoc& doc, int row, int column, std::string_view text);

}  // namespace vandrel
