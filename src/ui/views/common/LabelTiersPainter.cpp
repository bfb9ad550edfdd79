#include "views/common/LabelTiersPainter.h"

#include <QPainter>
#include <QPalette>

#include <algorithm>
#include <cmath>

namespace vandrel::ui {

TierColors TierColors::screen(const QPalette& palette) {
  QColor chosen = palette.color(QPalette::Highlight);
  chosen.setAlpha(70);
  return {palette.color(QPalette::Base), palette.color(QPalette::Text), palette.color(QPalette::Mid),
          QColor(40, 90, 170), chosen};
}

TierColors TierColors::paper() {
  return {Qt::white, Qt::black, QColor(150, 150, 150), QColor(40, 90, 170), QColor(255, 210, 0, 70)};
}

void paintLabelTiers(QPainter& p, const vandrel::Labels& labels, const TimeMap& time, const QRect& area,
                     int tierHeight, const TierColors& colors, const std::optional<TimeRange>& chosen) {
  p.save();
  const QFont plain = p.font();
  QFont bold = plain;
  bold.setBold(true);
  const double left = time.left, right = time.right;
  const int margin = static_cast<int>(left) - area.left() - 4;
  const auto x = [&](double seconds) { return time.xOf(seconds * 1000.0); };
  const auto qt = [](const std::string& s) { return QString::fromStdString(s); };
  for (std::size_t k = 0; k < labels.tiers.size(); ++k) {
    const vandrel::LabelTier& t = labels.tiers[k];
    const QRect band(area.left(), area.top() + static_cast<int>(k) * tierHeight, area.width(), tierHeight);
    p.setClipping(false);
    p.setPen(colors.line);
    p.drawLine(band.left(), band.bottom(), band.right(), band.bottom());
    p.setPen(colors.text);
    p.setFont(bold);
    p.drawText(QRect(band.left() + 2, band.top(), std::max(0, margin), band.height()),
               Qt::AlignVCenter | Qt::AlignRight,
               p.fontMetrics().elidedText(qt(t.name), Qt::ElideRight, std::max(0, margin)));
    p.setFont(plain);
    p.setClipRect(QRectF(left, band.top(), right - left, band.height()));
    if (t.pointTier) {
      for (const vandrel::LabelPoint& pt : t.points) {
        const double px = x(pt.time);
        if (px < left - 200 || px > right) continue;
        p.setPen(QPen(colors.boundary, 2));
        p.drawLine(QPointF(px, band.top() + 2), QPointF(px, band.bottom() - 2));
        p.setPen(colors.text);
        p.drawText(QRectF(px + 3, band.top(), 200, band.height()), Qt::AlignVCenter | Qt::AlignLeft,
                   qt(pt.mark));
      }
      continue;
    }
    // The intervals are in time order: start at the first one that reaches
    // the visible stretch, so a long tier zoomed in costs its visible part.
    const double from = time.msAt(left) / 1000.0;
    auto it = std::lower_bound(t.intervals.begin(), t.intervals.end(), from,
                               [](const vandrel::LabelInterval& in, double s) { return in.end < s; });
    for (; it != t.intervals.end(); ++it) {
      const double a = x(it->start), b = x(it->end);
      if (a > right) break;
      const QRectF cell(a, band.top(), b - a, band.height() - 1);
      if (chosen && std::fabs(chosen->startMs - it->start * 1000.0) < 0.5 &&
          std::fabs(chosen->endMs - it->end * 1000.0) < 0.5)
        p.fillRect(cell, colors.chosen);
      p.setPen(QPen(colors.boundary, 1.5));
      p.drawLine(QPointF(a, band.top()), QPointF(a, band.bottom()));
      p.setPen(colors.text);
      const double shownA = std::max(a, left), shownB = std::min(b, right);
      const int room = static_cast<int>(shownB - shownA) - 4;
      if (room > 6)
        p.drawText(QRectF(shownA + 2, band.top(), room, band.height()), Qt::AlignCenter,
                   p.fontMetrics().elidedText(qt(it->text), Qt::ElideRight, room));
    }
  }
  p.restore();
}

}  // namespace vandrel::ui
