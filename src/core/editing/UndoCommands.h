#pragma once
// Edit > "&Undo\tCtrl+Z" and "&Redo\tCtrl+Y".

#include "document/VandrelDoc.h"
#include "editing/TableSelection.h"

namespace vandrel {

enum class UndoStatus {
  kRestored,
  kInvalidArgument,  // the index reached lies outside the list; nothing changed
};

// Both move the history's current index and put that snapshot back into the
// table (UndoHistory::restore). On success: the document is marked modified
// and for synthesis and the table-changed flag is cleared; no new snapshot is
// taken, the frame interval becomes the one the snapshot was taken at, the
// file length follows the restored column count, and the shown and hidden
// rows stay as they are now.
//
// The current index minus one, but not below 0, then restore. In a new
// document (index -5) this reaches 0 of an empty list and fails.
UndoStatus undoCommand(CVandrelDoc& doc);

// The current index plus one, but not above the last entry, then restore.
// Before any snapshot this reaches -4 and fails.
UndoStatus redoCommand(CVandrelDoc& doc);

}  // namespace vandrel
