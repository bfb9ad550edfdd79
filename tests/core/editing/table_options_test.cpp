// The table options: a new frame interval, the File options' order of work,
// the parameter limits' rule and the parameter selection.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "document/VandrelDoc.h"
#include "editing/ChangeInterval.h"
#include "editing/EditTransaction.h"
#include "editing/TableOptions.h"
#include "editing/UndoCommands.h"

namespace vandrel {
namespace {

// A blank document of `columns` frames of `intervalMs` whose f1 row climbs by
// 10 per frame from 500 (the frame ending at t ms holds 490 + t for 10 ms).
void shapeDoc(CVandrelDoc& doc, int columns, int intervalMs) {
  doc.newTable(columns, intervalMs);
  for (int c = 0; c < columns; ++c) vandrel::EditTransaction(doc).setValue(kF1, c, 500.0 + 10.0 * c);
}

std::vector<double> row(const FrameTable& t, int r) { return {t.row(r), t.row(r) + t.columns()}; }

std::vector<std::string> texts(const UserMessages& m) {
  std::vector<std::string> out;
  for (const auto& x : m) out.push_back(x.text);
  return out;
}

TEST(ChangeIntervalTest, ResamplesLinearlyInTimeAndMovesAnchorsToTheNearestFrame) {
  const struct {
    int interval;
    std::vector<double> f1;  // of a 60 ms, 10 ms table climbing 500..550
    std::vector<int> anchorColumns;
  } cases[] = {
      {5, {500, 500, 505, 510, 515, 520, 525, 530, 535, 540, 545, 550}, {3, 11}},  // held before the first
      {20, {510, 530, 550}, {0, 2}},
      {25, {515, 540}, {0, 1}},  // 20 ms -> frame 0 (25 nearer than 50); 60 -> 1 (50)
      {60, {550}, {0}},          // both anchors land on the one frame: the later wins
      {7, {500, 504, 511, 518, 525, 532, 539, 546}, {2, 7}},  // 60 / 7 = 8 frames, length kept
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.interval);
    CVandrelDoc doc;
    shapeDoc(doc, 6, 10);
    vandrel::EditTransaction(doc).setAnchor(kF1, 1, true);  // ends at 20 ms, holds 510
    vandrel::EditTransaction(doc).setAnchor(kF1, 5, true);  // ends at 60 ms, holds 550
    EXPECT_TRUE(changeInterval(doc, c.interval).empty());
    EXPECT_EQ(doc.params().intervalMs, c.interval);
    EXPECT_EQ(doc.params().fileLengthMs, 60.0);
    EXPECT_EQ(doc.params().frameCount, doc.table().columns());
    const std::vector<double> f1 = row(doc.table(), kF1);
    ASSERT_EQ(f1.size(), c.f1.size());
    for (std::size_t i = 0; i < f1.size(); ++i) {
      const bool anchor = doc.table().anchor(kF1, static_cast<int>(i));
      // An anchor keeps its own value at its new place.
      if (!anchor) {
        EXPECT_NEAR(f1[i], c.f1[i], 0.5) << i;
      }
    }
    std::vector<int> anchors;
    for (int col = 0; col < doc.table().columns(); ++col)
      if (doc.table().anchor(kF1, col)) anchors.push_back(col);
    EXPECT_EQ(anchors, c.anchorColumns);
    EXPECT_EQ(doc.table().value(kF1, anchors.back()), 550.0);
    EXPECT_EQ(doc.table().anchorCount(), static_cast<int>(anchors.size()));
    EXPECT_TRUE(doc.modified());
    EXPECT_EQ(doc.undo().count(), 1);
  }
}

TEST(ChangeIntervalTest, UndoBringsBackTheOldTimingAndRefusalsChangeNothing) {
  CVandrelDoc doc;
  shapeDoc(doc, 20, 10);
  doc.takeSnapshot();
  ASSERT_TRUE(changeInterval(doc, 4).empty());
  EXPECT_EQ(doc.table().columns(), 50);
  ASSERT_EQ(undoCommand(doc), UndoStatus::kRestored);
  EXPECT_EQ(doc.params().intervalMs, 10);
  EXPECT_EQ(doc.table().columns(), 20);
  EXPECT_EQ(doc.params().fileLengthMs, 200.0);
  EXPECT_EQ(row(doc.table(), kF1)[19], 690.0);
  ASSERT_EQ(redoCommand(doc), UndoStatus::kRestored);
  EXPECT_EQ(doc.params().intervalMs, 4);
  EXPECT_EQ(doc.table().columns(), 50);

  const FrameTable before = doc.table();
  for (int bad : {0, -3, 201}) {
    SCOPED_TRACE(bad);
    const UserMessages m = changeInterval(doc, bad);
    ASSERT_EQ(m.size(), 1u);
    EXPECT_NE(m[0].text.find("from 1 to 200 ms"), std::string::npos) << m[0].text;
    EXPECT_EQ(doc.params().intervalMs, 4);
    EXPECT_EQ(doc.table(), before);
  }
}

TEST(FileOptionsTest, ConfirmingFollowsTheOrderAndCutsTheLengthToWholeFrames) {
  const std::string locked(kMsgTimeLockedByAudio);
  const struct {
    const char* what;
    int columns, interval;  // before
    bool audio;
    int length, newInterval;  // typed
    int columnsAfter;
    double lengthAfter;
    std::vector<std::string> messages;
  } cases[] = {
      // clang-format off
      {"1003 ms at 5 ms is cut to 1000", 180, 5, false, 1003, 5, 200, 1000.0, {}},
      {"shortening", 20, 10, false, 155, 10, 15, 150.0, {}},
      {"a new interval, then the length in new frames", 20, 10, false, 400, 20, 20, 400.0, {}},
      {"an untouched length is no request", 20, 10, true, 200, 10, 20, 200.0, {}},
      {"a 200 ms file at 15 ms shortened: 90 asked, 95 given", 20, 10, false, 100, 15, 6, 95.0,
       {"you have requested a time(ms) = 90 , But with interval(ms) = 15 , the total time will be = 95 (ms)"}},
      {"and lengthened: 255 asked, 245 given", 20, 10, false, 260, 15, 16, 245.0,
       {"you have requested a time(ms) = 255 ,But with interval(ms) = 15 ,the total time will be = 245 (ms)"}},
      {"audio locks a new length", 20, 10, true, 300, 10, 20, 200.0, {locked}},
      {"audio leaves the interval free", 20, 10, true, 200, 5, 40, 200.0, {}},
      {"a length below one frame", 20, 10, false, 9, 10, 20, 200.0,
       {"A file of 9 ms is shorter than one frame of 10 ms.\nPlease enter a length of at least 10 ms."}},
      // clang-format on
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    CVandrelDoc doc;
    shapeDoc(doc, c.columns, c.interval);
    if (c.audio) doc.attachAudio(SampleSet{std::vector<std::int16_t>(100), 0.0});
    FileOptions o = fileOptionsOf(doc);
    EXPECT_EQ(o.fileLengthMs, c.columns * c.interval);
    o.fileLengthMs = c.length;
    o.intervalMs = c.newInterval;
    o.sampleRate = 22050;
    o.autoInterpolate = o.anchorAfterEdit = true;
    o.anchorColor = rgb(1, 2, 3);
    const UserMessages m = applyFileOptions(doc, o);
    EXPECT_EQ(texts(m), c.messages);
    EXPECT_EQ(doc.table().columns(), c.columnsAfter);
    EXPECT_EQ(doc.params().fileLengthMs, c.lengthAfter);
    const bool refused = c.length < c.newInterval;
    EXPECT_EQ(doc.sampleRate(), refused ? 11025.0 : 22050.0);
    EXPECT_EQ(doc.autoInterpolate(), !refused);
    EXPECT_EQ(doc.anchorColor(), refused ? kDefaultColors[kAnchorColorSlot] : rgb(1, 2, 3));
    EXPECT_EQ(doc.tableChanged(), !refused);
  }
}

TEST(ParameterOptionsTest, LimitsAreCheckedRowByRowAndNameTheParameter) {
  EXPECT_FALSE(checkLimits(builtinLimits()));
  const struct {
    int row;
    ParamLimits limits;
    std::string message;
  } cases[] = {
      {kF1,
       {1400, 1300, 1350},
       "The lower limit of f1 (1400) is above its upper limit (1300).\nPlease correct the limits of f1."},
      {kGain,
       {0, 87, 90},
       "The default value of gain (90) lies outside its limits (0 to 87).\nPlease correct the default of "
       "gain."},
      {kAv,
       {10, 87, 5},
       "The default value of av (5) lies outside its limits (10 to 87).\nPlease correct the default of av."},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.row);
    LimitTable t = builtinLimits();
    t[static_cast<std::size_t>(c.row)] = c.limits;
    const auto m = checkLimits(t);
    ASSERT_TRUE(m);
    EXPECT_EQ(m->text, c.message);

    // Refused as a whole: the document keeps every setting.
    CVandrelDoc doc;
    ParameterOptions o = parameterOptionsOf(doc);
    o.limits = t;
    o.shown.fill(true);
    EXPECT_EQ(texts(applyParameterOptions(doc, o)), std::vector<std::string>{c.message});
    EXPECT_EQ(parameterOptionsOf(doc), parameterOptionsOf(CVandrelDoc{}));
    EXPECT_EQ(doc.undo().count(), 0);
  }
}

