#include "table/MyCug.h"

#include <QContextMenuEvent>
#include <QMenu>

#include <memory>

#include "app/OpenDocument.h"
#include "editing/Anchors.h"

namespace vandrel::ui {

MyCug::MyCug(OpenDocument& document, QWidget* parent) : CUGExcel(parent), document_(document) {}

bool MyCug::acceptsTypedText(const QString& text) const {
  // A value starts with a digit, a sign or a decimal point; other letters
  // would only open an editor that then refuses what it holds.
  const QChar c = text.at(0);
  return c.isDigit() || c == QLatin1Char('-') || c == QLatin1Char('+') || c == QLatin1Char('.');
}

QMenu* MyCug::cellMenu(int row, int column) {
  auto* menu = new QMenu(this);
  OpenDocument* document = &document_;
  // The flag only: anchors are a matter of how the table is interpolated,
  // not of its values, so the document is not marked modified.
  menu->addAction(QStringLiteral("Add Anchor"), this,
                  [document, row, column] { vandrel::setCellAnchor(document->doc(), row, column, true); });
  menu->addAction(QStringLiteral("Remove Anchor"), this,
                  [document, row, column] { vandrel::setCellAnchor(document->doc(), row, column, false); });
  return menu;
}

void MyCug::contextMenuEvent(QContextMenuEvent* event) {
  const QModelIndex at = indexAt(event->pos());
  if (!at.isValid()) return;
  std::unique_ptr<QMenu> menu(cellMenu(at.row(), at.column()));
  menu->exec(event->globalPos());
}

vandrel::TableSelection MyCug::tableSelection() const {
  const GridSelection s = selection();
  switch (s.kind) {
    case GridSelection::kRow:
      return vandrel::TableSelection::wholeRow(s.row);
    case GridSelection::kColumn:
      return vandrel::TableSelection::wholeColumn(s.column);
    case GridSelection::kBlock:
      return vandrel::TableSelection::block(s.start.column, s.start.row, s.end.column, s.end.row);
    case GridSelection::kNone:
      break;
  }
  return vandrel::TableSelection::none();
}

void MyCug::showTableSelection(const vandrel::TableSelection& s) {
  GridSelection g;
  switch (s.kind) {
    case vandrel::SelectionKind::kRow:
      g.kind = GridSelection::kRow;
      g.row = s.row;
      break;
    case vandrel::SelectionKind::kColumn:
      g.kind = GridSelection::kColumn;
      g.column = s.column;
      break;
    case vandrel::SelectionKind::kBlock:
      g.kind = GridSelection::kBlock;
      g.start = GridCell{s.startRow, s.startColumn};
      g.end = GridCell{s.endRow, s.endColumn};
      break;
    case vandrel::SelectionKind::kNone:
      break;
  }
  showSelection(g);
}

}  // namespace vandrel::ui
