#pragma once
// TableLabelStrip: above the table's column headings, one line per interval
// tier with the label of the interval each frame's middle falls in; frames of
// one interval share one cell, so the segments read across the table. It
// scrolls with the grid. A click on a cell chooses that interval: `chosen`
// gets its first and last frame and its time span.

#include <QWidget>

#include <functional>

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

  // The interval under a point: its first and last frame and its span in ms.
  struct Choice {
    int firstColumn = 0, lastColumn = 0;
    double startMs = 0, endMs = 0;
  };
  bool choiceAt(QPoint at, Choice& choice) const;
  std::function<void(const Choice&)> chosen;

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
