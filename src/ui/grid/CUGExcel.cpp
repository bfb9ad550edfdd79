#include "grid/CUGExcel.h"

#include <QHeaderView>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QScrollBar>

#include "grid/GridDelegate.h"

namespace vandrel::ui {

CUGExcel::CUGExcel(QWidget* parent) : QTableView(parent) {
  for (QHeaderView* h : {horizontalHeader(), verticalHeader()}) {
    h->setSectionResizeMode(QHeaderView::Fixed);
    h->setSectionsClickable(true);
    h->setHighlightSections(true);
    // The view selects whole rows and columns through these signals; ours
    // replace them so that a heading click is one row or column, never a
    // range grown by Shift or by dragging over the headings.
    disconnect(h, &QHeaderView::sectionPressed, this, nullptr);
    disconnect(h, &QHeaderView::sectionEntered, this, nullptr);
  }
  verticalHeader()->setDefaultSectionSize(kRowHeight);
  verticalHeader()->setMinimumSectionSize(0);
  horizontalHeader()->setDefaultSectionSize(52);
  horizontalHeader()->setDefaultAlignment(Qt::AlignCenter);
  verticalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
  connect(verticalHeader(), &QHeaderView::sectionPressed, this, [this](int row) {
    pickRow(row);
    emit userSelectionChanged();
  });
  connect(horizontalHeader(), &QHeaderView::sectionPressed, this, [this](int column) {
    pickColumn(column);
    emit userSelectionChanged();
  });

  setItemDelegate(new GridDelegate(this));
  setSelectionMode(QAbstractItemView::ContiguousSelection);
  setSelectionBehavior(QAbstractItemView::SelectItems);
  setEditTriggers(QAbstractItemView::AnyKeyPressed | QAbstractItemView::DoubleClicked |
                  QAbstractItemView::EditKeyPressed);
  setTabKeyNavigation(true);  // Tab moves right, as it does after typing a value
  setWordWrap(false);
  setCornerButtonEnabled(false);
  setHorizontalScrollMode(QAbstractItemView::ScrollPerItem);
  setFocusPolicy(Qt::StrongFocus);
}

void CUGExcel::setColumnWidth(int width) { horizontalHeader()->setDefaultSectionSize(width); }

void CUGExcel::setSideHeadingWidth(int width) { verticalHeader()->setFixedWidth(width); }

void CUGExcel::setRowHeight(int row, int height) {
  if (height <= 0) {
    setRowHidden(row, true);
    return;
  }
  setRowHidden(row, false);
  verticalHeader()->resizeSection(row, height);
}

void CUGExcel::setColumnShown(int column, bool shown) { setColumnHidden(column, !shown); }

void CUGExcel::redrawRow(int row) {
  viewport()->update(0, rowViewportPosition(row), viewport()->width(), rowHeight(row));
  verticalHeader()->viewport()->update();
}

void CUGExcel::redrawColumn(int column) {
  viewport()->update(columnViewportPosition(column), 0, columnWidth(column), viewport()->height());
}

void CUGExcel::redrawAll() {
  viewport()->update();
  horizontalHeader()->viewport()->update();
  verticalHeader()->viewport()->update();
}

GridCell CUGExcel::currentCell() const {
  const QModelIndex i = currentIndex();
  return i.isValid() ? GridCell{i.row(), i.column()} : GridCell{firstShownRow(), 0};
}

void CUGExcel::setCurrentCell(int row, int column) {
  if (!model()) return;
  const QModelIndex i = model()->index(row, column);
  if (i.isValid()) selectionModel()->setCurrentIndex(i, QItemSelectionModel::NoUpdate);
}

int CUGExcel::firstShownRow() const {
  if (!model()) return -1;
  for (int r = 0; r < model()->rowCount(); ++r)
    if (!isRowHidden(r)) return r;
  return -1;
}

void CUGExcel::showSelection(const GridSelection& s) {
  selection_ = s;
  QAbstractItemModel* m = model();
  if (!m || !selectionModel()) return;
  const int rows = m->rowCount();
  const int columns = m->columnCount();
  QItemSelection shown;
  switch (s.kind) {
    case GridSelection::kNone:
      break;
    case GridSelection::kRow:
      if (s.row >= 0 && s.row < rows && columns > 0)
        shown.select(m->index(s.row, 0), m->index(s.row, columns - 1));
      break;
    case GridSelection::kColumn:
      if (s.column >= 0 && s.column < columns)
        shown.select(m->index(0, s.column), m->index(rows - 1, s.column));
      break;
    case GridSelection::kBlock: {
      const QModelIndex a =
          m->index(std::min(s.start.row, s.end.row), std::min(s.start.column, s.end.column));
      const QModelIndex b =
          m->index(std::max(s.start.row, s.end.row), std::max(s.start.column, s.end.column));
      if (a.isValid() && b.isValid()) shown.select(a, b);
      break;
    }
  }
  selectionModel()->select(shown, QItemSelectionModel::ClearAndSelect);
}

void CUGExcel::pickRow(int row) {
  const GridCell c = currentCell();
  setCurrentCell(row, std::max(c.column, 0));
  showSelection(GridSelection{GridSelection::kRow, row, 0, {}, {}});
}

void CUGExcel::pickColumn(int column) {
  const GridCell c = currentCell();
  setCurrentCell(isRowHidden(c.row) ? firstShownRow() : c.row, column);
  showSelection(GridSelection{GridSelection::kColumn, 0, column, {}, {}});
}

void CUGExcel::pickBlock(GridCell start, GridCell end) {
  showSelection(GridSelection{GridSelection::kBlock, 0, 0, start, end});
}

bool CUGExcel::acceptsTypedText(const QString&) const { return true; }

void CUGExcel::keyPressEvent(QKeyEvent* event) {
  const QString text = event->text();
  const bool typing = !text.isEmpty() && text.at(0).isPrint() &&
                      !(event->modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier));
  if (typing && !acceptsTypedText(text)) {
    event->ignore();
    return;
  }
  if ((event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) && !isEditing() &&
      event->modifiers() == Qt::NoModifier) {
    moveAfterEdit(MoveDown);  // Enter steps down a column, with or without typing first
    return;
  }
  const GridCell before = currentCell();
  const GridSelection old = selection_;
  QTableView::keyPressEvent(event);
  const GridCell after = currentCell();
  if (after == before || state() == QAbstractItemView::EditingState) return;
  // A move of the cursor: Shift grows the block from where it began, any
  // other move starts a new one-cell block.
  if (event->modifiers() & Qt::ShiftModifier)
    pickBlock(old.kind == GridSelection::kBlock ? old.start : before, after);
  else
    pickBlock(after, after);
  if (selection_ != old) emit userSelectionChanged();
}

