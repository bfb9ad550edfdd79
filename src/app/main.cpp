// vandrel: the editor.

#include <QApplication>
#include <QIcon>

#include "app/AppProfile.h"
#include "app/CVandrelApp.h"
#include "common/NativePath.h"

#ifndef VANDREL_VERSION
#define VANDREL_VERSION "0.1.0"
#endif

int main(int argc, char** argv) {
  QApplication app(argc, argv);
  QApplication::setOrganizationName(QString::fromLatin1(vandrel::ui::AppProfile::kCompany));
  QApplication::setApplicationName(QStringLiteral("Vandrel"));
  QApplication::setApplicationVersion(QStringLiteral(VANDREL_VERSION));
  QApplication::setDesktopFileName(QStringLiteral("vandrel"));

  vandrel::ui::CVandrelApp vandrelApp;
  // From argv, not QApplication::arguments(): a file name that is not UTF-8
  // must reach the open chain as the bytes it is.
  if (!vandrelApp.initInstance(vandrel::ui::nativeArguments(argc, argv))) return 1;
  QApplication::setWindowIcon(QIcon(QStringLiteral(":/icons/vandrel.svg")));
  return app.exec();
}
