// The undo history: list semantics of undo and redo, what a restore puts
// back, compact storage, and random edit sequences walked back and forth.

#include <gtest/gtest.h>

#include <cmath>
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

// An independent picture of the table as a snapshot must hold it: every value
// cut toward zero. `exactly` marks cells that are not whole numbers, so a
// restored table must match its picture cell for cell.
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

TEST(UndoTest, BeforeAnySnapshotUndoAndRedoFail) {
  for (const bool redo : {true, false}) {
    SCOPED_TRACE(redo ? "redo" : "undo");
    CVandrelDoc doc;
    EXPECT_EQ(doc.undo.current(), -5);
    TableViewState view;
    view.tableChanged = true;
    const FrameTable before = doc.table;
    EXPECT_EQ(redo ? redoCommand(doc, view) : undoCommand(doc, view), UndoStatus::kInvalidArgument);
    EXPECT_EQ(doc.undo.current(), redo ? -4 : 0);
    EXPECT_EQ(doc.table, before);
    EXPECT_FALSE(doc.modified);
    EXPECT_TRUE(view.tableChanged);
  }
}

TEST(UndoTest, StepsClampAtBothEnds) {
  CVandrelDoc doc;
  TableViewState view;
  for (double v : {300.0, 400.0, 600.0}) editCell(doc, view, kF1, 0, v);
  ASSERT_EQ(doc.undo.current(), 2);
  const struct {
    bool redo;
    int index;
    double f1;
  } steps[] = {{true, 2, 600}, {false, 1, 400}, {false, 0, 300}, {false, 0, 300},
               {true, 1, 400}, {true, 2, 600},  {true, 2, 600}};
  for (const auto& s : steps) {
    SCOPED_TRACE(std::string(s.redo ? "redo to " : "undo to ") + std::to_string(s.index));
    view.tableChanged = true;
    doc.modified = false;
    EXPECT_EQ(s.redo ? redoCommand(doc, view) : undoCommand(doc, view), UndoStatus::kRestored);
    EXPECT_EQ(doc.undo.current(), s.index);
    EXPECT_EQ(doc.table.value(kF1, 0), s.f1);
    EXPECT_FALSE(view.tableChanged);
    EXPECT_TRUE(doc.modified && doc.changedSinceSynthesis);
    EXPECT_EQ(doc.undo.count(), 3);  // restoring takes no snapshot
  }
}

TEST(UndoTest, NewEditAfterUndosAppendsBehindTheNewest) {
  CVandrelDoc doc;
  TableViewState view;
  for (double v : {300.0, 400.0, 500.0, 600.0}) editCell(doc, view, kF1, 0, v);
  undoCommand(doc, view);
  undoCommand(doc, view);
  editCell(doc, view, kF1, 0, 999);
  EXPECT_EQ(doc.undo.count(), 5);
  EXPECT_EQ(doc.undo.current(), 4);
  // Redo no longer reaches the entries between; undo walks back through them.
  redoCommand(doc, view);
  EXPECT_EQ(doc.table.value(kF1, 0), 999);
  for (double v : {600.0, 500.0, 400.0}) {
    undoCommand(doc, view);
    EXPECT_EQ(doc.table.value(kF1, 0), v);
  }
}

TEST(UndoTest, RestoreGivesWholeNumbersKeepsAnchorsShownRowsAndFollowsLength) {
  CVandrelDoc doc;
  shapeDoc(doc, 4, 10);
  TableViewState view;
  editCell(doc, view, kF1, 1, 333.75);
  editCell(doc, view, kF1, 3, 1e12);  // held to the row's upper limit
  doc.addColumnTimeMs = 30;
  addTime(doc, view);
  ASSERT_EQ(doc.table.columns(), 7);
  doc.params().setSelected(kF1, false);
  doc.params().setSelected(kF8, true);
  setCellAnchor(doc, kF2, 3, true);

  undoCommand(doc, view);
  EXPECT_EQ(doc.table.columns(), 4);
  EXPECT_EQ(doc.params().frameCount, 4);
  EXPECT_EQ(doc.params().fileLengthMs, 40);
  EXPECT_EQ(doc.table.value(kF1, 1), 333);
  EXPECT_EQ(doc.table.value(kF1, 3), 1300);
  EXPECT_EQ(doc.params().at(kF1).selected, 0);
  EXPECT_EQ(doc.params().at(kF8).selected, 1);
  EXPECT_TRUE(doc.table.anchor(kF2, 3));
  redoCommand(doc, view);
  EXPECT_EQ(doc.table.columns(), 7);
  EXPECT_EQ(doc.params().fileLengthMs, 70);
}

