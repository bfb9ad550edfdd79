#include "views/fftlpc/FftLpcView.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QHBoxLayout>
#include <QImage>
#include <QKeyEvent>
#include <QLabel>
#include <QMouseEvent>
#include <QPainter>
#include <QPrinter>
#include <QSlider>
#include <QTimer>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>

#include "app/OpenDocument.h"
#include "common/PicturePage.h"
#include "common/RunOnWorker.h"
#include "common/Workspace.h"
#include "engine/Synthesizer.h"

namespace vandrel::ui {

namespace {

constexpr int kCurvePoints = 512;
constexpr double kPictureDpi = 150.0;

double lengthOf(const vandrel::SampleSet& s) {
  return s.sampleRate > 0.0 ? 1000.0 * static_cast<double>(s.samples.size()) / s.sampleRate : 0.0;
}

}  // namespace

// The drawing surface: paints the view's picture and turns the mouse into a
// crosshair (over the spectrum) or a time and range (on the strip).
class FftLpcCanvas : public QWidget {
 public:
  explicit FftLpcCanvas(FftLpcView& view) : QWidget(&view), view_(view) {
    setObjectName(QStringLiteral("fftLpcCanvas"));
    setMouseTracking(true);
    setMinimumSize(480, 360);
    setCursor(Qt::CrossCursor);
    setFocusPolicy(Qt::StrongFocus);
  }

 protected:
  void paintEvent(QPaintEvent*) override {
    QPainter p(this);
    view_.paint(p, rect());
  }

  void mouseMoveEvent(QMouseEvent* e) override {
    const FftLpcLayout l = view_.layout();
    if (pressX_) {
      // Only the band follows the drag: averaging a long range at a large
      // FFT size takes longer than a mouse move, so it waits for the release.
      if (std::abs(e->position().x() - *pressX_) > 3.0) {
        const double a = stripTimeAt(view_.picture_, l.strip, *pressX_);
        const double b = stripTimeAt(view_.picture_, l.strip, e->position().x());
        view_.picture_.dragged = std::make_pair(std::min(a, b), std::max(a, b));
        update();
      }
      return;
    }
    if (l.spectrum.contains(e->position()))
      view_.picture_.crosshair = e->position();
    else
      view_.picture_.crosshair.reset();
    update();
  }

  // Left and Right step the time by the average step, to walk through a vowel.
  void keyPressEvent(QKeyEvent* e) override {
    const int step = std::max(view_.options().averageStepMs, 1);
    if (e->key() == Qt::Key_Left || e->key() == Qt::Key_Right) {
      view_.clearSelection();
      view_.setTimeMs(view_.timeMs() + (e->key() == Qt::Key_Left ? -step : step));
    } else {
      QWidget::keyPressEvent(e);
    }
  }

  void leaveEvent(QEvent*) override {
    view_.picture_.crosshair.reset();
    update();
  }

  void mousePressEvent(QMouseEvent* e) override {
    const FftLpcLayout l = view_.layout();
    if (e->button() != Qt::LeftButton || !l.strip.contains(e->position())) return;
    pressX_ = e->position().x();
  }

  void mouseReleaseEvent(QMouseEvent* e) override {
    if (!pressX_) return;
    const FftLpcLayout l = view_.layout();
    const auto dragged = view_.picture_.dragged;
    view_.picture_.dragged.reset();
    pressX_.reset();
    if (dragged) {
      view_.setSelection(dragged->first, dragged->second);
    } else {
      view_.clearSelection();
      view_.setTimeMs(stripTimeAt(view_.picture_, l.strip, e->position().x()));
    }
    update();
  }

