#include "engine/Synthesizer.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <vector>

namespace vandrel {

namespace {

// One frame of up to a second at 22050 Hz; longer frames get a larger array.
constexpr int kWorkSamples = 22050;

std::int32_t cellToInt(double v) {
  // The grid holds doubles; the engine takes whole numbers, truncated. Values
  // beyond 32 bits cannot come from a clamped table but must not be UB either.
  if (!(v > -2147483648.0)) return INT32_MIN;
  if (!(v < 2147483647.0)) return INT32_MAX;
  return static_cast<std::int32_t>(v);
}

}  // namespace

SynthesisSetup synthesisSetup(const CVandrelDoc& doc) { return synthesisSetup(doc.params()); }

SynthesisSetup synthesisSetup(const ParameterSet& ps) {
  SynthesisSetup s{};
  s.sampleRate = static_cast<int>(ps.sampleRate());
  s.cascadeFormants = ps.cascadeFormants();
  // In 64 bits: 22050 Hz x 100000 ms is beyond an int before the division.
  s.samplesPerFrame = static_cast<int>(std::int64_t{s.sampleRate} * ps.intervalMs / 1000);
  s.sampleCount = s.sampleRate * ps.fileLengthMs / 1000.0;
  return s;
}

namespace {

// A frame's gain row value in place of the table's, and the factor its
// samples are multiplied by afterwards: together they scale the frame to any
// level, although the engine's gain comes in table steps.
struct FrameGain {
  std::int32_t record;
  double post;
};

// Runs one engine over the whole of `table` into `out` (its rate, length and
// samples), with the engine's output select `select`. `gains`, when given,
// replaces every frame's gain. `clipped` tells whether the engine cut any
// sample at the ends of the 16-bit range. False when the working memory cannot
// be had; `out` is then as it was.
bool render(const ParameterSet& ps, const FrameTable& table, std::uint8_t select, const ProgressFn& progress,
            KlattState& state, SampleSet& out, const std::vector<FrameGain>* gains = nullptr,
            bool* clipped = nullptr) {
  const SynthesisSetup setup = synthesisSetup(ps);

  std::vector<std::int32_t> work;
  std::unique_ptr<CKlattEngine> engine;
  std::vector<std::int16_t> samples;
  const double sampleCount = setup.sampleCount;
  // The block is twice the sample count in bytes, truncated; an odd byte count
  // keeps its last byte as the low half of one more sample. Samples the frames
  // do not reach (a file length that is not whole frames) stay zero.
  const auto byteCount = static_cast<std::size_t>(std::max(0.0, 2.0 * sampleCount));
  try {
    work.assign(static_cast<std::size_t>(std::max(kWorkSamples, setup.samplesPerFrame)), 0);
    engine = std::make_unique<CKlattEngine>(state);
    samples.assign((byteCount + 1) / 2, 0);
  } catch (const std::bad_alloc&) {
    return false;
  }

  auto& cfg = engine->config;
  cfg.sampledFactor = 0.00001;
  cfg.quiet = 1;
  cfg.sampledTable = CKlattEngine::sampledGlottalWave().data();
  cfg.sampledLength = 100;
  cfg.outputSelect = select;
  cfg.flutter = 0;
  cfg.sourceType = CKlattEngine::kNatural;
  cfg.model = ps.cascadeParallel != 0 ? CKlattEngine::kCascadeParallel : CKlattEngine::kAllParallel;
  cfg.sampleRate = setup.sampleRate;
  cfg.cascadeFormants = setup.cascadeFormants;
  cfg.samplesPerFrame = setup.samplesPerFrame;
  engine->initialise();

  const int frames = std::min(ps.frameCount, table.columns());
  const auto spf = static_cast<std::size_t>(std::max(setup.samplesPerFrame, 0));
  FrameRecord rec{};
  for (int f = 0; f < frames; ++f) {
    for (int p = 0; p < kParamCount; ++p) rec[static_cast<std::size_t>(p)] = cellToInt(table.value(p, f));
    const FrameGain* gain = gains ? &(*gains)[static_cast<std::size_t>(f)] : nullptr;
    if (gain) rec[kGain] = gain->record;
    std::int32_t* w = work.data();
    engine->synthesizeFrame(rec, w);

    const std::size_t at = static_cast<std::size_t>(f) * spf;
    const std::size_t n = at < samples.size() ? std::min(spf, samples.size() - at) : 0;
    if (clipped)
      for (std::size_t i = 0; i < spf; ++i) *clipped = *clipped || work[i] >= 32767 || work[i] <= -32768;
    if (!gain || gain->post == 1.0) {
      for (std::size_t i = 0; i < n; ++i) samples[at + i] = static_cast<std::int16_t>(work[i]);
    } else {
      for (std::size_t i = 0; i < n; ++i)
        samples[at + i] =
            static_cast<std::int16_t>(std::clamp(std::lround(work[i] * gain->post), -32768L, 32767L));
    }
    if (progress) progress(f + 1, frames);
  }

  out.sampleRate = setup.sampleRate;
  out.fileLengthMs = ps.fileLengthMs;
  out.sampleCount = sampleCount;
  out.samples = std::move(samples);
  return true;
}

}  // namespace

bool synthesize(CVandrelDoc& doc, const ProgressFn& progress, KlattState& state) {
  SampleSet fresh;
  if (!render(doc.params(), doc.table(), CKlattEngine::kNormal, progress, state, fresh)) return false;
  doc.acceptSynthesis(std::move(fresh), synthesisSetup(doc).sampleRate);
  return true;
}

SoloSignal synthesizeSolo(const CVandrelDoc& doc, std::uint8_t select, KlattState state) {
  return synthesizeSolo(doc.params(), doc.table(), select, state);
}

namespace {

// The engine's reading of a gain row value: 3 dB less, and anything below
// 4 taken as 57 dB.
std::int32_t effectiveGainDb(std::int32_t row) { return row < 4 ? 57 : row - 3; }

// Row values and factors that give each frame `scale` times the linear gain
// its table asks for (`wanted`). The row is the loudest table step at or below
// the aim, so the engine never clips what the factor then brings up.
std::vector<FrameGain> scaledGains(const std::vector<double>& wanted, double scale) {
  std::vector<FrameGain> out(wanted.size(), FrameGain{0, 1.0});
  int quietest = 0;
  while (CKlattEngine::dbToLinear(quietest) == 0.0) ++quietest;
  for (std::size_t f = 0; f < wanted.size(); ++f) {
    const double aim = wanted[f] * scale;
    if (aim <= 0.0) continue;  // a silent frame stays silent
    int db = quietest;
    while (db < 87 && CKlattEngine::dbToLinear(db + 1) <= aim) ++db;
    out[f] = {db + 3, aim / CKlattEngine::dbToLinear(db)};
  }
  return out;
}

int peakOf(const SampleSet& s) {
  int p = 0;
  for (const std::int16_t v : s.samples) p = std::max(p, std::abs(int{v}));
  return p;
}

}  // namespace

SoloSignal synthesizeSolo(const ParameterSet& ps, const FrameTable& table, std::uint8_t select,
                          KlattState state) {
  SoloSignal solo;
  KlattState run = state;
  bool clipped = false;
  if (!render(ps, table, select, {}, run, solo.set, nullptr, &clipped)) return {};
  // The whole output is what it is; only a part heard alone is turned down.
  if (!clipped || select == CKlattEngine::kNormal) return solo;

  // The signal alone is louder than the whole: measure its true peak on a
  // quieter run (quieter again while even that clips), then render it once
  // more scaled so the peak lands at -1 dBFS.
  const int frames = std::min(ps.frameCount, table.columns());
  std::vector<double> wanted(static_cast<std::size_t>(std::max(frames, 0)));
  for (int f = 0; f < frames; ++f)
    wanted[static_cast<std::size_t>(f)] =
        CKlattEngine::dbToLinear(effectiveGainDb(cellToInt(table.value(kGain, f))));
  double probeScale = 1.0;
  SampleSet probe;
  for (int tries = 0; tries < 4 && clipped; ++tries) {
    probeScale *= std::pow(10.0, -30.0 / 20.0);
    const std::vector<FrameGain> gains = scaledGains(wanted, probeScale);
    run = state;
    clipped = false;
    if (!render(ps, table, select, {}, run, probe, &gains, &clipped)) return {};
  }
  const double truePeak = peakOf(probe) / probeScale;
  const double scale = kSoloPeak / truePeak;
  const std::vector<FrameGain> gains = scaledGains(wanted, scale);
  run = state;
  if (!render(ps, table, select, {}, run, solo.set, &gains)) return {};
  solo.turnedDownDb = -20.0 * std::log10(scale);
  return solo;
}

bool ensureSynthesized(CVandrelDoc& doc, const ProgressFn& progress) {
  if (!doc.changedSinceSynthesis() && !doc.synthesized().empty()) return false;
  if (doc.modified()) doc.notifyAboutToSynthesize();
  return synthesize(doc, progress);  // which tells the observers
}

}  // namespace vandrel
