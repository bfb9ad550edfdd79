// Listening through the editor's window, against a private sound server whose
// sink is recorded: from the Play key to the first sample at the sink for a
// selection of a 10 s table that must be synthesized first (target under
// 60 ms), and from the A/B key in a loop to the first sample of the other
// side (under 30 ms; the original at the copy's rate, or at 44100 Hz); and the synthesis of a "Listen to"
// signal of a 60 s table (under 50 ms). Times at the sink are wall-clock (manual time).

#include <benchmark/benchmark.h>

#include <QAction>
#include <QApplication>
#include <QTemporaryDir>

#include <memory>

#include "../tests/ui/playback/SoundKit.h"
#include "app/CChildFrame.h"
#include "app/CMainFrame.h"
#include "app/CommandIds.h"
#include "app/OpenDocument.h"
#include "common/Workspace.h"
#include "editing/EditTransaction.h"
#include "engine/Synthesizer.h"
#include "playback/Listening.h"

namespace vandrel::ui {

using namespace soundtest;

void resize(CVandrelDoc& doc, int frames) { doc.newTable(frames, 10); }

struct Session {
  std::unique_ptr<CMainFrame> frame;
  OpenDocument* document = nullptr;
  MonitorCapture capture;

  Session() {
    ShellEnvironment env;
    env.tempFolder.clear();
    frame = std::make_unique<CMainFrame>(env);
    frame->show();
    document = &frame->newDocument()->document();
    resize(document->doc(), 1000);  // 10 s
    document->doc().notifyStructureChanged();
    capture.start();
  }
  ~Session() {
    capture.stop();
    document->setModified(false);
  }
  QAction* item(int id) { return frame->findChild<QAction*>(QStringLiteral("command_%1").arg(id)); }
  // Waits for the first sound recorded after `from`; its delay after `t0` in seconds.
  double heardAfter(std::int64_t from, Clock::time_point t0) {
    std::int64_t at = -1;
    for (int i = 0; i < 2000 && at < 0; ++i) {
      QTest::qWait(2);
      at = capture.soundFrom(from);
    }
    return at < 0 ? 1.0 : std::chrono::duration<double>(capture.timeOf(at) - t0).count();
  }
  void quiet() {
    item(ID_PLAY_STOP)->trigger();
    QTest::qWait(250);
  }
};

// Made in main, between the application and its end.
Session* gSession = nullptr;
Session& session() { return *gSession; }

void BM_PlaySelectionOf10sTable(benchmark::State& state) {
  Session& s = session();
  Workspace::of(*s.document).setSelection(4000, 6000);
  for (auto _ : state) {
    s.document->doc().markDueForSynthesis();  // an edit: Play synthesizes first
    const std::int64_t from = s.capture.size();
    const auto t0 = Clock::now();
    s.item(ID_PLAY_CURRENT)->trigger();
    state.SetIterationTime(s.heardAfter(from, t0));
    s.quiet();
  }
}
BENCHMARK(BM_PlaySelectionOf10sTable)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(20);

void BM_ABSwitchInALoop(benchmark::State& state) {
  Session& s = session();
  CVandrelDoc& doc = s.document->doc();
  ensureSynthesized(doc);
  // A silent original, at the copy's rate or at the one given (then the
  // copy is heard at the original's rate, taken up to it when Play starts).
  SampleSet silent =
      state.range(0) > 0 ? atRate(doc.synthesized(), static_cast<double>(state.range(0))) : doc.synthesized();
  std::fill(silent.samples.begin(), silent.samples.end(), std::int16_t{0});
  doc.attachAudio(std::move(silent));
  if (!s.item(ID_PLAY_LOOP)->isChecked()) s.item(ID_PLAY_LOOP)->trigger();
  for (auto _ : state) {
    s.item(ID_PLAY_AUDIO)->trigger();
    QTest::qWait(300);
    const std::int64_t from = s.capture.size();
    const auto t0 = Clock::now();
    s.item(ID_PLAY_SWITCH)->trigger();  // over to the copy
    state.SetIterationTime(s.heardAfter(from, t0));
    s.quiet();
  }
  s.item(ID_PLAY_LOOP)->trigger();
}
BENCHMARK(BM_ABSwitchInALoop)
    ->Arg(0)
    ->Arg(44100)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->Iterations(20);

void BM_ListenToSignalOf60sTable(benchmark::State& state) {
  CVandrelDoc doc;
  resize(doc, 6000);
  {
    EditTransaction fill(doc);
    for (int c = 0; c < 6000; ++c) fill.setValue(kAf, c, 50);
  }
  for (auto _ : state) benchmark::DoNotOptimize(synthesizeSolo(doc, CKlattEngine::kFrication));
}
BENCHMARK(BM_ListenToSignalOf60sTable)->Unit(benchmark::kMillisecond);

}  // namespace vandrel::ui

int main(int argc, char** argv) {
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  QTemporaryDir dir;
  QProcess server;
  const QString why = vandrel::soundtest::startPulseServer(server, dir.path());
  if (!why.isEmpty()) {
    std::fprintf(stderr, "listening_view_bench: %s\n", qPrintable(why));
    return 1;
  }
  {
    QApplication app(argc, argv);
    vandrel::ui::Session s;
    vandrel::ui::gSession = &s;
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
  }
  vandrel::soundtest::endChild(server);
  return 0;
}
