// Cell edits with their after-edit hook, Add/Subtract, Set to Default Values,
// the anchor commands, Remove Row and Remove Column.

#include <gtest/gtest.h>

#include <cmath>
#include <optional>
#include <string>
#include <vector>

#include "EditingFixture.h"
#include "editing/AddSubtract.h"
#include "editing/Anchors.h"
#include "editing/CellEdit.h"
#include "editing/RowColumnCommands.h"
#include "editing/SetDefaults.h"

namespace vandrel {
namespace {

using testing::anchorColumns;
using testing::rowValues;
using testing::setRowValues;
using testing::shapeDoc;

TEST(CellEditTest, TypedValuesAreHeldToTheRowLimits) {
  // clang-format off
  const struct {
    int row;
    double typed;
    double stored;
  } cases[] = {
      {kAv, 5000, 87}, {kAv, -5, 0},     {kAv, 42.5, 42.5}, {kAv, 87, 87},        {kF0, 100, 500},
      {kF0, 5001, 5000}, {kAtu, 80, 80}, {kF6, 4999.9, 4999}, {kF2, 549.99, 550},
  };
  // clang-format on
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(builtinParams()[static_cast<std::size_t>(c.row)].name) + " " +
                 std::to_string(c.typed));
    CVandrelDoc doc;
    TableViewState view;
    ASSERT_TRUE(editCell(doc, view, c.row, 3, c.typed));
    EXPECT_EQ(doc.table.value(c.row, 3), c.stored);
    EXPECT_EQ(doc.table.value(c.row, 2), builtinParams()[static_cast<std::size_t>(c.row)].defaultValue);
  }
}

TEST(CellEditTest, AfterEditHookFollowsTheOptions) {
  const struct {
    bool anchorAfterEdit;
    bool autoInterpolate;
    std::vector<double> row;
    std::vector<int> anchors;
  } cases[] = {
      // Anchor at 0 holding 500; the edit puts 900 at column 4.
      {false, false, {500, 500, 500, 500, 900, 500}, {0}},
      {true, false, {500, 500, 500, 500, 900, 500}, {0, 4}},
      // Interpolation without a second anchor has nothing to do.
      {false, true, {500, 500, 500, 500, 900, 500}, {0}},
      {true, true, {500, 600, 700, 800, 900, 500}, {0, 4}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::to_string(c.anchorAfterEdit) + std::to_string(c.autoInterpolate));
    CVandrelDoc doc;
    shapeDoc(doc, 6);
    doc.anchorAfterEdit = c.anchorAfterEdit;
    doc.autoInterpolate = c.autoInterpolate;
    doc.table.setAnchor(kF1, 0, true);
    // A second row with two anchors shows the interpolation is of the whole table.
    setRowValues(doc.table, kAv, {0, 1, 1, 1, 1, 50});
    doc.table.setAnchor(kAv, 0, true);
    doc.table.setAnchor(kAv, 5, true);
    TableViewState view;
    ASSERT_TRUE(editCell(doc, view, kF1, 4, 900));
    EXPECT_EQ(rowValues(doc.table, kF1), c.row);
    EXPECT_EQ(anchorColumns(doc.table, kF1), c.anchors);
    EXPECT_EQ(doc.table.value(kAv, 1), c.autoInterpolate ? 10.0 : 1.0);
    EXPECT_TRUE(doc.modified);
    EXPECT_TRUE(doc.changedSinceSynthesis);
    EXPECT_TRUE(view.tableChanged);
    EXPECT_EQ(doc.undo.count(), 1);
    EXPECT_EQ(doc.undo.valueAt(0, kF1, 4), 900);
  }
}

TEST(CellEditTest, NotANumberOrOutsideTheTableStoresNothing) {
  CVandrelDoc doc;
  TableViewState view;
  const FrameTable before = doc.table;
  EXPECT_FALSE(editCell(doc, view, kF1, 0, std::nan("")));
  EXPECT_FALSE(editCell(doc, view, kF1, doc.table.columns(), 600));
  EXPECT_FALSE(editCell(doc, view, kParamCount, 0, 600));
  EXPECT_EQ(doc.table, before);
  EXPECT_EQ(doc.undo.count(), 0);
  EXPECT_FALSE(doc.modified);
}

