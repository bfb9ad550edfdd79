#pragma once
// Copies of unsaved work, so that a crash or a killed editor loses little.
//
// Every 30 seconds, and before a modified table is synthesized, each modified
// document that changed since its last copy is written as a parameter file
// into this run's folder in the temp folder:
//
//   <temp>/recovery/<run>/lock          held (QLockFile) while the run lives
//   <temp>/recovery/<run>/<n>.vdr       document n, all 48 parameters
//   <temp>/recovery/<run>/<n>.path      the file it belongs to (UTF-8; empty: untitled)
//
// A document's copy goes when it is saved, closed or no longer modified; the
// run's folder goes when the editor ends normally. At start-up, folders whose
// lock no running editor holds are offered back to the user. The recording
// beside a table is not kept (it is on disk already).
//
// A copy that cannot be written (a full disk, a folder made read-only) is
// said once, in a message box, and again in the status bar at each failed
// try, until a copy succeeds again.
//
// The test setting VANDREL_RECOVERY_INTERVAL_MS replaces the 30 seconds.

#include <QHash>
#include <QList>
#include <QLockFile>
#include <QObject>
#include <QString>
#include <QTimer>

#include <cstdint>
#include <memory>

namespace vandrel::ui {

class CMainFrame;
class OpenDocument;

class DocumentRecovery : public QObject {
  Q_OBJECT
 public:
  static constexpr int kIntervalMs = 30000;
  int intervalMs() const { return timer_.interval(); }

  DocumentRecovery(CMainFrame& frame, const QString& tempFolder);
  ~DocumentRecovery() override;  // a normal end: this run's copies are removed

  QString runFolder() const { return runFolder_; }

  // Brings the copies up to date now.
  void saveNow();

  // Copies `document` before each synthesis of it while it is modified.
  void watch(OpenDocument& document);

  // Drops the copy of document `serial` (saved or closed).
  void forget(int serial);

  // Copies left by runs that ended abnormally: each .vdr with the file it
  // belongs to.
  struct Abandoned {
    QString copy;
    QString originalPath;
  };
  QList<Abandoned> findAbandoned() const;

  // Asks whether to recover abandoned copies and opens them (modified, under
  // their own file names). The copies are removed either way. Returns how
  // many documents were reopened.
  int offerAbandoned();

 private:
  QString copyPath(int serial, const char* suffix) const;
  void copyFailed(OpenDocument& doc, const QString& error);

  CMainFrame& frame_;
  QString recoveryRoot_;
  QString runFolder_;
  std::unique_ptr<QLockFile> lock_;
  QTimer timer_;
  QHash<int, std::uint64_t> copied_;  // document serial -> revision last written
  bool failureShown_ = false;         // the message box of a failing copy was shown
};

}  // namespace vandrel::ui
