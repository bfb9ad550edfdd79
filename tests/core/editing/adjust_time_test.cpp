// Adding time and changing the file length: rounding to whole frames, the
// exact messages, placements and what the new columns hold.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "EditingFixture.h"
#include "editing/AdjustTime.h"

namespace vandrel {
namespace {

using testing::anchorColumns;
using testing::rowValues;
using testing::setRowValues;
using testing::shapeDoc;

// A table whose f1 row counts its columns 100, 101, ... so moved and copied
// columns can be told apart.
void numberColumns(CVandrelDoc& doc) {
  std::vector<double> v;
  for (int c = 0; c < doc.table.columns(); ++c) v.push_back(100 + c);
  setRowValues(doc.table, kF1, v);
}

TEST(AdjustTimeTest, AddRoundsToWholeIntervals) {
  // clang-format off
  const struct {
    int interval, asked, columnsAdded;
    UserMessages messages;
  } cases[] = {
      {5, 12, 2,
       {{"you have requested a time(ms) = 12 ,But with interval(ms) = 5 ,you can only add time(ms) = 10 ", true}}},
      {5, 10, 2, {}},
      {10, 25, 2,
       {{"you have requested a time(ms) = 25 ,But with interval(ms) = 10 ,you can only add time(ms) = 20 ", true}}},
      {5, 4, 0, {{"", true}}},
      {5, 0, 0, {{"", true}}},
      {5, -12, 0, {{"", true}}},
  };
  // clang-format on
  for (const auto& c : cases) {
    SCOPED_TRACE(std::to_string(c.asked) + " at " + std::to_string(c.interval));
    CVandrelDoc doc;
    shapeDoc(doc, 4, c.interval);
    doc.addColumnTimeMs = c.asked;
    doc.addColumnPlace = AddColumnPlace::kEnd;
    const FrameTable before = doc.table;
    TableViewState view;
    EXPECT_EQ(addTime(doc, view), c.messages);
    EXPECT_EQ(doc.table.columns(), 4 + c.columnsAdded);
    EXPECT_EQ(doc.params().fileLengthMs, (4 + c.columnsAdded) * c.interval);
    EXPECT_EQ(doc.params().frameCount, 4 + c.columnsAdded);
    EXPECT_EQ(doc.addColumnTimeMs, c.asked / c.interval * c.interval);
    if (c.columnsAdded == 0) {
      EXPECT_EQ(doc.table, before);
      EXPECT_FALSE(doc.modified);
      EXPECT_EQ(doc.undo.count(), 0);
    } else {
      EXPECT_TRUE(doc.modified);
      EXPECT_TRUE(view.tableChanged);
      EXPECT_EQ(doc.undo.count(), 1);
      EXPECT_EQ(doc.undo.columnsAt(0), 4 + c.columnsAdded);
    }
  }
}

TEST(AdjustTimeTest, Placements) {
  struct Case {
    std::string name;
    AddColumnPlace place;
    TableSelection selection;
    std::vector<double> f1;
  };
  // Two columns added to 100 101 102 103: each placement inserts copies of
  // the column the insertion pushes right.
  // clang-format off
  const std::vector<Case> cases = {
      {"At the beginning of the file", AddColumnPlace::kBeginning, {}, {100, 101, 101, 101, 102, 103}},
      {"At the selected column", AddColumnPlace::kSelectedColumn, TableSelection::wholeColumn(1),
       {100, 101, 102, 102, 102, 103}},
      {"At the selected column", AddColumnPlace::kSelectedColumn, TableSelection::wholeColumn(0),
       {100, 101, 101, 101, 102, 103}},
      {"At the selected column", AddColumnPlace::kSelectedColumn, TableSelection::wholeColumn(3),
       {100, 101, 102, 103, 103, 103}},
      {"At the end of the file", AddColumnPlace::kEnd, {}, {100, 101, 102, 103, 103, 103}},
  };
  // clang-format on
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name + " " + std::to_string(c.selection.column));
    EXPECT_EQ(placeText(c.place), c.name);
    CVandrelDoc doc;
    shapeDoc(doc, 4, 5);
    numberColumns(doc);
    doc.addColumnTimeMs = 10;
    doc.addColumnPlace = c.place;
    TableViewState view;
    view.selection = c.selection;
    EXPECT_EQ(addTime(doc, view), UserMessages{});
    EXPECT_EQ(rowValues(doc.table, kF1), c.f1);
    EXPECT_EQ(doc.params().fileLengthMs, 30);
  }
}

