#include "views/spectrogram/CSpectrogramView.h"

#include <QAction>
#include <QActionGroup>
#include <QComboBox>
#include <QDateTime>
#include <QImage>
#include <QLabel>
#include <QPainter>
#include <QPrinter>
#include <QToolBar>
#include <QVBoxLayout>

#include <array>
#include <cmath>

#include "app/OpenDocument.h"
#include "common/Workspace.h"
#include "views/common/LabelTiersPane.h"
#include "views/spectrogram/SpectrogramCanvas.h"

namespace vandrel::ui {

namespace {
constexpr double kPictureDpi = 150.0;
constexpr double kCmPerInch = 2.54;
}  // namespace

CSpectrogramView::CSpectrogramView(OpenDocument& document, vandrel::SampleSlot own,
                                   const SpectrogramViewOptions& options, QWidget* parent)
    : QWidget(parent), document_(document), options_(options) {
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(0);
  bar_ = new QToolBar(this);
  bar_->setToolButtonStyle(Qt::ToolButtonTextOnly);
  canvas_ = new SpectrogramCanvas(document, own, options, this);
  layout->addWidget(bar_);
  layout->addWidget(canvas_, 1);
  layout->addWidget(new LabelTiersPane(document, canvas_->axis(), this));

  const auto add = [this](const QString& name, const QString& tip, auto slot) {
    QAction* a = bar_->addAction(name);
    a->setObjectName(name);
    a->setToolTip(tip);
    connect(a, &QAction::triggered, canvas_, slot);
    return a;
  };
  add(QStringLiteral("Zoom In"), QStringLiteral("Halve the time shown (+, Ctrl+wheel)"),
      &SpectrogramCanvas::zoomIn);
  add(QStringLiteral("Zoom Out"), QStringLiteral("Double the time shown (-)"), &SpectrogramCanvas::zoomOut);
  add(QStringLiteral("Zoom to Selection"), QStringLiteral("Show the selected time range (Enter)"),
      &SpectrogramCanvas::zoomToSelection);
  add(QStringLiteral("Show All"), QStringLiteral("Show the whole signal (0)"), &SpectrogramCanvas::showAll);
  bar_->addSeparator();

  // The other signal: shown beneath, or its tracks over this one; at most one of the two.
  auto* beneath = bar_->addAction(QStringLiteral("Other Beneath"));
  auto* overlaid = bar_->addAction(QStringLiteral("Other Overlaid"));
  for (QAction* a : {beneath, overlaid}) {
    a->setObjectName(a->text());
    a->setCheckable(true);
  }
  beneath->setToolTip(QStringLiteral("Show the other signal beneath, on the same time axis"));
  overlaid->setToolTip(QStringLiteral("Draw the other signal's pitch and formants over this one"));
  connect(beneath, &QAction::toggled, this, [this, overlaid](bool on) {
    if (on) overlaid->setChecked(false);
    canvas_->setCompare(on                      ? Compare::kBeneath
                        : overlaid->isChecked() ? Compare::kOverlaid
                                                : Compare::kSingle);
  });
  connect(overlaid, &QAction::toggled, this, [this, beneath](bool on) {
    if (on) beneath->setChecked(false);
    canvas_->setCompare(on                     ? Compare::kOverlaid
                        : beneath->isChecked() ? Compare::kBeneath
                                               : Compare::kSingle);
  });
  auto* table = bar_->addAction(QStringLiteral("Table Values"));
  table->setObjectName(table->text());
  table->setCheckable(true);
  table->setToolTip(QStringLiteral("Draw the table's f0 and f1..f5 over the analysis, anchors as squares"));
  connect(table, &QAction::toggled, canvas_, &SpectrogramCanvas::setTableOverlay);

  auto* follow = bar_->addAction(QStringLiteral("Follow"));
  follow->setObjectName(follow->text());
  follow->setCheckable(true);
  follow->setToolTip(QStringLiteral("The table's current column follows the time under the pointer"));
  bar_->addSeparator();
  auto* trace = bar_->addAction(QStringLiteral("Trace"));
  trace->setObjectName(trace->text());
  trace->setCheckable(true);
  trace->setToolTip(
      QStringLiteral("Drag over the pitch or the spectrogram to write the chosen track into the table"));
  traceRow_ = new QComboBox(bar_);
  traceRow_->setObjectName(QStringLiteral("traceRow"));
  const std::array<std::pair<const char*, int>, 6> rows{
      {{"F0", kF0}, {"F1", kF1}, {"F2", kF2}, {"F3", kF3}, {"F4", kF4}, {"F5", kF5}}};
  for (const auto& [name, row] : rows) traceRow_->addItem(QLatin1String(name), row);
  bar_->addWidget(traceRow_);
  connect(trace, &QAction::toggled, this, &CSpectrogramView::updateTracing);
  connect(traceRow_, &QComboBox::currentIndexChanged, this, &CSpectrogramView::updateTracing);
  canvas_->tracePoint = [this](double ms, double hz) {
    if (!stroke_) stroke_.emplace(traceRow());
    stroke_->add(document_.doc(), ms, hz);
  };
  canvas_->traceEnd = [this] {
    if (stroke_) stroke_->finish();
    stroke_.reset();
  };
  updateTracing();

  connect(&document, &OpenDocument::samplesChanged, this, &CSpectrogramView::updateCompareActions);
  updateCompareActions();
}

QAction* CSpectrogramView::action(const QString& name) const { return bar_->findChild<QAction*>(name); }

vandrel::SampleSlot CSpectrogramView::ownSlot() const { return canvas_->ownSlot(); }

void CSpectrogramView::setOptions(const SpectrogramViewOptions& options) {
  options_ = options;
  canvas_->setOptions(options);
}

void CSpectrogramView::updateCompareActions() {
  // Queued: the canvas takes the new sound in its own handler of the same signal.
  QMetaObject::invokeMethod(
      this,
      [this] {
        const bool other = canvas_->hasOther();
        for (const char* name : {"Other Beneath", "Other Overlaid"}) {
          QAction* a = action(QLatin1String(name));
          if (!other) a->setChecked(false);
          a->setEnabled(other);
        }
      },
      Qt::QueuedConnection);
}

void CSpectrogramView::startTracing(int row) {
  traceRow_->setCurrentIndex(std::max(0, traceRow_->findData(row)));
  action(QStringLiteral("Trace"))->setChecked(true);
  updateTracing();
}

void CSpectrogramView::stopTracing() { action(QStringLiteral("Trace"))->setChecked(false); }

bool CSpectrogramView::tracing() const { return canvas_->tracing; }

int CSpectrogramView::traceRow() const { return traceRow_->currentData().toInt(); }

void CSpectrogramView::updateTracing() {
  const bool on = action(QStringLiteral("Trace"))->isChecked();
  canvas_->tracing = on;
  canvas_->tracePitch = traceRow() == kF0;
  traceRow_->setEnabled(on);
  // The table's rows are what a stroke changes: show them while tracing.
  if (on) action(QStringLiteral("Table Values"))->setChecked(true);
  canvas_->setCursor(on ? Qt::CrossCursor : Qt::ArrowCursor);
}

double CSpectrogramView::printStartMs() const {
  const auto& sel = canvas_->scene().selection;
  return sel ? sel->startMs : canvas_->axis().startMs();
}

double CSpectrogramView::printEndMs() const {
  const auto& sel = canvas_->scene().selection;
  return sel ? sel->endMs : canvas_->axis().endMs();
}

QSizeF CSpectrogramView::pageInches() const {
  const auto& o = options_.spectrogram;
  const double upper = o.inches ? 1.0 : 1.0 / kCmPerInch;
  const double lower = options_.pitchInches ? 1.0 : 1.0 / kCmPerInch;
  return QSizeF(std::max(o.width * upper, options_.pitchWidth * lower),
                o.height * upper + options_.pitchHeight * lower);
}

double CSpectrogramView::upperShare() const {
  const auto& o = options_.spectrogram;
  const double upper = o.height * (o.inches ? 1.0 : 1.0 / kCmPerInch);
  return upper / pageInches().height();
}

QSize CSpectrogramView::pictureSize() const {
  const QSizeF inches = pageInches();
  const auto px = [&](double v) { return std::max(200, static_cast<int>(std::lround(v * kPictureDpi))); };
  return QSize(px(inches.width()), px(inches.height()));
}

QImage CSpectrogramView::picture() {
  QImage image(pictureSize(), QImage::Format_RGB32);
  image.fill(Qt::white);
  QPainter p(&image);
  p.setRenderHint(QPainter::Antialiasing);
  canvas_->paintPage(p, image.rect(), printStartMs(), printEndMs(), upperShare());
  return image;
}

void CSpectrogramView::paintVector(QPainter& p) {
  const QSizeF size = vectorSize();
  canvas_->paintPage(p, QRect(0, 0, static_cast<int>(size.width()), static_cast<int>(size.height())),
                     printStartMs(), printEndMs(), upperShare());
}

void CSpectrogramView::printTo(QPrinter& printer, const QString& title) {
  QPainter p(&printer);
  if (!p.isActive()) return;
  // The picture at its set size in the printer's resolution; the painter draws in
  // 96ths of an inch so that fonts and lines keep their screen proportions.
  const QRect page = printer.pageLayout().paintRectPixels(printer.resolution());
  const double scale = printer.resolution() / 96.0;
  const QSizeF logical = pageInches() * 96.0;
  const QSizeF room(page.width() / scale, page.height() / scale - 24);
  const double fit = std::min({1.0, room.width() / logical.width(), room.height() / logical.height()});
  p.scale(scale, scale);
  p.setRenderHint(QPainter::Antialiasing);
  p.drawText(QRectF(0, 0, room.width(), 18), Qt::AlignLeft | Qt::AlignVCenter,
             QStringLiteral("%1 - %2    page 1    %3")
                 .arg(title, canvas_->scene().signal[0].name, QDate::currentDate().toString(Qt::ISODate)));
  p.translate(0, 24);
  const QRect area(0, 0, static_cast<int>(logical.width() * fit), static_cast<int>(logical.height() * fit));
  canvas_->paintPage(p, area, printStartMs(), printEndMs(), upperShare());
}

}  // namespace vandrel::ui
