#include "editing/UndoCommands.h"

#include <algorithm>

#include "editing/EditTransaction.h"

namespace vandrel {

namespace {

UndoStatus restoreSnapshot(CVandrelDoc& doc, int index) {
  const UndoHistory& history = doc.undo();
  const int interval = index >= 0 && index < history.count() ? history.intervalAt(index) : 0;
  const bool retimed = interval > 0 && interval != doc.params().intervalMs;
  {
    // Not committed: a restore is no new undo step; it only tells the observers.
    EditTransaction edit(doc);
    const int before = doc.table().columns();
    if (!edit.restore(index, retimed)) return UndoStatus::kInvalidArgument;
    if (doc.table().columns() != before || retimed) {
      ParameterSet& ps = edit.params();
      if (retimed) ps.intervalMs = interval;
      ps.frameCount = doc.table().columns();
      ps.fileLengthMs = static_cast<double>(ps.frameCount) * ps.intervalMs;
    }
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
