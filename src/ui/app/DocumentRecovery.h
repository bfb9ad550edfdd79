#pragma once
// Copies of unsaved work, so that a crash or a killed editor loses little.
//
// Every 30 seconds each modified document that changed since its last copy
// is written as a parameter file into this run's folder in the temp folder:
//
//   <temp>/recovery/<run>/lock          held (QLockFile) while the run lives
//   <temp>/recovery/<run>/<n>.vdr       document n, all 48 parameters
//   <temp>/recovery/<run>/<n>.path      the file it belongs to (UTF-8; empty: untitled)
//
// A document's copy goes when it is saved, closed or no longer modified; the
// run's folder goes when the editor ends normally. At start-up, folders whose
// lock no running editor holds are offered back to the user. The recording
// beside a table is not kept (it is on disk already).

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

class DocumentRecovery : public QObject {
  Q_OBJECT
 public:
  static constexpr int kIntervalMs = 30000;

  DocumentRecovery(CMainFrame& frame, const QString& tempFolder);
  ~DocumentRecovery() override;  // a normal end: this run's copies are removed

  QString runFolder() const { return runFolder_; }

  // Brings the copies up to date now.
  void saveNow();

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

  CMainFrame& frame_;
  QString recoveryRoot_;
  QString runFolder_;
  std::unique_ptr<QLockFile> lock_;
  QTimer timer_;
  QHash<int, std::uint64_t> copied_;  // document serial -> revision last written
};

}  // namespace vandrel::ui
