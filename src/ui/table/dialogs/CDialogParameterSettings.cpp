#include "CDialogParameterSettings.h"

#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "DialogSupport.h"
#include "grid/CUGExcel.h"

namespace vandrel::ui {

namespace {

std::int32_t& field(vandrel::ParamLimits& l, int column) {
  return column == ParameterSettingsModel::kLower   ? l.lower
         : column == ParameterSettingsModel::kUpper ? l.upper
                                                    : l.defaultValue;
}

bool editable(int column) {
  return column == ParameterSettingsModel::kLower || column == ParameterSettingsModel::kUpper ||
         column == ParameterSettingsModel::kDefault;
}

const vandrel::ParamDef& def(int row) { return vandrel::builtinParams()[static_cast<std::size_t>(row)]; }

}  // namespace

ParameterSettingsModel::ParameterSettingsModel(const vandrel::LimitTable& limits, QObject* parent)
    : QAbstractTableModel(parent), limits_(limits) {}

void ParameterSettingsModel::setLimits(const vandrel::LimitTable& limits) {
  limits_ = limits;
  emit dataChanged(index(0, kLower), index(vandrel::kParamCount - 1, kDefault));
}

int ParameterSettingsModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : vandrel::kParamCount;
}

int ParameterSettingsModel::columnCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : kColumnCount;
}

QVariant ParameterSettingsModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid()) return {};
  const int row = index.row();
  const int column = index.column();
  if (role == Qt::DisplayRole || role == Qt::EditRole) {
    if (column == kDescription) return text(def(row).description).trimmed();
    auto l = limits_[static_cast<std::size_t>(row)];
    return field(l, column);
  }
  if (role == Qt::TextAlignmentRole && editable(column))
    return QVariant::fromValue(Qt::AlignRight | Qt::AlignVCenter);
  return {};
}

QVariant ParameterSettingsModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (role != Qt::DisplayRole) return {};
  if (orientation == Qt::Vertical)
    return section >= 0 && section < vandrel::kParamCount ? text(def(section).name) : QVariant();
  static const char* const kHeads[] = {"Lower limit", "Upper limit", "Default", "Description"};
  return section >= 0 && section < kColumnCount ? QString::fromLatin1(kHeads[section]) : QVariant();
}

Qt::ItemFlags ParameterSettingsModel::flags(const QModelIndex& index) const {
  Qt::ItemFlags f = QAbstractTableModel::flags(index);
  if (index.isValid() && editable(index.column())) f |= Qt::ItemIsEditable;
  return f;
}

bool ParameterSettingsModel::setData(const QModelIndex& index, const QVariant& value, int role) {
  if (!index.isValid() || role != Qt::EditRole || !editable(index.column())) return false;
  bool ok = false;
  const int v = value.toInt(&ok);
  if (!ok) return false;
  field(limits_[static_cast<std::size_t>(index.row())], index.column()) = v;
  emit dataChanged(index, index);
  return true;
}

CDialogParameterSettings::CDialogParameterSettings(const vandrel::LimitTable& limits, QWidget* parent)
    : QDialog(parent) {
  setWindowTitle(QStringLiteral("Parameter Settings"));
  model_ = new ParameterSettingsModel(limits, this);
  grid_ = new CUGExcel(this);
  grid_->setObjectName(QStringLiteral("settingsGrid"));
  grid_->setModel(model_);
  grid_->setSideHeadingWidth(64);
  grid_->setColumnWidth(96);
  grid_->horizontalHeader()->resizeSection(ParameterSettingsModel::kDescription, 470);
  grid_->horizontalHeader()->setStretchLastSection(true);

  auto* warning = new QLabel(
      QStringLiteral("Setting the parameters beyond the suggested limits may cause unpredictable results."),
      this);
  warning->setStyleSheet(QStringLiteral("QLabel { color: #a00000; font-weight: bold; }"));

  auto* reset = new QPushButton(QStringLiteral("Reset to Default Values"), this);
  reset->setObjectName(QStringLiteral("resetToDefaults"));
  connect(reset, &QPushButton::clicked, this, [this] { model_->setLimits(vandrel::builtinLimits()); });

  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
  connect(buttons, &QDialogButtonBox::accepted, this, &CDialogParameterSettings::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

  auto* bottom = new QHBoxLayout;
  bottom->addWidget(reset);
  bottom->addStretch();
  bottom->addWidget(buttons);

  auto* layout = new QVBoxLayout(this);
  layout->addWidget(warning);
  layout->addWidget(grid_);
  layout->addLayout(bottom);
  resize(880, 680);
}

void CDialogParameterSettings::accept() {
  if (auto refused = vandrel::checkLimits(model_->limits())) {
    showUserMessages(this, {*refused});
    return;
  }
  QDialog::accept();
}

}  // namespace vandrel::ui
