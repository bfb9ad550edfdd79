// Cell edits with their after-edit hook, Add/Subtract, Set to Default Values,
// the anchor commands, Remove Row and Remove Column.

#include <gtest/gtest.h>

#include <cmath>
#include <optional>
#include <string>
#include <utility>
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

using Cells = std::vector<std::pair<int, int>>;  // (row, column)

TEST(CellEditTest, TypedTextIsHeldToTheRowLimits) {
  // clang-format off
  const struct {
    int row;
    const char* text;
    std::optional<double> stored;  // nothing: the cell keeps its value
  } cases[] = {
      {kAv, "5000", 87}, {kAv, "-5", 0}, {kAv, " 42.5", 42.5}, {kF0, "100", 500}, {kF6, "4999.9", 4999},
      {kAtu, "80", 80},  {kF2, "12ms", 550}, {kAv, "1e400", 87}, {kAv, "1e-400", 0}, {kAv, "+7", 7},
      {kAv, "loud", {}}, {kAv, "", {}}, {kAv, "+-3", {}}, {kAv, "nan", {}},
  };
  // clang-format on
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    CVandrelDoc doc;
    TableViewState view;
    EXPECT_EQ(editCellText(doc, view, c.row, 3, c.text), c.stored.has_value());
    EXPECT_EQ(doc.table.value(c.row, 3),
              c.stored.value_or(builtinParams()[static_cast<std::size_t>(c.row)].defaultValue));
    EXPECT_EQ(doc.undo.count(), c.stored ? 1 : 0);
    EXPECT_EQ(doc.modified, c.stored.has_value());
  }
  CVandrelDoc doc;
  TableViewState view;
  EXPECT_FALSE(editCell(doc, view, kF1, doc.table.columns(), 600));
  EXPECT_FALSE(editCell(doc, view, kParamCount, 0, 600));
}

TEST(CellEditTest, AfterEditHookFollowsTheOptions) {
  const struct {
    bool anchorAfterEdit, autoInterpolate;
    std::vector<double> f1;
    std::vector<int> anchors;
  } cases[] = {
      {false, false, {500, 500, 500, 500, 900, 500}, {0}},
      {true, false, {500, 500, 500, 500, 900, 500}, {0, 4}},
      {false, true, {500, 500, 500, 500, 900, 500}, {0}},  // one anchor: nothing to fill
      {true, true, {500, 600, 700, 800, 900, 500}, {0, 4}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::to_string(c.anchorAfterEdit) + std::to_string(c.autoInterpolate));
    CVandrelDoc doc;
    shapeDoc(doc, 6);
    doc.anchorAfterEdit = c.anchorAfterEdit;
    doc.autoInterpolate = c.autoInterpolate;
    doc.table.setAnchor(kF1, 0, true);
    // Another row with two anchors: the interpolation is of the whole table.
    setRowValues(doc.table, kAv, {0, 1, 1, 1, 1, 50});
    doc.table.setAnchor(kAv, 0, true);
    doc.table.setAnchor(kAv, 5, true);
    TableViewState view;
    ASSERT_TRUE(editCell(doc, view, kF1, 4, 900));
    EXPECT_EQ(rowValues(doc.table, kF1), c.f1);
    EXPECT_EQ(anchorColumns(doc.table, kF1), c.anchors);
    EXPECT_EQ(doc.table.value(kAv, 1), c.autoInterpolate ? 10.0 : 1.0);
    EXPECT_TRUE(doc.modified && doc.changedSinceSynthesis && view.tableChanged);
    ASSERT_EQ(doc.undo.count(), 1);
    EXPECT_EQ(doc.undo.valueAt(0, kF1, 2), static_cast<int>(c.f1[2]));  // taken after the hook
  }
}

TEST(AddSubtractTest, TruncatesThenAddsWithoutLimits) {
  const struct {
    double value;
    int amount;
    double result;
  } cases[] = {{10.7, 3, 13}, {-10.7, 3, -7}, {85, 10, 95}, {0.9, -5, -5}, {60, -61, -1}};
  for (const auto& c : cases) {
    SCOPED_TRACE(std::to_string(c.value) + " + " + std::to_string(c.amount));
    CVandrelDoc doc;
    doc.table.setValue(kAv, 1, c.value);
    TableViewState view;
    view.selection = TableSelection::wholeColumn(1);
    addSubtract(doc, view, c.amount);
    EXPECT_EQ(doc.table.value(kAv, 1), c.result);
    EXPECT_EQ(doc.addSubtractAmount, c.amount);
  }
}

