#pragma once
// "File Option": sample rate, file length, frame interval, the two after-edit
// behaviours and the anchor cell colour. Shows a FileOptions record and hands
// back the edited one; the handler confirms it in the core.

#include <QDialog>

#include <array>

#include "editing/TableOptions.h"

class QComboBox;
class QPushButton;
class QRadioButton;
class QSpinBox;

namespace vandrel::ui {

class COptionFile : public QDialog {
  Q_OBJECT
 public:
  // `lengthLocked` greys the file length (an audio file is open beside the
  // table). `groupColors` are the row colours the anchor colour must differ
  // from.
  COptionFile(const vandrel::FileOptions& options, bool lengthLocked,
              const std::array<vandrel::Colorref, vandrel::kGroupCount>& groupColors,
              QWidget* parent = nullptr);

  vandrel::FileOptions options() const;

  void accept() override;

 private:
  void chooseAnchorColor();

  vandrel::FileOptions original_;
  std::array<vandrel::Colorref, vandrel::kGroupCount> groupColors_;
  vandrel::Colorref anchorColor_;
  QComboBox* rate_;
  QSpinBox* length_;
  QSpinBox* interval_;
  QRadioButton* autoOn_;
  QRadioButton* autoOff_;
  QRadioButton* anchorOn_;
  QRadioButton* anchorOff_;
  QPushButton* anchorButton_;
};

}  // namespace vandrel::ui
