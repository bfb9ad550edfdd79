#pragma once
// GridDelegate: draws a grid cell in the plainest way - its background (or
// the selection colour), its text in its alignment, a frame round the
// view's current cell - without the style's per-item machinery. A screen of a long
// table is a thousand cells, repainted on every scroll step, and the style's
// item drawing costs several times as much per cell. Editing keeps the
// styled delegate's line edit.

#include <QStyledItemDelegate>

namespace vandrel::ui {

class GridDelegate : public QStyledItemDelegate {
  Q_OBJECT
 public:
  using QStyledItemDelegate::QStyledItemDelegate;

  void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
};

}  // namespace vandrel::ui
