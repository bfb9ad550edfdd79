#pragma once
// FrameTableModel: the document's frame table as a Qt table model - 48 rows,
// one per parameter in storage order (hidden rows are hidden by the grid, not
// left out), one column per frame. It holds no copy of the values: data()
// reads the frame table, and setData() asks the core to edit the cell and
// returns. What the screen shows changes only through the document's
// notifications, so an edit, an undo, an interpolation and a paste all reach
// the grid the same way.

#include <QAbstractTableModel>
#include <QColor>

namespace vandrel {
struct CellRange;
}  // namespace vandrel

namespace vandrel::ui {

class OpenDocument;

class FrameTableModel : public QAbstractTableModel {
  Q_OBJECT
 public:
  FrameTableModel(OpenDocument& document, QObject* parent = nullptr);

  int rowCount(const QModelIndex& parent = {}) const override;
  int columnCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  bool setData(const QModelIndex& index, const QVariant& value, int role) override;
  Qt::ItemFlags flags(const QModelIndex& index) const override;
  QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

  // A cell's value as the table shows it: whole numbers as integers, the
  // fractions that interpolation leaves with up to two decimals.
  static QString formatValue(double v);

  // The side heading's tool tip: description, limits and default.
  QString rowToolTip(int row) const;

 signals:
  // Around a rebuild for a new structure (columns, shown rows, colours).
  void aboutToRebuild();
  void rebuilt();

 private:
  void onCellsChanged(const vandrel::CellRange& cells);
  void onStructureChanged();

  OpenDocument& document_;
  int columns_ = 0;  // as the views know it, until the next reset
};

}  // namespace vandrel::ui
