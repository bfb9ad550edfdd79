#pragma once
// File names as the system gives them. Linux names are bytes; Qt turns
// bytes that are not UTF-8 into U+FFFD, so "caf\xE9.vdr" (a Latin-1 name)
// would come back as another file, or none. These two functions carry such
// bytes through a QString unchanged: each byte 0x80..0xFF that is not part of
// a UTF-8 character becomes U+F780..U+F7FF, a private-use character that a
// QString, a QFileInfo and the profile keep as they are, and becomes the
// byte again on the way out. Every path the editor hands the core goes
// through nativePath.

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <string>

namespace vandrel::ui {

QString fromNativePath(const QByteArray& bytes);

// The bytes the system knows the file by.
std::string nativePath(const QString& path);

// The program's arguments from main's argv, after QApplication has taken
// its own options out.
QStringList nativeArguments(int argc, char** argv);

}  // namespace vandrel::ui
