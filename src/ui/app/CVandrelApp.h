#pragma once
// CVandrelApp: start-up, in this order — the profile (five recent files),
// the temp folder, the configuration file from it, the main frame, dropped
// files, and the command line (a named file opens instead of a blank
// document). Any failure on the way shows its message and ends start-up
// before the main frame appears.

#include <QString>
#include <QStringList>

#include <memory>

#include "app/ShellHooks.h"
#include "config/ConfigFile.h"

namespace vandrel::ui {

class AppProfile;
class CMainFrame;

class CVandrelApp {
 public:
  explicit CVandrelApp(ShellHooks hooks = ShellHooks::system());
  ~CVandrelApp();

  // Runs start-up with the program's arguments (the first is the program).
  // False when start-up ended; the caller then leaves without an event loop.
  bool initInstance(const QStringList& arguments);

  CMainFrame* mainFrame() const { return mainFrame_.get(); }
  AppProfile& profile() { return *profile_; }

  // How the configuration file in the temp folder was found at start-up.
  vandrel::ConfigStatus configStatus() const { return configStatus_; }

  // The process-wide temp folder (empty before start-up found it).
  static QString tempFolder();

 private:
  ShellHooks hooks_;
  std::unique_ptr<AppProfile> profile_;
  std::unique_ptr<CMainFrame> mainFrame_;
  vandrel::ConfigStatus configStatus_ = vandrel::ConfigStatus::kMissing;
};

}  // namespace vandrel::ui
