// Speed of the FFT/LPC view's work: one update when the time moves (both
// slices and the fit meter, at every analysis size up to 8192 points) and the
// fit strip of a minute of speech at 10 ms steps. The "speech" is a minute of
// gliding synthetic vowels: the natural side has f2 at 1500 Hz, the copy at
// 1200 Hz, so the meter has something to measure.

#include <benchmark/benchmark.h>

#include <cmath>
#include <vector>

#include "analysis/SpectralDistance.h"
#include "analysis/SpectralSlice.h"
#include "engine/Resonator.h"

namespace vandrel {
namespace {

constexpr double kPiD = 3.14159265358979323846;

SampleSet minuteOfVowels(double fs, int f2) {
  SampleSet s;
  s.sampleRate = fs;
  const auto n = static_cast<std::size_t>(60.0 * fs);
  s.samples.resize(n);
  Resonator r1, r2, r3;
  r1.set(600, 80, -kPiD / fs, 2 * kPiD / fs);
  r2.set(f2, 100, -kPiD / fs, 2 * kPiD / fs);
  r3.set(2500, 150, -kPiD / fs, 2 * kPiD / fs);
  double phase = 0.0;
  for (std::size_t i = 0; i < n; ++i) {
    const double t = static_cast<double>(i) / fs;
    phase += (125.0 + 35.0 * std::sin(2 * kPiD * 0.3 * t)) / fs;
    double pulse = 0.0;
    if (phase >= 1.0) {
      phase -= 1.0;
      pulse = 3000.0;
    }
    const double v = r3.step(r2.step(r1.step(std::fmod(t, 1.5) < 1.1 ? pulse : 0.0)));
    s.samples[i] = static_cast<std::int16_t>(std::fmax(-32768.0, std::fmin(32767.0, v)));
  }
  return s;
}

const SampleSet& natural(double fs) {
  static const SampleSet a = minuteOfVowels(11025, 1500), b = minuteOfVowels(22050, 1500);
  return fs > 20000 ? b : a;
}
const SampleSet& copy(double fs) {
  static const SampleSet a = minuteOfVowels(11025, 1200), b = minuteOfVowels(22050, 1200);
  return fs > 20000 ? b : a;
}

SliceSettings settingsFor(double fs, int sizeIndex) {
  COptionFFTLPC o(fs);
  o.selectSize(sizeIndex);
  o.appliedWindowMs = static_cast<int>(1000.0 * o.points / fs);  // the window fills the FFT
  return sliceSettings(o, 0.98, 512);
}

// What the view does when the slider moves: both slices, then the meter.
void BM_TimeMoveUpdate(benchmark::State& st) {
  const double fs = static_cast<double>(st.range(1));
  const SliceSettings s = settingsFor(fs, static_cast<int>(st.range(0)));
  SliceAnalyser an, ac;
  double t = 500.0;
  for (auto _ : st) {
    const SpectralSlice& n = an.analyse(natural(fs), s, t);
    const SpectralSlice& c = ac.analyse(copy(fs), s, t);
    benchmark::DoNotOptimize(fitMeter(n.lpcDb, c.lpcDb, s.hzPerPoint()));
    t = t > 50000.0 ? 500.0 : t + 7.0;
  }
  st.counters["points"] = s.fftPoints;
}
BENCHMARK(BM_TimeMoveUpdate)
    ->Args({3, 11025})
    ->Args({8, 11025})
    ->Args({8, 22050})
    ->Unit(benchmark::kMillisecond);

// A selected second averaged at 10 ms (101 frames each side).
void BM_AveragedSecond(benchmark::State& st) {
  const SliceSettings s = settingsFor(11025, static_cast<int>(st.range(0)));
  SliceAnalyser an, ac;
  for (auto _ : st) {
    const SpectralSlice& n = an.analyse(natural(11025), s, 1000.0, 2000.0, 10);
    const SpectralSlice& c = ac.analyse(copy(11025), s, 1000.0, 2000.0, 10);
    benchmark::DoNotOptimize(fitMeter(n.lpcDb, c.lpcDb, s.hzPerPoint()));
  }
}
BENCHMARK(BM_AveragedSecond)->Arg(3)->Arg(8)->Unit(benchmark::kMillisecond);

// The strip: a minute at 10 ms steps, default options of the rate.
void BM_DistanceTrackMinute(benchmark::State& st) {
  const double fs = static_cast<double>(st.range(0));
  const SliceSettings s = sliceSettings(COptionFFTLPC(fs), 0.98, 512);
  for (auto _ : st) benchmark::DoNotOptimize(distanceTrack(natural(fs), copy(fs), s, 10).db.data());
}
BENCHMARK(BM_DistanceTrackMinute)->Arg(11025)->Arg(22050)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace vandrel
