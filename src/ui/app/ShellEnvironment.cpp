#include "app/ShellEnvironment.h"

namespace vandrel::ui {

QString ShellEnvironment::configPath() const {
  return tempFolder + QLatin1Char('/') +
         QString::fromUtf8(vandrel::kConfigFileName.data(),
                           static_cast<qsizetype>(vandrel::kConfigFileName.size()));
}

QString ShellEnvironment::helpPath() const {
  return applicationFolder + QStringLiteral("/Manual/HelpIndex.html");
}

}  // namespace vandrel::ui
