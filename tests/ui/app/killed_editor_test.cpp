// The editor killed in the middle of work: a real editor process edits a
// table, keeps its copies of unsaved work, and is killed with SIGKILL; the
// next start offers the work back exactly as the last copy held it.

#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTest>

#include <csignal>

#include "ShellFixture.h"
#include "app/CMainFrame.h"
#include "app/CVandrelApp.h"
#include "app/OpenDocument.h"
#include "document/VandrelDoc.h"
#include "document/VdrFile.h"

namespace vandrel::ui::test {
namespace {

constexpr int kCopyEveryMs = 300;
constexpr int kEditEveryMs = 50;

class KilledEditorTest : public ShellFixture {
 protected:
  // The newest copy of unsaved work under the temp folder, or empty.
  QString findCopy() const {
    QDirIterator it(recoveryRoot(), {QStringLiteral("*.vdr")}, QDir::Files, QDirIterator::Subdirectories);
    return it.hasNext() ? it.next() : QString();
  }

  // The last of the editing timer's edits a copy holds: edit n wrote 4000 + n.
  static int lastEditIn(const QByteArray& copy) {
    const vandrel::VdrReadResult r = vandrel::parseVdr(copy.toStdString(), vandrel::ParameterSet{});
    if (!r.ok()) return -1;
    int last = 0;
    for (int c = 0; c < r.content.table.columns(); ++c)
      last = std::max(last, static_cast<int>(r.content.table.value(vandrel::kF0, c)) - 4000);
    return last;
  }

  // A real editor on `file` making edits at kEditEveryMs; `more` adds to its
  // environment.
  void startEditor(QProcess& editor, const QString& file, const QList<QPair<QString, QString>>& more) {
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("TMPDIR"), systemTemp());
    env.insert(QStringLiteral("XDG_CONFIG_HOME"), path(QStringLiteral("config")));
    env.insert(QStringLiteral("XDG_STATE_HOME"), path(QStringLiteral("state")));
    env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    env.insert(QStringLiteral("VANDREL_TEST_EDIT_EVERY_MS"), QString::number(kEditEveryMs));
    for (const auto& [name, value] : more) env.insert(name, value);
    editor.setProcessEnvironment(env);
    editor.setProcessChannelMode(QProcess::SeparateChannels);
    editor.start(QStringLiteral(VANDREL_EDITOR), {file});
    ASSERT_TRUE(editor.waitForStarted(30000)) << editor.errorString().toStdString();
  }

  // The recovered document after a start that answers Yes, as a file's text.
  std::string recoverAtStartUp(const QString& original) {
    answers = {QMessageBox::Yes};
    messages.clear();
    CVandrelApp app(hooks());
    EXPECT_TRUE(app.initInstance({QStringLiteral("vandrel")}));
    EXPECT_FALSE(messages.empty());
    OpenDocument* doc = app.mainFrame()->activeDocument();
    if (messages.empty() || !doc) return {};
    EXPECT_TRUE(messages[0].startsWith(QStringLiteral("Vandrel did not close normally last time.")));
    EXPECT_EQ(doc->path(), original);
    EXPECT_TRUE(doc->isModified());
    const std::string text = vandrel::writeVdr(doc->doc(), vandrel::VdrKind::kAllParameters);
    // Killed again now: what is on disk at this moment is all the next start has.
    const QString again = path(QStringLiteral("state-after-second-kill"));
    QDirIterator it(recoveryRoot(), QDir::Files, QDirIterator::Subdirectories);
    while (it.hasNext()) {
      const QString f = it.next();
      if (f.endsWith(QStringLiteral("/lock"))) continue;  // a dead editor's lock is no lock
      const QString to = again + f.mid(path(QStringLiteral("state")).size());
      QDir().mkpath(QFileInfo(to).absolutePath());
      EXPECT_TRUE(QFile::copy(f, to));
    }
    doc->setModified(false);
    return text;
  }

