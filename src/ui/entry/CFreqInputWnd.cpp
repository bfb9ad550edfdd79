#include "entry/CFreqInputWnd.h"

#include <QMouseEvent>
#include <QStatusBar>

#include <algorithm>
#include <cmath>
#include <memory>
#include <tuple>

#include "app/CChildFrame.h"
#include "app/CMainFrame.h"
#include "app/OpenDocument.h"
#include "document/ColorSlots.h"
#include "views/common/AnalysisCache.h"
#include "views/common/AnalysisViewOptions.h"

namespace vandrel::ui {

namespace {

// Room for the value labels on the left, the time axis below, and a title
// line above each strip.
constexpr int kLeft = 58;
constexpr int kRight = 14;
constexpr int kTop = 2;
constexpr int kTitle = 20;
constexpr int kBottom = 40;
constexpr int kBackgroundRangeDb = 50;

// Shares of the strips' height: formants get the most room, they carry five tracks.
constexpr std::array<double, vandrel::kStripCount> kStripShare = {0.26, 0.44, 0.30};

QColor colorOf(vandrel::Colorref c) { return {vandrel::redOf(c), vandrel::greenOf(c), vandrel::blueOf(c)}; }

}  // namespace

CFreqInputWnd::CFreqInputWnd(CMainFrame& mainFrame, OpenDocument& document, QWidget* parent)
    : QWidget(parent),
      mainFrame_(mainFrame),
      document_(document),
      spectrogramWatcher_(new QFutureWatcher<SpectrogramResult>(this)),
      pitchWatcher_(new QFutureWatcher<PitchResult>(this)),
      backgroundTimer_(new QTimer(this)) {
  backgroundTimer_->setSingleShot(true);
  backgroundTimer_->setInterval(200);
  connect(backgroundTimer_, &QTimer::timeout, this, &CFreqInputWnd::startBackground);
  setObjectName(QStringLiteral("CFreqInputWnd"));
  setMouseTracking(true);  // for the read-out in the status bar
  setAttribute(Qt::WA_OpaquePaintEvent);
  // Small enough that the window with its label tiers fits a tile of a
  // tiled area (half the area's height when three windows or more share it).
  setMinimumSize(360, 240);
  makePens();
  refreshSettings();

  connect(&document_, &OpenDocument::cellsChanged, this, &CFreqInputWnd::cellsChanged);
  connect(&document_, &OpenDocument::structureChanged, this, [this] {
    updateLayout();
    update();
  });
  connect(&document_, &OpenDocument::drawingChanged, this, [this] {
    makePens();
    update();
  });
  connect(&document_, &OpenDocument::samplesChanged, this, [this](vandrel::SampleSlot slot) {
    if (slot != vandrel::SampleSlot::kAudio) return;
    refreshSettings();
    if (showRecording_) startBackground();
  });
  connect(spectrogramWatcher_, &QFutureWatcherBase::finished, this, [this] {
    if (spectrogramWatcher_->future().resultCount() > 0) spectrogram_ = spectrogramWatcher_->result();
    update();
  });
  connect(pitchWatcher_, &QFutureWatcherBase::finished, this, [this] {
    if (pitchWatcher_->future().resultCount() > 0) pitch_ = pitchWatcher_->result();
    update();
  });
}

void CFreqInputWnd::makePens() {
  const vandrel::DrawingChoice& choice = document_.doc().drawing();
  for (int t = 0; t < vandrel::kDrawTrackCount; ++t)
    pens_[static_cast<std::size_t>(t)] = QPen(colorOf(choice.color(static_cast<vandrel::DrawTrack>(t))), 1.2);
  pens_[kGridPen] = QPen(QColor(0, 0, 0, 40), 1);
  pens_[kAnchorPen] = QPen(Qt::black, 1);
}

std::pair<int, int> CFreqInputWnd::displayMaxima() const {
  const double fs = document_.doc().analysisRate();
  SpectrogramViewOptions o = viewOptionsOf(mainFrame_.environment().config);
  if (o.spectrogram.fs != fs) {
    o.spectrogram.fs = fs;
    o.spectrogram.setDefaults();
  }
  return {std::max(o.pitch.displayHighHz, 1), std::max(o.spectrogram.frequencyRange, 1)};
}

void CFreqInputWnd::refreshSettings() {
  std::tie(f0MaxHz_, formantMaxHz_) = displayMaxima();
  updateLayout();
  update();
}

void CFreqInputWnd::updateLayout() {
  vandrel::DrawingLayout l;
  const int plotWidth = std::max(width() - kLeft - kRight, 1);
  const int stripsHeight = std::max(height() - kTop - kBottom - vandrel::kStripCount * kTitle, 3);
  int y = kTop;
  for (int s = 0; s < vandrel::kStripCount; ++s) {
    y += kTitle;
    const int h =
        s + 1 == vandrel::kStripCount
            ? std::max(height() - kBottom - y, 1)
            : std::max(static_cast<int>(stripsHeight * kStripShare[static_cast<std::size_t>(s)]), 1);
    l.strip[static_cast<std::size_t>(s)] = vandrel::PixelBox{kLeft, y, plotWidth, h};
    y += h;
  }
  l.area = vandrel::PixelBox{kLeft, l.strip[0].top, plotWidth, y - l.strip[0].top};
  l.range = {f0MaxHz_, formantMaxHz_, vandrel::kAmplitudeStripMaxDb};
  layout_ = l;
}

void CFreqInputWnd::resizeEvent(QResizeEvent* event) {
  QWidget::resizeEvent(event);
  updateLayout();
  if (showRecording_) backgroundTimer_->start();
}

double CFreqInputWnd::xOfColumn(int column) const {
  const int frames = std::max(document_.doc().table().columns(), 1);
  return layout_.area.left + static_cast<double>(column) * layout_.area.width / frames;
}

// Only the band of the changed frames is painted again, one frame either
// side so that the lines joining them follow.
void CFreqInputWnd::cellsChanged(const vandrel::CellRange& cells) {
  const int x0 = static_cast<int>(std::floor(xOfColumn(cells.firstColumn - 1))) - 3;
  const int x1 = static_cast<int>(std::ceil(xOfColumn(cells.lastColumn + 2))) + 3;
  update(QRect(x0, 0, x1 - x0 + 1, height()));
}

bool CFreqInputWnd::hasTableWindow() const { return !mainFrame_.windowsOf(document_).isEmpty(); }

void CFreqInputWnd::mousePressEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return;
  if (!hasTableWindow()) return;
  stroking_ = true;
  drawn_ = false;
  last_ = event->position().toPoint();
  stroke_.emplace(document_.doc().drawing().selected);
  ink_ = {last_};
}

