// How CFreqInputWnd draws: grids and value labels per strip, the recording
// behind, every drawable track (the selected one bold) with its anchors as
// handles, the strips' titles with a legend, the time axis, and the pointer's
// path while a stroke is drawn. A paint covers only the band asked for, so a
// mouse move repaints a few pixel columns, not the whole table.

#include <QPaintEvent>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <cmath>

#include "app/OpenDocument.h"
#include "document/ColorSlots.h"
#include "entry/CFreqInputWnd.h"
#include "util/NiceStep.h"
#include "views/common/TimeAxis.h"

namespace vandrel::ui {

namespace {

QColor colorOf(vandrel::Colorref c) { return {vandrel::redOf(c), vandrel::greenOf(c), vandrel::blueOf(c)}; }

const QString& titleOf(vandrel::Strip s) {
  static const QString titles[] = {QStringLiteral("F0 (Hz)"), QStringLiteral("Formants (Hz)"),
                                   QStringLiteral("Amplitudes (dB)")};
  return titles[static_cast<int>(s)];
}

QString upper(std::string_view name) {
  return QString::fromLatin1(name.data(), static_cast<int>(name.size())).toUpper();
}

}  // namespace

double CFreqInputWnd::yOf(vandrel::Strip strip, double value) const {
  const vandrel::PixelBox& b = layout_.stripOf(strip);
  return b.bottom() - value * b.height / std::max(layout_.rangeOf(strip), 1);
}

void CFreqInputWnd::paintEvent(QPaintEvent* event) {
  // The pitch and spectrogram options may have changed since the last paint
  // (their dialogs tell only the spectrogram windows): the scales follow, and
  // the whole window is painted again.
  if (displayMaxima() != std::make_pair(f0MaxHz_, formantMaxHz_)) refreshSettings();
  QPainter p(this);
  const QRect band = event->rect();
  p.fillRect(band, Qt::white);
  const int x0 = std::max(band.left(), layout_.area.left);
  const int x1 = std::min(band.right(), layout_.area.left + layout_.area.width - 1);
  if (showRecording_) paintBackground(p);
  paintTimeAxis(p);
  for (int s = 0; s < vandrel::kStripCount; ++s) paintStrip(p, static_cast<vandrel::Strip>(s), x0, x1);
  if (ink_.size() > 1) {
    QPen pen = pens_[static_cast<std::size_t>(document_.doc().drawing().selected)];
    pen.setWidthF(1);
    pen.setStyle(Qt::DotLine);
    p.setPen(pen);
    p.drawPolyline(ink_.constData(), static_cast<int>(ink_.size()));
  }
}

void CFreqInputWnd::paintStrip(QPainter& p, vandrel::Strip strip, int x0, int x1) const {
  const vandrel::PixelBox& b = layout_.stripOf(strip);
  const QRect box(b.left, b.top, b.width, b.height);
  const int range = layout_.rangeOf(strip);
  const double step = niceStep(range, b.height, 36);
  p.setFont(font());
  for (double v = 0; v <= range + 1e-9; v += step) {
    const int y = static_cast<int>(std::lround(yOf(strip, v)));
    p.setPen(pens_[kGridPen]);
    if (v > 0) p.drawLine(box.left(), y, box.right(), y);
    p.setPen(Qt::black);
    p.drawLine(box.left() - 4, y, box.left() - 1, y);
    const int textTop = std::clamp(y - 8, b.top - 4, b.bottom() - 12);
    p.drawText(QRect(0, textTop, box.left() - 7, 16), Qt::AlignRight | Qt::AlignVCenter,
               QString::number(static_cast<int>(v)));
  }
  // The unselected tracks first, so that the selected one lies on top.
  const vandrel::DrawTrack selected = document_.doc().drawing().selected;
  p.save();
  p.setClipRect(box.adjusted(0, -2, 0, 2), Qt::IntersectClip);
  p.setRenderHint(QPainter::Antialiasing, true);
  for (int t = 0; t < vandrel::kDrawTrackCount; ++t) {
    const auto track = static_cast<vandrel::DrawTrack>(t);
    if (vandrel::drawTrack(track).strip == strip && track != selected) paintTrack(p, track, x0, x1);
  }
  if (vandrel::drawTrack(selected).strip == strip) paintTrack(p, selected, x0, x1);
  for (int t = 0; t < vandrel::kDrawTrackCount; ++t) {
    const auto track = static_cast<vandrel::DrawTrack>(t);
    if (vandrel::drawTrack(track).strip == strip) paintAnchors(p, track, x0, x1);
  }
  p.restore();
  p.setPen(QPen(Qt::black, 1));
  p.setBrush(Qt::NoBrush);
  p.drawRect(box.adjusted(0, 0, -1, -1));
  paintTitle(p, strip);
}

void CFreqInputWnd::paintTrack(QPainter& p, vandrel::DrawTrack track, int x0, int x1) const {
  const vandrel::CVandrelDoc& doc = document_.doc();
  const vandrel::DrawTrackDef& def = vandrel::drawTrack(track);
  const int frames = doc.table().columns();
  if (frames <= 0 || x1 < x0) return;
  const double* values = doc.table().row(def.row);
  const double scale = def.row == vandrel::kF0 ? 0.1 : 1.0;
  const int left = layout_.area.left;
  const int width = layout_.area.width;
  const auto columnAt = [&](int x) {
    return std::clamp(static_cast<int>(static_cast<long long>(x - left) * frames / width), 0, frames - 1);
  };
  QPen pen = pens_[static_cast<std::size_t>(track)];
  if (doc.drawing().selected == track) pen.setWidthF(3.0);
  p.setPen(pen);
  if (frames <= width) {
    QPolygonF line;
    const int c0 = std::max(columnAt(x0) - 1, 0);
    const int c1 = std::min(columnAt(x1) + 1, frames - 1);
    for (int c = c0; c <= c1; ++c)
      line << QPointF(xOfColumn(c) + 0.5 * width / frames, yOf(def.strip, scale * values[c]));
    p.drawPolyline(line);
    return;
  }
  // Many frames to a pixel: a vertical line from the lowest to the highest
  // value under each pixel, joined to the pixel before. Separate straight
  // lines without smoothing: one long zigzag line is far slower to stroke.
  QVector<QLineF> lines;
  double lastY = -1;
  for (int x = std::max(x0 - 1, left); x <= std::min(x1 + 1, left + width - 1); ++x) {
    const int c0 = columnAt(x);
    const int c1 = std::max(columnAt(x + 1), c0 + 1);
    const auto [lo, hi] = std::minmax_element(values + c0, values + std::min(c1, frames));
    const double top = yOf(def.strip, scale * *hi), bottom = yOf(def.strip, scale * *lo);
    const double first = yOf(def.strip, scale * values[c0]);
    if (lastY >= 0) lines << QLineF(x - 0.5, lastY, x + 0.5, first);
    lines << QLineF(x + 0.5, top, x + 0.5, bottom);
    lastY = yOf(def.strip, scale * values[std::min(c1, frames) - 1]);
  }
  p.save();
  p.setRenderHint(QPainter::Antialiasing, false);
  p.drawLines(lines);
  p.restore();
}

void CFreqInputWnd::paintAnchors(QPainter& p, vandrel::DrawTrack track, int x0, int x1) const {
  const vandrel::CVandrelDoc& doc = document_.doc();
  const vandrel::DrawTrackDef& def = vandrel::drawTrack(track);
  const int frames = doc.table().columns();
  if (frames <= 0 || x1 < x0) return;
  const int left = layout_.area.left;
  const auto columnAt = [&](int x) {
    return std::clamp(static_cast<int>(static_cast<long long>(x - left) * frames / layout_.area.width), 0,
                      frames - 1);
  };
  const double half = doc.drawing().selected == track ? 4.0 : 2.5;
  const double scale = def.row == vandrel::kF0 ? 0.1 : 1.0;
  p.setPen(pens_[kAnchorPen]);
  p.setBrush(colorOf(doc.anchorColor()));
  const int c1 = std::min(columnAt(x1 + 6) + 1, frames - 1);
  for (int c = std::max(columnAt(x0 - 6) - 1, 0); c <= c1; ++c) {
    if (!doc.table().anchor(def.row, c)) continue;
    const QPointF at(xOfColumn(c) + 0.5 * layout_.area.width / frames,
                     yOf(def.strip, scale * doc.table().value(def.row, c)));
    p.drawRect(QRectF(at.x() - half, at.y() - half, 2 * half, 2 * half));
  }
  p.setBrush(Qt::NoBrush);
}

void CFreqInputWnd::paintTitle(QPainter& p, vandrel::Strip strip) const {
  const vandrel::PixelBox& b = layout_.stripOf(strip);
  QFont bold = font();
  bold.setBold(true);
  p.setFont(bold);
  p.setPen(Qt::black);
  const QRect line(b.left, b.top - 19, b.width, 18);
  p.drawText(line, Qt::AlignLeft | Qt::AlignVCenter, titleOf(strip));
  int x = b.left + p.fontMetrics().horizontalAdvance(titleOf(strip)) + 18;
  const vandrel::CVandrelDoc& doc = document_.doc();
  for (int t = 0; t < vandrel::kDrawTrackCount; ++t) {
    const auto track = static_cast<vandrel::DrawTrack>(t);
    const vandrel::DrawTrackDef& def = vandrel::drawTrack(track);
    if (def.strip != strip) continue;
    const bool chosen = doc.drawing().selected == track;
    QFont f = font();
    f.setBold(chosen);
    f.setUnderline(chosen);
    p.setFont(f);
    QPen pen = pens_[static_cast<std::size_t>(t)];
    pen.setWidthF(chosen ? 3.0 : 1.5);
    p.setPen(pen);
    const int mid = line.center().y();
    p.drawLine(x, mid, x + 10, mid);
    const QString name = upper(def.name);
    p.drawText(QRect(x + 13, line.top(), 60, line.height()), Qt::AlignLeft | Qt::AlignVCenter, name);
    x += 13 + p.fontMetrics().horizontalAdvance(name) + 9;
  }
  // What lies behind, where the line has room for it beside the legend.
  if (showRecording_ && hasBackground() && strip != vandrel::Strip::kAmplitudes) {
    p.setFont(font());
    const QString note = strip == vandrel::Strip::kF0 ? QStringLiteral("grey dots: the recording's pitch")
                                                      : QStringLiteral("behind: the recording's spectrogram");
    if (x + p.fontMetrics().horizontalAdvance(note) + 8 < line.right()) {
      p.setPen(QColor(90, 90, 90));
      p.drawText(line, Qt::AlignRight | Qt::AlignVCenter, note);
    }
  }
}

void CFreqInputWnd::paintBackground(QPainter& p) const {
  const vandrel::CVandrelDoc& doc = document_.doc();
  const double totalMs = static_cast<double>(doc.table().columns()) * doc.params().intervalMs;
  if (!(totalMs > 0)) return;
  const auto xOfMs = [&](double ms) { return layout_.area.left + ms / totalMs * layout_.area.width; };
  const vandrel::PixelBox& fb = layout_.stripOf(vandrel::Strip::kFormants);
  if (spectrogram_.ok && !spectrogram_.image.isNull() && spectrogram_.fmax > 0) {
    p.save();
    p.setClipRect(QRect(fb.left, fb.top, fb.width, fb.height), Qt::IntersectClip);
    const QRectF target(
        QPointF(xOfMs(spectrogram_.startMs), yOf(vandrel::Strip::kFormants, spectrogram_.fmax)),
        QPointF(xOfMs(spectrogram_.endMs), fb.bottom()));
    p.drawImage(target, spectrogram_.image);
    p.restore();
  }
  const vandrel::PixelBox& pb = layout_.stripOf(vandrel::Strip::kF0);
  if (pitch_.ok) {
    p.save();
    p.setClipRect(QRect(pb.left, pb.top, pb.width, pb.height), Qt::IntersectClip);
    p.setPen(Qt::NoPen);
    p.setBrush(QColor(80, 80, 80, 150));
    p.setRenderHint(QPainter::Antialiasing, true);
    for (std::size_t i = 0; i < pitch_.f0.size(); ++i)
      if (pitch_.f0[i] > 0)
        p.drawEllipse(QPointF(xOfMs(pitch_.frameMs[i]), yOf(vandrel::Strip::kF0, pitch_.f0[i])), 2.2, 2.2);
    p.restore();
  }
}

void CFreqInputWnd::paintTimeAxis(QPainter& p) const {
  const vandrel::CVandrelDoc& doc = document_.doc();
  const double totalMs = static_cast<double>(doc.table().columns()) * doc.params().intervalMs;
  const vandrel::PixelBox& a = layout_.area;
  if (!(totalMs > 0)) return;
  const double step = niceStep(totalMs, a.width, 80);
  const TimeLabels labels = TimeLabels::forScale(totalMs, step);
  const int axisY = a.bottom() + 1;
  p.setFont(font());
  for (double ms = 0; ms <= totalMs + 1e-9; ms += step) {
    const int x = static_cast<int>(std::lround(a.left + ms / totalMs * a.width));
    for (int s = 0; s < vandrel::kStripCount; ++s) {
      const vandrel::PixelBox& b = layout_.strip[static_cast<std::size_t>(s)];
      p.setPen(pens_[kGridPen]);
      if (ms > 0 && x < b.left + b.width - 1) p.drawLine(x, b.top + 1, x, b.bottom() - 2);
    }
    p.setPen(Qt::black);
    p.drawLine(x, axisY, x, axisY + 4);
    p.drawText(QRect(x - 40, axisY + 4, 80, 16), Qt::AlignHCenter | Qt::AlignTop, labels.label(ms));
  }
  p.drawText(QRect(a.left, axisY + 20, a.width, 16), Qt::AlignRight | Qt::AlignTop,
             QStringLiteral("%1, %2 frames of %3 ms")
                 .arg(labels.title())
                 .arg(doc.table().columns())
                 .arg(doc.params().intervalMs));
}

}  // namespace vandrel::ui
