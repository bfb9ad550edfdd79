// The spectrogram/pitch view through the real widgets on the offscreen
// platform, on a minute of speech at 22050 Hz with formant tracking on.
// Targets: from "Spectrogram/Pitch of Audio File" to the complete picture
// (spectrogram, formants, pitch) under 400 ms; after a zoom or a resize the
// old picture, scaled, at once and the new one within 200 ms; each crosshair
// move under 16 ms.
//
// The minute carries three label tiers of 2,000 intervals each (phones,
// syllables and words cut as finely: the hardest case for the tiers drawn
// under the panes), so every figure holds with labels shown.
//
// The speech comes from the WAV file named by VANDREL_BENCH_SPEECH_22050
// (bench/analysis_bench.sh shows how to make one from pocketsphinx-testdata);
// without it a minute of gliding synthetic vowels stands in.

#include <benchmark/benchmark.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QMdiArea>
#include <QTest>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <memory>

#include "app/CChildFrame.h"
#include "app/CMainFrame.h"
#include "app/CommandIds.h"
#include "app/OpenDocument.h"
#include "audio/Wave.h"
#include "document/VandrelDoc.h"
#include "engine/Resonator.h"
#include "labels/Labels.h"
#include "views/common/LabelTiersPane.h"
#include "views/spectrogram/CSpectrogramFrame.h"
#include "views/spectrogram/CSpectrogramView.h"
#include "views/spectrogram/SpectrogramCanvas.h"

namespace vandrel::ui {
namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kFs = 22050;

SampleSet speech() {
  SampleSet set;
  if (const char* path = std::getenv("VANDREL_BENCH_SPEECH_22050"))
    if (loadWaveFile(path, set) == WaveLoad::kOk && set.sampleRate == kFs) return set;
  const auto n = static_cast<std::size_t>(60 * kFs);
  set.samples.resize(n);
  set.sampleRate = kFs;
  set.sampleCount = static_cast<double>(n);
  set.fileLengthMs = 60000;
  Resonator r1, r2, r3;
  double phase = 0;
  for (std::size_t i = 0; i < n; ++i) {
    const double t = static_cast<double>(i) / kFs;
    r1.set(static_cast<int>(500 + 200 * std::sin(2 * kPi * 0.7 * t)), 80, -kPi / kFs, 2 * kPi / kFs);
    r2.set(static_cast<int>(1500 + 400 * std::sin(2 * kPi * 0.4 * t)), 100, -kPi / kFs, 2 * kPi / kFs);
    r3.set(2500, 150, -kPi / kFs, 2 * kPi / kFs);
    phase += (125 + 35 * std::sin(2 * kPi * 0.3 * t)) / kFs;
    double pulse = 0;
    if (phase >= 1) {
      phase -= 1;
      pulse = std::fmod(t, 1.5) < 1.1 ? 3000 : 0;
    }
    set.samples[i] =
        static_cast<std::int16_t>(std::clamp(r3.step(r2.step(r1.step(pulse))), -32768.0, 32767.0));
  }
  return set;
}

struct Scene {
  std::unique_ptr<CMainFrame> frame;
  CSpectrogramFrame* window = nullptr;
  SpectrogramCanvas* canvas = nullptr;

  Scene() {
    ShellEnvironment env;
    env.tempFolder.clear();
    env.config.spectrogram.displayFormants = 1;
    frame = std::make_unique<CMainFrame>(env);
    frame->resize(1600, 1000);
    frame->show();
    vandrel::CVandrelDoc& doc = frame->newDocument()->document().doc();
    doc.attachAudio(speech());
    Labels g;
    for (const char* name : {"phones", "syllables", "words"}) {
      addTier(g, name, false, 0.0, 60.0);
      for (int k = 1; k < 2000; ++k) addBoundary(g, g.tiers.size() - 1, k * 0.03);
      for (std::size_t k = 0; k < 2000; ++k) setLabelText(g, g.tiers.size() - 1, k, k % 2 ? "a\u02D0" : "b");
    }
    doc.setLabels(std::make_shared<const Labels>(std::move(g)));
    QApplication::processEvents();
  }

