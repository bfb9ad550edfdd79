#pragma once
// Analysis by synthesis for a copy's table (CopySynthesis.h): a few values
// of some rows are tried by synthesizing the whole table with each, and
// every frame keeps the one whose spectral envelope (the band shape of
// CopyNoiseFit.h) comes closest to the recording's. Also the helpers the
// copy shares with it: the band levels of a signal, and work split over two
// threads.

#include <array>
#include <cstdint>
#include <functional>
#include <future>
#include <system_error>
#include <vector>

#include "batch/CopyNoiseFit.h"
#include "document/VandrelDoc.h"
#include "engine/Synthesizer.h"

namespace vandrel {

using Bands = std::array<double, CNoiseFit::kBands>;

// Runs `job` on a thread of its own when `parallel` and the system gives one,
// otherwise when its result is asked for.
template <class Job>
auto startJob(bool parallel, const Job& job) {
  if (parallel) {
    try {
      return std::async(std::launch::async, job);
    } catch (const std::system_error&) {
    }
  }
  return std::async(std::launch::deferred, job);
}

// Runs job(from, to) over the frames 0..frames, the second half on another
// thread when `parallel`.
template <class Job>
void inHalves(int frames, bool parallel, const Job& job) {
  auto half = startJob(parallel, [&] { job(frames / 2, frames); });
  job(0, frames / 2);
  half.get();
}

// The band levels (CopyNoiseFit.h) of x at rate `rate` for the frames
// `wanted` marks, centred on their middles (frame c at (c + 0.5) x step);
// frames whose window holds no energy are unmarked.
std::vector<Bands> measureBands(std::span<const std::int16_t> x, double rate, double step,
                                const SynthesisSetup& setup, double recordingRate, std::vector<char>& wanted,
                                bool parallel);
// The same, each frame's bands handed to `take` (on either thread when
// `parallel`) instead of kept.
void measureBands(std::span<const std::int16_t> x, double rate, double step, const SynthesisSetup& setup,
                  double recordingRate, std::vector<char>& wanted, bool parallel,
                  const std::function<void(std::size_t c, const Bands& bands)>& take);

// In the frames `voiced` marks, the voice's tilt, chosen among kTiltSteps and
// what the table held; in the frames `aspirated` marks (aspiration without
// voicing), at the same time and in the same syntheses, how far B1 is
// widened (kAspirationB1), or whether F1 moves down to its lowest to carry
// the noise below 200 Hz (kLowF1Bandwidth).
//
// The envelope over the whole band is what a listener hears, and a voice's
// brightness above 2.5 kHz says little of its slope below. (Neither the open
// phase nor voicing added through the parallel branch is chosen so: a
// frame's best open phase changes from frame to frame, and periods of
// alternating shapes are heard an octave down; voicing through the bypass or
// the parallel formants fills in the spectrum between the formants, and
// analyses of the copy then find F1 and F2 elsewhere.)
//
// Aspiration is breath through an open glottis, which couples the trachea to
// the tract and damps F1 far more than in a vowel (Klatt & Klatt 1990); with
// the vowel's B1, aspiration through the cascade carries a peak at F1 10-15
// dB above the recording's.
void chooseTiltAndDamping(CVandrelDoc& doc, double fs, const std::vector<Bands>& wanted,
                          const std::vector<char>& voiced, const std::vector<char>& aspirated, bool parallel);

// In the frames `voiced` marks, the higher formants' bandwidths (B3..B5
// scaled together, kUpperScales, never narrower than kNarrowestPerF0 x f0
// nor wider than their rows allow). The synthesizer's source and output
// low-pass take 5-10 dB more off 3.5-5 kHz than most voices lose there, and
// the tilt cannot brighten; narrower resonances raise the peaks of F3..F5
// without filling in the valleys between the formants, where a brighter
// source through the parallel branch made analyses of the copy find F1 and
// F2 elsewhere. Other voices are darker up there than the estimate's F4 and
// F5 make them (a woman whose copy stood 6-11 dB above her recording at 4-5
// kHz): wider resonances take those peaks down, which the tilt cannot do
// without dulling 1-3 kHz.
void chooseUpperBandwidths(CVandrelDoc& doc, double fs, const std::vector<Bands>& wanted,
                           const std::vector<char>& voiced, bool parallel);

}  // namespace vandrel
