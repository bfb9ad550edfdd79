#pragma once
// A document window that can be printed and saved as a picture. File > Print,
// Print Preview and "Save As bmp..." ask the active MDI window's widget for
// this interface, so every window kind (the table, the analysis views) brings
// its own drawing and the shell never learns what a view shows.

#include <QSizeF>

class QImage;
class QPainter;
class QPrinter;
class QString;

namespace vandrel::ui {

class Printable {
 public:
  virtual ~Printable() = default;

  // Draws the window's whole content (not only what is scrolled into view) on
  // `printer`, as many pages as it needs, each with a header line holding
  // `title` (the document's file name), the page number and the date.
  virtual void printTo(QPrinter& printer, const QString& title) = 0;

  // The window's whole content as one picture, for "Save As bmp...".
  virtual QImage picture() = 0;

  // A window that draws itself can also be saved as a drawing (SVG or PDF):
  // vectorSize() is its size in 1/96 inch, and paintVector() draws it into
  // (0, 0, vectorSize()). An empty size (the default) offers bitmaps only.
  virtual QSizeF vectorSize() { return {}; }
  virtual void paintVector(QPainter&) {}
};

}  // namespace vandrel::ui
