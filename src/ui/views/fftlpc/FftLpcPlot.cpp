#include "views/fftlpc/FftLpcPlot.h"

#include <QFontMetricsF>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <cmath>
#include <optional>
#include <vector>

#include "util/NiceStep.h"
#include "views/common/TimeAxis.h"

namespace vandrel::ui {

namespace {

// The level axis spans this many dB below its top.
constexpr double kRangeDb = 80.0;
constexpr int kFontPx = 12;

struct Style {
  QPen fft, lpc;
  QColor mark;
};

// Natural in blue, the copy in red; in black and white the copy is dashed
// and the FFT curves are grey, so the four stay apart on paper.
Style styleOf(bool natural, bool color) {
  Style s;
  if (color) {
    const QColor dark = natural ? QColor(0x1f, 0x4e, 0xa8) : QColor(0xc0, 0x29, 0x1b);
    const QColor light = natural ? QColor(0x86, 0xa8, 0xe0) : QColor(0xee, 0x9a, 0x8f);
    s.fft = QPen(light, 1.0);
    s.lpc = QPen(dark, 2.2);
    s.mark = dark;
  } else {
    s.fft = QPen(QColor(0x80, 0x80, 0x80), 1.0, natural ? Qt::SolidLine : Qt::DotLine);
    s.lpc = QPen(Qt::black, 2.2, natural ? Qt::SolidLine : Qt::DashLine);
    s.mark = Qt::black;
  }
  return s;
}

double maxOf(const std::vector<double>& v) {
  double m = -1e300;
  for (double x : v)
    if (!std::isnan(x)) m = std::max(m, x);
  return m;
}

// The top of the level axis and the amount added to each curve.
double axisTop(const FftLpcPicture& p) { return p.options.absolute ? p.options.absoluteDb : 0.0; }
double curveShift(const FftLpcPicture& p, const std::vector<double>& curve) {
  return p.options.absolute ? 0.0 : -maxOf(curve);
}

QString signedDb(double v) {
  return QStringLiteral("%1%2 dB").arg(v >= 0.0 ? QStringLiteral("+") : QString()).arg(v, 0, 'f', 1);
}

class Plotter {
 public:
  Plotter(QPainter& painter, const FftLpcPicture& picture, const FftLpcLayout& layout)
      : g_(painter), p_(picture), l_(layout), fm_(painter.font()) {}

  void run() {
    header();
    spectrumAxes();
    const bool color = p_.options.color;
    if (!legendEntries().empty()) labels_.push_back(legendRect());  // formant labels keep clear of it
    if (has(p_.natural)) curves(*p_.natural, styleOf(true, color), true);
    if (has(p_.copy)) curves(*p_.copy, styleOf(false, color), false);
    if (!has(p_.natural) && !has(p_.copy)) centred(l_.spectrum, QStringLiteral("No signal at this time"));
    legend();
    crosshair();
    meterLine();
    strip();
  }

 private:
  static bool has(const vandrel::SpectralSlice* s) { return s != nullptr && !s->empty(); }

  double xOfHz(double hz) const { return l_.spectrum.left() + hz / fmax() * l_.spectrum.width(); }
  double yOfDb(double db) const {
    return l_.spectrum.top() + (axisTop(p_) - db) / kRangeDb * l_.spectrum.height();
  }
  double fmax() const { return std::max(p_.settings.fmaxHz, 1); }

  void centred(const QRectF& r, const QString& text) {
    g_.setPen(Qt::darkGray);
    g_.drawText(r, Qt::AlignCenter, text);
  }

