// Synthesis speed: the engine beside the plain transcription of its loop
// (KlattBaseline.h), both timed in the same iterations so that the load of a
// shared machine falls on both alike; and the whole driver with the WAV image
// of a long table.

#include <benchmark/benchmark.h>

#include <ctime>
#include <type_traits>
#include <vector>

#include "KlattBaseline.h"
#include "audio/Wave.h"
#include "document/VandrelDoc.h"
#include "engine/KlattEngine.h"
#include "engine/Synthesizer.h"

namespace vandrel {
namespace {

constexpr int kFrames = 6000;  // 60 s of 10 ms frames

FrameRecord defaultRecord() {
  FrameRecord r{};
  for (int i = 0; i < kParamCount; ++i)
    r[static_cast<std::size_t>(i)] = builtinParams()[static_cast<std::size_t>(i)].defaultValue;
  return r;
}

// Held: the default parameters in every frame. Moving: f0, av and the first
// three formants change in every frame (a glide up and down each 0.5 s), so
// no frame can reuse the last one's coefficients.
FrameRecord frameRecord(int f, bool moving) {
  FrameRecord r = defaultRecord();
  if (moving) {
    const int k = f % 100 < 50 ? f % 50 : 50 - f % 50;
    r[kF0] = 950 + 8 * k;
    r[kAv] = 55 + k / 8;
    r[kF1] = 300 + 9 * k;
    r[kF2] = 2200 - 20 * k;
    r[kF3] = 2500 + 4 * k;
  }
  return r;
}

double cpuSeconds() {
  timespec ts{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
  return static_cast<double>(ts.tv_sec) + static_cast<double>(ts.tv_nsec) * 1e-9;
}

struct Setup {
  int rate, formants;
  std::uint8_t model;
  bool moving;
  bool narrow = false;  // the 2-wide loop of processors without AVX2
};

// 60 s frame by frame, as the driver runs it; returns a checksum of the output.
template <class Engine>
std::int64_t render(const Setup& s, const std::vector<FrameRecord>& records, KlattState& shared) {
  const int spf = s.rate * 10 / 1000;
  std::vector<std::int32_t> out(static_cast<std::size_t>(spf));
  Engine e(shared);
  e.config.sampleRate = s.rate;
  e.config.cascadeFormants = s.formants;
  e.config.samplesPerFrame = spf;
  e.config.model = s.model;
  if constexpr (std::is_same_v<Engine, CKlattEngine>) e.config.wideVectors = !s.narrow;
  e.initialise();
  std::int64_t sum = 0;
  for (const FrameRecord& base : records) {
    FrameRecord rec = base;
    std::int32_t* p = out.data();
    e.synthesizeFrame(rec, p);
    std::int64_t frameSum = 0;
    for (std::int32_t v : out) frameSum += v;
    sum = sum * 31 + frameSum;
  }
  return sum;
}

// The counters: the engine's and the baseline's rates in million samples per
// second of CPU time, and the engine's speed-up over the baseline.
void runEngine(benchmark::State& st, Setup s) {
  std::vector<FrameRecord> records;
  for (int f = 0; f < kFrames; ++f) records.push_back(frameRecord(f, s.moving));
  KlattState engineState, baselineState;
  double engineTime = 0, baselineTime = 0;
  for (auto _ : st) {
    double t = cpuSeconds();
    const std::int64_t a = render<CKlattEngine>(s, records, engineState);
    engineTime += cpuSeconds() - t;
    t = cpuSeconds();
    const std::int64_t b = render<CKlattBaseline>(s, records, baselineState);
    baselineTime += cpuSeconds() - t;
    if (a != b) st.SkipWithError("the engine and the baseline disagree");
  }
  const double samples = static_cast<double>(st.iterations()) * kFrames * (s.rate / 100);
  st.counters["engine_Msps"] = samples / engineTime * 1e-6;
  st.counters["baseline_Msps"] = samples / baselineTime * 1e-6;
  st.counters["speedup"] = baselineTime / engineTime;
}

constexpr auto kCP = CKlattEngine::kCascadeParallel;
void BM_Engine11k(benchmark::State& st) { runEngine(st, {11025, 5, kCP, false}); }
void BM_Engine22k8(benchmark::State& st) { runEngine(st, {22050, 8, kCP, false}); }
void BM_EngineAllParallel(benchmark::State& st) {
  runEngine(st, {11025, 5, CKlattEngine::kAllParallel, false});
}
void BM_Engine11kMoving(benchmark::State& st) { runEngine(st, {11025, 5, kCP, true}); }
void BM_Engine22k8Moving(benchmark::State& st) { runEngine(st, {22050, 8, kCP, true}); }
void BM_Engine11kNarrow(benchmark::State& st) { runEngine(st, {11025, 5, kCP, false, true}); }
void BM_Engine22k8Narrow(benchmark::State& st) { runEngine(st, {22050, 8, kCP, false, true}); }
BENCHMARK(BM_Engine11k)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Engine22k8)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_EngineAllParallel)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Engine11kMoving)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Engine22k8Moving)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Engine11kNarrow)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Engine22k8Narrow)->Unit(benchmark::kMillisecond);

// A 60 s table of 10 ms frames (6000 columns) through the driver, then its
// WAV image written to disk.
void BM_SynthesizeAndWrite60s(benchmark::State& st) {
  CVandrelDoc doc;
  doc.newTable(6000, 10);
  const std::string path = "/tmp/vandrel_bench_60s.wav";
  KlattState shared;
  for (auto _ : st) {
    synthesize(doc, {}, shared);
    saveWaveFile(path, doc.synthesized());
  }
  st.SetItemsProcessed(st.iterations() * static_cast<std::int64_t>(doc.synthesized().samples.size()));
}
BENCHMARK(BM_SynthesizeAndWrite60s)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace vandrel
