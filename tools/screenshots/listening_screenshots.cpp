// vandrel-listening-screenshots FOLDER: pictures of listening for a person to
// judge (never compared): the /da/ example with its spectrogram, a stretch
// selected, the play line where the sound would be, Loop on and "Frication
// noise" chosen; then the Play menu open on its "Listen to" submenu, also
// at the user's guide's size (Manual/images/listening.png); and the toolbar
// during A/B between the copy (11025 Hz) and a 22050 Hz original beside it
// (listening-ab.png, only when a sound server plays: scripts/test-sound-server).
// scripts/screenshots runs it under a virtual display (without a sound
// server the Play it makes says nothing: its message is swallowed).

#include <QAction>
#include <QApplication>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenu>
#include <QMenuBar>
#include <QScreen>
#include <QTest>
#include <QToolBar>

#include <cstdio>

#include "ShotKit.h"
#include "app/CChildFrame.h"
#include "app/CMainFrame.h"
#include "app/CommandIds.h"
#include "app/OpenDocument.h"
#include "common/Messages.h"
#include "common/Workspace.h"
#include "playback/Listening.h"
#include "table/CVandrelView.h"
#include "table/MyCug.h"

using namespace vandrel;
using namespace vandrel::ui;
using vandrel::shots::save;

int main(int argc, char** argv) {
  shots::PictureTool tool(argc, argv, "vandrel-listening-screenshots FOLDER");
  if (!tool.ok()) return tool.failure();
  const QString folder = tool.folder();
  shots::answerMessagesUnseen();
  ShellEnvironment env = tool.environment();
  CMainFrame frame(env);
  shots::showAtPictureSize(frame);
  if (!frame.openFile(QStringLiteral(VANDREL_SOURCE_DIR "/examples/syllable_da.vdr"))) return 1;
  OpenDocument& document = *frame.activeDocument();
  auto* table = qobject_cast<CVandrelView*>(frame.activeChildFrame()->view());
  frame.runCommand(ID_ANALYSIS_SPECTRO_SYNTH);
  frame.mdiArea()->tileSubWindows();
  const double length = document.doc().params().fileLengthMs;
  Workspace::of(document).setSelection(0.25 * length, 0.7 * length);

  frame.action(ID_PLAY_LOOP)->trigger();
  frame.findChild<QAction*>(QStringLiteral("command_%1").arg(ID_LISTEN_TO_FIRST + 3))->trigger();
  frame.mdiArea()->setActiveSubWindow(frame.mdiArea()->subWindowList().front());
  if (table) table->table()->setCurrentCell(table->table()->currentCell().row, 0);
  Workspace::of(document).setPlayHeadMs(0.45 * length);
  QTest::qWait(1500);  // the spectrogram's analysis
  save(frame.grab().toImage(), folder + QStringLiteral("/listening.png"));

  QMenu* play = nullptr;
  for (QAction* a : frame.menuBar()->actions())
    if (a->text() == QStringLiteral("Play")) play = a->menu();
  auto* listen = frame.findChild<QMenu*>(QStringLiteral("ListenToMenu"));
  if (play && listen) {
    frame.menuBar()->setActiveAction(play->menuAction());
    QTest::qWait(300);
    play->setActiveAction(listen->menuAction());
    listen->popup(play->geometry().topRight() + QPoint(0, play->actionGeometry(listen->menuAction()).top()));
    QTest::qWait(300);
    const QImage shot = frame.screen()->grabWindow(0).toImage().copy(frame.frameGeometry());
    save(shot, folder + QStringLiteral("/listening-menu.png"));
    // The user's guide's picture.
    save(shot.scaledToWidth(1000, Qt::SmoothTransformation), folder + QStringLiteral("/listening-guide.png"));
    listen->hide();
    play->hide();
  }
  // A/B against an original at twice the copy's rate: the copy is heard at
  // the original's rate, and the toolbar says so.
  frame.findChild<QAction*>(QStringLiteral("command_%1").arg(ID_LISTEN_TO_FIRST))->trigger();
  frame.runCommand(ID_PLAY_STOP);
  document.doc().attachAudio(
      atRate(document.doc().synthesized(), 2 * document.doc().synthesized().sampleRate));
  frame.runCommand(ID_PLAY_CURRENT);
  QTest::qWait(300);
  frame.runCommand(ID_PLAY_SWITCH);
  QTest::qWait(100);
  frame.runCommand(ID_PLAY_SWITCH);
  QTest::qWait(100);
  if (Listening* l = Listening::find(document); l && l->playing())
    save(frame.grab(frame.toolBar()->geometry()).toImage(), folder + QStringLiteral("/listening-ab.png"));
  frame.runCommand(ID_PLAY_STOP);

  Workspace::of(document).clearPlayHead();
  for (CChildFrame* f : frame.childFrames()) f->document().setModified(false);
  return shots::exitCode();
}
