#pragma once
// What every picture tool shares: a scratch profile, saving a picture with its
// file name printed for the person who looks at them, and a synthetic mouse.

#include <QApplication>
#include <QImage>
#include <QMouseEvent>
#include <QTemporaryDir>
#include <QWidget>
#include <cstdio>
#include <cstdlib>

namespace vandrel::shots {

// A scratch profile: the pictures show the defaults, and the user's own
// settings and recent files stay untouched. Make it before the QApplication.
class ScratchProfile {
 public:
  ScratchProfile() {
    if (dir_.isValid()) setenv("XDG_CONFIG_HOME", qPrintable(dir_.path()), 1);
  }
  bool valid() const { return dir_.isValid(); }
  QString path() const { return dir_.path(); }

 private:
  QTemporaryDir dir_;
};

inline int& failures() {
  static int count = 0;
  return count;
}

inline bool save(const QImage& image, const QString& file) {
  if (image.save(file, "PNG")) {
    std::printf("%s\n", qPrintable(file));
    return true;
  }
  std::fprintf(stderr, "%s: cannot write %s\n", qPrintable(QCoreApplication::applicationName()),
               qPrintable(file));
  ++failures();
  return false;
}

inline int exitCode() { return failures() == 0 ? 0 : 1; }

// A left-button press, move or release at `at`, as the window would get it.
inline void mouse(QWidget* w, QEvent::Type type, QPoint at) {
  const Qt::MouseButtons held = type == QEvent::MouseButtonRelease ? Qt::NoButton : Qt::LeftButton;
  const Qt::MouseButton button = type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton;
  QMouseEvent e(type, QPointF(at), QPointF(w->mapToGlobal(at)), button, held, Qt::NoModifier);
  QApplication::sendEvent(w, &e);
}

}  // namespace vandrel::shots
