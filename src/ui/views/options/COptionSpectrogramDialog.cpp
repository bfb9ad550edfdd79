#include "views/options/COptionSpectrogramDialog.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QDoubleSpinBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QSpinBox>
#include <QVBoxLayout>

namespace vandrel::ui {

namespace {

QSpinBox* intField(int lo, int hi) {
  auto* s = new QSpinBox;
  s->setRange(lo, hi);
  s->setButtonSymbols(QAbstractSpinBox::NoButtons);
  s->setMinimumWidth(70);
  return s;
}

QDoubleSpinBox* realField(double lo, double hi, int decimals) {
  auto* s = new QDoubleSpinBox;
  s->setRange(lo, hi);
  s->setDecimals(decimals);
  s->setButtonSymbols(QAbstractSpinBox::NoButtons);
  s->setMinimumWidth(70);
  return s;
}

}  // namespace

COptionSpectrogramDialog::COptionSpectrogramDialog(const SpectrogramViewOptions& options, QWidget* parent)
    : QDialog(parent), options_(options) {
  setWindowTitle(QStringLiteral("Spectrogram Option"));
  auto* grid = new QGridLayout;
  int row = 0;
  const auto addRow = [&](const QString& label, QWidget* field) {
    auto* l = new QLabel(label);
    l->setBuddy(field);
    grid->addWidget(l, row, 0);
    grid->addWidget(field, row++, 1);
  };
  size_ = new QComboBox;
  addRow(QStringLiteral("Bandwidth (Window Length)  = "), size_);
  addRow(QStringLiteral("Frequency range (Hz) = "), range_ = intField(100, 100000));
  addRow(QStringLiteral("Dynamic range (dB) = "), dynamic_ = intField(1, 400));
  addRow(QStringLiteral("Pre-Emphasis (0-1)(0 adds nothing)"), emphasis_ = realField(0.0, 1.0, 2));
  formants_ = new QCheckBox(QStringLiteral("Display formants"));
  grid->addWidget(formants_, row++, 0, 1, 2);
  addRow(QStringLiteral("Formant tracking LPC coefficients        = "), coefficients_ = intField(0, 100000));
  coefficients_->setObjectName(QStringLiteral("formantCoefficients"));
  freqGrid_ = new QCheckBox(QStringLiteral("Add frequency grid with spacing (Hz)   = "));
  grid->addWidget(freqGrid_, row, 0);
  grid->addWidget(freqGridHz_ = intField(1, 100000), row++, 1);
  timeGrid_ = new QCheckBox(QStringLiteral("Add time grid with spacing (ms)            ="));
  grid->addWidget(timeGrid_, row, 0);
  grid->addWidget(timeGridMs_ = intField(0, 10000000), row++, 1);

  auto* draw = new QVBoxLayout;
  drawAudio_ = new QCheckBox(QStringLiteral("Draw Audio "));
  drawLabels_ = new QCheckBox(QStringLiteral("Draw Labels"));
  drawIntensity_ = new QCheckBox(QStringLiteral("Draw Intensity"));
  for (QCheckBox* c : {drawAudio_, drawLabels_, drawIntensity_}) draw->addWidget(c);

  auto* sizeBox = new QGroupBox(QStringLiteral("Print / BMP size"));
  auto* sizeGrid = new QGridLayout(sizeBox);
  sizeGrid->addWidget(new QLabel(QStringLiteral("Width   = ")), 0, 0);
  sizeGrid->addWidget(width_ = realField(0.1, 100.0, 2), 0, 1);
  sizeGrid->addWidget(new QLabel(QStringLiteral("Height  =")), 1, 0);
  sizeGrid->addWidget(height_ = realField(0.1, 100.0, 2), 1, 1);
  sizeGrid->addWidget(inches_ = new QRadioButton(QStringLiteral("Inches")), 0, 2);
  sizeGrid->addWidget(cm_ = new QRadioButton(QStringLiteral("cm")), 1, 2);

  auto* note = new QLabel(QStringLiteral(
      "Note:\nA value of 0 will make the time grids adjust automatically to the zoomed window.\nGrid "
      "is always displayed on the main screen but follows the selection for the print and bitmap."));
  note->setWordWrap(true);

  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
  QPushButton* defaults = buttons->addButton(QStringLiteral("Defaults"), QDialogButtonBox::ResetRole);
  connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  connect(defaults, &QPushButton::clicked, this, &COptionSpectrogramDialog::restoreDefaults);
  for (QCheckBox* c : {formants_, freqGrid_, timeGrid_})
    connect(c, &QCheckBox::toggled, this, &COptionSpectrogramDialog::updateEnabling);
  connect(size_, &QComboBox::currentIndexChanged, this, [this](int i) {
    if (i >= 0) options_.spectrogram.selectSize(i);
  });

  auto* side = new QHBoxLayout;
  side->addLayout(grid);
  auto* right = new QVBoxLayout;
  right->addLayout(draw);
  right->addWidget(sizeBox);
  right->addStretch();
  side->addLayout(right);
  auto* all = new QVBoxLayout(this);
  all->addLayout(side);
  all->addWidget(note);
  all->addWidget(buttons);
  showOptions();
}

void COptionSpectrogramDialog::showOptions() {
  const vandrel::COptionSpectrogram& s = options_.spectrogram;
  {
    const QSignalBlocker block(size_);
    size_->clear();
    for (int i = 0; i < vandrel::COptionSpectrogram::kSizeEntries; ++i)
      size_->addItem(QString::fromStdString(vandrel::analysisSizeEntry(i, s.fs)));
    size_->setCurrentIndex(s.sizeIndex);
  }
  range_->setValue(s.frequencyRange);
  dynamic_->setValue(s.dynamicRangeDb);
  emphasis_->setValue(s.preEmphasis);
  formants_->setChecked(s.displayFormants);
  coefficients_->setValue(s.formantCoefficients);
  freqGrid_->setChecked(s.frequencyGrid);
  freqGridHz_->setValue(s.frequencyGridHz);
  timeGrid_->setChecked(s.timeGrid);
  timeGridMs_->setValue(s.timeGridMs);
  width_->setValue(s.width);
  height_->setValue(s.height);
  (s.inches ? inches_ : cm_)->setChecked(true);
  drawAudio_->setChecked(options_.drawAudio);
  drawLabels_->setChecked(options_.drawLabels);
  drawIntensity_->setChecked(options_.drawIntensity);
  updateEnabling();
}

void COptionSpectrogramDialog::updateEnabling() {
  coefficients_->setEnabled(formants_->isChecked());
  freqGridHz_->setEnabled(freqGrid_->isChecked());
  timeGridMs_->setEnabled(timeGrid_->isChecked());
}

void COptionSpectrogramDialog::restoreDefaults() {
  options_.spectrogram.setDefaults();
  options_.drawAudio = options_.drawLabels = options_.drawIntensity = true;
  showOptions();
}

void COptionSpectrogramDialog::accept() {
  vandrel::COptionSpectrogram& s = options_.spectrogram;
  s.frequencyRange = range_->value();
  s.dynamicRangeDb = dynamic_->value();
  s.preEmphasis = emphasis_->value();
  s.displayFormants = formants_->isChecked();
  s.formantCoefficients = vandrel::COptionSpectrogram::acceptFormantCoefficients(coefficients_->value());
  s.frequencyGrid = freqGrid_->isChecked();
  s.frequencyGridHz = freqGridHz_->value();
  s.timeGrid = timeGrid_->isChecked();
  s.timeGridMs = timeGridMs_->value();
  s.width = width_->value();
  s.height = height_->value();
  s.inches = inches_->isChecked();
  options_.drawAudio = drawAudio_->isChecked();
  options_.drawLabels = drawLabels_->isChecked();
  options_.drawIntensity = drawIntensity_->isChecked();
  QDialog::accept();
}

}  // namespace vandrel::ui
