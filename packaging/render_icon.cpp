// Draws the editor's SVG icon as the PNG sizes a desktop's icon theme looks
// for. Run at build time, so the repository keeps only the drawing.
//   render_icon IN.svg SIZE OUT.png [SIZE OUT.png ...]

#include <QImage>
#include <QPainter>
#include <QSvgRenderer>

#include <cstdio>
#include <cstdlib>

int main(int argc, char** argv) {
  if (argc < 4 || argc % 2 != 0) {
    std::fprintf(stderr, "usage: render_icon IN.svg SIZE OUT.png [SIZE OUT.png ...]\n");
    return 2;
  }
  QSvgRenderer svg(QString::fromLocal8Bit(argv[1]));
  if (!svg.isValid()) {
    std::fprintf(stderr, "render_icon: cannot read %s\n", argv[1]);
    return 1;
  }
  for (int i = 2; i + 1 < argc; i += 2) {
    const int size = std::atoi(argv[i]);
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    svg.render(&painter);
    painter.end();
    if (size <= 0 || !image.save(QString::fromLocal8Bit(argv[i + 1]), "PNG")) {
      std::fprintf(stderr, "render_icon: cannot write %s\n", argv[i + 1]);
      return 1;
    }
  }
  return 0;
}
