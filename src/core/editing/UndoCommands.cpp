#include "editing/UndoCommands.h"

#include <algorithm>

#include "editing/EditTransaction.h"

namespace vandrel {

UndoStatus restoreSnapshot(CVandrelDoc& doc, int index) {
  const int before = doc.table().columns();
  {
    // Not committed: a restore is no new undo step; it only tells the observers.
    EditTransaction edit(doc);
    if (!doc.undo.restore(index, edit.table())) return UndoStatus::kInvalidArgument;
    ParameterSet& ps = doc.params();
    const int interval = doc.undo.intervalAt(index);
    const bool retimed = interval > 0 && interval != ps.intervalMs;
    if (retimed) ps.intervalMs = interval;
    if (doc.table().columns() != before || retimed) {
      ps.frameCount = doc.table().columns();
      ps.fileLengthMs = static_cast<double>(ps.frameCount) * ps.intervalMs;
      edit.noteResized();
    } else if (before > 0) {
      edit.note(CellRange{0, kParamCount - 1, 0, before - 1});
    }
  }
  if (doc.undo.labelsAt(index) != doc.labels()) {
    doc.setLabels(doc.undo.labelsAt(index));
  }
  doc.markEdited();
  doc.setTableChanged(false);
  return UndoStatus::kRestored;
}

UndoStatus undoCommand(CVandrelDoc& doc) {
  doc.undo.setCurrent(std::max(doc.undo.current() - 1, 0));
  return restoreSnapshot(doc, doc.undo.current());
}

UndoStatus redoCommand(CVandrelDoc& doc) {
  doc.undo.setCurrent(std::min(doc.undo.current() + 1, doc.undo.count() - 1));
  return restoreSnapshot(doc, doc.undo.current());
}

}  // namespace vandrel
