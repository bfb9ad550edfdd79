#include "COptionFile.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QSpinBox>
#include <QVBoxLayout>

#include "DialogSupport.h"

namespace vandrel::ui {

namespace {

QGroupBox* choiceGroup(const QString& title, QRadioButton* on, QRadioButton* off, bool first,
                       QWidget* parent) {
  auto* box = new QGroupBox(title, parent);
  auto* layout = new QVBoxLayout(box);
  layout->addWidget(on);
  layout->addWidget(off);
  on->setChecked(first);
  off->setChecked(!first);
  return box;
}

}  // namespace

COptionFile::COptionFile(const vandrel::FileOptions& options, bool lengthLocked,
                         const std::array<vandrel::Colorref, vandrel::kGroupCount>& groupColors,
                         QWidget* parent)
    : QDialog(parent), original_(options), groupColors_(groupColors), anchorColor_(options.anchorColor) {
  setWindowTitle(QStringLiteral("File Option"));

  rate_ = new QComboBox(this);
  rate_->setObjectName(QStringLiteral("sampleRate"));
  rate_->addItems({QStringLiteral("11025"), QStringLiteral("22050")});
  rate_->setCurrentIndex(options.sampleRate == 11025 ? 0 : 1);

  length_ = new QSpinBox(this);
  length_->setObjectName(QStringLiteral("fileLength"));
  length_->setRange(0, 3600000);
  length_->setValue(options.fileLengthMs);
  length_->setEnabled(!lengthLocked);

  interval_ = new QSpinBox(this);
  interval_->setObjectName(QStringLiteral("interval"));
  interval_->setRange(1, 100000);
  interval_->setValue(options.intervalMs);

  auto* fields = new QGridLayout;
  const QString labels[] = {QStringLiteral("Sample Rate (Hz)  = "), QStringLiteral("File Length (ms)     = "),
                            QStringLiteral("Interval (ms)           = ")};
  QWidget* editors[] = {rate_, length_, interval_};
  for (int i = 0; i < 3; ++i) {
    auto* label = new QLabel(labels[i], this);
    label->setBuddy(editors[i]);
    fields->addWidget(label, i, 0);
    fields->addWidget(editors[i], i, 1);
    editors[i]->setMinimumWidth(110);
  }
  fields->setColumnStretch(2, 1);

  autoOn_ = new QRadioButton(
      QStringLiteral("Perform automatic interpolation between anchor cells after editing operation."), this);
  autoOff_ = new QRadioButton(
      QStringLiteral("Do Not Perform automatic interpolation after editing operation."), this);
  anchorOn_ =
      new QRadioButton(QStringLiteral("Change cell to an Anchor cell after editing operation."), this);
  anchorOff_ =
      new QRadioButton(QStringLiteral("Do Not Change cell to an Anchor cell after editing operation."), this);
  autoOn_->setObjectName(QStringLiteral("autoInterpolateOn"));
  autoOff_->setObjectName(QStringLiteral("autoInterpolateOff"));
  anchorOn_->setObjectName(QStringLiteral("anchorAfterEditOn"));
  anchorOff_->setObjectName(QStringLiteral("anchorAfterEditOff"));

  anchorButton_ = new QPushButton(QStringLiteral("Anchor Cell Color"), this);
  anchorButton_->setObjectName(QStringLiteral("anchorColor"));
  paintSwatch(anchorButton_, anchorColor_);
  connect(anchorButton_, &QPushButton::clicked, this, &COptionFile::chooseAnchorColor);

  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
  connect(buttons, &QDialogButtonBox::accepted, this, &COptionFile::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

  auto* layout = new QVBoxLayout(this);
  layout->addLayout(fields);
  layout->addWidget(choiceGroup(QStringLiteral("Automatic Interpolation Methods"), autoOn_, autoOff_,
                                options.autoInterpolate, this));
  layout->addWidget(choiceGroup(QStringLiteral("Editing and Anchor Cell operations"), anchorOn_, anchorOff_,
                                options.anchorAfterEdit, this));
  layout->addWidget(anchorButton_, 0, Qt::AlignLeft);
  layout->addWidget(buttons);
}

vandrel::FileOptions COptionFile::options() const {
  vandrel::FileOptions o = original_;
  o.sampleRate = rate_->currentText() == QStringLiteral("11025") ? 11025 : 22050;
  o.fileLengthMs = length_->value();
  o.intervalMs = interval_->value();
  o.autoInterpolate = autoOn_->isChecked();
  o.anchorAfterEdit = anchorOn_->isChecked();
  o.anchorColor = anchorColor_;
  return o;
}

void COptionFile::accept() {
  // Refused here, with the dialog still open, so nothing typed is lost.
  if (auto refused = vandrel::checkFileOptions(original_, options())) {
    showUserMessages(this, {*refused});
    return;
  }
  QDialog::accept();
}

void COptionFile::chooseAnchorColor() {
  const QColor chosen = chooseColor(toQColor(anchorColor_), this);
  if (!chosen.isValid()) return;
  if (auto refused = vandrel::checkAnchorColor(toColorref(chosen), groupColors_)) {
    showUserMessages(this, {*refused});
    return;
  }
  anchorColor_ = toColorref(chosen);
  paintSwatch(anchorButton_, anchorColor_);
}

}  // namespace vandrel::ui
