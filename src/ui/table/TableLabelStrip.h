#pragma once
// TableLabelStrip: above the table's column headings, one line per interval
// tier with the label of the interval each frame's middle falls in; frames of
// one interval share one cell, so the segments read across the table. It
// scrolls with the grid. A click on a cell chooses that interval in the
// document's workspace, as a click on a tier in the other windows does.

#include <QWidget>

#include <optional>

#include "common/Workspace.h"

class QTableView;

namespace vandrel::ui {

class OpenDocument;

class TableLabelStrip : public QWidget {
  Q_OBJECT
 public:
  TableLabelStrip(OpenDocument& document, QTableView& grid, QWidget* parent = nullptr);

  static constexpr int kLineHeight = 18;

  QSize sizeHint() const override;
  QSize minimumSizeHint() const override { return sizeHint(); }

  // The span of the interval under a point, in ms.
  std::optional<TimeRange> intervalAt(QPoint at) const;

 protected:
  void paintEvent(QPaintEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;

 private:
  void refresh();
  // The interval tiers' indices in the document's labels.
  std::vector<std::size_t> intervalTiers() const;
  // The interval of tier `tier` holding frame `column`'s middle, or -1.
  long intervalOfColumn(std::size_t tier, int column) const;
  int columnX(int column) const;

  OpenDocument& document_;
  QTableView& grid_;
};

}  // namespace vandrel::ui
