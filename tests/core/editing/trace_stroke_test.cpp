// Tracing a track into the table: the frames a stroke passes over, the values
// between two pointer positions, the row's limits, and one undo per stroke.

#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "document/VandrelDoc.h"
#include "editing/TraceStroke.h"
#include "editing/UndoCommands.h"

namespace vandrel {
namespace {

struct Point {
  double ms, hz;
};

TEST(TraceStrokeTest, WritesTheFramesPassedOverHeldToTheRowsLimits) {
  struct Case {
    const char* what;
    int row;
    std::vector<Point> points;
    std::vector<std::pair<int, double>> expected;  // column, value
    int first, last;                               // columns written
  };
  const Case cases[] = {
      // clang-format off
      {"f0 in tenths of a hertz", kF0, {{25, 123.45}}, {{2, 1234}}, 2, 2},
      {"a jump fills the frames between on a line", kF1, {{12, 400}, {55, 900}},
       {{1, 400}, {2, 525}, {3, 650}, {4, 775}, {5, 900}}, 1, 5},
      {"back and forth widens the written range", kF2, {{30, 1500}, {10, 1300}, {40, 1400}},
       {{1, 1300}, {4, 1400}}, 1, 4},
      {"limits of f1 are 200 and 1300", kF1, {{0, 50}, {90, 5000}}, {{0, 200}, {9, 1300}}, 0, 9},
      {"past the end of the table nothing is written", kF3, {{100, 2500}, {-3, 2500}}, {}, 1, 0},
      // clang-format on
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    CVandrelDoc doc;
    doc.newTable(10, 10);
    const FrameTable before = doc.table();
    TraceStroke stroke(c.row);
    for (const Point& p : c.points) stroke.add(doc, p.ms, p.hz);
    for (const auto& [column, value] : c.expected)
      EXPECT_EQ(doc.table().value(c.row, column), value) << column;
    EXPECT_EQ(stroke.written().firstColumn, c.first);
    EXPECT_EQ(stroke.written().lastColumn, c.last);
    for (int col = 0; col < doc.table().columns(); ++col) {
      if (col < c.first || col > c.last) {
        EXPECT_EQ(doc.table().value(c.row, col), before.value(c.row, col)) << col;
      }
    }
  }
}

TEST(TraceStrokeTest, EachStrokeIsOneUndoStepEvenAfterAnUnrecordedChange) {
  CVandrelDoc doc;
  doc.newTable(10, 10);
  doc.takeSnapshot();
  doc.replaceTable(
      vandrel::FrameTable(30, doc.params()));  // as when a recording gives the blank table its length
  const FrameTable lengthened = doc.table();

  TraceStroke first(kF0);
  for (double ms = 0; ms < 200; ms += 3) first.add(doc, ms, 110);
  first.finish();
  const FrameTable afterFirst = doc.table();
  TraceStroke second(kF2);
  second.add(doc, 150, 1700);
  second.add(doc, 250, 1900);
  second.finish();
  EXPECT_TRUE(doc.modified());
  EXPECT_TRUE(doc.changedSinceSynthesis());

  undoCommand(doc);
  EXPECT_EQ(doc.table(), afterFirst);
  undoCommand(doc);
  EXPECT_EQ(doc.table(), lengthened);

  TraceStroke nothing(kF1);  // a click beyond the table: no step at all
  const int steps = doc.undo().count();
  nothing.add(doc, 1e6, 500);
  nothing.finish();
  EXPECT_EQ(doc.undo().count(), steps);
}

}  // namespace
}  // namespace vandrel
