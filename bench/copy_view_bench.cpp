// Analysis > "Copy Synthesis from Audio File" on a 3 s recording, through the
// real menu action on the offscreen platform: from the command to the filled
// table (the copy on its worker, the progress window, the table written as one
// edit and the status bar's report). The recording is the first 3 s of a
// pocketsphinx-testdata sentence (16 kHz) when installed, otherwise a
// synthesized token whose pitch and formants wander.

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

void BM_CopyCommand3s(benchmark::State& st) {
  ShellEnvironment env;
  env.tempFolder.clear();
  CMainFrame frame(env);
  frame.resize(1400, 900);
  frame.show();
  CChildFrame* table = frame.newDocument();
  CVandrelDoc& doc = table->document().doc();
  doc.attachAudio(recording3s());
  frame.updateCommandStates();
  QApplication::processEvents();
  QAction* copy = frame.action(ID_ANALYSIS_COPY_SYNTHESIS);
  for (auto _ : st) {
    copy->trigger();
    QApplication::processEvents();  // the table window repainted
  }
  if (!doc.modified()) st.SkipWithError("the copy did not fill the table");
  st.counters["frames"] = doc.table().columns();
}
BENCHMARK(BM_CopyCommand3s)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
}  // namespace vandrel::ui
