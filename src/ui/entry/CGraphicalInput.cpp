#include "entry/CGraphicalInput.h"

#include <QCheckBox>
#include <QColorDialog>
#include <QGridLayout>
#include <QGroupBox>
#include <QPainter>
#include <QPixmap>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

#include <array>

#include "app/OpenDocument.h"
#include "document/ColorSlots.h"
#include "entry/CFreqInputWnd.h"

namespace vandrel::ui {

namespace {

using vandrel::DrawTrack;

constexpr const char* kIdProperty = "controlId";

// The radio buttons' ids and texts in the document's track order. "FO" is
// written with the letter O, as the panel has always shown it.
struct RadioDef {
  int id;
  const char* text;
};
constexpr std::array<RadioDef, vandrel::kDrawTrackCount> kRadios = {{
    {1001, "FO"},
    {1011, "F1"},
    {1010, "F2"},
    {1009, "F3"},
    {1008, "F4"},
    {1007, "F5"},
    {1002, "AV"},
    {1070, "APV"},
    {1026, "A1F"},
    {1025, "A2F"},
    {1024, "A3F"},
    {1023, "A4F"},
    {1022, "A5F"},
}};

QIcon swatch(vandrel::Colorref c) {
  QPixmap pixmap(14, 14);
  pixmap.fill(QColor(vandrel::redOf(c), vandrel::greenOf(c), vandrel::blueOf(c)));
  QPainter p(&pixmap);
  p.setPen(Qt::black);
  p.drawRect(0, 0, 13, 13);
  return QIcon(pixmap);
}

template <class Button>
Button* makeButton(const QString& text, int id, QWidget* parent) {
  auto* b = new Button(text, parent);
  b->setProperty(kIdProperty, id);
  b->setObjectName(QStringLiteral("id%1").arg(id));
  return b;
}

}  // namespace

std::function<QColor(const QColor&, QWidget*)> CGraphicalInput::chooseColor =
    [](const QColor& initial, QWidget* parent) { return QColorDialog::getColor(initial, parent); };

int CGraphicalInput::radioId(DrawTrack track) { return kRadios[static_cast<std::size_t>(track)].id; }

CGraphicalInput::CGraphicalInput(OpenDocument& document, CFreqInputWnd& drawing, QWidget* parent)
    : QWidget(parent), document_(document), drawing_(drawing) {
  setObjectName(QStringLiteral("CGraphicalInput"));
  auto* layout = new QVBoxLayout(this);

  auto* enter = makeButton<QPushButton>(QStringLiteral("Enter All Data"), kEnterAllData, this);
  enter->setToolTip(QStringLiteral("Copy the recording's f0 and f1 .. f5 into the table"));
  connect(enter, &QPushButton::clicked, this, &CGraphicalInput::enterAllData);
  layout->addWidget(enter);

  recording_ = new QCheckBox(QStringLiteral("Recording behind the strips"), this);
  recording_->setObjectName(QStringLiteral("recordingBehind"));
  recording_->setToolTip(
      QStringLiteral("The audio file's spectrogram behind the formants, its pitch behind F0"));
  connect(recording_, &QCheckBox::toggled, &drawing_, &CFreqInputWnd::setShowRecording);
  layout->addWidget(recording_);

  auto* pitchBox = new QGroupBox(QStringLiteral("Pitch and formants"), this);
  auto* pitchGrid = new QGridLayout(pitchBox);
  auto* ampBox = new QGroupBox(QStringLiteral("Amplitudes"), this);
  auto* ampGrid = new QGridLayout(ampBox);
  for (int t = 0; t < vandrel::kDrawTrackCount; ++t) {
    const auto track = static_cast<DrawTrack>(t);
    const RadioDef& def = kRadios[static_cast<std::size_t>(t)];
    const bool amplitude = vandrel::drawTrack(track).strip == vandrel::Strip::kAmplitudes;
    auto* radio =
        makeButton<QRadioButton>(QString::fromLatin1(def.text), def.id, amplitude ? ampBox : pitchBox);
    // The checks are set from the document's choice, one by one.
    radio->setAutoExclusive(false);
    connect(radio, &QRadioButton::clicked, this, [this, track] { select(track); });
    if (amplitude) {
      const int i = t - static_cast<int>(DrawTrack::kAv);
      ampGrid->addWidget(radio, i / 2, i % 2);
      continue;
    }
    pitchGrid->addWidget(radio, t, 0);
    const int colorId = track == DrawTrack::kF0 ? kF0Color : kF1Color + t - 1;
    const QString text =
        track == DrawTrack::kF0 ? QStringLiteral("F0-color") : QStringLiteral("F%1-color").arg(t);
    auto* color = makeButton<QPushButton>(text, colorId, pitchBox);
    color->setIcon(swatch(document_.doc().drawing().color(track)));
    connect(color, &QPushButton::clicked, this, [this, track, color] { chooseTrackColor(track, color); });
    pitchGrid->addWidget(color, t, 1);
  }
  layout->addWidget(pitchBox);
  layout->addWidget(ampBox);
  layout->addStretch(1);
  auto* ok = makeButton<QPushButton>(QStringLiteral("OK"), kOk, this);
  connect(ok, &QPushButton::clicked, this, &CGraphicalInput::okPressed);
  layout->addWidget(ok);
  updateChecks();
  connect(&document_, &OpenDocument::drawingChanged, this, &CGraphicalInput::updateChecks);
}

QAbstractButton* CGraphicalInput::control(int id) const {
  for (QAbstractButton* b : findChildren<QAbstractButton*>())
    if (b->property(kIdProperty).toInt() == id) return b;
  return nullptr;
}

void CGraphicalInput::select(DrawTrack track) {
  vandrel::DrawingChoice choice = document_.doc().drawing();
  choice.selected = track;
  if (track == DrawTrack::kF1) drawing_.setDisplayMode(3);
  document_.doc().setDrawing(choice);  // the drawing window repaints on the notification
}

void CGraphicalInput::updateChecks() {
  const vandrel::DrawingChoice& choice = document_.doc().drawing();
  for (int t = 0; t < vandrel::kDrawTrackCount; ++t)
    if (QAbstractButton* b = control(kRadios[static_cast<std::size_t>(t)].id))
      b->setChecked(choice.flag(static_cast<DrawTrack>(t)));
}

void CGraphicalInput::chooseTrackColor(DrawTrack track, QAbstractButton* button) {
  vandrel::DrawingChoice choice = document_.doc().drawing();
  const vandrel::Colorref old = choice.color(track);
  const QColor chosen =
      chooseColor(QColor(vandrel::redOf(old), vandrel::greenOf(old), vandrel::blueOf(old)), this);
  if (!chosen.isValid()) return;
  choice.setColor(track, vandrel::rgb(chosen.red(), chosen.green(), chosen.blue()));
  button->setIcon(swatch(choice.color(track)));
  document_.doc().setDrawing(choice);  // the drawing window takes the new pens on the notification
  update();
}

}  // namespace vandrel::ui
