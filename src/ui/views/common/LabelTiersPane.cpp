#include "views/common/LabelTiersPane.h"

#include <QContextMenuEvent>
#include <QLineEdit>
#include <QMenu>
#include <QMouseEvent>
#include <QPainter>

#include <algorithm>
#include <cmath>

#include "app/OpenDocument.h"
#include "common/Messages.h"
#include "common/Workspace.h"
#include "labels/DocumentLabels.h"
#include "views/common/LabelTiersPainter.h"
#include "views/common/TimeAxis.h"

namespace vandrel::ui {

namespace {

constexpr double kGrabPixels = 4.0;

QString qt(const std::string& s) { return QString::fromStdString(s); }

}  // namespace

LabelTiersPane::LabelTiersPane(OpenDocument& document, TimeAxis& axis, QWidget* parent)
    : QWidget(parent), document_(document), axis_(axis) {
  setObjectName(QStringLiteral("labelTiers"));
  setMouseTracking(true);
  setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
  connect(&document_, &OpenDocument::labelsChanged, this, &LabelTiersPane::labelsChanged);
  connect(&axis_, &TimeAxis::changed, this, qOverload<>(&QWidget::update));
  Workspace& cursor = Workspace::of(document_);
  connect(&cursor, &Workspace::selectionChanged, this, qOverload<>(&QWidget::update));
}

const vandrel::Labels& LabelTiersPane::labels() const {
  return dragging_ ? *dragging_ : vandrel::documentLabels(document_.doc());
}

QSize LabelTiersPane::sizeHint() const {
  const int tiers = std::max<int>(1, static_cast<int>(labels().tiers.size()));
  return {200, tiers * kTierHeight + 1};
}

QRect LabelTiersPane::tierRect(int tier) const { return {0, tier * kTierHeight, width(), kTierHeight}; }

int LabelTiersPane::tierAt(int y) const {
  const int tier = y / kTierHeight;
  return y >= 0 && tier < static_cast<int>(labels().tiers.size()) ? tier : -1;
}

double LabelTiersPane::documentLengthMs() const {
  const vandrel::CVandrelDoc& doc = document_.doc();
  double ms = static_cast<double>(doc.table().columns()) * doc.params().intervalMs;
  if (doc.audio().sampleRate > 0)
    ms = std::max(ms, 1000.0 * doc.audio().sampleCount / doc.audio().sampleRate);
  return ms;
}

void LabelTiersPane::labelsChanged() {
  dragging_.reset();
  updateGeometry();
  update();
}

void LabelTiersPane::warnRefusal(const std::string& why) {
  if (!why.empty()) warn(this, qt(why));
}

void LabelTiersPane::paintEvent(QPaintEvent*) {
  if (followAxis) followAxis(axis_);
  QPainter p(this);
  p.fillRect(rect(), palette().base());
  const vandrel::Labels& g = labels();
  if (g.tiers.empty()) {
    p.setPen(palette().color(QPalette::PlaceholderText));
    p.drawText(rect().adjusted(6, 0, -6, 0), Qt::AlignVCenter | Qt::AlignLeft,
               tr("No labels: File > Open Labels..., or right-click to add a tier"));
    return;
  }
  paintLabelTiers(p, g, axis_.map(), rect(), kTierHeight, TierColors::screen(palette()),
                  Workspace::of(document_).selection());
}

std::optional<std::size_t> LabelTiersPane::boundaryNear(int tier, double x) const {
  if (tier < 0) return std::nullopt;
  const vandrel::LabelTier& t = labels().tiers[static_cast<std::size_t>(tier)];
  const TimeMap map = axis_.map();
  std::optional<std::size_t> best;
  double bestDistance = kGrabPixels;
  const std::size_t n = t.pointTier ? t.points.size() : t.intervals.size();
  for (std::size_t i = t.pointTier ? 0 : 1; i < n; ++i) {
    const double at = t.pointTier ? t.points[i].time : t.intervals[i].start;
    const double d = std::fabs(map.xOf(at * 1000.0) - x);
    if (d <= bestDistance) {
      bestDistance = d;
      best = i;
    }
  }
  return best;
}

void LabelTiersPane::mousePressEvent(QMouseEvent* event) {
  if (followAxis) followAxis(axis_);
  const int tier = tierAt(event->pos().y());
  if (event->button() != Qt::LeftButton || tier < 0 || event->pos().x() < axis_.left()) return;
  if (const auto b = boundaryNear(tier, event->position().x())) {
    dragging_ = vandrel::documentLabels(document_.doc());
    dragTier_ = tier;
    dragBoundary_ = *b;
    return;
  }
  const vandrel::LabelTier& t = labels().tiers[static_cast<std::size_t>(tier)];
  const double ms = axis_.msAt(event->position().x());
  if (const auto i = t.intervalAt(ms / 1000.0)) {
    Workspace& cursor = Workspace::of(document_);
    cursor.setTimeMs(t.intervals[*i].start * 1000.0);
    cursor.chooseInterval(t.intervals[*i].start * 1000.0, t.intervals[*i].end * 1000.0);
  } else {
    Workspace::of(document_).setTimeMs(ms);
  }
}

void LabelTiersPane::mouseMoveEvent(QMouseEvent* event) {
  if (!dragging_) {
    const int tier = tierAt(event->pos().y());
    setCursor(boundaryNear(tier, event->position().x()) ? Qt::SplitHCursor : Qt::ArrowCursor);
    return;
  }
  const double seconds = axis_.msAt(event->position().x()) / 1000.0;
  vandrel::moveBoundary(*dragging_, static_cast<std::size_t>(dragTier_), dragBoundary_, seconds);
  update();
}

void LabelTiersPane::mouseReleaseEvent(QMouseEvent*) {
  if (!dragging_) return;
  vandrel::Labels moved = std::move(*dragging_);
  dragging_.reset();
  if (moved != vandrel::documentLabels(document_.doc()))
    vandrel::commitLabels(document_.doc(), std::move(moved));
  update();
}

void LabelTiersPane::mouseDoubleClickEvent(QMouseEvent* event) {
  const int tier = tierAt(event->pos().y());
  if (tier < 0) return;
  if (event->pos().x() < axis_.left()) {
    editText(tier, std::nullopt);
    return;
  }
  const vandrel::LabelTier& t = labels().tiers[static_cast<std::size_t>(tier)];
  const double seconds = axis_.msAt(event->position().x()) / 1000.0;
  if (t.pointTier) {
    if (const auto b = boundaryNear(tier, event->position().x())) editText(tier, b);
  } else if (const auto i = t.intervalAt(seconds)) {
    editText(tier, i);
  }
}

// An editor over the interval (or the name, for no index); Return commits
// the text as one edit, Escape or leaving it drops it.
void LabelTiersPane::editText(int tier, std::optional<std::size_t> index) {
  const vandrel::LabelTier& t = labels().tiers[static_cast<std::size_t>(tier)];
  QRect where(2, tierRect(tier).top(), std::max(60, axis_.left() - 4), kTierHeight);
  QString current = qt(t.name);
  if (index) {
    const double at = t.pointTier ? t.points[*index].time : t.intervals[*index].start;
    const double a = axis_.xOf(at * 1000.0);
    const double b = t.pointTier ? a + 120 : axis_.xOf(t.intervals[*index].end * 1000.0);
    where = QRect(static_cast<int>(std::max(a, double(axis_.left()))), tierRect(tier).top(),
                  std::max(80, static_cast<int>(b - a)), kTierHeight);
    current = qt(t.pointTier ? t.points[*index].mark : t.intervals[*index].text);
  }
  delete editor_;
  editor_ = new QLineEdit(current, this);
  editor_->setObjectName(QStringLiteral("labelEditor"));
  editor_->setGeometry(where.intersected(rect()).isEmpty() ? where : where.intersected(rect()));
  editor_->selectAll();
  editor_->show();
  editor_->setFocus();
  QLineEdit* editor = editor_;
  connect(editor, &QLineEdit::returnPressed, this, [this, editor, tier, index] {
    const std::string text = editor->text().toStdString();
    editor->deleteLater();
    editor_ = nullptr;
    warnRefusal(vandrel::editLabels(document_.doc(), [&](vandrel::Labels& g) -> std::string {
      if (static_cast<std::size_t>(tier) >= g.tiers.size()) return "the tier is gone";
      if (!index) {
        g.tiers[static_cast<std::size_t>(tier)].name = text;
        return {};
      }
      return vandrel::setLabelText(g, static_cast<std::size_t>(tier), *index, text);
    }));
  });
  connect(editor, &QLineEdit::editingFinished, editor, [this, editor] {
    if (editor_ == editor) editor_ = nullptr;
    editor->deleteLater();
  });
}

void LabelTiersPane::addTier(bool pointTier) {
  const auto& g = labels();
  const std::string name = (pointTier ? "points " : "tier ") + std::to_string(g.tiers.size() + 1);
  const double end = documentLengthMs() / 1000.0;
  warnRefusal(vandrel::editLabels(
      document_.doc(), [&](vandrel::Labels& l) { return vandrel::addTier(l, name, pointTier, 0.0, end); }));
}

void LabelTiersPane::addBoundaryAtCursor(int tier) {
  const double seconds = Workspace::of(document_).timeMs() / 1000.0;
  warnRefusal(vandrel::editLabels(document_.doc(), [&](vandrel::Labels& l) {
    return vandrel::addBoundary(l, static_cast<std::size_t>(tier), seconds);
  }));
}

void LabelTiersPane::removeBoundaryNear(int tier, double ms) {
  const auto b = boundaryNear(tier, axis_.xOf(ms));
  if (!b) return;
  warnRefusal(vandrel::editLabels(document_.doc(), [&](vandrel::Labels& l) {
    return vandrel::removeBoundary(l, static_cast<std::size_t>(tier), *b);
  }));
}

void LabelTiersPane::removeTier(int tier) {
  warnRefusal(vandrel::editLabels(document_.doc(), [&](vandrel::Labels& l) {
    return vandrel::removeTier(l, static_cast<std::size_t>(tier));
  }));
}

void LabelTiersPane::contextMenuEvent(QContextMenuEvent* event) {
  const int tier = tierAt(event->pos().y());
  const double ms = axis_.msAt(event->pos().x());
  QMenu menu(this);
  menu.addAction(tr("Add Interval Tier"), this, [this] { addTier(false); });
  menu.addAction(tr("Add Point Tier"), this, [this] { addTier(true); });
  if (tier >= 0) {
    menu.addSeparator();
    menu.addAction(tr("Add Boundary at the Cursor"), this, [this, tier] { addBoundaryAtCursor(tier); });
    QAction* remove =
        menu.addAction(tr("Remove Boundary"), this, [this, tier, ms] { removeBoundaryNear(tier, ms); });
    remove->setEnabled(boundaryNear(tier, event->pos().x()).has_value());
    menu.addAction(tr("Remove Tier"), this, [this, tier] { removeTier(tier); });
  }
  menu.exec(event->globalPos());
}

}  // namespace vandrel::ui