void CFreqInputWnd::mouseMoveEvent(QMouseEvent* event) {
  const QPoint p = event->position().toPoint();
  showReadout(p);
  if (!stroking_ || !stroke_) return;
  if (!layout_.area.contains(p.x(), p.y())) return;
  if (event->buttons() != Qt::LeftButton || (event->modifiers() & (Qt::ShiftModifier | Qt::ControlModifier)))
    return;
  ink_.append(p);
  update(QRect(last_, p).normalized().adjusted(-3, -3, 3, 3));
  last_ = p;
  vandrel::CVandrelDoc& doc = document_.doc();
  if (const auto point =
          vandrel::drawPointAt(layout_, doc.drawing().selected, doc.table().columns(), p.x(), p.y()))
    if (stroke_->write(doc, *point)) drawn_ = true;
}

void CFreqInputWnd::mouseReleaseEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton || !stroke_) return;
  if (drawn_) {
    stroke_->finish();
    drawn_ = false;
  }
  stroke_.reset();
  stroking_ = false;
  ink_.clear();
  update();
}

void CFreqInputWnd::showReadout(const QPoint& p) {
  const vandrel::CVandrelDoc& doc = document_.doc();
  const int frames = doc.table().columns();
  if (!layout_.area.contains(p.x(), p.y()) || frames <= 0) return;
  const auto column =
      static_cast<int>(static_cast<long long>(p.x() - layout_.area.left) * frames / layout_.area.width);
  QString text = QStringLiteral("%1 ms").arg(column * doc.params().intervalMs);
  for (int s = 0; s < vandrel::kStripCount; ++s) {
    const vandrel::PixelBox& b = layout_.strip[static_cast<std::size_t>(s)];
    if (!b.contains(p.x(), p.y())) continue;
    const int value = (b.bottom() - p.y()) * layout_.range[static_cast<std::size_t>(s)] / b.height;
    text += QStringLiteral("   %1 %2").arg(value).arg(s == 2 ? QStringLiteral("dB") : QStringLiteral("Hz"));
  }
  mainFrame_.statusBar()->showMessage(text);
}

void CFreqInputWnd::setShowRecording(bool on) {
  showRecording_ = on;
  if (on) startBackground();
  update();
}

bool CFreqInputWnd::backgroundBusy() const {
  return spectrogramWatcher_->isRunning() || pitchWatcher_->isRunning();
}

void CFreqInputWnd::startBackground() {
  const vandrel::CVandrelDoc& doc = document_.doc();
  if (!doc.hasAudio() || !(doc.audio().sampleRate > 0)) {
    spectrogram_ = {};
    pitch_ = {};
    return;
  }
  SpectrogramViewOptions o = viewOptionsOf(mainFrame_.environment().config);
  const double fs = doc.audio().sampleRate;
  if (o.spectrogram.fs != fs) {
    o.spectrogram.fs = fs;
    o.spectrogram.setDefaults();
  }
  o.spectrogram.selectSize(o.spectrogram.sizeIndex);
  o.spectrogram.displayFormants = false;  // the table's own tracks are drawn over it
  // Grey levels count down from the strongest cell, and pre-emphasis makes a
  // fricative's hiss that cell: with the usual 35 dB the vowels' formants,
  // the very bands one draws over, fade to white. Behind the strips at least
  // 50 dB are shown.
  o.spectrogram.dynamicRangeDb = std::max(o.spectrogram.dynamicRangeDb, kBackgroundRangeDb);
  AnalysisCache& cache = AnalysisCache::of(document_);
  const Samples samples = cache.samples(vandrel::SampleSlot::kAudio);
  const double lengthMs = static_cast<double>(samples->size()) * 1000.0 / fs;

  SpectrogramRequest s;
  s.samples = samples;
  s.fs = fs;
  s.endMs = lengthMs;
  s.columns = std::clamp(layout_.area.width, 16, 2000);
  s.rows = std::clamp(layout_.stripOf(vandrel::Strip::kFormants).height, 16, 512);
  s.options = o.spectrogram;
  PitchRequest r;
  r.samples = samples;
  r.fs = fs;
  r.endMs = lengthMs;
  r.options = o.pitch;
  r.method = o.method;
  spectrogramWatcher_->setFuture(cache.spectrogram(s).future);
  pitchWatcher_->setFuture(cache.pitch(r).future);
}

}  // namespace vandrel::ui
