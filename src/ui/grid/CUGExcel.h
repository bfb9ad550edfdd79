#pragma once
// CUGExcel: a spreadsheet grid on QTableView for any table model. Rows and
// columns have one uniform size each (row height 20, or 0 for a hidden row),
// so a table of 100,000 columns costs only the cells that are painted. Side
// headings come from the model's vertical header data, top headings from its
// horizontal header data.
//
// Selection is spreadsheet-like and always exactly one of: a whole row (a
// click on its side heading), a whole column (a click on its top heading), a
// block (a click, a drag, Shift+click or Shift+arrows), or nothing. A block
// remembers the cell where it began and the cell where it ended, in the order
// the user made it. The grid says so through userSelectionChanged() only when
// the user changed it, never when the program shows a selection.
//
// Editing: keys that the subclass accepts (acceptsTypedText) open the current
// cell's editor with what was typed; Enter commits and moves down one shown
// row, Tab commits and moves right, Escape cancels. The model's setData is
// the "after the edit" notification.

#include <QAbstractItemDelegate>
#include <QTableView>

namespace vandrel::ui {

struct GridCell {
  int row = 0;
  int column = 0;
  bool operator==(const GridCell&) const = default;
};

struct GridSelection {
  enum Kind { kNone, kRow, kColumn, kBlock };
  Kind kind = kNone;
  int row = 0;     // kRow
  int column = 0;  // kColumn
  GridCell start;  // kBlock: where the selection began
  GridCell end;    // kBlock: where it ended
  bool operator==(const GridSelection&) const = default;
};

class CUGExcel : public QTableView {
  Q_OBJECT
 public:
  static constexpr int kRowHeight = 20;
  // What a column needs beside its widest text: the delegate's margins of 3
  // and 4 pixels, and some air between neighbouring values.
  static constexpr int kCellPadding = 12;

  explicit CUGExcel(QWidget* parent = nullptr);

  void setColumnWidth(int width);  // the one width of every column
  void setSideHeadingWidth(int width);

  // 0 hides the row, anything else shows it at the grid's row height.
  void setRowHeight(int row, int height);
  void setColumnShown(int column, bool shown);

  void redrawRow(int row);
  void redrawColumn(int column);
  void redrawAll();

  GridSelection selection() const { return selection_; }
  // Shows `s` as the selection without telling anyone (commands, undo).
  void showSelection(const GridSelection& s);

  GridCell currentCell() const;
  void setCurrentCell(int row, int column);  // moves the cursor, leaves the selection
  int firstShownRow() const;                 // -1 when every row is hidden
  bool isEditing() const { return state() == QAbstractItemView::EditingState; }

 signals:
  void userSelectionChanged();
  void currentCellChanged(int row, int column);

 protected:
  // Whether typing `text` on a cell starts editing it; by default any text.
  virtual bool acceptsTypedText(const QString& text) const;

  void keyPressEvent(QKeyEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void closeEditor(QWidget* editor, QAbstractItemDelegate::EndEditHint hint) override;
  void currentChanged(const QModelIndex& current, const QModelIndex& previous) override;
  void updateGeometries() override;

 private:
  void pickRow(int row);
  void pickColumn(int column);
  void pickBlock(GridCell start, GridCell end);
  void moveAfterEdit(CursorAction action);

  GridSelection selection_;
};

}  // namespace vandrel::ui
