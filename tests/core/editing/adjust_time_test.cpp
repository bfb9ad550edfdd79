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

const std::string kRounded12 =
    "you have requested a time(ms) = 12 ,But with interval(ms) = 5 ,you can only add time(ms) = 10 ";

// A table whose f1 row numbers its columns 100, 101, ... so moved and copied
// columns can be told apart.
void numberColumns(CVandrelDoc& doc) {
  for (int c = 0; c < doc.table.columns(); ++c) doc.table.setValue(kF1, c, 100 + c);
}

TEST(AdjustTimeTest, AddRoundsToWholeIntervals) {
  // clang-format off
  const struct {
    int interval, asked, columnsAdded;
    UserMessages messages;
  } cases[] = {
      {5, 12, 2, {{kRounded12, true}}},
      {5, 10, 2, {}},
      {10, 25, 2, {{"you have requested a time(ms) = 25 ,But with interval(ms) = 10 ,you can only add time(ms) = 20 ", true}}},
      {5, 4, 0, {{"", true}}},
      {5, -12, 0, {{"", true}}},
  };
  // clang-format on
  for (const auto& c : cases) {
    SCOPED_TRACE(std::to_string(c.asked) + " at " + std::to_string(c.interval));
    CVandrelDoc doc;
    shapeDoc(doc, 4, c.interval);
    doc.addColumnTimeMs = c.asked;
    const FrameTable before = doc.table;
    TableViewState view;
    EXPECT_EQ(addTime(doc, view), c.messages);
    EXPECT_EQ(doc.table.columns(), 4 + c.columnsAdded);
    EXPECT_EQ(doc.params().frameCount, 4 + c.columnsAdded);
    EXPECT_EQ(doc.params().fileLengthMs, (4 + c.columnsAdded) * c.interval);
    EXPECT_EQ(doc.addColumnTimeMs, c.asked / c.interval * c.interval);
    EXPECT_EQ(doc.undo.count(), c.columnsAdded > 0 ? 1 : 0);
    EXPECT_EQ(doc.modified, c.columnsAdded > 0);
    EXPECT_TRUE(c.columnsAdded > 0 || doc.table == before);
  }
}

TEST(AdjustTimeTest, PlacementsCopyTheColumnPushedRight) {
  struct Case {
    AddColumnPlace place;
    std::string text;
    int selected;  // -1: no column selected
    std::vector<double> f1;
    std::vector<int> anchors;
  };
  // Two columns added to 100 101 102 103, with an anchor on column 1.
  // clang-format off
  const std::vector<Case> cases = {
      {AddColumnPlace::kBeginning, "At the beginning of the file", -1, {100, 101, 101, 101, 102, 103}, {1, 2, 3}},
      {AddColumnPlace::kSelectedColumn, "At the selected column", 1, {100, 101, 102, 102, 102, 103}, {1}},
      {AddColumnPlace::kSelectedColumn, "At the selected column", 0, {100, 101, 101, 101, 102, 103}, {1, 2, 3}},
      // After the last column nothing is pushed right: the column itself is copied.
      {AddColumnPlace::kSelectedColumn, "At the selected column", 3, {100, 101, 102, 103, 103, 103}, {1}},
      {AddColumnPlace::kEnd, "At the end of the file", -1, {100, 101, 102, 103, 103, 103}, {1}},
  };
  // clang-format on
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text + " " + std::to_string(c.selected));
    EXPECT_EQ(placeText(c.place), c.text);
    CVandrelDoc doc;
    shapeDoc(doc, 4, 5);
    numberColumns(doc);
    doc.table.setAnchor(kF1, 1, true);
    doc.addColumnTimeMs = 10;
    doc.addColumnPlace = c.place;
    TableViewState view;
    if (c.selected >= 0) view.selection = TableSelection::wholeColumn(c.selected);
    EXPECT_EQ(addTime(doc, view), UserMessages{});
    EXPECT_EQ(rowValues(doc.table, kF1), c.f1);
    EXPECT_EQ(anchorColumns(doc.table, kF1), c.anchors);
    EXPECT_EQ(doc.table.value(kF2, 5), 1500);
  }
}

TEST(AdjustTimeTest, SelectedColumnMissingAfterTheLengthIsSet) {
  CVandrelDoc doc;
  shapeDoc(doc, 4, 5);
  doc.addColumnTimeMs = 12;
  doc.addColumnPlace = AddColumnPlace::kSelectedColumn;
  const FrameTable before = doc.table;
  TableViewState view;
  view.selection = TableSelection::wholeRow(2);
  EXPECT_EQ(addTime(doc, view), (UserMessages{{kRounded12, true}, {"Please select a column first", true}}));
  EXPECT_EQ(doc.table, before);
  EXPECT_EQ(doc.params().fileLengthMs, 30);  // already applied
  EXPECT_EQ(doc.params().frameCount, 6);
  EXPECT_EQ(doc.undo.count(), 0);
}

