#include "views/vowelspace/VowelSpaceView.h"

#include <QActionGroup>
#include <QDate>
#include <QFileInfo>
#include <QFontMetricsF>
#include <QImage>
#include <QLabel>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QPrinter>
#include <QToolBar>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>

#include "app/OpenDocument.h"
#include "batch/Continuum.h"
#include "common/Messages.h"
#include "common/PicturePage.h"
#include "common/Workspace.h"
#include "editing/TableSelection.h"
#include "util/AtomicFile.h"

namespace vandrel::ui {

using vandrel::FormantScale;
using vandrel::VowelSpaceMap;

namespace {

constexpr double kPictureDpi = 150.0;
constexpr double kHandleRadius = 7.0;  // pixels within which a press takes a handle or a frame
const QColor kTrajectory(0x1f, 0x4e, 0x9c);
const QColor kHandle(0xe0, 0x7b, 0x00);
const QColor kCursor(0xc0, 0x1c, 0x28);
const QColor kSelection(0x2e, 0xa0, 0x43, 140);
const QColor kReference(0x55, 0x55, 0x55);
const QColor kGrid(0xdd, 0xdd, 0xdd);

QString unitOf(FormantScale s) {
  return s == FormantScale::kBark ? QStringLiteral("bark") : QStringLiteral("Hz");
}

QString tickText(double hz, FormantScale s) {
  return s == FormantScale::kBark ? QString::number(std::lround(vandrel::hzToBark(hz)))
                                  : QString::number(std::lround(hz));
}

}  // namespace

class VowelSpaceCanvas : public QWidget {
 public:
  explicit VowelSpaceCanvas(VowelSpaceView& view) : QWidget(&view), view_(view) {
    setObjectName(QStringLiteral("vowelSpaceCanvas"));
    setMouseTracking(true);
    setMinimumSize(320, 240);
    setAttribute(Qt::WA_OpaquePaintEvent);
  }

 protected:
  void paintEvent(QPaintEvent*) override {
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    view_.paint(p, QRectF(rect()), true);
  }
  void mousePressEvent(QMouseEvent* e) override {
    if (e->button() == Qt::LeftButton) view_.pressAt(e->position());
  }
  void mouseMoveEvent(QMouseEvent* e) override { view_.moveTo(e->position()); }
  void mouseReleaseEvent(QMouseEvent* e) override {
    if (e->button() == Qt::LeftButton) view_.release();
  }

