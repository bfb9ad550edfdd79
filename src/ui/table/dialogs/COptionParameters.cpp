#include "COptionParameters.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QFrame>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

#include <initializer_list>

#include "CDialogParameterSettings.h"
#include "DialogSupport.h"

namespace vandrel::ui {

namespace {

struct Item {
  const char* text;
  int param;
};

struct GroupLayout {
  vandrel::ParamGroup group;
  std::initializer_list<const char*> titleLines;
  std::initializer_list<Item> items;
};

// The groups as the dialog shows them; the order of the colour sets follows
// the order the groups' rows take in the table.
const GroupLayout kGroups[] = {
    {vandrel::kGroupSource,
     {"Source "},
     {{"F0", vandrel::kF0},
      {"av", vandrel::kAv},
      {"ah", vandrel::kAh},
      {"af", vandrel::kAf},
      {"tl", vandrel::kTl}}},
    {vandrel::kGroupFormants,
     {"Formant Frequencies", "Both for Cascade ", "and Parallel branches"},
     {{"f1", vandrel::kF1},
      {"f2", vandrel::kF2},
      {"f3", vandrel::kF3},
      {"f4", vandrel::kF4},
      {"f5", vandrel::kF5},
      {"f6", vandrel::kF6},
      {"f7", vandrel::kF7},
      {"f8", vandrel::kF8}}},
    {vandrel::kGroupCascadeBandwidths,
     {"Bandwidths", "for Cascade branch"},
     {{"b1", vandrel::kB1},
      {"b2", vandrel::kB2},
      {"b3", vandrel::kB3},
      {"b4", vandrel::kB4},
      {"b5", vandrel::kB5},
      {"b6", vandrel::kB6},
      {"b7", vandrel::kB7},
      {"b8", vandrel::kB8}}},
    {vandrel::kGroupBypass, {"By pass ", "For all the ", "amplitude ", "controls"}, {{"ab", vandrel::kAb}}},
    {vandrel::kGroupParallelAmps,
     {"Amplitudes", "for Parallel branch"},
     {{"a1f", vandrel::kA1f},
      {"a2f", vandrel::kA2f},
      {"a3f", vandrel::kA3f},
      {"a4f", vandrel::kA4f},
      {"a5f", vandrel::kA5f},
      {"a6f", vandrel::kA6f},
      {"a7f", vandrel::kA7f},
      {"a8f", vandrel::kA8f}}},
    {vandrel::kGroupParallelBandwidths,
     {"Bandwidths", "for Parallel branch"},
     {{"b1f", vandrel::kB1f},
      {"b2f", vandrel::kB2f},
      {"b3f", vandrel::kB3f},
      {"b4f", vandrel::kB4f},
      {"b5f", vandrel::kB5f},
      {"b6f", vandrel::kB6f},
      {"b7f", vandrel::kB7f},
      {"b8f", vandrel::kB8f}}},
    {vandrel::kGroupNasal,
     {"Nasal "},
     {{"fnp", vandrel::kFnp}, {"bnp", vandrel::kBnp}, {"fnz", vandrel::kFnz}, {"bnz", vandrel::kBnz}}},
    {vandrel::kGroupRemaining,
     {"The remaining parameters"},
     {{"oq (# of samples in open perid)", vandrel::kOq},
      {"skew (skewness of alternate period)", vandrel::kSkew},
      {"anv (amplitue of parrallel nasal)", vandrel::kAnv},
      {"apv (amplitue of voicing for parallel", vandrel::kApv},
      {"gain (overall gain)", vandrel::kGain},
      {"atu (amplitude of breathiness)", vandrel::kAtu}}},
};

}  // namespace

COptionParameters::COptionParameters(const vandrel::ParameterOptions& options, vandrel::Colorref anchorColor,
                                     QWidget* parent)
    : QDialog(parent), options_(options), anchorColor_(anchorColor) {
  setWindowTitle(QStringLiteral("Parameters Selection"));

  auto* groups = new QGridLayout;
  groups->setSpacing(8);
  int slot = 0;
  for (const GroupLayout& g : kGroups) {
    const auto gi = static_cast<std::size_t>(g.group);
    auto* frame = new QFrame(this);
    frame->setObjectName(QStringLiteral("group%1").arg(g.group + 1));
    frame->setFrameShape(QFrame::StyledPanel);
    auto* inner = new QVBoxLayout(frame);
    inner->setSpacing(2);
    for (const char* line : g.titleLines) {
      auto* title = new QLabel(QString::fromLatin1(line), frame);
      QFont bold = title->font();
      bold.setBold(true);
      title->setFont(bold);
      inner->addWidget(title);
    }
    inner->addSpacing(4);
    for (const Item& item : g.items) {
      auto* check = new QCheckBox(QString::fromLatin1(item.text), frame);
      check->setChecked(options.shown[static_cast<std::size_t>(item.param)]);
      checks_[static_cast<std::size_t>(item.param)] = check;
      inner->addWidget(check);
    }
    inner->addStretch();
    frames_[gi] = frame;

    auto* button = new QPushButton(QStringLiteral("Color set%1").arg(g.group + 1), this);
    button->setObjectName(QStringLiteral("colorSet%1").arg(g.group + 1));
    connect(button, &QPushButton::clicked, this, [this, g] { chooseGroupColor(g.group); });
    colorButtons_[gi] = button;

    auto* column = new QVBoxLayout;
    column->addWidget(frame, 1);
    column->addWidget(button);
    groups->addLayout(column, slot / 4, slot % 4);
    ++slot;
    showGroupColor(g.group);
  }

  auto* method = new QGroupBox(QStringLiteral("Synthesis Method"), this);
  parallelOnly_ = new QRadioButton(QStringLiteral("Parrallel only"), method);
  cascadeParallel_ = new QRadioButton(QStringLiteral("Cascade_Parallel"), method);
  parallelOnly_->setObjectName(QStringLiteral("parallelOnly"));
  cascadeParallel_->setObjectName(QStringLiteral("cascadeParallel"));
  parallelOnly_->setChecked(!options.cascadeParallel);
  cascadeParallel_->setChecked(options.cascadeParallel);
  auto* methodLayout = new QVBoxLayout(method);
  methodLayout->addWidget(parallelOnly_);
  methodLayout->addWidget(cascadeParallel_);

  auto* defaults = new QPushButton(QStringLiteral("Default Settings"), this);
  defaults->setObjectName(QStringLiteral("defaultSettings"));
  connect(defaults, &QPushButton::clicked, this, &COptionParameters::defaultSettings);
  auto* settings = new QPushButton(QStringLiteral("Parameters Default Settings"), this);
  settings->setObjectName(QStringLiteral("parameterSettings"));
  connect(settings, &QPushButton::clicked, this, &COptionParameters::openParameterSettings);

  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, Qt::Vertical, this);
  connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