TEST(ParameterOptionsTest, SelectionHidesWithoutLosingValuesAndDefaultsRestoreTheUsualRows) {
  CVandrelDoc doc;
  TableSelection selection;
  vandrel::EditTransaction(doc).setValue(kF3, 4, 2700);
  doc.setRowsInUse(10);
  ParameterOptions o = parameterOptionsOf(doc);
  o.shown[kF3] = false;
  o.shown[kGain] = true;
  o.shown[kF6] = true;
  o.groupColors[kGroupNasal] = rgb(9, 9, 9);
  o.cascadeParallel = false;
  o.limits[kF1] = {100, 2000, 400};
  EXPECT_TRUE(applyParameterOptions(doc, o).empty());
  const ParameterSet& ps = doc.params();
  EXPECT_EQ(ps.at(kF3).selected, 0);
  EXPECT_EQ(ps.at(kGain).selected, 1);
  EXPECT_EQ(ps.selectedCount, 32);
  EXPECT_EQ(ps.sampleRate(), 22050.0);
  EXPECT_EQ(ps.at(kBnz).color, rgb(9, 9, 9));
  EXPECT_EQ(ps.cascadeParallel, 0);
  EXPECT_EQ(ps.at(kF1).lower, 100);
  EXPECT_EQ(ps.at(kF1).defaultValue, 400);
  EXPECT_EQ(doc.table().value(kF3, 4), 2700.0);
  EXPECT_EQ(doc.rowsInUse(), kParamCount);
  EXPECT_TRUE(doc.modified());
  EXPECT_EQ(doc.undo().count(), 1);

  o.shown[kF3] = true;
  o.shown[kAtu] = true;
  applyDefaultSelection(o);
  const ParameterOptions blank = parameterOptionsOf(CVandrelDoc{});
  for (int i = 0; i < kParamCount; ++i) {
    SCOPED_TRACE(builtinParams()[static_cast<std::size_t>(i)].name);
    // fnz, atu, skew and gain keep what the user chose; the rest are the
    // built-in selection.
    const bool kept = i == kFnz || i == kAtu || i == kSkew || i == kGain;
    EXPECT_EQ(o.shown[static_cast<std::size_t>(i)],
              kept ? (i != kSkew) : blank.shown[static_cast<std::size_t>(i)]);
  }
  EXPECT_TRUE(o.cascadeParallel);
}

// The dialogs refuse an anchor colour equal to a group's (the table dialogs'
// test shows both ways); the built-in ones must therefore all differ.
TEST(ParameterOptionsTest, BuiltInColoursAreAllDifferent) {
  for (std::size_t a = 0; a < kDefaultColors.size(); ++a)
    for (std::size_t b = a + 1; b < kDefaultColors.size(); ++b)
      EXPECT_NE(kDefaultColors[a], kDefaultColors[b]) << a << " " << b;
}

}  // namespace
}  // namespace vandrel