  void open() {
    frame->runCommand(ID_ANALYSIS_SPECTRO_AUDIO);
    window = qobject_cast<CSpectrogramFrame*>(frame->mdiArea()->activeSubWindow());
    window->showMaximized();
    canvas = window->view()->canvas();
  }

  // Until the analyses are in and painted.
  void settle() const {
    while (canvas->busy()) QTest::qWait(1);
    canvas->repaint();
  }
};

Scene& scene() {
  static Scene s;
  return s;
}

void BM_CommandToCompletePicture(benchmark::State& state) {
  Scene& s = scene();
  for (auto _ : state) {
    if (s.window) {
      s.window->close();
      QApplication::processEvents();
    }
    QElapsedTimer t;
    t.start();
    s.open();
    s.settle();
    state.SetIterationTime(static_cast<double>(t.nsecsElapsed()) / 1e9);
  }
}
BENCHMARK(BM_CommandToCompletePicture)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(10);

// Zooming between the whole minute and its middle 6 s: the old picture,
// scaled, then the new one.
void BM_ZoomOldPictureAtOnce(benchmark::State& state) {
  Scene& s = scene();
  if (!s.window) s.open();
  s.settle();
  bool in = true;
  for (auto _ : state) {
    QElapsedTimer t;
    t.start();
    in ? s.canvas->axis().setVisible(27000, 33000) : s.canvas->showAll();
    s.canvas->repaint();
    state.SetIterationTime(static_cast<double>(t.nsecsElapsed()) / 1e9);
    state.PauseTiming();
    s.settle();
    in = !in;
    state.ResumeTiming();
  }
}
BENCHMARK(BM_ZoomOldPictureAtOnce)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(20);

void BM_ZoomToNewPicture(benchmark::State& state) {
  Scene& s = scene();
  if (!s.window) s.open();
  s.settle();
  bool in = true;
  for (auto _ : state) {
    QElapsedTimer t;
    t.start();
    in ? s.canvas->axis().setVisible(27000, 33000) : s.canvas->showAll();
    s.settle();
    state.SetIterationTime(static_cast<double>(t.nsecsElapsed()) / 1e9);
    in = !in;
  }
}
BENCHMARK(BM_ZoomToNewPicture)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(20);

void BM_ResizeToNewPicture(benchmark::State& state) {
  Scene& s = scene();
  if (!s.window) s.open();
  s.window->showNormal();
  bool wide = true;
  for (auto _ : state) {
    QElapsedTimer t;
    t.start();
    s.window->resize(wide ? 1500 : 1100, wide ? 900 : 700);
    QApplication::processEvents();
    s.settle();
    state.SetIterationTime(static_cast<double>(t.nsecsElapsed()) / 1e9);
    wide = !wide;
  }
  s.window->showMaximized();
}
BENCHMARK(BM_ResizeToNewPicture)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(20);

void BM_CrosshairMove(benchmark::State& state) {
  Scene& s = scene();
  if (!s.window) s.open();
  s.settle();
  int x = 100;
  const int y = s.canvas->height() / 2;
  for (auto _ : state) {
    QTest::mouseMove(s.canvas, QPoint(x, y));
    s.canvas->repaint();
    x = 100 + (x + 37) % (s.canvas->width() - 200);
  }
}
BENCHMARK(BM_CrosshairMove)->Unit(benchmark::kMillisecond)->Iterations(200);

// The three tiers alone, redrawn over the whole minute and over 6 s of it.
void BM_LabelTiersRepaint(benchmark::State& state) {
  Scene& s = scene();
  if (!s.window) s.open();
  s.settle();
  auto* tiers = s.window->findChild<LabelTiersPane*>();
  bool in = true;
  for (auto _ : state) {
    in ? s.canvas->axis().setVisible(27000, 33000) : s.canvas->showAll();
    tiers->repaint();
    in = !in;
  }
}
BENCHMARK(BM_LabelTiersRepaint)->Unit(benchmark::kMillisecond)->Iterations(40);

}  // namespace
}  // namespace vandrel::ui