  auto* side = new QVBoxLayout;
  side->addWidget(buttons);
  side->addSpacing(12);
  side->addWidget(method);
  side->addWidget(defaults);
  side->addWidget(settings);
  side->addStretch();

  auto* heading = new QLabel(
      QStringLiteral(
          "The main default parameters in the file, from top to bottom  (groups are shown with the "
          "selected color):"),
      this);
  auto* body = new QHBoxLayout;
  body->addLayout(groups, 1);
  body->addLayout(side);
  auto* layout = new QVBoxLayout(this);
  layout->addWidget(heading);
  layout->addLayout(body);
}

vandrel::ParameterOptions COptionParameters::options() const {
  vandrel::ParameterOptions o = options_;
  for (std::size_t i = 0; i < checks_.size(); ++i) o.shown[i] = checks_[i]->isChecked();
  o.cascadeParallel = cascadeParallel_->isChecked();
  return o;
}

void COptionParameters::showGroupColor(int group) {
  const auto gi = static_cast<std::size_t>(group);
  const QString name = toQColor(options_.groupColors[gi]).name();
  frames_[gi]->setStyleSheet(
      QStringLiteral("QFrame#%1 { background-color: %2; } QLabel, QCheckBox { color: black; }")
          .arg(frames_[gi]->objectName(), name));
  paintSwatch(colorButtons_[gi], options_.groupColors[gi]);
}

void COptionParameters::chooseGroupColor(int group) {
  const auto gi = static_cast<std::size_t>(group);
  const QColor chosen = chooseColor(toQColor(options_.groupColors[gi]), this);
  if (!chosen.isValid()) return;
  if (auto refused = vandrel::checkGroupColor(toColorref(chosen), anchorColor_)) {
    showUserMessages(this, {*refused});
    return;
  }
  options_.groupColors[gi] = toColorref(chosen);
  showGroupColor(group);
}

void COptionParameters::defaultSettings() {
  vandrel::ParameterOptions o = options();
  vandrel::applyDefaultSelection(o);
  for (std::size_t i = 0; i < checks_.size(); ++i) checks_[i]->setChecked(o.shown[i]);
  parallelOnly_->setChecked(!o.cascadeParallel);
  cascadeParallel_->setChecked(o.cascadeParallel);
}

void COptionParameters::openParameterSettings() {
  CDialogParameterSettings dialog(options_.limits, this);
  if (runDialog(dialog) == QDialog::Accepted) options_.limits = dialog.limits();
}

}  // namespace vandrel::ui
