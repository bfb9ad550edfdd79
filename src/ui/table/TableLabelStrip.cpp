#include "table/TableLabelStrip.h"

#include <QHeaderView>
#include <QMouseEvent>
#include <QPainter>
#include <QScrollBar>
#include <QTableView>

#include "app/OpenDocument.h"
#include "common/Workspace.h"
#include "labels/DocumentLabels.h"

namespace vandrel::ui {

TableLabelStrip::TableLabelStrip(OpenDocument& document, QTableView& grid, QWidget* parent)
    : QWidget(parent), document_(document), grid_(grid) {
  setObjectName(QStringLiteral("tableLabelStrip"));
  setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
  connect(&document_, &OpenDocument::labelsChanged, this, &TableLabelStrip::refresh);
  connect(&document_, &OpenDocument::structureChanged, this, &TableLabelStrip::refresh);
  connect(grid_.horizontalScrollBar(), &QScrollBar::valueChanged, this, qOverload<>(&QWidget::update));
  connect(grid_.horizontalHeader(), &QHeaderView::sectionResized, this, qOverload<>(&QWidget::update));
  connect(grid_.horizontalHeader(), &QHeaderView::geometriesChanged, this, qOverload<>(&QWidget::update));
  refresh();
}

void TableLabelStrip::refresh() {
  setVisible(!intervalTiers().empty());
  updateGeometry();
  update();
}

std::vector<std::size_t> TableLabelStrip::intervalTiers() const {
  std::vector<std::size_t> out;
  const vandrel::Labels& g = vandrel::documentLabels(document_.doc());
  for (std::size_t k = 0; k < g.tiers.size(); ++k)
    if (!g.tiers[k].pointTier) out.push_back(k);
  return out;
}

QSize TableLabelStrip::sizeHint() const {
  return {200, static_cast<int>(intervalTiers().size()) * kLineHeight + 1};
}

long TableLabelStrip::intervalOfColumn(std::size_t tier, int column) const {
  const vandrel::CVandrelDoc& doc = document_.doc();
  const double middle = (column + 0.5) * doc.params().intervalMs / 1000.0;
  const auto i = vandrel::documentLabels(doc).tiers[tier].intervalAt(middle);
  return i ? static_cast<long>(*i) : -1;
}

int TableLabelStrip::columnX(int column) const {
  return grid_.geometry().left() - geometry().left() + grid_.viewport()->geometry().left() +
         grid_.horizontalHeader()->sectionViewportPosition(column);
}

void TableLabelStrip::paintEvent(QPaintEvent*) {
  QPainter p(this);
  p.fillRect(rect(), palette().window());
  const vandrel::Labels& g = vandrel::documentLabels(document_.doc());
  const int columns = grid_.model() ? grid_.model()->columnCount() : 0;
  const int left = columnX(0) - grid_.horizontalHeader()->sectionViewportPosition(0);
  const int firstShown = std::max(0, grid_.columnAt(0));
  const int lastShown = grid_.columnAt(grid_.viewport()->width() - 1) < 0
                            ? columns - 1
                            : grid_.columnAt(grid_.viewport()->width() - 1);
  const auto tiers = intervalTiers();
  for (std::size_t line = 0; line < tiers.size(); ++line) {
    const QRect band(0, static_cast<int>(line) * kLineHeight, width(), kLineHeight);
    p.setPen(palette().color(QPalette::Mid));
    p.drawLine(band.left(), band.bottom(), band.right(), band.bottom());
    p.setPen(palette().color(QPalette::WindowText));
    QFont bold = font();
    bold.setBold(true);
    p.setFont(bold);
    p.drawText(QRect(2, band.top(), left - 4, band.height()), Qt::AlignVCenter | Qt::AlignLeft,
               p.fontMetrics().elidedText(QString::fromStdString(g.tiers[tiers[line]].name), Qt::ElideRight,
                                          std::max(0, left - 4)));
    p.setFont(font());
    p.save();
    p.setClipRect(QRect(left, band.top(), width() - left, band.height()));
    for (int c = firstShown; c <= lastShown && c < columns;) {
      const long interval = intervalOfColumn(tiers[line], c);
      int end = c;
      while (end + 1 < columns && end + 1 <= lastShown + 1 &&
             intervalOfColumn(tiers[line], end + 1) == interval)
        ++end;
      const int a = columnX(c), b = columnX(end) + grid_.horizontalHeader()->sectionSize(end);
      if (interval >= 0) {
        const auto& in = g.tiers[tiers[line]].intervals[static_cast<std::size_t>(interval)];
        p.setPen(QColor(40, 90, 170));
        p.drawLine(a, band.top(), a, band.bottom());
        p.setPen(palette().color(QPalette::WindowText));
        p.drawText(QRect(a + 2, band.top(), b - a - 4, band.height()), Qt::AlignCenter,
                   p.fontMetrics().elidedText(QString::fromStdString(in.text), Qt::ElideRight, b - a - 4));
      }
      c = end + 1;
    }
    p.restore();
  }
}

std::optional<TimeRange> TableLabelStrip::intervalAt(QPoint at) const {
  const auto tiers = intervalTiers();
  const int line = at.y() / kLineHeight;
  if (at.y() < 0 || line >= static_cast<int>(tiers.size())) return std::nullopt;
  const int column =
      grid_.columnAt(at.x() - (columnX(0) - grid_.horizontalHeader()->sectionViewportPosition(0)));
  if (column < 0) return std::nullopt;
  const std::size_t tier = tiers[static_cast<std::size_t>(line)];
  const long interval = intervalOfColumn(tier, column);
  if (interval < 0) return std::nullopt;
  const auto& in =
      vandrel::documentLabels(document_.doc()).tiers[tier].intervals[static_cast<std::size_t>(interval)];
  return TimeRange{in.start * 1000.0, in.end * 1000.0};
}

void TableLabelStrip::mousePressEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return;
  if (const auto span = intervalAt(event->pos()))
    Workspace::of(document_).chooseInterval(span->startMs, span->endMs);
}

}  // namespace vandrel::ui
