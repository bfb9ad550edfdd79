// One document on a minute of speech-like sound with its four windows open
// (table, spectrogram/pitch of the recording, graphical entry, FFT/LPC),
// through the real widgets on the offscreen platform:
// - how many analyses each window's opening starts (the counters): the
//   drawing window shares the pitch track the spectrogram window made (one
//   pitch track in all), draws its own grid (its size and range differ: a
//   grid has a column per pixel), and the FFT/LPC window starts none;
// - a typed value committed in the table and every window repainted
//   (target under 16 ms).

#include <benchmark/benchmark.h>

#include <QApplication>
#include <QMdiArea>
#include <QTest>
#include <QThreadPool>

#include <cmath>
#include <memory>

#include "TypeInCell.h"
#include "app/CChildFrame.h"
#include "app/CMainFrame.h"
#include "app/CommandIds.h"
#include "app/OpenDocument.h"
#include "document/VandrelDoc.h"
#include "table/CVandrelView.h"
#include "table/MyCug.h"
#include "views/common/AnalysisCache.h"

namespace vandrel::ui {
namespace {

// 60 s at 16 kHz: a 110-130 Hz voice through two moving resonances, with a
// pause every second, so that pitch and formants have something to find.
SampleSet minuteOfVoice() {
  SampleSet set;
  set.sampleRate = 16000;
  const int n = 60 * 16000;
  set.samples.resize(static_cast<std::size_t>(n));
  double phase = 0;
  for (int i = 0; i < n; ++i) {
    const double t = i / 16000.0;
    const double f0 = 120 + 10 * std::sin(2 * M_PI * 0.5 * t);
    phase += 2 * M_PI * f0 / 16000.0;
    const bool voiced = std::fmod(t, 1.0) < 0.8;
    double v = 0;
    for (int h = 1; h * f0 < 4000; ++h) {
      const double f = h * f0;
      const double f1 = 500 + 200 * std::sin(t), f2 = 1500 + 400 * std::cos(0.7 * t);
      const double gain = 1 / (1 + std::pow((f - f1) / 80, 2)) + 0.6 / (1 + std::pow((f - f2) / 120, 2));
      v += gain * std::sin(h * phase);
    }
    set.samples[static_cast<std::size_t>(i)] = static_cast<std::int16_t>(voiced ? 6000 * v : 0);
  }
  return set;
}

struct FourWindows {
  std::unique_ptr<CMainFrame> frame;
  CChildFrame* table = nullptr;
  // Analyses started by opening each window (a pitch track, a spectrogram
  // grid), and in all once the four are tiled.
  int runsSpectrogram = 0, runsEntry = 0, runsFftLpc = 0, pitchTracks = 0, grids = 0;

  static void settle() {
    QApplication::processEvents();
    QThreadPool::globalInstance()->waitForDone();
    QApplication::processEvents();
  }

  FourWindows() {
    ShellEnvironment env;
    env.tempFolder.clear();
    frame = std::make_unique<CMainFrame>(env);
    frame->resize(1600, 1000);
    frame->show();
    table = frame->newDocument();
    table->document().doc().attachAudio(minuteOfVoice());
    settle();
    AnalysisCache& cache = AnalysisCache::of(table->document());
    const auto runs = [&cache] { return cache.pitchesStarted() + cache.spectrogramsStarted(); };
    const auto open = [&](int id) {
      frame->mdiArea()->setActiveSubWindow(table);
      const int before = runs();
      frame->runCommand(id);
      settle();
      return runs() - before;
    };
    runsSpectrogram = open(ID_ANALYSIS_SPECTRO_AUDIO);
    runsEntry = open(ID_ENTRY_GRAPHICAL);
    runsFftLpc = open(ID_ANALYSIS_FFT_LPC);
    frame->mdiArea()->tileSubWindows();
    frame->mdiArea()->setActiveSubWindow(table);
    settle();
    pitchTracks = cache.pitchesStarted();
    grids = cache.spectrogramsStarted();
  }
};

void BM_TypedValueWithFourWindows(benchmark::State& st) {
  FourWindows w;
  auto* view = qobject_cast<CVandrelView*>(w.table->view());
  MyCug* grid = view->table();
  grid->setFocus();
  int column = 100;
  for (auto _ : st) {
    typeInCell(grid, kF1, column++, QStringLiteral("500"));
  }
  st.counters["runs_spectrogram_window"] = w.runsSpectrogram;
  st.counters["runs_entry_window"] = w.runsEntry;
  st.counters["runs_fftlpc_window"] = w.runsFftLpc;
  st.counters["pitch_tracks"] = w.pitchTracks;
  st.counters["spectrogram_grids"] = w.grids;
}
BENCHMARK(BM_TypedValueWithFourWindows)->Unit(benchmark::kMillisecond)->Iterations(40);

}  // namespace
}  // namespace vandrel::ui
