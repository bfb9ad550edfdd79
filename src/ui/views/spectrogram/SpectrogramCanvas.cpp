#include "views/spectrogram/SpectrogramCanvas.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QTimer>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>
#include <utility>

#include "app/CProgressDialog.h"
#include "app/OpenDocument.h"
#include "common/Workspace.h"
#include "document/VandrelDoc.h"
#include "views/common/AnalysisCache.h"

namespace vandrel::ui {

namespace {

// A computation that runs long enough to notice gets its progress dialog.
constexpr int kProgressAfterMs = 400;

QString nameOf(vandrel::SampleSlot slot) {
  return slot == vandrel::SampleSlot::kAudio ? QStringLiteral("Audio file") : QStringLiteral("Synthesized");
}

vandrel::SampleSlot otherOf(vandrel::SampleSlot slot) {
  return slot == vandrel::SampleSlot::kAudio ? vandrel::SampleSlot::kSynthesized
                                             : vandrel::SampleSlot::kAudio;
}

}  // namespace

SpectrogramCanvas::SpectrogramCanvas(OpenDocument& document, vandrel::SampleSlot own,
                                     const SpectrogramViewOptions& options, QWidget* parent)
    : QWidget(parent), document_(document), own_(own) {
  setMouseTracking(true);
  setFocusPolicy(Qt::StrongFocus);
  setAttribute(Qt::WA_OpaquePaintEvent);
  setMinimumSize(320, 240);
  scene_.options = options;
  scene_.doc = &document.doc();
  scene_.signal[0].name = nameOf(own);
  scene_.signal[1].name = nameOf(otherOf(own));
  for (int i = 0; i < 2; ++i) {
    spectroWatch_[static_cast<std::size_t>(i)] = new QFutureWatcher<SpectrogramResult>(this);
    pitchWatch_[static_cast<std::size_t>(i)] = new QFutureWatcher<PitchResult>(this);
    connect(spectroWatch_[static_cast<std::size_t>(i)], &QFutureWatcherBase::finished, this,
            [this, i] { receive(i, false); });
    connect(pitchWatch_[static_cast<std::size_t>(i)], &QFutureWatcherBase::finished, this,
            [this, i] { receive(i, true); });
  }
  progressTimer_ = new QTimer(this);
  progressTimer_->setInterval(100);
  connect(progressTimer_, &QTimer::timeout, this, &SpectrogramCanvas::updateProgress);

  reloadSignal(0);
  reloadSignal(1);
  axis_.setLengthMs(scene_.signal[0].lengthMs());
  axis_.showAll();
  connect(&axis_, &TimeAxis::changed, this, [this] {
    invalidate();
    scheduleAnalysis();
    emit zoomChanged();
  });

  connect(&document, &OpenDocument::samplesChanged, this, [this](vandrel::SampleSlot slot) {
    if (slot != own_ && slot != otherOf(own_)) return;
    const int index = slot == own_ ? 0 : 1;
    reloadSignal(index);
    if (index == 0) axis_.setLengthMs(scene_.signal[0].lengthMs());
    invalidate();
    scheduleAnalysis();
  });
  // A typed value changes the picture only when the table's rows are drawn
  // in it; the column's tint is drawn over the picture and moves with the
  // interval.
  connect(&document, &OpenDocument::cellsChanged, this, [this] {
    if (scene_.tableOverlay) invalidate();
  });
  connect(&document, &OpenDocument::structureChanged, this, [this] {
    if (scene_.tableOverlay) invalidate();
    update();
  });

  Workspace& cursor = Workspace::of(document);
  scene_.selection = cursor.selection();
  connect(&cursor, &Workspace::selectionChanged, this, [this, &cursor] {
    scene_.selection = cursor.selection();
    invalidate();
  });
  connect(&cursor, &Workspace::cursorChanged, this, [this](double ms) {
    cursorMs_ = ms;
    update();
  });
  connect(&Workspace::of(document), &Workspace::playHeadMoved, this, [this](double ms) {
    playMs_ = ms;
    update();
  });
  scheduleAnalysis();
}

SpectrogramCanvas::~SpectrogramCanvas() {
  if (progressDialog_) delete progressDialog_;
}

void SpectrogramCanvas::reloadSignal(int index) {
  SignalPicture& s = scene_.signal[static_cast<std::size_t>(index)];
  const vandrel::SampleSet& set = document_.doc().sampleSet(index == 0 ? own_ : otherOf(own_));
  if (set.empty() || !(set.sampleRate > 0)) {
    s.samples.reset();
    s.spectrogram = {};
    s.pitch = {};
    if (index == 1) scene_.compare = Compare::kSingle;
    return;
  }
  Samples now = AnalysisCache::of(document_).samples(index == 0 ? own_ : otherOf(own_));
  if (s.samples == now && s.fs == set.sampleRate) return;
  s.samples = std::move(now);
  s.fs = set.sampleRate;
  int peak = 1;
  for (const std::int16_t v : set.samples) peak = std::max(peak, std::abs(static_cast<int>(v)));
  s.peak = peak;
  // Whatever was computed belongs to the old sound.
  s.spectrogram = {};
  s.pitch = {};
  spectroCovered_[static_cast<std::size_t>(index)] = {};
  pitchCovered_[static_cast<std::size_t>(index)] = {};
}

void SpectrogramCanvas::setOptions(const SpectrogramViewOptions& options) {
  scene_.options = options;
  spectroCovered_ = {};
  pitchCovered_ = {};
  invalidate();
  scheduleAnalysis();
}

void SpectrogramCanvas::setCompare(Compare compare) {
  scene_.compare = hasOther() ? compare : Compare::kSingle;
  invalidate();
  scheduleAnalysis();
}

void SpectrogramCanvas::setTableOverlay(bool on) {
  scene_.tableOverlay = on;
  invalidate();
}

void SpectrogramCanvas::setTableColumn(int column) {
  if (column == tableColumn_) return;
  tableColumn_ = column;
  update();
}

void SpectrogramCanvas::zoomIn() { axis_.zoomBy(0.5); }
void SpectrogramCanvas::zoomOut() { axis_.zoomBy(2.0); }
void SpectrogramCanvas::showAll() { axis_.showAll(); }

void SpectrogramCanvas::zoomToSelection() {
  if (scene_.selection) axis_.setVisible(scene_.selection->startMs, scene_.selection->endMs);
}

bool SpectrogramCanvas::busy() const {
  for (std::size_t i = 0; i < 2; ++i)
    if (spectroWatch_[i]->isRunning() || pitchWatch_[i]->isRunning()) return true;
  return scheduled_;
}

void SpectrogramCanvas::invalidate() {
  cacheValid_ = false;
  update();
}

void SpectrogramCanvas::scheduleAnalysis() {
  if (scheduled_) return;
  scheduled_ = true;
  QTimer::singleShot(0, this, [this] {
    scheduled_ = false;
    startAnalysis();
  });
}

void SpectrogramCanvas::startAnalysis() {
  // Before the window is laid out its size means nothing; showing it resizes
  // it and asks again.
  if (!isVisible()) return;
  const std::vector<Pane> panes = scene_.layout(rect());
  for (std::size_t i = 0; i < 2; ++i) {
    const SignalPicture& s = scene_.signal[i];
    if (!s.samples) continue;
    // The other signal is analysed only when it is drawn.
    if (i == 1 && scene_.compare == Compare::kSingle) continue;
    const Pane* spectro = nullptr;
    const int paneSignal = scene_.compare == Compare::kBeneath ? static_cast<int>(i) : 0;
    for (const Pane& p : panes)
      if (p.kind == PaneKind::kSpectrogram && p.signal == paneSignal) spectro = &p;
    if (!spectro || spectro->rect.width() < 8 || spectro->rect.height() < 8) continue;

    const Covered wanted{axis_.startMs(), axis_.endMs(), spectro->rect.width(), spectro->rect.height()};
    if (!(wanted == spectroCovered_[i])) {
      spectroCovered_[i] = wanted;
      SpectrogramRequest r{s.samples,
                           s.fs,
                           wanted.startMs,
                           wanted.endMs,
                           wanted.columns,
                           wanted.rows,
                           scene_.options.spectrogram};
      // Formants of the other signal are drawn only overlaid or beneath, as dots.
      const AnalysisRun<SpectrogramResult> run = AnalysisCache::of(document_).spectrogram(r);
      spectroProgress_[i] = run.progress;
      if (!busy()) running_.start();
      spectroWatch_[i]->setFuture(run.future);
    }
    // The pitch frames lie at fixed steps whatever the zoom: the whole signal
    // is tracked once, and zooming or resizing never waits for it again.
    const Covered pitchWanted{0.0, s.lengthMs(), 0, 0};
    if (!(pitchWanted == pitchCovered_[i])) {
      pitchCovered_[i] = pitchWanted;
      PitchRequest r{s.samples,
                     s.fs,
                     pitchWanted.startMs,
                     pitchWanted.endMs,
                     scene_.options.pitch,
                     scene_.options.method};
      const AnalysisRun<PitchResult> run = AnalysisCache::of(document_).pitch(r);
      pitchProgress_[i] = run.progress;
      if (!busy()) running_.start();
      pitchWatch_[i]->setFuture(run.future);
    }
  }
  if (busy() && !progressTimer_->isActive()) progressTimer_->start();
}

void SpectrogramCanvas::showEvent(QShowEvent* event) {
  QWidget::showEvent(event);
  scheduleAnalysis();
}

void SpectrogramCanvas::receive(int index, bool pitch) {
  SignalPicture& s = scene_.signal[static_cast<std::size_t>(index)];
  if (pitch) {
    auto* w = pitchWatch_[static_cast<std::size_t>(index)];
    if (w->future().resultCount() > 0) s.pitch = w->result();
  } else {
    auto* w = spectroWatch_[static_cast<std::size_t>(index)];
    if (w->future().resultCount() > 0) s.spectrogram = w->result();
  }
  invalidate();
  if (!busy()) updateProgress();
  emit analysed();
}

void SpectrogramCanvas::updateProgress() {
  if (!busy()) {
    progressTimer_->stop();
    if (progressDialog_) progressDialog_->hide();
    return;
  }
  if (running_.elapsed() < kProgressAfterMs) return;
  // The spectrogram of the view's own signal first, then its pitch.
  const bool spectro = spectroWatch_[0]->isRunning() || spectroWatch_[1]->isRunning();
  const auto& counter = spectro ? (spectroWatch_[0]->isRunning() ? spectroProgress_[0] : spectroProgress_[1])
                                : (pitchWatch_[0]->isRunning() ? pitchProgress_[0] : pitchProgress_[1]);
  const QString caption = spectro ? CProgressDialog::kSpectrogram : CProgressDialog::kPitch;
  if (progressDialog_ && progressDialog_->caption() != caption) delete progressDialog_;
  if (!progressDialog_) progressDialog_ = new CProgressDialog(caption, window());
  if (!progressDialog_->isVisible()) progressDialog_->show();
  if (counter) progressDialog_->setProgress(counter->done.load(), counter->total.load());
}

void SpectrogramCanvas::resizeEvent(QResizeEvent* event) {
  QWidget::resizeEvent(event);
  const TimeMap map = SpectrogramScene::timeMap(axis_, rect());
  axis_.setPixels(static_cast<int>(map.left), static_cast<int>(map.right));
  invalidate();
  scheduleAnalysis();
}

void SpectrogramCanvas::paintEvent(QPaintEvent*) {
  const qreal dpr = devicePixelRatioF();
  if (!cacheValid_ || cache_.size() != size() * dpr) {
    cache_ = QPixmap(size() * dpr);
    cache_.setDevicePixelRatio(dpr);
    QPainter p(&cache_);
    scene_.paint(p, rect(), SpectrogramScene::timeMap(axis_, rect()));
    cacheValid_ = true;
  }
  QPainter p(this);
  p.drawPixmap(0, 0, cache_);
  const std::vector<Pane> panes = scene_.layout(rect());
  if (panes.empty()) return;
  const int top = panes.front().rect.top();
  const int bottom = panes.back().rect.bottom();
  const TimeMap time = SpectrogramScene::timeMap(axis_, rect());
  // The table's current column, over every pane; while the sound plays the
  // play line shows where the table is.
  if (tableColumn_ >= 0 && playMs_ < 0) {
    const double interval = document_.doc().params().intervalMs;
    const double x0 = time.xOf(tableColumn_ * interval);
    const double x1 = time.xOf((tableColumn_ + 1) * interval);
    for (const Pane& pane : panes)
      p.fillRect(
          QRectF(x0, pane.rect.top(), std::max(x1 - x0, 1.0), pane.rect.height()).intersected(pane.rect),
          QColor(0, 150, 60, 50));
  }
  if (crosshair_.x() >= time.left && crosshair_.x() < time.right) {
    p.setPen(QPen(QColor(220, 0, 0, 160), 1));
    p.drawLine(crosshair_.x(), top, crosshair_.x(), bottom);
    if (const auto pane = paneAt(crosshair_))
      p.drawLine(pane->rect.left(), crosshair_.y(), pane->rect.right(), crosshair_.y());
  } else if (cursorMs_ >= axis_.startMs() && cursorMs_ <= axis_.endMs()) {
    // Another view of the document points at this time.
    const double x = time.xOf(cursorMs_);
    p.setPen(QPen(QColor(220, 0, 0, 160), 1, Qt::DashLine));
    p.drawLine(QPointF(x, top), QPointF(x, bottom));
  }
  if (playMs_ >= axis_.startMs() && playMs_ <= axis_.endMs()) {
    // Where the sound is: a line of its own colour, over every pane.
    const double x = time.xOf(playMs_);
    p.setPen(QPen(QColor(0, 150, 255), 2));
    p.drawLine(QPointF(x, top), QPointF(x, bottom));
  }
}

std::optional<Pane> SpectrogramCanvas::paneAt(const QPoint& at) const {
  for (const Pane& p : scene_.layout(rect()))
    if (p.rect.contains(at)) return p;
  return std::nullopt;
}

void SpectrogramCanvas::updateCrosshair(const QPoint& at) {
  const TimeMap time = SpectrogramScene::timeMap(axis_, rect());
  crosshair_ = at;
  update();
  if (at.x() < time.left || at.x() >= time.right) return;
  Workspace::of(document_).setTimeMs(time.msAt(at.x()));
  if (statusSink) statusSink(scene_.readout(scene_.layout(rect()), time, at.x(), at.y()));
}

void SpectrogramCanvas::mousePressEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return;
  const TimeMap time = SpectrogramScene::timeMap(axis_, rect());
  const QPoint at = event->position().toPoint();
  if (tracing) {
    dragging_ = true;
    mouseMoveEvent(event);
    return;
  }
  dragging_ = true;
  dragStartMs_ = std::clamp(time.msAt(at.x()), 0.0, axis_.lengthMs());
  Workspace::of(document_).clearSelection();
}

