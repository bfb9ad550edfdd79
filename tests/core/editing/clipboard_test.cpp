// Copy, Cut and Paste between the table and tab-separated text.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <tuple>
#include <vector>

#include "document/VandrelDoc.h"
#include "editing/AfterEdit.h"
#include "editing/Clipboard.h"
#include "editing/EditTransaction.h"
#include "editing/UndoCommands.h"

namespace vandrel {
namespace {

// Every row but f5 (hidden), a table of 6 frames.
std::vector<int> shownRowsForTest() {
  std::vector<int> rows;
  for (int r = 0; r < kParamCount; ++r)
    if (r != kF5) rows.push_back(r);
  return rows;
}

struct Fixture {
  Fixture() {
    doc.newTable(6, 10);
    for (int r = 0; r < kParamCount; ++r)
      for (int c = 0; c < 6; ++c) vandrel::EditTransaction(doc).setValue(r, c, 100 * r + c);
    afterEditStep(doc);  // the state that undo goes back to
  }
  CVandrelDoc doc;
  TableSelection selection;
  std::vector<int> shown = shownRowsForTest();
};

TEST(ClipboardTest, ValuesAreWrittenAsTheTableShowsThem) {
  for (const auto& [v, text] :
       {std::pair{12.0, "12"}, {-4.5, "-4.5"}, {1.0 / 3, "0.33"}, {2.999, "3"}, {-0.001, "0"}})
    EXPECT_EQ(formatCellValue(v), text) << v;
  // The texts the grid's columns are sized to: the fractions just inside the limits are the longest.
  using Texts = std::vector<std::string>;
  EXPECT_EQ(widestCellTexts(500, 5000), (Texts{"500", "5000", "500.01", "4999.99"}));
  EXPECT_EQ(widestCellTexts(-87, 0), (Texts{"-87", "0", "-86.99", "-0.01"}));
  EXPECT_EQ(widestCellTexts(7, 7), (Texts{"7", "7"}));
}

TEST(ClipboardTest, CopyThenPasteElsewhereIsOneUndoStepAndRoundTrips) {
  Fixture f;
  // Formant values within their limits, so that nothing is held on the way back.
  for (const auto& [r, c, v] :
       {std::tuple{kF6, 1, 1701.0}, {kF6, 2, 1702.0}, {kF4, 1, 1901.0}, {kF4, 2, 3500.5}})
    vandrel::EditTransaction(f.doc).setValue(r, c, v);
  // Dragged from bottom right to top left across the hidden f5 row.
  f.selection = TableSelection::block(2, kF4, 1, kF6);
  const std::string text = copySelection(f.doc, f.selection, f.shown);
  EXPECT_EQ(text, "1701\t1702\n1901\t3500.5\n");

  const PasteResult pasted = pasteText(f.doc, kF6, 4, text, f.shown);
  EXPECT_EQ(pasted.written, 4);
  EXPECT_EQ(pasted.skipped + pasted.outside, 0);
  EXPECT_EQ(f.doc.table().value(kF6, 4), 1701);
  EXPECT_EQ(f.doc.table().value(kF6, 5), 1702);
  EXPECT_EQ(f.doc.table().value(kF5, 4), 804);  // hidden: passed over
  EXPECT_EQ(f.doc.table().value(kF4, 5), 3500.5);
  EXPECT_EQ(f.doc.undo().count(), 2);
  EXPECT_TRUE(f.doc.modified() && f.doc.tableChanged());

  ASSERT_EQ(undoCommand(f.doc), UndoStatus::kRestored);
  EXPECT_EQ(f.doc.table().value(kF6, 4), 704);
  EXPECT_EQ(f.doc.table().value(kF4, 5), 905);
  // Rows, columns and a selection outside the table.
  EXPECT_EQ(copySelection(f.doc, TableSelection::wholeRow(kF0), f.shown), "0\t1\t2\t3\t4\t5\n");
  const std::string column = copySelection(f.doc, TableSelection::wholeColumn(3), f.shown);
  EXPECT_EQ(std::count(column.begin(), column.end(), '\n'), kParamCount - 1);
  EXPECT_EQ(column.substr(0, 17), "3\n103\n203\n303\n403");
  EXPECT_EQ(copySelection(f.doc, TableSelection::wholeRow(kF5), f.shown), "");
  EXPECT_EQ(copySelection(f.doc, TableSelection::wholeColumn(6), f.shown), "");
  EXPECT_EQ(copySelection(f.doc, TableSelection::none(), f.shown), "");

  // Paste starts at the block's top left while the current cell is inside it.
  using Cell = std::pair<int, int>;
  const TableSelection block = TableSelection::block(4, kF1, 2, kAv);
  EXPECT_EQ(pasteTarget(block, f.doc.table(), kF2, 4), Cell(kAv, 2));
  EXPECT_EQ(pasteTarget(block, f.doc.table(), kGain, 0), Cell(kGain, 0));
  EXPECT_EQ(pasteTarget(TableSelection::wholeRow(kAv), f.doc.table(), kAv, 3), Cell(kAv, 0));
}

TEST(ClipboardTest, PastedTextFromSpreadsheetsAndEditors) {
  const struct {
    const char* name;
    const char* text;
    int row, column;
    int written, skipped, outside;
    std::vector<double> av;  // row av afterwards
  } cases[] = {
      // clang-format off
      {"one not a number", "12\tabc\t40", kAv, 1, 2, 1, 0, {100, 12, 102, 40, 104, 105}},
      {"held to the limits", "5000\t-5\t42.5", kAv, 0, 3, 0, 0, {87, 0, 42.5, 103, 104, 105}},
      {"units and decimal commas are not numbers", "12ms\t12,5\t\t 7 ", kAv, 0, 1, 3, 0, {100, 101, 102, 7, 104, 105}},
      {"past the last frame", "1\t2\t3", kAv, 4, 2, 0, 1, {100, 101, 102, 103, 1, 2}},
      {"CR LF lines go to the next shown rows", "1\r\n2\r\n", kF0, 2, 2, 0, 0, {100, 101, 2, 103, 104, 105}},
      {"LF and CR alike", "3\n4\r5", kF0, 0, 3, 0, 0, {4, 101, 102, 103, 104, 105}},
      {"lines past the last shown row", "6\n7\n8", kGain, 0, 1, 0, 2, {100, 101, 102, 103, 104, 105}},
      {"nothing to paste", "", kAv, 0, 0, 0, 0, {100, 101, 102, 103, 104, 105}},
      // clang-format on
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    Fixture f;
    const PasteResult r = pasteText(f.doc, c.row, c.column, c.text, f.shown);
    EXPECT_EQ(r.written, c.written);
    EXPECT_EQ(r.skipped, c.skipped);
    EXPECT_EQ(r.outside, c.outside);
    EXPECT_EQ(std::vector<double>(f.doc.table().row(kAv), f.doc.table().row(kAv) + 6), c.av);
    EXPECT_EQ(f.doc.undo().count(), c.written > 0 ? 2 : 1);
    EXPECT_EQ(f.doc.modified(), c.written > 0);
  }
}

TEST(ClipboardTest, PasteFollowsTheAfterEditOptions) {
  Fixture f;
  f.doc.setAutoInterpolate(true);
  f.doc.setAnchorAfterEdit(true);
  ASSERT_EQ(pasteText(f.doc, kAv, 0, "10\t\t\t40", f.shown).written, 2);
  EXPECT_TRUE(f.doc.table().anchor(kAv, 0) && f.doc.table().anchor(kAv, 3) && !f.doc.table().anchor(kAv, 1));
  EXPECT_EQ(f.doc.table().value(kAv, 1), 20);
  EXPECT_EQ(f.doc.table().value(kAv, 2), 30);
  EXPECT_EQ(f.doc.undo().count(), 2);
  EXPECT_EQ(f.doc.undo().valueAt(1, kAv, 2), 30);  // taken after the interpolation
}

TEST(ClipboardTest, CutCopiesThenLeavesDefaultsInShownRowsAsOneStep) {
  Fixture f;
  f.selection = TableSelection::block(1, kF6, 2, kF4);
  EXPECT_EQ(cutSelection(f.doc, f.selection, f.shown), "701\t702\n901\t902\n");
  const ParameterSet& ps = f.doc.params();
  EXPECT_EQ(f.doc.table().value(kF6, 1), ps.at(kF6).defaultValue);
  EXPECT_EQ(f.doc.table().value(kF4, 2), ps.at(kF4).defaultValue);
  EXPECT_EQ(f.doc.table().value(kF5, 1), 801);  // hidden, not copied: kept
  EXPECT_EQ(f.doc.table().value(kF6, 3), 703);
  EXPECT_EQ(f.doc.undo().count(), 2);
  ASSERT_EQ(undoCommand(f.doc), UndoStatus::kRestored);
  EXPECT_EQ(f.doc.table().value(kF6, 1), 701);

  f.selection = TableSelection::wholeRow(kF5);
  EXPECT_EQ(cutSelection(f.doc, f.selection, f.shown), "");
  EXPECT_EQ(f.doc.undo().count(), 2);
}

}  // namespace
}  // namespace vandrel
