#include "batch/CopySynthesis.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <future>
#include <iterator>
#include <limits>
#include <memory>
#include <new>
#include <span>
#include <system_error>

#include "analysis/AutocorrelationPitch.h"
#include "analysis/FormantEstimator.h"
#include "batch/CopyBandwidthFloor.h"
#include "batch/CopyFormantLoop.h"
#include "batch/CopyNoiseFit.h"
#include "batch/CopyPitch.h"
#include "batch/CopyShapeChoice.h"
#include "editing/EditTransaction.h"
#include "engine/Synthesizer.h"
#include "util/Median.h"

namespace vandrel {

namespace {

constexpr double kFricationHz = 2500.0;
constexpr double kFricationShareDb = 4.8;  // a third of the energy above kFricationHz
constexpr double kLevelWindowMs = 20.0;    // at least two periods of a low voice
constexpr double kSilenceBelowLoudestDb = 50.0;
// Quieter than 2 sample units RMS (in dB of raw sample units) is silence
// whatever the loudest frame: a recording of nothing but dither would
// otherwise sound throughout, its formant rows following the LPC of the
// dither with dozens of anchors that no one hears.
constexpr double kSilentLevelDb = 6.0;
// A source amplitude starts this far below the frame's level in dB of raw
// sample units (a loud vowel's 70 dB gives av 60); matchLevels corrects it.
constexpr double kFirstGuessDb = 10.0;
// Natural voices keep the glottis open for about half of each period; with a
// fixed short open phase the source's spectrum peaks near 500 Hz and pulls a
// low F1 up in any LPC analysis of the copy.
constexpr double kOpenQuotient = 0.5;
// The resonators carry level across frames: a second round settles it.
constexpr int kMatchPasses = 2;
constexpr int kSmoothFrames = 5;  // median of the formant tracks: frame-to-frame jitter is not a bend
// The widest B2 a voiced frame is copied with. Where F2 hardly shows between
// the harmonics the harmonic fit widens B2 to 500-600 Hz; synthesized so, the
// copy has no F2 peak, and its analysis reads F2 elsewhere (15 of the 33 F2
// misses of a high voice's copy, `it4_f_16k`, lay in frames with B2 above
// 500 Hz). Held to 400 Hz, the ten men's copies met F2 within 10% on all ten
// instead of eight (`cards/002` 89.7% -> 91.2%, `003` 83.7% -> 90.7%), the 27
// high voices' on 19 instead of 18 (F1 on 20 instead of 21), in the same mel
// distance. Held in unvoiced frames too, the noise lost its shape: `cards/003`
// 0.3 dB further.
constexpr double kWidestVoicedB2 = 400.0;
constexpr int kProgressPollMs = 40;
constexpr char kNoMemoryMessage[] = "there is not enough memory to copy this recording";
const double kMinusInf = -std::numeric_limits<double>::infinity();

const int kFormantRows[5] = {kF1, kF2, kF3, kF4, kF5};
const int kBandwidthRows[5] = {kB1, kB2, kB3, kB4, kB5};
const int kParallelRows[] = {kAb, kA6f, kA5f, kA4f, kA3f, kA2f, kA1f};

// The samples of a recording or synthesis as they are.
struct Plain {
  std::span<const std::int16_t> x;
  long size() const { return static_cast<long>(x.size()); }
  double operator()(long i) const { return x[static_cast<std::size_t>(i)]; }
  void keepFrom(long /*i*/) {}
};

// The same through two second-order high-pass sections at `hz` (Butterworth
// Q): what lies above the band where voicing carries most of its energy.
// Made sample by sample as they are asked for, and only the ones still to
// be asked again are held (a long recording's whole filtered copy took 460 MB
// an hour).
class HighPassed {
 public:
  HighPassed(std::span<const std::int16_t> x, double fs, double hz) : x_(x) {
    const double w = 2.0 * 3.141592653589793 * hz / fs;
    const double alpha = std::sin(w) / (2.0 * std::sqrt(0.5));
    const double a0 = 1.0 + alpha;
    b0_ = (1.0 + std::cos(w)) / 2.0 / a0, b1_ = -(1.0 + std::cos(w)) / a0, b2_ = b0_;
    a1_ = -2.0 * std::cos(w) / a0, a2_ = (1.0 - alpha) / a0;
  }
  long size() const { return static_cast<long>(x_.size()); }
  double operator()(long i) {
    for (; next_ <= i; ++next_) {
      double v = x_[static_cast<std::size_t>(next_)];
      for (Section& s : sections_) {
        const double out = b0_ * v + b1_ * s.x1 + b2_ * s.x2 - a1_ * s.y1 - a2_ * s.y2;
        s.x2 = s.x1;
        s.x1 = v;
        s.y2 = s.y1;
        s.y1 = out;
        v = out;
      }
      held_.push_back(v);
    }
    return held_[static_cast<std::size_t>(i - first_)];
  }
  // Samples before i are not asked for again.
  void keepFrom(long i) {
    const long drop = std::min(i, next_) - first_;
    if (drop < 4096 || 2 * drop < static_cast<long>(held_.size())) return;
    held_.erase(held_.begin(), held_.begin() + drop);
    first_ += drop;
  }

