#pragma once
// LabelTiersPane: a document's label tiers drawn on a window's time axis,
// one band per tier under the window's own panes, the tier's name in the
// margin left of the time axis.
//
// A click on an interval selects its time span in every window of the
// document (the workspace's selection, which Play and Loop play, and its
// frames in the tables); a
// drag near a boundary moves it (one undo step when let go); a double click
// types the interval's text, or the tier's name in the margin. The right
// button's menu adds tiers, adds a boundary at the cursor and removes one.
// Every change is one core edit of the document's labels.

#include <QWidget>

#include <functional>
#include <optional>

#include "labels/Labels.h"

class QLineEdit;

namespace vandrel::ui {

class OpenDocument;
class TimeAxis;

class LabelTiersPane : public QWidget {
  Q_OBJECT
 public:
  LabelTiersPane(OpenDocument& document, TimeAxis& axis, QWidget* parent = nullptr);

  static constexpr int kTierHeight = 22;

  QSize sizeHint() const override;
  QSize minimumSizeHint() const override { return sizeHint(); }

  // Where tier `tier` is drawn, and the tier and interval under a point.
  QRect tierRect(int tier) const;
  int tierAt(int y) const;

  // For a window without a time axis of its own: brings `axis` up to date
  // with the window's drawing before the pane draws or is clicked.
  std::function<void(TimeAxis&)> followAxis;

  // The menu's commands, also for tests.
  void addTier(bool pointTier);
  void addBoundaryAtCursor(int tier);
  void removeBoundaryNear(int tier, double ms);
  void removeTier(int tier);

 protected:
  void paintEvent(QPaintEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  void contextMenuEvent(QContextMenuEvent* event) override;

 private:
  const vandrel::Labels& labels() const;
  // The boundary of `tier` within a few pixels of x: the interval it starts
  // (or the point's index), or none.
  std::optional<std::size_t> boundaryNear(int tier, double x) const;
  double documentLengthMs() const;
  void labelsChanged();
  void editText(int tier, std::optional<std::size_t> index);
  void warnRefusal(const std::string& why);

  OpenDocument& document_;
  TimeAxis& axis_;
  // A drag in progress: the labels as they will be committed when let go.
  std::optional<vandrel::Labels> dragging_;
  int dragTier_ = -1;
  std::size_t dragBoundary_ = 0;
  QLineEdit* editor_ = nullptr;
};

}  // namespace vandrel::ui
