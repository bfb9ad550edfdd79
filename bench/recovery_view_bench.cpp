// Copies of unsaved work on a long table: how long the window is held up by
// one copy of a 1,000,000-frame table (48 rows), which is only the snapshot of
// the table; making the snapshot's room, formatting and writing it happen on
// the copy writer's thread (the second figure, the whole copy, for
// comparison). The first of the three copies is the first of the document.
// Target: the window held under 250 ms.

#include <benchmark/benchmark.h>

#include <QApplication>
#include <QTemporaryDir>

#include <memory>

#include "app/CChildFrame.h"
#include "app/CMainFrame.h"
#include "app/DocumentRecovery.h"
#include "app/OpenDocument.h"
#include "document/VandrelDoc.h"
#include "editing/EditTransaction.h"

namespace vandrel::ui {
namespace {

struct LongTable {
  QTemporaryDir state;
  std::unique_ptr<CMainFrame> frame;
  OpenDocument* doc = nullptr;
  LongTable() {
    qputenv("XDG_STATE_HOME", state.path().toUtf8());
    ShellEnvironment env;
    env.tempFolder = state.path();
    frame = std::make_unique<CMainFrame>(env);
    doc = &frame->newDocument()->document();
    CVandrelDoc& d = doc->doc();
    constexpr int kFrames = 1'000'000;
    d.newTable(kFrames, 10);
    vandrel::EditTransaction fill(d);  // the values, told as one structure change
    fill.noteResized();
    for (int c = 0; c < kFrames; ++c) fill.table().setValue(kF0, c, 1000 + c % 500);
  }
  void edit(int n) {
    vandrel::EditTransaction(doc->doc()).setValue(kF1, n % 1000, 500 + n % 100);  // told as it ends
    doc->doc().markEdited();
  }
};

void BM_WindowHeldByOneCopy(benchmark::State& state) {
  LongTable t;
  int n = 0;
  for (auto _ : state) {
    state.PauseTiming();
    // The edit, and the quiet second after it in which the copy waits: the
    // first edit has the writer make the snapshot's room then.
    t.edit(++n);
    t.frame->recovery()->waitForWriter();
    state.ResumeTiming();
    t.frame->recovery()->startCopies();
    state.PauseTiming();
    t.frame->recovery()->saveNow();
    state.ResumeTiming();
  }
  t.doc->setModified(false);
}
BENCHMARK(BM_WindowHeldByOneCopy)->Unit(benchmark::kMillisecond)->Iterations(3);

void BM_WholeCopy(benchmark::State& state) {
  LongTable t;
  int n = 0;
  for (auto _ : state) {
    t.edit(++n);
    t.frame->recovery()->saveNow();
  }
  t.doc->setModified(false);
}
BENCHMARK(BM_WholeCopy)->Unit(benchmark::kMillisecond)->Iterations(3);

}  // namespace
}  // namespace vandrel::ui