void SpectrogramCanvas::mouseMoveEvent(QMouseEvent* event) {
  const QPoint at = event->position().toPoint();
  updateCrosshair(at);
  if (!dragging_) return;
  const TimeMap time = SpectrogramScene::timeMap(axis_, rect());
  const double ms = std::clamp(time.msAt(at.x()), 0.0, axis_.lengthMs());
  if (tracing) {
    if (!tracePoint) return;
    for (const Pane& pane : scene_.layout(rect())) {
      const bool wanted =
          pane.kind == (tracePitch ? PaneKind::kPitch : PaneKind::kSpectrogram) && pane.signal == 0;
      if (!wanted) continue;
      const int y = std::clamp(at.y(), pane.rect.top(), pane.rect.bottom());
      tracePoint(ms,
                 SpectrogramScene::frequencyAt(pane, y, scene_.paneTopHz(pane), scene_.paneBottomHz(pane)));
    }
    return;
  }
  Workspace::of(document_).setSelection(dragStartMs_, ms);
}

void SpectrogramCanvas::mouseReleaseEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton || !dragging_) return;
  dragging_ = false;
  if (tracing && traceEnd) traceEnd();
}

void SpectrogramCanvas::wheelEvent(QWheelEvent* event) {
  if (!(event->modifiers() & Qt::ControlModifier) || event->angleDelta().y() == 0) {
    event->ignore();
    return;
  }
  const TimeMap time = SpectrogramScene::timeMap(axis_, rect());
  axis_.zoomBy(event->angleDelta().y() > 0 ? 0.5 : 2.0, time.msAt(event->position().x()));
  event->accept();
}

