// The table dialogs through the real menu actions: Add Column, Add/Subtract,
// File..., Parameters... and Add Row, with the parameter settings grid
// inside. Each dialog is driven through its own widgets by a script that
// stands in for the user, and every message is caught by the fixture.

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFile>
#include <QHeaderView>
#include <QPushButton>
#include <QRadioButton>
#include <QSpinBox>
#include <QTableView>
#include <QTest>

#include <functional>

#include "../app/ShellFixture.h"
#include "config/ConfigFile.h"
#include "editing/EditTransaction.h"
#include "editing/TableOptions.h"
#include "table/CVandrelView.h"
#include "table/dialogs/CAddColumn.h"
#include "table/dialogs/CDialogAddSubtract.h"
#include "table/dialogs/CDialogParameterSettings.h"
#include "table/dialogs/COptionFile.h"
#include "table/dialogs/COptionParameters.h"
#include "table/dialogs/DialogSupport.h"
#include "table/dialogs/OptionCommands.h"

namespace vandrel::ui::test {
namespace {

using Script = std::function<void(QDialog&)>;

void press(QDialog& d, QDialogButtonBox::StandardButton which) {
  d.findChild<QDialogButtonBox*>()->button(which)->click();
}
template <class W>
W* child(QDialog& d, const char* name) {
  W* w = d.findChild<W*>(QString::fromLatin1(name));
  EXPECT_NE(w, nullptr) << name;
  return w;
}

class TableDialogsTest : public FrameFixture {
 protected:
  void SetUp() override {
    FrameFixture::SetUp();
    installOptionCommands(frame->router());
    setDialogRunner([this](QDialog& d) {
      d.show();
      ++opened;
      titles.push_back(d.windowTitle());
      if (script) script(d);
      return d.result();
    });
    setColorChooser([this](const QColor&, QWidget*) { return nextColor; });
  }
  void TearDown() override {
    setDialogRunner({});
    setColorChooser({});
    FrameFixture::TearDown();
  }

  // A click on the top heading of a column or the side heading of a row, as
  // the user selects them.
  void clickHeading(Qt::Orientation o, int section) {
    QTableView* grid = qobject_cast<CVandrelView*>(window->view())->grid();
    QHeaderView* h = o == Qt::Horizontal ? grid->horizontalHeader() : grid->verticalHeader();
    const int at = h->sectionViewportPosition(section) + h->sectionSize(section) / 2;
    QTest::mouseClick(h->viewport(), Qt::LeftButton, {}, o == Qt::Horizontal ? QPoint(at, 5) : QPoint(5, at));
  }
  // Runs command `id` from its menu action with `s` answering its dialog;
  // id 0 only sets the script, for a command the test starts itself.
  void run(int id, Script s) {
    script = std::move(s);
    messages.clear();
    titles.clear();
    opened = 0;
    if (id != 0) frame->action(id)->trigger();
  }

