// Start-up: the temp folder's key, creation, the write test and the folder
// chooser; the configuration file; the command line.

#include <unistd.h>
#include <QFile>
#include <QSettings>
#include <QStatusBar>

#include "ShellFixture.h"
#include "app/CChildFrame.h"
#include "app/CMainFrame.h"
#include "app/CVandrelApp.h"
#include "app/OpenDocument.h"
#include "config/ConfigFile.h"
#include "document/VandrelDoc.h"
#include "document/VdrFile.h"

namespace vandrel::ui::test {
namespace {

const QString kSection = QStringLiteral("General Strings Section/Temp Directory");
const QString kAccessMessage = QStringLiteral(
    "Application was not able to access the default temperorily folder to read and write files. This "
    "function is "
    "necessary part of operation.\nThis may be due to not having enough access priviledges on your "
    "account.\nPlease "
    "select from the following box another suitable location, or contact your system administrator.");

class StartupTest : public ShellFixture {
 protected:
  QSettings profile() const {
    return QSettings(QSettings::IniFormat, QSettings::UserScope, QStringLiteral("Vandrel Speech Lab"),
                     QStringLiteral("Vandrel"));
  }
  void setTempKey(const QString& folder) {
    QSettings s = profile();
    s.setValue(kSection, folder);
    s.sync();
  }
  // A folder that exists but takes no files. Root ignores permission bits, so
  // under root a read-only file system stands in for it.
  QString unwritableFolder() {
    if (::geteuid() == 0) return QStringLiteral("/proc");
    const QString f = path(QStringLiteral("readonly"));
    QDir().mkpath(f);
    QFile::setPermissions(f, QFileDevice::ReadOwner | QFileDevice::ExeOwner);
    return f;
  }
};

TEST_F(StartupTest, MissingKeyIsCreatedAsSystemTempPlusTmp) {
  CVandrelApp app(hooks());
  ASSERT_TRUE(app.initInstance({QStringLiteral("vandrel")}));
  const QString expected = systemTemp() + QStringLiteral("/tmp");
  EXPECT_EQ(profile().value(kSection).toString(), expected);
  EXPECT_TRUE(QDir(expected).exists());
  EXPECT_EQ(CVandrelApp::tempFolder(), expected);
  EXPECT_FALSE(QFile::exists(expected + QStringLiteral("/xxx")));  // the probe is cleaned up
  EXPECT_TRUE(messages.empty());

  // A blank document in the maximised frame, and the full menu.
  ASSERT_NE(app.mainFrame(), nullptr);
  ASSERT_NE(app.mainFrame()->activeDocument(), nullptr);
  EXPECT_EQ(app.mainFrame()->activeDocument()->title(), QStringLiteral("Vandr1"));
  EXPECT_TRUE(app.mainFrame()->showsDocumentMenus());
  // The profile holds nothing else from start-up.
  EXPECT_EQ(profile().allKeys(), QStringList{kSection});
}

TEST_F(StartupTest, FolderChoiceAfterAFailedWriteTest) {
  struct Case {
    const char* what;
    bool choose;
    std::vector<QString> expectedMessages;
    bool starts;
  };
  const Case cases[] = {
      {"cancelled chooser ends start-up",
       false,
       {kAccessMessage, QStringLiteral("Operation cannot continue without a temp folder.")},
       false},
      {"chosen folder is stored and used", true, {kAccessMessage}, true},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    messages.clear();
    asked.clear();
    const QString bad = unwritableFolder();
    setTempKey(bad);
    const QString good = path(QStringLiteral("chosen"));
    QDir().mkpath(good);
    chosenFolder = c.choose ? good : QString();

    CVandrelApp app(hooks());
    EXPECT_EQ(app.initInstance({QStringLiteral("vandrel")}), c.starts);
    EXPECT_EQ(messages, c.expectedMessages);
    EXPECT_EQ(asked, std::vector<QString>{QStringLiteral("Please select a temp folder.")});
    EXPECT_EQ(app.mainFrame() != nullptr, c.starts);
    EXPECT_EQ(profile().value(kSection).toString(), c.choose ? good : bad);
    if (c.starts) {
      EXPECT_EQ(CVandrelApp::tempFolder(), good);
    }
  }
}

TEST_F(StartupTest, UncreatableFolderEndsStartUp) {
  QFile blocker(path(QStringLiteral("plainfile")));
  ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
  blocker.close();
  setTempKey(path(QStringLiteral("plainfile/sub")));
  CVandrelApp app(hooks());
  EXPECT_FALSE(app.initInstance({QStringLiteral("vandrel")}));
  EXPECT_EQ(messages, std::vector<QString>{QStringLiteral("Error in creating a temp folder.\n")});
  EXPECT_EQ(app.mainFrame(), nullptr);
}

TEST_F(StartupTest, UnwritableProfileEndsStartUpWithTheRegistryMessage) {
  // A folder where the profile's file should be: nothing can be written or read back.
  ASSERT_TRUE(QDir().mkpath(path(QStringLiteral("config/Vandrel Speech Lab/Vandrel.ini"))));
  CVandrelApp app(hooks());
  EXPECT_FALSE(app.initInstance({QStringLiteral("vandrel")}));
  EXPECT_EQ(messages, std::vector<QString>{QStringLiteral(
                          "Unable to update the system registry.\nPlease contact your system administrator "
                          "and/or the vender.")});
  EXPECT_EQ(app.mainFrame(), nullptr);
}

TEST_F(StartupTest, CommandLineFileOpensInsteadOfABlankDocument) {
  vandrel::CVandrelDoc doc;
  doc.params().fileLengthMs = 100.0;
  doc.params().intervalMs = 5;
  doc.params().frameCount = 20;
  doc.table.reset(20, doc.params());
  doc.table.setValue(vandrel::kF0, 3, 1234.0);
  const QString file = path(QStringLiteral("files/vowel.vdr"));
  ASSERT_EQ(vandrel::saveVdrFile(file.toStdString(), doc, vandrel::VdrKind::kAllParameters), "");

  CVandrelApp app(hooks());
  ASSERT_TRUE(app.initInstance({QStringLiteral("vandrel"), file}));
  CMainFrame& frame = *app.mainFrame();
  ASSERT_EQ(frame.childFrames().size(), 1);
  OpenDocument* opened = frame.activeDocument();
  ASSERT_NE(opened, nullptr);
  EXPECT_EQ(opened->title(), QStringLiteral("vowel.vdr"));
  EXPECT_EQ(opened->doc().params().intervalMs, 5);
  EXPECT_EQ(opened->doc().table.value(vandrel::kF0, 3), 1234.0);
  EXPECT_EQ(frame.recentFiles(), QStringList{QFileInfo(file).absoluteFilePath()});
}

TEST_F(StartupTest, UnreadableCommandLineFileEndsStartUpWithItsMessage) {
  const QString file = path(QStringLiteral("files/nonsense.vdr"));
  QFile f(file);
  ASSERT_TRUE(f.open(QIODevice::WriteOnly));
  f.write("this is not a parameter table\r\n");
  f.close();
  CVandrelApp app(hooks());
  EXPECT_FALSE(app.initInstance({QStringLiteral("vandrel"), file}));
  EXPECT_EQ(messages, std::vector<QString>{QStringLiteral("File type not recorgnized.")});
}

TEST_F(StartupTest, DamagedConfigurationFileIsPutAsideAndSaidSo) {
  const QString folder = systemTemp() + QStringLiteral("/tmp");
  QDir().mkpath(folder);
  const QString cfg = folder + QStringLiteral("/VandrelConf.cfg");

  vandrel::ConfigRecord custom = vandrel::ConfigRecord::defaults();
  custom.params[vandrel::kF6].selected = 1;
  custom.table.fileLengthMs = 300.0;
  const std::string good = vandrel::encodeConfig(custom);
  const std::string foreign(27760, 'x');
  const std::string truncated = good.substr(0, 27000);

  struct Case {
    const char* what;
    std::string bytes;
    vandrel::ConfigStatus status;
    int columns;  // of the blank document
  };
  const Case cases[] = {
      {"valid record", good, vandrel::ConfigStatus::kOk, 30},
      {"foreign file", foreign, vandrel::ConfigStatus::kBadMagic, 20},
      {"truncated file", truncated, vandrel::ConfigStatus::kWrongSize, 20},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    {
      QFile f(cfg);
      ASSERT_TRUE(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
      f.write(c.bytes.data(), static_cast<qint64>(c.bytes.size()));
    }
    {
      CVandrelApp app(hooks());
      ASSERT_TRUE(app.initInstance({QStringLiteral("vandrel")}));
      EXPECT_EQ(app.configStatus(), c.status);
      EXPECT_EQ(app.mainFrame()->activeDocument()->doc().table.columns(), c.columns);
      EXPECT_EQ(app.mainFrame()->statusBar()->currentMessage() ==
                    QStringLiteral("VandrelConf.cfg was damaged and is kept as VandrelConf.cfg.damaged; the "
                                   "default settings are in use"),
                c.status != vandrel::ConfigStatus::kOk);
      app.mainFrame()->close();
    }
    QFile f(c.status == vandrel::ConfigStatus::kOk ? cfg : cfg + QStringLiteral(".damaged"));
    ASSERT_TRUE(f.open(QIODevice::ReadOnly));
    EXPECT_EQ(f.readAll().toStdString(), c.bytes);
    EXPECT_EQ(QFile::exists(cfg), c.status == vandrel::ConfigStatus::kOk);
    EXPECT_TRUE(messages.empty());
  }
}

}  // namespace
}  // namespace vandrel::ui::test
