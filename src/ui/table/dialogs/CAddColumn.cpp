#include "CAddColumn.h"

#include <QDialogButtonBox>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QRadioButton>
#include <QSpinBox>
#include <QVBoxLayout>

#include "DialogSupport.h"
#include "editing/AdjustTime.h"

namespace vandrel::ui {

namespace {

constexpr vandrel::AddColumnPlace kPlaces[] = {vandrel::AddColumnPlace::kBeginning,
                                               vandrel::AddColumnPlace::kSelectedColumn,
                                               vandrel::AddColumnPlace::kEnd};
const char* const kPlaceNames[] = {"placeBeginning", "placeSelectedColumn", "placeEnd"};

}  // namespace

CAddColumn::CAddColumn(int timeMs, vandrel::AddColumnPlace place, QWidget* parent) : QDialog(parent) {
  setWindowTitle(text(vandrel::kAddColumnCaption));

  time_ = new QSpinBox(this);
  time_->setObjectName(QStringLiteral("timeToAdd"));
  // Zero and times shorter than one frame are let through: adding them is
  // refused with its own message.
  time_->setRange(0, 3600000);
  time_->setValue(timeMs);
  auto* timeRow = new QHBoxLayout;
  timeRow->addWidget(new QLabel(text(vandrel::kAddColumnTimeField), this));
  timeRow->addWidget(time_);

  auto* box = new QGroupBox(this);
  auto* boxLayout = new QVBoxLayout(box);
  for (int i = 0; i < 3; ++i) {
    places_[i] = new QRadioButton(text(vandrel::placeText(kPlaces[i])), box);
    places_[i]->setObjectName(QString::fromLatin1(kPlaceNames[i]));
    places_[i]->setChecked(kPlaces[i] == place);
    boxLayout->addWidget(places_[i]);
  }

  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
  connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

  auto* layout = new QVBoxLayout(this);
  layout->addLayout(timeRow);
  layout->addWidget(box);
  layout->addWidget(buttons);
}

int CAddColumn::timeMs() const { return time_->value(); }

vandrel::AddColumnPlace CAddColumn::place() const {
  for (int i = 0; i < 3; ++i)
    if (places_[i]->isChecked()) return kPlaces[i];
  return vandrel::AddColumnPlace::kEnd;
}

}  // namespace vandrel::ui
