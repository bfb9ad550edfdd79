#include "views/fftlpc/COptionFFTLPCDialog.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QDoubleSpinBox>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QSpinBox>
#include <QVBoxLayout>

#include "common/Messages.h"

namespace vandrel::ui {

namespace {

QSpinBox* intField(QWidget* parent, const char* name, int lo, int hi) {
  auto* s = new QSpinBox(parent);
  s->setObjectName(QLatin1String(name));
  s->setRange(lo, hi);
  return s;
}

QDoubleSpinBox* sizeField(QWidget* parent, const char* name) {
  auto* s = new QDoubleSpinBox(parent);
  s->setObjectName(QLatin1String(name));
  s->setRange(0.1, 100.0);
  s->setDecimals(2);
  s->setSingleStep(0.5);
  return s;
}

template <class W>
W* named(W* w, const char* name) {
  w->setObjectName(QLatin1String(name));
  return w;
}

}  // namespace

COptionFFTLPCDialog::COptionFFTLPCDialog(const vandrel::COptionFFTLPC& record, QWidget* parent)
    : QDialog(parent), record_(record) {
  setWindowTitle(QStringLiteral("FFT/LPC Option"));
  auto* grid = new QGridLayout;
  int row = 0;
  auto labelled = [&](const char* text, QWidget* field) {
    grid->addWidget(new QLabel(QString::fromLatin1(text), this), row, 0);
    grid->addWidget(field, row++, 1, 1, 2);
  };

  size_ = named(new QComboBox(this), "size");
  for (int i = 0; i < vandrel::COptionFFTLPC::kSizeEntries; ++i)
    size_->addItem(QString::fromStdString(vandrel::analysisSizeEntry(i, record_.fs)));
  labelled("Bandwidth (Window Length ) =", size_);
  labelled("Applied window length (ms)  = ", windowMs_ = intField(this, "windowMs", 1, 10000));
  labelled("Frequency range (Hz) = ", range_ = intField(this, "frequencyRange", 100, 100000));
  labelled("Average step size (ms) = ", stepMs_ = intField(this, "averageStep", 1, 10000));
  lpc_ = named(new QLineEdit(this), "lpcCoefficients");
  labelled("LPC number of coefficients = ", lpc_);
  grid->addWidget(drawLpc_ = named(new QCheckBox(QStringLiteral("Draw LPC"), this), "drawLpc"), row++, 0, 1,
                  3);

  absolute_ = named(new QRadioButton(QStringLiteral("Absolute  (dB)  = "), this), "absolute");
  relative_ = named(new QRadioButton(QStringLiteral("Relative "), this), "relative");
  auto* display = new QButtonGroup(this);
  display->addButton(absolute_);
  display->addButton(relative_);
  grid->addWidget(absolute_, row, 0);
  grid->addWidget(absoluteDb_ = intField(this, "absoluteDb", -400, 400), row++, 1);
  grid->addWidget(relative_, row++, 0);

  grid->addWidget(new QLabel(QStringLiteral("Width  = "), this), row, 0);
  grid->addWidget(width_ = sizeField(this, "width"), row, 1);
  inches_ = named(new QRadioButton(QStringLiteral("inches"), this), "inches");
  grid->addWidget(inches_, row++, 2);
  grid->addWidget(new QLabel(QStringLiteral("Height ="), this), row, 0);
  grid->addWidget(height_ = sizeField(this, "height"), row, 1);
  cm_ = named(new QRadioButton(QStringLiteral("cm"), this), "cm");
  grid->addWidget(cm_, row++, 2);
  auto* unit = new QButtonGroup(this);
  unit->addButton(inches_);
  unit->addButton(cm_);

  color_ = named(new QRadioButton(QStringLiteral("Color"), this), "color");
  blackWhite_ = named(new QRadioButton(QStringLiteral("Black / White"), this), "blackWhite");
  auto* colours = new QButtonGroup(this);
  colours->addButton(color_);
  colours->addButton(blackWhite_);
  grid->addWidget(color_, row, 0);
  grid->addWidget(blackWhite_, row++, 1);

  freqGrid_ =
      named(new QCheckBox(QStringLiteral("Add Frequency grid with spacing (Hz) = "), this), "frequencyGrid");
  grid->addWidget(freqGrid_, row, 0);
  grid->addWidget(freqGridHz_ = intField(this, "frequencyGridHz", 1, 100000), row++, 1);
  powerGrid_ =
      named(new QCheckBox(QStringLiteral("Add Power grid with spacing (dB)       = "), this), "powerGrid");
  grid->addWidget(powerGrid_, row, 0);
  grid->addWidget(powerGridDb_ = intField(this, "powerGridDb", 1, 400), row++, 1);

  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
  QPushButton* defaults = buttons->addButton(QStringLiteral("Default size"), QDialogButtonBox::ResetRole);
  defaults->setObjectName(QStringLiteral("defaults"));
  connect(buttons, &QDialogButtonBox::accepted, this, &COptionFFTLPCDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &COptionFFTLPCDialog::reject);
  connect(defaults, &QPushButton::clicked, this, &COptionFFTLPCDialog::restoreDefaults);
  connect(absolute_, &QRadioButton::toggled, this, &COptionFFTLPCDialog::updateEnabling);
  connect(freqGrid_, &QCheckBox::toggled, this, &COptionFFTLPCDialog::updateEnabling);
  connect(powerGrid_, &QCheckBox::toggled, this, &COptionFFTLPCDialog::updateEnabling);

  auto* top = new QVBoxLayout(this);
  top->addLayout(grid);
  top->addWidget(buttons);
  showRecord();
}

void COptionFFTLPCDialog::showRecord() {
  const auto& r = record_;
  size_->setCurrentIndex(r.sizeIndex);
  windowMs_->setValue(r.appliedWindowMs);
  range_->setValue(r.frequencyRange);
  stepMs_->setValue(r.averageStepMs);
  lpc_->setText(QString::number(r.lpcCoefficients));
  drawLpc_->setChecked(r.drawLpc);
  (r.absolute ? absolute_ : relative_)->setChecked(true);
  absoluteDb_->setValue(r.absoluteDb);
  width_->setValue(r.width);
  height_->setValue(r.height);
  (r.inches ? inches_ : cm_)->setChecked(true);
  (r.color ? color_ : blackWhite_)->setChecked(true);
  freqGrid_->setChecked(r.frequencyGrid);
  freqGridHz_->setValue(r.frequencyGridHz);
  powerGrid_->setChecked(r.powerGrid);
  powerGridDb_->setValue(r.powerGridDb);
  updateEnabling();
}

void COptionFFTLPCDialog::updateEnabling() {
  absoluteDb_->setEnabled(absolute_->isChecked());
  freqGridHz_->setEnabled(freqGrid_->isChecked());
  powerGridDb_->setEnabled(powerGrid_->isChecked());
}

void COptionFFTLPCDialog::restoreDefaults() {
  record_.setDefaults();
  showRecord();
}

void COptionFFTLPCDialog::accept() {
  bool ok = false;
  const int lpc = lpc_->text().trimmed().toInt(&ok);
  if (!ok || !vandrel::COptionFFTLPC::lpcCoefficientsInRange(lpc)) {
    warn(this, QString::fromLatin1(vandrel::COptionFFTLPC::kLpcRangeMessage));
    lpc_->setFocus();
    lpc_->selectAll();
    return;
  }
  auto& r = record_;
  r.selectSize(size_->currentIndex());
  r.appliedWindowMs = windowMs_->value();
  r.frequencyRange = range_->value();
  r.averageStepMs = stepMs_->value();
  r.lpcCoefficients = lpc;
  r.drawLpc = drawLpc_->isChecked();
  r.absolute = absolute_->isChecked();
  r.absoluteDb = absoluteDb_->value();
  r.width = width_->value();
  r.height = height_->value();
  r.inches = inches_->isChecked();
  r.color = color_->isChecked();
  r.frequencyGrid = freqGrid_->isChecked();
  r.frequencyGridHz = freqGridHz_->value();
  r.powerGrid = powerGrid_->isChecked();
  r.powerGridDb = powerGridDb_->value();
  QDialog::accept();
}

}  // namespace vandrel::ui