  void header() {
    g_.setPen(Qt::black);
    QString when = p_.selection ? QStringLiteral("%1 \u2013 %2 ms (average every %3 ms)")
                                      .arg(p_.selection->first, 0, 'f', 0)
                                      .arg(p_.selection->second, 0, 'f', 0)
                                      .arg(p_.options.averageStepMs)
                                : QStringLiteral("at %1 ms").arg(p_.timeMs, 0, 'f', 0);
    QString analysis = QStringLiteral("FFT %1 pts, window %2 ms, LPC %3")
                           .arg(p_.settings.fftPoints)
                           .arg(p_.options.appliedWindowMs)
                           .arg(has(p_.natural) ? p_.natural->lpcOrder : p_.options.lpcCoefficients);
    if (has(p_.natural) && has(p_.copy) && p_.copy->lpcOrder != p_.natural->lpcOrder)
      analysis += QStringLiteral(" (copy %1)").arg(p_.copy->lpcOrder);
    g_.drawText(l_.header, Qt::AlignRight | Qt::AlignVCenter, analysis);
    const double room = l_.header.width() - fm_.horizontalAdvance(analysis) - 24;
    g_.drawText(l_.header, Qt::AlignLeft | Qt::AlignVCenter,
                fm_.elidedText(p_.title + QStringLiteral("   ") + when, Qt::ElideMiddle, room));
  }

  void spectrumAxes() {
    const QRectF& r = l_.spectrum;
    g_.fillRect(r, Qt::white);
    const QPen gridPen(QColor(0xd8, 0xd8, 0xd8), 1.0);
    const QPen tickPen(Qt::black, 1.0);
    const double hzStep =
        p_.options.frequencyGrid && p_.options.frequencyGridHz > 0
            ? std::max<double>(p_.options.frequencyGridHz, niceStep(fmax(), r.width(), 30.0))
            : niceStep(fmax(), r.width(), 70.0);
    for (double hz = 0.0; hz <= fmax() + 1e-6; hz += hzStep) {
      const double x = xOfHz(hz);
      if (p_.options.frequencyGrid) {
        g_.setPen(gridPen);
        g_.drawLine(QPointF(x, r.top()), QPointF(x, r.bottom()));
      }
      g_.setPen(tickPen);
      g_.drawLine(QPointF(x, r.bottom()), QPointF(x, r.bottom() + 4));
      const QString t = QString::number(hz, 'f', 0);
      g_.drawText(QRectF(x - 40, r.bottom() + 4, 80, fm_.height()), Qt::AlignHCenter | Qt::AlignTop, t);
    }
    const double dbStep = p_.options.powerGrid && p_.options.powerGridDb > 0
                              ? std::max<double>(p_.options.powerGridDb, niceStep(kRangeDb, r.height(), 14.0))
                              : 20.0;
    const double top = axisTop(p_);
    for (double db = std::ceil((top - kRangeDb) / dbStep) * dbStep; db <= top + 1e-6; db += dbStep) {
      const double y = yOfDb(db);
      if (p_.options.powerGrid) {
        g_.setPen(gridPen);
        g_.drawLine(QPointF(r.left(), y), QPointF(r.right(), y));
      }
      g_.setPen(tickPen);
      g_.drawLine(QPointF(r.left() - 4, y), QPointF(r.left(), y));
      g_.drawText(QRectF(r.left() - 50, y - fm_.height() / 2, 44, fm_.height()),
                  Qt::AlignRight | Qt::AlignVCenter, QString::number(db, 'f', 0));
    }
    g_.setPen(tickPen);
    g_.setBrush(Qt::NoBrush);
    g_.drawRect(r);
    g_.drawText(QRectF(r.left(), r.bottom() + 4 + fm_.height(), r.width(), fm_.height()), Qt::AlignHCenter,
                QStringLiteral("Frequency (Hz)"));
    g_.save();
    g_.translate(r.left() - 52, r.center().y());
    g_.rotate(-90);
    g_.drawText(QRectF(-r.height() / 2, -fm_.height(), r.height(), fm_.height()), Qt::AlignCenter,
                p_.options.absolute ? QStringLiteral("Level (dB)") : QStringLiteral("Level re maximum (dB)"));
    g_.restore();
  }

