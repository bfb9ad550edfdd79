#pragma once
// "Add Column": how much time to add and where. Opens with the document's
// last choices; the handler stores them back and adds the time.

#include <QDialog>

#include "document/VandrelDoc.h"

class QSpinBox;
class QRadioButton;

namespace vandrel::ui {

class CAddColumn : public QDialog {
  Q_OBJECT
 public:
  CAddColumn(int timeMs, vandrel::AddColumnPlace place, QWidget* parent = nullptr);

  int timeMs() const;
  vandrel::AddColumnPlace place() const;

 private:
  QSpinBox* time_;
  QRadioButton* places_[3];
};

}  // namespace vandrel::ui
