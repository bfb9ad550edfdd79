// Analysis > "Copy Synthesis from Audio File" on a 3 s recording, through the
// real menu action on the offscreen platform: from the command to the filled
// table (the copy on its worker, the progress window, the table written as one
// edit and the status bar's report). The recording is the first 3 s of a
// pocketsphinx-testdata sentence (16 kHz) when installed, otherwise a
// synthesized token whose pitch and formants wander; and a high voice
// synthesized here.

#include <benchmark/benchmark.h>

#include <QAction>
#include <QApplication>

#include <cmath>
#include <filesystem>

#include "app/CChildFrame.h"
#include "app/CMainFrame.h"
#include "app/CommandIds.h"
#include "app/OpenDocument.h"
#include "audio/Wave.h"
#include "editing/EditTransaction.h"
#include "engine/Synthesizer.h"

namespace vandrel::ui {
namespace {

SampleSet recording3s() {
  SampleSet s;
  const std::filesystem::path file =
      "/usr/share/pocketsphinx/test/data/librivox/sense_and_sensibility_01_austen_64kb-0870.wav";
  if (loadWaveFile(file.string(), s) == WaveLoad::kOk &&
      static_cast<double>(s.samples.size()) >= 3 * s.sampleRate) {
    s.samples.resize(static_cast<std::size_t>(3 * s.sampleRate));
    return s;
  }
  CVandrelDoc doc;
  doc.newTable(300, 10);
  vandrel::EditTransaction fill(doc);  // the values, told as one structure change
  fill.noteResized();
  for (int c = 0; c < 300; ++c) {
    fill.table().setValue(kF0, c, 1100 + 300 * std::sin(c / 37.0));
    fill.table().setValue(kF1, c, 600 + 200 * std::sin(c / 13.0));
    fill.table().setValue(kF2, c, 1500 + 400 * std::sin(c / 17.0));
    fill.table().setValue(kAv, c, c % 50 < 40 ? 60 : 0);
  }
  KlattState state;
  synthesize(doc, {}, state);
  return doc.synthesized();
}

// A high voice of 3 s made by our own synthesizer: f0 about 220 Hz, F1 and
// F2 gliding as in diphthongs, with a pause every 600 ms. All its voiced
// frames lie above 150 Hz, so its copy closes F1 and F2 over its own
// analysis (CopyFormantLoop.h), which a low voice's does not.
SampleSet highVoice3s() {
  CVandrelDoc doc;
  doc.newTable(300, 10);
  vandrel::EditTransaction fill(doc);  // the values, told as one structure change
  fill.noteResized();
  for (int c = 0; c < 300; ++c) {
    const bool voiced = c % 60 < 52;
    fill.table().setValue(kF0, c, voiced ? 2200 + 200 * std::sin(c / 23.0) : 0);
    fill.table().setValue(kF1, c, 520 + 220 * std::sin(c / 11.0));
    fill.table().setValue(kF2, c, 1700 + 500 * std::sin(c / 17.0));
    fill.table().setValue(kF3, c, 2800 + 150 * std::sin(c / 13.0));
    fill.table().setValue(kAv, c, voiced ? 60 : 0);
  }
  KlattState state;
  synthesize(doc, {}, state);
  return doc.synthesized();
}

// Arg: 0 the recording above, 1 the high voice.
void BM_CopyCommand3s(benchmark::State& st) {
  ShellEnvironment env;
  env.tempFolder.clear();
  CMainFrame frame(env);
  frame.resize(1400, 900);
  frame.show();
  CChildFrame* table = frame.newDocument();
  CVandrelDoc& doc = table->document().doc();
  doc.attachAudio(st.range(0) == 0 ? recording3s() : highVoice3s());
  frame.updateCommandStates();
  QApplication::processEvents();
  QAction* copy = frame.action(ID_ANALYSIS_COPY_SYNTHESIS);
  for (auto _ : st) {
    copy->trigger();
    QApplication::processEvents();  // the table window repainted
  }
  if (!doc.modified()) st.SkipWithError("the copy did not fill the table");
  st.counters["frames"] = doc.table().columns();
  // The share of the copy's voiced frames above 150 Hz: a fifth or more
  // runs the formant loop.
  int voiced = 0, high = 0;
  for (int c = 0; c < doc.table().columns(); ++c) {
    voiced += doc.table().value(kF0, c) > 0.0 ? 1 : 0;
    high += doc.table().value(kF0, c) > 1500.0 ? 1 : 0;
  }
  st.counters["high_share"] = voiced > 0 ? static_cast<double>(high) / voiced : 0.0;
}
BENCHMARK(BM_CopyCommand3s)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
}  // namespace vandrel::ui
