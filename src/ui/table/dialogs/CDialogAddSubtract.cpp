#include "CDialogAddSubtract.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QSpinBox>
#include <QVBoxLayout>

#include "DialogSupport.h"
#include "editing/AddSubtract.h"

namespace vandrel::ui {

CDialogAddSubtract::CDialogAddSubtract(int amount, QWidget* parent) : QDialog(parent) {
  setWindowTitle(text(vandrel::kAddSubtractCaption));
  amount_ = new QSpinBox(this);
  amount_->setObjectName(QStringLiteral("amount"));
  // Wide enough for any parameter's whole range, in either direction.
  amount_->setRange(-100000, 100000);
  amount_->setValue(amount);

  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
  connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

  auto* layout = new QVBoxLayout(this);
  layout->addWidget(new QLabel(text(vandrel::kAddSubtractField), this));
  layout->addWidget(amount_);
  layout->addWidget(buttons);
}

int CDialogAddSubtract::amount() const { return amount_->value(); }

}  // namespace vandrel::ui