TEST(AdjustTimeTest, CopiesCarryAnchorsAndOtherRows) {
  CVandrelDoc doc;
  shapeDoc(doc, 3, 10);
  numberColumns(doc);
  setRowValues(doc.table, kAv, {10, 20, 30});
  doc.table.setAnchor(kAv, 1, true);
  doc.table.setAnchor(kF1, 2, true);
  doc.addColumnTimeMs = 20;
  doc.addColumnPlace = AddColumnPlace::kBeginning;
  TableViewState view;
  addTime(doc, view);
  EXPECT_EQ(rowValues(doc.table, kAv), (std::vector<double>{10, 20, 20, 20, 30}));
  EXPECT_EQ(anchorColumns(doc.table, kAv), (std::vector<int>{1, 2, 3}));
  EXPECT_EQ(anchorColumns(doc.table, kF1), (std::vector<int>{4}));
}

TEST(AdjustTimeTest, SelectedColumnMissingAfterTheLengthIsSet) {
  CVandrelDoc doc;
  shapeDoc(doc, 4, 5);
  doc.addColumnTimeMs = 12;
  doc.addColumnPlace = AddColumnPlace::kSelectedColumn;
  const FrameTable before = doc.table;
  TableViewState view;
  view.selection = TableSelection::wholeRow(2);
  const UserMessages expected = {
      {"you have requested a time(ms) = 12 ,But with interval(ms) = 5 ,you can only add time(ms) = 10 ",
       true},
      {"Please select a column first", true},
  };
  EXPECT_EQ(addTime(doc, view), expected);
  EXPECT_EQ(doc.table, before);
  EXPECT_EQ(doc.params().fileLengthMs, 30);  // already applied
  EXPECT_EQ(doc.params().frameCount, 6);
  EXPECT_EQ(doc.undo.count(), 0);
  EXPECT_FALSE(view.tableChanged);
}

TEST(AdjustTimeTest, RefusedWhileAnAudioFileIsOpen) {
  const UserMessages refusal = {{std::string(kMsgTimeLockedByAudio), true}};
  EXPECT_EQ(refusal[0].text,
            "You may not change the time of the file while the audio file is open\n"
            "The timing alignment between the two files will be disrupted\n"
            "If you wish to do so, save the file and reopen it independently.");
  CVandrelDoc doc;
  shapeDoc(doc, 4, 10);
  doc.audio.samples.assign(100, 0);
  doc.audio.sampleRate = 11025;
  doc.addColumnTimeMs = 50;
  const FrameTable before = doc.table;
  TableViewState view;
  EXPECT_EQ(addTime(doc, view), refusal);
  EXPECT_EQ(changeFileLength(doc, view, 100), refusal);
  EXPECT_EQ(changeFileLength(doc, view, 40), UserMessages{});  // unchanged length: nothing to refuse
  EXPECT_EQ(doc.table, before);
  EXPECT_EQ(doc.params().fileLengthMs, 40);
  EXPECT_EQ(doc.addColumnTimeMs, 50);
}

