// Anchors and interpolation: segments, the range driver, Interpolate All and
// Interpolate Selection with its exchange of the block's stored columns.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "EditingFixture.h"
#include "editing/Interpolation.h"

namespace vandrel {
namespace {

using testing::rowValues;
using testing::setRowValues;
using testing::shapeDoc;

constexpr int kRow = kF2;

enum class Op { kAll, kSelectRow, kSelectBlock, kSelectColumn, kSelectNone };

struct InterpCase {
  std::string name;
  std::vector<double> values;
  std::vector<int> anchors;
  Op op;
  int blockStart = 0;  // kSelectBlock: stored start and end column
  int blockEnd = 0;
  int times = 1;
  std::vector<double> expected;
};

TEST(InterpolationTest, TableOfCases) {
  // clang-format off
  const std::vector<InterpCase> cases = {
      {"adjacent anchors leave everything", {0, 10, 20, 30, 40}, {1, 2}, Op::kAll, 0, 0, 1, {0, 10, 20, 30, 40}},
      {"one anchor leaves the row", {5, 9, 1, 4}, {2}, Op::kAll, 0, 0, 1, {5, 9, 1, 4}},
      {"no anchor leaves the row", {5, 9, 1, 4}, {}, Op::kAll, 0, 0, 1, {5, 9, 1, 4}},
      {"two anchors fill between, not outside", {5, 0, 99, 99, 30, 7}, {1, 4}, Op::kAll, 0, 0, 1,
       {5, 0, 10, 20, 30, 7}},
      {"three anchors, two segments", {0, 9, 100, 9, 9, 40}, {0, 2, 5}, Op::kAll, 0, 0, 1,
       {0, 50, 100, 80, 60, 40}},
      {"thirds stay doubles", {0, 7, 7, 1}, {0, 3}, Op::kAll, 0, 0, 1, {0, 1.0 / 3.0, 2.0 / 3.0, 1}},
      {"block right to left without anchors", {3, 9, 9, 9, 9, 9, 11}, {}, Op::kSelectBlock, 5, 1, 1,
       {3, 9, 9, 9, 9, 9, 11}},
      {"block right to left, ends act as anchors", {3, 10, 0, 0, 0, 50, 11}, {}, Op::kSelectBlock, 5, 1, 1,
       {3, 10, 20, 30, 40, 50, 11}},
      {"block left to right: first use changes nothing", {3, 10, 0, 0, 0, 50, 11}, {}, Op::kSelectBlock, 1, 5, 1,
       {3, 10, 0, 0, 0, 50, 11}},
      {"block left to right: second use interpolates", {3, 10, 0, 0, 0, 50, 11}, {}, Op::kSelectBlock, 1, 5, 2,
       {3, 10, 20, 30, 40, 50, 11}},
      {"block right to left: second use is backwards again", {3, 10, 0, 0, 0, 50, 11}, {}, Op::kSelectBlock, 5, 1,
       2, {3, 10, 20, 30, 40, 50, 11}},
      {"one-column block", {3, 10, 0, 50}, {}, Op::kSelectBlock, 2, 2, 1, {3, 10, 0, 50}},
      {"block with an anchor inside", {0, 7, 7, 30, 7, 60, 99}, {3}, Op::kSelectBlock, 5, 0, 1,
       {0, 10, 20, 30, 45, 60, 99}},
      {"whole row with anchors: the end reads the last frame", {0, 9, 9, 30, 9, 9, 60}, {0, 3}, Op::kSelectRow, 0, 0,
       1, {0, 10, 20, 30, 30 + 30.0 / 4, 30 + 2 * 30.0 / 4, 30 + 3 * 30.0 / 4}},
      {"whole row without anchors", {0, 9, 9, 9, 40}, {}, Op::kSelectRow, 0, 0, 1, {0, 8, 16, 24, 32}},
      {"whole row, anchor on the last frame", {0, 9, 9, 40}, {3}, Op::kSelectRow, 0, 0, 1,
       {0, 40.0 / 3, 80.0 / 3, 40}},
      {"whole column changes nothing", {0, 9, 9, 40}, {0, 3}, Op::kSelectColumn, 0, 0, 1, {0, 9, 9, 40}},
      {"no selection changes nothing", {0, 9, 9, 40}, {0, 3}, Op::kSelectNone, 0, 0, 1, {0, 9, 9, 40}},
  };
  // clang-format on

  for (const InterpCase& c : cases) {
    SCOPED_TRACE(c.name);
    CVandrelDoc doc;
    shapeDoc(doc, static_cast<int>(c.values.size()));
    setRowValues(doc.table, kRow, c.values);
    for (int a : c.anchors) doc.table.setAnchor(kRow, a, true);
    const FrameTable before = doc.table;

    TableViewState view;
    switch (c.op) {
      case Op::kAll:
        break;
      case Op::kSelectRow:
        view.selection = TableSelection::wholeRow(kRow);
        break;
      case Op::kSelectBlock:
        view.selection = TableSelection::block(c.blockStart, kRow, c.blockEnd, kRow);
        break;
      case Op::kSelectColumn:
        view.selection = TableSelection::wholeColumn(1);
        break;
      case Op::kSelectNone:
        break;
    }
    for (int i = 0; i < c.times; ++i) {
      if (c.op == Op::kAll)
        interpolateAllCommand(doc, view);
      else
        interpolateSelectionCommand(doc, view);
    }

    const std::vector<double> got = rowValues(doc.table, kRow);
    ASSERT_EQ(got.size(), c.expected.size());
    for (std::size_t i = 0; i < got.size(); ++i) {
      SCOPED_TRACE("column " + std::to_string(i));
      EXPECT_DOUBLE_EQ(got[i], c.expected[i]);
    }
    // Other rows, and every anchor, stay as they were.
    for (int r = 0; r < kParamCount; ++r) {
      if (r == kRow) continue;
      EXPECT_EQ(rowValues(doc.table, r), rowValues(before, r)) << "row " << r;
    }
    for (int r = 0; r < kParamCount; ++r)
      EXPECT_EQ(testing::anchorColumns(doc.table, r), testing::anchorColumns(before, r)) << "row " << r;
    // Every form, even one that changes nothing, ends with the marks and a snapshot.
    EXPECT_TRUE(doc.modified);
    EXPECT_TRUE(doc.changedSinceSynthesis);
    EXPECT_TRUE(view.tableChanged);
    EXPECT_EQ(doc.undo.count(), c.times);
  }
}

TEST(InterpolationTest, ThirdsAreTheExactDoubles) {
  CVandrelDoc doc;
  shapeDoc(doc, 4);
  setRowValues(doc.table, kRow, {0, 5, 5, 1});
  doc.table.setAnchor(kRow, 0, true);
  doc.table.setAnchor(kRow, 3, true);
  interpolateAll(doc);
  EXPECT_EQ(doc.table.value(kRow, 1), 1.0 / 3.0);
  EXPECT_EQ(doc.table.value(kRow, 2), 2.0 / 3.0);
}

TEST(InterpolationTest, BlockExchangeStaysInTheSelection) {
  CVandrelDoc doc;
  shapeDoc(doc, 6);
  TableViewState view;
  view.selection = TableSelection::block(1, 2, 4, 5);
  interpolateSelectionCommand(doc, view);
  EXPECT_EQ(view.selection, TableSelection::block(4, 2, 1, 5));
  interpolateSelectionCommand(doc, view);
  EXPECT_EQ(view.selection, TableSelection::block(1, 2, 4, 5));
}

TEST(InterpolationTest, EndRowAboveStartRowIsNotInterpolated) {
  CVandrelDoc doc;
  shapeDoc(doc, 5);
  for (int r = kF2; r <= kF1; ++r) setRowValues(doc.table, r, {0, 1, 1, 1, 40});
  const FrameTable before = doc.table;
  TableViewState view;
  // Dragged from the bottom right to the top left: start row below end row.
  view.selection = TableSelection::block(4, kF1, 0, kF2);
  interpolateSelectionCommand(doc, view);
  EXPECT_EQ(doc.table, before);
  // The same block dragged downwards is interpolated in every row.
  view.selection = TableSelection::block(4, kF2, 0, kF1);
  interpolateSelectionCommand(doc, view);
  for (int r = kF2; r <= kF1; ++r)
    EXPECT_EQ(rowValues(doc.table, r), (std::vector<double>{0, 10, 20, 30, 40}));
}

TEST(InterpolationTest, RangeEdgesOfMinusOne) {
  CVandrelDoc doc;
  shapeDoc(doc, 5);
  for (int r = 0; r < kParamCount; ++r) setRowValues(doc.table, r, {0, 1, 1, 1, 40});
  // Open ends over the whole table: every row becomes the line from its first
  // to its last cell.
  interpolateRange(doc, -1, -1, -1, -1, false);
  for (int r = 0; r < kParamCount; ++r)
    EXPECT_EQ(rowValues(doc.table, r), (std::vector<double>{0, 10, 20, 30, 40}));
}

TEST(InterpolationTest, CellOnePastTheLastFrameReadsTheLastFrame) {
  CVandrelDoc doc;
  shapeDoc(doc, 3);
  setRowValues(doc.table, kRow, {1, 2, 3});
  const struct {
    int column;
    double expected;
  } reads[] = {{0, 1}, {2, 3}, {3, 3}, {4, 3}, {-1, 1}};
  for (const auto& r : reads) {
    SCOPED_TRACE(r.column);
    EXPECT_EQ(interpolationValue(doc.table, kRow, r.column), r.expected);
  }
  doc.table.setAnchor(kRow, 2, true);
  // Nothing lies strictly between the last frame and the cell past it.
  TableViewState view;
  view.selection = TableSelection::wholeRow(kRow);
  interpolateSelectionCommand(doc, view);
  EXPECT_EQ(rowValues(doc.table, kRow), (std::vector<double>{1, 2, 3}));
  EXPECT_EQ(doc.table.columns(), 3);

  CVandrelDoc empty;
  shapeDoc(empty, 0);
  EXPECT_EQ(interpolationValue(empty.table, kRow, 0), 0.0);
  TableViewState emptyView;
  emptyView.selection = TableSelection::wholeRow(kRow);
  interpolateSelectionCommand(empty, emptyView);
  EXPECT_EQ(empty.table.columns(), 0);
}

TEST(InterpolationTest, SegmentBackwardsOrEqualWritesNothing) {
  CVandrelDoc doc;
  shapeDoc(doc, 5);
  setRowValues(doc.table, kRow, {0, 7, 7, 7, 40});
  const FrameTable before = doc.table;
  interpolateSegment(doc, kRow, 4, 0);
  interpolateSegment(doc, kRow, 2, 2);
  interpolateSegment(doc, kRow, 2, 3);
  EXPECT_EQ(doc.table, before);
  interpolateSegment(doc, kRow, 0, 4);
  EXPECT_EQ(rowValues(doc.table, kRow), (std::vector<double>{0, 10, 20, 30, 40}));
}

TEST(InterpolationTest, InterpolateAllCoversHiddenRows) {
  // Two anchors in every row: Interpolate All fills every row, hidden or shown.
  CVandrelDoc doc;
  shapeDoc(doc, 9);
  doc.params().setSelected(kGain, false);
  for (int r = 0; r < kParamCount; ++r) {
    doc.table.setValue(r, 0, 0);
    doc.table.setValue(r, 8, 80);
    doc.table.setAnchor(r, 0, true);
    doc.table.setAnchor(r, 8, true);
  }
  interpolateAll(doc);
  for (int r = 0; r < kParamCount; ++r)
    for (int c = 0; c <= 8; ++c) EXPECT_EQ(doc.table.value(r, c), 10.0 * c) << r << "," << c;
}

}  // namespace
}  // namespace vandrel
