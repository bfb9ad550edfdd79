#include "app/DocumentRecovery.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLocale>

#include <algorithm>
#include <new>

#include "app/CChildFrame.h"
#include "app/CMainFrame.h"
#include "app/OpenDocument.h"
#include "common/Messages.h"
#include "common/NativePath.h"
#include "document/VdrFile.h"
#include "labels/TextGrid.h"
#include "util/AtomicFile.h"

namespace vandrel::ui {

namespace {

int setting(const char* name, int fallback) {
  bool set = false;
  const int value = qEnvironmentVariableIntValue(name, &set);
  return set && value >= 0 ? value : fallback;
}

std::string native(const QString& path) { return QFile::encodeName(path).toStdString(); }

}  // namespace

QString DocumentRecovery::defaultRoot() {
  QString state = qEnvironmentVariable("XDG_STATE_HOME");
  if (!QDir::isAbsolutePath(state)) state = QDir::homePath() + QStringLiteral("/.local/state");
  return state + QStringLiteral("/vandrel/recovery");
}

DocumentRecovery::DocumentRecovery(CMainFrame& frame, const QString& root)
    : QObject(&frame), frame_(frame), recoveryRoot_(root) {
  runFolder_ = recoveryRoot_ + QStringLiteral("/%1-%2")
                                   .arg(QCoreApplication::applicationPid())
                                   .arg(QDateTime::currentMSecsSinceEpoch());
  if (QDir().mkpath(runFolder_)) {
    QFile::setPermissions(runFolder_, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    lock_ = std::make_unique<QLockFile>(runFolder_ + QStringLiteral("/lock"));
    lock_->tryLock(0);
  }
  writer_.setMaxThreadCount(1);
  timer_.setInterval(setting("VANDREL_RECOVERY_INTERVAL_MS", kIntervalMs));
  connect(&timer_, &QTimer::timeout, this, [this] { startCopies(false); });
  timer_.start();
  quiet_.setSingleShot(true);
  connect(&quiet_, &QTimer::timeout, this, [this] {
    waitingSince_.invalidate();
    startCopies(false);
  });
}

DocumentRecovery::~DocumentRecovery() {
  timer_.stop();
  quiet_.stop();
  writer_.waitForDone();
  if (lock_) lock_->unlock();
  QDir(runFolder_).removeRecursively();
}

QString DocumentRecovery::copyPath(int serial, const char* suffix) const {
  return runFolder_ + QStringLiteral("/%1.%2").arg(serial).arg(QLatin1String(suffix));
}

OpenDocument* DocumentRecovery::documentOf(int serial) const {
  for (CChildFrame* f : frame_.childFrames())
    if (f->document().serial() == serial) return &f->document();
  return nullptr;
}

void DocumentRecovery::saveNow() { startCopies(true); }

void DocumentRecovery::waitForWriter() {
  writer_.waitForDone();
  collect();
}

void DocumentRecovery::startCopies(bool wait) {
  // A copy on its way would make this one wait for the next round: let it
  // land first when the caller wants the copies written.
  if (wait) waitForWriter();
  QList<OpenDocument*> seen;
  for (CChildFrame* f : frame_.childFrames()) {
    OpenDocument* doc = &f->document();
    if (seen.contains(doc)) continue;
    seen << doc;
    if (!doc->isModified()) {
      forget(doc->serial());
      continue;
    }
    const int serial = doc->serial();
    const auto last = copied_.find(serial);
    if ((last != copied_.end() && last.value() == doc->revision()) || writing_.contains(serial)) continue;
    // The snapshot is what the file holds: the table, its settings and its
    // colours, without the sounds. Formatting and writing it, the slow part
    // for a long table, happen on the writer's thread. The snapshot's room
    // was made there too, after the first edit (see prepareSnapshot), and is
    // kept from one copy to the next: here the table is only copied.
    std::shared_ptr<vandrel::CVandrelDoc>& snapshot = snapshots_[serial];
    if (!snapshot) snapshot = std::make_shared<vandrel::CVandrelDoc>();
    const vandrel::CVandrelDoc& d = doc->doc();
    snapshot->setParamSets(d.paramSets());
    snapshot->replaceTable(d.table());  // into the room made before: no new allocation
    snapshot->setSampleRate(d.sampleRate());
    snapshot->setColors(d.colors());
    snapshot->setLabels(d.labels());  // never changed in place: safe to share with the writer
    const std::uint64_t revision = doc->revision();
    const std::string vdr = native(copyPath(serial, "vdr"));
    const std::string pathFile = native(copyPath(serial, "path"));
    const std::string labelsFile = native(copyPath(serial, "TextGrid"));
    const std::string belongsTo = nativePath(doc->path());
    writing_.insert(serial);
    writer_.start([this, snapshot, serial, revision, vdr, pathFile, labelsFile, belongsTo] {
      std::string error = vandrel::writeFileAtomically(pathFile, belongsTo);
      // The labels first: a copy whose table is there has its labels too.
      if (error.empty() && snapshot->labels())
        error = vandrel::saveTextGridFile(labelsFile, *snapshot->labels());
      if (error.empty() && !snapshot->labels()) QFile::remove(QFile::decodeName(labelsFile.c_str()));
      if (error.empty()) error = vandrel::saveVdrFile(vdr, *snapshot, vandrel::VdrKind::kAllParameters);
      {
        const QMutexLocker locker(&doneMutex_);
        done_.append(Written{serial, revision, QString::fromStdString(error)});
      }
      QMetaObject::invokeMethod(this, &DocumentRecovery::collect, Qt::QueuedConnection);
    });
  }
  if (wait) waitForWriter();
}

void DocumentRecovery::prepareSnapshot(OpenDocument& document) {
  const int serial = document.serial();
  const vandrel::CVandrelDoc& d = document.doc();
  std::shared_ptr<vandrel::CVandrelDoc>& snapshot = snapshots_[serial];
  if ((snapshot && snapshot->table().columns() == d.table().columns()) || writing_.contains(serial)) return;
  // A new snapshot's room for a long table is ~400 MB of pages, which the
  // system faults in and clears one by one as they are first written: about
  // a quarter of a second, here on the writer's thread rather than in the
  // window at the first copy. The copy itself (a second later) then only
  // moves the table's values.
  snapshot = std::make_shared<vandrel::CVandrelDoc>();
  writing_.insert(serial);
  writer_.start([this, room = snapshot, serial, columns = d.table().columns(), set = d.params()] {
    try {
      room->replaceTable(vandrel::FrameTable(columns, set));
    } catch (const std::bad_alloc&) {
      room->replaceTable(vandrel::FrameTable());  // the copy will try again, and say why it fails
    }
    {
      const QMutexLocker locker(&doneMutex_);
      done_.append(Written{serial, 0, QString(), true});
    }
    QMetaObject::invokeMethod(this, &DocumentRecovery::collect, Qt::QueuedConnection);
  });
}

void DocumentRecovery::collect() {
  QList<Written> done;
  {
    const QMutexLocker locker(&doneMutex_);
    done.swap(done_);
  }
  for (const Written& w : done) {
    writing_.remove(w.serial);
    if (dropWhenWritten_.remove(w.serial)) {
      QFile::remove(copyPath(w.serial, "vdr"));
      QFile::remove(copyPath(w.serial, "path"));
      QFile::remove(copyPath(w.serial, "TextGrid"));
      continue;
    }
    OpenDocument* doc = documentOf(w.serial);
    if (w.prepared) {
      // The copy that came due meanwhile was put off: it goes now.
      if (doc && doc->isModified() && !quiet_.isActive() && copied_.value(w.serial, 0) != doc->revision())
        startCopies(false);
      continue;
    }
    if (!w.error.isEmpty()) {
      if (doc) copyFailed(*doc, w.error);
      continue;
    }
    copied_.insert(w.serial, w.revision);
    failureShown_ = false;
    dropRecoveredCopy(w.serial);  // its own copy now stands in for it
    if (doc && doc->isModified() && doc->revision() != w.revision) edited(*doc);
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
  // One connection per document however many windows it has: the
  // document's address is the key.
  if (document.property("vandrelRecoveryWatched").toBool()) return;
  document.setProperty("vandrelRecoveryWatched", true);
  OpenDocument* d = &document;
  connect(&document, &OpenDocument::cellsChanged, this, [this, d] { edited(*d); });
  connect(&document, &OpenDocument::structureChanged, this, [this, d] { edited(*d); });
  connect(&document, &OpenDocument::labelsChanged, this, [this, d] { edited(*d); });
}

void DocumentRecovery::edited(OpenDocument& document) {
  if (!document.isModified()) return;
  if (!waitingSince_.isValid()) waitingSince_.start();
  const qint64 left = kMaxDelayMs - waitingSince_.elapsed();
  const qint64 quiet = setting("VANDREL_RECOVERY_QUIET_MS", kQuietMs);
  quiet_.start(static_cast<int>(std::clamp<qint64>(left, 0, quiet)));
  prepareSnapshot(document);
}

void DocumentRecovery::forget(int serial) {
  copied_.remove(serial);
  snapshots_.remove(serial);  // a copy on its way keeps its own share
  if (writing_.contains(serial)) dropWhenWritten_.insert(serial);
  QFile::remove(copyPath(serial, "vdr"));
  QFile::remove(copyPath(serial, "path"));
  QFile::remove(copyPath(serial, "TextGrid"));
  dropRecoveredCopy(serial);
}

void DocumentRecovery::dropRecoveredCopy(int serial) {
  const QString old = recoveredFrom_.take(serial);
  if (old.isEmpty()) return;
  const QFileInfo info(old);
  QFile::remove(old);
  QFile::remove(info.absolutePath() + QLatin1Char('/') + info.completeBaseName() + QStringLiteral(".path"));
  QFile::remove(info.absolutePath() + QLatin1Char('/') + info.completeBaseName() +
                QStringLiteral(".TextGrid"));
  const QDir folder = info.absoluteDir();
  if (!folder.entryList({QStringLiteral("*.vdr")}, QDir::Files).isEmpty()) return;
  for (auto it = adopted_.begin(); it != adopted_.end(); ++it)
    if (QFileInfo((*it)->fileName()).absoluteDir() == folder) {
      adopted_.erase(it);
      break;
    }
  QDir(folder).removeRecursively();
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
    bool any = false;
    for (const QString& copy : QDir(folder).entryList({QStringLiteral("*.vdr")}, QDir::Files, QDir::Name)) {
      Abandoned a;
      a.copy = folder + QLatin1Char('/') + copy;
      QFile path(folder + QLatin1Char('/') + QFileInfo(copy).completeBaseName() + QStringLiteral(".path"));
      if (path.open(QIODevice::ReadOnly)) a.originalPath = fromNativePath(path.readAll());
      a.when = QLocale::c().toString(QFileInfo(a.copy).lastModified(), QStringLiteral("d MMM yyyy HH:mm:ss"));
      found << a;
      any = true;
    }
    if (!any) QDir(folder).removeRecursively();  // an empty run left behind
  }
  return found;
}

int DocumentRecovery::offerAbandoned() {
  const QList<Abandoned> found = findAbandoned();
  if (found.isEmpty()) return 0;
  QString list;
  for (const Abandoned& a : found)
    list += QStringLiteral("\n    %1, copied %2")
                .arg(a.originalPath.isEmpty() ? QStringLiteral("an untitled table")
                                              : QDir::toNativeSeparators(a.originalPath),
                     a.when);
  const QString question = QStringLiteral(
                               "Vandrel did not close normally last time. Unsaved changes to %1 document(s) "
                               "were kept:%2\nRecover them now?")
                               .arg(found.size())
                               .arg(list);
  // "No" leaves the copies where they are: they are offered again next time.
  if (!askYesNo(&frame_, question)) return 0;
  int reopened = 0;
  for (const Abandoned& a : found) {
    if (!frame_.openRecoveredCopy(a.copy, a.originalPath)) continue;
    ++reopened;
    if (OpenDocument* doc = frame_.activeDocument()) recoveredFrom_.insert(doc->serial(), a.copy);
    // This run answers for the old copies now: no other editor offers them.
    const QString lockPath = QFileInfo(a.copy).absolutePath() + QStringLiteral("/lock");
    bool held = false;
    for (const auto& l : adopted_) held = held || l->fileName() == lockPath;
    if (!held) {
      auto lock = std::make_unique<QLockFile>(lockPath);
      if (lock->tryLock(0)) adopted_.push_back(std::move(lock));
    }
  }
  // Each old copy goes once the new run has its own.
  saveNow();
  return reopened;
}

}  // namespace vandrel::ui
