#pragma once
// The editor's side of replacing a read-only file: it asks first.

#include <QDir>
#include <QFile>
#include <QString>

#include "common/Messages.h"
#include "common/NativePath.h"
#include "util/AtomicFile.h"

namespace vandrel::ui {

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
