#include "app/CVandrelApp.h"

#include <QCoreApplication>
#include <QFile>
#include <QScreen>

#include "app/AppProfile.h"
#include "app/CMainFrame.h"
#include "app/DocumentRecovery.h"
#include "app/TempFolder.h"

namespace vandrel::ui {

namespace {
QString& processTempFolder() {
  static QString folder;
  return folder;
}
}  // namespace

CVandrelApp::CVandrelApp(ShellHooks hooks) : hooks_(std::move(hooks)) {}

CVandrelApp::~CVandrelApp() = default;

QString CVandrelApp::tempFolder() { return processTempFolder(); }

bool CVandrelApp::initInstance(const QStringList& arguments) {
  profile_ = std::make_unique<AppProfile>();

  const QString folder = findTempFolder(*profile_, hooks_);
  if (folder.isEmpty()) return false;
  processTempFolder() = folder;

  ShellEnvironment env;
  env.hooks = hooks_;
  env.tempFolder = folder;
  env.applicationFolder = QCoreApplication::applicationDirPath();
  env.profile = profile_.get();
  // A missing or damaged file leaves the built-in configuration in force. A
  // damaged one is put aside under its own name with ".damaged", where it
  // can still be looked at, and the status bar says so; one written by a
  // later version stays for that version.
  vandrel::ConfigRecord loaded;
  configStatus_ = vandrel::loadConfigFile(QFile::encodeName(env.configPath()).toStdString(), loaded);
  if (configStatus_ == vandrel::ConfigStatus::kOk) env.config = loaded;
  QString configNote;
  if (configStatus_ == vandrel::ConfigStatus::kWrongSize ||
      configStatus_ == vandrel::ConfigStatus::kBadMagic ||
      configStatus_ == vandrel::ConfigStatus::kBadField ||
      configStatus_ == vandrel::ConfigStatus::kBadCheck) {
    const QString aside = env.configPath() + QStringLiteral(".damaged");
    QFile::remove(aside);
    configNote = QFile::rename(env.configPath(), aside)
                     ? QStringLiteral(
                           "VandrelConf.cfg was damaged and is kept as VandrelConf.cfg.damaged; the "
                           "default settings are in use")
                     : QStringLiteral("VandrelConf.cfg is damaged; the default settings are in use");
  }

  mainFrame_ = std::make_unique<CMainFrame>(std::move(env));

  QString file;
  for (int i = 1; i < arguments.size(); ++i)
    if (!arguments[i].startsWith(QLatin1Char('-'))) {
      file = arguments[i];
      break;
    }

  if (mainFrame_->environment().config.display.maximized) {
    // Without a window manager (a bare X server) maximising does nothing;
    // start at the screen's full size so the window fills it either way.
    if (mainFrame_->environment().config.display.width == 0)
      mainFrame_->setGeometry(mainFrame_->screen()->availableGeometry());
    mainFrame_->showMaximized();
  } else
    mainFrame_->show();

  // Work left unsaved by a run that did not end normally is offered first.
  const int recovered = mainFrame_->recovery() ? mainFrame_->recovery()->offerAbandoned() : 0;

  if (file.isEmpty()) {
    if (recovered == 0) mainFrame_->newDocument();
  } else if (!mainFrame_->openFile(file)) {
    mainFrame_->hide();
    return false;
  }
  if (!configNote.isEmpty()) mainFrame_->showStatus(configNote, 30000);
  return true;
}

}  // namespace vandrel::ui
