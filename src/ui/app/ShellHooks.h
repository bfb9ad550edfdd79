#pragma once
// The shell's dialogs and its one call into the desktop, as replaceable
// functions: the program uses the real ones, tests answer them.

#include <QString>
#include <QUrl>

#include <functional>

class QWidget;

namespace vandrel::ui {

struct ShellHooks {
  // Each returns the chosen path, or an empty string when the user cancels.
  std::function<QString(QWidget* parent, const QString& caption, const QString& dir, const QString& filter)>
      openFileName;
  std::function<QString(QWidget* parent, const QString& caption, const QString& suggested,
                        const QString& filter)>
      saveFileName;
  std::function<QString(QWidget* parent, const QString& caption, const QString& start)> existingDirectory;
  // Opens a file with the desktop's program for it; false when that failed.
  std::function<bool(const QUrl& url)> openUrl;

  // Qt's file dialogs and QDesktopServices.
  static ShellHooks system();
};

}  // namespace vandrel::ui
