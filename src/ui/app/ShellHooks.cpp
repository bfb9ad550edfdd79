#include "app/ShellHooks.h"

#include <QDesktopServices>
#include <QFileDialog>

namespace vandrel::ui {

ShellHooks ShellHooks::system() {
  ShellHooks h;
  h.openFileName = [](QWidget* parent, const QString& caption, const QString& dir, const QString& filter) {
    return QFileDialog::getOpenFileName(parent, caption, dir, filter);
  };
  h.saveFileName = [](QWidget* parent, const QString& caption, const QString& suggested,
                      const QString& filter) {
    return QFileDialog::getSaveFileName(parent, caption, suggested, filter);
  };
  h.existingDirectory = [](QWidget* parent, const QString& caption, const QString& start) {
    // An edit box and a "new folder" button come with Qt's own dialog.
    return QFileDialog::getExistingDirectory(parent, caption, start,
                                             QFileDialog::ShowDirsOnly | QFileDialog::DontUseNativeDialog);
  };
  h.openUrl = [](const QUrl& url) { return QDesktopServices::openUrl(url); };
  return h;
}

}  // namespace vandrel::ui
