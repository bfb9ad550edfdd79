// The editor killed in the middle of work: a real editor process edits a
// table, keeps its copies of unsaved work, and is killed with SIGKILL; the
// next start offers the work back exactly as the last copy held it.

#include <QDirIterator>
#include <QFile>
#include <QProcess>

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
    QDirIterator it(systemTemp() + QStringLiteral("/tmp/recovery"), {QStringLiteral("*.vdr")}, QDir::Files,
                    QDirIterator::Subdirectories);
    return it.hasNext() ? it.next() : QString();
  }

  // The last of the test hook's edits a copy holds: edit n wrote 4000 + n.
  static int lastEditIn(const QByteArray& copy) {
    const vandrel::VdrReadResult r = vandrel::parseVdr(copy.toStdString(), vandrel::ParameterSet{});
    if (!r.ok()) return -1;
    int last = 0;
    for (int c = 0; c < r.content.table.columns(); ++c)
      last = std::max(last, static_cast<int>(r.content.table.value(vandrel::kF0, c)) - 4000);
    return last;
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
  QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
  env.insert(QStringLiteral("TMPDIR"), systemTemp());
  env.insert(QStringLiteral("XDG_CONFIG_HOME"), path(QStringLiteral("config")));
  env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
  env.insert(QStringLiteral("VANDREL_RECOVERY_INTERVAL_MS"), QString::number(kCopyEveryMs));
  env.insert(QStringLiteral("VANDREL_TEST_EDIT_EVERY_MS"), QString::number(kEditEveryMs));
  editor.setProcessEnvironment(env);
  editor.setProcessChannelMode(QProcess::SeparateChannels);
  editor.start(QStringLiteral(VANDREL_EDITOR), {original});
  ASSERT_TRUE(editor.waitForStarted(30000)) << editor.errorString().toStdString();

  // Work until a copy holds a few edits, then on for about two copy
  // intervals, so the kill falls at no particular moment between copies.
  QByteArray out;
  int copied = 0;
  for (int wait = 0; wait < 600 && editor.state() == QProcess::Running; ++wait) {
    editor.waitForReadyRead(100);
    out += editor.readAllStandardOutput();
    if (copied < 5) {
      QFile copy(findCopy());
      if (copy.open(QIODevice::ReadOnly)) copied = lastEditIn(copy.readAll());
    } else if (lastEditPrinted(out) >= copied + 2 * kCopyEveryMs / kEditEveryMs + 1) {
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
  // The edits and the copies share one event loop, so at most one copy
  // interval's worth of edits can be missing from the last copy.
  EXPECT_LE(lost, kCopyEveryMs / kEditEveryMs + 2);

  answers = {QMessageBox::Yes};
  CVandrelApp app(hooks());
  ASSERT_TRUE(app.initInstance({QStringLiteral("vandrel")}));
  ASSERT_FALSE(messages.empty());
  EXPECT_TRUE(messages[0].startsWith(QStringLiteral("Vandrel did not close normally last time.")));
  OpenDocument* doc = app.mainFrame()->activeDocument();
  ASSERT_NE(doc, nullptr);
  EXPECT_EQ(doc->path(), original);
  EXPECT_TRUE(doc->isModified());
  EXPECT_EQ(vandrel::writeVdr(doc->doc(), vandrel::VdrKind::kAllParameters), lastCopy.toStdString());
  doc->setModified(false);
}

}  // namespace
}  // namespace vandrel::ui::test
