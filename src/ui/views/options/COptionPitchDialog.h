#pragma once
// "Pitch option": the pitch track's settings, its calculation method, and how
// the pitch part of the spectrogram/pitch view is drawn and printed. The
// dialog edits a copy and hands it back on OK.

#include <QDialog>

#include "views/common/AnalysisViewOptions.h"

class QCheckBox;
class QDoubleSpinBox;
class QRadioButton;
class QSpinBox;

namespace vandrel::ui {

class COptionPitchDialog : public QDialog {
  Q_OBJECT
 public:
  explicit COptionPitchDialog(const SpectrogramViewOptions& options, QWidget* parent = nullptr);

  const SpectrogramViewOptions& options() const { return options_; }

  // OK: refuses a calculation or display range whose low end is not below its high end.
  void accept() override;

  static const QString kRangeMessage;

 private:
  void showOptions();
  void updateEnabling();

  SpectrogramViewOptions options_;
  QSpinBox* window_ = nullptr;
  QSpinBox* step_ = nullptr;
  QSpinBox* deviation_ = nullptr;
  QSpinBox* threshold_ = nullptr;
  QSpinBox* calcLow_ = nullptr;
  QSpinBox* calcHigh_ = nullptr;
  QSpinBox* showLow_ = nullptr;
  QSpinBox* showHigh_ = nullptr;
  QCheckBox* freqGrid_ = nullptr;
  QSpinBox* freqGridHz_ = nullptr;
  QRadioButton* cepstral_ = nullptr;
  QRadioButton* autocorrelation_ = nullptr;
  QCheckBox* timeGrid_ = nullptr;
  QSpinBox* timeGridMs_ = nullptr;
  QCheckBox* addAudio_ = nullptr;
  QCheckBox* addIntensity_ = nullptr;
  QCheckBox* addLabels_ = nullptr;
  QDoubleSpinBox* width_ = nullptr;
  QDoubleSpinBox* height_ = nullptr;
  QRadioButton* inches_ = nullptr;
  QRadioButton* cm_ = nullptr;
  QRadioButton* color_ = nullptr;
  QRadioButton* blackWhite_ = nullptr;
};

}  // namespace vandrel::ui
