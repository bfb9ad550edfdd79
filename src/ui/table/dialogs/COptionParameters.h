#pragma once
// "Parameters Selection": which parameter rows the table shows, the colour of
// each of the eight groups, the synthesis method, and (through "Parameters
// Default Settings") every parameter's limits and default. Shows a
// ParameterOptions record and hands back the edited one.

#include <QDialog>

#include <array>

#include "editing/TableOptions.h"

class QCheckBox;
class QFrame;
class QPushButton;
class QRadioButton;

namespace vandrel::ui {

class COptionParameters : public QDialog {
  Q_OBJECT
 public:
  // `anchorColor`: a group may not take it.
  COptionParameters(const vandrel::ParameterOptions& options, vandrel::Colorref anchorColor,
                    QWidget* parent = nullptr);

  vandrel::ParameterOptions options() const;

  // The check box of parameter row `index` (0..47).
  QCheckBox* checkBox(int index) const { return checks_[static_cast<std::size_t>(index)]; }

 private:
  void chooseGroupColor(int group);
  void defaultSettings();
  void openParameterSettings();
  void showGroupColor(int group);

  vandrel::ParameterOptions options_;
  vandrel::Colorref anchorColor_;
  std::array<QCheckBox*, vandrel::kParamCount> checks_{};
  std::array<QFrame*, vandrel::kGroupCount> frames_{};
  std::array<QPushButton*, vandrel::kGroupCount> colorButtons_{};
  QRadioButton* parallelOnly_;
  QRadioButton* cascadeParallel_;
};

}  // namespace vandrel::ui
