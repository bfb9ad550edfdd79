#pragma once
// The editor's side of replacing a read-only file: it asks first.

#include <QDir>
#include <QFile>
#include <QString>

#include "common/Messages.h"
#include "util/AtomicFile.h"

namespace vandrel::ui {

// The bytes the system knows the file by: a name that is not valid UTF-8
// reaches the writers as it was given.
inline std::string nativePath(const QString& path) { return QFile::encodeName(path).toStdString(); }

// How `path` may be written: a read-only file only when the user agrees.
// False when the user keeps the file; nothing is to be written then.
inline bool mayReplace(QWidget* parent, const QString& path, vandrel::WriteOptions& options) {
  options = {};
  if (!vandrel::isReadOnlyFile(nativePath(path))) return true;
  if (!askYesNo(parent,
                QStringLiteral("%1 is read-only.\nReplace it anyway?").arg(QDir::toNativeSeparators(path))))
    return false;
  options.replaceReadOnly = true;
  return true;
}

}  // namespace vandrel::ui
