#pragma once
// "Add / Subtract": the amount added to every selected cell, opened with the
// last amount used.

#include <QDialog>

class QSpinBox;

namespace vandrel::ui {

class CDialogAddSubtract : public QDialog {
  Q_OBJECT
 public:
  explicit CDialogAddSubtract(int amount, QWidget* parent = nullptr);

  int amount() const;

 private:
  QSpinBox* amount_;
};

}  // namespace vandrel::ui