void CUGExcel::mousePressEvent(QMouseEvent* event) {
  const QModelIndex at = indexAt(event->position().toPoint());
  const GridCell before = currentCell();
  const GridSelection old = selection_;
  QTableView::mousePressEvent(event);
  if (!at.isValid() || event->button() != Qt::LeftButton) return;
  const GridCell cell{at.row(), at.column()};
  if (event->modifiers() & Qt::ShiftModifier)
    pickBlock(old.kind == GridSelection::kBlock ? old.start : before, cell);
  else
    pickBlock(cell, cell);
  if (selection_ != old) emit userSelectionChanged();
}

void CUGExcel::mouseMoveEvent(QMouseEvent* event) {
  QTableView::mouseMoveEvent(event);
  if (!(event->buttons() & Qt::LeftButton) || selection_.kind != GridSelection::kBlock) return;
  const QModelIndex at = indexAt(event->position().toPoint());
  if (!at.isValid()) return;
  const GridSelection old = selection_;
  pickBlock(selection_.start, GridCell{at.row(), at.column()});
  if (selection_ != old) emit userSelectionChanged();
}

void CUGExcel::closeEditor(QWidget* editor, QAbstractItemDelegate::EndEditHint hint) {
  switch (hint) {
    case QAbstractItemDelegate::EditNextItem:  // Tab
      QTableView::closeEditor(editor, QAbstractItemDelegate::NoHint);
      moveAfterEdit(MoveRight);
      break;
    case QAbstractItemDelegate::EditPreviousItem:  // Shift+Tab
      QTableView::closeEditor(editor, QAbstractItemDelegate::NoHint);
      moveAfterEdit(MoveLeft);
      break;
    case QAbstractItemDelegate::SubmitModelCache:  // Enter
      QTableView::closeEditor(editor, QAbstractItemDelegate::NoHint);
      moveAfterEdit(MoveDown);
      break;
    default:
      QTableView::closeEditor(editor, hint);
  }
}

void CUGExcel::moveAfterEdit(CursorAction action) {
  const QModelIndex next = moveCursor(action, Qt::NoModifier);
  if (!next.isValid() || next == currentIndex()) return;
  setCurrentCell(next.row(), next.column());
  const GridSelection old = selection_;
  pickBlock(GridCell{next.row(), next.column()}, GridCell{next.row(), next.column()});
  if (selection_ != old) emit userSelectionChanged();
}

void CUGExcel::updateGeometries() {
  QTableView::updateGeometries();
  // When the window grows, the scroll bars' ranges shrink and cut their values
  // back, but the headings can keep the offset of the old value (rows hidden
  // while the window was small and behind another): the cells are then drawn
  // from a column far past the value and the rest of the window stays blank.
  // Put the headings back where the scroll bars say.
  const auto align = [](QHeaderView* h, const QScrollBar* bar) {
    const int before = h->offset();
    if (bar->maximum() > 0 && bar->value() == bar->maximum())
      h->setOffsetToLastSection();
    else
      h->setOffsetToSectionPosition(bar->value());
    return h->offset() != before;
  };
  bool moved = false;
  if (horizontalScrollMode() == ScrollPerItem) moved |= align(horizontalHeader(), horizontalScrollBar());
  if (verticalScrollMode() == ScrollPerItem) moved |= align(verticalHeader(), verticalScrollBar());
  if (moved) viewport()->update();
}

void CUGExcel::currentChanged(const QModelIndex& current, const QModelIndex& previous) {
  QTableView::currentChanged(current, previous);
  if (current.isValid()) emit currentCellChanged(current.row(), current.column());
}

}  // namespace vandrel::ui