// Which cells Add/Subtract (+7) and Set to Default Values change for each
// selection form, from a table of -1, -2, -3, -4 in every row.
TEST(SelectionFormsTest, AddSubtractAndDefaults) {
  struct Case {
    std::string name;
    TableSelection selection;
    int rowsInUse;
    Cells changed;
  };
  const Cells wholeF1 = {{kF1, 0}, {kF1, 1}, {kF1, 2}, {kF1, 3}};
  const Cells block = {{kF2, 1}, {kF2, 2}, {kF2, 3}, {kF1, 1}, {kF1, 2}, {kF1, 3}};
  // clang-format off
  const std::vector<Case> cases = {
      {"whole row", TableSelection::wholeRow(kF1), kParamCount, wholeF1},
      {"whole column, rows in use", TableSelection::wholeColumn(2), 3, {{0, 2}, {1, 2}, {2, 2}}},
      {"block right to left", TableSelection::block(3, kF2, 1, kF1), kParamCount, block},
      {"block left to right, first use", TableSelection::block(1, kF2, 3, kF1), kParamCount, {}},
      {"block with rows upwards", TableSelection::block(3, kF1, 1, kF2), kParamCount, {}},
      {"no selection", TableSelection::none(), kParamCount, {}},
  };
  // clang-format on
  for (const bool defaults : {false, true}) {
    for (const Case& c : cases) {
      SCOPED_TRACE(c.name + (defaults ? " (defaults)" : " (add 7)"));
      CVandrelDoc doc;
      shapeDoc(doc, 4);
      doc.params().setDefault(kGain, 77);
      for (int r = 0; r < kParamCount; ++r) setRowValues(doc.table, r, {-1, -2, -3, -4});
      doc.rowsInUse = c.rowsInUse;
      const FrameTable before = doc.table;
      TableViewState view;
      view.selection = c.selection;
      defaults ? setToDefaultValues(doc, view) : addSubtract(doc, view, 7);

      FrameTable expected = before;
      for (auto [r, col] : c.changed) {
        // The whole-row form of Set to Default Values leaves the last
        // parameter's default (gain) across the row.
        const int owner = c.selection.kind == SelectionKind::kRow ? kGain : r;
        expected.setValue(r, col, defaults ? doc.params().at(owner).defaultValue : before.value(r, col) + 7);
      }
      EXPECT_EQ(doc.table, expected);
      // Add/Subtract snapshots the table from before its addition; Set to
      // Default Values the table after.
      ASSERT_EQ(doc.undo.count(), 1);
      const FrameTable& held = defaults ? expected : before;
      for (auto [r, col] : c.changed) EXPECT_EQ(doc.undo.valueAt(0, r, col), held.value(r, col));
      EXPECT_TRUE(doc.modified && view.tableChanged);
    }
  }
}

TEST(AnchorCommandsTest, BlockGivesTheSameAnchorsWhicheverWayItWasDragged) {
  for (const TableSelection& drag :
       {TableSelection::block(1, kF3, 3, kF1), TableSelection::block(3, kF1, 1, kF3),
        TableSelection::block(3, kF3, 1, kF1), TableSelection::block(1, kF1, 3, kF3)}) {
    SCOPED_TRACE(std::to_string(drag.startColumn) + "," + std::to_string(drag.startRow));
    CVandrelDoc doc;
    shapeDoc(doc, 5);
    TableViewState view;
    view.selection = drag;
    addAnchorsToSelection(doc, view);
    for (int r = 0; r < kParamCount; ++r)
      EXPECT_EQ(anchorColumns(doc.table, r),
                (r >= kF3 && r <= kF1 ? std::vector<int>{1, 2, 3} : std::vector<int>{}));
    EXPECT_EQ(view.selection, drag);  // ordered for use, not in the stored selection
    EXPECT_TRUE(doc.modified);
    EXPECT_EQ(doc.undo.count(), 0);

    view.selection = TableSelection::wholeColumn(2);
    removeAnchorsFromSelection(doc, view);
    EXPECT_EQ(anchorColumns(doc.table, kF2), (std::vector<int>{1, 3}));
    view.selection = TableSelection::wholeRow(kF3);
    removeAnchorsFromSelection(doc, view);
    EXPECT_EQ(doc.table.anchorCount(), 4);
    removeAllAnchors(doc, view);
    EXPECT_EQ(doc.table.anchorCount(), 0);
  }
}

TEST(AnchorCommandsTest, CellMenuDoesNotMarkTheDocument) {
  CVandrelDoc doc;
  setCellAnchor(doc, kF0, 4, true);
  EXPECT_EQ(anchorColumns(doc.table, kF0), std::vector<int>{4});
  EXPECT_EQ(doc.table.anchorCount(), 1);
  EXPECT_FALSE(doc.modified);
  EXPECT_EQ(doc.undo.count(), 0);
}

TEST(RowColumnCommandsTest, RemoveRowAndRemoveColumnTakeNothingOut) {
  CVandrelDoc doc;
  TableViewState view;
  const FrameTable before = doc.table;
  removeRow(doc, view);
  EXPECT_EQ(doc.rowsInUse, kParamCount - 1);
  EXPECT_EQ(doc.undo.count(), 1);
  EXPECT_TRUE(doc.modified && view.tableChanged);

  view = TableViewState{};
  view.selection = TableSelection::wholeColumn(3);
  removeColumn(doc, view);
  EXPECT_EQ(doc.table, before);
  EXPECT_EQ(view.selection.kind, SelectionKind::kNone);
  EXPECT_TRUE(view.tableChanged);
  EXPECT_EQ(doc.undo.count(), 1);  // no snapshot

  doc.rowsInUse = 0;
  removeRow(doc, view);
  EXPECT_EQ(doc.rowsInUse, 0);
}

}  // namespace
}  // namespace vandrel
