// vandrel-entry-screenshots FOLDER [WAV]: pictures of graphical data entry for
// a person to judge (never compared). A recording (by default a read
// sentence from pocketsphinx-testdata) opens beside a blank table; its pitch
// and formants are entered with "Enter All Data"; F2 is redrawn with one
// stroke over the middle and a few f1 frames are anchored. Then the drawing
// window alone, the table and the drawing tiled, and the user's guide's
// picture (graphical-entry.png).

#include <QAbstractButton>
#include <QApplication>
#include <QMdiArea>
#include <QMouseEvent>
#include <QTest>

#include <cstdio>

#include "ShotKit.h"
#include "app/CChildFrame.h"
#include "app/CMainFrame.h"
#include "app/CommandIds.h"
#include "app/OpenDocument.h"
#include "common/Messages.h"
#include "editing/EditTransaction.h"
#include "entry/CFreqInputWnd.h"
#include "entry/CGraphicalInput.h"
#include "entry/CGraphicalInputChild.h"

using namespace vandrel;
using namespace vandrel::ui;
using vandrel::shots::mouse;
using vandrel::shots::save;

int main(int argc, char** argv) {
  shots::PictureTool tool(argc, argv, "vandrel-entry-screenshots FOLDER [WAV]");
  if (!tool.ok()) return tool.failure();
  const QString folder = tool.folder();
  const QString wav = tool.argument(
      2, QStringLiteral(
             "/usr/share/pocketsphinx/test/data/librivox/sense_and_sensibility_01_austen_64kb-0880.wav"));
  setMessagePresenter([](const MessageRequest& r) {
    std::fprintf(stderr, "message: %s\n", qPrintable(r.text));
    return QMessageBox::Ok;
  });
  ShellEnvironment env = tool.environment();
  CMainFrame frame(env);
  shots::showAtPictureSize(frame);
  frame.environment().config.spectrogram.displayFormants = 1;
  if (!frame.openFile(wav)) return 1;
  CVandrelDoc& doc = frame.activeDocument()->doc();
  frame.runCommand(ID_ENTRY_GRAPHICAL);
  auto* child = qobject_cast<CGraphicalInputChild*>(frame.mdiArea()->activeSubWindow());
  if (!child) return 1;
  child->showMaximized();
  QTest::qWait(300);
  child->panel()->control(CGraphicalInput::kEnterAllData)->click();

  // F2 redrawn over the middle fifth, a gentle rise; five f1 anchors.
  child->panel()->control(CGraphicalInput::radioId(DrawTrack::kF2))->click();
  CFreqInputWnd* wnd = child->drawing();
  const PixelBox& area = wnd->layout().area;
  const PixelBox& f = wnd->layout().stripOf(Strip::kFormants);
  const int x0 = area.left + 2 * area.width / 5, x1 = area.left + 3 * area.width / 5;
  const auto yOf = [&](int hz) {
    return f.bottom() - hz * f.height / wnd->layout().rangeOf(Strip::kFormants);
  };
  mouse(wnd, QEvent::MouseButtonPress, QPoint(x0, yOf(1400)));
  for (int x = x0; x <= x1; x += 2)
    mouse(wnd, QEvent::MouseMove, QPoint(x, yOf(1400 + 400 * (x - x0) / (x1 - x0))));
  mouse(wnd, QEvent::MouseButtonRelease, QPoint(x1, yOf(1800)));
  for (int k = 1; k <= 5; ++k) EditTransaction(doc).setAnchor(kF1, k * doc.table().columns() / 6, true);
  doc.notifyStructureChanged();

  if (!QTest::qWaitFor([&] { return !wnd->backgroundBusy() && wnd->hasBackground(); }, 20000))
    std::fprintf(stderr, "vandrel-entry-screenshots: no recording behind the strips\n");
  QTest::qWait(400);
  save(child->grab().toImage(), folder + QStringLiteral("/entry.png"));
  save(child->grab().toImage().scaledToWidth(1000, Qt::SmoothTransformation),
       folder + QStringLiteral("/graphical-entry.png"));

  child->showNormal();
  frame.mdiArea()->tileSubWindows();
  QTest::qWait(800);
  save(frame.grab().toImage(), folder + QStringLiteral("/entry-tiled.png"));
  for (CChildFrame* c : frame.childFrames()) c->document().setModified(false);
  return shots::exitCode();
}
