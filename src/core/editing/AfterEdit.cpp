#include "editing/AfterEdit.h"

namespace vandrel {

void afterEditStep(CVandrelDoc& doc) {
  doc.takeSnapshot();
  doc.setTableChanged(true);
}

void keepTableBeforeEdit(CVandrelDoc& doc, std::initializer_list<int> rows) {
  const UndoHistory& h = doc.undo();
  const int at = h.current();
  bool same = at >= 0 && at < h.count() && h.columnsAt(at) == doc.table().columns();
  for (const int row : rows)
    for (int c = 0; same && c < doc.table().columns(); ++c)
      same = h.valueAt(at, row, c) == UndoHistory::wholeValue(doc.table().value(row, c));
  if (same) return;
  doc.takeSnapshot(true);
}

}  // namespace vandrel
