#pragma once
// What the analysis windows share when they save a picture or print one page:
// the drawing is made in 1/96-inch units and only scaled here, so the screen,
// the picture and the page come from one routine.

#include <QImage>
#include <QRectF>
#include <QString>
#include <functional>

class QPainter;
class QPrinter;

namespace vandrel::ui {

// Draws `draw(painter, area)` on its own area.
using DrawInto = std::function<void(QPainter&, const QRectF&)>;

// A white picture of `logical` (1/96 inch) at `dpi`, its resolution recorded
// in the image so that other programs show it at its size.
QImage renderPicture(QSizeF logical, double dpi, const DrawInto& draw);

// One printed page: a header line (`heading`, "Page 1", the date) and below it
// the drawing at `size`, made smaller only when the page cannot hold it.
void printOnePage(QPrinter& printer, const QString& heading, QSizeF size, const DrawInto& draw);

}  // namespace vandrel::ui
