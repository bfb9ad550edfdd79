// vandrel-screenshots FOLDER: pictures of the shell for a person to look at
// (never compared pixel by pixel): the main window with a blank document,
// each menu, two windows cascaded, the toolbar's icons drawn large, and the
// progress dialog. scripts/screenshots runs it under a virtual display.

#include <QAction>
#include <QApplication>
#include <QDir>
#include <QFile>
#include <QMdiArea>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QTemporaryDir>
#include <QTextStream>
#include <QToolBar>

#include <cstdio>
#include <cstdlib>
#include <utility>
#include <vector>

#include "ShotKit.h"
#include "app/CChildFrame.h"
#include "app/CMainFrame.h"
#include "app/CProgressDialog.h"
#include "app/CVandrelApp.h"
#include "app/CommandIds.h"
#include "app/DocumentRecovery.h"
#include "app/OpenDocument.h"
#include "common/Messages.h"
#include "document/VdrFile.h"
#include "editing/EditTransaction.h"
#include "editing/Interpolation.h"
#include "table/CVandrelView.h"
#include "table/MyCug.h"

using namespace vandrel;
using namespace vandrel::ui;

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: vandrel-screenshots FOLDER\n");
    return 2;
  }
  shots::ScratchProfile scratch;
  if (!scratch.valid()) return 1;
  QApplication app(argc, argv);
  const QString folder = QApplication::arguments().at(1);
  if (!QDir().mkpath(folder)) {
    std::fprintf(stderr, "vandrel-screenshots: cannot make %s\n", qPrintable(folder));
    return 1;
  }

  ShellEnvironment env;
  env.tempFolder = scratch.path();
  env.applicationFolder = QCoreApplication::applicationDirPath();
  CMainFrame frame(env);
  frame.resize(1280, 800);
  frame.show();
  frame.newDocument();
  QApplication::processEvents();

  std::vector<std::pair<QString, QPixmap>> pictures;
  pictures.emplace_back(QStringLiteral("main-window.png"), frame.grab());
  int n = 0;
  for (QAction* menuAction : frame.menuBar()->actions()) {
    QMenu* menu = menuAction->menu();
    menu->ensurePolished();
    menu->adjustSize();
    pictures.emplace_back(QStringLiteral("menu-%1.png").arg(++n, 2, 10, QLatin1Char('0')), menu->grab());
  }

  // The table as a phonetician meets it: group colours, the default hidden
  // rows, anchors at the ends of an /ai/-like glide with the frames between
  // interpolated (nine steps: values with fractions, a rising f0 up to
  // 200 Hz), and a block selected.
  if (auto* view = qobject_cast<CVandrelView*>(frame.activeChildFrame()->view())) {
    vandrel::CVandrelDoc& doc = view->document().doc();
    const std::pair<int, std::pair<double, double>> glide[] = {{vandrel::kF1, {750, 300}},
                                                               {vandrel::kF2, {1200, 2200}},
                                                               {vandrel::kF3, {2500, 2900}},
                                                               {vandrel::kF0, {1200, 2000}}};
    for (const auto& [row, ends] : glide) {
      EditTransaction(doc).setValue(row, 2, ends.first);
      EditTransaction(doc).setValue(row, 11, ends.second);
      EditTransaction(doc).setAnchor(row, 2, true);
      EditTransaction(doc).setAnchor(row, 11, true);
    }
    vandrel::interpolateAllCommand(doc);
    view->selection() = vandrel::TableSelection::block(5, vandrel::kF2, 9, vandrel::kF1);
    view->showStoredSelection();
    view->table()->setCurrentCell(vandrel::kF1, 9);
    QApplication::processEvents();
    pictures.emplace_back(QStringLiteral("table.png"), frame.grab());
    doc.setModified(false);
  }

  frame.runCommand(ID_WINDOW_NEW);
  frame.runCommand(ID_WINDOW_CASCADE);
  QApplication::processEvents();
  pictures.emplace_back(QStringLiteral("cascade.png"), frame.grab());

  frame.toolBar()->setIconSize(QSize(40, 40));
  frame.toolBar()->adjustSize();
  pictures.emplace_back(QStringLiteral("toolbar-large.png"), frame.toolBar()->grab());
  CProgressDialog progress(CProgressDialog::kSynthesizing);
  progress.setProgress(3, 5);
  pictures.emplace_back(QStringLiteral("progress.png"), progress.grab());

  // Quit without the close questions of a real session.
  frame.activeDocument()->setModified(false);

  // A start after a crash: the question naming the kept documents, and the
  // documents back in windows of the usual size.
  setenv("XDG_STATE_HOME", qPrintable(scratch.path() + QStringLiteral("/state")), 1);
  const QString run = DocumentRecovery::defaultRoot() + QStringLiteral("/1-1");
  QDir().mkpath(run);
  for (const auto& [n, name] : {std::pair{1, "vowels.vdr"}, std::pair{2, ""}}) {
    vandrel::CVandrelDoc kept;
    vandrel::saveVdrFile(qPrintable(run + QStringLiteral("/%1.vdr").arg(n)), kept,
                         vandrel::VdrKind::kAllParameters);
    QFile path(run + QStringLiteral("/%1.path").arg(n));
    if (path.open(QIODevice::WriteOnly) && *name)
      path.write(qPrintable(QDir::homePath() + "/stimuli/" + name));
  }
  setMessagePresenter([&pictures](const MessageRequest& r) {
    QMessageBox box(r.icon, QStringLiteral("Vandrel"), r.text, r.buttons);
    box.show();
    QApplication::processEvents();
    pictures.emplace_back(QStringLiteral("recovery-question.png"), box.grab());
    return QMessageBox::Yes;
  });
  {
    CVandrelApp restarted;
    restarted.initInstance({QStringLiteral("vandrel")});
    QApplication::processEvents();
    CMainFrame& again = *restarted.mainFrame();
    pictures.emplace_back(QStringLiteral("recovered.png"), again.grab());
    for (CChildFrame* f : again.childFrames()) {
      std::printf("recovered window %s: %d x %d in an area of %d x %d\n", qPrintable(f->windowTitle()),
                  f->width(), f->height(), again.mdiArea()->width(), again.mdiArea()->height());
      f->document().setModified(false);
    }
  }
  setMessagePresenter({});

  for (const auto& [name, pixmap] : pictures) shots::save(pixmap.toImage(), folder + QLatin1Char('/') + name);
  return shots::exitCode();
}