TEST(UndoTest, MemoryGrowsWithWhatChanged) {
  CVandrelDoc doc;
  shapeDoc(doc, 20000, 1);
  TableViewState view;
  editCell(doc, view, kF1, 0, 600);
  const std::size_t first = doc.undo.storageBytes();
  for (int i = 0; i < 200; ++i) editCell(doc, view, kF1, (i * 97) % 20000, 300 + i);
  // A whole snapshot is 48 x 20,000 x 4 bytes = 3.84 MB; one changed cell
  // must cost no more than a few kilobytes.
  EXPECT_LT(doc.undo.storageBytes() - first, 200U * 16U * 1024U);
}

// Random edits of every kind, with undos and redos among them; after each
// edit that appends, the picture that snapshot must hold. Undo all the way
// back gives the first, redo all the way forward the last, and every step
// between gives its own.
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
      const int count = doc.undo.count();
      bool snapshotBefore = false;  // Add/Subtract snapshots the table before its addition
      switch (pick(0, 10)) {
        case 0:
        case 1:
        case 2:
          editCell(doc, view, row, col, pick(-100000, 100000) / 7.0);
          break;
        case 3:
          view.selection = pick(0, 1) ? TableSelection::wholeRow(row) : TableSelection::wholeColumn(col);
          addSubtract(doc, view, pick(-50, 50));
          snapshotBefore = true;
          break;
        case 4:
          view.selection = TableSelection::block(col, row, pick(0, cols - 1), pick(0, kParamCount - 1));
          snapshotBefore = pick(0, 1) == 1;
          if (snapshotBefore) {
            addSubtract(doc, view, pick(-50, 50));
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
        default:
          // Undo or redo in the middle; later edits go on from the restored table.
          if (pictures.empty()) continue;
          ASSERT_EQ(step % 2 ? undoCommand(doc, view) : redoCommand(doc, view), UndoStatus::kRestored);
          ASSERT_EQ(pictureOf(doc.table, true), pictures[static_cast<std::size_t>(doc.undo.current())]);
          continue;
      }
      if (doc.undo.count() == count) continue;
      ASSERT_EQ(doc.undo.count(), count + 1);
      pictures.push_back(snapshotBefore ? before : pictureOf(doc.table));
    }
    ASSERT_GE(pictures.size(), 2U);
    const int last = static_cast<int>(pictures.size()) - 1;
    while (doc.undo.current() < last) ASSERT_EQ(redoCommand(doc, view), UndoStatus::kRestored);

    for (int i = last - 1; i >= 0; --i) {
      ASSERT_EQ(undoCommand(doc, view), UndoStatus::kRestored);
      ASSERT_EQ(pictureOf(doc.table, true), pictures[static_cast<std::size_t>(i)]) << "undo to " << i;
    }
    undoCommand(doc, view);
    ASSERT_EQ(pictureOf(doc.table, true), pictures.front());
    for (int i = 1; i <= last; ++i) {
      ASSERT_EQ(redoCommand(doc, view), UndoStatus::kRestored);
      ASSERT_EQ(pictureOf(doc.table, true), pictures[static_cast<std::size_t>(i)]) << "redo to " << i;
    }
    redoCommand(doc, view);
    ASSERT_EQ(pictureOf(doc.table, true), pictures.back());
  }
}

}  // namespace
}  // namespace vandrel
