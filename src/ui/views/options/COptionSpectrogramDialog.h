#pragma once
// "Spectrogram Option": the spectrogram's settings and the controls that say
// what the spectrogram/pitch view draws. The dialog edits a copy and hands it
// back on OK; the derived defaults and the coefficient rule are the record's
// own (analysis/AnalysisOptions.h).

#include <QDialog>

#include "views/common/AnalysisViewOptions.h"

class QCheckBox;
class QComboBox;
class QDoubleSpinBox;
class QRadioButton;
class QSpinBox;

namespace vandrel::ui {

class COptionSpectrogramDialog : public QDialog {
  Q_OBJECT
 public:
  explicit COptionSpectrogramDialog(const SpectrogramViewOptions& options, QWidget* parent = nullptr);

  // The values as confirmed (valid after accept()).
  const SpectrogramViewOptions& options() const { return options_; }

  void accept() override;

 private:
  void showOptions();
  void updateEnabling();
  void restoreDefaults();

  SpectrogramViewOptions options_;
  QComboBox* size_ = nullptr;
  QSpinBox* range_ = nullptr;
  QSpinBox* dynamic_ = nullptr;
  QDoubleSpinBox* emphasis_ = nullptr;
  QCheckBox* formants_ = nullptr;
  QSpinBox* coefficients_ = nullptr;
  QCheckBox* freqGrid_ = nullptr;
  QSpinBox* freqGridHz_ = nullptr;
  QCheckBox* timeGrid_ = nullptr;
  QSpinBox* timeGridMs_ = nullptr;
  QDoubleSpinBox* width_ = nullptr;
  QDoubleSpinBox* height_ = nullptr;
  QRadioButton* inches_ = nullptr;
  QRadioButton* cm_ = nullptr;
  QCheckBox* drawAudio_ = nullptr;
  QCheckBox* drawLabels_ = nullptr;
  QCheckBox* drawIntensity_ = nullptr;
};

}  // namespace vandrel::ui
