// Drawing into a long table with the mouse, through the real widgets on the
// offscreen platform (48 x 60,000 frames, the table window and the drawing
// window both on screen): one mouse move of a stroke handled and painted
// (target under 5 ms), and the undo of a stroke across the whole window with
// everything repainted (target under 50 ms).

#include <benchmark/benchmark.h>

#include <QApplication>
#include <QMdiArea>
#include <QMouseEvent>

#include <memory>
#include <random>

#include "app/CChildFrame.h"
#include "app/CMainFrame.h"
#include "app/CommandIds.h"
#include "app/OpenDocument.h"
#include "editing/AfterEdit.h"
#include "editing/EditTransaction.h"
#include "entry/CFreqInputWnd.h"
#include "entry/CGraphicalInputChild.h"

namespace vandrel::ui {
namespace {

struct Drawing {
  std::unique_ptr<CMainFrame> frame;
  CFreqInputWnd* wnd = nullptr;

  Drawing() {
    ShellEnvironment env;
    env.tempFolder.clear();
    frame = std::make_unique<CMainFrame>(env);
    frame->resize(1600, 1000);
    frame->show();
    CChildFrame* table = frame->newDocument();
    CVandrelDoc& d = table->document().doc();
    d.newTable(60000, 10);
    vandrel::EditTransaction fill(d);  // the values, told as one structure change
    fill.noteResized();
    std::mt19937 rng(7);
    for (int r = 0; r < kParamCount; ++r) {
      std::uniform_int_distribution<int> v(d.params().at(r).lower, d.params().at(r).upper);
      for (int c = 0; c < 60000; ++c) fill.table().setValue(r, c, v(rng));
    }
    d.notifyStructureChanged();
    afterEditStep(d);
    DrawingChoice choice = d.drawing();
    choice.selected = DrawTrack::kF1;  // strokes go over the formant strip
    d.setDrawing(choice);
    frame->runCommand(ID_ENTRY_GRAPHICAL);
    auto* child = qobject_cast<CGraphicalInputChild*>(frame->mdiArea()->activeSubWindow());
    frame->mdiArea()->tileSubWindows();  // the table and the drawing side by side
    wnd = child->drawing();
    QApplication::processEvents();
  }

  void send(QEvent::Type type, QPoint at) {
    const Qt::MouseButtons held = type == QEvent::MouseButtonRelease ? Qt::NoButton : Qt::LeftButton;
    const Qt::MouseButton button = type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton;
    QMouseEvent e(type, QPointF(at), QPointF(wnd->mapToGlobal(at)), button, held, Qt::NoModifier);
    QApplication::sendEvent(wnd, &e);
  }

  // A point of the formant strip at step i of a wave across the window.
  QPoint at(int i) const {
    const PixelBox& f = wnd->layout().stripOf(Strip::kFormants);
    return {f.left + i % f.width, f.top + f.height / 4 + (i * 7) % (f.height / 2)};
  }
};

void BM_DrawMove(benchmark::State& st) {
  Drawing d;
  d.send(QEvent::MouseButtonPress, d.at(0));
  int i = 1;
  for (auto _ : st) {
    d.send(QEvent::MouseMove, d.at(i++));
    QApplication::processEvents();  // the band of the drawing and the table's cell painted
  }
  d.send(QEvent::MouseButtonRelease, d.at(i));
  QApplication::processEvents();
  if (!d.frame->activeDocument()->doc().modified()) st.SkipWithError("the stroke wrote nothing");
}
BENCHMARK(BM_DrawMove)->Unit(benchmark::kMillisecond)->Iterations(500);

void BM_UndoStroke(benchmark::State& st) {
  Drawing d;
  const int width = d.wnd->layout().area.width;
  for (auto _ : st) {
    st.PauseTiming();
    d.send(QEvent::MouseButtonPress, d.at(0));
    for (int i = 0; i < width; i += 2) d.send(QEvent::MouseMove, d.at(i));
    d.send(QEvent::MouseButtonRelease, d.at(width - 1));
    QApplication::processEvents();
    st.ResumeTiming();
    d.frame->runCommand(ID_EDIT_UNDO);
    QApplication::processEvents();
  }
}
BENCHMARK(BM_UndoStroke)->Unit(benchmark::kMillisecond)->Iterations(10);

}  // namespace
}  // namespace vandrel::ui
