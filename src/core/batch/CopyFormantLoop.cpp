#include "batch/CopyFormantLoop.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <new>
#include <utility>

#include "analysis/AnalysisTracks.h"
#include "analysis/CeilingChoice.h"
#include "analysis/FormantEstimator.h"
#include "batch/CopyBandwidthFloor.h"
#include "batch/CopyShapeChoice.h"
#include "editing/EditTransaction.h"
#include "engine/KlattEngine.h"
#include "engine/Synthesizer.h"

namespace vandrel {

namespace {

using L = FormantLoopSettings;
constexpr std::size_t kLooped = 2;  // F1 and F2
constexpr int kFormantRows[kLooped] = {kF1, kF2};
constexpr int kBandwidthRows[kLooped] = {kB1, kB2};
const double kInf = std::numeric_limits<double>::infinity();
// The readings run side by side (each an estimate of a whole signal, with its
// paths under five ceilings and the harmonics it holds) only up to this many
// frames, 10 minutes at 10 ms; beyond, one after another, so that a long
// recording's copy holds one estimate's working memory at a time, not three.
constexpr int kSideBySideFrames = 60000;

// F1 and F2 of a frame as an estimate reads them (Hz, 0 = none): all the
// loop compares, kept instead of the estimate's frames (a fifth of their
// size; an hour's copy holds five readings).
using Looped = std::array<double, kLooped>;

std::vector<Looped> looped(const std::vector<FormantFrame>& frames) {
  std::vector<Looped> out(frames.size());
  for (std::size_t i = 0; i < frames.size(); ++i)
    for (std::size_t k = 0; k < kLooped; ++k) out[i][k] = frames[i].f[k];
  return out;
}

// A signal's formants read on the table's frames, at their middles and at
// their ends, and the ceilings the readings chose there (FormantEstimator.h).
struct Reading {
  std::vector<Looped> middle, end;
  std::vector<double> middleCeilings, endCeilings;
};

// Reads `x` (at rate `fs`, frames `step` samples long), at the frames' ends
// only unless `middles` (then both at once, the middles on a thread of their
// own unless `threads` is 1), with the ceilings `chosen` chose where set;
// empty when it fails.
Reading readFormants(std::span<const std::int16_t> x, double fs, double step, int frames, int threads,
                     bool middles, CFitMemo* memo, const Reading* chosen, const std::atomic<bool>* cancel) {
  const auto read = [=](double at, std::vector<Looped>& f, std::vector<double>& ceilings) {
    FormantEstimateSettings s;
    s.frames = frames;
    s.spacing = step;
    s.threads = threads;
    s.firstCentre = at * step;
    s.memo = memo;
    if (chosen != nullptr) s.ceilings = at < 1.0 ? chosen->middleCeilings : chosen->endCeilings;
    FormantEstimate e = estimateFormants(x, fs, s, {}, cancel);
    if (e.status == FormantEstimate::Status::kNoMemory) throw std::bad_alloc();
    if (e.status != FormantEstimate::Status::kOk || e.frames.size() != static_cast<std::size_t>(frames))
      return;
    f = looped(e.frames);
    ceilings = std::move(e.ceiling);
  };
  Reading r;
  auto middle = startJob(middles && threads != 1 && frames <= kSideBySideFrames, [&] {
    if (middles) read(0.5, r.middle, r.middleCeilings);
  });
  read(1.0, r.end, r.endCeilings);
  middle.get();
  if (r.end.empty() || (middles && r.middle.empty())) return {};
  return r;
}

// The copy's synthesis, read, and its envelope error per frame (inf where
// `sung` does not mark it or no band levels were measured).
struct CopyReading {
  Reading formants;
  std::vector<double> envelope;
  std::vector<double> f0;  // the copy's pitch at the frames' middles (Hz, 0 = unvoiced)
};

// `table` is synthesized as a document of `ps` would be (the normal output
// is never turned down), into one sound held while it is read.
CopyReading readCopy(const ParameterSet& ps, const FrameTable& table, double fs,
                     const std::vector<Bands>& bands, const std::vector<char>& sung, int threads,
                     CFitMemo& memo, const Reading* chosen, const std::atomic<bool>* cancel) {
  KlattState state;
  state.reset(1);
  const SoloSignal sound = synthesizeSolo(ps, table, CKlattEngine::kNormal, state);
  if (sound.set.samples.empty()) throw std::bad_alloc();  // its only failure
  const SynthesisSetup setup = synthesisSetup(ps);
  const std::vector<std::int16_t>& x = sound.set.samples;
  // The pitch as `analyse --method ac` reads it, beside the formants.
  auto pitch = startJob(threads != 1, [&] {
    COptionPitch options;
    return computePitchTrack(x, setup.sampleRate, options, PitchMethod::kAutocorrelation);
  });
  // The first reading chooses its ceilings once for the middles and the ends
  // (FormantEstimator.h, step 2); the later ones read under the first's.
  Reading first;
  const double step = setup.samplesPerFrame;
  if (chosen == nullptr) {
    const std::vector<double> grid = estimateCeilings(x, setup.sampleRate, step, threads, {}, cancel);
    if (!grid.empty()) {
      first.middleCeilings = ceilingsAt(grid, step, step / 2.0, table.columns());
      first.endCeilings = ceilingsAt(grid, step, step, table.columns());
      chosen = &first;
    }
  }
  CopyReading r;
  r.formants = readFormants(x, setup.sampleRate, step, table.columns(), threads, true, &memo, chosen, cancel);
  std::vector<char> heard = sung;
  r.envelope.assign(heard.size(), kInf);
  measureBands(
      x, setup.sampleRate, setup.samplesPerFrame, setup, fs, heard, threads != 1,
      [&](std::size_t c, const Bands& got) { r.envelope[c] = CNoiseFit::envelopeError(got, bands[c]); });
  // The pitch from its frame whose window is centred nearest each frame's middle.
  const PitchTrackResult p = pitch.get();
  if (p.status == PitchTrackResult::Status::kNoMemory) throw std::bad_alloc();
  r.f0.assign(heard.size(), 0.0);
  if (p.status == PitchTrackResult::Status::kOk && p.stepSamples > 0.0)
    for (std::size_t c = 0; c < heard.size(); ++c) {
      const double i = std::round(
          ((static_cast<double>(c) + 0.5) * setup.samplesPerFrame - p.windowSamples / 2.0) / p.stepSamples);
      if (i >= 0.0 && i < static_cast<double>(p.f0.size())) r.f0[c] = p.f0[static_cast<std::size_t>(i)];
    }
  return r;
}

// How the copy's reading `got` of formant k around frame c misses the
// recording's `wanted`: the weighted mean log ratio (wanted over got) and
// the weighted mean of its size, at the frame's middle (weight 1) and at its
// two ends (1/2 each), where both read the formant; `known` false where
// neither does anywhere.
struct Misfit {
  double ln = 0.0, size = kInf;
  bool known = false;
};

Misfit misfit(const Reading& got, const Reading& wanted, std::size_t c, std::size_t k) {
  double sum = 0.0, size = 0.0, weight = 0.0;
  const auto add = [&](const std::vector<Looped>& g, const std::vector<Looped>& w, std::size_t i,
                       double share) {
    const double a = g[i][k], b = w[i][k];
    if (!(a > 0.0) || !(b > 0.0)) return;
    sum += share * std::log(b / a);
    size += share * std::abs(std::log(b / a));
    weight += share;
  };
  add(got.middle, wanted.middle, c, 1.0);
  if (c > 0) add(got.end, wanted.end, c - 1, 0.5);
  add(got.end, wanted.end, c, 0.5);
  Misfit m;
  if (weight > 0.0) m = Misfit{sum / weight, size / weight, true};
  return m;
}

// How far the copy's pitch `got` lies from the recording's `want` (relative; 1 where either is unvoiced).
double pitchMiss(double got, double want) {
  return got > 0.0 && want > 0.0 ? std::abs(got / want - 1.0) : 1.0;
}

}  // namespace

double loopStep(double tableHz, double missLn, double damping, double lower, double upper) {
  const double step = std::clamp(damping * missLn, -L::kLargestStep, L::kLargestStep);
  return std::clamp(std::round(tableHz * std::exp(step)), lower, upper);
}

void closeFormantLoop(CVandrelDoc& doc, const SampleSet& audio, const std::vector<FormantFrame>& wanted,
                      const std::vector<double>& wantedCeilings, const std::vector<double>& f0,
                      const std::vector<Bands>& bands, const std::vector<char>& sung, int threads,
                      const LoopProgress& progress, const std::atomic<bool>* cancel) {
  const int frames = doc.table().columns();
  if (wanted.size() != static_cast<std::size_t>(frames) || sung.size() != wanted.size() ||
      f0.size() != wanted.size())
    return;
  std::vector<int> moved;
  int voiced = 0;
  for (int c = 0; c < frames; ++c) {
    if (sung[static_cast<std::size_t>(c)] == 0) continue;
    ++voiced;
    if (doc.table().value(kF0, c) > 10.0 * L::kFromF0Hz) moved.push_back(c);
  }
  if (moved.empty() || static_cast<double>(moved.size()) < L::kLeastShare * voiced) return;
  const double fs = audio.sampleRate;
  // The recording's reading at the frames' middles is the copy's own
  // estimate; only the ends are read here.
  // The recording is read on a thread of its own while the copy is, under
  // the ceilings its estimate chose.
  const double step = fs * doc.params().intervalMs / 1000.0;
  Reading recordingCeilings;
  recordingCeilings.endCeilings = ceilingsAt(wantedCeilings, step, step, frames);
  auto targetJob = startJob(threads != 1 && frames <= kSideBySideFrames, [&] {
    return readFormants(audio.samples, fs, step, frames, threads, false, nullptr, &recordingCeilings, cancel);
  });
  // The copy's readings in every round differ from the last ones in a few
  // stretches only: each frame's harmonic fits are made once (FitMemo.h).
  CFitMemo memo;
  CopyReading read = readCopy(doc.params(), doc.table(), fs, bands, sung, threads, memo, nullptr, cancel);
  Reading target = targetJob.get();
  if (target.end.empty() || read.formants.middle.empty()) return;
  if (progress) progress(1, L::kRounds + 1);
  target.middle = looped(wanted);
  // Each round's synthesis is read with the ceilings the first chose: the
  // paths under the others would cost a round a quarter of its time.
  Reading chosen;
  chosen.middleCeilings = std::move(read.formants.middleCeilings);
  chosen.endCeilings = std::move(read.formants.endCeilings);
  double damping = L::kDamping;
  for (int round = 0; round < L::kRounds; ++round, damping *= L::kDampingDecay) {
    FrameTable trial = doc.table();
    for (const int c : moved)
      for (std::size_t k = 0; k < kLooped; ++k) {
        const Misfit m = misfit(read.formants, target, static_cast<std::size_t>(c), k);
        if (!m.known || !(std::abs(m.ln) > L::kLeastMiss)) continue;
        const ParamDef& d = doc.params().at(kFormantRows[k]);
        trial.setValue(kFormantRows[k], c,
                       loopStep(trial.value(kFormantRows[k], c), m.ln, damping, d.lower, d.upper));
      }
    raiseToFloors(trial);
    const CopyReading again = readCopy(doc.params(), trial, fs, bands, sung, threads, memo, &chosen, cancel);
    if (again.formants.middle.empty()) return;  // cancelled: the table keeps the rounds before
    if (progress) progress(round + 2, L::kRounds + 1);
    // Each frame keeps, per formant, whichever of its two values read closer;
    // the readings kept go with them (a neighbour's choice moves them little).
    // Where the copy's pitch reads off the recording's (more than kPitchSlack,
    // and more than before), no frame within kPitchReach keeps its move.
    std::vector<char> refused(static_cast<std::size_t>(frames));
    for (int c = 0; c < frames; ++c) {
      const auto uc = static_cast<std::size_t>(c);
      if (!(pitchMiss(again.f0[uc], f0[uc]) > std::max(L::kPitchSlack, pitchMiss(read.f0[uc], f0[uc]))))
        continue;
      for (int n = std::max(0, c - L::kPitchReach); n <= std::min(frames - 1, c + L::kPitchReach); ++n)
        refused[static_cast<std::size_t>(n)] = 1;
    }
    CopyReading next = read;
    EditTransaction edit(doc);
    FrameTable& t = edit.table();
    for (const int c : moved) {
      const auto uc = static_cast<std::size_t>(c);
      if (!(again.envelope[uc] <= read.envelope[uc] * L::kEnvelopeSlack)) continue;
      if (refused[uc] != 0) continue;
      for (std::size_t k = 0; k < kLooped; ++k) {
        if (!(misfit(again.formants, target, uc, k).size < misfit(read.formants, target, uc, k).size))
          continue;
        t.setValue(kFormantRows[k], c, trial.value(kFormantRows[k], c));
        t.setValue(kBandwidthRows[k], c, trial.value(kBandwidthRows[k], c));
        next.formants.middle[uc][k] = again.formants.middle[uc][k];
        next.formants.end[uc][k] = again.formants.end[uc][k];
        if (uc > 0) next.formants.end[uc - 1][k] = again.formants.end[uc - 1][k];
        next.envelope[uc] = again.envelope[uc];
        next.f0[uc] = again.f0[uc];
      }
    }
    read = std::move(next);
    edit.note(CellRange{kF2, kF1, 0, frames - 1});
    edit.note(CellRange{kB2, kB1, 0, frames - 1});
  }
}

}  // namespace vandrel
