#include "app/ShellEnvironment.h"

#include <QDir>
#include <QFileInfo>

namespace vandrel::ui {

QString ShellEnvironment::configPath() const {
  return tempFolder + QLatin1Char('/') +
         QString::fromUtf8(vandrel::kConfigFileName.data(),
                           static_cast<qsizetype>(vandrel::kConfigFileName.size()));
}

// Beside the executable in a build folder or an unpacked copy; a package
// keeps documentation apart, in <prefix>/share/doc/vandrel beside <prefix>/bin.
QString ShellEnvironment::helpPath() const {
  const QString manual = QStringLiteral("/Manual/HelpIndex.html");
  const QString beside = applicationFolder + manual;
  const QString packaged =
      QDir::cleanPath(applicationFolder + QStringLiteral("/../share/doc/vandrel") + manual);
  if (!QFileInfo::exists(beside) && QFileInfo::exists(packaged)) return packaged;
  return beside;
}

}  // namespace vandrel::ui
