#include "app/TempFolder.h"

#include <QDir>
#include <QFile>

#include "app/AppProfile.h"
#include "app/ShellHooks.h"
#include "common/Messages.h"

namespace vandrel::ui {

namespace {

const QString kRegistryMessage = QStringLiteral(
    "Unable to update the system registry.\nPlease contact your system administrator and/or the vender.");
const QString kCreateMessage = QStringLiteral("Error in creating a temp folder.\n");
const QString kAccessMessage = QStringLiteral(
    "Application was not able to access the default temperorily folder to read and write files. This "
    "function is "
    "necessary part of operation.\nThis may be due to not having enough access priviledges on your "
    "account.\nPlease "
    "select from the following box another suitable location, or contact your system administrator.");
const QString kChooserTitle = QStringLiteral("Please select a temp folder.");
const QString kCancelMessage = QStringLiteral("Operation cannot continue without a temp folder.");

}  // namespace

QString defaultTempFolder() { return QDir::tempPath() + QStringLiteral("/tmp"); }

bool canWriteIn(const QString& folder) {
  QFile probe(folder + QStringLiteral("/xxx"));
  if (!probe.open(QIODevice::WriteOnly | QIODevice::Truncate)) return false;
  const bool written = probe.write("x", 1) == 1;
  probe.close();
  return probe.remove() && written;
}

QString findTempFolder(AppProfile& profile, const ShellHooks& hooks, QWidget* parent) {
  QString folder = profile.tempDirectory();
  if (folder.isEmpty()) {
    // A profile that cannot be written would still hand the value back from
    // memory; only a successful write counts as stored.
    const bool stored = profile.writeTempDirectory(defaultTempFolder());
    folder = stored ? profile.tempDirectory() : QString();
    if (folder.isEmpty()) {
      warn(parent, kRegistryMessage);
      return {};
    }
  }

  if (!QDir(folder).exists() && !QDir().mkpath(folder)) {
    warn(parent, kCreateMessage);
    return {};
  }

  if (canWriteIn(folder)) return folder;

  warn(parent, kAccessMessage);
  const QString chosen = hooks.existingDirectory(parent, kChooserTitle, QDir::homePath());
  if (chosen.isEmpty()) {
    warn(parent, kCancelMessage);
    return {};
  }
  if (!profile.writeTempDirectory(chosen)) {
    warn(parent, kRegistryMessage);
    return {};
  }
  return chosen;
}

}  // namespace vandrel::ui
