// vandrel-vowelspace-screenshots FOLDER: pictures of the Vowel Space window
// for a person to judge (never compared): the example table's [a]-[i]-[u]
// path among reference vowels in Hz and in bark, the same during a drag of
// an anchor, and the window's saved picture. scripts/screenshots runs it
// under a virtual display.

#include <QApplication>
#include <QDir>
#include <QMdiArea>
#include <QTest>

#include "ShotKit.h"
#include "app/CChildFrame.h"
#include "app/CMainFrame.h"
#include "app/CommandIds.h"
#include "app/OpenDocument.h"
#include "common/Workspace.h"
#include "views/vowelspace/CVowelSpaceFrame.h"
#include "views/vowelspace/VowelSpaceView.h"

using namespace vandrel;
using namespace vandrel::ui;
using vandrel::shots::save;

int main(int argc, char** argv) {
  vandrel::shots::ScratchProfile profile;
  QApplication app(argc, argv);
  const QString folder = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral(".");
  QDir().mkpath(folder);
  const QString examples = QStringLiteral(VANDREL_SOURCE_DIR "/examples/");

  ShellEnvironment env;
  env.tempFolder.clear();
  CMainFrame frame(env);
  frame.resize(1280, 860);
  frame.show();
  frame.openFile(examples + QStringLiteral("vowels_aiu.vdr"));
  frame.runCommand(ID_VIEW_VOWEL_SPACE);
  auto* child = qobject_cast<CVowelSpaceFrame*>(frame.mdiArea()->activeSubWindow());
  if (!child) {
    std::fprintf(stderr, "no vowel space window\n");
    return 1;
  }
  child->showMaximized();
  VowelSpaceView* view = child->view();
  view->loadReferenceVowels(examples + QStringLiteral("reference_vowels_men.tsv"));
  Workspace::of(child->document()).setTimeMs(300);
  QTest::qWait(100);
  save(frame.grab().toImage(), folder + QStringLiteral("/vowelspace-hz.png"));

  view->setScale(FormantScale::kBark);
  Workspace::of(child->document()).setSelection(220, 520);
  QTest::qWait(100);
  save(frame.grab().toImage(), folder + QStringLiteral("/vowelspace-bark.png"));

  // Halfway through dragging the [i] anchor (frame 36) towards [e].
  const auto& points = view->trajectory();
  const VowelSpaceMap m = view->canvasMap();
  const QPoint from = QPointF(m.xOf(points[36].f2), m.yOf(points[36].f1)).toPoint();
  const QPoint to = QPointF(m.xOf(2000), m.yOf(420)).toPoint();
  vandrel::shots::mouse(view->canvas(), QEvent::MouseButtonPress, from);
  vandrel::shots::mouse(view->canvas(), QEvent::MouseMove, (from + to) / 2);
  vandrel::shots::mouse(view->canvas(), QEvent::MouseMove, to);
  QTest::qWait(100);
  save(frame.grab().toImage(), folder + QStringLiteral("/vowelspace-drag.png"));
  vandrel::shots::mouse(view->canvas(), QEvent::MouseButtonRelease, to);

  save(view->picture(), folder + QStringLiteral("/vowelspace-picture.png"));
  return vandrel::shots::exitCode();
}