void SpectrogramCanvas::keyPressEvent(QKeyEvent* event) {
  switch (event->key()) {
    case Qt::Key_Plus:
    case Qt::Key_Equal:
      zoomIn();
      break;
    case Qt::Key_Minus:
      zoomOut();
      break;
    case Qt::Key_0:
    case Qt::Key_Home:
      showAll();
      break;
    case Qt::Key_Return:
    case Qt::Key_Enter:
      zoomToSelection();
      break;
    case Qt::Key_Escape:
      Workspace::of(document_).clearSelection();
      break;
    case Qt::Key_Left:
    case Qt::Key_Right: {
      const double shift = axis_.spanMs() / 4 * (event->key() == Qt::Key_Left ? -1 : 1);
      axis_.setVisible(axis_.startMs() + shift, axis_.endMs() + shift);
      break;
    }
    default:
      QWidget::keyPressEvent(event);
  }
}

void SpectrogramCanvas::leaveEvent(QEvent* event) {
  QWidget::leaveEvent(event);
  crosshair_ = QPoint(-1, -1);
  update();
}

void SpectrogramCanvas::paintPage(QPainter& p, const QRect& area, double startMs, double endMs,
                                  double upperShare) const {
  const TimeMap base = SpectrogramScene::timeMap(axis_, area);
  const TimeMap time{startMs, std::max(endMs, startMs + 1e-3), base.left, base.right};
  SpectrogramScene page = scene_;
  page.upperShare = upperShare;
  // The page is the selection; its tint and the table's column are screen aids.
  page.selection.reset();
  page.labels = document_.doc().labels();
  page.paint(p, area, time);
}

}  // namespace vandrel::ui