  Script script;
  int opened = 0;
  std::vector<QString> titles;
  QColor nextColor;
};

TEST_F(TableDialogsTest, AddColumnRoundsToWholeFramesAndSaysSo) {
  const struct {
    const char* what;
    int time;
    const char* place;
    int selectedColumn;  // -1: none
    bool ok;
    int columns;
    std::vector<QString> messages;
  } cases[] = {
      // clang-format off
      {"cancel", 50, "placeEnd", -1, false, 20, {}},
      {"rounded", 25, "placeEnd", -1, true, 22, {QStringLiteral(
           "you have requested a time(ms) = 25 ,But with interval(ms) = 10 ,you can only add time(ms) = 20 ")}},
      {"after the selected column, copying the one pushed right", 20, "placeSelectedColumn", 4, true, 22, {}},
      // clang-format on
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    window = frame->newDocument();
    for (int col = 0; col < 20; ++col) vandrel::EditTransaction(doc()).setValue(kF1, col, 500 + col);
    if (c.selectedColumn >= 0) clickHeading(Qt::Horizontal, c.selectedColumn);
    run(ID_EDIT_ADD_COLUMN, [&](QDialog& d) {
      EXPECT_EQ(child<QSpinBox>(d, "timeToAdd")->value(), 100);  // the document's last time
      EXPECT_TRUE(child<QRadioButton>(d, "placeEnd")->isChecked());
      child<QSpinBox>(d, "timeToAdd")->setValue(c.time);
      child<QRadioButton>(d, c.place)->setChecked(true);
      press(d, c.ok ? QDialogButtonBox::Ok : QDialogButtonBox::Cancel);
    });
    EXPECT_EQ(titles, std::vector<QString>{QStringLiteral("Add Column")});
    EXPECT_EQ(messages, c.messages);
    EXPECT_EQ(doc().table().columns(), c.columns);
    EXPECT_EQ(doc().addColumnTimeMs(), c.ok ? c.time / 10 * 10 : 100);
    if (c.selectedColumn >= 0) {
      EXPECT_EQ(doc().table().value(kF1, 6), 505.0);
      EXPECT_EQ(doc().table().value(kF1, 8), 506.0);
    }
  }

  // With a recording beside the table the dialog does not even open.
  doc().attachAudio(vandrel::SampleSet{std::vector<std::int16_t>(1000), 0.0});
  run(ID_EDIT_ADD_COLUMN, {});
  EXPECT_EQ(opened, 0);
  EXPECT_EQ(messages, std::vector<QString>{QString::fromStdString(std::string(kMsgTimeLockedByAudio))});
}

TEST_F(TableDialogsTest, AddSubtractOpensWithTheLastAmountAndWorksOnTheSelectedRow) {
  clickHeading(Qt::Vertical, kF1);
  for (const auto& [amount, ok, stored] : {std::tuple{-7, true, -7}, std::tuple{12, false, -7}}) {
    const int last = doc().addSubtractAmount();
    run(ID_EDIT_ADD_SUBTRACT, [&](QDialog& d) {
      EXPECT_EQ(child<QSpinBox>(d, "amount")->value(), last);
      child<QSpinBox>(d, "amount")->setValue(amount);
      press(d, ok ? QDialogButtonBox::Ok : QDialogButtonBox::Cancel);
    });
    EXPECT_EQ(titles, std::vector<QString>{QStringLiteral("Add / Subtract")});
    EXPECT_EQ(doc().addSubtractAmount(), stored);
    EXPECT_EQ(doc().table().value(kF1, 19), 493.0);
    EXPECT_EQ(doc().table().value(kF2, 19), 1500.0);
  }
}

TEST_F(TableDialogsTest, FileOptionsCutTheLengthResampleAndKeepTheAnchorColourApart) {
  const Colorref anchor = doc().anchorColor();
  run(ID_OPTIONS_FILE, [&](QDialog& d) {
    EXPECT_EQ(d.windowTitle(), QStringLiteral("File Option"));
    EXPECT_TRUE(child<QSpinBox>(d, "fileLength")->isEnabled());
    child<QComboBox>(d, "sampleRate")->setCurrentText(QStringLiteral("22050"));
    child<QSpinBox>(d, "interval")->setValue(5);
    child<QSpinBox>(d, "fileLength")->setValue(1003);
    child<QRadioButton>(d, "autoInterpolateOn")->setChecked(true);
    child<QRadioButton>(d, "anchorAfterEditOn")->setChecked(true);
    // A group's colour is refused for anchors; the old colour stays.
    nextColor = toQColor(doc().groupColor(kGroupFormants));
    child<QPushButton>(d, "anchorColor")->click();
    EXPECT_EQ(messages, std::vector<QString>{QStringLiteral(
                            "This color is the same as anchor color.\nPlease select another color.")});
    press(d, QDialogButtonBox::Ok);
  });
  EXPECT_EQ(doc().params().intervalMs, 5);
  EXPECT_EQ(doc().params().fileLengthMs, 1000.0);
  EXPECT_EQ(doc().table().columns(), 200);
  EXPECT_EQ(qobject_cast<CVandrelView*>(window->view())->grid()->model()->columnCount(), 200);
  EXPECT_EQ(doc().sampleRate(), 22050.0);
  EXPECT_TRUE(doc().autoInterpolate() && doc().anchorAfterEdit());
  EXPECT_EQ(doc().anchorColor(), anchor);
  vandrel::ConfigRecord saved;
  ASSERT_EQ(loadConfigFile(frame->environment().configPath().toStdString(), saved), ConfigStatus::kOk);
  EXPECT_EQ(saved.table.intervalMs, 5);

  // A refused interval keeps the dialog open with what was typed; Cancel
  // then leaves the document as it was, and a recording greys the length.
  doc().attachAudio(vandrel::SampleSet{std::vector<std::int16_t>(1000), 0.0});
  const FileOptions before = fileOptionsOf(doc());
  run(ID_OPTIONS_FILE, [&](QDialog& d) {
    EXPECT_FALSE(child<QSpinBox>(d, "fileLength")->isEnabled());
    child<QSpinBox>(d, "interval")->setValue(5000);
    child<QRadioButton>(d, "autoInterpolateOff")->setChecked(true);
    nextColor = QColor(1, 2, 3);
    child<QPushButton>(d, "anchorColor")->click();
    press(d, QDialogButtonBox::Ok);
    EXPECT_TRUE(d.isVisible());
    press(d, QDialogButtonBox::Cancel);
  });
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_TRUE(
      messages[0].startsWith(QStringLiteral("An interval of 5000 ms does not fit a file of 1000 ms.")));
  EXPECT_EQ(fileOptionsOf(doc()), before);
}

TEST_F(TableDialogsTest, ParametersSelectionAndItsSettingsGrid) {
  const QString conflict =
      QStringLiteral("This color is the same as anchor color.\nPlease select another color.");
  const ParameterOptions blank = parameterOptionsOf(doc());
  auto settings = [&](QDialog& d) {
    QAbstractItemModel* m = child<QTableView>(d, "settingsGrid")->model();  // the spreadsheet grid
    m->setData(m->index(kF1, ParameterSettingsModel::kLower), 1400);
    press(d, QDialogButtonBox::Ok);  // lower above upper: refused, still open
    EXPECT_TRUE(d.isVisible());
    child<QPushButton>(d, "resetToDefaults")->click();
    m->setData(m->index(kGain, ParameterSettingsModel::kDefault), 70);
    press(d, QDialogButtonBox::Ok);
  };
  run(ID_OPTIONS_PARAMETERS, [&](QDialog& d) {
    if (auto* inner = qobject_cast<CDialogParameterSettings*>(&d)) return settings(*inner);
    auto& p = dynamic_cast<COptionParameters&>(d);
    EXPECT_EQ(p.checkBox(kOq)->text(), QStringLiteral("oq (# of samples in open perid)"));
    p.checkBox(kF3)->setChecked(false);
    p.checkBox(kGain)->setChecked(true);
    nextColor = toQColor(doc().anchorColor());
    child<QPushButton>(d, "colorSet7")->click();  // refused: the nasal rows keep theirs
    nextColor = QColor(250, 250, 200);
    child<QPushButton>(d, "colorSet1")->click();
    child<QPushButton>(d, "parameterSettings")->click();
    child<QRadioButton>(d, "parallelOnly")->setChecked(true);
    press(d, QDialogButtonBox::Ok);
  });
  EXPECT_EQ(titles, (std::vector<QString>{QStringLiteral("Parameters Selection"),
                                          QStringLiteral("Parameter Settings")}));
  EXPECT_EQ(messages,
            (std::vector<QString>{conflict, QStringLiteral("The lower limit of f1 (1400) is above its "
                                                           "upper limit (1300).\nPlease correct the "
                                                           "limits of f1.")}));
  const ParameterSet& ps = doc().params();
  EXPECT_EQ(ps.at(kF3).selected, 0);
  EXPECT_EQ(ps.at(kGain).selected, 1);
  EXPECT_EQ(ps.at(kF1).lower, 200);
  EXPECT_EQ(ps.at(kGain).defaultValue, 70);
  EXPECT_EQ(ps.cascadeParallel, 0);
  EXPECT_EQ(doc().groupColor(kGroupNasal), blank.groupColors[kGroupNasal]);
  EXPECT_EQ(ps.at(kAv).color, rgb(250, 250, 200));
  QTableView* grid = qobject_cast<CVandrelView*>(window->view())->grid();
  EXPECT_TRUE(grid->isRowHidden(kF3));
  EXPECT_FALSE(grid->isRowHidden(kGain));
  vandrel::ConfigRecord saved;
  ASSERT_EQ(loadConfigFile(frame->environment().configPath().toStdString(), saved), ConfigStatus::kOk);
  EXPECT_EQ(saved.params[kF3].selected, 0);
  EXPECT_EQ(saved.params[kGain].defaultValue, 70);

  // Add Row (Ctrl+U on the table) opens the same dialog; "Default Settings"
  // and then Cancel changes nothing.
  const ParameterOptions chosen = parameterOptionsOf(doc());
  run(0, [&](QDialog& d) {
    auto& p = dynamic_cast<COptionParameters&>(d);
    child<QPushButton>(d, "defaultSettings")->click();
    EXPECT_TRUE(p.checkBox(kF3)->isChecked());
    EXPECT_TRUE(child<QRadioButton>(d, "cascadeParallel")->isChecked());
    press(d, QDialogButtonBox::Cancel);
  });
  frame->activateWindow();
  ASSERT_TRUE(QTest::qWaitForWindowActive(frame.get()));
  grid->setFocus();
  QTest::keyClick(QApplication::focusWidget(), Qt::Key_U, Qt::ControlModifier);
  EXPECT_EQ(titles, std::vector<QString>{QStringLiteral("Parameters Selection")});
  EXPECT_EQ(parameterOptionsOf(doc()), chosen);
}

}  // namespace
}  // namespace vandrel::ui::test
