// The parameter table through its real widgets: keys and mouse on the grid,
// the real menu actions, and the document underneath.

#include <QAbstractItemModelTester>
#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QDialogButtonBox>
#include <QHeaderView>
#include <QMdiArea>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QScrollBar>
#include <QTest>
#include <QTimer>

#include "../app/ShellFixture.h"
#include "editing/AfterEdit.h"
#include "editing/EditTransaction.h"
#include "table/CVandrelView.h"
#include "table/FrameTableModel.h"
#include "table/MyCug.h"
#include "table/TableCommands.h"
#include "table/dialogs/COptionParameters.h"
#include "table/dialogs/DialogSupport.h"
#include "table/dialogs/OptionCommands.h"
#include "views/spectrogram/SpectrogramCommands.h"

namespace vandrel::ui::test {
namespace {

class TableViewTest : public FrameFixture {
 protected:
  void SetUp() override {
    FrameFixture::SetUp();
    view = qobject_cast<CVandrelView*>(window->view());
    ASSERT_NE(view, nullptr);
    grid = view->table();
    QApplication::processEvents();
  }

  QModelIndex cell(int row, int column) { return grid->model()->index(row, column); }
  QPoint at(int row, int column) { return grid->visualRect(cell(row, column)).center(); }

  // Types `text` into the current cell and ends with `key`, as a user does.
  void type(const QString& text, Qt::Key key = Qt::Key_Return) {
    grid->setFocus();
    QTest::keyClick(grid, text.at(0).toLatin1());
    QWidget* editor = QApplication::focusWidget();
    ASSERT_NE(editor, grid) << "typing did not open an editor";
    QTest::keyClicks(editor, text.mid(1));
    QTest::keyClick(editor, key);
    ASSERT_TRUE(QTest::qWaitFor([this] { return !grid->isEditing(); }));
  }

  void click(int row, int column, Qt::KeyboardModifiers mods = {}) {
    QTest::mouseClick(grid->viewport(), Qt::LeftButton, mods, at(row, column));
  }
  void drag(int row0, int column0, int row1, int column1) {
    QTest::mousePress(grid->viewport(), Qt::LeftButton, {}, at(row0, column0));
    QMouseEvent move(QEvent::MouseMove, at(row1, column1), grid->viewport()->mapToGlobal(at(row1, column1)),
                     Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(grid->viewport(), &move);
    QTest::mouseRelease(grid->viewport(), Qt::LeftButton, {}, at(row1, column1));
  }

  CVandrelView* view = nullptr;
  MyCug* grid = nullptr;
};

TEST_F(TableViewTest, ModelFollowsTheDocumentAndFormatsValues) {
  std::vector<QString> failures;
  QAbstractItemModelTester tester(view->model(), QAbstractItemModelTester::FailureReportingMode::Warning);
  static std::vector<QString>* sink = &failures;
  const QtMessageHandler old =
      qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString& m) {
        if (m.contains(QLatin1String("FAIL"))) sink->push_back(m);
      });
  vandrel::EditTransaction(doc()).setValue(kAv, 2, 1.0 / 3.0);
  doc().notifyCellsChanged(CellRange{kAv, kAv, 2, 2});
  EXPECT_EQ(view->model()->data(cell(kAv, 2), Qt::DisplayRole).toString(), QStringLiteral("0.33"));
  grid->setCurrentCell(kF1, 15);
  doc().changeParams([&](vandrel::ParameterSet& ps) { ps.setSelected(kF1, false); });
  doc().replaceTable(vandrel::FrameTable(40, doc().params()));
  doc().notifyStructureChanged();
  qInstallMessageHandler(old);
  EXPECT_TRUE(failures.empty()) << failures.front().toStdString();