 private:
  struct Section {
    double x1 = 0, x2 = 0, y1 = 0, y2 = 0;
  };
  std::span<const std::int16_t> x_;
  double b0_, b1_, b2_, a1_, a2_;
  std::array<Section, 2> sections_{};
  std::vector<double> held_;  // outputs first_ .. next_ - 1
  long first_ = 0, next_ = 0;
};

// Level in dB of raw sample units, of a window centred on the middle of each
// of `frames` frames `frameSamples` long; -inf for digital silence.
template <class Samples>
std::vector<double> frameLevels(Samples&& x, double frameSamples, double windowSamples, int frames) {
  std::vector<double> out(static_cast<std::size_t>(frames), kMinusInf);
  const long n = x.size();
  for (int c = 0; c < frames; ++c) {
    const double mid = (c + 0.5) * frameSamples;
    const long from = std::max(0L, static_cast<long>(mid - windowSamples / 2.0));
    const long to = std::min(n, static_cast<long>(mid + windowSamples / 2.0));
    x.keepFrom(from);
    double e = 0.0;
    for (long i = from; i < to; ++i) {
      const double v = x(i);
      e += v * v;
    }
    if (to > from && e > 0.0)
      out[static_cast<std::size_t>(c)] = 10.0 * std::log10(e / static_cast<double>(to - from));
  }
  return out;
}

// Replaces the values `known` rejects by straight lines between the known
// ones around them, held level before the first and after the last; all
// become `fallback` when none is known.
void fillGaps(std::vector<double>& v, const std::vector<char>& known, double fallback) {
  const int n = static_cast<int>(v.size());
  int last = -1;
  for (int c = 0; c <= n; ++c) {
    if (c < n && known[static_cast<std::size_t>(c)] == 0) continue;
    const double right =
        c < n ? v[static_cast<std::size_t>(c)] : (last >= 0 ? v[static_cast<std::size_t>(last)] : fallback);
    const double left = last >= 0 ? v[static_cast<std::size_t>(last)] : right;
    for (int k = last + 1; k < c; ++k)
      v[static_cast<std::size_t>(k)] =
          last >= 0 && c < n ? left + (right - left) * (k - last) / static_cast<double>(c - last)
                             : (last >= 0 ? left : right);
    last = c;
  }
}

// Running median of `width` frames (odd), ends shortened.
void medianSmooth(std::vector<double>& v, int width) {
  const int n = static_cast<int>(v.size()), h = width / 2;
  const std::vector<double> in = v;
  std::vector<double> w;
  for (int c = 0; c < n; ++c) {
    w.assign(in.begin() + std::max(0, c - h), in.begin() + std::min(n, c + h + 1));
    v[static_cast<std::size_t>(c)] = upperMedian(w);
  }
}

double held(const ParamDef& d, double v) {
  return std::clamp(std::round(v), static_cast<double>(d.lower), static_cast<double>(d.upper));
}

// The source amplitude row that sounds in frame c, or -1.
int sourceRow(const FrameTable& t, int c) {
  if (t.value(kAv, c) > 0.0) return kAv;
  if (t.value(kAf, c) > 0.0) return kAf;
  if (t.value(kAh, c) > 0.0) return kAh;
  return -1;
}

// Synthesizes `doc` and moves each frame's sounding amplitude by the level
// the synthesis misses the recording by; where voiced, it also moves the
// tilt by how much brighter (more of the level above 2.5 kHz) the synthesis
// is, when `tilt` (until chooseTiltAndDamping has chosen the tilt by shape).
// The level above 2.5 kHz is measured only then, on another thread when
// `parallel`.
void matchLevels(CVandrelDoc& doc, const std::vector<double>& wanted, const std::vector<double>& wantedHigh,
                 bool tilt, bool parallel) {
  KlattState state;
  state.reset(1);
  if (!synthesize(doc, {}, state)) throw std::bad_alloc();  // its only failure
  const SynthesisSetup setup = synthesisSetup(doc);
  const std::vector<std::int16_t>& x = doc.synthesized().samples;
  const double window = kLevelWindowMs * setup.sampleRate / 1000.0;
  const int frames = doc.table().columns();
  auto highJob = startJob(parallel && tilt, [&] {
    return tilt ? frameLevels(HighPassed(x, setup.sampleRate, kFricationHz), setup.samplesPerFrame, window,
                              frames)
                : std::vector<double>();
  });
  const std::vector<double> got = frameLevels(Plain{x}, setup.samplesPerFrame, window, frames);
  const std::vector<double> gotHigh = highJob.get();
  doc.dropSynthesis();  // each step synthesizes afresh; the copies of the document need not carry it
  EditTransaction edit(doc);
  for (int c = 0; c < frames; ++c) {
    const auto uc = static_cast<std::size_t>(c);
    const int row = sourceRow(doc.table(), c);
    const double g = got[uc], w = wanted[uc];
    if (row < 0 || !std::isfinite(g) || !std::isfinite(w)) continue;
    edit.table().setValue(row, c, held(doc.params().at(row), doc.table().value(row, c) + (w - g)));
    edit.note(CellRange{row, row, c, c});
    if (!tilt || row != kAv) continue;
    const double brighter = (gotHigh[uc] - g) - (wantedHigh[uc] - w);
    if (std::isfinite(brighter))
      edit.setValue(kTl, c, held(doc.params().at(kTl), doc.table().value(kTl, c) + brighter));
  }
}

// A period of the synthesizer's voicing takes the f0 of the frame it starts
// in, and the glottis closes, exciting the tract, about half a period later
// (kOpenQuotient; the fitted open quotient wanders too much from frame to
// frame to time by). The span between two closures, the period a listener or
// a pitch tracker hears, is thus centred about one period after the period
// starts: copied as measured, a low voice's pitch contour comes out about a
// frame late. So each voiced frame takes the recording's f0 one period later,
// within its voiced stretch (near its end, the stretch's last value).
std::vector<double> f0Ahead(const std::vector<double>& f0, double frameMs) {
  const int n = static_cast<int>(f0.size());
  std::vector<double> out = f0;
  int last = n - 1;  // the last voiced frame of the stretch holding c
  for (int c = n - 1; c >= 0; --c) {
    const auto uc = static_cast<std::size_t>(c);
    if (!(f0[uc] > 0.0)) {
      last = c - 1;
      continue;
    }
    const double at = c + (0.5 + kOpenQuotient) * 1000.0 / (f0[uc] * frameMs);
    const int k = static_cast<int>(at);
    if (k >= last) {
      out[uc] = f0[static_cast<std::size_t>(last)];
      continue;
    }
    const auto uk = static_cast<std::size_t>(k);
    out[uc] = f0[uk] + (at - k) * (f0[uk + 1] - f0[uk]);
  }
  return out;
}

// Fits the parallel amplitudes (CopyNoiseFit.h) of the frames `noisy`
// marks, as frication where `fricative` says so, else as aspiration.
void fitNoise(FrameTable& t, const SynthesisSetup& setup, double fs, const std::vector<Bands>& bands,
              const std::vector<char>& noisy, const std::vector<char>& fricative, bool parallel) {
  const int frames = t.columns();
  inHalves(frames, parallel, [&](int from, int to) {
    CNoiseFit noise(setup.sampleRate, fs, setup.cascadeFormants);
    for (int c = from; c < to; ++c) {
      const auto uc = static_cast<std::size_t>(c);
      if (noisy[uc] == 0) continue;
      noise.fit(t, c, fricative[uc] != 0 ? CNoiseFit::Source::kFrication : CNoiseFit::Source::kAspiration,
                CNoiseFit::target(bands, noisy, c));
    }
  });
}

}  // namespace

const std::vector<int>& copiedRows() {
  static const std::vector<int> rows = [] {
    std::vector<int> r{kF0, kAv, kAh, kAf, kTl};
    r.insert(r.end(), {kF5, kF4, kF3, kF2, kF1, kB5, kB4, kB3, kB2, kB1, kAb, kA6f, kA5f, kA4f, kA3f, kA2f,
                       kA1f, kOq});
    return r;
  }();
  return rows;
}

namespace {

CopyResult copyInto(const SampleSet& audio, const CopySettings& settings, CVandrelDoc& out,
                    const CopyProgress& progress, const std::atomic<bool>* cancel) {
  CopyResult r;
  const auto cancelled = [cancel] { return cancel != nullptr && cancel->load(std::memory_order_relaxed); };
  const auto cancelledResult = [] {
    CopyResult c;
    c.status = CopyResult::Status::kCancelled;
    c.message = "cancelled";
    return c;
  };
  const double fs = audio.sampleRate;
  const int interval = settings.intervalMs;
  if (!(fs > 0.0) || interval < 1 || (settings.sampleRate != 11025 && settings.sampleRate != 22050)) {
    r.message = "the interval must be 1 ms or more and the rate 11025 or 22050 Hz";
    return r;
  }
  const double step = fs * interval / 1000.0;
  const int frames = static_cast<int>(static_cast<double>(audio.samples.size()) / step);
  const double pitchWindow =
      std::ceil(CAutocorrelationPitch::kPeriodsPerWindow * fs / FormantEstimateSettings::kLowestF0);
  if (frames < 1 || static_cast<double>(audio.samples.size()) < pitchWindow) {
    r.status = CopyResult::Status::kTooShort;
    r.message = "the recording is too short to copy (it needs " +
                std::to_string(static_cast<int>(pitchWindow * 1000.0 / fs) + 1) + " ms for a pitch window)";
    return r;
  }

  // The formants and the pitch (FormantEstimator.h) are estimated on the
  // table's frames, centred on their middles, on other threads while this one
  // measures the levels.
  FormantEstimateSettings fes;
  fes.frames = frames;
  fes.firstCentre = step / 2.0;
  fes.spacing = step;
  fes.threads = settings.threads;
  std::atomic<int> formantsDone{0}, formantsTotal{1};
  const auto trackFormants = [&] {
    return estimateFormants(
        audio.samples, fs, fes,
        [&](int done, int total) {
          formantsDone.store(done);
          formantsTotal.store(std::max(1, total));
        },
        cancel);
  };
  // The pitch (CopyPitch.h) is tracked by the formant estimator's threads
  // beside its candidates: only its fits to the harmonics need it. The
  // levels are measured meanwhile.
  CopyPitchSettings cps;
  cps.frames = frames;
  cps.firstCentre = fes.firstCentre;
  cps.spacing = fes.spacing;
  fes.pitch = [&] { return copyPitch(audio.samples, fs, cps); };
  std::future<FormantEstimate> formantJob = startJob(true, trackFormants);
  const std::span<const std::int16_t> x = audio.samples;
  const double levelWindow = std::max(step, kLevelWindowMs * fs / 1000.0);
  const std::vector<double> level = frameLevels(Plain{x}, step, levelWindow, frames);
  const std::vector<double> high =
      fs > 2.2 * kFricationHz ? frameLevels(HighPassed(x, fs, kFricationHz), step, levelWindow, frames)
                              : std::vector<double>(static_cast<std::size_t>(frames), kMinusInf);
  if (progress) progress(10);
  // The formants take longest: their progress is told from here while they run.
  if (progress)
    while (formantJob.wait_for(std::chrono::milliseconds(kProgressPollMs)) == std::future_status::timeout)
      progress(10 + 50 * formantsDone.load() / formantsTotal.load());
  const FormantEstimate formants = formantJob.get();
  if (cancelled()) return cancelledResult();
  if (formants.status == FormantEstimate::Status::kNoMemory) throw std::bad_alloc();
  if (progress) progress(60);
  if (formants.status != FormantEstimate::Status::kOk ||
      formants.frames.size() != static_cast<std::size_t>(frames) ||
      formants.f0.size() != static_cast<std::size_t>(frames)) {
    r.status = CopyResult::Status::kAnalysisFailed;
    r.message = "the pitch or formant tracks of the recording could not be computed";
    return r;
  }
  const double loudest = *std::max_element(level.begin(), level.end());
  const auto sounds = [&](std::size_t c) {
    return level[c] > loudest - kSilenceBelowLoudestDb && level[c] > kSilentLevelDb;
  };

  auto doc = std::make_unique<CVandrelDoc>();
  doc->setUntouched(false);
  // The whole table is filled here: one structure change, told when the fill ends.
  EditTransaction fill(*doc);
  ParameterSet& ps = fill.params();
  ps.intervalMs = interval;
  ps.frameCount = frames;
  ps.fileLengthMs = static_cast<double>(frames) * interval;
  if (settings.sampleRate == 22050) ps.setSelected(kF6, true);
  FrameTable& t = fill.table();
  t.reset(frames, ps);
  fill.noteResized();

  std::vector<std::vector<double>> fv(5, std::vector<double>(static_cast<std::size_t>(frames)));
  std::vector<std::vector<double>> bv = fv;
  std::vector<double> oq(static_cast<std::size_t>(frames));
  std::vector<char> sounding(static_cast<std::size_t>(frames)), fricative(sounding.size()),
      voiced(sounding.size());
  std::vector<std::vector<char>> tracked(5, sounding);

  std::vector<double> voicedF0(static_cast<std::size_t>(frames));
  for (int c = 0; c < frames; ++c) {
    const auto uc = static_cast<std::size_t>(c);
    voicedF0[uc] = sounds(uc) ? formants.f0[uc] : 0.0;
  }
  const std::vector<double> heard = f0Ahead(voicedF0, interval);
  for (int c = 0; c < frames; ++c) {
    const auto uc = static_cast<std::size_t>(c);
    const bool silent = !sounds(uc);
    sounding[uc] = silent ? 0 : 1;
    const double f0 = heard[uc];
    if (f0 > 0.0) {
      ++r.voicedFrames;
      t.setValue(kF0, c, held(ps.at(kF0), f0 * 10.0));
      t.setValue(kAv, c, held(ps.at(kAv), level[uc] - kFirstGuessDb));
      const double q = formants.openQuotient[uc];
      oq[uc] = (q > 0.0 ? q : kOpenQuotient) * settings.sampleRate / f0;
      voiced[uc] = 1;
    } else {
      t.setValue(kF0, c, 0.0);
      t.setValue(kAv, c, 0.0);
      // Frication where the band above 2.5 kHz holds a third of the energy
      // or more (the vowel-like spectrum of aspiration holds far less).
      fricative[uc] = !silent && high[uc] > level[uc] - kFricationShareDb ? 1 : 0;
    }
    for (int k = 0; k < 5; ++k) {
      const double f = formants.frames[uc].f[static_cast<std::size_t>(k)];
      tracked[static_cast<std::size_t>(k)][uc] = !silent && f > 0.0 ? 1 : 0;
      fv[static_cast<std::size_t>(k)][uc] = f;
      bv[static_cast<std::size_t>(k)][uc] = formants.frames[uc].b[static_cast<std::size_t>(k)];
    }
  }
  // A frame's noise is frication when most of the five frames around it say
  // so: the share hovers near the threshold in weak fricatives.
  const std::vector<char> share = fricative;
  for (int c = 0; c < frames; ++c) {
    const auto uc = static_cast<std::size_t>(c);
    if (sounding[uc] == 0 || t.value(kF0, c) > 0.0) continue;
    int votes = 0, voters = 0;
    for (int k = std::max(0, c - 2); k <= std::min(frames - 1, c + 2); ++k, ++voters)
      votes += share[static_cast<std::size_t>(k)];
    fricative[uc] = 2 * votes > voters ? 1 : 0;
    const int row = fricative[uc] != 0 ? kAf : kAh;
    t.setValue(row, c, held(ps.at(row), (row == kAf ? high[uc] : level[uc]) - kFirstGuessDb));
  }
  for (int k = 0; k < 5; ++k) {
    const auto uk = static_cast<std::size_t>(k);
    fillGaps(fv[uk], tracked[uk], ps.at(kFormantRows[k]).defaultValue);
    fillGaps(bv[uk], tracked[uk], ps.at(kBandwidthRows[k]).defaultValue);
    medianSmooth(fv[uk], kSmoothFrames);
    medianSmooth(bv[uk], kSmoothFrames);
  }
  for (int c = 0; c < frames; ++c) {
    const auto uc = static_cast<std::size_t>(c);
    for (int k = 0; k < 5; ++k) {
      t.setValue(kFormantRows[k], c, held(ps.at(kFormantRows[k]), fv[static_cast<std::size_t>(k)][uc]));
      const double b = bv[static_cast<std::size_t>(k)][uc];
      t.setValue(
          kBandwidthRows[k], c,
          held(ps.at(kBandwidthRows[k]), k == 1 && voiced[uc] != 0 ? std::min(b, kWidestVoicedB2) : b));
    }
  }
  raiseToFloors(t);
  // The band levels of every sounding frame; the shape of the noise in
  // every frame that has some (elsewhere the parallel amplitudes are not
  // heard and follow the noisy frames around).
  const SynthesisSetup setup = synthesisSetup(ps);
  std::vector<char> measured = sounding;
  const std::vector<Bands> bands = measureBands(x, fs, step, setup, fs, measured, settings.threads != 1);
  std::vector<char> noisy(static_cast<std::size_t>(frames));
  for (std::size_t c = 0; c < noisy.size(); ++c) noisy[c] = measured[c] != 0 && voiced[c] == 0 ? 1 : 0;
  fitNoise(t, setup, fs, bands, noisy, fricative, settings.threads != 1);
  // In voiced frames the parallel branch is off: breath noise there
  // (chooseBreath) passes the cascade alone, as in a breathy vowel; noise
  // through the bypass and the parallel formants beside the voicing makes
  // the copy rough, and a pitch tracker hears it an octave down.
  for (const int row : kParallelRows) {
    std::vector<double> v(t.row(row), t.row(row) + frames);
    fillGaps(v, noisy, ps.at(row).defaultValue);
    for (int c = 0; c < frames; ++c)
      t.setValue(row, c,
                 voiced[static_cast<std::size_t>(c)] != 0 ? 0.0 : std::round(v[static_cast<std::size_t>(c)]));
  }
  // The open phase is heard only where voiced, and a fit's open quotient
  // wanders from frame to frame more than a voice's does.
  fillGaps(oq, voiced, ps.at(kOq).defaultValue);
  medianSmooth(oq, kSmoothFrames);
  for (int c = 0; c < frames; ++c) t.setValue(kOq, c, held(ps.at(kOq), oq[static_cast<std::size_t>(c)]));

  for (int pass = 0; pass < kMatchPasses; ++pass) matchLevels(*doc, level, high, true, settings.threads != 1);
  std::vector<char> sung(static_cast<std::size_t>(frames));
  for (std::size_t c = 0; c < sung.size(); ++c) sung[c] = measured[c] != 0 && voiced[c] != 0 ? 1 : 0;
  // Aspiration that neither follows nor precedes voicing: in the frame next
  // to a vowel the resonators still ring with its last period, and damping
  // them there moves the end of the period a pitch tracker hears.
  std::vector<char> aspirated(static_cast<std::size_t>(frames));
  for (int c = 0; c < frames; ++c)
    aspirated[static_cast<std::size_t>(c)] =
        measured[static_cast<std::size_t>(c)] != 0 && t.value(kAh, c) > 0.0 &&
                voiced[static_cast<std::size_t>(c)] == 0 &&
                (c == 0 || voiced[static_cast<std::size_t>(c - 1)] == 0) &&
                (c + 1 == frames || voiced[static_cast<std::size_t>(c + 1)] == 0)
            ? 1
            : 0;
  chooseTiltAndDamping(*doc, fs, bands, sung, aspirated, settings.threads != 1);
  chooseUpperBandwidths(*doc, fs, bands, sung, settings.threads != 1);
  for (int pass = 0; pass < kMatchPasses; ++pass)
    matchLevels(*doc, level, high, false, settings.threads != 1);
  if (cancelled()) return cancelledResult();
  if (progress) progress(75);
  // The tilt shapes voicing only: where unvoiced it follows the voiced frames
  // around, so that it bends nowhere it is not heard.
  std::vector<double> tl(t.row(kTl), t.row(kTl) + frames);
  fillGaps(tl, voiced, ps.at(kTl).defaultValue);
  for (int c = 0; c < frames; ++c) t.setValue(kTl, c, std::round(tl[static_cast<std::size_t>(c)]));

  // F1 and F2 moved until the copy reads as the recording does (CopyFormantLoop.h).
  closeFormantLoop(
      *doc, audio, formants.frames, formants.ceiling, formants.f0, bands, sung, settings.threads,
      [&](int done, int total) {
        if (progress) progress(75 + 15 * done / total);
      },
      cancel);
  if (cancelled()) return cancelledResult();

  // Few anchors, as long as the copy stays as close to the recording.
  // The dense copy is measured on another thread while this one thins it;
  // its table is what the tolerances narrow from.
  const auto denseDoc = std::make_unique<CVandrelDoc>(*doc);
  std::future<double> denseJob =
      startJob(settings.threads != 1, [&audio, &denseDoc] { return copyDistance(audio, *denseDoc); });
  AnchorTolerances tolerances = settings.tolerances;
  CNoiseFit refitter(setup.sampleRate, fs, setup.cascadeFormants);
  for (int round = 0;; ++round) {
    r.anchors = placeAnchors(*doc, copiedRows(), tolerances);
    keepFloors(*doc, copiedRows(), r.anchors);
    // The noise's shape between the parallel amplitudes' anchors (CopyNoiseFit.h).
    refitter.refitAnchors(t, bands, noisy, fricative, settings.threads != 1);
    r.distanceDb = copyDistance(audio, *doc);
    doc->dropSynthesis();
    if (round == 0) {
      r.denseDistanceDb = denseJob.get();
      denseDoc->dropSynthesis();
    }
    if (cancelled()) return cancelledResult();
    if (round == CopySettings::kNarrowings ||
        !(r.distanceDb > r.denseDistanceDb + CopySettings::kMaxDistanceLossDb))
      break;
    t = denseDoc->table();
    tolerances = tolerances.scaled(CopySettings::kNarrowing);
  }

  if (progress) progress(100);
  doc->dropSynthesis();
  doc->clearHistory();
  out = std::move(*doc);
  r.frames = frames;
  r.status = CopyResult::Status::kOk;
  return r;
}

}  // namespace

CopyResult copySynthesis(const SampleSet& audio, const CopySettings& settings, CVandrelDoc& out,
                         const CopyProgress& progress, const std::atomic<bool>* cancel) {
  try {
    return copyInto(audio, settings, out, progress, cancel);
  } catch (const std::bad_alloc&) {
    CopyResult r;
    r.status = CopyResult::Status::kAnalysisFailed;
    r.message = kNoMemoryMessage;
    return r;
  }
}

}  // namespace vandrel
