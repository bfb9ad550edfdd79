// Anchors and interpolation: Interpolate All between anchors, and Interpolate
// Selection with its open ends and the exchange of the block's stored columns.

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

enum class Op { kAll, kRow, kBlock, kColumn, kNone };

struct InterpCase {
  std::string name;
  std::vector<double> values;
  std::vector<int> anchors;
  Op op;
  int blockStart, blockEnd;  // kBlock: the stored start and end column
  int times;
  std::vector<double> expected;  // exact doubles: nothing is rounded
};

TEST(InterpolationTest, TableOfCases) {
  // clang-format off
  const std::vector<InterpCase> cases = {
      {"adjacent anchors", {0, 10, 20, 30, 40}, {1, 2}, Op::kAll, 0, 0, 1, {0, 10, 20, 30, 40}},
      {"one anchor", {5, 9, 1, 4}, {2}, Op::kAll, 0, 0, 1, {5, 9, 1, 4}},
      {"no anchor", {5, 9, 1, 4}, {}, Op::kAll, 0, 0, 1, {5, 9, 1, 4}},
      {"between anchors, not outside", {5, 0, 99, 99, 30, 7}, {1, 4}, Op::kAll, 0, 0, 1, {5, 0, 10, 20, 30, 7}},
      {"three anchors", {0, 9, 100, 9, 9, 40}, {0, 2, 5}, Op::kAll, 0, 0, 1, {0, 50, 100, 80, 60, 40}},
      {"thirds stay doubles", {0, 7, 7, 1}, {0, 3}, Op::kAll, 0, 0, 1, {0, 1.0 / 3, 2.0 / 3, 1}},
      {"block right to left", {3, 10, 0, 0, 0, 50, 11}, {}, Op::kBlock, 5, 1, 1, {3, 10, 20, 30, 40, 50, 11}},
      {"block left to right, once", {3, 10, 0, 0, 0, 50, 11}, {}, Op::kBlock, 1, 5, 1, {3, 10, 0, 0, 0, 50, 11}},
      {"block left to right, twice", {3, 10, 0, 0, 0, 50, 11}, {}, Op::kBlock, 1, 5, 2, {3, 10, 20, 30, 40, 50, 11}},
      {"one-column block", {3, 10, 0, 50}, {}, Op::kBlock, 2, 2, 1, {3, 10, 0, 50}},
      {"block with an anchor inside", {0, 7, 7, 30, 7, 60, 99}, {3}, Op::kBlock, 5, 0, 1, {0, 10, 20, 30, 45, 60, 99}},
      {"whole row: the end reads the last frame", {0, 9, 9, 30, 9, 9, 60}, {0, 3}, Op::kRow, 0, 0, 1,
       {0, 10, 20, 30, 37.5, 45, 52.5}},
      {"whole row without anchors", {0, 9, 9, 9, 40}, {}, Op::kRow, 0, 0, 1, {0, 8, 16, 24, 32}},
      {"whole row, anchor on the last frame", {0, 9, 9, 40}, {3}, Op::kRow, 0, 0, 1, {0, 40.0 / 3, 80.0 / 3, 40}},
      {"whole column", {0, 9, 9, 40}, {0, 3}, Op::kColumn, 0, 0, 1, {0, 9, 9, 40}},
      {"no selection", {0, 9, 9, 40}, {0, 3}, Op::kNone, 0, 0, 1, {0, 9, 9, 40}},
  };
  // clang-format on
  for (const InterpCase& c : cases) {
    SCOPED_TRACE(c.name);
    CVandrelDoc doc;
    shapeDoc(doc, static_cast<int>(c.values.size()));
    setRowValues(doc.table, kRow, c.values);
    for (int a : c.anchors) doc.table.setAnchor(kRow, a, true);
    FrameTable expected = doc.table;
    setRowValues(expected, kRow, c.expected);

    TableViewState view;
    if (c.op == Op::kRow) view.selection = TableSelection::wholeRow(kRow);
    if (c.op == Op::kBlock) view.selection = TableSelection::block(c.blockStart, kRow, c.blockEnd, kRow);
    if (c.op == Op::kColumn) view.selection = TableSelection::wholeColumn(1);
    for (int i = 0; i < c.times; ++i)
      c.op == Op::kAll ? interpolateAllCommand(doc, view) : interpolateSelectionCommand(doc, view);

    EXPECT_EQ(rowValues(doc.table, kRow), c.expected);
    EXPECT_EQ(doc.table, expected);  // other rows and every anchor as they were
    // Every form, even one that changes nothing, ends with the marks and a snapshot.
    EXPECT_TRUE(doc.modified && doc.changedSinceSynthesis && view.tableChanged);
    EXPECT_EQ(doc.undo.count(), c.times);
  }
}

TEST(InterpolationTest, BlockRowsAndItsStoredExchange) {
  CVandrelDoc doc;
  shapeDoc(doc, 5);
  for (int r = kF2; r <= kF1; ++r) setRowValues(doc.table, r, {0, 1, 1, 1, 40});
  const FrameTable before = doc.table;
  TableViewState view;
  // Dragged upwards: the end row is above the start row, nothing happens.
  view.selection = TableSelection::block(4, kF1, 0, kF2);
  interpolateSelectionCommand(doc, view);
  EXPECT_EQ(doc.table, before);
  EXPECT_EQ(view.selection, TableSelection::block(0, kF1, 4, kF2));  // the exchange stays

  view.selection = TableSelection::block(4, kF2, 0, kF1);
  interpolateSelectionCommand(doc, view);
  for (int r = kF2; r <= kF1; ++r)
    EXPECT_EQ(rowValues(doc.table, r), (std::vector<double>{0, 10, 20, 30, 40}));
  EXPECT_EQ(doc.table.value(kF3, 1), before.value(kF3, 1));
}

TEST(InterpolationTest, RangeEdgesAndTheCellPastTheLastFrame) {
  CVandrelDoc doc;
  shapeDoc(doc, 3);
  setRowValues(doc.table, kRow, {1, 2, 3});
  for (auto [column, read] : {std::pair{0, 1.0}, {2, 3.0}, {3, 3.0}, {4, 3.0}, {-1, 1.0}})
    EXPECT_EQ(interpolationValue(doc.table, kRow, column), read) << column;

  // -1 stands for the table's edges: with open ends every row becomes the
  // line from its first to its last cell, hidden rows included.
  doc.params().setSelected(kRow, false);
  for (int r = 0; r < kParamCount; ++r) setRowValues(doc.table, r, {0, 7, 40});
  interpolateRange(doc, -1, -1, -1, -1, false);
  for (int r = 0; r < kParamCount; ++r) EXPECT_EQ(doc.table.value(r, 1), 20) << r;

  CVandrelDoc empty;
  shapeDoc(empty, 0);
  TableViewState view;
  view.selection = TableSelection::wholeRow(kRow);
  interpolateSelectionCommand(empty, view);
  EXPECT_EQ(interpolationValue(empty.table, kRow, 0), 0.0);
  EXPECT_EQ(empty.table.columns(), 0);
}

}  // namespace
}  // namespace vandrel