  EXPECT_EQ(view->model()->columnCount(), 40);
  EXPECT_TRUE(grid->isRowHidden(kF1));
  EXPECT_EQ(view->currentParam(), kF0);  // its row was hidden: back to the first shown row
  EXPECT_EQ(view->currentColumn(), 15);
  EXPECT_EQ(view->model()->headerData(3, Qt::Horizontal, Qt::DisplayRole).toString(), QStringLiteral("40"));
  EXPECT_EQ(view->model()->headerData(kAv, Qt::Vertical, Qt::ToolTipRole).toString(),
            QStringLiteral("av = Amplitude of voicing in dB (0 - 87)\nLimits: 0 to 87\nDefault: 60"));
  const auto shown = view->shownParams();
  EXPECT_EQ(std::count(shown.begin(), shown.end(), kF1), 0);
}

// A cell too narrow would cut the leading digits off and show another number:
// columns fit the widest value the shown rows may hold, and the last heading.
TEST_F(TableViewTest, ColumnsFitTheWidestValueOfTheShownRowsAndTheLastHeading) {
  const QFontMetrics fm = grid->fontMetrics();
  const auto fits = [&](const char* text) {
    return fm.horizontalAdvance(QString::fromLatin1(text)) + 7 <= grid->columnWidth(0);
  };
  EXPECT_TRUE(fits("4999.99"));  // f0, in tenths of a hertz, up to 5000
  doc().changeParams([&](vandrel::ParameterSet& ps) { ps.setUpper(kAv, 250000); });
  EXPECT_TRUE(fits("249999.99"));
  // Only rows of two-digit values shown, and a table of 100,000 frames.
  const int narrow = grid->columnWidth(0);
  doc().changeParams([](vandrel::ParameterSet& ps) {
    for (int r = 0; r < kParamCount; ++r) ps.setSelected(r, r == kAh || r == kAf);
  });
  doc().newTable(100000, doc().params().intervalMs);
  EXPECT_LT(grid->columnWidth(0), narrow);
  EXPECT_TRUE(fits("86.99"));
  EXPECT_TRUE(fits("1000000"));
}

// The window opens with the table focused on the first shown row at the first
// frame; typed values are held to the limits and Enter moves down one shown
// row; letters do not start editing.
TEST_F(TableViewTest, TypingStoresClampedValuesAndMovesDown) {
  ASSERT_TRUE(QTest::qWaitForWindowActive(frame.get()));
  EXPECT_EQ(QApplication::focusWidget(), grid);
  EXPECT_EQ(view->currentParam(), kF0);
  EXPECT_EQ(view->currentColumn(), 0);

  QTest::keyClick(grid, Qt::Key_Down);
  QTest::keyClick(grid, Qt::Key_Right);
  type(QStringLiteral("5000"));
  EXPECT_EQ(doc().table().value(kAv, 1), 87.0);
  EXPECT_EQ(view->currentParam(), kAh);
  EXPECT_EQ(view->cellStatusText(), QStringLiteral("ah   20 ms   0"));

  type(QStringLiteral("-7"), Qt::Key_Tab);  // below the lower limit of ah
  EXPECT_EQ(doc().table().value(kAh, 1), 0.0);
  EXPECT_EQ(view->currentColumn(), 2);

  QTest::keyClick(grid, Qt::Key_X);
  EXPECT_FALSE(grid->isEditing());
  QTest::keyClick(grid, Qt::Key_Return);  // without typing, Enter and Tab move too
  QTest::keyClick(grid, Qt::Key_Tab);
  EXPECT_EQ(view->currentParam(), kAf);
  EXPECT_EQ(view->currentColumn(), 3);
}

// With both after-edit options on, a typed value becomes an anchor and the row
// is interpolated between its anchors; undo and redo give the values back and
// leave hidden rows hidden.
TEST_F(TableViewTest, AfterEditOptionsThenUndoAndRedo) {
  doc().setAnchorAfterEdit(true);
  doc().setAutoInterpolate(true);
  vandrel::EditTransaction(doc()).setValue(kAv, 0, 0.0);
  vandrel::EditTransaction(doc()).setAnchor(kAv, 0, true);
  doc().notifyCellsChanged(CellRange{kAv, kAv, 0, 0});
  afterEditStep(doc());

  grid->setCurrentCell(kAv, 8);
  type(QStringLiteral("80"));
  EXPECT_TRUE(doc().table().anchor(kAv, 8));
  EXPECT_EQ(doc().table().value(kAv, 4), 40.0);
  EXPECT_EQ(
      view->model()->data(cell(kAv, 8), Qt::BackgroundRole).value<QColor>().rgb(),
      QColor(redOf(doc().anchorColor()), greenOf(doc().anchorColor()), blueOf(doc().anchorColor())).rgb());

  doc().changeParams([&](vandrel::ParameterSet& ps) { ps.setSelected(kB1, false); });
  frame->action(ID_EDIT_UNDO)->trigger();
  EXPECT_EQ(doc().table().value(kAv, 4), 60.0);
  EXPECT_EQ(doc().table().value(kAv, 8), 60.0);
  EXPECT_EQ(view->model()->data(cell(kAv, 4), Qt::DisplayRole).toString(), QStringLiteral("60"));
  EXPECT_TRUE(grid->isRowHidden(kB1));
  QTest::keyClick(grid, Qt::Key_Y, Qt::ControlModifier);  // the table's own Redo key
  EXPECT_EQ(doc().table().value(kAv, 4), 40.0);
  EXPECT_TRUE(grid->isRowHidden(kB1));
}

// Blocks reach the core as the user made them, by mouse or by keys, in
// either direction; Interpolate Selection and Set to Default Values trade the
// block's ends at each use, so they work on it only at every second use.
TEST_F(TableViewTest, BlocksAreKeptAsMadeAndCommandsWorkOnThemEverySecondUse) {
  for (int col = 2; col <= 6; ++col) vandrel::EditTransaction(doc()).setValue(kAv, col, 10.0 * col);
  doc().notifyCellsChanged(CellRange{kAv, kAv, 2, 6});
  for (const bool mouse : {true, false}) {
    for (const bool rightToLeft : {false, true}) {
      SCOPED_TRACE(std::string(mouse ? "mouse" : "keys") +
                   (rightToLeft ? " right to left" : " left to right"));
      const int from = rightToLeft ? 6 : 2;
      const int to = rightToLeft ? 2 : 6;
      if (mouse) {
        drag(kAv, from, kAh, to);
      } else {
        click(kAv, from);
        for (int i = 0; i < 4; ++i)
          QTest::keyClick(grid, rightToLeft ? Qt::Key_Left : Qt::Key_Right, Qt::ShiftModifier);
        QTest::keyClick(grid, Qt::Key_Down, Qt::ShiftModifier);
      }
      EXPECT_EQ(view->selection(), TableSelection::block(from, kAv, to, kAh));
      EXPECT_EQ(grid->selectionModel()->selectedIndexes().size(), 10);
    }
  }
  // On the last block (right to left): the commands share the trading.
  // Column 4 of av holds 40, on the straight line already: it is given 0.
  const std::pair<int, double> uses[] = {{ID_INTERPOLATE_SELECTION, 40},
                                         {ID_INTERPOLATE_SELECTION, 0},
                                         {ID_EDIT_SET_DEFAULTS, 60},
                                         {ID_EDIT_SET_DEFAULTS, 0}};
  for (std::size_t i = 0; i < std::size(uses); ++i) {
    vandrel::EditTransaction(doc()).setValue(kAv, 4, 0.0);
    frame->action(uses[i].first)->trigger();
    EXPECT_EQ(doc().table().value(kAv, 4), uses[i].second) << "use " << i + 1;
  }
}

// The Anchors menu, item by item as a user picks it from the menu bar, on a
// block dragged right to left: each item works on the view's selection.
TEST_F(TableViewTest, AnchorsMenuItemsWorkOnTheSelectionAndTheWholeTable) {
  const auto pick = [this](const QString& item) {
    for (QAction* menu : frame->menuBar()->actions())
      if (menu->text() == QStringLiteral("Anchors"))
        for (QAction* a : menu->menu()->actions())
          if (a->text() == item) return a->trigger();
    ADD_FAILURE() << "no Anchors item " << item.toStdString();
  };
  vandrel::EditTransaction(doc()).setAnchor(kF1, 9, true);  // outside every selection below
  drag(kAv, 4, kAh, 2);
  pick(QStringLiteral("Add to Selection"));
  EXPECT_EQ(doc().table().anchorCount(), 7);  // which cells a block gives is the core's business
  EXPECT_TRUE(doc().table().anchor(kAh, 2) && doc().table().anchor(kAv, 4));
  EXPECT_TRUE(doc().modified());
  click(kAh, 3);
  pick(QStringLiteral("Remove from Selection"));
  EXPECT_EQ(doc().table().anchorCount(), 6);
  EXPECT_FALSE(doc().table().anchor(kAh, 3));
  pick(QStringLiteral("Remove All"));
  EXPECT_EQ(doc().table().anchorCount(), 0);
}

// Headings select one whole row or column; Select All (Ctrl+A) the table;
// the right-click menu of a cell holds exactly its two anchor items, which
// change the flag and not the document's modified state.
TEST_F(TableViewTest, HeadingsSelectAllAndTheCellMenu) {
  const QHeaderView* side = grid->verticalHeader();
  QTest::mouseClick(side->viewport(), Qt::LeftButton, {}, QPoint(5, side->sectionViewportPosition(kF2) + 5));
  EXPECT_EQ(view->selection(), TableSelection::wholeRow(kF2));
  const QHeaderView* top = grid->horizontalHeader();
  QTest::mouseClick(top->viewport(), Qt::LeftButton, Qt::ShiftModifier,
                    QPoint(top->sectionViewportPosition(3) + 5, 5));
  EXPECT_EQ(view->selection(), TableSelection::wholeColumn(3));
  frame->action(ID_EDIT_REMOVE_COLUMN)->trigger();
  EXPECT_EQ(view->selection().kind, SelectionKind::kNone);
  EXPECT_TRUE(grid->selectionModel()->selectedIndexes().isEmpty());

  grid->setFocus();
  QTest::keyClick(grid, Qt::Key_A, Qt::ControlModifier);
  EXPECT_EQ(view->selection(), selectAll(doc().table()));

  doc().setModified(false);
  QStringList items;
  QTimer::singleShot(0, [&items] {
    auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    if (!menu) return;
    for (QAction* a : menu->actions()) items << a->text();
    menu->actions().at(0)->trigger();
    menu->close();
  });
  QContextMenuEvent event(QContextMenuEvent::Mouse, at(kF3, 5), grid->viewport()->mapToGlobal(at(kF3, 5)));
  QApplication::sendEvent(grid->viewport(), &event);
  EXPECT_EQ(items, QStringList({QStringLiteral("Add Anchor"), QStringLiteral("Remove Anchor")}));
  EXPECT_TRUE(doc().table().anchor(kF3, 5));
  EXPECT_FALSE(doc().modified());
}

// Rows hidden through Options > Parameters while the table is scrolled to its
// end behind the spectrogram window: back in front through the Window menu,
// the table fills its window with columns, not only its last few.
TEST_F(TableViewTest, RowsHiddenWhileScrolledLeaveTheColumnsDrawn) {
  installTableCommands(frame->router());
  installSpectrogramCommands(frame->router());
  installOptionCommands(frame->router());
  setDialogRunner([](QDialog& d) {
    auto& p = dynamic_cast<COptionParameters&>(d);
    for (const int row : {kB1, kB2, kB3, kB4, kB5}) p.checkBox(row)->setChecked(false);
    p.findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok)->click();
    return d.result();
  });
  doc().newTable(80, 5);
  QApplication::processEvents();
  grid->setFocus();
  QTest::keyClick(grid, Qt::Key_End);
  QTest::keyClick(grid, Qt::Key_T, Qt::ControlModifier);
  ASSERT_NE(frame->mdiArea()->activeSubWindow(), window);
  frame->action(ID_OPTIONS_PARAMETERS)->trigger();
  setDialogRunner({});
  ASSERT_TRUE(grid->isRowHidden(kB1));

  QMenu* windows = nullptr;
  for (QAction* a : frame->menuBar()->actions())
    if (a->text() == QStringLiteral("&Window")) windows = a->menu();
  ASSERT_NE(windows, nullptr);
  emit windows->aboutToShow();
  for (QAction* a : windows->actions())
    if (a->text().endsWith(window->windowTitle())) a->trigger();
  ASSERT_EQ(frame->mdiArea()->activeSubWindow(), window);
  QApplication::processEvents();

  // The last column is in view, and the window's right edge holds a column.
  const int last = grid->model()->columnCount() - 1;
  EXPECT_GE(grid->columnViewportPosition(last), 0);
  EXPECT_NE(grid->columnAt(grid->viewport()->width() - 3), -1);
  EXPECT_LE(grid->horizontalScrollBar()->value(), grid->horizontalScrollBar()->maximum());
}

}  // namespace
}  // namespace vandrel::ui::test
