#include "batch/CopyShapeChoice.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <functional>
#include <iterator>
#include <limits>
#include <memory>
#include <new>

#include "editing/EditTransaction.h"
#include "engine/KlattEngine.h"

namespace vandrel {

namespace {

constexpr double kTiltSteps[] = {0.0, 8.0, 16.0, 24.0};  // tl, dB
// B1 in aspirated frames, times the vowel's (held to the row's limit).
constexpr double kAspirationB1[] = {1.0, 2.0, 4.0, 8.0};
// Or F1 at its row's lowest (200 Hz), this wide: weak aspiration in pauses
// and closures often holds its energy below 200 Hz (a microphone's rumble,
// breath on it, a voice bar the pitch tracker did not take for voicing; in
// the men's commands the lowest mel band stood 20-28 dB above such a frame's
// mean), and through the cascade the noise peaks at F1. Offered beside the
// widened B1s, it brought the ten men's copies 0.24 dB closer to their
// recordings in mel distance (all ten within 16 dB instead of eight), the
// high voices' by 0.02 dB, with their formant counts within a file either
// way. 300-500 Hz did as well; 200 left `cards/003` at 16.03 dB, and 700
// took F1 within 10% on `cards/001` from 82% to 72% (the F1 row's lines
// then bend more near the vowels).
constexpr double kLowF1Bandwidth = 400.0;
// B3..B5 in voiced frames, times the estimate's, and B1 with them where
// they narrow (below). The widening steps took the copies of three voices
// 0.8-2.4 dB closer to their recordings in mel-cepstral distance; steps
// {1.7, 2.8} came 0.07 dB less close, {1.7, 2.8, 4.5} 0.1 dB closer but read
// F1 and F2 off the recordings' more often.
constexpr double kUpperScales[] = {1.0, 0.6, 0.35, 0.2, 1.5, 2.2, 3.2};
// No narrower than this times f0: a resonance that narrow still rings at a
// tenth (-20 dB) of its level when the next period starts, and on a high
// voice periods that overlap so are heard an octave down (a woman's f0 at
// 220 Hz read at 110 over 16 frames).
constexpr double kNarrowestPerF0 = 0.75;
// The formant estimate pulls B1 towards a typical 80 Hz; where the higher
// peaks are raised, F1's then stands above the recording's by a few dB.
constexpr double kB1WithUpper = 1.2;
// Frames over which a choice is made (each frame takes the candidate closest
// over it and its neighbours): a tilt's or aspiration's error scatters with
// the few periods in a window; a bandwidth chosen over few frames flickers,
// and periods whose shapes change from frame to frame are heard by a pitch
// tracker as other periods (a child's f0 read 25% high).
constexpr std::size_t kTiltChoiceFrames = 3;
constexpr std::size_t kBandwidthChoiceFrames = 11;

using Apply = std::function<void(FrameTable&, int c, int k)>;

// The table is synthesized with each of `candidates` applied to all the
// frames `kind` marks (apply(table, c, k) sets candidate k in frame c; k = 0
// must be what the table held), and each frame keeps the candidate whose
// band shape comes closest to the recording's over it and the `span` frames
// around it (odd) of its kind. A frame's neighbours differ from what was
// tried with it by at most their own choice, which moves its shape little.
// Frames of different kinds (non-zero values of `kind`) may take different
// rows in the same syntheses. The candidates are tried on copies of the
// table, shared between this thread and another when `parallel`.
void chooseByShape(CVandrelDoc& doc, double fs, const std::vector<Bands>& wanted,
                   const std::vector<char>& kind, bool parallel, int candidates, std::size_t span,
                   const Apply& apply) {
  const int frames = doc.table().columns();
  const SynthesisSetup setup = synthesisSetup(doc);
  const auto m = static_cast<std::size_t>(frames);
  std::vector<double> error(m * static_cast<std::size_t>(candidates), 0.0);  // per candidate, per frame
  std::vector<std::vector<char>> sounded(static_cast<std::size_t>(candidates), kind);
  std::atomic<int> next{0};
  std::atomic<bool> failed{false};
  // A trial is a copy of the table alone, synthesized as the document would
  // be (the normal output is never turned down): a copy of the document
  // would also carry its sounds and history.
  const auto tryCandidates = [&] {
    std::unique_ptr<FrameTable> trial;
    for (int k; (k = next.fetch_add(1)) < candidates && !failed.load();) {
      if (!trial) trial = std::make_unique<FrameTable>(doc.table());
      for (int c = 0; c < frames; ++c)
        if (kind[static_cast<std::size_t>(c)] != 0) apply(*trial, c, k);
      KlattState state;
      state.reset(1);
      const SoloSignal sound = synthesizeSolo(doc.params(), *trial, CKlattEngine::kNormal, state);
      if (sound.set.samples.empty()) {
        failed.store(true);
        return;
      }
      std::vector<char>& heard = sounded[static_cast<std::size_t>(k)];
      measureBands(sound.set.samples, setup.sampleRate, setup.samplesPerFrame, setup, fs, heard, false,
                   [&](std::size_t c, const Bands& got) {
                     error[static_cast<std::size_t>(k) * m + c] = CNoiseFit::envelopeError(got, wanted[c]);
                   });
    }
  };
  auto other = startJob(parallel, tryCandidates);
  tryCandidates();
  other.get();
  if (failed.load()) throw std::bad_alloc();  // a synthesis fails for want of memory only
  // Frames that any candidate leaves silent are not chosen in.
  std::vector<char> measured = kind;
  for (const auto& heard : sounded)
    for (std::size_t c = 0; c < m; ++c)
      if (heard[c] == 0) measured[c] = 0;
  std::vector<int> chosen(m, 0);
  for (std::size_t c = 0; c < m; ++c) {
    if (measured[c] == 0) continue;
    double best = std::numeric_limits<double>::infinity();
    for (int k = 0; k < candidates; ++k) {
      double sum = 0.0;
      for (std::size_t n = c > span / 2 ? c - span / 2 : 0; n < std::min(m, c + span / 2 + 1); ++n)
        if (measured[n] == measured[c]) sum += error[static_cast<std::size_t>(k) * m + n];
      if (sum < best) {
        best = sum;
        chosen[c] = k;
      }
    }
  }
  EditTransaction edit(doc);
  for (int c = 0; c < frames; ++c)
    if (kind[static_cast<std::size_t>(c)] != 0) apply(edit.table(), c, chosen[static_cast<std::size_t>(c)]);
}

std::vector<double> rowOf(const FrameTable& t, int row) { return {t.row(row), t.row(row) + t.columns()}; }

}  // namespace

void measureBands(std::span<const std::int16_t> x, double rate, double step, const SynthesisSetup& setup,
                  double recordingRate, std::vector<char>& wanted, bool parallel,
                  const std::function<void(std::size_t c, const Bands& bands)>& take) {
  inHalves(static_cast<int>(wanted.size()), parallel, [&](int from, int to) {
    CNoiseFit bands(setup.sampleRate, recordingRate, setup.cascadeFormants, rate);
    Bands one;
    for (int c = from; c < to; ++c) {
      const auto uc = static_cast<std::size_t>(c);
      if (wanted[uc] == 0) continue;
      wanted[uc] = bands.measure(x, (c + 0.5) * step, one) ? 1 : 0;
      if (wanted[uc] != 0) take(uc, one);
    }
  });
}

std::vector<Bands> measureBands(std::span<const std::int16_t> x, double rate, double step,
                                const SynthesisSetup& setup, double recordingRate, std::vector<char>& wanted,
                                bool parallel) {
  std::vector<Bands> out(wanted.size());
  measureBands(x, rate, step, setup, recordingRate, wanted, parallel,
               [&](std::size_t c, const Bands& bands) { out[c] = bands; });
  return out;
}

void chooseTiltAndDamping(CVandrelDoc& doc, double fs, const std::vector<Bands>& wanted,
                          const std::vector<char>& voiced, const std::vector<char>& aspirated,
                          bool parallel) {
  const std::vector<double> tilt = rowOf(doc.table(), kTl), b1 = rowOf(doc.table(), kB1);
  const double b1Top = doc.params().at(kB1).upper, f1Bottom = doc.params().at(kF1).lower;
  std::vector<char> kind(voiced.size());
  for (std::size_t c = 0; c < kind.size(); ++c) kind[c] = voiced[c] != 0 ? 1 : (aspirated[c] != 0 ? 2 : 0);
  // Both kinds' candidates are tried in the same syntheses: the table's tilt
  // and the steps; the widened B1s and the low F1.
  static_assert(std::size(kAspirationB1) == std::size(kTiltSteps));
  chooseByShape(doc, fs, wanted, kind, parallel, static_cast<int>(1 + std::size(kTiltSteps)),
                kTiltChoiceFrames, [&](FrameTable& t, int c, int k) {
                  const auto uc = static_cast<std::size_t>(c);
                  const auto uk = static_cast<std::size_t>(k);
                  if (kind[uc] == 1) {
                    t.setValue(kTl, c, k == 0 ? tilt[uc] : kTiltSteps[uk - 1]);
                  } else if (uk < std::size(kAspirationB1)) {
                    t.setValue(kB1, c, std::min(b1Top, std::round(b1[uc] * kAspirationB1[uk])));
                  } else {
                    t.setValue(kF1, c, f1Bottom);
                    t.setValue(kB1, c, kLowF1Bandwidth);
                  }
                });
}

void chooseUpperBandwidths(CVandrelDoc& doc, double fs, const std::vector<Bands>& wanted,
                           const std::vector<char>& voiced, bool parallel) {
  const int rows[] = {kB3, kB4, kB5};
  std::vector<std::vector<double>> was;
  for (const int row : rows) was.push_back(rowOf(doc.table(), row));
  const std::vector<double> b1 = rowOf(doc.table(), kB1);
  const ParamDef& b1Def = doc.params().at(kB1);
  const double bottom = doc.params().at(kB3).lower;
  std::array<double, std::size(rows)> top{};
  for (std::size_t r = 0; r < std::size(rows); ++r) top[r] = doc.params().at(rows[r]).upper;
  chooseByShape(
      doc, fs, wanted, voiced, parallel, static_cast<int>(std::size(kUpperScales)), kBandwidthChoiceFrames,
      [&](FrameTable& t, int c, int k) {
        const auto uc = static_cast<std::size_t>(c);
        const double scale = kUpperScales[static_cast<std::size_t>(k)];
        const double narrowest = std::round(kNarrowestPerF0 * t.value(kF0, c) / 10.0);
        for (std::size_t r = 0; r < std::size(rows); ++r)
          t.setValue(rows[r], c,
                     scale > 1.0 ? std::min(top[r], std::round(was[r][uc] * scale))
                                 : std::min(was[r][uc],
                                            std::max({bottom, std::round(was[r][uc] * scale), narrowest})));
        t.setValue(kB1, c,
                   scale >= 1.0 ? b1[uc] : std::min<double>(b1Def.upper, std::round(b1[uc] * kB1WithUpper)));
      });
}

}  // namespace vandrel
