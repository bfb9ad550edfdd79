// The batch commands' work: copy synthesis of a 60 s recording, a
// continuum of 11 steps of a 500 ms syllable written with its WAVs, and an
// 11 x 11 F1 x F2 grid of a 300 ms vowel written with its WAVs.
//
// The recording is the natural speech of pocketsphinx-testdata (16 kHz)
// repeated to 60 s when it is installed, otherwise 60 s of a synthesized
// table whose pitch and formants wander; beside it, the same table spoken
// an octave higher, a high voice.

#include <benchmark/benchmark.h>

#include <cmath>
#include <ctime>
#include <filesystem>
#include <string>
#include <vector>

#include "audio/Wave.h"
#include "batch/Continuum.h"
#include "batch/CopySynthesis.h"
#include "batch/Grid.h"
#include "document/VdrFile.h"
#include "editing/EditTransaction.h"
#include "engine/Synthesizer.h"
#include "util/AtomicFile.h"

namespace vandrel {
namespace {

namespace fs = std::filesystem;

// 60 s of a table synthesized by our engine whose pitch wanders around
// `f0Tenths` (tenths of Hz, as the row holds it) and whose F1 and F2 glide,
// with a pause every 500 ms.
SampleSet wanderingVoice60s(double f0Tenths) {
  CVandrelDoc doc;
  doc.newTable(6000, 10);
  vandrel::EditTransaction fill(doc);  // the values, told as one structure change
  fill.noteResized();
  for (int c = 0; c < 6000; ++c) {
    fill.table().setValue(kF0, c, std::round(f0Tenths * (1.0 + 3.0 / 11.0 * std::sin(c / 37.0))));
    fill.table().setValue(kF1, c, std::round(600 + 200 * std::sin(c / 13.0)));
    fill.table().setValue(kF2, c, std::round(1500 + 400 * std::sin(c / 17.0)));
    fill.table().setValue(kAv, c, c % 50 < 40 ? 60 : 0);
  }
  fill.commit();
  KlattState state;
  synthesize(doc, {}, state);
  return doc.synthesized();
}

const SampleSet& recording60s() {
  static const SampleSet rec = [] {
    SampleSet out;
    const fs::path dir = "/usr/share/pocketsphinx/test/data/librivox";
    std::vector<SampleSet> parts;
    std::error_code ec;
    for (const auto& e : fs::directory_iterator(dir, ec)) {
      SampleSet s;
      if (e.path().extension() == ".wav" && loadWaveFile(e.path().string(), s) == WaveLoad::kOk)
        parts.push_back(s);
    }
    if (parts.empty()) return wanderingVoice60s(1100);
    out.sampleRate = parts[0].sampleRate;
    const auto want = static_cast<std::size_t>(60.0 * out.sampleRate);
    while (out.samples.size() < want)
      for (const auto& p : parts) out.samples.insert(out.samples.end(), p.samples.begin(), p.samples.end());
    out.samples.resize(want);
    return out;
  }();
  return rec;
}

// A high voice (f0 160-280 Hz), whose copy closes F1 and F2 over its own
// analysis (CopyFormantLoop.h).
const SampleSet& highVoice60s() {
  static const SampleSet rec = wanderingVoice60s(2200);
  return rec;
}

// The CPU column counts the benchmark's own thread only, which mostly waits
// for the estimates: cpu_s is the whole process's CPU time per copy.
void BM_Copy60s(benchmark::State& st) {
  const SampleSet& rec = st.range(1) == 0 ? recording60s() : highVoice60s();
  std::clock_t cpu = 0;
  for (auto _ : st) {
    const std::clock_t start = std::clock();
    CVandrelDoc doc;
    CopySettings settings;
    settings.threads = static_cast<int>(st.range(0));
    const CopyResult r = copySynthesis(rec, settings, doc);
    std::string text = writeVdr(doc, VdrKind::kAllParameters);
    benchmark::DoNotOptimize(text);
    cpu += std::clock() - start;
    if (r.status != CopyResult::Status::kOk) st.SkipWithError("copy failed");
  }
  st.counters["recording_s"] = static_cast<double>(rec.samples.size()) / rec.sampleRate;
  st.counters["cpu_s"] = static_cast<double>(cpu) / CLOCKS_PER_SEC / static_cast<double>(st.iterations());
}
// Args: the copy's threads (CopySettings::threads; 0: one per core), and the
// voice (0 the recording above, 1 the high voice).
BENCHMARK(BM_Copy60s)->Args({1, 0})->Args({0, 0})->Args({0, 1})->Unit(benchmark::kMillisecond)->UseRealTime();

// 11 steps between two 500 ms syllables, each written as .vdr and .wav
// into a temporary folder, as `continuum --steps 11 --wav` does.
void BM_Continuum11Steps(benchmark::State& st) {
  CVandrelDoc a;
  a.newTable(50, 10);
  FrameTable ta(50, a.params()), tb = ta;
  for (int c = 0; c < 50; ++c) {
    ta.setValue(kF2, c, 1100 + 10 * c);
    tb.setValue(kF2, c, 1800 - 5 * c);
    tb.setValue(kF1, c, 300 + 4 * c);
  }
  CVandrelDoc b = a;
  a.replaceTable(std::move(ta));
  b.replaceTable(std::move(tb));
  const fs::path dir = fs::temp_directory_path() / "vandrel_continuum_bench";
  fs::create_directories(dir);
  const ContinuumPlan plan = planContinuum(a.table(), b.table(), {});
  for (auto _ : st) {
    CVandrelDoc doc = a;
    for (int s = 0; s < 11; ++s) {
      doc.replaceTable(continuumStep(a.table(), b.table(), plan, s, 11, ContinuumScale::kBark));
      const std::string stem = (dir / ("step_" + std::to_string(s + 1))).string();
      writeFileAtomically(stem + ".vdr", writeVdr(doc, VdrKind::kAllParameters));
      KlattState state;
      synthesize(doc, {}, state);
      saveWaveFile(stem + ".wav", doc.synthesized());
    }
  }
  fs::remove_all(dir);
}
BENCHMARK(BM_Continuum11Steps)->Unit(benchmark::kMillisecond)->UseRealTime();

// `grid --vary f1:250:850:11 --vary f2:800:2400:11 --scale bark --wav` of a
// 300 ms diphthong: 121 tables and 121 WAVs into a temporary folder.
void BM_Grid11x11(benchmark::State& st) {
  CVandrelDoc base;
  base.newTable(30, 10);
  FrameTable diphthong(30, base.params());
  for (int c = 0; c < 30; ++c) diphthong.setValue(kF2, c, 1200 + 10 * c);
  base.replaceTable(std::move(diphthong));
  GridPlan plan;
  if (!planGrid(base.table(), base.params(), {GridAxis{kF1, 250, 850, 11}, GridAxis{kF2, 800, 2400, 11}},
                ContinuumScale::kBark, 15, plan)
           .empty())
    st.SkipWithError("grid refused");
  const fs::path dir = fs::temp_directory_path() / "vandrel_grid_bench";
  fs::create_directories(dir);
  for (auto _ : st) {
    CVandrelDoc doc = base;
    std::string manifest = gridManifestHeader(plan, 10);
    for (std::size_t n = 0; n < plan.pointCount(); ++n) {
      const std::vector<int> at = plan.indices(n);
      const std::string stem = (dir / plan.pointName(at)).string();
      doc.replaceTable(gridPoint(base.table(), plan, at));
      writeFileAtomically(stem + ".vdr", writeVdr(doc, VdrKind::kAllParameters));
      manifest += gridManifestLine(plan, at, stem + ".vdr");
      KlattState state;
      synthesize(doc, {}, state);
      saveWaveFile(stem + ".wav", doc.synthesized());
    }
    writeFileAtomically((dir / "manifest.tsv").string(), manifest);
  }
  fs::remove_all(dir);
}
BENCHMARK(BM_Grid11x11)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
}  // namespace vandrel
