// Analysis speed: the FFT against FFTW's complex transform, the pitch tracks
// (cepstral and autocorrelation), the formant tracks and spectrograms of a
// minute of speech.
//
// The speech comes from the WAV files named by VANDREL_BENCH_SPEECH_11025 and
// VANDREL_BENCH_SPEECH_22050 (bench/analysis_bench.sh makes them from
// Debian's pocketsphinx-testdata and times Praat on the same files); without
// them a minute of gliding synthetic vowels stands in. FFTW is loaded at run
// time only when present (libfftw3.so.3); the program never links it.

#include <benchmark/benchmark.h>
#include <dlfcn.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "analysis/AnalysisTracks.h"
#include "analysis/MathFunc.h"
#include "analysis/PitchTrack.h"
#include "analysis/Spectrogram.h"
#include "audio/Wave.h"
#include "engine/Resonator.h"

namespace vandrel {
namespace {

constexpr double kPiD = 3.14159265358979323846;

// 60 s of vowels whose f0 glides between 90 and 160 Hz, with pauses.
std::vector<std::int16_t> syntheticSpeech(double fs) {
  const auto n = static_cast<std::size_t>(60.0 * fs);
  std::vector<std::int16_t> x(n);
  Resonator r1, r2, r3;
  r1.set(600, 80, -kPiD / fs, 2 * kPiD / fs);
  r2.set(1500, 100, -kPiD / fs, 2 * kPiD / fs);
  r3.set(2500, 150, -kPiD / fs, 2 * kPiD / fs);
  double phase = 0.0;
  for (std::size_t i = 0; i < n; ++i) {
    const double t = static_cast<double>(i) / fs;
    const double f0 = 125.0 + 35.0 * std::sin(2 * kPiD * 0.3 * t);
    phase += f0 / fs;
    double pulse = 0.0;
    if (phase >= 1.0) {
      phase -= 1.0;
      pulse = 3000.0;
    }
    const bool voiced = std::fmod(t, 1.5) < 1.1;
    const double v = r3.step(r2.step(r1.step(voiced ? pulse : 0.0)));
    x[i] = static_cast<std::int16_t>(std::fmax(-32768.0, std::fmin(32767.0, v)));
  }
  return x;
}

const std::vector<std::int16_t>& speech(int rate) {
  static std::vector<std::int16_t> cache[2];
  auto& x = cache[rate == 22050 ? 1 : 0];
  if (!x.empty()) return x;
  const char* path = std::getenv(rate == 22050 ? "VANDREL_BENCH_SPEECH_22050" : "VANDREL_BENCH_SPEECH_11025");
  SampleSet s;
  if (path != nullptr && loadWaveFile(path, s) == WaveLoad::kOk && static_cast<int>(s.sampleRate) == rate) {
    x = std::move(s.samples);
  } else {
    x = syntheticSpeech(rate);
  }
  return x;
}

// ---- FFT ------------------------------------------------------------------

void BM_Fft8192(benchmark::State& st) {
  const std::size_t n = 8192;
  std::mt19937 gen(1);
  std::uniform_real_distribution<double> d(-1.0, 1.0);
  std::vector<double> srcRe(n), srcIm(n), re(n), im(n);
  for (std::size_t i = 0; i < n; ++i) {
    srcRe[i] = d(gen);
    srcIm[i] = d(gen);
  }
  CMathFunc math;
  for (auto _ : st) {
    std::memcpy(re.data(), srcRe.data(), n * sizeof(double));
    std::memcpy(im.data(), srcIm.data(), n * sizeof(double));
    math.fft(re.data(), im.data(), 13);
    benchmark::DoNotOptimize(re.data());
  }
}
BENCHMARK(BM_Fft8192);

// FFTW's in-place complex transform of the same size (planned with
// FFTW_MEASURE), for comparison.
void BM_Fftw8192(benchmark::State& st) {
  using PlanFn = void* (*)(int, double*, double*, int, unsigned);
  using ExecFn = void (*)(void*);
  using DestroyFn = void (*)(void*);
  using MallocFn = void* (*)(std::size_t);
  using FreeFn = void (*)(void*);
  void* lib = dlopen("libfftw3.so.3", RTLD_NOW);
  if (lib == nullptr) {
    st.SkipWithError("libfftw3.so.3 not found (apt-get install libfftw3-double3)");
    return;
  }
  auto plan = reinterpret_cast<PlanFn>(dlsym(lib, "fftw_plan_dft_1d"));
  auto exec = reinterpret_cast<ExecFn>(dlsym(lib, "fftw_execute"));
  auto destroy = reinterpret_cast<DestroyFn>(dlsym(lib, "fftw_destroy_plan"));
  auto fmalloc = reinterpret_cast<MallocFn>(dlsym(lib, "fftw_malloc"));
  auto ffree = reinterpret_cast<FreeFn>(dlsym(lib, "fftw_free"));
  const int n = 8192;
  auto* buf = static_cast<double*>(fmalloc(2 * n * sizeof(double)));
  void* p = plan(n, buf, buf, -1 /* FFTW_FORWARD */, 0 /* FFTW_MEASURE */);
  std::vector<double> src(2 * n);
  std::mt19937 gen(1);
  std::uniform_real_distribution<double> d(-1.0, 1.0);
  for (double& v : src) v = d(gen);
  for (auto _ : st) {
    std::memcpy(buf, src.data(), 2 * n * sizeof(double));
    exec(p);
    benchmark::DoNotOptimize(buf);
  }
  destroy(p);
  ffree(buf);
}
BENCHMARK(BM_Fftw8192);

// ---- Pitch track -------------------------------------------------------------

void BM_PitchTrack60s(benchmark::State& st) {
  const int rate = static_cast<int>(st.range(0));
  const auto& x = speech(rate);
  CPitchTracker tracker;
  for (auto _ : st) {
    COptionPitch opt;
    tracker.compute(x, rate, opt);
    benchmark::DoNotOptimize(tracker.track().data());
  }
  st.counters["frames"] = static_cast<double>(tracker.track().size());
}
BENCHMARK(BM_PitchTrack60s)->Arg(11025)->Arg(22050)->Unit(benchmark::kMillisecond);

// The autocorrelation method over the same minute (10 ms step, 50-500 Hz).
void BM_AcPitchTrack60s(benchmark::State& st) {
  const int rate = static_cast<int>(st.range(0));
  const auto& x = speech(rate);
  PitchTrackResult r;
  for (auto _ : st) {
    COptionPitch opt;
    r = computePitchTrack(x, rate, opt, PitchMethod::kAutocorrelation);
    benchmark::DoNotOptimize(r.f0.data());
  }
  st.counters["frames"] = static_cast<double>(r.f0.size());
}
BENCHMARK(BM_AcPitchTrack60s)->Arg(11025)->Arg(22050)->Unit(benchmark::kMillisecond);

// Formant tracks by continuity: a frame every 10 ms, the spectrogram
// options' order and pre-emphasis for the rate.
void BM_FormantTracks60s(benchmark::State& st) {
  const int rate = static_cast<int>(st.range(0));
  const auto& x = speech(rate);
  const auto frames = static_cast<int>(x.size() * 100 / static_cast<std::size_t>(rate));
  const auto s = FormantTrackSettings::forFrames(frames, rate / 100.0);
  FormantTrackResult r;
  for (auto _ : st) {
    r = computeFormantTracks(x, rate, s);
    benchmark::DoNotOptimize(r.frequency.data());
  }
  st.counters["frames"] = frames;
}
BENCHMARK(BM_FormantTracks60s)->Arg(11025)->Arg(22050)->Unit(benchmark::kMillisecond);

// ---- Spectrogram -------------------------------------------------------------

// Full resolution: a column every 2 ms, 250 rows, the default options.
void BM_SpectrogramFull60s(benchmark::State& st) {
  const int rate = static_cast<int>(st.range(0));
  const auto& x = speech(rate);
  const int columns = static_cast<int>(x.size() * 500 / static_cast<std::size_t>(rate));
  const auto s = SpectrogramSettings::from(COptionSpectrogram(rate), columns, 250);
  CSpectrogram sg;
  for (auto _ : st) {
    sg.compute(x, rate, s);
    benchmark::DoNotOptimize(sg.column(0));
  }
  st.counters["columns"] = columns;
}
BENCHMARK(BM_SpectrogramFull60s)->Arg(11025)->Arg(22050)->Unit(benchmark::kMillisecond);

// What the view draws: 2000 x 256 with formant tracking on.
void BM_SpectrogramViewFormants(benchmark::State& st) {
  const int rate = static_cast<int>(st.range(0));
  const auto& x = speech(rate);
  COptionSpectrogram o(rate);
  o.displayFormants = true;
  const auto s = SpectrogramSettings::from(o, 2000, 256);
  CSpectrogram sg;
  for (auto _ : st) {
    sg.compute(x, rate, s);
    benchmark::DoNotOptimize(sg.formants().data());
  }
}
BENCHMARK(BM_SpectrogramViewFormants)->Arg(11025)->Arg(22050)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace vandrel
