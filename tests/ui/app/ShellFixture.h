#pragma once
// Shared set-up of the shell's tests: a fresh folder for the profile, the
// system temp path and the executable's folder, message boxes answered by
// script, and dialogs answered by the test.

#include <gtest/gtest.h>
#include <QDir>
#include <QSettings>
#include <QTemporaryDir>

#include <cstdlib>
#include <deque>
#include <memory>
#include <ostream>
#include <vector>

#include "app/CChildFrame.h"
#include "app/CMainFrame.h"
#include "app/CommandIds.h"
#include "app/OpenDocument.h"
#include "app/ShellEnvironment.h"
#include "common/Messages.h"
#include "document/VandrelDoc.h"

// Readable QStrings in failure messages.
inline void PrintTo(const QString& s, std::ostream* os) { *os << '"' << s.toStdString() << '"'; }

namespace vandrel::ui::test {

class ShellFixture : public ::testing::Test {
 protected:
  void SetUp() override {
    root_ = std::make_unique<QTemporaryDir>();
    ASSERT_TRUE(root_->isValid());
    QDir(root_->path()).mkpath(QStringLiteral("config"));
    QDir(root_->path()).mkpath(QStringLiteral("systemp"));
    QDir(root_->path()).mkpath(QStringLiteral("app"));
    QDir(root_->path()).mkpath(QStringLiteral("files"));
    oldTmp_ = qEnvironmentVariable("TMPDIR");
    qputenv("TMPDIR", systemTemp().toUtf8());
    qputenv("XDG_CONFIG_HOME", path("config").toUtf8());
    qputenv("XDG_STATE_HOME", path("state").toUtf8());
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, path("config"));
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, path("config"));
    setMessagePresenter([this](const MessageRequest& r) {
      messages.push_back(r.text);
      if (answers.empty()) return QMessageBox::Ok;
      const auto a = answers.front();
      answers.pop_front();
      return a;
    });
  }

  void TearDown() override {
    setMessagePresenter({});
    qputenv("TMPDIR", oldTmp_.toUtf8());
  }

  QString path(const QString& sub) const { return root_->path() + QLatin1Char('/') + sub; }
  QString systemTemp() const { return path(QStringLiteral("systemp")); }
  QString recoveryRoot() const { return path(QStringLiteral("state/vandrel/recovery")); }

  // Dialogs that answer from the test's fields and record what they were asked.
  ShellHooks hooks() {
    ShellHooks h;
    h.openFileName = [this](QWidget*, const QString& caption, const QString&, const QString& filter) {
      asked.push_back(caption + QLatin1Char('|') + filter);
      return nextFile;
    };
    h.saveFileName = [this](QWidget*, const QString& caption, const QString& suggested,
                            const QString& filter) {
      asked.push_back(caption + QLatin1Char('|') + filter);
      lastSuggested = suggested;
      return nextFile;
    };
    h.existingDirectory = [this](QWidget*, const QString& caption, const QString&) {
      asked.push_back(caption);
      return chosenFolder;
    };
    h.openUrl = [this](const QUrl& url) {
      openedUrls.push_back(url);
      return urlOpens;
    };
    return h;
  }

  ShellEnvironment environment() {
    ShellEnvironment env;
    env.hooks = hooks();
    env.tempFolder = systemTemp();
    env.applicationFolder = path(QStringLiteral("app"));
    return env;
  }

  std::vector<QString> messages;
  std::deque<QMessageBox::StandardButton> answers;
  std::vector<QString> asked;
  QString nextFile;
  QString lastSuggested;
  QString chosenFolder;
  std::vector<QUrl> openedUrls;
  bool urlOpens = true;

 private:
  std::unique_ptr<QTemporaryDir> root_;
  QString oldTmp_;
};

// A main frame on screen with a blank document in its window.
class FrameFixture : public ShellFixture {
 protected:
  void SetUp() override {
    ShellFixture::SetUp();
    frame = std::make_unique<CMainFrame>(environment());
    frame->resize(1200, 800);
    frame->show();
    window = frame->newDocument();
  }
  void TearDown() override {
    frame.reset();
    ShellFixture::TearDown();
  }
  vandrel::CVandrelDoc& doc() { return frame->activeDocument()->doc(); }

  std::unique_ptr<CMainFrame> frame;
  CChildFrame* window = nullptr;
};

}  // namespace vandrel::ui::test
