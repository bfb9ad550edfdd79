// The undo history: list semantics of undo and redo, what a restore puts
// back, compact storage, and random edit sequences walked back and forth.

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "EditingFixture.h"
#include "editing/AddSubtract.h"
#include "editing/AdjustTime.h"
#include "editing/Anchors.h"
#include "editing/CellEdit.h"
#include "editing/Interpolation.h"
#include "editing/SetDefaults.h"
#include "editing/UndoCommands.h"

namespace vandrel {
namespace {

using testing::shapeDoc;

// An independent picture of the table as a snapshot must hold it: every
// value cut toward zero.
using Picture = std::vector<std::vector<long long>>;

Picture pictureOf(const FrameTable& t) {
  Picture p(static_cast<std::size_t>(t.rows()));
  for (int r = 0; r < t.rows(); ++r)
    for (int c = 0; c < t.columns(); ++c)
      p[static_cast<std::size_t>(r)].push_back(static_cast<long long>(t.value(r, c)));
  return p;
}

Picture exactly(const FrameTable& t) {
  Picture p = pictureOf(t);
  for (int r = 0; r < t.rows(); ++r)
    for (int c = 0; c < t.columns(); ++c)
      if (t.value(r, c) != static_cast<double>(p[static_cast<std::size_t>(r)][static_cast<std::size_t>(c)]))
        p[static_cast<std::size_t>(r)][static_cast<std::size_t>(c)] = -999999;  // not a whole number
  return p;
}

TEST(UndoTest, NewDocumentStartsAtMinusFive) {
  CVandrelDoc doc;
  EXPECT_EQ(doc.undo.current(), UndoHistory::kNoSnapshot);
  EXPECT_EQ(doc.undo.current(), -5);
  EXPECT_EQ(doc.undo.count(), 0);
}

TEST(UndoTest, BeforeAnySnapshotUndoAndRedoFail) {
  const struct {
    bool redo;
    int indexAfter;
  } cases[] = {{true, -4}, {false, 0}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.redo ? "redo" : "undo");
    CVandrelDoc doc;
    TableViewState view;
    view.tableChanged = true;
    const FrameTable before = doc.table;
    EXPECT_EQ(c.redo ? redoCommand(doc, view) : undoCommand(doc, view), UndoStatus::kInvalidArgument);
    EXPECT_EQ(doc.undo.current(), c.indexAfter);
    EXPECT_EQ(doc.table, before);
    EXPECT_FALSE(doc.modified);
    EXPECT_TRUE(view.tableChanged);
  }
}

TEST(UndoTest, StepsClampAtBothEnds) {
  CVandrelDoc doc;
  TableViewState view;
  editCell(doc, view, kF1, 0, 300);  // snapshot 0
  editCell(doc, view, kF1, 0, 400);  // snapshot 1
  editCell(doc, view, kF1, 0, 600);  // snapshot 2
  ASSERT_EQ(doc.undo.count(), 3);
  ASSERT_EQ(doc.undo.current(), 2);

  // clang-format off
  const struct {
    bool redo;
    int index;
    double f1;
  } steps[] = {{true, 2, 600},  {false, 1, 400}, {false, 0, 300}, {false, 0, 300},
               {true, 1, 400},  {true, 2, 600},  {true, 2, 600}};
  // clang-format on
  for (const auto& s : steps) {
    SCOPED_TRACE(std::string(s.redo ? "redo to " : "undo to ") + std::to_string(s.index));
    view.tableChanged = true;
    doc.modified = false;
    EXPECT_EQ(s.redo ? redoCommand(doc, view) : undoCommand(doc, view), UndoStatus::kRestored);
    EXPECT_EQ(doc.undo.current(), s.index);
    EXPECT_EQ(doc.table.value(kF1, 0), s.f1);
    EXPECT_FALSE(view.tableChanged);
    EXPECT_TRUE(doc.modified);
    EXPECT_TRUE(doc.changedSinceSynthesis);
    EXPECT_EQ(doc.undo.count(), 3);  // restoring takes no snapshot
  }
}

TEST(UndoTest, NewEditAfterUndosAppendsBehindTheNewest) {
  CVandrelDoc doc;
  TableViewState view;
  for (double v : {300.0, 400.0, 500.0, 600.0}) editCell(doc, view, kF1, 0, v);
  undoCommand(doc, view);
  undoCommand(doc, view);
  ASSERT_EQ(doc.undo.current(), 1);
  editCell(doc, view, kF1, 0, 999);
  EXPECT_EQ(doc.undo.count(), 5);
  EXPECT_EQ(doc.undo.current(), 4);
  // The entries between stay in the list...
  EXPECT_EQ(doc.undo.valueAt(2, kF1, 0), 500);
  EXPECT_EQ(doc.undo.valueAt(3, kF1, 0), 600);
  // ...but redo no longer reaches them, and undo walks through them.
  EXPECT_EQ(redoCommand(doc, view), UndoStatus::kRestored);
  EXPECT_EQ(doc.table.value(kF1, 0), 999);
  undoCommand(doc, view);
  EXPECT_EQ(doc.table.value(kF1, 0), 600);
  undoCommand(doc, view);
  EXPECT_EQ(doc.table.value(kF1, 0), 500);
}

TEST(UndoTest, RestoreGivesWholeNumbersAndKeepsAnchorsAndShownRows) {
  CVandrelDoc doc;
  shapeDoc(doc, 4);
  TableViewState view;
  editCell(doc, view, kF1, 1, 333.75);
  editCell(doc, view, kF1, 1, -0.0 + 400);
  EXPECT_EQ(doc.table.value(kF1, 1), 400);
  doc.params().setSelected(kF1, false);
  doc.params().setSelected(kF8, true);
  setCellAnchor(doc, kF2, 3, true);
  undoCommand(doc, view);
  EXPECT_EQ(doc.table.value(kF1, 1), 333);
  EXPECT_EQ(doc.params().at(kF1).selected, 0);
  EXPECT_EQ(doc.params().at(kF8).selected, 1);
  EXPECT_TRUE(doc.table.anchor(kF2, 3));
}

TEST(UndoTest, ColumnCountFollowsTheSnapshot) {
  CVandrelDoc doc;
  shapeDoc(doc, 4, 10);
  TableViewState view;
  editCell(doc, view, kF1, 3, 700);
  doc.table.setAnchor(kF1, 2, true);
  doc.addColumnTimeMs = 30;
  addTime(doc, view);
  ASSERT_EQ(doc.table.columns(), 7);
  undoCommand(doc, view);
  EXPECT_EQ(doc.table.columns(), 4);
  EXPECT_EQ(doc.params().frameCount, 4);
  EXPECT_EQ(doc.params().fileLengthMs, 40);
  EXPECT_EQ(doc.table.value(kF1, 3), 700);
  EXPECT_TRUE(doc.table.anchor(kF1, 2));
  redoCommand(doc, view);
  EXPECT_EQ(doc.table.columns(), 7);
  EXPECT_EQ(doc.params().fileLengthMs, 70);
  EXPECT_EQ(doc.table.value(kF1, 6), 700);
}

TEST(UndoTest, SnapshotValuesAreHeldToThirtyTwoBits) {
  // clang-format off
  const struct {
    double v;
    std::int32_t whole;
  } cases[] = {{2.9, 2},           {-2.9, -2},          {1e12, 2147483647}, {-1e12, -2147483647 - 1},
               {2147483647.5, 2147483647}, {std::nan(""), 0}, {-0.5, 0}};
  // clang-format on
  for (const auto& c : cases) {
    SCOPED_TRACE(c.v);
    EXPECT_EQ(UndoHistory::wholeValue(c.v), c.whole);
  }
}

TEST(UndoTest, MemoryGrowsWithWhatChanged) {
  CVandrelDoc doc;
  shapeDoc(doc, 20000, 1);
  TableViewState view;
  editCell(doc, view, kF1, 0, 600);
  const std::size_t first = doc.undo.storageBytes();
  for (int i = 0; i < 200; ++i) editCell(doc, view, kF1, (i * 97) % 20000, 300 + i);
  const std::size_t growth = doc.undo.storageBytes() - first;
  // A whole snapshot is 48 x 20,000 x 4 bytes = 3.84 MB; 200 of them would be
  // 768 MB. One changed cell costs a segment, a page and the page list.
  EXPECT_LT(growth, 200U * 16U * 1024U);
}

// Random edits of every kind, with undos and redos among them; after each
// edit that appends, the picture that snapshot must hold. Undo all the way back gives the first, redo all the
// way forward the last, and every step between gives its own.
TEST(UndoTest, RandomEditSequencesWalkBackAndForth) {
  for (unsigned seed = 1; seed <= 12; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 rng(seed);
    auto pick = [&](int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng); };

    CVandrelDoc doc;
    shapeDoc(doc, pick(1, 700), 1);
    doc.autoInterpolate = pick(0, 1) == 1;
    doc.anchorAfterEdit = pick(0, 1) == 1;
    TableViewState view;
    std::vector<Picture> pictures;

    for (int step = 0; step < 60; ++step) {
      const int cols = doc.table.columns();
      const int row = pick(0, kParamCount - 1);
      const int col = pick(0, cols - 1);
      const Picture before = pictureOf(doc.table);
      const int undoCountBefore = doc.undo.count();
      bool addSubtracted = false;
      switch (pick(0, 10)) {
        case 0:
        case 1:
        case 2:
          editCell(doc, view, row, col, pick(-100000, 100000) / 7.0);
          break;
        case 3:
          view.selection = pick(0, 1) ? TableSelection::wholeRow(row) : TableSelection::wholeColumn(col);
          addSubtract(doc, view, pick(-50, 50));
          addSubtracted = true;
          break;
        case 4:
          view.selection = TableSelection::block(col, row, pick(0, cols - 1), pick(0, kParamCount - 1));
          if (pick(0, 1)) {
            addSubtract(doc, view, pick(-50, 50));
            addSubtracted = true;
          } else {
            addAnchorsToSelection(doc, view);
            interpolateSelectionCommand(doc, view);
          }
          break;
        case 5:
          view.selection = TableSelection::wholeRow(row);
          pick(0, 1) ? setToDefaultValues(doc, view) : interpolateSelectionCommand(doc, view);
          break;
        case 6:
          setCellAnchor(doc, row, col, true);
          interpolateAllCommand(doc, view);
          break;
        case 7:
          doc.addColumnTimeMs = pick(-2, 40);
          doc.addColumnPlace = static_cast<AddColumnPlace>(pick(0, 2));
          view.selection = TableSelection::wholeColumn(col);
          addTime(doc, view);
          break;
        case 8:
          changeFileLength(doc, view, pick(1, 700));
          break;
        case 9:
        case 10:
          // Undo or redo in the middle; later edits go on from the restored table.
          if (pictures.empty()) continue;
          ASSERT_EQ(step % 2 ? undoCommand(doc, view) : redoCommand(doc, view), UndoStatus::kRestored);
          ASSERT_EQ(exactly(doc.table), pictures[static_cast<std::size_t>(doc.undo.current())]);
          continue;
      }
      if (doc.undo.count() == undoCountBefore) continue;
      ASSERT_EQ(doc.undo.count(), undoCountBefore + 1);
      // Add/Subtract snapshots the table before its addition.
      pictures.push_back(addSubtracted ? before : pictureOf(doc.table));
    }
    ASSERT_GE(pictures.size(), 2U);
    const int last = static_cast<int>(pictures.size()) - 1;
    while (doc.undo.current() < last) ASSERT_EQ(redoCommand(doc, view), UndoStatus::kRestored);

    for (int i = last - 1; i >= 0; --i) {
      ASSERT_EQ(undoCommand(doc, view), UndoStatus::kRestored);
      ASSERT_EQ(exactly(doc.table), pictures[static_cast<std::size_t>(i)]) << "undo to " << i;
    }
    undoCommand(doc, view);
    ASSERT_EQ(exactly(doc.table), pictures.front());
    for (int i = 1; i <= last; ++i) {
      ASSERT_EQ(redoCommand(doc, view), UndoStatus::kRestored);
      ASSERT_EQ(exactly(doc.table), pictures[static_cast<std::size_t>(i)]) << "redo to " << i;
    }
    redoCommand(doc, view);
    ASSERT_EQ(exactly(doc.table), pictures.back());
  }
}

}  // namespace
}  // namespace vandrel
