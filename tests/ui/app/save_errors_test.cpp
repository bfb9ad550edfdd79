// Saving where it cannot succeed: a folder that is a file, a read-only
// folder, a full disk. Each of the four writers (Save, Save As Audio, the
// configuration file, the copies of unsaved work) names the file and the
// reason, leaves the previous file as it was, byte for byte, and the
// document stays modified. Read-only and full need a small file system of
// their own when the test runs as root (who may write into any folder); where
// mounting is not allowed those cases are skipped with a message.

#include <QFile>

#include <unistd.h>

#include <cstdlib>
#include <functional>

#include "ShellFixture.h"
#include "app/CChildFrame.h"
#include "app/CMainFrame.h"
#include "app/CommandIds.h"
#include "app/DocumentRecovery.h"
#include "app/OpenDocument.h"
#include "document/VandrelDoc.h"

namespace vandrel::ui::test {
namespace {

const QByteArray kPrevious = "the previous contents\n";
const QString kFiles[] = {QStringLiteral("table.vdr"), QStringLiteral("sound.wav"),
                          QStringLiteral("VandrelConf.cfg"), QStringLiteral("picture.bmp")};

class SaveErrorsTest : public ShellFixture {
 protected:
  void TearDown() override {
    if (mounted_) std::system(("umount -l '" + mounted_->toStdString() + "'").c_str());
    if (!readOnly_.isEmpty())
      QFile::setPermissions(readOnly_, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    ShellFixture::TearDown();
  }

  bool mount(const QString& dir, const char* options) {
    QDir().mkpath(dir);
    const std::string cmd =
        "mount -t tmpfs -o " + std::string(options) + " tmpfs '" + dir.toStdString() + "' 2>/dev/null";
    if (std::system(cmd.c_str()) != 0) return false;
    mounted_ = dir;
    return true;
  }
  bool remountReadOnly(const QString& dir) {
    return std::system(("mount -o remount,ro '" + dir.toStdString() + "' 2>/dev/null").c_str()) == 0;
  }

  void writePrevious(const QString& dir) {
    for (const QString& name : kFiles) {
      QFile f(dir + QLatin1Char('/') + name);
      ASSERT_TRUE(f.open(QIODevice::WriteOnly));
      f.write(kPrevious);
    }
  }

  // Every writer fails into `dir` with `reason`; previous files untouched.
  void expectEveryWriterRefused(const QString& dir, const QString& reason, bool previous) {
    messages.clear();
    ShellEnvironment env = environment();
    env.tempFolder = dir;
    qputenv("XDG_STATE_HOME", dir.toUtf8());
    CMainFrame frame(env);
    OpenDocument& doc = frame.newDocument()->document();
    doc.setPath(dir + QStringLiteral("/table.vdr"));
    doc.doc().markEdited();
    const QString unchanged = previous ? QStringLiteral(" The previous file is unchanged.") : QString();
    auto cannot = [&](const QString& name) {
      return QStringLiteral("Cannot save %1/%2: %3.%4").arg(dir, name, reason, unchanged);
    };

    frame.runCommand(ID_FILE_SAVE);
    nextFile = dir + QStringLiteral("/sound.wav");
    // The synthesis before the audio is saved first tries to copy the
    // modified table: that failure is the one message box of the copies.
    frame.runCommand(ID_FILE_SAVE_AUDIO);
    EXPECT_FALSE(frame.writeConfigurationFile(nullptr));
    ASSERT_NE(frame.recovery(), nullptr);
    frame.recovery()->saveNow();  // later failures go to the status bar only
    nextFile = dir + QStringLiteral("/picture.bmp");
    frame.runCommand(ID_FILE_SAVE_BMP);

    ASSERT_EQ(messages.size(), 5u);
    EXPECT_EQ(messages[0],
              QStringLiteral("The file could not be saved.\n") + cannot(QStringLiteral("table.vdr")));
    EXPECT_TRUE(messages[1].startsWith(
        QStringLiteral("The copy of unsaved work in table.vdr could not be kept.\nCannot save %1/").arg(dir)))
        << messages[1].toStdString();
    EXPECT_EQ(messages[2],
              QStringLiteral("The audio file could not be saved.\n") + cannot(QStringLiteral("sound.wav")));
    EXPECT_EQ(messages[3], QStringLiteral("The configuration could not be saved in the temp folder.\n") +
                               cannot(QStringLiteral("VandrelConf.cfg")));
    EXPECT_EQ(messages[4], QStringLiteral("The picture could not be saved to %1/picture.bmp.\n").arg(dir) +
                               cannot(QStringLiteral("picture.bmp")));
    EXPECT_TRUE(doc.isModified());
    for (const QString& name : kFiles) {
      QFile f(dir + QLatin1Char('/') + name);
      EXPECT_EQ(previous ? f.open(QIODevice::ReadOnly) && f.readAll() == kPrevious : !f.exists(), true)
          << name.toStdString();
    }
    doc.setModified(false);
  }

  std::optional<QString> mounted_;
  QString readOnly_;
};

TEST_F(SaveErrorsTest, ReadOnlyFileIsReplacedOnlyWhenTheUserSaysSo) {
  const QString file = path(QStringLiteral("files/kept.vdr"));
  {
    QFile f(file);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly));
    f.write(kPrevious);
  }
  const auto readOnly = QFile::ReadOwner | QFile::ReadGroup;
  ASSERT_TRUE(QFile::setPermissions(file, readOnly));
  CMainFrame frame(environment());
  OpenDocument& doc = frame.newDocument()->document();
  doc.setPath(file);
  doc.doc().markEdited();
  const QString question = QStringLiteral("%1 is read-only.\nReplace it anyway?").arg(file);
  for (const auto answer : {QMessageBox::No, QMessageBox::Yes}) {
    messages.clear();
    answers = {answer};
    frame.runCommand(ID_FILE_SAVE);
    EXPECT_EQ(messages, std::vector<QString>{question});
    QFile f(file);
    ASSERT_TRUE(f.open(QIODevice::ReadOnly));
    EXPECT_EQ(f.readAll() == kPrevious, answer == QMessageBox::No);
    EXPECT_EQ(doc.isModified(), answer == QMessageBox::No);
  }
  const auto mask = QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner | QFile::ReadGroup |
                    QFile::WriteGroup | QFile::ExeGroup | QFile::ReadOther | QFile::WriteOther |
                    QFile::ExeOther;
  EXPECT_EQ(QFile::permissions(file) & mask, readOnly);
}

TEST_F(SaveErrorsTest, FolderThatIsAFile) {
  const QString file = path(QStringLiteral("files/plain"));
  QFile f(file);
  ASSERT_TRUE(f.open(QIODevice::WriteOnly));
  f.close();
  expectEveryWriterRefused(file, QStringLiteral("not a directory"), false);
}

TEST_F(SaveErrorsTest, ReadOnlyFolder) {
  const QString dir = path(QStringLiteral("files/read-only"));
  if (geteuid() != 0) {
    ASSERT_TRUE(QDir().mkpath(dir));
    writePrevious(dir);
    readOnly_ = dir;
    ASSERT_TRUE(QFile::setPermissions(dir, QFile::ReadOwner | QFile::ExeOwner));
    expectEveryWriterRefused(dir, QStringLiteral("permission denied"), true);
    return;
  }
  if (!mount(dir, "size=1m"))
    GTEST_SKIP() << "root may write into any folder, and mounting a read-only one failed";
  writePrevious(dir);
  ASSERT_TRUE(remountReadOnly(dir));
  expectEveryWriterRefused(dir, QStringLiteral("read-only file system"), true);
}

TEST_F(SaveErrorsTest, FullDisk) {
  const QString dir = path(QStringLiteral("files/full"));
  if (!mount(dir, "size=64k"))
    GTEST_SKIP() << "mounting a small file system needs root; the full-disk case was not run";
  writePrevious(dir);
  QFile filler(dir + QStringLiteral("/filler"));
  ASSERT_TRUE(filler.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
  const QByteArray block(4096, 'x');
  while (filler.write(block) == block.size()) {
  }
  filler.close();
  expectEveryWriterRefused(dir, QStringLiteral("no space left on device"), true);
}

}  // namespace
}  // namespace vandrel::ui::test