TEST(AdjustTimeTest, RefusedWhileAnAudioFileIsOpen) {
  const UserMessages refusal = {
      {"You may not change the time of the file while the audio file is open\n"
       "The timing alignment between the two files will be disrupted\n"
       "If you wish to do so, save the file and reopen it independently.",
       true}};
  CVandrelDoc doc;
  shapeDoc(doc, 4, 10);
  doc.audio.samples.assign(100, 0);
  doc.addColumnTimeMs = 50;
  const FrameTable before = doc.table;
  TableViewState view;
  EXPECT_EQ(addTime(doc, view), refusal);
  EXPECT_EQ(changeFileLength(doc, view, 100), refusal);
  EXPECT_EQ(changeFileLength(doc, view, 40), UserMessages{});  // the same length: nothing to refuse
  EXPECT_EQ(doc.table, before);
  EXPECT_EQ(doc.params().fileLengthMs, 40);
  EXPECT_EQ(doc.undo.count(), 0);
}

TEST(AdjustTimeTest, ChangeLength) {
  // clang-format off
  const struct {
    int from, to, columnsAfter, lengthAfter, snapshots;
    UserMessages messages;
  } cases[] = {
      {1000, 1003, 200, 1000, 1, {{"you have requested a time(ms) = 1003 ,But with interval(ms) = 5 ,the total time will be = 1000 (ms)", true}}},
      {1000, 1012, 202, 1010, 1, {{"you have requested a time(ms) = 1012 ,But with interval(ms) = 5 ,the total time will be = 1010 (ms)", true}}},
      {1000, 1020, 204, 1020, 1, {}},
      {1000, 988, 198, 990, 1, {{"you have requested a time(ms) = 988 , But with interval(ms) = 5 , the total time will be = 990 (ms)", true}}},
      {1000, 900, 180, 900, 1, {}},
      {1000, 0, 0, 0, 1, {}},
      {1000, 1000, 200, 1000, 0, {}},
  };
  // clang-format on
  for (const auto& c : cases) {
    SCOPED_TRACE(std::to_string(c.from) + " -> " + std::to_string(c.to));
    CVandrelDoc doc;
    shapeDoc(doc, c.from / 5, 5);
    numberColumns(doc);
    TableViewState view;
    EXPECT_EQ(changeFileLength(doc, view, c.to), c.messages);
    EXPECT_EQ(doc.table.columns(), c.columnsAfter);
    EXPECT_EQ(doc.params().frameCount, c.columnsAfter);
    EXPECT_EQ(doc.params().fileLengthMs, c.lengthAfter);
    // The columns kept hold what they held.
    const int kept = std::min(c.columnsAfter, 200);
    if (kept > 0) {
      EXPECT_EQ(doc.table.value(kF1, kept - 1), 100 + kept - 1);
    }
    EXPECT_EQ(doc.undo.count(), c.snapshots);
  }
}

TEST(AdjustTimeTest, LengthenedColumnsHoldDefaultsWithinLimitsAndHeadingsFollow) {
  CVandrelDoc doc;
  shapeDoc(doc, 2, 5);
  doc.params().setDefault(kAv, 120);  // above its upper limit of 87
  doc.params().setDefault(kF1, 100);  // below its lower limit of 200
  doc.table.setValue(kF2, 1, 999);
  doc.table.setAnchor(kF2, 1, true);
  TableViewState view;
  std::vector<int> steps;
  adjustTime(doc, view, false, 25, [&](int done, int total) { steps.push_back(done * 10 + total); });
  EXPECT_EQ(steps, (std::vector<int>{13, 23, 33}));
  ASSERT_EQ(doc.table.columns(), 5);
  EXPECT_EQ(rowValues(doc.table, kAv), (std::vector<double>{60, 60, 87, 87, 87}));
  EXPECT_EQ(rowValues(doc.table, kF1), (std::vector<double>{500, 500, 200, 200, 200}));
  EXPECT_EQ(rowValues(doc.table, kF2), (std::vector<double>{1500, 999, 1500, 1500, 1500}));
  EXPECT_EQ(anchorColumns(doc.table, kF2), std::vector<int>{1});

  std::vector<std::string> headings;
  headings.reserve(5);
  for (int c = 0; c < doc.table.columns(); ++c) headings.push_back(columnHeading(doc.params().intervalMs, c));
  EXPECT_EQ(headings, (std::vector<std::string>{"5", "10", "15", "20", "25"}));
  EXPECT_EQ(columnHeading(1, 59999), "60000");
}

}  // namespace
}  // namespace vandrel