 private:
  FftLpcView& view_;
  std::optional<double> pressX_;
};

FftLpcView::FftLpcView(OpenDocument& document, const vandrel::COptionFFTLPC& options, double preEmphasis,
                       QWidget* parent)
    : QWidget(parent), document_(&document) {
  setObjectName(QStringLiteral("FftLpcView"));
  canvas_ = new FftLpcCanvas(*this);
  slider_ = new QSlider(Qt::Horizontal, this);
  slider_->setObjectName(QStringLiteral("timeSlider"));
  timeLabel_ = new QLabel(this);
  auto* row = new QHBoxLayout;
  row->setContentsMargins(8, 2, 8, 4);
  row->addWidget(new QLabel(QStringLiteral("Time:"), this));
  row->addWidget(slider_, 1);
  row->addWidget(timeLabel_);
  auto* top = new QVBoxLayout(this);
  top->setContentsMargins(0, 0, 0, 0);
  top->setSpacing(0);
  top->addWidget(canvas_, 1);
  top->addLayout(row);
  // The slider chooses one time, as a click on the strip or an arrow key
  // does: a range shown is let go.
  connect(slider_, &QSlider::valueChanged, this, [this](int ms) {
    if (picture_.selection) clearSelection();
    if (std::lround(picture_.timeMs) != ms) setTimeMs(ms);
  });

  resynthesis_ = new QTimer(this);
  resynthesis_->setSingleShot(true);
  resynthesis_->setInterval(300);
  connect(resynthesis_, &QTimer::timeout, this, &FftLpcView::synthesizePrivately);
  // An edit of the table makes the copy due; new sound (either kind) means
  // new slices and a new strip.
  connect(&document, &OpenDocument::cellsChanged, this, &FftLpcView::tableEdited);
  connect(&document, &OpenDocument::structureChanged, this, &FftLpcView::tableEdited);
  connect(&document, &OpenDocument::flagsChanged, this, &FftLpcView::tableEdited);
  connect(&document, &OpenDocument::samplesChanged, this, &FftLpcView::samplesChanged);
  // The time and range are the document's, shared with its other views.
  Workspace& cursor = Workspace::of(document);
  connect(&cursor, &Workspace::cursorChanged, this, &FftLpcView::followCursor);
  connect(&cursor, &Workspace::selectionChanged, this, &FftLpcView::followCursor);
  connect(&document, &OpenDocument::titleChanged, this, [this] {
    picture_.title = document_ ? document_->title() : QString();
    canvas_->update();
  });

  picture_.title = document.title();
  picture_.natural = &natural_;
  picture_.copy = &copy_;
  picture_.options = options;
  preEmphasis_ = preEmphasis;
  settings_ = vandrel::sliceSettings(options, preEmphasis, kCurvePoints);
  picture_.settings = settings_;
  followCursor();
  restartTrack();
  tableEdited();
}

FftLpcView::~FftLpcView() {
  stopTrack();
  // The synthesis run holds only copies and delivers through this view's
  // queue; it is let finish on its own.
}

void FftLpcView::setOptions(const vandrel::COptionFFTLPC& options, double preEmphasis) {
  picture_.options = options;
  preEmphasis_ = preEmphasis;
  settings_ = vandrel::sliceSettings(options, preEmphasis, kCurvePoints);
  picture_.settings = settings_;
  recompute();
  restartTrack();
}

double FftLpcView::lengthMs() const {
  if (!document_) return 0.0;
  const vandrel::CVandrelDoc& doc = document_->doc();
  return std::max(lengthOf(doc.audio()), lengthOf(copySound()));
}

void FftLpcView::updateSlider() {
  const QSignalBlocker block(slider_);
  slider_->setRange(0, static_cast<int>(lengthMs()));
  // With a range the spectra are its average: the slider sits at its start
  // and the label names the range, as the picture's heading does.
  const auto& range = picture_.selection;
  slider_->setValue(static_cast<int>(std::lround(range ? range->first : picture_.timeMs)));
  timeLabel_->setText(
      range ? QStringLiteral("%1 – %2 ms").arg(std::lround(range->first)).arg(std::lround(range->second))
            : QStringLiteral("%1 ms").arg(std::lround(picture_.timeMs)));
  picture_.lengthMs = lengthMs();
}

void FftLpcView::setTimeMs(double ms) {
  if (document_) Workspace::of(*document_).setTimeMs(std::clamp(ms, 0.0, lengthMs()));
}

void FftLpcView::setSelection(double startMs, double endMs) {
  if (document_) Workspace::of(*document_).setSelection(startMs, endMs);
}

void FftLpcView::clearSelection() {
  if (document_) Workspace::of(*document_).clearSelection();
}

void FftLpcView::followCursor() {
  if (!document_) return;
  const Workspace& cursor = Workspace::of(*document_);
  const double len = lengthMs();
  picture_.timeMs = std::min(cursor.timeMs(), len);
  picture_.selection.reset();
  if (const auto& range = cursor.selection()) {
    const double a = std::min(range->startMs, len), b = std::min(range->endMs, len);
    if (b > a) picture_.selection = std::make_pair(a, b);
  }
  updateSlider();
  recompute();
}

const vandrel::SampleSet& FftLpcView::copySound() const {
  static const vandrel::SampleSet none;
  if (!document_) return none;
  const vandrel::CVandrelDoc& doc = document_->doc();
  if (doc.changedSinceSynthesis() && ownCopy_) return *ownCopy_;
  return doc.synthesized();
}

void FftLpcView::tableEdited() {
  if (document_ && document_->doc().changedSinceSynthesis()) resynthesis_->start();
}

void FftLpcView::synthesizePrivately() {
  if (!document_ || !document_->doc().changedSinceSynthesis()) return;
  const vandrel::CVandrelDoc& doc = document_->doc();
  const int generation = ++synthesisGeneration_;
  synthesisRunAt_ = generation;
  // Copies of the table and of the noise state: the document may change
  // meanwhile, and its next synthesis must sound as if this one never ran.
  synthesisRun_ = runOnWorker<vandrel::SampleSet>(
      [ps = doc.params(), table = doc.table(), state = vandrel::processKlattState()] {
        return vandrel::synthesizeSolo(ps, table, vandrel::CKlattEngine::kNormal, state).set;
      });
  synthesisRun_.then(this, [this, generation](const QFuture<vandrel::SampleSet>&) {
    if (generation == synthesisGeneration_) takeSynthesis();
  });
}

void FftLpcView::takeSynthesis() {
  if (!synthesisRun_.isFinished() || synthesisRunAt_ != synthesisGeneration_ ||
      synthesisTaken_ == synthesisGeneration_)
    return;
  synthesisTaken_ = synthesisGeneration_;
  if (!document_ || !document_->doc().changedSinceSynthesis()) return;
  ownCopy_ = synthesisRun_.result();
  followCursor();
  restartTrack();
}

void FftLpcView::samplesChanged(vandrel::SampleSlot slot) {
  // The previous buffer is not shown here; a synthesis tells both.
  if (slot == vandrel::SampleSlot::kPrevious) return;
  if (slot == vandrel::SampleSlot::kSynthesized && document_ && !document_->doc().changedSinceSynthesis()) {
    ownCopy_.reset();
    ++synthesisGeneration_;
  }
  followCursor();
  restartTrack();
}

void FftLpcView::recompute() {
  natural_ = {};
  copy_ = {};
  picture_.meter = {};
  if (document_) {
    const vandrel::CVandrelDoc& doc = document_->doc();
    const double start = picture_.selection ? picture_.selection->first : picture_.timeMs;
    const double end = picture_.selection ? picture_.selection->second : 0.0;
    const int step = picture_.options.averageStepMs;
    if (doc.hasAudio()) natural_ = naturalAnalyser_.analyse(doc.audio(), settings_, start, end, step);
    copy_ = copyAnalyser_.analyse(copySound(), settings_, start, end, step);
    if (!natural_.empty() && !copy_.empty())
      picture_.meter = vandrel::fitMeter(natural_.lpcDb, copy_.lpcDb, settings_.hzPerPoint());
  }
  canvas_->update();
}

void FftLpcView::stopTrack() {
  if (cancel_) *cancel_ = true;
  cancel_.reset();
}

void FftLpcView::restartTrack() {
  stopTrack();
  picture_.track = nullptr;
  const int generation = ++generation_;
  if (!document_ || !document_->doc().hasAudio()) {
    track_ = {};
    picture_.track = &track_;
    return;
  }
  cancel_ = std::make_shared<std::atomic<bool>>(false);
  // The worker reads its own copies: the document may change meanwhile.
  trackRun_ = runOnWorker<vandrel::DistanceTrack>(
      [natural = document_->doc().audio(), copy = copySound(), settings = settings_,
       step = std::max(picture_.options.averageStepMs, 1),
       cancel = cancel_] { return vandrel::distanceTrack(natural, copy, settings, step, cancel.get()); });
  trackRun_.then(this, [this, generation](const QFuture<vandrel::DistanceTrack>&) {
    if (generation == generation_) takeTrack();
  });
}

void FftLpcView::takeTrack() {
  if (!trackRun_.isValid() || !trackRun_.isFinished() || trackTaken_ == generation_) return;
  trackTaken_ = generation_;
  track_ = trackRun_.result();
  picture_.track = &track_;
  canvas_->update();
}

void FftLpcView::finishTrack() {
  if (synthesisRun_.isValid()) {
    synthesisRun_.waitForFinished();
    takeSynthesis();
  }
  if (picture_.track == nullptr && trackRun_.isValid()) {
    trackRun_.waitForFinished();
    takeTrack();
  }
}

FftLpcLayout FftLpcView::layout() const { return fftLpcLayout(QRectF(canvas_->rect())); }

void FftLpcView::paint(QPainter& painter, const QRect& area) const {
  paintFftLpc(painter, QRectF(area), picture_);
}

QSizeF FftLpcView::printSize() const {
  const double perUnit = picture_.options.inches ? 96.0 : 96.0 / 2.54;
  return QSizeF(std::clamp(picture_.options.width, 0.5, 100.0) * perUnit,
                std::clamp(picture_.options.height, 0.5, 100.0) * perUnit);
}

void FftLpcView::paintVector(QPainter& painter) {
  finishTrack();
  FftLpcPicture pic = picture_;
  pic.crosshair.reset();
  paintFftLpc(painter, QRectF(QPointF(0, 0), printSize()), pic);
}

QImage FftLpcView::picture() {
  finishTrack();
  FftLpcPicture pic = picture_;
  pic.crosshair.reset();
  return renderPicture(printSize(), kPictureDpi, [&](QPainter& p, const QRectF& area) {
    p.setRenderHint(QPainter::TextAntialiasing);
    paintFftLpc(p, area, pic);
  });
}

void FftLpcView::printTo(QPrinter& printer, const QString& title) {
  finishTrack();
  FftLpcPicture pic = picture_;
  pic.crosshair.reset();
  // The options' size, made smaller only when the page cannot hold it.
  printOnePage(printer, title + QStringLiteral("::FFT/LPC"), printSize(),
               [&](QPainter& p, const QRectF& area) { paintFftLpc(p, area, pic); });
}

}  // namespace vandrel::ui