  QPainterPath path(const std::vector<double>& curve, double shift) const {
    QPainterPath path;
    const double step = p_.settings.hzPerPoint();
    bool pen = false;
    for (std::size_t i = 0; i < curve.size(); ++i) {
      if (std::isnan(curve[i])) {
        pen = false;
        continue;
      }
      // Held inside the axes by hand: SVG output ignores the clip.
      const double y = std::clamp(yOfDb(curve[i] + shift), l_.spectrum.top(), l_.spectrum.bottom());
      const QPointF pt(xOfHz(static_cast<double>(i) * step), y);
      if (pen)
        path.lineTo(pt);
      else
        path.moveTo(pt);
      pen = true;
    }
    return path;
  }

  void curves(const vandrel::SpectralSlice& s, const Style& style, bool natural) {
    g_.save();
    g_.setClipRect(l_.spectrum);
    g_.setRenderHint(QPainter::Antialiasing, true);
    g_.setBrush(Qt::NoBrush);
    g_.setPen(style.fft);
    g_.drawPath(path(s.fftDb, curveShift(p_, s.fftDb)));
    if (p_.options.drawLpc) {
      const double shift = curveShift(p_, s.lpcDb);
      g_.setPen(style.lpc);
      g_.drawPath(path(s.lpcDb, shift));
      marks(s, style, natural, shift);
    }
    g_.restore();
  }