TEST(CellEditTest, TypedTextGivesTheLeadingNumber) {
  const struct {
    const char* text;
    std::optional<double> value;
  } cases[] = {
      {"600", 600},  {"  600", 600},      {"-12.5", -12.5},      {"+7", 7},
      {"12ms", 12},  {"1e3", 1000},       {".5", 0.5},           {"3.", 3},
      {"1e-400", 0}, {"1e400", HUGE_VAL}, {"-1e400", -HUGE_VAL}, {"", {}},
      {"abc", {}},   {"-", {}},           {"+-3", {}},           {"1,5", 1},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(parseTypedValue(c.text), c.value);
  }
  CVandrelDoc doc;
  TableViewState view;
  EXPECT_TRUE(editCellText(doc, view, kAv, 0, "1e9"));
  EXPECT_EQ(doc.table.value(kAv, 0), 87);
  EXPECT_FALSE(editCellText(doc, view, kAv, 1, "loud"));
  EXPECT_EQ(doc.table.value(kAv, 1), 60);
  EXPECT_EQ(doc.undo.count(), 1);
}

TEST(AddSubtractTest, TruncatesThenAddsWithoutLimits) {
  const struct {
    double value;
    int amount;
    double result;
  } cases[] = {{10.7, 3, 13}, {-10.7, 3, -7}, {85, 10, 95}, {0.9, -5, -5}, {-0.9, 0, 0}, {60, -61, -1}};
  for (const auto& c : cases) {
    SCOPED_TRACE(std::to_string(c.value) + " + " + std::to_string(c.amount));
    CVandrelDoc doc;
    shapeDoc(doc, 3);
    doc.table.setValue(kAv, 1, c.value);
    TableViewState view;
    view.selection = TableSelection::wholeColumn(1);
    addSubtract(doc, view, c.amount);
    EXPECT_EQ(doc.table.value(kAv, 1), c.result);
    EXPECT_EQ(doc.addSubtractAmount, c.amount);
  }
}

TEST(AddSubtractTest, SelectionForms) {
  struct Case {
    std::string name;
    TableSelection selection;
    int rowsInUse;
    // Cells expected to have changed, as (row, column).
    std::vector<std::pair<int, int>> changed;
  };
  // clang-format off
  const std::vector<Case> cases = {
      {"whole row", TableSelection::wholeRow(kF1), kParamCount, {{kF1, 0}, {kF1, 1}, {kF1, 2}, {kF1, 3}}},
      {"whole column, rows in use", TableSelection::wholeColumn(2), 3, {{0, 2}, {1, 2}, {2, 2}}},
      {"block right to left", TableSelection::block(3, kF2, 1, kF1), kParamCount,
       {{kF2, 1}, {kF2, 2}, {kF2, 3}, {kF1, 1}, {kF1, 2}, {kF1, 3}}},
      {"block left to right, first use", TableSelection::block(1, kF2, 3, kF1), kParamCount, {}},
      {"block with rows upwards", TableSelection::block(3, kF1, 1, kF2), kParamCount, {}},
      {"no selection", TableSelection::none(), kParamCount, {}},
  };
  // clang-format on
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    CVandrelDoc doc;
    shapeDoc(doc, 4);
    doc.rowsInUse = c.rowsInUse;
    const FrameTable before = doc.table;
    TableViewState view;
    view.selection = c.selection;
    addSubtract(doc, view, 7);
    FrameTable expected = before;
    for (auto [r, col] : c.changed) expected.setValue(r, col, before.value(r, col) + 7);
    EXPECT_EQ(doc.table, expected);
    // The snapshot holds the table from before the addition.
    ASSERT_EQ(doc.undo.count(), 1);
    for (int r = 0; r < kParamCount; ++r)
      for (int col = 0; col < 4; ++col) EXPECT_EQ(doc.undo.valueAt(0, r, col), before.value(r, col));
    EXPECT_TRUE(doc.modified);
    EXPECT_TRUE(view.tableChanged);
  }
}

