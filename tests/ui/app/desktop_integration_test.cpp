// The desktop files as installed: the .desktop entry passes the validator,
// and the shared-mime-info type makes *.vdr files Vandrel documents.

#include <gtest/gtest.h>
#include <QDir>
#include <QFile>
#include <QMimeDatabase>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

namespace {

const QString kSource = QStringLiteral(VANDREL_SOURCE_DIR);

TEST(DesktopIntegrationTest, VdrFilesAreVandrelDocuments) {
  QTemporaryDir data;
  ASSERT_TRUE(data.isValid());
  ASSERT_TRUE(QDir().mkpath(data.path() + QStringLiteral("/mime/packages")));
  ASSERT_TRUE(QFile::copy(kSource + QStringLiteral("/packaging/vandrel-mime.xml"),
                          data.path() + QStringLiteral("/mime/packages/vandrel.xml")));
  // Before this process's first look-up, so the database reads our folder.
  qputenv("XDG_DATA_HOME", data.path().toUtf8());

  const QMimeDatabase db;
  const QMimeType type = db.mimeTypeForFile(QStringLiteral("vowel.vdr"), QMimeDatabase::MatchExtension);
  EXPECT_EQ(type.name().toStdString(), "application/x-vandrel");
  EXPECT_EQ(type.comment().toStdString(), "Vandrel Document");
  EXPECT_TRUE(type.inherits(QStringLiteral("text/plain")));
}

TEST(DesktopIntegrationTest, DesktopEntryPassesTheValidator) {
  const QString validator = QStandardPaths::findExecutable(QStringLiteral("desktop-file-validate"));
  if (validator.isEmpty()) GTEST_SKIP() << "desktop-file-validate is not installed";
  QProcess p;
  p.start(validator, {kSource + QStringLiteral("/packaging/vandrel.desktop")});
  ASSERT_TRUE(p.waitForFinished(20000));
  EXPECT_EQ(p.exitCode(), 0) << p.readAllStandardOutput().toStdString();
  const QString output = QString::fromUtf8(p.readAllStandardOutput() + p.readAllStandardError());
  EXPECT_TRUE(output.trimmed().isEmpty()) << output.toStdString();  // not even a hint

  QFile entry(kSource + QStringLiteral("/packaging/vandrel.desktop"));
  ASSERT_TRUE(entry.open(QIODevice::ReadOnly));
  const QString text = QString::fromUtf8(entry.readAll());
  EXPECT_TRUE(text.contains(QStringLiteral("MimeType=application/x-vandrel;")));
  EXPECT_TRUE(text.contains(QStringLiteral("Exec=vandrel %f")));
}

}  // namespace
