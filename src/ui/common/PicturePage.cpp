#include "common/PicturePage.h"

#include <QDate>
#include <QPainter>
#include <QPrinter>
#include <algorithm>

namespace vandrel::ui {

QImage renderPicture(QSizeF logical, double dpi, const DrawInto& draw) {
  const double scale = dpi / 96.0;
  QImage image((logical * scale).toSize(), QImage::Format_RGB32);
  image.setDotsPerMeterX(static_cast<int>(dpi / 0.0254));
  image.setDotsPerMeterY(static_cast<int>(dpi / 0.0254));
  image.fill(Qt::white);
  QPainter p(&image);
  p.scale(scale, scale);
  draw(p, QRectF(QPointF(0, 0), logical));
  return image;
}

void printOnePage(QPrinter& printer, const QString& heading, QSizeF size, const DrawInto& draw) {
  QPainter p(&printer);
  if (!p.isActive()) return;
  const QRectF page = printer.pageLayout().paintRectPixels(printer.resolution());
  const double scale = printer.resolution() / 96.0;
  p.scale(scale, scale);
  const QRectF area(0, 0, page.width() / scale, page.height() / scale);
  QFont f = p.font();
  f.setPixelSize(11);
  p.setFont(f);
  const QRectF head(area.left(), area.top(), area.width(), 20);
  p.drawText(head, Qt::AlignLeft | Qt::AlignVCenter, heading);
  p.drawText(head, Qt::AlignHCenter | Qt::AlignVCenter, QStringLiteral("Page 1"));
  p.drawText(head, Qt::AlignRight | Qt::AlignVCenter, QDate::currentDate().toString(Qt::ISODate));
  size *= std::min({1.0, area.width() / size.width(), (area.height() - 28) / size.height()});
  draw(p, QRectF(QPointF(area.left(), head.bottom() + 8), size));
}

}  // namespace vandrel::ui