TEST(AdjustTimeTest, ChangeLength) {
  // clang-format off
  const struct {
    int from, to, interval, columnsAfter;
    double lengthAfter;
    UserMessages messages;
  } cases[] = {
      {1000, 1003, 5, 200, 1000,
       {{"you have requested a time(ms) = 1003 ,But with interval(ms) = 5 ,the total time will be = 1000 (ms)",
         true}}},
      {1000, 1012, 5, 202, 1010,
       {{"you have requested a time(ms) = 1012 ,But with interval(ms) = 5 ,the total time will be = 1010 (ms)",
         true}}},
      {1000, 1020, 5, 204, 1020, {}},
      {1000, 988, 5, 198, 990,
       {{"you have requested a time(ms) = 988 , But with interval(ms) = 5 , the total time will be = 990 (ms)",
         true}}},
      {1000, 900, 5, 180, 900, {}},
      {1000, 0, 5, 0, 0, {}},
  };
  // clang-format on
  for (const auto& c : cases) {
    SCOPED_TRACE(std::to_string(c.from) + " -> " + std::to_string(c.to));
    CVandrelDoc doc;
    shapeDoc(doc, c.from / c.interval, c.interval);
    numberColumns(doc);
    TableViewState view;
    EXPECT_EQ(changeFileLength(doc, view, c.to), c.messages);
    EXPECT_EQ(doc.table.columns(), c.columnsAfter);
    EXPECT_EQ(doc.params().frameCount, c.columnsAfter);
    EXPECT_EQ(doc.params().fileLengthMs, c.lengthAfter);
    // The first columns keep their values; a shortened table loses its last.
    for (int col = 0; col < std::min(c.columnsAfter, 200); ++col)
      EXPECT_EQ(doc.table.value(kF1, col), 100 + col);
    EXPECT_TRUE(doc.modified);
    EXPECT_EQ(doc.undo.count(), 1);
  }
}

TEST(AdjustTimeTest, EqualLengthDoesNothing) {
  CVandrelDoc doc;
  TableViewState view;
  EXPECT_EQ(changeFileLength(doc, view, 200), UserMessages{});
  EXPECT_FALSE(doc.modified);
  EXPECT_EQ(doc.undo.count(), 0);
}

TEST(AdjustTimeTest, LengthenedColumnsHoldDefaultsWithinLimitsAndNoAnchors) {
  CVandrelDoc doc;
  shapeDoc(doc, 2, 10);
  doc.params().setDefault(kAv, 120);  // above its upper limit of 87
  doc.params().setDefault(kF1, 100);  // below its lower limit of 200
  doc.table.setValue(kF2, 1, 999);
  doc.table.setAnchor(kF2, 1, true);
  TableViewState view;
  std::vector<std::pair<int, int>> steps;
  changeFileLength(doc, view, 50, [&](int done, int total) { steps.emplace_back(done, total); });
  EXPECT_EQ(steps, (std::vector<std::pair<int, int>>{{1, 3}, {2, 3}, {3, 3}}));
  ASSERT_EQ(doc.table.columns(), 5);
  for (int col = 2; col < 5; ++col) {
    EXPECT_EQ(doc.table.value(kAv, col), 87);
    EXPECT_EQ(doc.table.value(kF1, col), 200);
    EXPECT_EQ(doc.table.value(kF2, col), 1500);
    EXPECT_EQ(doc.table.value(kF0, col), 1000);
  }
  EXPECT_EQ(anchorColumns(doc.table, kF2), std::vector<int>{1});
}

TEST(AdjustTimeTest, HeadingsAreFrameEndTimes) {
  CVandrelDoc doc;
  shapeDoc(doc, 3, 5);
  doc.addColumnTimeMs = 10;
  TableViewState view;
  addTime(doc, view);
  std::vector<std::string> headings;
  for (int c = 0; c < doc.table.columns(); ++c) headings.push_back(columnHeading(doc.params().intervalMs, c));
  EXPECT_EQ(headings, (std::vector<std::string>{"5", "10", "15", "20", "25"}));
  EXPECT_EQ(columnHeading(1, 59999), "60000");
}

TEST(AdjustTimeTest, AdjustTimeDispatchesOnItsMode) {
  CVandrelDoc doc;
  shapeDoc(doc, 4, 10);
  doc.addColumnTimeMs = 20;
  TableViewState view;
  adjustTime(doc, view, true, 0);
  EXPECT_EQ(doc.table.columns(), 6);
  adjustTime(doc, view, false, 30);
  EXPECT_EQ(doc.table.columns(), 3);
}

}  // namespace
}  // namespace vandrel
