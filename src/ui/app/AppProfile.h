#pragma once
// The per-user profile: QSettings under a fixed company name. It holds the
// temp folder ("General Strings Section" / "Temp Directory") and the five
// most recently used files ("Recent File List" / "File1" .. "File5").

#include <QSettings>
#include <QStringList>

namespace vandrel::ui {

class AppProfile {
 public:
  static constexpr const char* kCompany = "Vandrel Speech Lab";
  static constexpr const char* kApplication = "Vandrel";

  AppProfile();

  // Empty when unset.
  QString tempDirectory() const;
  // Writes and flushes; false when the profile could not be written.
  bool writeTempDirectory(const QString& path);

  QStringList recentFiles() const;
  void setRecentFiles(const QStringList& files);

  // `path` moved to the front of `list`, at most five entries kept.
  static QStringList withRecent(QStringList list, const QString& path);

 private:
  QSettings settings_;
};

}  // namespace vandrel::ui
