#include "engine/Synthesizer.h"

#include <algorithm>
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

// Runs one engine over the whole of `table` into `out` (its rate, length and
// samples), with the engine's output select `select`. False when the working
// memory cannot be had; `out` is then as it was.
bool render(const ParameterSet& ps, const FrameTable& table, std::uint8_t select, const ProgressFn& progress,
            KlattState& state, SampleSet& out) {
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
    std::int32_t* w = work.data();
    engine->synthesizeFrame(rec, w);

    const std::size_t at = static_cast<std::size_t>(f) * spf;
    const std::size_t n = at < samples.size() ? std::min(spf, samples.size() - at) : 0;
    for (std::size_t i = 0; i < n; ++i) samples[at + i] = static_cast<std::int16_t>(work[i]);
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
  // The first synthesis of a document leaves both buffers holding its sound.
  const bool copyAtEnd = doc.synthesized.byteSize() < 100;
  SampleSet fresh;
  if (!render(doc.params(), doc.table, CKlattEngine::kNormal, progress, state, fresh)) return false;

  const SynthesisSetup setup = synthesisSetup(doc);
  doc.sampleRate = setup.sampleRate;
  doc.highRate = setup.sampleRate == 22050;
  if (!copyAtEnd) doc.previous = std::move(doc.synthesized);
  doc.synthesized = std::move(fresh);
  if (copyAtEnd) doc.previous = doc.synthesized;
  doc.changedSinceSynthesis = false;
  doc.changedCompanion = false;
  return true;
}

SampleSet synthesizeSolo(const CVandrelDoc& doc, std::uint8_t select, KlattState state) {
  return synthesizeSolo(doc.params(), doc.table, select, state);
}

SampleSet synthesizeSolo(const ParameterSet& ps, const FrameTable& table, std::uint8_t select,
                         KlattState state) {
  SampleSet out;
  if (!render(ps, table, select, {}, state, out)) return {};
  return out;
}

bool ensureSynthesized(CVandrelDoc& doc, const ProgressFn& progress) {
  if (!doc.changedSinceSynthesis && !doc.synthesized.empty()) return false;
  if (doc.modified) doc.notifyAboutToSynthesize();
  if (!synthesize(doc, progress)) return false;
  doc.notifySamplesChanged(SampleSlot::kSynthesized);
  doc.notifySamplesChanged(SampleSlot::kPrevious);
  doc.notifyFlagsChanged();
  return true;
}

}  // namespace vandrel