TEST(AddSubtractTest, LeftToRightBlockWorksOnEverySecondUse) {
  CVandrelDoc doc;
  shapeDoc(doc, 4);
  TableViewState view;
  view.selection = TableSelection::block(0, kF1, 3, kF1);
  const double start = doc.table.value(kF1, 1);
  const double expected[] = {start, start + 5, start + 5, start + 10};
  for (int use = 0; use < 4; ++use) {
    addSubtract(doc, view, 5);
    EXPECT_EQ(doc.table.value(kF1, 1), expected[use]) << "use " << use;
  }
}

TEST(SetDefaultsTest, SelectionForms) {
  struct Case {
    std::string name;
    TableSelection selection;
    int rowsInUse;
    std::vector<std::pair<int, int>> reset;  // cells back at their own row's default
  };
  // clang-format off
  const std::vector<Case> cases = {
      {"whole column, rows in use", TableSelection::wholeColumn(1), 2, {{0, 1}, {1, 1}}},
      {"block right to left", TableSelection::block(2, kF2, 1, kF1), kParamCount,
       {{kF2, 1}, {kF2, 2}, {kF1, 1}, {kF1, 2}}},
      {"block left to right, first use", TableSelection::block(1, kF2, 2, kF1), kParamCount, {}},
      {"nothing selected", TableSelection::none(), kParamCount, {}},
  };
  // clang-format on
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    CVandrelDoc doc;
    shapeDoc(doc, 3);
    for (int r = 0; r < kParamCount; ++r) setRowValues(doc.table, r, {-1, -2, -3});
    doc.rowsInUse = c.rowsInUse;
    TableViewState view;
    view.selection = c.selection;
    setToDefaultValues(doc, view);
    for (int r = 0; r < kParamCount; ++r) {
      for (int col = 0; col < 3; ++col) {
        bool reset = false;
        for (auto [rr, cc] : c.reset) reset = reset || (rr == r && cc == col);
        const double want = reset ? builtinParams()[static_cast<std::size_t>(r)].defaultValue : -1.0 - col;
        EXPECT_EQ(doc.table.value(r, col), want) << r << "," << col;
      }
    }
    EXPECT_TRUE(doc.modified);
    EXPECT_TRUE(view.tableChanged);
    ASSERT_EQ(doc.undo.count(), 1);
    EXPECT_EQ(doc.undo.valueAt(0, 0, 1),
              static_cast<int>(doc.table.value(0, 1)));  // snapshot after the change
  }
}

TEST(SetDefaultsTest, WholeRowTakesTheLastParametersDefault) {
  CVandrelDoc doc;
  shapeDoc(doc, 5);
  doc.params().setDefault(kGain, 77);
  doc.params().setDefault(kF1, 640);
  TableViewState view;
  view.selection = TableSelection::wholeRow(kF1);
  setToDefaultValues(doc, view);
  EXPECT_EQ(rowValues(doc.table, kF1), std::vector<double>(5, 77.0));
  EXPECT_EQ(doc.table.value(kF2, 0), 1500);
}

TEST(SetDefaultsTest, ValuesAreNotHeldToLimits) {
  CVandrelDoc doc;
  shapeDoc(doc, 2);
  doc.params().setDefault(kAv, 120);  // beyond the upper limit of 87
  TableViewState view;
  view.selection = TableSelection::wholeColumn(0);
  setToDefaultValues(doc, view);
  EXPECT_EQ(doc.table.value(kAv, 0), 120);
}

TEST(AnchorCommandsTest, BlockGivesTheSameAnchorsWhicheverWayItWasDragged) {
  const TableSelection drags[] = {
      TableSelection::block(1, kF3, 3, kF1),  // down and right
      TableSelection::block(3, kF1, 1, kF3),  // up and left
      TableSelection::block(3, kF3, 1, kF1),  // down and left
      TableSelection::block(1, kF1, 3, kF3),  // up and right
  };
  for (const TableSelection& drag : drags) {
    SCOPED_TRACE(std::to_string(drag.startColumn) + "," + std::to_string(drag.startRow));
    CVandrelDoc doc;
    shapeDoc(doc, 5);
    TableViewState view;
    view.selection = drag;
    addAnchorsToSelection(doc, view);
    for (int r = 0; r < kParamCount; ++r) {
      const bool inBlock = r >= kF3 && r <= kF1;
      const std::vector<int> want = inBlock ? std::vector<int>{1, 2, 3} : std::vector<int>{};
      EXPECT_EQ(anchorColumns(doc.table, r), want) << r;
    }
    EXPECT_EQ(view.selection, drag);  // ordered for use only, not stored
    EXPECT_TRUE(doc.modified);
    EXPECT_EQ(doc.undo.count(), 0);

    view.selection = TableSelection::block(drag.endColumn, kF2, drag.startColumn, kF2);
    removeAnchorsFromSelection(doc, view);
    EXPECT_EQ(anchorColumns(doc.table, kF2), std::vector<int>{});
    EXPECT_EQ(anchorColumns(doc.table, kF3), (std::vector<int>{1, 2, 3}));
  }
}

