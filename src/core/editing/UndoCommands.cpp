#include "editing/UndoCommands.h"

#include <algorithm>

namespace vandrel {

UndoStatus restoreSnapshot(CVandrelDoc& doc, int index) {
  const int before = doc.table.columns();
  if (!doc.undo.restore(index, doc.table)) return UndoStatus::kInvalidArgument;
  ParameterSet& ps = doc.params();
  const int interval = doc.undo.intervalAt(index);
  const bool retimed = interval > 0 && interval != ps.intervalMs;
  if (retimed) ps.intervalMs = interval;
  if (doc.table.columns() != before || retimed) {
    ps.frameCount = doc.table.columns();
    ps.fileLengthMs = static_cast<double>(ps.frameCount) * ps.intervalMs;
    doc.notifyStructureChanged();
  } else if (before > 0) {
    doc.notifyCellsChanged(CellRange{0, kParamCount - 1, 0, before - 1});
  }
  if (doc.undo.labelsAt(index) != doc.labels) {
    doc.labels = doc.undo.labelsAt(index);
    doc.notifyLabelsChanged();
  }
  doc.markEdited();
  doc.tableChanged = false;
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
