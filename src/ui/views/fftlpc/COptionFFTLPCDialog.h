#pragma once
// "FFT/LPC Option": the settings of the FFT/LPC view. The dialog edits a
// copy of the record and hands it back on OK; the ranges and the derived
// defaults are the record's own (analysis/AnalysisOptions.h).

#include <QDialog>

#include "analysis/AnalysisOptions.h"

class QButtonGroup;
class QCheckBox;
class QComboBox;
class QDoubleSpinBox;
class QLineEdit;
class QRadioButton;
class QSpinBox;

namespace vandrel::ui {

class COptionFFTLPCDialog : public QDialog {
  Q_OBJECT
 public:
  explicit COptionFFTLPCDialog(const vandrel::COptionFFTLPC& record, QWidget* parent = nullptr);

  // The values as confirmed (valid after accept()).
  const vandrel::COptionFFTLPC& record() const { return record_; }

  // OK: refuses an LPC order outside 4 .. 100 (message, the dialog stays).
  void accept() override;

 private:
  void showRecord();
  void updateEnabling();
  void restoreDefaults();

  vandrel::COptionFFTLPC record_;
  QComboBox* size_ = nullptr;
  QSpinBox* windowMs_ = nullptr;
  QSpinBox* range_ = nullptr;
  QSpinBox* stepMs_ = nullptr;
  QLineEdit* lpc_ = nullptr;
  QCheckBox* drawLpc_ = nullptr;
  QRadioButton* absolute_ = nullptr;
  QRadioButton* relative_ = nullptr;
  QSpinBox* absoluteDb_ = nullptr;
  QDoubleSpinBox* width_ = nullptr;
  QDoubleSpinBox* height_ = nullptr;
  QRadioButton* inches_ = nullptr;
  QRadioButton* cm_ = nullptr;
  QRadioButton* color_ = nullptr;
  QRadioButton* blackWhite_ = nullptr;
  QCheckBox* freqGrid_ = nullptr;
  QSpinBox* freqGridHz_ = nullptr;
  QCheckBox* powerGrid_ = nullptr;
  QSpinBox* powerGridDb_ = nullptr;
};

}  // namespace vandrel::ui