  // A small triangle on the envelope at each formant, with "F/B" in Hz:
  // the natural's above the curve, the copy's below, so both stay legible.
  void marks(const vandrel::SpectralSlice& s, const Style& style, bool natural, double shift) {
    int n = 0;
    for (const vandrel::SliceFormant& f : s.formants) {
      if (f.frequency >= fmax() || ++n > 6) break;
      const QPointF at(xOfHz(f.frequency), yOfDb(f.levelDb + shift));
      if (!l_.spectrum.adjusted(-1, -1, 1, 1).contains(at)) continue;
      const double d = natural ? -1.0 : 1.0;
      QPolygonF tri;
      tri << at + QPointF(0, d * 3) << at + QPointF(-4, d * 10) << at + QPointF(4, d * 10);
      g_.setPen(Qt::NoPen);
      g_.setBrush(style.mark);
      g_.drawPolygon(tri);
      const QString text =
          f.bandwidth > 0.0 ? QStringLiteral("%1/%2").arg(f.frequency, 0, 'f', 0).arg(f.bandwidth, 0, 'f', 0)
                            : QString::number(f.frequency, 'f', 0);
      const double w = fm_.horizontalAdvance(text) + 4;
      // Above the natural's peak, below the copy's; one line further out when
      // that would cover another label, then the other side of the peak. A
      // label that fits nowhere is left out: its triangle still marks it.
      const double out = natural ? -1.0 : 1.0, h = fm_.height();
      const double first = natural ? at.y() - 11 - h : at.y() + 11;
      std::optional<QRectF> placed;
      for (const double top : {first, first + out * h, natural ? at.y() + 11 : at.y() - 11 - h}) {
        QRectF box(at.x() - w / 2, top, w, h);
        box.moveTop(std::clamp(box.top(), l_.spectrum.top() + 1, l_.spectrum.bottom() - h - 1));
        if (!overlaps(box)) {
          placed = box;
          break;
        }
      }
      if (!placed) continue;
      const QRectF box = *placed;
      labels_.push_back(box);
      // Labels often lie over a curve (the copy's below its own falling
      // peak): a white halo round the glyphs keeps the digits legible and
      // hides no more of the curve than the strokes of the text.
      QPainterPath glyphs;
      glyphs.addText(box.center().x() - fm_.horizontalAdvance(text) / 2,
                     box.top() + (box.height() - fm_.height()) / 2 + fm_.ascent(), g_.font(), text);
      g_.strokePath(glyphs,
                    QPen(QColor(255, 255, 255, 230), 3.0, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
      g_.fillPath(glyphs, style.mark);
    }
  }

  struct Entry {
    bool natural;
    QString text;
  };

  std::vector<Entry> legendEntries() const {
    std::vector<Entry> entries;
    if (has(p_.natural)) entries.push_back({true, QStringLiteral("Natural (audio file)")});
    if (has(p_.copy)) entries.push_back({false, QStringLiteral("Copy (synthesized)")});
    return entries;
  }

  double legendTextWidth() const {
    double textW = 0.0;
    for (const Entry& e : legendEntries()) textW = std::max(textW, fm_.horizontalAdvance(e.text));
    return textW;
  }

  QRectF legendRect() const {
    const double w = legendTextWidth() + 74;
    const double h = (fm_.height() + 2) * static_cast<double>(legendEntries().size()) + 6;
    return QRectF(l_.spectrum.right() - w - 6, l_.spectrum.top() + 6, w, h);
  }

  void legend() {
    const std::vector<Entry> entries = legendEntries();
    if (entries.empty()) return;
    const double textW = legendTextWidth();
    const double lineH = fm_.height() + 2;
    const QRectF box = legendRect();
    g_.setPen(QPen(Qt::gray, 1.0));
    g_.setBrush(QColor(255, 255, 255, 230));
    g_.drawRect(box);
    double y = box.top() + 3 + lineH / 2;
    for (const Entry& e : entries) {
      const Style s = styleOf(e.natural, p_.options.color);
      g_.setPen(s.fft);
      g_.drawLine(QPointF(box.left() + 6, y), QPointF(box.left() + 28, y));
      g_.setPen(s.lpc);
      g_.drawLine(QPointF(box.left() + 34, y), QPointF(box.left() + 62, y));
      g_.setPen(Qt::black);
      g_.drawText(QRectF(box.left() + 68, y - lineH / 2, textW + 4, lineH), Qt::AlignLeft | Qt::AlignVCenter,
                  e.text);
      y += lineH;
    }
  }

  void crosshair() {
    if (!p_.crosshair || !l_.spectrum.contains(*p_.crosshair)) return;
    const QPointF c = *p_.crosshair;
    const QRectF& r = l_.spectrum;
    g_.setPen(QPen(QColor(0x40, 0x40, 0x40), 1.0, Qt::DotLine));
    g_.drawLine(QPointF(c.x(), r.top()), QPointF(c.x(), r.bottom()));
    g_.drawLine(QPointF(r.left(), c.y()), QPointF(r.right(), c.y()));
    const auto [hz, db] = spectrumValueAt(p_, r, c);
    const QString text = QStringLiteral("%1 Hz   %2 dB").arg(hz, 0, 'f', 0).arg(db, 0, 'f', 1);
    const QRectF box(r.left() + 6, r.top() + 6, fm_.horizontalAdvance(text) + 10, fm_.height() + 4);
    g_.setPen(QPen(Qt::gray, 1.0));
    g_.setBrush(QColor(255, 255, 224));
    g_.drawRect(box);
    g_.setPen(Qt::black);
    g_.drawText(box, Qt::AlignCenter, text);
  }

  void meterLine() {
    const QRectF& r = l_.meter;
    g_.setPen(Qt::black);
    if (!has(p_.natural) || !has(p_.copy) || !p_.meter.valid) {
      const QString why = !has(p_.natural)
                              ? QStringLiteral("Fit: open an audio file to measure the copy against it.")
                              : QStringLiteral("Fit: no copy to compare at this time.");
      g_.drawText(r, Qt::AlignLeft | Qt::AlignVCenter, why);
      return;
    }
    const vandrel::FitMeter& m = p_.meter;
    // The long form names each peak's frequency; where the line is too
    // narrow for it (a small picture), the short one keeps every difference.
    for (const bool full : {true, false}) {
      std::vector<std::pair<QString, bool>> parts;
      parts.emplace_back(full ? QStringLiteral("Fit distance %1 dB").arg(m.distanceDb, 0, 'f', 1)
                              : QStringLiteral("Fit %1 dB").arg(m.distanceDb, 0, 'f', 1),
                         true);
      for (int j = 0; j < m.peaks; ++j) {
        const auto i = static_cast<std::size_t>(j);
        const QString at = full ? QStringLiteral(" %1 Hz:").arg(m.peakHz[i], 0, 'f', 0) : QString();
        parts.emplace_back(QStringLiteral("F%1%2 %3").arg(j + 1).arg(at, signedDb(m.peakDiffDb[i])),
                           j == m.worstPeak);
      }
      QFont bold = g_.font(), plain = g_.font();
      bold.setBold(true);
      plain.setBold(false);
      const double gap = full ? 14.0 : 8.0;
      double width = 0.0;
      for (const auto& [text, strong] : parts)
        width += QFontMetricsF(strong ? bold : plain).horizontalAdvance(text) + gap;
      if (full && width > r.width()) continue;
      double x = r.left();
      for (const auto& [text, strong] : parts) {
        g_.setFont(strong ? bold : plain);
        g_.setPen(strong && p_.options.color ? QColor(0xc0, 0x29, 0x1b) : QColor(Qt::black));
        const double w = QFontMetricsF(g_.font()).horizontalAdvance(text);
        g_.drawText(QRectF(x, r.top(), w + 2, r.height()), Qt::AlignLeft | Qt::AlignVCenter, text);
        x += w + gap;
      }
      g_.setFont(plain);
      return;
    }
  }

  void strip() {
    const QRectF& r = l_.strip;
    g_.fillRect(r, Qt::white);
    const double len = std::max(p_.lengthMs, 1.0);
    auto xOfMs = [&](double ms) { return r.left() + ms / len * r.width(); };
    if (p_.selection) {
      const double a = xOfMs(p_.selection->first), b = xOfMs(p_.selection->second);
      g_.fillRect(QRectF(a, r.top(), std::max(b - a, 1.0), r.height()), QColor(0xff, 0xe8, 0x9c));
    }
    if (p_.dragged) {
      const double a = xOfMs(p_.dragged->first), b = xOfMs(p_.dragged->second);
      g_.fillRect(QRectF(a, r.top(), std::max(b - a, 1.0), r.height()), QColor(0x9c, 0xc8, 0xff));
    }
    const QPen tickPen(Qt::black, 1.0);
    double top = 10.0;
    if (p_.track) top = std::max(top, std::ceil(p_.track->maxDb() / 5.0) * 5.0);
    const double dbStep = top > 20.0 ? 10.0 : 5.0;
    for (double db = 0.0; db <= top + 1e-6; db += dbStep) {
      const double y = r.bottom() - db / top * r.height();
      g_.setPen(QPen(QColor(0xe0, 0xe0, 0xe0), 1.0));
      g_.drawLine(QPointF(r.left(), y), QPointF(r.right(), y));
      g_.setPen(tickPen);
      g_.drawText(QRectF(r.left() - 50, y - fm_.height() / 2, 44, fm_.height()),
                  Qt::AlignRight | Qt::AlignVCenter, QString::number(db, 'f', 0));
    }
    const double msStep = niceStep(len, r.width(), 70.0);
    const TimeLabels labels = TimeLabels::forScale(len, msStep);
    for (double ms = 0.0; ms <= len + 1e-6; ms += msStep) {
      const double x = xOfMs(ms);
      g_.setPen(tickPen);
      g_.drawLine(QPointF(x, r.bottom()), QPointF(x, r.bottom() + 4));
      g_.drawText(QRectF(x - 40, r.bottom() + 4, 80, fm_.height()), Qt::AlignHCenter | Qt::AlignTop,
                  labels.label(ms));
    }
    g_.drawText(QRectF(r.left(), r.bottom() + 4 + fm_.height(), r.width(), fm_.height()), Qt::AlignHCenter,
                labels.title());
    g_.save();
    g_.translate(r.left() - 52, r.center().y());
    g_.rotate(-90);
    g_.drawText(QRectF(-r.height() / 2 - 20, -fm_.height(), r.height() + 40, fm_.height()), Qt::AlignCenter,
                QStringLiteral("Fit (dB)"));
    g_.restore();

    if (!p_.track) {
      centred(r, QStringLiteral("Measuring the fit over the whole utterance..."));
    } else if (!p_.track->db.empty()) {
      g_.save();
      g_.setClipRect(r);
      const QColor fill = p_.options.color ? QColor(0xc0, 0x29, 0x1b) : QColor(0x60, 0x60, 0x60);
      // Bars a little wider than their step, so rounding leaves no gaps.
      const double w = std::max(p_.track->stepMs / len * r.width(), 1.0) + 0.5;
      for (std::size_t i = 0; i < p_.track->db.size(); ++i) {
        const double v = p_.track->db[i];
        if (!std::isfinite(v)) continue;
        const double x = xOfMs(static_cast<double>(i) * p_.track->stepMs) - w / 2;
        const double h = v / top * r.height();
        g_.fillRect(QRectF(x, r.bottom() - h, w, h).intersected(r), fill);
      }
      g_.restore();
    }
    g_.setPen(QPen(Qt::black, 1.5));
    const double cx = xOfMs(p_.timeMs);
    g_.drawLine(QPointF(cx, r.top()), QPointF(cx, r.bottom()));
    g_.setPen(tickPen);
    g_.setBrush(Qt::NoBrush);
    g_.drawRect(r);
  }

  bool overlaps(const QRectF& box) const {
    // The boxes carry 2 px of padding each side: touching ones may share it.
    const QRectF ink = box.adjusted(2, 1, -2, -1);
    return std::any_of(labels_.begin(), labels_.end(), [&](const QRectF& r) { return r.intersects(ink); });
  }

  std::vector<QRectF> labels_;  // formant labels drawn so far
  QPainter& g_;
  const FftLpcPicture& p_;
  const FftLpcLayout& l_;
  QFontMetricsF fm_;
};

}  // namespace

FftLpcLayout fftLpcLayout(const QRectF& area) {
  QFont f;
  f.setPixelSize(kFontPx);
  const double lh = QFontMetricsF(f).height();
  const double left = area.left() + 64, right = area.right() - 24;
  FftLpcLayout l;
  l.header = QRectF(left, area.top() + 4, right - left, lh + 4);
  const double stripH = std::clamp(area.height() * 0.18, 50.0, 140.0);
  const double bottom = area.bottom() - 2 * lh - 10;
  l.strip = QRectF(left, bottom - stripH, right - left, stripH);
  l.meter = QRectF(left, l.strip.top() - lh - 10, right - left, lh + 6);
  const double specTop = l.header.bottom() + 6;
  l.spectrum = QRectF(left, specTop, right - left, std::max(l.meter.top() - 2 * lh - 10 - specTop, 20.0));
  return l;
}

std::pair<double, double> spectrumValueAt(const FftLpcPicture& p, const QRectF& r, QPointF at) {
  const double hz = (at.x() - r.left()) / std::max(r.width(), 1.0) * std::max(p.settings.fmaxHz, 1);
  const double db = axisTop(p) - (at.y() - r.top()) / std::max(r.height(), 1.0) * kRangeDb;
  return {hz, db};
}

double stripTimeAt(const FftLpcPicture& p, const QRectF& r, double x) {
  return std::clamp((x - r.left()) / std::max(r.width(), 1.0), 0.0, 1.0) * std::max(p.lengthMs, 0.0);
}

void paintFftLpc(QPainter& painter, const QRectF& area, const FftLpcPicture& picture) {
  painter.save();
  QFont f = painter.font();
  f.setPixelSize(kFontPx);
  painter.setFont(f);
  painter.fillRect(area, QColor(0xf4, 0xf4, 0xf4));
  const FftLpcLayout layout = fftLpcLayout(area);
  Plotter(painter, picture, layout).run();
  painter.restore();
}

}  // namespace vandrel::ui
