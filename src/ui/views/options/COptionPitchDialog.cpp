#include "views/options/COptionPitchDialog.h"

#include <QButtonGroup>
#include <QCheckBox>
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

#include "common/Messages.h"

namespace vandrel::ui {

const QString COptionPitchDialog::kRangeMessage =
    QStringLiteral("The first frequency of a range must be lower than the second.");

namespace {

QSpinBox* intField(int lo, int hi) {
  auto* s = new QSpinBox;
  s->setRange(lo, hi);
  s->setButtonSymbols(QAbstractSpinBox::NoButtons);
  s->setMinimumWidth(60);
  return s;
}

QDoubleSpinBox* realField() {
  auto* s = new QDoubleSpinBox;
  s->setRange(0.1, 100.0);
  s->setDecimals(2);
  s->setButtonSymbols(QAbstractSpinBox::NoButtons);
  s->setMinimumWidth(60);
  return s;
}

}  // namespace

COptionPitchDialog::COptionPitchDialog(const SpectrogramViewOptions& options, QWidget* parent)
    : QDialog(parent), options_(options) {
  setWindowTitle(QStringLiteral("Pitch option"));
  auto* grid = new QGridLayout;
  int row = 0;
  const auto addRow = [&](const QString& label, QWidget* field, QWidget* to = nullptr) {
    grid->addWidget(new QLabel(label), row, 0);
    grid->addWidget(field, row, 1);
    if (to) {
      grid->addWidget(new QLabel(QStringLiteral("to")), row, 2);
      grid->addWidget(to, row, 3);
    }
    ++row;
  };
  addRow(QStringLiteral("Window length (ms)  = "), window_ = intField(1, 10000));
  addRow(QStringLiteral("Step size (ms)           = "), step_ = intField(1, 10000));
  addRow(QStringLiteral("Frequency deviation (Hz) = "), deviation_ = intField(0, 100000));
  addRow(QStringLiteral("Tracking threshold (%)     = "), threshold_ = intField(0, 100));
  addRow(QStringLiteral("Calculation range (Hz)  = "), calcLow_ = intField(1, 20000),
         calcHigh_ = intField(1, 20000));
  addRow(QStringLiteral("Display range (Hz)        = "), showLow_ = intField(0, 20000),
         showHigh_ = intField(1, 20000));
  freqGrid_ = new QCheckBox(QStringLiteral("Add Frequency grid with spacing (Hz) = "));
  grid->addWidget(freqGrid_, row, 0);
  grid->addWidget(freqGridHz_ = intField(1, 20000), row++, 1);
  timeGrid_ = new QCheckBox(QStringLiteral("Add Time grid with spacing (ms)          = "));
  grid->addWidget(timeGrid_, row, 0);
  grid->addWidget(timeGridMs_ = intField(0, 10000000), row++, 1);

  auto* method = new QGroupBox(QStringLiteral("Calculation Method"));
  auto* methodLayout = new QVBoxLayout(method);
  methodLayout->addWidget(cepstral_ = new QRadioButton(QStringLiteral("Cepstral")));
  methodLayout->addWidget(autocorrelation_ = new QRadioButton(QStringLiteral("AutoCorrolation")));

  auto* add = new QVBoxLayout;
  add->addWidget(addAudio_ = new QCheckBox(QStringLiteral("Add audio")));
  add->addWidget(addIntensity_ = new QCheckBox(QStringLiteral("Add Intensity")));
  add->addWidget(addLabels_ = new QCheckBox(QStringLiteral("Add Labels")));

  auto* sizeBox = new QGroupBox(QStringLiteral("Print / BMP size"));
  auto* sizeGrid = new QGridLayout(sizeBox);
  sizeGrid->addWidget(new QLabel(QStringLiteral("width  = ")), 0, 0);
  sizeGrid->addWidget(width_ = realField(), 0, 1);
  sizeGrid->addWidget(new QLabel(QStringLiteral("heigth = ")), 1, 0);
  sizeGrid->addWidget(height_ = realField(), 1, 1);
  auto* units = new QButtonGroup(sizeBox);
  sizeGrid->addWidget(inches_ = new QRadioButton(QStringLiteral("Inches")), 0, 2);
  sizeGrid->addWidget(cm_ = new QRadioButton(QStringLiteral("cm")), 1, 2);
  units->addButton(inches_);
  units->addButton(cm_);
  auto* colours = new QButtonGroup(sizeBox);
  sizeGrid->addWidget(color_ = new QRadioButton(QStringLiteral("Color")), 0, 3);
  sizeGrid->addWidget(blackWhite_ = new QRadioButton(QStringLiteral("Black White")), 1, 3);
  colours->addButton(color_);
  colours->addButton(blackWhite_);

  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
  QPushButton* defaults = buttons->addButton(QStringLiteral("Defaults "), QDialogButtonBox::ResetRole);
  connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  connect(defaults, &QPushButton::clicked, this, [this] {
    options_.pitch.setDefaults();
    showOptions();
  });
  for (QCheckBox* c : {freqGrid_, timeGrid_})
    connect(c, &QCheckBox::toggled, this, &COptionPitchDialog::updateEnabling);

  auto* right = new QVBoxLayout;
  right->addWidget(method);
  right->addLayout(add);
  right->addWidget(sizeBox);
  right->addStretch();
  auto* side = new QHBoxLayout;
  side->addLayout(grid);
  side->addLayout(right);
  auto* all = new QVBoxLayout(this);
  all->addLayout(side);
  all->addWidget(buttons);
  showOptions();
}

void COptionPitchDialog::showOptions() {
  const vandrel::COptionPitch& p = options_.pitch;
  window_->setValue(p.windowMs);
  step_->setValue(p.stepMs);
  deviation_->setValue(p.deviationHz);
  threshold_->setValue(p.thresholdPercent);
  calcLow_->setValue(p.calcLowHz);
  calcHigh_->setValue(p.calcHighHz);
  showLow_->setValue(p.displayLowHz);
  showHigh_->setValue(p.displayHighHz);
  freqGrid_->setChecked(p.frequencyGrid);
  freqGridHz_->setValue(p.frequencyGridHz);
  (options_.method == vandrel::PitchMethod::kAutocorrelation ? autocorrelation_ : cepstral_)
      ->setChecked(true);
  timeGrid_->setChecked(options_.pitchTimeGrid);
  timeGridMs_->setValue(options_.pitchTimeGridMs);
  addAudio_->setChecked(options_.addAudio);
  addIntensity_->setChecked(options_.addIntensity);
  addLabels_->setChecked(options_.addLabels);
  width_->setValue(options_.pitchWidth);
  height_->setValue(options_.pitchHeight);
  (options_.pitchInches ? inches_ : cm_)->setChecked(true);
  (options_.color ? color_ : blackWhite_)->setChecked(true);
  updateEnabling();
}

void COptionPitchDialog::updateEnabling() {
  freqGridHz_->setEnabled(freqGrid_->isChecked());
  timeGridMs_->setEnabled(timeGrid_->isChecked());
}

void COptionPitchDialog::accept() {
  if (calcLow_->value() >= calcHigh_->value() || showLow_->value() >= showHigh_->value()) {
    warn(this, kRangeMessage);
    return;
  }
  vandrel::COptionPitch& p = options_.pitch;
  p.windowMs = window_->value();
  p.stepMs = step_->value();
  p.deviationHz = deviation_->value();
  p.thresholdPercent = threshold_->value();
  p.calcLowHz = calcLow_->value();
  p.calcHighHz = calcHigh_->value();
  p.displayLowHz = showLow_->value();
  p.displayHighHz = showHigh_->value();
  p.frequencyGrid = freqGrid_->isChecked();
  p.frequencyGridHz = freqGridHz_->value();
  options_.method = autocorrelation_->isChecked() ? vandrel::PitchMethod::kAutocorrelation
                                                  : vandrel::PitchMethod::kCepstral;
  options_.pitchTimeGrid = timeGrid_->isChecked();
  options_.pitchTimeGridMs = timeGridMs_->value();
  options_.addAudio = addAudio_->isChecked();
  options_.addIntensity = addIntensity_->isChecked();
  options_.addLabels = addLabels_->isChecked();
  options_.pitchWidth = width_->value();
  options_.pitchHeight = height_->value();
  options_.pitchInches = inches_->isChecked();
  options_.color = color_->isChecked();
  QDialog::accept();
}

}  // namespace vandrel::ui