  static int lastEditPrinted(const QByteArray& out) {
    const QList<QByteArray> lines = out.trimmed().split('\n');
    return lines.isEmpty() || !lines.last().startsWith("edit ") ? 0 : lines.last().mid(5).toInt();
  }
};

TEST_F(KilledEditorTest, WorkIsOfferedBackAsTheLastCopyHeldIt) {
  const QString original = path(QStringLiteral("files/vowels.vdr"));
  ASSERT_TRUE(QFile::copy(QStringLiteral(VANDREL_SOURCE_DIR "/examples/vowels_aiu.vdr"), original));

  QProcess editor;
  startEditor(editor, original,
              {{QStringLiteral("VANDREL_RECOVERY_INTERVAL_MS"), QString::number(kCopyEveryMs)},
               {QStringLiteral("VANDREL_RECOVERY_QUIET_MS"), QStringLiteral("100000")}});

  // Work until a copy holds a few edits, then on for about four copy
  // intervals, so the kill falls at no particular moment between copies,
  // and an editor that stopped copying would lose more than the bound below.
  QByteArray out;
  int copied = 0;
  for (int wait = 0; wait < 600 && editor.state() == QProcess::Running; ++wait) {
    editor.waitForReadyRead(100);
    out += editor.readAllStandardOutput();
    if (copied < 5) {
      QFile copy(findCopy());
      if (copy.open(QIODevice::ReadOnly)) copied = lastEditIn(copy.readAll());
    } else if (lastEditPrinted(out) >= copied + 4 * kCopyEveryMs / kEditEveryMs + 1) {
      break;
    }
  }
  ASSERT_EQ(editor.state(), QProcess::Running) << editor.readAllStandardError().toStdString();
  ASSERT_GE(copied, 5) << "no copy of the edits appeared";

  ASSERT_EQ(::kill(static_cast<pid_t>(editor.processId()), SIGKILL), 0);
  ASSERT_TRUE(editor.waitForFinished(30000));
  EXPECT_EQ(editor.exitStatus(), QProcess::CrashExit);
  out += editor.readAllStandardOutput();

  QFile copyFile(findCopy());
  ASSERT_TRUE(copyFile.open(QIODevice::ReadOnly));
  const QByteArray lastCopy = copyFile.readAll();
  const int lost = lastEditPrinted(out) - lastEditIn(lastCopy);
  EXPECT_GE(lost, 0);
  // The snapshots are taken on the edits' event loop, one a copy interval,
  // and written on a worker thread. The kill may fall while a snapshot is
  // being written (on a busy disk, with the whole suite running, that took
  // most of an interval): then the copy on disk is the one before, and it
  // misses up to two intervals' worth of edits and a few more. Three
  // intervals' worth is still less than the run above.
  EXPECT_LE(lost, 3 * kCopyEveryMs / kEditEveryMs);

  EXPECT_EQ(recoverAtStartUp(original), lastCopy.toStdString());
}

TEST_F(KilledEditorTest, TwoSecondsAfterTheLastEditNothingIsLostThoughKilledTwice) {
  const QString original = path(QStringLiteral("files/vowels.vdr"));
  ASSERT_TRUE(QFile::copy(QStringLiteral(VANDREL_SOURCE_DIR "/examples/vowels_aiu.vdr"), original));
  QProcess editor;
  startEditor(editor, original, {{QStringLiteral("VANDREL_TEST_EDITS"), QStringLiteral("10")}});
  QByteArray out;
  for (int wait = 0; wait < 300 && lastEditPrinted(out) < 10 && editor.state() == QProcess::Running; ++wait) {
    editor.waitForReadyRead(100);
    out += editor.readAllStandardOutput();
  }
  ASSERT_EQ(lastEditPrinted(out), 10) << editor.readAllStandardError().toStdString();
  QTest::qWait(2000);
  ASSERT_EQ(::kill(static_cast<pid_t>(editor.processId()), SIGKILL), 0);
  ASSERT_TRUE(editor.waitForFinished(30000));

  const std::string recovered = recoverAtStartUp(original);
  EXPECT_EQ(lastEditIn(QByteArray::fromStdString(recovered)), 10);
  qputenv("XDG_STATE_HOME", path(QStringLiteral("state-after-second-kill")).toUtf8());
  EXPECT_EQ(recoverAtStartUp(original), recovered);
}

}  // namespace
}  // namespace vandrel::ui::test
