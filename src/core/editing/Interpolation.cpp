#include "editing/Interpolation.h"

#include <algorithm>
#include <vector>

#include "editing/AfterEdit.h"
#include "editing/EditTransaction.h"

namespace vandrel {

namespace {

bool inTable(const FrameTable& t, int row, int column) {
  return row >= 0 && row < t.rows() && column >= 0 && column < t.columns();
}

// The segment without a redraw; the transaction tells the observers once.
void fillSegment(EditTransaction& edit, int row, int a, int b) {
  if (a == b) return;
  FrameTable& t = edit.table();
  const double va = interpolationValue(t, row, a);
  const double vb = interpolationValue(t, row, b);
  const double step = (vb - va) / static_cast<double>(b - a);
  bool wrote = false;
  for (int k = 1; a + k < b; ++k) {
    if (!inTable(t, row, a + k)) continue;
    t.setValue(row, a + k, va + static_cast<double>(k) * step);
    wrote = true;
  }
  if (wrote) edit.note(CellRange{row, row, a + 1, b - 1});
}

}  // namespace

double interpolationValue(const FrameTable& table, int row, int column) {
  if (table.columns() == 0 || row < 0 || row >= table.rows()) return 0.0;
  return table.value(row, std::clamp(column, 0, table.columns() - 1));
}

void interpolateSegment(CVandrelDoc& doc, int row, int firstColumn, int lastColumn) {
  EditTransaction edit(doc);
  fillSegment(edit, row, firstColumn, lastColumn);
}

void interpolateRange(CVandrelDoc& doc, int c1, int r1, int c2, int r2, bool anchorsOnly) {
  EditTransaction edit(doc);
  const FrameTable& t = doc.table();
  if (c1 == -1) c1 = 0;
  if (r1 == -1) r1 = 0;
  if (c2 == -1) c2 = t.columns() - 1;
  if (r2 == -1) r2 = kParamCount - 1;

  std::vector<int> anchors;
  for (int r = std::max(r1, 0); r <= std::min(r2, kParamCount - 1); ++r) {
    anchors.clear();
    for (int c = std::max(c1, 0); c <= std::min(c2, t.columns() - 1); ++c)
      if (t.anchor(r, c)) anchors.push_back(c);

    if (!anchorsOnly && anchors.empty()) {
      fillSegment(edit, r, c1, c2);
      continue;
    }
    if (!anchorsOnly) fillSegment(edit, r, c1, anchors.front());
    for (std::size_t i = 1; i < anchors.size(); ++i) fillSegment(edit, r, anchors[i - 1], anchors[i]);
    if (!anchorsOnly) fillSegment(edit, r, anchors.back(), c2);
  }
}

void interpolateAll(CVandrelDoc& doc) { interpolateRange(doc, -1, -1, -1, -1, true); }

void interpolateSelectionCommand(CVandrelDoc& doc, TableSelection& selection) {
  TableSelection& sel = selection;
  switch (sel.kind) {
    case SelectionKind::kRow:
      interpolateRange(doc, 0, sel.row, doc.table().columns(), sel.row, false);
      break;
    case SelectionKind::kBlock:
      sel.exchangeBlockColumns();
      for (int r = sel.startRow; r <= sel.endRow; ++r)
        interpolateRange(doc, sel.startColumn, r, sel.endColumn, r, false);
      break;
    case SelectionKind::kColumn:
    case SelectionKind::kNone:
      break;
  }
  doc.markEdited();
  afterEditStep(doc);
}

void interpolateAllCommand(CVandrelDoc& doc) {
  interpolateAll(doc);
  doc.markEdited();
  afterEditStep(doc);
}

}  // namespace vandrel
