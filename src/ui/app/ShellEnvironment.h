#pragma once
// What the main frame needs from start-up: the temp folder, the loaded
// configuration, the profile, where the manual lies, and the dialogs.

#include <QString>

#include "app/ShellHooks.h"
#include "config/ConfigFile.h"

namespace vandrel::ui {

class AppProfile;

struct ShellEnvironment {
  ShellHooks hooks = ShellHooks::system();
  QString tempFolder;         // every working file and the configuration file live here
  QString applicationFolder;  // the executable's folder; the manual is under it
  vandrel::ConfigRecord config = vandrel::ConfigRecord::defaults();
  AppProfile* profile = nullptr;  // recent files; null keeps them for this run only

  QString configPath() const;  // tempFolder + "/VandrelConf.cfg"
  // applicationFolder + "/Manual/HelpIndex.html", or the installed copy under
  // ../share/doc/vandrel when only that one exists.
  QString helpPath() const;
};

}  // namespace vandrel::ui