 private:
  VowelSpaceView& view_;
};

VowelSpaceView::VowelSpaceView(OpenDocument& document, QWidget* parent)
    : QWidget(parent), document_(document) {
  setObjectName(QStringLiteral("VowelSpaceView"));
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(0);
  bar_ = new QToolBar(this);
  auto* scales = new QActionGroup(this);
  for (const auto& [name, s] : {std::pair{"Hz", FormantScale::kHz}, std::pair{"Bark", FormantScale::kBark}}) {
    QAction* a = bar_->addAction(QLatin1String(name));
    a->setObjectName(a->text());
    a->setCheckable(true);
    a->setChecked(s == scale_);
    a->setToolTip(
        QStringLiteral("Formant axes in %1").arg(s == FormantScale::kBark ? "bark (Traunmueller)" : "hertz"));
    scales->addAction(a);
    connect(a, &QAction::triggered, this, [this, s = s] { setScale(s); });
  }
  bar_->addSeparator();
  QAction* reference = bar_->addAction(QStringLiteral("Reference Vowels..."));
  reference->setObjectName(QStringLiteral("Reference Vowels"));
  reference->setToolTip(QStringLiteral("Show vowels from a table of \"vowel f1 f2\" lines (Hz) as labels"));
  connect(reference, &QAction::triggered, this, [this] {
    const QString path = chooseReferenceFile ? chooseReferenceFile() : QString();
    if (!path.isEmpty()) loadReferenceVowels(path);
  });
  bar_->addSeparator();
  readout_ = new QLabel(bar_);
  readout_->setObjectName(QStringLiteral("readout"));
  readout_->setMinimumWidth(320);
  bar_->addWidget(readout_);
  layout->addWidget(bar_);
  canvas_ = new VowelSpaceCanvas(*this);
  layout->addWidget(canvas_, 1);

  connect(&document_, &OpenDocument::cellsChanged, this, [this](vandrel::CellRange cells) {
    if (cells.lastRow >= vandrel::kF2 && cells.firstRow <= vandrel::kF1)
      reread(cells.firstColumn, cells.lastColumn);
  });
  connect(&document_, &OpenDocument::structureChanged, this, [this] { reread(); });
  Workspace& cursor = Workspace::of(document_);
  connect(&cursor, &Workspace::cursorChanged, canvas_, qOverload<>(&QWidget::update));
  connect(&cursor, &Workspace::selectionChanged, canvas_, qOverload<>(&QWidget::update));
  reread();
}

VowelSpaceView::~VowelSpaceView() = default;

QWidget* VowelSpaceView::canvas() const { return canvas_; }

void VowelSpaceView::setScale(FormantScale scale) {
  scale_ = scale;
  if (QAction* a = bar_->findChild<QAction*>(scale == FormantScale::kBark ? QStringLiteral("Bark")
                                                                          : QStringLiteral("Hz")))
    a->setChecked(true);
  canvas_->update();
}

bool VowelSpaceView::loadReferenceVowels(const QString& path) {
  std::string text;
  std::string why;
  std::vector<vandrel::ReferenceVowel> read;
  if (!vandrel::readWholeFile(path.toStdString(), text, 1 << 20))
    why = "the file cannot be read";
  else
    why = vandrel::readReferenceVowels(text, read);
  if (!why.empty()) {
    warn(this, QStringLiteral("Cannot show the reference vowels of %1: %2.")
                   .arg(QFileInfo(path).fileName(), QString::fromStdString(why)));
    return false;
  }
  vowels_ = std::move(read);
  canvas_->update();
  return true;
}

void VowelSpaceView::reread() {
  points_ = vandrel::vowelTrajectory(document_.doc().table());
  canvas_->update();
}

void VowelSpaceView::reread(int firstColumn, int lastColumn) {
  const vandrel::FrameTable& t = document_.doc().table();
  if (static_cast<int>(points_.size()) != t.columns()) return reread();
  for (int c = std::max(firstColumn, 0); c <= std::min(lastColumn, t.columns() - 1); ++c)
    points_[static_cast<std::size_t>(c)] = {t.value(vandrel::kF1, c), t.value(vandrel::kF2, c),
                                            t.anchor(vandrel::kF1, c), t.anchor(vandrel::kF2, c)};
  canvas_->update();
}

double VowelSpaceView::f1HighFor(double lower, double upper) const {
  // Vowels seldom reach past 1000 Hz: the scale ends there, or at the next
  // 100 Hz above the highest F1 of the table and of the reference vowels.
  double highest = 1000;
  for (const auto& p : points_) highest = std::max(highest, p.f1);
  for (const auto& v : vowels_) highest = std::max(highest, v.f1);
  return std::clamp(std::ceil(highest / 100) * 100, lower + 100, upper);
}

VowelSpaceMap VowelSpaceView::mapFor(const QRectF& area) const {
  const vandrel::ParameterSet& ps = document_.doc().params();
  VowelSpaceMap m;
  m.scale = scale_;
  m.f1Low = ps.at(vandrel::kF1).lower;
  m.f1High = f1High_ ? *f1High_ : f1HighFor(ps.at(vandrel::kF1).lower, ps.at(vandrel::kF1).upper);
  m.f2Low = ps.at(vandrel::kF2).lower;
  m.f2High = ps.at(vandrel::kF2).upper;
  // The F2 scale along the top and the F1 scale down the right, as vowel
  // charts have them.
  m.left = area.left() + 26;
  m.top = area.top() + 46;
  m.right = area.right() - 64;
  m.bottom = area.bottom() - 16;
  return m;
}

VowelSpaceMap VowelSpaceView::canvasMap() const { return mapFor(QRectF(canvas_->rect())); }

int VowelSpaceView::cursorFrame() const {
  const int interval = document_.doc().params().intervalMs;
  if (points_.empty() || interval <= 0) return -1;
  const double ms = Workspace::of(document_).timeMs();
  return std::clamp(static_cast<int>(ms) / interval, 0, static_cast<int>(points_.size()) - 1);
}

std::optional<std::pair<int, int>> VowelSpaceView::selectedFrames() const {
  const auto& sel = Workspace::of(document_).selection();
  const int interval = document_.doc().params().intervalMs;
  if (!sel || points_.empty() || interval <= 0) return std::nullopt;
  const int last = static_cast<int>(points_.size()) - 1;
  return std::pair{std::clamp(static_cast<int>(sel->startMs) / interval, 0, last),
                   std::clamp(static_cast<int>(sel->endMs) / interval, 0, last)};
}

void VowelSpaceView::paint(QPainter& p, const QRectF& area, bool marks) const {
  p.save();
  p.fillRect(area, Qt::white);
  const VowelSpaceMap m = mapFor(area);
  const QRectF plot(QPointF(m.left, m.top), QPointF(m.right, m.bottom));
  QFont font = p.font();
  font.setPixelSize(11);
  p.setFont(font);
  const QFontMetricsF fm(font);

  // Grid and scales: F2 along the top, F1 down the right.
  p.setPen(QPen(kGrid, 1));
  const std::vector<double> f2Ticks = m.ticks(m.f2Low, m.f2High, plot.width(), 60);
  const std::vector<double> f1Ticks = m.ticks(m.f1Low, m.f1High, plot.height(), 50);
  for (double f2 : f2Ticks) p.drawLine(QPointF(m.xOf(f2), m.top), QPointF(m.xOf(f2), m.bottom));
  for (double f1 : f1Ticks) p.drawLine(QPointF(m.left, m.yOf(f1)), QPointF(m.right, m.yOf(f1)));
  p.setPen(Qt::black);
  p.drawRect(plot);
  for (double f2 : f2Ticks) {
    const QString t = tickText(f2, scale_);
    p.drawText(QPointF(m.xOf(f2) - fm.horizontalAdvance(t) / 2, m.top - 5), t);
  }
  for (double f1 : f1Ticks)
    p.drawText(QPointF(m.right + 5, m.yOf(f1) + fm.ascent() / 2 - 1), tickText(f1, scale_));
  const QString f2Title = QStringLiteral("F2 (%1)").arg(unitOf(scale_));
  p.drawText(QPointF((m.left + m.right - fm.horizontalAdvance(f2Title)) / 2, m.top - 8 - fm.height()),
             f2Title);
  p.save();
  const QString f1Title = QStringLiteral("F1 (%1)").arg(unitOf(scale_));
  p.translate(m.right + 46, (m.top + m.bottom + fm.horizontalAdvance(f1Title)) / 2);
  p.rotate(-90);
  p.drawText(QPointF(0, fm.ascent()), f1Title);
  p.restore();

  p.setClipRect(plot);
  // Reference vowels: their symbols, centred on their formants.
  QFont big = font;
  big.setPixelSize(16);
  p.setFont(big);
  const QFontMetricsF bm(big);
  p.setPen(kReference);
  for (const auto& v : vowels_) {
    const QString label = QString::fromStdString(v.label);
    p.drawText(QPointF(m.xOf(v.f2) - bm.horizontalAdvance(label) / 2, m.yOf(v.f1) + bm.ascent() / 2 - 2),
               label);
  }
  p.setFont(font);

  const auto at = [&](std::size_t i) { return QPointF(m.xOf(points_[i].f2), m.yOf(points_[i].f1)); };
  if (!points_.empty()) {
    QPolygonF line;
    line.reserve(static_cast<qsizetype>(points_.size()));
    for (std::size_t i = 0; i < points_.size(); ++i) line << at(i);
    // Separate segments: one stroked path through thousands of crossing
    // points costs the rasterizer far more than the same lines one by one.
    QList<QLineF> segments;
    segments.reserve(line.size());
    for (qsizetype i = 1; i < line.size(); ++i) segments << QLineF(line[i - 1], line[i]);
    if (marks)
      if (const auto sel = selectedFrames()) {
        p.setPen(QPen(kSelection, 7, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        p.drawLines(segments.constData() + sel->first, std::max(sel->second - sel->first, 0));
      }
    p.setPen(QPen(kTrajectory, 1.6, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    p.drawLines(segments);
    // Arrowheads every 90 pixels of the path say which way it runs.
    p.setBrush(kTrajectory);
    double next = 45, done = 0;  // path length of the next arrowhead, and of the segment's start
    for (qsizetype i = 1; i < line.size(); ++i) {
      const QPointF d = line[i] - line[i - 1];
      const double length = std::hypot(d.x(), d.y());
      if (length <= 0) continue;
      const QPointF u = d / length, n(-u.y(), u.x());
      for (; next <= done + length; next += 90) {
        const QPointF tip = line[i - 1] + u * (next - done);
        p.drawPolygon(QPolygonF{tip, tip - u * 8 + n * 3.5, tip - u * 8 - n * 3.5});
      }
      done += length;
    }
    // Where it starts (an open circle) and where it goes (a filled one).
    p.setBrush(Qt::white);
    p.drawEllipse(line.front(), 4, 4);
    p.setBrush(kTrajectory);
    p.drawEllipse(line.back(), 3, 3);
    // Handles: filled when both formants are anchored, open when one is
    // (and the handle moves along that formant only).
    p.setPen(QPen(Qt::black, 1));
    for (std::size_t i = 0; i < points_.size(); ++i) {
      if (!points_[i].handle()) continue;
      p.setBrush(points_[i].f1Anchor && points_[i].f2Anchor ? QBrush(kHandle) : QBrush(Qt::white));
      p.drawRect(QRectF(at(i) - QPointF(4.5, 4.5), QSizeF(9, 9)));
    }
    if (const int c = cursorFrame(); marks && c >= 0) {
      const QPointF here = at(static_cast<std::size_t>(c));
      p.setPen(QPen(kCursor, 2));
      p.setBrush(Qt::NoBrush);
      p.drawEllipse(here, 8, 8);
      p.drawLine(here + QPointF(-13, 0), here + QPointF(-9, 0));
      p.drawLine(here + QPointF(9, 0), here + QPointF(13, 0));
      p.drawLine(here + QPointF(0, -13), here + QPointF(0, -9));
      p.drawLine(here + QPointF(0, 9), here + QPointF(0, 13));
    }
  }
  p.restore();
}

void VowelSpaceView::pressAt(QPointF pos) {
  const VowelSpaceMap m = canvasMap();
  const int handle = vandrel::nearestFrame(points_, m, pos.x(), pos.y(), kHandleRadius, true);
  const int frame =
      handle >= 0 ? handle : vandrel::nearestFrame(points_, m, pos.x(), pos.y(), kHandleRadius, false);
  if (frame < 0) return;
  Workspace& cursor = Workspace::of(document_);
  cursor.clearSelection();
  cursor.setTimeMs(static_cast<double>(frame) * document_.doc().params().intervalMs);
  if (handle < 0) return;
  drag_.emplace(handle);
  f1High_ = m.f1High;  // the scale holds still under the pointer while it drags
}

void VowelSpaceView::moveTo(QPointF pos) {
  showReadout(pos);
  if (!drag_) return;
  const VowelSpaceMap m = canvasMap();
  drag_->moveTo(document_.doc(), m.f1At(pos.y()), m.f2At(pos.x()));
}

void VowelSpaceView::release() {
  if (!drag_) return;
  drag_->finish(document_.doc());
  drag_.reset();
  f1High_.reset();
  canvas_->update();
}

void VowelSpaceView::showReadout(QPointF pos) {
  const VowelSpaceMap m = canvasMap();
  const int frame = vandrel::nearestFrame(points_, m, pos.x(), pos.y(), kHandleRadius, false);
  const auto hz = [&](double f1, double f2) {
    QString t = QStringLiteral("F1 %1 Hz, F2 %2 Hz").arg(std::lround(f1)).arg(std::lround(f2));
    if (scale_ == FormantScale::kBark)
      t += QStringLiteral(" (%1, %2 bark)")
               .arg(vandrel::hzToBark(f1), 0, 'f', 2)
               .arg(vandrel::hzToBark(f2), 0, 'f', 2);
    return t;
  };
  if (frame >= 0) {
    const auto& pt = points_[static_cast<std::size_t>(frame)];
    readout_->setText(
        QStringLiteral("frame %1 (%2 ms): ").arg(frame).arg(frame * document_.doc().params().intervalMs) +
        hz(pt.f1, pt.f2));
  } else if (pos.x() >= m.left && pos.x() <= m.right && pos.y() >= m.top && pos.y() <= m.bottom) {
    readout_->setText(hz(m.f1At(pos.y()), m.f2At(pos.x())));
  } else {
    readout_->clear();
  }
}

void VowelSpaceView::paintVector(QPainter& painter) {
  painter.setRenderHint(QPainter::Antialiasing);
  paint(painter, QRectF(QPointF(0, 0), vectorSize()), false);
}

QImage VowelSpaceView::picture() {
  return renderPicture(vectorSize(), kPictureDpi, [this](QPainter& p, const QRectF& area) {
    p.setRenderHint(QPainter::Antialiasing);
    paint(p, area, false);
  });
}

void VowelSpaceView::printTo(QPrinter& printer, const QString& title) {
  printOnePage(printer, title + QStringLiteral("::Vowel Space"), vectorSize(),
               [this](QPainter& p, const QRectF& area) {
                 p.setRenderHint(QPainter::Antialiasing);
                 paint(p, area, false);
               });
}

}  // namespace vandrel::ui
