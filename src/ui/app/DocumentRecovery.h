#pragma once
// Copies of unsaved work, so that a crash, a killed editor or a lost session
// loses nothing but the last second of it.
//
// A modified document is copied a second after its last edit (at most five
// seconds after the first edit since its last copy, however busy the
// editing), every 30 seconds, and before it is synthesized. The copy is made
// from a snapshot of the table and written on a worker thread, so a long
// table does not hold the window up. The copies live in the per-user state
// folder, which survives a reboot (the temp folder may be emptied at boot):
//
//   $XDG_STATE_HOME/vandrel/recovery/<run>/lock      held (QLockFile) while the run lives
//   $XDG_STATE_HOME/vandrel/recovery/<run>/<n>.vdr   document n, all 48 parameters
//   $XDG_STATE_HOME/vandrel/recovery/<run>/<n>.path  the file it belongs to (empty: untitled)
//   $XDG_STATE_HOME/vandrel/recovery/<run>/<n>.TextGrid  its labels, when it has any
//
// (~/.local/state when XDG_STATE_HOME is not set.) A document's copy goes
// when it is saved, closed or no longer modified; the run's folder goes when
// the editor ends normally. At start-up, folders whose lock no running
// editor holds are offered back, each document named with the time of its
// copy. Recovered documents keep their old copy until they are saved or
// their own new copy is written, so a second crash right after recovering
// loses nothing; "No" leaves the copies where they are, to be offered again
// at the next start. The recording beside a table is not kept (it is on
// disk already).
//
// A copy that cannot be written (a full disk, a folder made read-only) is
// said once, in a message box, and again in the status bar at each failed
// try, until a copy succeeds again.
//
// The test settings VANDREL_RECOVERY_INTERVAL_MS and
// VANDREL_RECOVERY_QUIET_MS replace the 30 seconds and the one second.

#include <QElapsedTimer>
#include <QHash>
#include <QList>
#include <QLockFile>
#include <QMutex>
#include <QObject>
#include <QSet>
#include <QString>
#include <QThreadPool>
#include <QTimer>

#include <cstdint>
#include <memory>
#include <vector>

namespace vandrel {
class CVandrelDoc;
}

namespace vandrel::ui {

class CMainFrame;
class OpenDocument;

class DocumentRecovery : public QObject {
  Q_OBJECT
 public:
  static constexpr int kIntervalMs = 30000;
  static constexpr int kQuietMs = 1000;     // after the last edit
  static constexpr int kMaxDelayMs = 5000;  // after the first edit not yet copied
  int intervalMs() const { return timer_.interval(); }

  // The folder of the copies: the per-user state folder's "vandrel/recovery".
  static QString defaultRoot();

  DocumentRecovery(CMainFrame& frame, const QString& root);
  ~DocumentRecovery() override;  // a normal end: this run's copies are removed

  QString runFolder() const { return runFolder_; }

  // Brings the copies up to date and waits until they are written.
  void saveNow();
  // Starts the copies of documents changed since their last copy and returns
  // at once: only the snapshots are taken on the calling thread.
  void startCopies(bool wait = false);
  // Waits until the work on its way (copies, a snapshot's room) is done.
  void waitForWriter();

  // Copies `document` after its edits and before each synthesis of it.
  void watch(OpenDocument& document);

  // Drops the copy of document `serial` (saved or closed).
  void forget(int serial);

  // Copies left by runs that ended abnormally: each .vdr with the file it
  // belongs to and when it was written.
  struct Abandoned {
    QString copy;
    QString originalPath;
    QString when;
  };
  QList<Abandoned> findAbandoned() const;

  // Asks whether to recover abandoned copies, naming each, and opens them
  // (modified, under their own file names). Returns how many documents were
  // reopened.
  int offerAbandoned();

 private:
  struct Written {
    int serial;
    std::uint64_t revision;
    QString error;
    bool prepared = false;  // only the room of the document's snapshot was made
  };
  QString copyPath(int serial, const char* suffix) const;
  void collect();
  void edited(OpenDocument& document);
  void prepareSnapshot(OpenDocument& document);
  void copyFailed(OpenDocument& doc, const QString& error);
  OpenDocument* documentOf(int serial) const;
  void dropRecoveredCopy(int serial);

  CMainFrame& frame_;
  QString recoveryRoot_;
  QString runFolder_;
  std::unique_ptr<QLockFile> lock_;
  QTimer timer_;
  QTimer quiet_;                      // the pause after an edit
  QElapsedTimer waitingSince_;        // the first edit not yet copied
  QThreadPool writer_;                // one thread: the copies of a document land in order
  QHash<int, std::uint64_t> copied_;  // document serial -> revision last written
  QHash<int, std::shared_ptr<vandrel::CVandrelDoc>> snapshots_;  // serial -> its snapshot, reused
  QSet<int> writing_;                                // serials with a copy (or its room) on its way
  QSet<int> dropWhenWritten_;                        // forgotten while their copy was on its way
  QHash<int, QString> recoveredFrom_;                // serial -> the old run's copy it was reopened from
  std::vector<std::unique_ptr<QLockFile>> adopted_;  // old runs whose copies this run reopened
  QMutex doneMutex_;
  QList<Written> done_;
  bool failureShown_ = false;  // the message box of a failing copy was shown
};

}  // namespace vandrel::ui
