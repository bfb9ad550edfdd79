#pragma once
// Finding the temp folder at start-up: the profile's "Temp Directory", else
// the system's temporary path + "/tmp"; created when missing, tested by
// writing and deleting the file "xxx" in it, and replaced by a folder the
// user picks when that test fails.

#include <QString>

class QWidget;

namespace vandrel::ui {

class AppProfile;
struct ShellHooks;

// The system's temporary path + "/tmp".
QString defaultTempFolder();

// True when a file can be created in `folder` and deleted again.
bool canWriteIn(const QString& folder);

// The folder to use, or an empty string when start-up must end; the
// message saying why has then been shown. Nothing but "Temp Directory" is
// written to the profile.
QString findTempFolder(AppProfile& profile, const ShellHooks& hooks, QWidget* parent = nullptr);

}  // namespace vandrel::ui
