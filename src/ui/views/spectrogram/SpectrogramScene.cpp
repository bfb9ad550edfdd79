#include "views/spectrogram/SpectrogramScene.h"

#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <cmath>

#include "document/VandrelDoc.h"
#include "views/common/LabelTiersPainter.h"

namespace vandrel::ui {

namespace {

constexpr int kGap = 6;        // between panes
constexpr int kGroupGap = 22;  // between the two signals' groups, room for a name

// Pane heights relative to each other.
int weightOf(PaneKind kind) {
  switch (kind) {
    case PaneKind::kWave:
      return 2;
    case PaneKind::kSpectrogram:
      return 6;
    case PaneKind::kPitch:
      return 3;
    case PaneKind::kIntensity:
      return 2;
  }
  return 1;
}

// Index of the first value of sorted `ms` at or after `t`.
std::size_t firstAtOrAfter(const std::vector<double>& ms, double t) {
  return static_cast<std::size_t>(std::lower_bound(ms.begin(), ms.end(), t) - ms.begin());
}

QString number(double v) { return QString::number(v, 'f', v == std::floor(v) ? 0 : 1); }

// A spacing for frequency lines that leaves room for their labels.
double frequencyStep(double range, double pixels, int wanted) {
  double step = std::max(wanted, 1);
  while (pixels * step / range < 14 && step < range) step *= 2;
  return step;
}

}  // namespace

TimeMap SpectrogramScene::timeMap(const TimeAxis& axis, const QRect& area) {
  return axis.map(area.left() + kLeft, area.right() + 1 - kRight);
}

std::vector<Pane> SpectrogramScene::layout(const QRect& area) const {
  std::vector<PaneKind> kinds;
  if (options.drawAudio) kinds.push_back(PaneKind::kWave);
  kinds.push_back(PaneKind::kSpectrogram);
  kinds.push_back(PaneKind::kPitch);
  // Intensity has a pane and a dB scale of its own; either dialog's switch
  // takes it away.
  if (options.drawIntensity && options.addIntensity) kinds.push_back(PaneKind::kIntensity);

  const int groups = compare == Compare::kBeneath && signal[1].samples ? 2 : 1;
  const int labelRoom = options.drawLabels ? 16 : 2;
  const QRect inner(area.left() + kLeft, area.top() + labelRoom, area.width() - kLeft - kRight,
                    area.height() - labelRoom - kBottom);
  const auto upper = [](PaneKind k) { return k == PaneKind::kWave || k == PaneKind::kSpectrogram; };
  int upperWeights = 0, lowerWeights = 0;
  for (PaneKind k : kinds) (upper(k) ? upperWeights : lowerWeights) += weightOf(k);
  const int gaps = groups * static_cast<int>(kinds.size() - 1) * kGap + (groups - 1) * kGroupGap;
  const double room = std::max(0.0, static_cast<double>(inner.height() - gaps) / groups);
  const double share =
      upperShare >= 0 ? upperShare : static_cast<double>(upperWeights) / (upperWeights + lowerWeights);
  const double upperUnit = room * share / upperWeights;
  const double lowerUnit = room * (1 - share) / lowerWeights;

  std::vector<Pane> panes;
  double y = inner.top();
  for (int g = 0; g < groups; ++g) {
    if (g > 0) y += kGroupGap;
    for (std::size_t i = 0; i < kinds.size(); ++i) {
      if (i > 0) y += kGap;
      const double h = (upper(kinds[i]) ? upperUnit : lowerUnit) * weightOf(kinds[i]);
      const int top = static_cast<int>(std::lround(y));
      const int bottom = static_cast<int>(std::lround(y + h));
      panes.push_back(Pane{kinds[i], g, QRect(inner.left(), top, inner.width(), std::max(bottom - top, 1))});
      y += h;
    }
  }
  return panes;
}

double SpectrogramScene::paneTopHz(const Pane& pane) const {
  if (pane.kind == PaneKind::kPitch) return options.pitch.displayHighHz;
  const auto& s = signal[static_cast<std::size_t>(pane.signal)].spectrogram;
  return s.ok ? s.fmax : options.spectrogram.frequencyRange;
}

double SpectrogramScene::paneBottomHz(const Pane& pane) const {
  return pane.kind == PaneKind::kPitch ? options.pitch.displayLowHz : 0.0;
}

double SpectrogramScene::frequencyAt(const Pane& pane, int y, double topHz, double bottomHz) {
  const double share = static_cast<double>(pane.rect.bottom() - y) / std::max(pane.rect.height() - 1, 1);
  return bottomHz + share * (topHz - bottomHz);
}

QColor SpectrogramScene::formantColor(int s) const {
  if (!options.color) return s == 0 ? QColor(0, 0, 0) : QColor(110, 110, 110);
  return s == 0 ? QColor(230, 30, 30) : QColor(0, 160, 230);
}

QColor SpectrogramScene::pitchColor(int s) const {
  if (!options.color) return s == 0 ? QColor(0, 0, 0) : QColor(110, 110, 110);
  return s == 0 ? QColor(20, 60, 200) : QColor(230, 120, 0);
}

QColor SpectrogramScene::tableColor() const {
  return options.color ? QColor(0, 150, 60) : QColor(60, 60, 60);
}

void SpectrogramScene::paint(QPainter& p, const QRect& area, const TimeMap& time) const {
  p.save();
  p.fillRect(area, Qt::white);
  QFont font = p.font();
  font.setPixelSize(11);
  p.setFont(font);
  // The tiers' bands go under the time axis; the panes share what is left.
  const int tiers = labels ? static_cast<int>(labels->tiers.size()) : 0;
  const int tierHeight = p.fontMetrics().height() + 8;
  QRect panesArea = area;
  panesArea.setBottom(area.bottom() - tiers * tierHeight);
  const std::vector<Pane> panes = layout(panesArea);
  for (const Pane& pane : panes) {
    p.save();
    switch (pane.kind) {
      case PaneKind::kWave:
        paintWave(p, pane, time);
        break;
      case PaneKind::kSpectrogram:
        paintSpectrogram(p, pane, time);
        break;
      case PaneKind::kPitch:
        paintPitch(p, pane, time);
        break;
      case PaneKind::kIntensity:
        paintIntensity(p, pane, time);
        break;
    }
    p.restore();
    // The selection, over every pane.
    p.save();
    p.setClipRect(pane.rect);
    if (selection) {
      const double x0 = time.xOf(selection->startMs);
      const double x1 = time.xOf(selection->endMs);
      p.fillRect(QRectF(x0, pane.rect.top(), x1 - x0, pane.rect.height()).intersected(pane.rect),
                 QColor(255, 210, 0, 70));
    }
    p.restore();
    p.setPen(QColor(90, 90, 90));
    p.setBrush(Qt::NoBrush);
    p.drawRect(pane.rect.adjusted(0, 0, -1, -1));
  }
  if (!panes.empty()) paintTimeAxis(p, panesArea, time, panes.back().rect.bottom() + 1);
  if (tiers > 0)
    paintLabelTiers(p, *labels, time,
                    QRect(area.left(), panesArea.bottom() + 1, area.width() - kRight, tiers * tierHeight),
                    tierHeight, TierColors::paper());
  if (options.drawLabels) {
    p.setPen(Qt::black);
    QString title = signal[0].name;
    if (compare == Compare::kOverlaid && signal[1].samples)
      title += QStringLiteral("  (tracks of %1 overlaid)").arg(signal[1].name);
    p.drawText(QRect(area.left() + kLeft, area.top(), area.width() - kLeft - kRight, 16), Qt::AlignVCenter,
               title);
    if (showsOther() && compare == Compare::kBeneath) {
      for (const Pane& pane : panes)
        if (pane.signal == 1) {
          p.drawText(QRect(pane.rect.left(), pane.rect.top() - kGroupGap, pane.rect.width(), kGroupGap - 2),
                     Qt::AlignLeft | Qt::AlignBottom, signal[1].name);
          break;
        }
    }
  }
  p.restore();
}

void SpectrogramScene::paintLabel(QPainter& p, const Pane& pane, const QString& text, bool shown) const {
  if (!shown) return;
  const QRect box = p.fontMetrics().boundingRect(text).adjusted(-3, -1, 3, 1);
  const QRect at(pane.rect.right() - box.width() - 2, pane.rect.top() + 2, box.width(), box.height());
  p.fillRect(at, QColor(255, 255, 255, 200));
  p.setPen(Qt::black);
  p.drawText(at, Qt::AlignCenter, text);
}

void SpectrogramScene::paintWave(QPainter& p, const Pane& pane, const TimeMap& time) const {
  const SignalPicture& s = signal[static_cast<std::size_t>(pane.signal)];
  const QRect r = pane.rect;
  p.setClipRect(r);
  const double mid = r.top() + r.height() / 2.0;
  p.setPen(QColor(200, 200, 200));
  p.drawLine(QPointF(r.left(), mid), QPointF(r.right(), mid));
  paintTimeGrid(p, pane, time, options.spectrogram.timeGrid, options.spectrogram.timeGridMs);
  if (!s.samples || s.samples->empty()) return;
  const auto& x = *s.samples;
  const double scale = (r.height() / 2.0 - 1) / std::max(s.peak, 1);
  p.setPen(options.color ? QColor(30, 30, 120) : QColor(0, 0, 0));
  const double pixelsPerSample = 1000.0 / s.fs / ((time.endMs - time.startMs) / (time.right - time.left));
  if (pixelsPerSample >= 1.0) {
    // Fewer samples than pixels: the samples joined by a line (one sample
    // beyond each edge, so it runs to the border), and marked once they
    // stand far enough apart to be told apart.
    const auto first = std::clamp(static_cast<long>(std::floor(time.startMs * s.fs / 1000.0)) - 1, 0L,
                                  static_cast<long>(x.size()) - 1);
    const auto last = std::clamp(static_cast<long>(std::ceil(time.endMs * s.fs / 1000.0)) + 1, first,
                                 static_cast<long>(x.size()) - 1);
    QPolygonF line;
    for (long i = first; i <= last; ++i)
      line << QPointF(time.xOf(static_cast<double>(i) * 1000.0 / s.fs),
                      mid - x[static_cast<std::size_t>(i)] * scale);
    p.setRenderHint(QPainter::Antialiasing, true);
    p.drawPolyline(line);
    if (pixelsPerSample >= 6.0) {
      p.setBrush(p.pen().color());
      for (const QPointF& at : line) p.drawEllipse(at, 1.5, 1.5);
    }
    paintLabel(p, pane, QStringLiteral("Waveform"), options.drawLabels);
    return;
  }
  // More samples than pixels: one vertical stroke per pixel column from the
  // least to the largest sample under it.
  for (int px = r.left(); px <= r.right(); ++px) {
    const double a = time.msAt(px) * s.fs / 1000.0;
    const double b = time.msAt(px + 1) * s.fs / 1000.0;
    auto i0 = static_cast<long>(std::floor(a));
    auto i1 = std::max(static_cast<long>(std::floor(b)), i0 + 1);
    i0 = std::clamp(i0, 0L, static_cast<long>(x.size()));
    i1 = std::clamp(i1, 0L, static_cast<long>(x.size()));
    if (i1 <= i0) continue;
    int lo = x[static_cast<std::size_t>(i0)], hi = lo;
    for (long i = i0 + 1; i < i1; ++i) {
      lo = std::min<int>(lo, x[static_cast<std::size_t>(i)]);
      hi = std::max<int>(hi, x[static_cast<std::size_t>(i)]);
    }
    p.drawLine(QPointF(px + 0.5, mid - hi * scale), QPointF(px + 0.5, mid - lo * scale));
  }
  paintLabel(p, pane, QStringLiteral("Waveform"), options.drawLabels);
}

void SpectrogramScene::paintSpectrogram(QPainter& p, const Pane& pane, const TimeMap& time) const {
  const SignalPicture& s = signal[static_cast<std::size_t>(pane.signal)];
  const QRect r = pane.rect;
  p.save();
  p.setClipRect(r);
  if (s.spectrogram.ok) {
    // The picture covers the stretch it was computed for; an older picture
    // after a zoom or resize lands where its times are, scaled.
    // Only the part inside the pane is drawn: SVG output keeps no clipping.
    const auto& g = s.spectrogram;
    const double t0 = std::max(g.startMs, time.startMs);
    const double t1 = std::min(g.endMs, time.endMs);
    if (t1 > t0 && g.endMs > g.startMs) {
      const double perMs = g.image.width() / (g.endMs - g.startMs);
      const QRectF source((t0 - g.startMs) * perMs, 0, (t1 - t0) * perMs, g.image.height());
      p.setRenderHint(QPainter::SmoothPixmapTransform, false);
      p.drawImage(QRectF(time.xOf(t0), r.top(), time.xOf(t1) - time.xOf(t0), r.height()), g.image, source);
    }
  }
  const double top = paneTopHz(pane);
  paintTimeGrid(p, pane, time, options.spectrogram.timeGrid, options.spectrogram.timeGridMs);
  if (options.spectrogram.frequencyGrid && options.spectrogram.frequencyGridHz > 0) {
    p.setPen(QPen(options.color ? QColor(255, 170, 0, 150) : QColor(128, 128, 128, 150), 1, Qt::DotLine));
    for (double f = options.spectrogram.frequencyGridHz; f < top; f += options.spectrogram.frequencyGridHz) {
      const double y = r.bottom() - f / top * (r.height() - 1);
      p.drawLine(QPointF(r.left(), y), QPointF(r.right(), y));
    }
  }
  paintFormantDots(p, pane, time, pane.signal);
  if (compare == Compare::kOverlaid && pane.signal == 0 && signal[1].samples)
    paintFormantDots(p, pane, time, 1);
  if (tableOverlay && pane.signal == 0) paintTableRows(p, pane, time, false);
  p.restore();
  paintFrequencyAxis(p, pane, 0, top, options.drawLabels, options.spectrogram.frequencyGridHz,
                     QStringLiteral("Hz"));
  paintLabel(p, pane, QStringLiteral("Spectrogram"), options.drawLabels);
}

void SpectrogramScene::paintFormantDots(QPainter& p, const Pane& pane, const TimeMap& time, int si) const {
  const SpectrogramResult& s = signal[static_cast<std::size_t>(si)].spectrogram;
  if (!s.ok || s.formants.empty()) return;
  const QRect r = pane.rect;
  const double top = paneTopHz(pane);
  p.setPen(Qt::NoPen);
  p.setBrush(formantColor(si));
  const double radius = si == 0 ? 1.6 : 1.3;
  const std::size_t from = firstAtOrAfter(s.columnMs, time.startMs);
  // Columns with nothing within 25 dB of the loudest cell are silence or
  // near it; their LPC "formants" are noise, left out.
  const double floor = options.spectrogram.dynamicRangeDb - 25.0;
  for (std::size_t c = from; c < s.formants.size() && s.columnMs[c] <= time.endMs; ++c) {
    if (s.columnPeakDb[c] < floor) continue;
    const double x = time.xOf(s.columnMs[c]);
    for (const std::int16_t f : s.formants[c]) {
      if (f <= 0 || f >= top) continue;
      p.drawEllipse(QPointF(x, r.bottom() - f / top * (r.height() - 1)), radius, radius);
    }
  }
}

void SpectrogramScene::paintPitch(QPainter& p, const Pane& pane, const TimeMap& time) const {
  p.save();
  p.setClipRect(pane.rect);
  paintTimeGrid(p, pane, time, options.pitchTimeGrid, options.pitchTimeGridMs);
  const double lo = paneBottomHz(pane), hi = paneTopHz(pane);
  if (options.pitch.frequencyGrid && options.pitch.frequencyGridHz > 0 && hi > lo) {
    p.setPen(QPen(QColor(200, 200, 200), 1, Qt::DotLine));
    const double step = frequencyStep(hi - lo, pane.rect.height(), options.pitch.frequencyGridHz);
    for (double f = std::ceil(lo / step) * step; f <= hi; f += step) {
      const double y = pane.rect.bottom() - (f - lo) / (hi - lo) * (pane.rect.height() - 1);
      p.drawLine(QPointF(pane.rect.left(), y), QPointF(pane.rect.right(), y));
    }
  }
  if (options.addAudio) paintFaintWave(p, pane, time);
  paintPitchLine(p, pane, time, pane.signal);
  if (compare == Compare::kOverlaid && pane.signal == 0 && signal[1].samples)
    paintPitchLine(p, pane, time, 1);
  if (tableOverlay && pane.signal == 0) paintTableRows(p, pane, time, true);
  p.restore();
  paintFrequencyAxis(p, pane, lo, hi, options.addLabels, options.pitch.frequencyGridHz, QStringLiteral("Hz"));
  if (options.addLabels) paintLabel(p, pane, QStringLiteral("Pitch (f0)"), true);
}

void SpectrogramScene::paintPitchLine(QPainter& p, const Pane& pane, const TimeMap& time, int si) const {
  const PitchResult& s = signal[static_cast<std::size_t>(si)].pitch;
  if (!s.ok) return;
  const double lo = paneBottomHz(pane), hi = paneTopHz(pane);
  if (hi <= lo) return;
  const QRect r = pane.rect;
  const auto yOf = [&](double f) { return r.bottom() - (f - lo) / (hi - lo) * (r.height() - 1); };
  // Voiced runs as lines, isolated voiced frames as dots.
  p.setPen(QPen(pitchColor(si), si == 0 ? 2.0 : 1.5));
  p.setBrush(pitchColor(si));
  QPainterPath path;
  bool open = false;
  // Values outside the display range break the line rather than leave the pane.
  for (std::size_t i = firstAtOrAfter(s.frameMs, time.startMs); i < s.f0.size(); ++i) {
    if (s.frameMs[i] > time.endMs) break;
    const bool voiced = s.f0[i] > 0 && s.f0[i] >= lo && s.f0[i] <= hi;
    if (voiced) {
      const QPointF at(time.xOf(s.frameMs[i]), yOf(s.f0[i]));
      if (open)
        path.lineTo(at);
      else
        path.moveTo(at);
      const bool alone = !open && (i + 1 >= s.f0.size() || s.f0[i + 1] <= 0);
      if (alone) p.drawEllipse(at, 1.5, 1.5);
    }
    open = voiced;
  }
  p.setBrush(Qt::NoBrush);
  p.drawPath(path);
}

void SpectrogramScene::paintFaintWave(QPainter& p, const Pane& pane, const TimeMap& time) const {
  const SignalPicture& s = signal[static_cast<std::size_t>(pane.signal)];
  if (!s.samples || s.samples->empty()) return;
  const auto& x = *s.samples;
  const QRect r = pane.rect;
  const double mid = r.top() + r.height() / 2.0;
  const double scale = (r.height() / 2.0 - 1) / std::max(s.peak, 1);
  p.setPen(QColor(0, 0, 0, 16));
  for (int px = r.left(); px <= r.right(); ++px) {
    const auto i0 =
        std::clamp(static_cast<long>(time.msAt(px) * s.fs / 1000.0), 0L, static_cast<long>(x.size()));
    // At least the sample under the column, so a zoomed wave stays whole.
    const auto i1 = std::clamp(std::max(static_cast<long>(time.msAt(px + 1) * s.fs / 1000.0), i0 + 1), i0,
                               static_cast<long>(x.size()));
    int hi = 0;
    for (long i = i0; i < i1; ++i)
      hi = std::max(hi, std::abs(static_cast<int>(x[static_cast<std::size_t>(i)])));
    p.drawLine(QPointF(px + 0.5, mid - hi * scale), QPointF(px + 0.5, mid + hi * scale));
  }
}

void SpectrogramScene::paintIntensity(QPainter& p, const Pane& pane, const TimeMap& time) const {
  const PitchResult& s = signal[static_cast<std::size_t>(pane.signal)].pitch;
  const QRect r = pane.rect;
  p.save();
  p.setClipRect(r);
  paintTimeGrid(p, pane, time, options.spectrogram.timeGrid, options.spectrogram.timeGridMs);
  // The scale: the loudest frame of the file at the top, 60 dB below it at the bottom.
  double top = 0;
  for (double v : s.intensity) top = std::max(top, v);
  top = std::ceil(top / 10) * 10;
  const double bottom = top - 60;
  if (s.ok && !s.intensity.empty()) {
    p.setPen(QPen(options.color ? QColor(120, 40, 160) : QColor(0, 0, 0), 1.5));
    QPainterPath path;
    std::size_t i = firstAtOrAfter(s.frameMs, time.startMs);
    for (bool first = true; i < s.intensity.size() && s.frameMs[i] <= time.endMs; ++i, first = false) {
      const double v = std::clamp(s.intensity[i], bottom, top);
      const QPointF at(time.xOf(s.frameMs[i]), r.bottom() - (v - bottom) / (top - bottom) * (r.height() - 1));
      if (first)
        path.moveTo(at);
      else
        path.lineTo(at);
    }
    p.drawPath(path);
  }
  p.restore();
  paintFrequencyAxis(p, pane, bottom, top, options.drawLabels, 20, QStringLiteral("dB"));
  paintLabel(p, pane, QStringLiteral("Intensity"), options.drawLabels);
}

void SpectrogramScene::paintTableRows(QPainter& p, const Pane& pane, const TimeMap& time, bool pitch) const {
  if (!doc) return;
  const auto& table = doc->table();
  const double interval = doc->params().intervalMs;
  if (interval <= 0 || table.columns() == 0) return;
  const double lo = paneBottomHz(pane), hi = paneTopHz(pane);
  const QRect r = pane.rect;
  const auto yOf = [&](double f) { return r.bottom() - (f - lo) / (hi - lo) * (r.height() - 1); };
  // Frames whose middle lies in the stretch shown.
  const int first = std::max(0, static_cast<int>(std::ceil(time.startMs / interval - 0.5)));
  const int last = std::min(table.columns() - 1, static_cast<int>(std::floor(time.endMs / interval - 0.5)));
  const std::array<int, 5> formantRows{kF1, kF2, kF3, kF4, kF5};
  std::vector<int> rows;
  if (pitch)
    rows.push_back(kF0);
  else
    rows.assign(formantRows.begin(), formantRows.end());
  const double scale = pitch ? 0.1 : 1.0;  // f0 is kept in tenths of a hertz
  p.setPen(QPen(tableColor(), 1.5));
  for (int row : rows) {
    // f0 is drawn where the table voices the frame (av above 0): elsewhere it
    // is a value nobody hears.
    // A value outside the pane's scale breaks the line: drawn at the edge it
    // would read as a real value there.
    const auto shown = [&](int c) {
      const double v = table.value(row, c) * scale;
      return (!pitch || table.value(kAv, c) > 0) && v >= lo && v <= hi;
    };
    QPolygonF line;
    const auto flush = [&] {
      p.setBrush(Qt::NoBrush);
      p.drawPolyline(line);
      line.clear();
    };
    for (int c = first; c <= last; ++c) {
      if (!shown(c)) {
        flush();
        continue;
      }
      const QPointF at(time.xOf((c + 0.5) * interval), yOf(table.value(row, c) * scale));
      line << at;
      if (table.anchor(row, c)) {
        p.setBrush(tableColor());
        p.drawRect(QRectF(at - QPointF(3, 3), QSizeF(6, 6)));
      }
    }
    flush();
  }
}

void SpectrogramScene::paintTimeGrid(QPainter& p, const Pane& pane, const TimeMap& time, bool on,
                                     int spacingMs) const {
  if (!on) return;
  const double step = spacingMs > 0 ? spacingMs : time.autoGridMs(70);
  if ((time.endMs - time.startMs) / step > 2000) return;
  p.save();
  p.setPen(QPen(pane.kind == PaneKind::kSpectrogram ? QColor(80, 160, 255, 120) : QColor(210, 210, 210), 1,
                Qt::DotLine));
  for (double t = std::ceil(time.startMs / step) * step; t <= time.endMs; t += step) {
    const double x = time.xOf(t);
    p.drawLine(QPointF(x, pane.rect.top()), QPointF(x, pane.rect.bottom()));
  }
  p.restore();
}

void SpectrogramScene::paintFrequencyAxis(QPainter& p, const Pane& pane, double bottom, double top,
                                          bool title, int spacing, const QString& unit) const {
  if (top <= bottom) return;
  const QRect r = pane.rect;
  p.setPen(Qt::black);
  const double step = frequencyStep(top - bottom, r.height(), spacing);
  const int fontHeight = p.fontMetrics().height();
  double lastY = 1e9;
  for (double v = std::ceil(bottom / step) * step; v <= top + 1e-9; v += step) {
    const double y = r.bottom() - (v - bottom) / (top - bottom) * (r.height() - 1);
    p.drawLine(QPointF(r.left() - 4, y), QPointF(r.left(), y));
    if (lastY - y < fontHeight) continue;
    lastY = y;
    const double shown = unit == QLatin1String("Hz") && top >= 2000 ? v / 1000 : v;
    p.drawText(QRectF(0, y - fontHeight / 2.0, r.left() - 6, fontHeight), Qt::AlignRight | Qt::AlignVCenter,
               number(shown));
  }
  if (title) {
    const QString name = unit == QLatin1String("Hz") && top >= 2000 ? QStringLiteral("kHz") : unit;
    p.save();
    p.translate(r.left() - 50, r.center().y());
    p.rotate(-90);
    p.drawText(QRectF(-r.height() / 2.0, -8, r.height(), 16), Qt::AlignCenter, name);
    p.restore();
  }
}

void SpectrogramScene::paintTimeAxis(QPainter& p, const QRect& area, const TimeMap& time, int y) const {
  p.setPen(Qt::black);
  const double step = time.autoGridMs(80);
  const TimeLabels labels = TimeLabels::forScale(time.endMs, step);
  for (double t = std::ceil(time.startMs / step) * step; t <= time.endMs + 1e-9; t += step) {
    const double x = time.xOf(t);
    p.drawLine(QPointF(x, y), QPointF(x, y + 4));
    p.drawText(QRectF(x - 40, y + 4, 80, 14), Qt::AlignHCenter | Qt::AlignTop, labels.label(t));
  }
  if (options.drawLabels)
    p.drawText(QRect(area.left() + kLeft, y + 18, area.width() - kLeft - kRight, 14), Qt::AlignHCenter,
               labels.title());
}

QString SpectrogramScene::readout(const std::vector<Pane>& panes, const TimeMap& time, int x, int y) const {
  const double ms = time.msAt(x);
  const TimeLabels at = TimeLabels::forScale(time.endMs, time.endMs < 10000 ? 0.1 : 1.0);
  QString text = QStringLiteral("Time: %1 %2").arg(at.label(ms), at.unitName());
  for (const Pane& pane : panes) {
    if (!pane.rect.contains(x, y)) continue;
    const SignalPicture& s = signal[static_cast<std::size_t>(pane.signal)];
    if (pane.kind == PaneKind::kSpectrogram) {
      const double hz = frequencyAt(pane, y, paneTopHz(pane), 0);
      text += QStringLiteral("   Frequency: %1 Hz").arg(hz, 0, 'f', 0);
      const auto& g = s.spectrogram;
      if (g.ok && ms >= g.startMs && ms < g.endMs) {
        const int col = static_cast<int>((ms - g.startMs) / (g.endMs - g.startMs) * g.image.width());
        const int row =
            std::clamp(static_cast<int>((1.0 - hz / g.fmax) * g.image.height()), 0, g.image.height() - 1);
        const int grey = g.image.constScanLine(row)[std::clamp(col, 0, g.image.width() - 1)];
        const double level = (255 - grey) / 255.0 * options.spectrogram.dynamicRangeDb;
        text += QStringLiteral("   Level: %1 dB").arg(level - options.spectrogram.dynamicRangeDb, 0, 'f', 1);
      }
    } else if (pane.kind == PaneKind::kPitch) {
      const auto& t = s.pitch;
      const std::size_t i = firstAtOrAfter(t.frameMs, ms);
      double f0 = 0;
      if (t.ok && !t.frameMs.empty()) {
        const std::size_t j =
            i == 0 ? 0 : (i >= t.frameMs.size() || ms - t.frameMs[i - 1] < t.frameMs[i] - ms ? i - 1 : i);
        f0 = t.f0[std::min(j, t.f0.size() - 1)];
      }
      text += f0 > 0 ? QStringLiteral("   f0: %1 Hz").arg(f0, 0, 'f', 1) : QStringLiteral("   f0: unvoiced");
      text += QStringLiteral("   Pointer: %1 Hz")
                  .arg(frequencyAt(pane, y, paneTopHz(pane), paneBottomHz(pane)), 0, 'f', 0);
    } else if (pane.kind == PaneKind::kIntensity) {
      const auto& t = s.pitch;
      const std::size_t i = std::min(firstAtOrAfter(t.frameMs, ms), t.intensity.size());
      if (t.ok && i < t.intensity.size())
        text += QStringLiteral("   Intensity: %1 dB").arg(t.intensity[i], 0, 'f', 1);
    }
    if (showsOther()) text = s.name + QStringLiteral(" - ") + text;
    break;
  }
  return text;
}

}  // namespace vandrel::ui
