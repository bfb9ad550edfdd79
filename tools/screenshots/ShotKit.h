#pragma once
// What every picture tool shares: a scratch profile, the start of a tool and
// of its main window, saving a picture with its file name printed for the
// person who looks at them, and a synthetic mouse.

#include <QApplication>
#include <QDir>
#include <QImage>
#include <QMouseEvent>
#include <QTemporaryDir>
#include <QTest>
#include <QWidget>
#include <cstdio>
#include <cstdlib>
#include <optional>

#include "app/CMainFrame.h"
#include "app/ShellEnvironment.h"
#include "common/Messages.h"

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

// The start of a picture tool: the scratch profile (made before the
// application), the application, and the folder named first on the command
// line, made. When it is missing, `usage` is printed and ok() is false.
class PictureTool {
 public:
  PictureTool(int& argc, char** argv, const char* usage) {
    if (argc < 2) {
      std::fprintf(stderr, "usage: %s\n", usage);
      code_ = 2;
      return;
    }
    app_.emplace(argc, argv);
    folder_ = QApplication::arguments().at(1);
    if (!scratch_.valid() || !QDir().mkpath(folder_)) code_ = 1;
  }
  bool ok() const { return code_ == 0; }
  int failure() const { return code_; }
  const QString& folder() const { return folder_; }
  QString scratchPath() const { return scratch_.path(); }
  // The command line's argument `i`, or `otherwise` without it.
  QString argument(int i, const QString& otherwise) const {
    return QApplication::arguments().value(i, otherwise);
  }
  // The main window's environment: temporary files in the scratch profile.
  ui::ShellEnvironment environment() const {
    ui::ShellEnvironment env;
    env.tempFolder = scratch_.path();
    env.applicationFolder = QCoreApplication::applicationDirPath();
    return env;
  }

 private:
  ScratchProfile scratch_;
  std::optional<QApplication> app_;
  QString folder_;
  int code_ = 0;
};

// Message boxes answered with OK, unseen (the pictures are taken without a
// person to close them).
inline void answerMessagesUnseen() {
  ui::setMessagePresenter([](const ui::MessageRequest&) { return QMessageBox::Ok; });
}

// The main window at the pictures' size, shown and settled.
inline void showAtPictureSize(ui::CMainFrame& frame) {
  frame.resize(1500, 950);
  frame.show();
  QTest::qWait(200);
}

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
