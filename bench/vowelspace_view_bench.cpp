// Dragging a handle in the vowel-space window of a 3,000-frame table, through
// the real widgets on the offscreen platform: one mouse move of the drag
// written into the table and the window repainted (target under 16 ms, one
// frame of a 60 Hz screen). The table wanders through the vowel space with
// an anchor in f1 and f2 every tenth frame, and a dozen reference vowels are
// shown, on the bark scale.

#include <benchmark/benchmark.h>

#include <QApplication>
#include <QMdiArea>
#include <QMouseEvent>
#include <QTemporaryDir>

#include <cmath>
#include <cstdio>
#include <memory>

#include "app/CChildFrame.h"
#include "app/CMainFrame.h"
#include "app/CommandIds.h"
#include "app/OpenDocument.h"
#include "editing/EditTransaction.h"
#include "views/vowelspace/CVowelSpaceFrame.h"
#include "views/vowelspace/VowelSpaceView.h"

namespace vandrel::ui {
namespace {

void BM_VowelSpaceDragMove(benchmark::State& st) {
  ShellEnvironment env;
  env.tempFolder.clear();
  CMainFrame frame(env);
  frame.resize(1400, 900);
  frame.show();
  CChildFrame* table = frame.newDocument();
  CVandrelDoc& d = table->document().doc();
  d.newTable(3000, 10);
  vandrel::EditTransaction fill(d);  // the values, told as one structure change
  fill.noteResized();
  for (int c = 0; c < 3000; ++c) {
    fill.table().setValue(kF1, c, std::round(550 + 250 * std::sin(c / 47.0)));
    fill.table().setValue(kF2, c, std::round(1600 + 700 * std::sin(c / 31.0)));
    fill.table().setAnchor(kF1, c, c % 10 == 0);
    fill.table().setAnchor(kF2, c, c % 10 == 0);
  }
  d.notifyStructureChanged();
  frame.runCommand(ID_VIEW_VOWEL_SPACE);
  auto* child = qobject_cast<CVowelSpaceFrame*>(frame.mdiArea()->activeSubWindow());
  VowelSpaceView* view = child->view();
  child->resize(900, 700);
  QTemporaryDir dir;
  const QString vowels = dir.filePath(QStringLiteral("v.tsv"));
  FILE* f = std::fopen(vowels.toLocal8Bit().constData(), "w");
  std::fputs(
      "i 280 2250\ne 400 2100\nɛ 550 1900\næ 690 1660\na 710 1100\nɑ 750 940\nɔ 590 880\no 450 830\n"
      "u 310 870\nʊ 440 1020\nʌ 640 1190\nə 500 1500\n",
      f);
  std::fclose(f);
  view->loadReferenceVowels(vowels);
  view->setScale(FormantScale::kBark);
  QApplication::processEvents();

  QWidget* canvas = view->canvas();
  const auto send = [&](QEvent::Type type, QPointF at) {
    const Qt::MouseButtons held = type == QEvent::MouseButtonRelease ? Qt::NoButton : Qt::LeftButton;
    const Qt::MouseButton button = type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton;
    QMouseEvent e(type, at, canvas->mapToGlobal(at), button, held, Qt::NoModifier);
    QApplication::sendEvent(canvas, &e);
  };
  const VowelSpaceMap m = view->canvasMap();
  const QPointF start(m.xOf(d.table().value(kF2, 1500)), m.yOf(d.table().value(kF1, 1500)));
  send(QEvent::MouseButtonPress, start);
  int i = 0;
  for (auto _ : st) {
    ++i;
    send(QEvent::MouseMove, start + QPointF(40 * std::cos(i / 10.0), 30 * std::sin(i / 10.0)));
    QApplication::processEvents();  // the window repainted
  }
  send(QEvent::MouseButtonRelease, start);
  QApplication::processEvents();
  if (!d.modified()) st.SkipWithError("the drag wrote nothing");
}
BENCHMARK(BM_VowelSpaceDragMove)->Unit(benchmark::kMillisecond)->Iterations(300);

}  // namespace
}  // namespace vandrel::ui
