#include "app/AppProfile.h"

#include "app/CommandIds.h"

namespace vandrel::ui {

namespace {
const QString kSection = QStringLiteral("General Strings Section");
const QString kTempKey = QStringLiteral("Temp Directory");
const QString kRecentSection = QStringLiteral("Recent File List");
}  // namespace

AppProfile::AppProfile() : settings_(QSettings::IniFormat, QSettings::UserScope, kCompany, kApplication) {}

QString AppProfile::tempDirectory() const { return settings_.value(kSection + "/" + kTempKey).toString(); }

bool AppProfile::writeTempDirectory(const QString& path) {
  settings_.setValue(kSection + "/" + kTempKey, path);
  settings_.sync();
  return settings_.status() == QSettings::NoError;
}

QStringList AppProfile::recentFiles() const {
  QStringList files;
  for (int i = 1; i <= kRecentFileCount; ++i) {
    const QString f = settings_.value(QStringLiteral("%1/File%2").arg(kRecentSection).arg(i)).toString();
    if (!f.isEmpty()) files << f;
  }
  return files;
}

void AppProfile::setRecentFiles(const QStringList& files) {
  for (int i = 1; i <= kRecentFileCount; ++i) {
    const QString key = QStringLiteral("%1/File%2").arg(kRecentSection).arg(i);
    if (i <= files.size())
      settings_.setValue(key, files.at(i - 1));
    else
      settings_.remove(key);
  }
  settings_.sync();
}

QStringList AppProfile::withRecent(QStringList list, const QString& path) {
  list.removeAll(path);
  list.prepend(path);
  while (list.size() > kRecentFileCount) list.removeLast();
  return list;
}

}  // namespace vandrel::ui
