// Synthesis speed: the engine alone on held parameters, and the whole driver
// with the WAV image of a long table.

#include <benchmark/benchmark.h>

#include <vector>

#include "audio/Wave.h"
#include "document/VandrelDoc.h"
#include "engine/KlattEngine.h"
#include "engine/Synthesizer.h"

namespace vandrel {
namespace {

FrameRecord defaultRecord() {
  FrameRecord r{};
  for (int i = 0; i < kParamCount; ++i)
    r[static_cast<std::size_t>(i)] = builtinParams()[static_cast<std::size_t>(i)].defaultValue;
  return r;
}

// 60 s of the default parameters, frame by frame, as the driver runs it.
void runEngine(benchmark::State& st, int rate, int formants, std::uint8_t model) {
  const int spf = rate * 10 / 1000;
  const int frames = 6000;
  std::vector<std::int32_t> out(static_cast<std::size_t>(spf));
  KlattState shared;
  const FrameRecord base = defaultRecord();
  for (auto _ : st) {
    CKlattEngine e(shared);
    e.config.sampleRate = rate;
    e.config.cascadeFormants = formants;
    e.config.samplesPerFrame = spf;
    e.config.model = model;
    e.initialise();
    for (int f = 0; f < frames; ++f) {
      FrameRecord rec = base;
      std::int32_t* p = out.data();
      e.synthesizeFrame(rec, p);
    }
    benchmark::DoNotOptimize(out.data());
  }
  st.SetItemsProcessed(st.iterations() * frames * spf);
}

void BM_Engine11k(benchmark::State& st) { runEngine(st, 11025, 5, CKlattEngine::kCascadeParallel); }
void BM_Engine22k8(benchmark::State& st) { runEngine(st, 22050, 8, CKlattEngine::kCascadeParallel); }
void BM_EngineAllParallel(benchmark::State& st) { runEngine(st, 11025, 5, CKlattEngine::kAllParallel); }
BENCHMARK(BM_Engine11k)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Engine22k8)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_EngineAllParallel)->Unit(benchmark::kMillisecond);

// A 60 s table of 10 ms frames (6000 columns) through the driver, then its
// WAV image written to disk.
void BM_SynthesizeAndWrite60s(benchmark::State& st) {
  CVandrelDoc doc;
  doc.params().fileLengthMs = 60000.0;
  doc.params().frameCount = 6000;
  doc.table.reset(6000, doc.params());
  const std::string path = "/tmp/vandrel_bench_60s.wav";
  KlattState shared;
  for (auto _ : st) {
    synthesize(doc, {}, shared);
    saveWaveFile(path, doc.synthesized);
  }
  st.SetItemsProcessed(st.iterations() * static_cast<std::int64_t>(doc.synthesized.samples.size()));
}
BENCHMARK(BM_SynthesizeAndWrite60s)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace vandrel
