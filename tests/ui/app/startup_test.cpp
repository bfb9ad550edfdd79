// Start-up: the temp folder's key, creation, the write test and the folder
// chooser; the configuration file; the command line.

#include <unistd.h>
#include <QFile>
#include <QSettings>
#include <QStatusBar>
#include <functional>

#include "ShellFixture.h"
#include "app/CMainFrame.h"
#include "app/CVandrelApp.h"
#include "app/OpenDocument.h"
#include "config/ConfigFile.h"
#include "document/VandrelDoc.h"

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

// What start-up cannot do without ends it with its message and no main window shown.
TEST_F(StartupTest, UnreadableFileUncreatableFolderOrUnwritableProfileEndsStartUp) {
  const QString file = path(QStringLiteral("plainfile"));
  QFile blocker(file);
  ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
  blocker.write("this is not a parameter table\r\n");
  blocker.close();
  const QString ini = path(QStringLiteral("config/Vandrel Speech Lab/Vandrel.ini"));
  const struct {
    const char* what;
    std::function<void()> arrange;
    QStringList arguments;
    const char* message;
  } cases[] = {
      {"unreadable command-line file", [] {}, {file}, "File type not recorgnized."},
      {"uncreatable temp folder",
       [&] { setTempKey(file + QStringLiteral("/sub")); },
       {},
       "Error in creating a temp folder.\n"},
      // A folder where the profile's file should be: nothing can be written or read back.
      {"unwritable profile",
       [&] {
         QFile::remove(ini);
         QDir().mkpath(ini);
       },
       {},
       "Unable to update the system registry.\nPlease contact your system administrator and/or the vender."},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    messages.clear();
    c.arrange();
    CVandrelApp app(hooks());
    EXPECT_FALSE(app.initInstance(QStringList{QStringLiteral("vandrel")} + c.arguments));
    EXPECT_EQ(messages, std::vector<QString>{QString::fromUtf8(c.message)});
    EXPECT_TRUE(app.mainFrame() == nullptr || !app.mainFrame()->isVisible());
  }
}

TEST_F(StartupTest, DamagedConfigurationFileIsPutAsideAndSaidSo) {
  const QString folder = systemTemp() + QStringLiteral("/tmp");
  QDir().mkpath(folder);
  const QString cfg = folder + QStringLiteral("/VandrelConf.cfg");

  vandrel::ConfigRecord custom = vandrel::ConfigRecord::defaults();
  custom.params[vandrel::kF6].selected = 1;
  custom.table.fileLengthMs = 300.0;
  const std::string good = vandrel::encodeConfig(custom);
  const std::string truncated = good.substr(0, 27000);

  struct Case {
    const char* what;
    std::string bytes;
    vandrel::ConfigStatus status;
    int columns;  // of the blank document
  };
  const Case cases[] = {
      {"valid record", good, vandrel::ConfigStatus::kOk, 30},
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
      EXPECT_EQ(app.mainFrame()->activeDocument()->doc().table().columns(), c.columns);
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
