// The editing commands on the frame table: interpolation, cell edits with
// their after-edit hook, Add/Subtract, Set to Default Values, anchors, Remove
// Row/Column, adding time and changing the length, and the undo history.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <optional>
#include <random>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "document/VandrelDoc.h"
#include "editing/AddSubtract.h"
#include "editing/AdjustTime.h"
#include "editing/Anchors.h"
#include "editing/CellEdit.h"
#include "editing/EditTransaction.h"
#include "editing/Interpolation.h"
#include "editing/RowColumnCommands.h"
#include "editing/SetDefaults.h"
#include "editing/TableSelection.h"
#include "editing/UndoCommands.h"

namespace vandrel {
namespace {

// A blank document whose table has `columns` frames of `intervalMs`.
void shapeDoc(CVandrelDoc& doc, int columns, int intervalMs = 10) { doc.newTable(columns, intervalMs); }

std::vector<double> rowValues(const FrameTable& t, int row) { return {t.row(row), t.row(row) + t.columns()}; }

void setRowValues(FrameTable& t, int row, const std::vector<double>& v) {
  for (std::size_t c = 0; c < v.size(); ++c) t.setValue(row, static_cast<int>(c), v[c]);
}

void setRowValues(CVandrelDoc& doc, int row, const std::vector<double>& v) {
  EditTransaction edit(doc);
  setRowValues(edit.table(), row, v);
  edit.note(CellRange{row, row, 0, static_cast<int>(v.size()) - 1});
}

std::vector<int> anchorColumns(const FrameTable& t, int row) {
  std::vector<int> out;
  for (int c = 0; c < t.columns(); ++c)
    if (t.anchor(row, c)) out.push_back(c);
  return out;
}

enum class Op { kAll, kRow, kBlock, kColumn, kNone };

TEST(InterpolationTest, TableOfCases) {
  const std::vector<double> gap = {3, 10, 0, 0, 0, 50, 11}, filled = {3, 10, 20, 30, 40, 50, 11};
  const struct {
    std::string name;
    std::vector<double> values;
    std::vector<int> anchors;
    Op op;
    int blockStart, blockEnd, times;  // kBlock: the stored start and end column
    std::vector<double> expected;     // exact doubles: nothing is rounded
  } cases[] = {
      // clang-format off
      {"adjacent anchors", {0, 10, 20, 30, 40}, {1, 2}, Op::kAll, 0, 0, 1, {0, 10, 20, 30, 40}},
      {"one anchor", {5, 9, 1, 4}, {2}, Op::kAll, 0, 0, 1, {5, 9, 1, 4}},
      {"no anchor", {5, 9, 1, 4}, {}, Op::kAll, 0, 0, 1, {5, 9, 1, 4}},
      {"between anchors, not outside", {5, 0, 99, 99, 30, 7}, {1, 4}, Op::kAll, 0, 0, 1, {5, 0, 10, 20, 30, 7}},
      {"three anchors", {0, 9, 100, 9, 9, 40}, {0, 2, 5}, Op::kAll, 0, 0, 1, {0, 50, 100, 80, 60, 40}},
      {"thirds stay doubles", {0, 7, 7, 1}, {0, 3}, Op::kAll, 0, 0, 1, {0, 1.0 / 3, 2.0 / 3, 1}},
      {"block right to left", gap, {}, Op::kBlock, 5, 1, 1, filled},
      {"block left to right, once", gap, {}, Op::kBlock, 1, 5, 1, gap},
      {"block left to right, twice", gap, {}, Op::kBlock, 1, 5, 2, filled},
      {"one-column block", {3, 10, 0, 50}, {}, Op::kBlock, 2, 2, 1, {3, 10, 0, 50}},
      {"block with an anchor inside", {0, 7, 7, 30, 7, 60, 99}, {3}, Op::kBlock, 5, 0, 1, {0, 10, 20, 30, 45, 60, 99}},
      {"whole row: the end reads the last frame", {0, 9, 9, 30, 9, 9, 60}, {0, 3}, Op::kRow, 0, 0, 1,
       {0, 10, 20, 30, 37.5, 45, 52.5}},
      {"whole row without anchors", {0, 9, 9, 9, 40}, {}, Op::kRow, 0, 0, 1, {0, 8, 16, 24, 32}},
      {"whole column", {0, 9, 9, 40}, {0, 3}, Op::kColumn, 0, 0, 1, {0, 9, 9, 40}},
      {"no selection", {0, 9, 9, 40}, {0, 3}, Op::kNone, 0, 0, 1, {0, 9, 9, 40}},
      // clang-format on
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    CVandrelDoc doc;
    shapeDoc(doc, static_cast<int>(c.values.size()));
    setRowValues(doc, kF2, c.values);
    for (int a : c.anchors) vandrel::EditTransaction(doc).setAnchor(kF2, a, true);
    FrameTable expected = doc.table();
    setRowValues(expected, kF2, c.expected);
    TableSelection selection;
    if (c.op == Op::kRow) selection = TableSelection::wholeRow(kF2);
    if (c.op == Op::kBlock) selection = TableSelection::block(c.blockStart, kF2, c.blockEnd, kF2);
    if (c.op == Op::kColumn) selection = TableSelection::wholeColumn(1);
    for (int i = 0; i < c.times; ++i)
      c.op == Op::kAll ? interpolateAllCommand(doc) : interpolateSelectionCommand(doc, selection);
    EXPECT_EQ(rowValues(doc.table(), kF2), c.expected);
    EXPECT_EQ(doc.table(), expected);  // other rows and every anchor as they were
    // Every form, even one that changes nothing, ends with the marks and a snapshot.
    EXPECT_TRUE(doc.modified() && doc.changedSinceSynthesis() && doc.tableChanged());
    EXPECT_EQ(doc.undo().count(), c.times);
  }
}

TEST(InterpolationTest, BlockOfRowsTableEdgesAndAnEmptyTable) {
  CVandrelDoc doc;
  shapeDoc(doc, 5);
  for (int r = 0; r < kParamCount; ++r) setRowValues(doc, r, {0, 1, 1, 1, 40});
  TableSelection selection;
  selection = TableSelection::block(4, kF2, 0, kF1);
  interpolateSelectionCommand(doc, selection);
  for (int r = 0; r < kParamCount; ++r)
    EXPECT_EQ(doc.table().value(r, 1), r >= kF2 && r <= kF1 ? 10 : 1) << r;
  // -1 stands for the table's edges: every row, hidden ones too, becomes a line.
  doc.changeParams([&](vandrel::ParameterSet& ps) { ps.setSelected(kF2, false); });
  interpolateRange(doc, -1, -1, -1, -1, false);
  for (int r = 0; r < kParamCount; ++r)
    EXPECT_EQ(rowValues(doc.table(), r), (std::vector<double>{0, 10, 20, 30, 40}));
  CVandrelDoc empty;
  shapeDoc(empty, 0);
  selection = TableSelection::wholeRow(kF2);
  interpolateSelectionCommand(empty, selection);
  EXPECT_EQ(interpolationValue(empty.table(), kF2, 0), 0.0);
}

TEST(CellEditTest, TypedTextIsHeldToTheRowLimits) {
  const struct {
    int row;
    const char* text;
    std::optional<double> stored;  // nothing: the cell keeps its value
  } cases[] = {
      {kAv, "5000", 87},  {kAv, "-5", 0},     {kAv, " 42.5", 42.5}, {kF0, "100", 500}, {kF6, "4999.9", 4999},
      {kF2, "12ms", 550}, {kAv, "1e400", 87}, {kAv, "1e-400", 0},   {kAv, "+7", 7},    {kAv, "loud", {}},
      {kAv, "", {}},      {kAv, "+-3", {}},   {kAv, "nan", {}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    CVandrelDoc doc;
    EXPECT_EQ(editCellText(doc, c.row, 3, c.text), c.stored.has_value());
    EXPECT_EQ(doc.table().value(c.row, 3),
              c.stored.value_or(builtinParams()[std::size_t(c.row)].defaultValue));
    EXPECT_EQ(doc.undo().count(), c.stored ? 1 : 0);
    EXPECT_FALSE(editCell(doc, kF1, doc.table().columns(), 600) || editCell(doc, kParamCount, 0, 600));
  }
}

TEST(CellEditTest, AfterEditHookFollowsTheOptions) {
  // f1 has one anchor, on column 0; av has two, so Interpolate All has work there.
  for (const bool anchorAfterEdit : {false, true}) {
    for (const bool autoInterpolate : {false, true}) {
      SCOPED_TRACE(std::to_string(anchorAfterEdit) + std::to_string(autoInterpolate));
      CVandrelDoc doc;
      shapeDoc(doc, 6);
      doc.setAnchorAfterEdit(anchorAfterEdit);
      doc.setAutoInterpolate(autoInterpolate);
      setRowValues(doc, kAv, {0, 1, 1, 1, 1, 50});
      for (auto [r, col] : {std::pair{kF1, 0}, {kAv, 0}, {kAv, 5}})
        vandrel::EditTransaction(doc).setAnchor(r, col, true);
      // The edited cell is told once, its anchor with its value.
      struct Told : DocObserver {
        int cell = 0;
        void notifyCellsChanged(const CellRange& r) override {
          cell += r.firstRow <= kF1 && kF1 <= r.lastRow && r.firstColumn <= 4 && 4 <= r.lastColumn;
        }
      } told;
      doc.addObserver(&told);
      ASSERT_TRUE(editCell(doc, kF1, 4, 900));
      const bool filled = anchorAfterEdit && autoInterpolate;  // the new anchor closes a span
      EXPECT_EQ(told.cell, filled ? 2 : 1);                    // and again with the span it fills
      EXPECT_EQ(rowValues(doc.table(), kF1), (filled ? std::vector<double>{500, 600, 700, 800, 900, 500}
                                                     : std::vector<double>{500, 500, 500, 500, 900, 500}));
      EXPECT_EQ(anchorColumns(doc.table(), kF1),
                (anchorAfterEdit ? std::vector<int>{0, 4} : std::vector<int>{0}));
      EXPECT_EQ(doc.table().value(kAv, 1), autoInterpolate ? 10.0 : 1.0);
      EXPECT_TRUE(doc.modified() && doc.changedSinceSynthesis() && doc.tableChanged() &&
                  doc.undo().count() == 1);
      EXPECT_EQ(doc.undo().valueAt(0, kF1, 2), filled ? 700 : 500);  // taken after the hook
    }
  }
}

// Which cells Add/Subtract (+7) and Set to Default Values change for each
// selection form. Add/Subtract cuts each value toward zero, then adds without
// the row's limits (f1 rows end up far below their lower limit of 200).
TEST(SelectionFormsTest, AddSubtractAndDefaults) {
  using Cells = std::vector<std::pair<int, int>>;  // (row, column)
  const std::vector<double> start = {-1.7, 85.7, -3, -4}, plus7 = {6, 92, 4, 3};
  const Cells block = {{kF2, 1}, {kF2, 2}, {kF2, 3}, {kF1, 1}, {kF1, 2}, {kF1, 3}};
  const struct {
    std::string name;
    TableSelection selection;
    int rowsInUse;
    Cells changed;
  } cases[] = {
      {"whole row", TableSelection::wholeRow(kF1), kParamCount, {{kF1, 0}, {kF1, 1}, {kF1, 2}, {kF1, 3}}},
      {"whole column, rows in use", TableSelection::wholeColumn(1), 3, {{0, 1}, {1, 1}, {2, 1}}},
      {"block right to left", TableSelection::block(3, kF2, 1, kF1), kParamCount, block},
      {"block left to right, first use", TableSelection::block(1, kF2, 3, kF1), kParamCount, {}},
      {"block with rows upwards", TableSelection::block(3, kF1, 1, kF2), kParamCount, {}},
      {"no selection", TableSelection::none(), kParamCount, {}},
  };
  for (const bool defaults : {false, true}) {
    for (const auto& c : cases) {
      SCOPED_TRACE(c.name + (defaults ? " (defaults)" : " (add 7)"));
      CVandrelDoc doc;
      shapeDoc(doc, 4);
      doc.changeParams([&](vandrel::ParameterSet& ps) { ps.setDefault(kGain, 77); });
      for (int r = 0; r < kParamCount; ++r) setRowValues(doc, r, start);
      doc.setRowsInUse(c.rowsInUse);
      const FrameTable before = doc.table();
      TableSelection selection;
      selection = c.selection;
      defaults ? setToDefaultValues(doc, selection) : addSubtract(doc, selection, 7);
      FrameTable expected = before;
      for (auto [r, col] : c.changed) {
        // Set to Default Values on a whole row leaves the last parameter's (gain's) default.
        const int owner = c.selection.kind == SelectionKind::kRow ? kGain : r;
        expected.setValue(r, col, defaults ? doc.params().at(owner).defaultValue : plus7[std::size_t(col)]);
      }
      EXPECT_EQ(doc.table(), expected);
      EXPECT_EQ(doc.addSubtractAmount(), defaults ? 0 : 7);
      EXPECT_TRUE(doc.modified() && doc.tableChanged() && doc.undo().count() == 1);
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
    TableSelection selection;
    selection = drag;
    addAnchorsToSelection(doc, selection);
    for (int r = 0; r < kParamCount; ++r)
      EXPECT_EQ(anchorColumns(doc.table(), r),
                (r >= kF3 && r <= kF1 ? std::vector<int>{1, 2, 3} : std::vector<int>{}));
    EXPECT_EQ(selection, drag);  // ordered for use, not in the stored selection
    EXPECT_TRUE(doc.modified() && doc.undo().count() == 0);
    selection = TableSelection::wholeColumn(2);
    removeAnchorsFromSelection(doc, selection);
    EXPECT_EQ(anchorColumns(doc.table(), kF2), (std::vector<int>{1, 3}));
    selection = TableSelection::wholeRow(kF3);
    removeAnchorsFromSelection(doc, selection);
    EXPECT_EQ(doc.table().anchorCount(), 4);
    removeAllAnchors(doc);
    EXPECT_EQ(doc.table().anchorCount(), 0);
  }
}

TEST(TableCommandsTest, CellAnchorRemoveColumnAndRemoveRow) {
  CVandrelDoc doc;
  setCellAnchor(doc, kF0, 4, true);  // the cell menu does not mark the document
  EXPECT_TRUE(doc.table().anchorCount() == 1 && doc.table().anchor(kF0, 4) && !doc.modified());
  const FrameTable before = doc.table();
  TableSelection selection;
  selection = TableSelection::wholeColumn(3);
  removeColumn(doc, selection);  // takes nothing out
  EXPECT_TRUE(doc.table() == before && doc.tableChanged() && selection.kind == SelectionKind::kNone);
  for (int i = 0; i < 2; ++i) removeRow(doc);
  EXPECT_TRUE(doc.rowsInUse() == kParamCount - 2 && doc.modified() && doc.undo().count() == 2);
  doc.setRowsInUse(0);  // nothing left to remove
  removeRow(doc);
  EXPECT_EQ(doc.rowsInUse(), 0);
}

const std::string kAsked = "you have requested a time(ms) = ";
const std::string kRounded12 = kAsked + "12 ,But with interval(ms) = 5 ,you can only add time(ms) = 10 ";

// 5 ms columns whose f1 row reads 100, 101, ... so moved and copied columns
// can be told apart.
void numberedDoc(CVandrelDoc& doc, int columns = 4) {
  shapeDoc(doc, columns, 5);
  for (int c = 0; c < columns; ++c) vandrel::EditTransaction(doc).setValue(kF1, c, 100 + c);
}

TEST(AdjustTimeTest, AddTimeAndChangeLengthRoundToWholeIntervals) {
  const std::string total = " ,But with interval(ms) = 5 ,the total time will be = ";
  const UserMessages refusal = {
      {"You may not change the time of the file while the audio file is open\n"
       "The timing alignment between the two files will be disrupted\n"
       "If you wish to do so, save the file and reopen it independently.",
       true}};
  const struct {
    bool add, audioOpen;  // Add Time of `asked` ms to 200 columns, or a new length of `asked` ms
    int asked, columnsAfter, snapshots;
    UserMessages messages;
  } cases[] = {
      // clang-format off
      {true, false, 12, 202, 1, {{kRounded12, true}}},
      {true, false, 10, 202, 1, {}},
      {true, false, 4, 200, 0, {{"", true}}},  // less than an interval
      {true, false, -12, 200, 0, {{"", true}}},
      {false, false, 1003, 200, 1, {{kAsked + "1003" + total + "1000 (ms)", true}}},
      {false, false, 1012, 202, 1, {{kAsked + "1012" + total + "1010 (ms)", true}}},
      {false, false, 1020, 204, 1, {}},
      {false, false, 988, 198, 1, {{kAsked + "988 , But with interval(ms) = 5 , the total time will be = 990 (ms)", true}}},
      {false, false, 0, 0, 1, {}},
      {false, false, 1000, 200, 0, {}},
      {true, true, 50, 200, 0, refusal},
      {false, true, 1100, 200, 0, refusal},
      {false, true, 1000, 200, 0, {}},  // the same length: nothing to refuse
      // clang-format on
  };
  for (const auto& c : cases) {
    SCOPED_TRACE((c.add ? "add " : "length ") + std::to_string(c.asked) + (c.audioOpen ? " with audio" : ""));
    CVandrelDoc doc;
    numberedDoc(doc, 200);
    if (c.audioOpen) doc.attachAudio(SampleSet{std::vector<std::int16_t>(100), 0.0});
    doc.setAddColumnTimeMs(c.asked);
    TableSelection selection;
    EXPECT_EQ(c.add ? addTime(doc, selection) : changeFileLength(doc, c.asked), c.messages);
    EXPECT_TRUE(doc.table().columns() == c.columnsAfter && doc.params().frameCount == c.columnsAfter);
    EXPECT_EQ(doc.params().fileLengthMs, 5 * c.columnsAfter);
    for (int col = 0; col < std::min(c.columnsAfter, 200); ++col)  // the columns kept hold what they held
      ASSERT_EQ(doc.table().value(kF1, col), 100 + col) << col;
    EXPECT_EQ(doc.undo().count(), c.snapshots);
    EXPECT_EQ(doc.modified(), c.snapshots > 0);
  }
}

TEST(AdjustTimeTest, PlacementsCopyTheColumnPushedRight) {
  // 12 ms, two columns, added to 100 101 102 103 with an anchor on column 1.
  const struct {
    AddColumnPlace place;
    const char* text;
    int selected;  // -1: nothing selected, -2: a row
    std::vector<double> f1;
    std::vector<int> anchors;
  } cases[] = {
      // clang-format off
      {AddColumnPlace::kBeginning, "At the beginning of the file", -1, {100, 101, 101, 101, 102, 103}, {1, 2, 3}},
      {AddColumnPlace::kSelectedColumn, "At the selected column", 1, {100, 101, 102, 102, 102, 103}, {1}},
      // After the last column nothing is pushed right: the column itself is copied.
      {AddColumnPlace::kSelectedColumn, "At the selected column", 3, {100, 101, 102, 103, 103, 103}, {1}},
      // No column selected: found only after the length is set.
      {AddColumnPlace::kSelectedColumn, "At the selected column", -2, {100, 101, 102, 103}, {1}},
      {AddColumnPlace::kEnd, "At the end of the file", -1, {100, 101, 102, 103, 103, 103}, {1}},
      // clang-format on
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.text) + " " + std::to_string(c.selected));
    EXPECT_EQ(placeText(c.place), c.text);
    CVandrelDoc doc;
    numberedDoc(doc);
    vandrel::EditTransaction(doc).setAnchor(kF1, 1, true);
    doc.setAddColumnTimeMs(12);
    doc.setAddColumnPlace(c.place);
    TableSelection selection;
    if (c.selected != -1) selection = TableSelection::wholeColumn(c.selected);
    if (c.selected == -2) selection = TableSelection::wholeRow(2);
    const bool refused = c.f1.size() == 4;
    UserMessages expected = {{kRounded12, true}};
    if (refused) expected.push_back({"Please select a column first", true});
    EXPECT_EQ(addTime(doc, selection), expected);
    EXPECT_EQ(rowValues(doc.table(), kF1), c.f1);
    EXPECT_EQ(anchorColumns(doc.table(), kF1), c.anchors);
    EXPECT_TRUE(doc.params().frameCount == 6 && doc.params().fileLengthMs == 30);
    EXPECT_EQ(doc.undo().count(), refused ? 0 : 1);
  }
}

TEST(AdjustTimeTest, NewColumnsHoldDefaultsWithinLimitsAndHeadingsFollow) {
  CVandrelDoc doc;
  shapeDoc(doc, 2, 5);
  doc.changeParams([](vandrel::ParameterSet& ps) {
    ps.setDefault(kAv, 120);  // above its upper limit of 87
    ps.setDefault(kF1, 100);  // below its lower limit of 200
  });
  vandrel::EditTransaction(doc).setValue(kF2, 1, 999);
  vandrel::EditTransaction(doc).setAnchor(kF2, 1, true);
  TableSelection selection;
  std::vector<int> steps;  // progress as done * 10 + total
  adjustTime(doc, selection, false, 25, [&](int done, int total) { steps.push_back(done * 10 + total); });
  EXPECT_EQ(steps, (std::vector<int>{13, 23, 33}));
  EXPECT_EQ(rowValues(doc.table(), kAv), (std::vector<double>{60, 60, 87, 87, 87}));
  EXPECT_EQ(rowValues(doc.table(), kF1), (std::vector<double>{500, 500, 200, 200, 200}));
  EXPECT_EQ(rowValues(doc.table(), kF2), (std::vector<double>{1500, 999, 1500, 1500, 1500}));
  EXPECT_EQ(anchorColumns(doc.table(), kF2), std::vector<int>{1});
  for (int c = 0; c < 5; ++c) EXPECT_EQ(columnHeading(doc.params().intervalMs, c), std::to_string(5 * c + 5));
  EXPECT_EQ(columnHeading(1, 59999), "60000");
}

// Clamping at both ends and a new edit after an undo are the random
// sequences' below; here, what a step does to the document's marks.
TEST(UndoTest, StepsFailBeforeAnySnapshotAndARestoreMarksTheDocument) {
  for (const bool redo : {true, false}) {
    CVandrelDoc doc;
    doc.setTableChanged(true);
    EXPECT_EQ(redo ? redoCommand(doc) : undoCommand(doc), UndoStatus::kInvalidArgument);
    EXPECT_EQ(doc.undo().current(), redo ? -4 : 0) << redo;
    EXPECT_TRUE(doc.table() == CVandrelDoc().table() && !doc.modified() && doc.tableChanged()) << redo;
  }
  CVandrelDoc doc;
  for (double v : {300.0, 400.0, 600.0}) editCell(doc, kF1, 0, v);
  for (auto [redo, index, f1] : {std::tuple{false, 1, 400.0}, {true, 2, 600.0}}) {
    doc.setTableChanged(true);
    doc.setModified(false);
    EXPECT_EQ(redo ? redoCommand(doc) : undoCommand(doc), UndoStatus::kRestored);
    EXPECT_EQ(doc.undo().current(), index);
    EXPECT_EQ(doc.table().value(kF1, 0), f1);
    // Restoring marks the document, keeps the view and takes no snapshot.
    EXPECT_TRUE(!doc.tableChanged() && doc.modified() && doc.changedSinceSynthesis() &&
                doc.undo().count() == 3);
  }
}

TEST(UndoTest, RestoreGivesWholeNumbersKeepsAnchorsAndHiddenRowsAndFollowsLength) {
  CVandrelDoc doc;
  shapeDoc(doc, 4, 10);
  TableSelection selection;
  editCell(doc, kF1, 1, 333.75);
  editCell(doc, kF1, 3, 1e12);  // held to the row's upper limit
  doc.setAddColumnTimeMs(30);
  addTime(doc, selection);
  doc.changeParams([&](vandrel::ParameterSet& ps) {
    ps.setSelected(kF1, false);
    ps.setSelected(kF8, true);
  });
  setCellAnchor(doc, kF2, 3, true);
  undoCommand(doc);
  EXPECT_TRUE(doc.table().columns() == 4 && doc.params().frameCount == 4 && doc.params().fileLengthMs == 40);
  EXPECT_EQ(rowValues(doc.table(), kF1), (std::vector<double>{500, 333, 500, 1300}));
  EXPECT_TRUE(doc.params().at(kF1).selected == 0 && doc.params().at(kF8).selected == 1);  // as shown now
  EXPECT_TRUE(doc.table().anchor(kF2, 3));
  redoCommand(doc);
  EXPECT_TRUE(doc.table().columns() == 7 && doc.params().fileLengthMs == 70);
}

TEST(UndoTest, MemoryGrowsWithWhatChanged) {
  CVandrelDoc doc;
  shapeDoc(doc, 20000, 1);
  editCell(doc, kF1, 0, 600);
  const std::size_t first = doc.undo().storageBytes();
  // A whole snapshot is 3.84 MB; one changed cell must cost a few kilobytes at most.
  for (int i = 0; i < 200; ++i) editCell(doc, kF1, (i * 97) % 20000, 300 + i);
  EXPECT_LT(doc.undo().storageBytes() - first, 200U * 16U * 1024U);
}

// The history stores rows in leaves of 256 columns and looks only at the
// leaves an edit notes as written: edits that start or end on either side of a
// leaf border must land in the snapshot, and undo must take them out again.
TEST(UndoTest, EditsEndingAtLeafBordersAreKept) {
  const std::pair<int, int> ranges[] = {{250, 255}, {250, 256}, {255, 256}, {256, 256},  {255, 260},
                                        {500, 511}, {505, 512}, {511, 511}, {512, 9999}, {0, 9999}};
  // 513 columns end in a leaf one column wide.
  for (const int width : {513, 600}) {
    for (const bool single : {false, true}) {
      for (auto [first, last] : ranges) {
        last = std::min(last, width - 1);
        if (single) first = last;
        SCOPED_TRACE(std::to_string(width) + " columns, " + (single ? "cell edit at " : "block ") +
                     std::to_string(first) + ".." + std::to_string(last));
        CVandrelDoc doc;
        shapeDoc(doc, width, 1);
        TableSelection selection;
        selection = TableSelection::wholeRow(kF1);
        addSubtract(doc, selection, 7);  // the row reads 507 ...
        editCell(doc, kF2, 0, 999);      // ... in the snapshot this edit takes
        if (single) {
          editCell(doc, kF1, last, 300);
        } else {
          // Set to Default Values exchanges a block's columns before it walks them.
          selection = TableSelection::block(last, kF1, first, kF1);
          setToDefaultValues(doc, selection);  // back to 500
        }
        const double edited = single ? 300.0 : 500.0;
        ASSERT_EQ(doc.table().value(kF1, last), edited);
        const int now = doc.undo().current();
        for (int c = std::max(0, first - 1); c <= std::min(width - 1, last + 1); ++c)
          ASSERT_EQ(doc.undo().valueAt(now, kF1, c), doc.table().value(kF1, c)) << "column " << c;
        ASSERT_EQ(undoCommand(doc), UndoStatus::kRestored);
        EXPECT_EQ(rowValues(doc.table(), kF1), std::vector<double>(static_cast<std::size_t>(width), 507.0));
        ASSERT_EQ(redoCommand(doc), UndoStatus::kRestored);
        EXPECT_EQ(doc.table().value(kF1, last), edited);
      }
    }
  }
}

// The table as a snapshot must hold it, every value cut toward zero; `exactly`
// marks cells that are not whole numbers, so a restored table must match.
using Picture = std::vector<std::vector<double>>;

Picture pictureOf(const FrameTable& t, bool exactly = false) {
  Picture p(static_cast<std::size_t>(t.rows()));
  for (int r = 0; r < t.rows(); ++r)
    for (int c = 0; c < t.columns(); ++c) {
      const double whole = std::trunc(t.value(r, c));
      p[static_cast<std::size_t>(r)].push_back(exactly && whole != t.value(r, c) ? 0.5 : whole);
    }
  return p;
}

// Random edits of every kind with undos and redos among them, keeping the picture
// each snapshot must hold; every later undo and redo must give its own back.
TEST(UndoTest, RandomEditSequencesWalkBackAndForth) {
  for (unsigned seed = 1; seed <= 12; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 rng(seed);
    auto pick = [&](int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng); };
    CVandrelDoc doc;
    shapeDoc(doc, pick(1, 700), 1);
    doc.setAutoInterpolate(pick(0, 1) == 1);
    doc.setAnchorAfterEdit(pick(0, 1) == 1);
    TableSelection selection;
    std::vector<Picture> pictures;
    const auto at = [&](int i) -> const Picture& { return pictures[static_cast<std::size_t>(i)]; };
    for (int step = 0; step < 60; ++step) {
      const int cols = doc.table().columns(), row = pick(0, kParamCount - 1), col = pick(0, cols - 1);
      const Picture before = pictureOf(doc.table());
      const int count = doc.undo().count();
      bool snapshotBefore = false;  // Add/Subtract snapshots the table before its addition
      const int kind = pick(0, 10);
      if (kind <= 2) {
        editCell(doc, row, col, pick(-100000, 100000) / 7.0);
      } else if (kind == 3) {
        selection = pick(0, 1) ? TableSelection::wholeRow(row) : TableSelection::wholeColumn(col);
        addSubtract(doc, selection, pick(-50, 50));
        snapshotBefore = true;
      } else if (kind == 4) {
        selection = TableSelection::block(col, row, pick(0, cols - 1), pick(0, kParamCount - 1));
        snapshotBefore = pick(0, 1) == 1;
        snapshotBefore ? addSubtract(doc, selection, pick(-50, 50)) : addAnchorsToSelection(doc, selection);
        if (!snapshotBefore) interpolateSelectionCommand(doc, selection);
      } else if (kind == 5) {
        selection = TableSelection::wholeRow(row);
        pick(0, 1) ? setToDefaultValues(doc, selection) : interpolateSelectionCommand(doc, selection);
      } else if (kind == 6) {
        setCellAnchor(doc, row, col, true);
        interpolateAllCommand(doc);
      } else if (kind == 7) {
        doc.setAddColumnTimeMs(pick(-2, 40));
        doc.setAddColumnPlace(static_cast<AddColumnPlace>(pick(0, 2)));
        selection = TableSelection::wholeColumn(col);
        addTime(doc, selection);
      } else if (kind == 8) {
        changeFileLength(doc, pick(1, 700));
      } else {
        // Undo or redo in the middle; later edits go on from the restored table.
        if (pictures.empty()) continue;
        ASSERT_EQ(step % 2 ? undoCommand(doc) : redoCommand(doc), UndoStatus::kRestored);
        ASSERT_EQ(pictureOf(doc.table(), true), at(doc.undo().current()));
        continue;
      }
      if (doc.undo().count() == count) continue;
      ASSERT_EQ(doc.undo().count(), count + 1);
      pictures.push_back(snapshotBefore ? before : pictureOf(doc.table()));
    }
    const int last = static_cast<int>(pictures.size()) - 1;
    while (doc.undo().current() < last) ASSERT_EQ(redoCommand(doc), UndoStatus::kRestored);
    for (int i = last - 1; i >= -1; --i) {  // the last undo is clamped at the first entry
      ASSERT_EQ(undoCommand(doc), UndoStatus::kRestored);
      ASSERT_EQ(pictureOf(doc.table(), true), at(std::max(i, 0))) << "undo to " << i;
    }
    for (int i = 1; i <= last + 1; ++i) {
      ASSERT_EQ(redoCommand(doc), UndoStatus::kRestored);
      ASSERT_EQ(pictureOf(doc.table(), true), at(std::min(i, last))) << "redo to " << i;
    }
  }
}

}  // namespace
}  // namespace vandrel
