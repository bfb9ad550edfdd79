#include "grid/GridDelegate.h"

#include <QAbstractItemView>
#include <QPainter>

namespace vandrel::ui {

namespace {

int alignmentOf(const QVariant& v) {
  if (!v.isValid()) return Qt::AlignLeft | Qt::AlignVCenter;
  if (v.metaType() == QMetaType::fromType<Qt::Alignment>()) return static_cast<int>(v.value<Qt::Alignment>());
  return v.toInt();
}

}  // namespace

void GridDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                         const QModelIndex& index) const {
  const QRect r = option.rect;
  const bool selected = (option.state & QStyle::State_Selected) != 0;
  QColor background = option.palette.color(QPalette::Base);
  QColor text = option.palette.color(QPalette::Text);
  if (selected) {
    background = option.palette.color(QPalette::Highlight);
    text = option.palette.color(QPalette::HighlightedText);
  } else {
    const QVariant b = index.data(Qt::BackgroundRole);
    if (b.isValid()) background = b.value<QColor>();
    const QVariant f = index.data(Qt::ForegroundRole);
    if (f.isValid()) text = f.value<QColor>();
  }
  painter->fillRect(r, background);
  painter->setPen(text);
  painter->drawText(r.adjusted(3, 0, -4, 0), alignmentOf(index.data(Qt::TextAlignmentRole)),
                    index.data(Qt::DisplayRole).toString());
  // The current cell keeps its frame while the focus is elsewhere (a menu, a
  // dialog, another window), thinner, so the user still sees where typing
  // would go.
  const auto* view = qobject_cast<const QAbstractItemView*>(parent());
  if (view && view->currentIndex() == index) {
    const bool focused = (option.state & QStyle::State_HasFocus) != 0;
    painter->setPen(QPen(option.palette.color(QPalette::WindowText), focused ? 2 : 1));
    painter->drawRect(focused ? r.adjusted(1, 1, -1, -1) : r.adjusted(0, 0, -1, -1));
  }
}

}  // namespace vandrel::ui
