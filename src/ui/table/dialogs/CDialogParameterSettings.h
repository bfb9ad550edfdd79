#pragma once
// "Parameter Settings": the limits and default of every parameter in an
// editable grid, with a warning and "Reset to Default Values". OK is refused,
// with a message naming the parameter, while a row's limits are unsound.

#include <QAbstractTableModel>
#include <QDialog>

#include "editing/TableOptions.h"

namespace vandrel::ui {

class CUGExcel;

// The grid's model: one row per parameter, named in the side heading; the
// three editable numbers and the description (whose unit and range help the
// user choose).
class ParameterSettingsModel : public QAbstractTableModel {
  Q_OBJECT
 public:
  enum Column { kLower, kUpper, kDefault, kDescription, kColumnCount };

  explicit ParameterSettingsModel(const vandrel::LimitTable& limits, QObject* parent = nullptr);

  const vandrel::LimitTable& limits() const { return limits_; }
  void setLimits(const vandrel::LimitTable& limits);

  int rowCount(const QModelIndex& parent = {}) const override;
  int columnCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
  Qt::ItemFlags flags(const QModelIndex& index) const override;
  bool setData(const QModelIndex& index, const QVariant& value, int role) override;

 private:
  vandrel::LimitTable limits_;
};

class CDialogParameterSettings : public QDialog {
  Q_OBJECT
 public:
  explicit CDialogParameterSettings(const vandrel::LimitTable& limits, QWidget* parent = nullptr);

  const vandrel::LimitTable& limits() const { return model_->limits(); }
  CUGExcel* grid() const { return grid_; }

  void accept() override;

 private:
  ParameterSettingsModel* model_;
  CUGExcel* grid_;
};

}  // namespace vandrel::ui
