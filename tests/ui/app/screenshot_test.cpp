// Pictures of the shell for a person to look at (not compared pixel by
// pixel): the main window with a blank document, each menu, and the progress
// dialog. They go to $VANDREL_SHOT_DIR, or "shots" in the working folder.

#include <QAction>
#include <QApplication>
#include <QImageReader>
#include <QMenu>
#include <QMenuBar>
#include <QToolBar>

#include "ShellFixture.h"
#include "app/CMainFrame.h"
#include "app/CProgressDialog.h"
#include "app/CommandIds.h"

namespace vandrel::ui::test {
namespace {

QString shotFolder() {
  QString dir = qEnvironmentVariable("VANDREL_SHOT_DIR");
  if (dir.isEmpty()) dir = QDir::currentPath() + QStringLiteral("/shots");
  QDir().mkpath(dir);
  return dir;
}

class ScreenshotTest : public ShellFixture {};

TEST_F(ScreenshotTest, MainWindowMenusAndProgressDialogAreSavedAsPng) {
  const QString dir = shotFolder();
  CMainFrame frame(environment());
  frame.resize(1280, 800);
  frame.show();
  frame.newDocument();
  QApplication::processEvents();

  std::vector<std::pair<QString, QPixmap>> shots;
  shots.emplace_back(QStringLiteral("main-window.png"), frame.grab());
  int n = 0;
  for (QAction* menuAction : frame.menuBar()->actions()) {
    QMenu* menu = menuAction->menu();
    menu->ensurePolished();
    menu->adjustSize();
    shots.emplace_back(QStringLiteral("menu-%1.png").arg(++n, 2, 10, QLatin1Char('0')), menu->grab());
  }
  // Two windows of one document, cascaded.
  frame.runCommand(ID_WINDOW_NEW);
  frame.runCommand(ID_WINDOW_CASCADE);
  QApplication::processEvents();
  shots.emplace_back(QStringLiteral("cascade.png"), frame.grab());

  // The icons drawn large, to judge their shapes.
  frame.toolBar()->setIconSize(QSize(40, 40));
  frame.toolBar()->adjustSize();
  shots.emplace_back(QStringLiteral("toolbar-large.png"), frame.toolBar()->grab());
  CProgressDialog progress(CProgressDialog::kSynthesizing);
  progress.setProgress(3, 5);
  shots.emplace_back(QStringLiteral("progress.png"), progress.grab());

  for (const auto& [name, pixmap] : shots) {
    SCOPED_TRACE(name.toStdString());
    const QString file = dir + QLatin1Char('/') + name;
    ASSERT_TRUE(pixmap.save(file, "PNG"));
    QImageReader reader(file);
    EXPECT_EQ(reader.format(), QByteArray("png"));
    EXPECT_EQ(reader.size(), pixmap.size());
  }
  EXPECT_EQ(shots.front().second.size(), QSize(1280, 800));
  EXPECT_EQ(n, 11);  // File, Edit, Data Entry Method, Anchors, Interpolation, Analysis, Play, Options, View,
                     // Window, Help
}

}  // namespace
}  // namespace vandrel::ui::test
