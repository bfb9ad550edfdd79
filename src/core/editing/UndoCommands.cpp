#include "editing/UndoCommands.h"

#include <algorithm>

#include "editing/EditTransaction.h"

namespace vandrel {

namespace {

UndoStatus restoreSnapshot(CVandrelDoc& doc, int index) {
  const UndoHistory& history = doc.undo();
  {
    // Not committed: a restore is no new undo step; it only tells the observers.
    EditTransaction edit(doc);
    if (!edit.restore(index)) return UndoStatus::kInvalidArgument;
  }
  if (history.labelsAt(index) != doc.labels()) doc.setLabels(history.labelsAt(index));
  doc.markEdited();
  doc.setTableChanged(false);
  return UndoStatus::kRestored;
}

}  // namespace

UndoStatus undoCommand(CVandrelDoc& doc) {
  return restoreSnapshot(doc, std::max(doc.undo().current() - 1, 0));
}

UndoStatus redoCommand(CVandrelDoc& doc) {
  return restoreSnapshot(doc, std::min(doc.undo().current() + 1, doc.undo().count() - 1));
}

}  // namespace vandrel
