#include "table/FrameTableModel.h"

#include <algorithm>
#include <cmath>

#include "app/OpenDocument.h"
#include "editing/CellEdit.h"
#include "editing/Clipboard.h"

namespace vandrel::ui {

namespace {

QColor toQColor(Colorref c) { return QColor(redOf(c), greenOf(c), blueOf(c)); }

QString fromView(std::string_view s) { return QString::fromUtf8(s.data(), static_cast<qsizetype>(s.size())); }

}  // namespace

FrameTableModel::FrameTableModel(OpenDocument& document, QObject* parent)
    : QAbstractTableModel(parent), document_(document), columns_(document.doc().table().columns()) {
  connect(&document_, &OpenDocument::cellsChanged, this, &FrameTableModel::onCellsChanged);
  connect(&document_, &OpenDocument::structureChanged, this, &FrameTableModel::onStructureChanged);
}

int FrameTableModel::rowCount(const QModelIndex& parent) const { return parent.isValid() ? 0 : kParamCount; }

int FrameTableModel::columnCount(const QModelIndex& parent) const { return parent.isValid() ? 0 : columns_; }

QString FrameTableModel::formatValue(double v) {
  // The clipboard and the printout write values the same way: one rule for all.
  return QString::fromStdString(vandrel::formatCellValue(v));
}

QVariant FrameTableModel::data(const QModelIndex& index, int role) const {
  const FrameTable& table = document_.doc().table();
  const int row = index.row();
  const int column = index.column();
  if (!index.isValid() || column >= table.columns()) return {};
  switch (role) {
    case Qt::DisplayRole:
    case Qt::EditRole:
      return formatValue(table.value(row, column));
    case Qt::TextAlignmentRole:
      return static_cast<int>(Qt::AlignRight | Qt::AlignVCenter);
    case Qt::BackgroundRole: {
      const CVandrelDoc& doc = document_.doc();
      return toQColor(table.anchor(row, column) ? doc.anchorColor() : doc.params().at(row).color);
    }
    case Qt::ForegroundRole:
      return QColor(Qt::black);
    default:
      return {};
  }
}

bool FrameTableModel::setData(const QModelIndex& index, const QVariant& value, int role) {
  if (!index.isValid() || role != Qt::EditRole) return false;
  // The core clamps, runs the after-edit hook and tells every view; the cell
  // is repainted from that notification, not from here.
  return vandrel::editCellText(document_.doc(), index.row(), index.column(), value.toString().toStdString());
}

Qt::ItemFlags FrameTableModel::flags(const QModelIndex& index) const {
  if (!index.isValid()) return Qt::NoItemFlags;
  return Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsEditable;
}

QString FrameTableModel::rowToolTip(int row) const {
  const ParamDef& p = document_.doc().params().at(row);
  return QStringLiteral("%1\nLimits: %2 to %3\nDefault: %4")
      .arg(fromView(p.description).trimmed())
      .arg(p.lower)
      .arg(p.upper)
      .arg(p.defaultValue);
}

QVariant FrameTableModel::headerData(int section, Qt::Orientation orientation, int role) const {
  const CVandrelDoc& doc = document_.doc();
  if (orientation == Qt::Horizontal) {
    if (role == Qt::DisplayRole) return QString::number(doc.params().intervalMs * (section + 1));
    return {};
  }
  if (section < 0 || section >= kParamCount) return {};
  switch (role) {
    case Qt::DisplayRole:
      return fromView(doc.params().at(section).name);
    case Qt::ToolTipRole:
      return rowToolTip(section);
    default:
      return {};
  }
}

void FrameTableModel::onCellsChanged(const vandrel::CellRange& cells) {
  const int r0 = std::max(cells.firstRow, 0);
  const int r1 = std::min(cells.lastRow, kParamCount - 1);
  const int c0 = std::max(cells.firstColumn, 0);
  const int c1 = std::min(cells.lastColumn, columns_ - 1);
  if (r0 > r1 || c0 > c1) return;
  emit dataChanged(index(r0, c0), index(r1, c1), {Qt::DisplayRole, Qt::EditRole, Qt::BackgroundRole});
}

void FrameTableModel::onStructureChanged() {
  emit aboutToRebuild();
  beginResetModel();
  columns_ = document_.doc().table().columns();
  endResetModel();
  emit rebuilt();
}

}  // namespace vandrel::ui
