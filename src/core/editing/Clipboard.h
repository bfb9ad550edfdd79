#pragma once
// The table and the clipboard: the selection as tab-separated text (one line
// per shown row, cells separated by tabs), the text a spreadsheet or a text
// editor puts on the clipboard written back into the table, and Cut.
//
// Only shown rows take part. A hidden row inside a selection is neither
// copied nor cleared, and pasted lines go to the shown rows one after the
// other, so what the user sees copied is what lands where they see it.

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "document/VandrelDoc.h"
#include "editing/TableSelection.h"

namespace vandrel {

// A value as the table shows it: a whole number as an integer, anything else
// rounded to two decimals without trailing zeros, always with a point ("12",
// "0.33", "-4.5").
std::string formatCellValue(double v);

// The longest texts a cell of a row held to [lower, upper] can show: the
// limits, and the values a hundredth inside them, whose fractions make them
// longer ("4999.99" beside "5000"). The grid sizes its columns to the widest.
std::vector<std::string> widestCellTexts(int lower, int upper);

// The cells a selection covers, first row and column first whichever way the
// block was made; nothing for no selection or one that lies outside the table.
std::optional<CellRange> selectedCells(const TableSelection& selection, const FrameTable& table);

// The selected cells of the rows in `shownRows` (ascending) as text: values
// as formatCellValue writes them, a tab between cells, "\n" after each line.
// Empty when no shown row is selected.
std::string copySelection(const CVandrelDoc& doc, const TableSelection& selection,
                          const std::vector<int>& shownRows);

// Copy, then every copied cell takes its row's default (as it is, not held
// to the limits) as one undo step. Returns the copied text; nothing changes
// when it is empty.
std::string cutSelection(CVandrelDoc& doc, const TableSelection& selection,
                         const std::vector<int>& shownRows);

// Where Paste puts its first cell: the top left cell of the selection when
// the current cell lies inside it (a block dragged or grown with Shift+arrows
// leaves the current cell at its far end), otherwise the current cell - the
// selection may be an old one the user has since moved away from.
std::pair<int, int> pasteTarget(const TableSelection& selection, const FrameTable& table, int currentRow,
                                int currentColumn);

struct PasteResult {
  int written = 0;  // cells that took a value
  int skipped = 0;  // cells whose text is not a number (empty ones included)
  int outside = 0;  // cells past the last shown row or the last frame
};

// Writes tab-separated text (lines ended by CR LF, LF or CR) into the table:
// its first cell goes to (`row`, `column`), the following lines to the next
// shown rows, the following cells to the next frames. Each value is held to
// its row's limits, as typing it would be; with the after-edit options on
// the written cells become anchors and the table is interpolated once. All
// of it is one undo step; nothing changes when no cell was written. A cell is
// a number only when its whole text is one ("12", "-3.5", "1e3", blanks
// around allowed); "12ms", "12,5" and "abc" are skipped.
PasteResult pasteText(CVandrelDoc& doc, int row, int column, std::string_view text,
                      const std::vector<int>& shownRows);

}  // namespace vandrel
