#include "app/DocumentRecovery.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSet>

#include "app/CChildFrame.h"
#include "app/CMainFrame.h"
#include "app/OpenDocument.h"
#include "common/Messages.h"
#include "document/VdrFile.h"

namespace vandrel::ui {

DocumentRecovery::DocumentRecovery(CMainFrame& frame, const QString& tempFolder)
    : QObject(&frame), frame_(frame), recoveryRoot_(tempFolder + QStringLiteral("/recovery")) {
  runFolder_ = recoveryRoot_ + QStringLiteral("/%1-%2")
                                   .arg(QCoreApplication::applicationPid())
                                   .arg(QDateTime::currentMSecsSinceEpoch());
  if (QDir().mkpath(runFolder_)) {
    lock_ = std::make_unique<QLockFile>(runFolder_ + QStringLiteral("/lock"));
    lock_->tryLock(0);
  }
  bool set = false;
  const int interval = qEnvironmentVariableIntValue("VANDREL_RECOVERY_INTERVAL_MS", &set);
  timer_.setInterval(set && interval > 0 ? interval : kIntervalMs);
  connect(&timer_, &QTimer::timeout, this, &DocumentRecovery::saveNow);
  timer_.start();
}

DocumentRecovery::~DocumentRecovery() {
  timer_.stop();
  if (lock_) lock_->unlock();
  QDir(runFolder_).removeRecursively();
}

QString DocumentRecovery::copyPath(int serial, const char* suffix) const {
  return runFolder_ + QStringLiteral("/%1.%2").arg(serial).arg(QLatin1String(suffix));
}

void DocumentRecovery::saveNow() {
  QList<OpenDocument*> seen;
  for (CChildFrame* f : frame_.childFrames()) {
    OpenDocument* doc = &f->document();
    if (seen.contains(doc)) continue;
    seen << doc;
    if (!doc->isModified()) {
      forget(doc->serial());
      continue;
    }
    const auto last = copied_.find(doc->serial());
    if (last != copied_.end() && last.value() == doc->revision()) continue;
    const QString vdr = copyPath(doc->serial(), "vdr");
    const std::string error =
        vandrel::saveVdrFile(vdr.toStdString(), doc->doc(), vandrel::VdrKind::kAllParameters);
    if (!error.empty()) {
      copyFailed(*doc, QString::fromStdString(error));
      continue;
    }
    QFile path(copyPath(doc->serial(), "path"));
    if (path.open(QIODevice::WriteOnly | QIODevice::Truncate)) path.write(doc->path().toUtf8());
    copied_.insert(doc->serial(), doc->revision());
    failureShown_ = false;
  }
}

void DocumentRecovery::copyFailed(OpenDocument& doc, const QString& error) {
  const QString text =
      QStringLiteral(
          "The copy of unsaved work in %1 could not be kept.\n%2\nSave your work, or free some space.")
          .arg(doc.title(), error);
  frame_.showStatus(QStringLiteral("The copy of unsaved work in %1 could not be kept").arg(doc.title()),
                    15000);
  if (failureShown_) return;
  failureShown_ = true;
  warn(&frame_, text);
}

void DocumentRecovery::watch(OpenDocument& document) {
  connect(&document, &OpenDocument::aboutToSynthesize, this, &DocumentRecovery::saveNow,
          Qt::UniqueConnection);
}

void DocumentRecovery::forget(int serial) {
  if (!copied_.remove(serial)) return;
  QFile::remove(copyPath(serial, "vdr"));
  QFile::remove(copyPath(serial, "path"));
}

QList<DocumentRecovery::Abandoned> DocumentRecovery::findAbandoned() const {
  QList<Abandoned> found;
  const QDir root(recoveryRoot_);
  for (const QString& run : root.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
    const QString folder = root.filePath(run);
    if (QDir(folder) == QDir(runFolder_)) continue;
    QLockFile lock(folder + QStringLiteral("/lock"));
    if (!lock.tryLock(0)) continue;  // another editor is running with it
    lock.unlock();
    for (const QString& copy : QDir(folder).entryList({QStringLiteral("*.vdr")}, QDir::Files, QDir::Name)) {
      Abandoned a;
      a.copy = folder + QLatin1Char('/') + copy;
      QFile path(folder + QLatin1Char('/') + QFileInfo(copy).completeBaseName() + QStringLiteral(".path"));
      if (path.open(QIODevice::ReadOnly)) a.originalPath = QString::fromUtf8(path.readAll());
      found << a;
    }
    if (found.isEmpty()) QDir(folder).removeRecursively();  // an empty run left behind
  }
  return found;
}

int DocumentRecovery::offerAbandoned() {
  const QList<Abandoned> found = findAbandoned();
  if (found.isEmpty()) return 0;
  const QString question =
      QStringLiteral(
          "Vandrel did not close normally last time. Unsaved changes to %1 document(s) were kept.\n"
          "Recover them now?")
          .arg(found.size());
  int reopened = 0;
  if (askYesNo(&frame_, question)) {
    for (const Abandoned& a : found)
      if (frame_.openRecoveredCopy(a.copy, a.originalPath)) ++reopened;
  }
  QSet<QString> folders;
  for (const Abandoned& a : found) folders.insert(QFileInfo(a.copy).absolutePath());
  for (const QString& f : folders) QDir(f).removeRecursively();
  return reopened;
}

}  // namespace vandrel::ui
