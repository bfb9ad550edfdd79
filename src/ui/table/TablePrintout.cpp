#include "table/TablePrintout.h"

#include <QApplication>
#include <QDate>
#include <QFontMetricsF>
#include <QPainter>
#include <QPrinter>

#include <algorithm>
#include <cmath>

#include "app/CProgressDialog.h"
#include "document/VandrelDoc.h"
#include "editing/Clipboard.h"

namespace vandrel::ui {

namespace {

QColor toQColor(vandrel::Colorref c) {
  return QColor(vandrel::redOf(c), vandrel::greenOf(c), vandrel::blueOf(c));
}

QString nameOf(const vandrel::ParamDef& def) {
  return QString::fromUtf8(def.name.data(), static_cast<qsizetype>(def.name.size()));
}

const QColor kHeadingFill(232, 232, 232);
const QColor kGridLine(150, 150, 150);

// Prints of more pages than this show their progress.
constexpr int kQuietPages = 20;

}  // namespace

struct TablePrintout::Layout {
  QFont font;
  QFont titleFont;
  double rowHeight = 0;
  double sideWidth = 0;
  double cellWidth = 0;
  double padding = 0;
  double headerHeight = 0;  // the header line of a printed page
  double line = 1;          // grid line width
};

// A page holds one band of columns or, when few rows are shown, several
// bands one under the other.
struct TablePrintout::Pages {
  double scale = 1;  // shrinks a table whose rows do not fit the page's height
  double width = 0;  // of the page, in the painter's units after scaling
  double bandHeight = 0;
  int columnsPerBand = 1;
  int bandsPerPage = 1;
  int count = 1;
};

TablePrintout::TablePrintout(const vandrel::CVandrelDoc& doc, std::vector<int> shownRows)
    : doc_(doc), rows_(std::move(shownRows)) {}

TablePrintout::Layout TablePrintout::layoutFor(const QPaintDevice& device) const {
  Layout l;
  l.font = QApplication::font();
  l.font.setPointSizeF(8);
  l.titleFont = l.font;
  l.titleFont.setPointSizeF(9);
  l.titleFont.setBold(true);
  // QFontMetricsF takes a non-const device only to ask its resolution.
  QPaintDevice* d = const_cast<QPaintDevice*>(&device);
  const QFontMetricsF fm(l.font, d);
  l.padding = fm.averageCharWidth() * 0.6;
  l.rowHeight = std::ceil(fm.height() * 1.4);
  l.headerHeight = std::ceil(QFontMetricsF(l.titleFont, d).height() * 2.0);
  l.line = std::max(1.0, device.logicalDpiX() / 110.0);

  double side = fm.horizontalAdvance(QStringLiteral("ms"));
  const vandrel::ParameterSet& ps = doc_.params();
  for (const int r : rows_) side = std::max(side, fm.horizontalAdvance(nameOf(ps.at(r))));
  l.sideWidth = std::ceil(side + 2 * l.padding);

  // The widest value by its shape (sign, digits, decimals) rather than by
  // formatting every cell: a long table has millions of them.
  const vandrel::FrameTable& t = doc_.table();
  double largest = 0;
  bool negative = false, fraction = false;
  for (const int r : rows_) {
    const double* v = t.row(r);
    for (int c = 0; c < t.columns(); ++c) {
      const double shown = std::round(v[c] * 100.0) / 100.0;
      largest = std::max(largest, std::fabs(shown));
      negative = negative || shown < 0;
      fraction = fraction || shown != std::trunc(shown);
    }
  }
  QString widest = QString(std::max(1, static_cast<int>(std::floor(std::log10(std::max(largest, 1.0)))) + 1),
                           QLatin1Char('0'));
  if (negative) widest.prepend(QLatin1Char('-'));
  if (fraction) widest += QStringLiteral(".00");
  const QString lastHeading = QString::number(static_cast<qint64>(ps.intervalMs) * std::max(1, t.columns()));
  l.cellWidth =
      std::ceil(std::max(fm.horizontalAdvance(widest), fm.horizontalAdvance(lastHeading)) + 2 * l.padding);
  return l;
}

TablePrintout::Pages TablePrintout::pagesFor(QPrinter& printer, const Layout& l) const {
  Pages pg;
  const QRect area = printer.pageLayout().paintRectPixels(printer.resolution());
  const double table = (static_cast<double>(rows_.size()) + 1) * l.rowHeight + l.line;
  pg.bandHeight = table + l.rowHeight;  // a blank row's height between bands
  pg.scale = std::min(1.0, area.height() / (l.headerHeight + table));
  pg.width = area.width() / pg.scale;
  const double height = area.height() / pg.scale - l.headerHeight;
  pg.columnsPerBand = std::max(1, static_cast<int>((pg.width - l.sideWidth - l.line) / l.cellWidth));
  pg.bandsPerPage = std::max(1, static_cast<int>((height + l.rowHeight) / pg.bandHeight));
  const int bands = std::max(1, (doc_.table().columns() + pg.columnsPerBand - 1) / pg.columnsPerBand);
  pg.count = (bands + pg.bandsPerPage - 1) / pg.bandsPerPage;
  return pg;
}

int TablePrintout::pageCount(QPrinter& printer) const { return pagesFor(printer, layoutFor(printer)).count; }

void TablePrintout::print(QPrinter& printer, const QString& title) const {
  const Layout l = layoutFor(printer);
  const Pages pg = pagesFor(printer, l);
  int first = 0, last = pg.count - 1;
  if (printer.printRange() == QPrinter::PageRange && printer.fromPage() > 0) {
    first = std::min(printer.fromPage(), pg.count) - 1;
    last = std::clamp(printer.toPage() > 0 ? printer.toPage() : pg.count, first + 1, pg.count) - 1;
  }
  QPainter p;
  if (!p.begin(&printer)) return;
  const int columns = doc_.table().columns();
  const auto work = [&](const CProgressDialog::Progress& progress) {
    for (int page = first; page <= last; ++page) {
      if (page > first) printer.newPage();
      p.save();
      p.scale(pg.scale, pg.scale);
      drawHeaderLine(p, l, pg.width, title, page + 1, pg.count);
      for (int b = 0; b < pg.bandsPerPage; ++b) {
        const int c0 = (page * pg.bandsPerPage + b) * pg.columnsPerBand;
        if (c0 >= columns && (b > 0 || columns > 0)) break;
        drawColumns(p, l, c0, std::min(columns, c0 + pg.columnsPerBand) - 1, 0,
                    l.headerHeight + b * pg.bandHeight);
      }
      p.restore();
      if (progress) progress(page - first + 1, last - first + 1);
    }
  };
  if (last - first + 1 > kQuietPages)
    CProgressDialog::run(QApplication::activeWindow(), QStringLiteral(" Printing... "), work);
  else
    work({});
  p.end();
}

void TablePrintout::drawHeaderLine(QPainter& p, const Layout& l, double width, const QString& title, int page,
                                   int pages) const {
  p.setFont(l.titleFont);
  p.setPen(Qt::black);
  const QRectF band(0, 0, width, l.headerHeight * 0.7);
  p.drawText(band, Qt::AlignLeft | Qt::AlignVCenter, title);
  p.drawText(band, Qt::AlignHCenter | Qt::AlignVCenter, QStringLiteral("Page %1 of %2").arg(page).arg(pages));
  p.drawText(band, Qt::AlignRight | Qt::AlignVCenter, QDate::currentDate().toString(Qt::ISODate));
  p.setPen(QPen(Qt::black, l.line));
  p.drawLine(QPointF(0, band.bottom()), QPointF(width, band.bottom()));
}

void TablePrintout::drawColumns(QPainter& p, const Layout& l, int firstColumn, int lastColumn, double x,
                                double y) const {
  const vandrel::FrameTable& t = doc_.table();
  const vandrel::ParameterSet& ps = doc_.params();
  const int n = std::max(0, lastColumn - firstColumn + 1);
  const double cellsX = x + l.sideWidth;
  const double right = cellsX + n * l.cellWidth;
  const double bottom = y + (static_cast<double>(rows_.size()) + 1) * l.rowHeight;
  const auto cellRect = [&](int i, double top) {
    return QRectF(cellsX + i * l.cellWidth, top, l.cellWidth, l.rowHeight);
  };
  const auto textRect = [&](const QRectF& r) { return r.adjusted(l.padding, 0, -l.padding, 0); };

  // Backgrounds: headings grey, each row its group colour, anchors on top.
  p.setPen(Qt::NoPen);
  p.fillRect(QRectF(x, y, right - x, l.rowHeight), kHeadingFill);
  p.fillRect(QRectF(x, y, l.sideWidth, bottom - y), kHeadingFill);
  const QColor anchor = toQColor(doc_.anchorColor());
  for (std::size_t i = 0; i < rows_.size(); ++i) {
    const int r = rows_[i];
    const double top = y + (static_cast<double>(i) + 1) * l.rowHeight;
    p.fillRect(QRectF(cellsX, top, right - cellsX, l.rowHeight), toQColor(ps.at(r).color));
    for (int k = 0; k < n; ++k)
      if (t.anchor(r, firstColumn + k)) p.fillRect(cellRect(k, top), anchor);
  }

  // Grid lines.
  p.setPen(QPen(kGridLine, l.line));
  for (std::size_t i = 0; i <= rows_.size() + 1; ++i) {
    const double ly = y + static_cast<double>(i) * l.rowHeight;
    p.drawLine(QPointF(x, ly), QPointF(right, ly));
  }
  p.drawLine(QPointF(x, y), QPointF(x, bottom));
  for (int k = 0; k <= n; ++k)
    p.drawLine(QPointF(cellsX + k * l.cellWidth, y), QPointF(cellsX + k * l.cellWidth, bottom));

  // Text: the unit in the corner, end times along the top, names down the
  // side, values right-aligned as in the grid.
  p.setFont(l.font);
  p.setPen(Qt::black);
  p.drawText(textRect(QRectF(x, y, l.sideWidth, l.rowHeight)), Qt::AlignLeft | Qt::AlignVCenter,
             QStringLiteral("ms"));
  for (int k = 0; k < n; ++k)
    p.drawText(textRect(cellRect(k, y)), Qt::AlignRight | Qt::AlignVCenter,
               QString::number(static_cast<qint64>(ps.intervalMs) * (firstColumn + k + 1)));
  for (std::size_t i = 0; i < rows_.size(); ++i) {
    const int r = rows_[i];
    const double top = y + (static_cast<double>(i) + 1) * l.rowHeight;
    p.drawText(textRect(QRectF(x, top, l.sideWidth, l.rowHeight)), Qt::AlignLeft | Qt::AlignVCenter,
               nameOf(ps.at(r)));
    const double* v = t.row(r);
    for (int k = 0; k < n; ++k)
      p.drawText(textRect(cellRect(k, top)), Qt::AlignRight | Qt::AlignVCenter,
                 QString::fromStdString(vandrel::formatCellValue(v[firstColumn + k])));
  }
}

QImage TablePrintout::picture() const {
  QImage probe(1, 1, QImage::Format_RGB32);
  const Layout l = layoutFor(probe);
  const int columns = doc_.table().columns();
  const int perBand = std::max(1, static_cast<int>((kMaxBandWidth - l.sideWidth - l.line) / l.cellWidth));
  const double gap = l.rowHeight;  // white space between bands
  const double bandHeight = (static_cast<double>(rows_.size()) + 1) * l.rowHeight + l.line;
  const int width =
      static_cast<int>(std::ceil(l.sideWidth + std::min(columns, perBand) * l.cellWidth + l.line));
  const long long bandPixels = static_cast<long long>(width) * static_cast<long long>(bandHeight + gap);
  const int maxBands = static_cast<int>(std::max(1LL, kMaxPixels / std::max(1LL, bandPixels)));
  const int drawn = std::min(columns, maxBands * perBand);
  const int bands = std::max(1, (drawn + perBand - 1) / perBand);
  const int height = static_cast<int>(std::ceil(bands * bandHeight + (bands - 1) * gap));

  QImage image(width, height, QImage::Format_RGB32);
  image.setDotsPerMeterX(probe.dotsPerMeterX());
  image.setDotsPerMeterY(probe.dotsPerMeterY());
  image.fill(Qt::white);
  QPainter p(&image);
  for (int b = 0; b < bands; ++b)
    drawColumns(p, l, b * perBand, std::min(drawn, (b + 1) * perBand) - 1, 0, b * (bandHeight + gap));
  p.end();
  if (drawn < columns)
    image.setText(QStringLiteral("Omitted"),
                  QStringLiteral("frames %1 to %2 (%3 to %4 ms)")
                      .arg(drawn + 1)
                      .arg(columns)
                      .arg(static_cast<qint64>(doc_.params().intervalMs) * drawn)
                      .arg(static_cast<qint64>(doc_.params().intervalMs) * columns));
  return image;
}

}  // namespace vandrel::ui
