#pragma once
// Edit > "Add/Subtract ...": an equal amount added to every selected cell.

#include <string_view>

#include "document/VandrelDoc.h"
#include "editing/TableSelection.h"

namespace vandrel {

inline constexpr std::string_view kAddSubtractCaption = "Add / Subtract";
inline constexpr std::string_view kAddSubtractField =
    "Amount to Add or subtract. (Negative values will subtract)";

// Stores `amount` as the dialog's next starting value, runs the after-edit
// step - so the snapshot it appends holds the table as it was before the
// addition - and then, for each selected cell, cuts the value toward zero and
// adds `amount`, without holding the result to the row's limits. A whole row:
// all its columns. A whole column: rows up to the count of rows in use. A
// block: after the exchange of its stored columns (BlockWalk.h). Finally the
// document is marked modified and for synthesis and the table-changed flag is
// set.
void addSubtract(CVandrelDoc& doc, TableSelection& selection, int amount);

}  // namespace vandrel
