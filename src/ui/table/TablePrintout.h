#pragma once
// TablePrintout: the parameter table drawn with QPainter - on paper, cut into
// pages by columns, and as one picture for "Save As bmp...".
//
// Every page carries a header line (file name, page number, date) and the
// table's own headings: the parameter names down the side and the frames'
// end times (ms) along the top, so a page torn off the stack still reads on
// its own. Cells carry their row's group colour, anchors the anchor colour,
// values as the grid shows them. Drawn directly rather than through
// QWidget::render(), which would embed a bitmap of the screen instead of
// text a PDF reader can search.

#include <QImage>
#include <QString>

#include <vector>

class QPainter;
class QPaintDevice;
class QPrinter;

namespace vandrel {
class CVandrelDoc;
}

namespace vandrel::ui {

class TablePrintout {
 public:
  // `shownRows`: the rows the table shows, top to bottom.
  TablePrintout(const vandrel::CVandrelDoc& doc, std::vector<int> shownRows);

  // Prints every page, or the range chosen in the print dialog. A long
  // print shows its progress.
  void print(QPrinter& printer, const QString& title) const;
  int pageCount(QPrinter& printer) const;

  // The whole table. A table wider than kMaxBandWidth pixels is wrapped into
  // bands of columns, one under the other, each with its headings. One too
  // large for a picture of kMaxPixels keeps its first frames and names the
  // others in the image text "Omitted".
  QImage picture() const;

  static constexpr int kMaxBandWidth = 16000;
  static constexpr long long kMaxPixels = 24'000'000;

 private:
  struct Layout;
  struct Pages;
  Layout layoutFor(const QPaintDevice& device) const;
  Pages pagesFor(QPrinter& printer, const Layout& l) const;
  void drawHeaderLine(QPainter& p, const Layout& l, double width, const QString& title, int page,
                      int pages) const;
  // Columns firstColumn..lastColumn with both headings, top left at (x, y).
  void drawColumns(QPainter& p, const Layout& l, int firstColumn, int lastColumn, double x, double y) const;

  const vandrel::CVandrelDoc& doc_;
  std::vector<int> rows_;
};

}  // namespace vandrel::ui