TEST(AnchorCommandsTest, RowColumnAndRemoveAll) {
  CVandrelDoc doc;
  shapeDoc(doc, 4);
  TableViewState view;
  view.selection = TableSelection::wholeRow(kAh);
  addAnchorsToSelection(doc, view);
  EXPECT_EQ(anchorColumns(doc.table, kAh), (std::vector<int>{0, 1, 2, 3}));
  view.selection = TableSelection::wholeColumn(2);
  addAnchorsToSelection(doc, view);
  for (int r = 0; r < kParamCount; ++r) EXPECT_TRUE(doc.table.anchor(r, 2)) << r;
  EXPECT_EQ(doc.table.anchorCount(), kParamCount + 3);
  view.selection = TableSelection::wholeColumn(0);
  removeAnchorsFromSelection(doc, view);
  EXPECT_EQ(anchorColumns(doc.table, kAh), (std::vector<int>{1, 2, 3}));
  removeAllAnchors(doc, view);
  EXPECT_EQ(doc.table.anchorCount(), 0);
}

TEST(AnchorCommandsTest, CellMenuDoesNotMarkTheDocument) {
  CVandrelDoc doc;
  setCellAnchor(doc, kF0, 4, true);
  EXPECT_TRUE(doc.table.anchor(kF0, 4));
  EXPECT_EQ(doc.table.anchorCount(), 1);
  setCellAnchor(doc, kF0, 4, false);
  EXPECT_EQ(doc.table.anchorCount(), 0);
  EXPECT_FALSE(doc.modified);
  EXPECT_EQ(doc.undo.count(), 0);
}

TEST(RowColumnCommandsTest, RemoveRowLowersTheCountAndTakesASnapshot) {
  CVandrelDoc doc;
  TableViewState view;
  removeRow(doc, view);
  EXPECT_EQ(doc.rowsInUse, kParamCount - 1);
  EXPECT_EQ(doc.table.rows(), kParamCount);
  EXPECT_TRUE(doc.modified);
  EXPECT_TRUE(view.tableChanged);
  EXPECT_EQ(doc.undo.count(), 1);
  doc.rowsInUse = 0;
  removeRow(doc, view);
  EXPECT_EQ(doc.rowsInUse, 0);

  // The column forms now stop at the lowered count.
  doc.rowsInUse = 1;
  view.selection = TableSelection::wholeColumn(0);
  addSubtract(doc, view, 1);
  EXPECT_EQ(doc.table.value(kF0, 0), 1001);
  EXPECT_EQ(doc.table.value(kAv, 0), 60);
}

TEST(RowColumnCommandsTest, RemoveColumnRemovesNothing) {
  CVandrelDoc doc;
  TableViewState view;
  view.selection = TableSelection::wholeColumn(3);
  const FrameTable before = doc.table;
  removeColumn(doc, view);
  EXPECT_EQ(doc.table, before);
  EXPECT_EQ(view.selection.kind, SelectionKind::kNone);
  EXPECT_TRUE(doc.modified);
  EXPECT_TRUE(doc.changedSinceSynthesis);
  EXPECT_TRUE(view.tableChanged);
  EXPECT_EQ(doc.undo.count(), 0);

  // Any other selection stays.
  view.selection = TableSelection::wholeRow(2);
  removeColumn(doc, view);
  EXPECT_EQ(view.selection, TableSelection::wholeRow(2));
}

}  // namespace
}  // namespace vandrel
