#pragma once
// The synthesis driver: turns the document's whole frame table into its
// synthesized buffer, keeping the earlier result as the previous buffer.

#include <functional>

#include "document/VandrelDoc.h"
#include "engine/KlattEngine.h"

namespace vandrel {

// Called after each frame with (frames done, frame count).
using ProgressFn = std::function<void(int done, int total)>;

struct SynthesisSetup {
  int sampleRate;       // 11025, or 22050 when a high-formant row is shown
  int cascadeFormants;  // 5 or 8
  int samplesPerFrame;  // rate x interval / 1000, truncated
  double sampleCount;   // rate x file length / 1000: the length of the sound
};

// What a synthesis of `doc` would use, without running it.
SynthesisSetup synthesisSetup(const CVandrelDoc& doc);
SynthesisSetup synthesisSetup(const ParameterSet& ps);

// Synthesizes the table of `doc` into its synthesized sound
// (CVandrelDoc::acceptSynthesis, which tells the observers). All 48 rows drive
// the engine, shown or not. Returns false (and leaves the buffers as they
// were) only when the working memory cannot be had.
bool synthesize(CVandrelDoc& doc, const ProgressFn& progress = {}, KlattState& state = processKlattState());

// One signal of the synthesizer heard alone, and by how much it was turned
// down to keep it from clipping (0 when it fits as it is).
struct SoloSignal {
  SampleSet set;
  double turnedDownDb = 0.0;
};

// The peak a signal that would clip is turned down to: -1 dBFS.
inline constexpr double kSoloPeak = 29203.6;

// The table of `doc` synthesized with the engine's output select `select`
// (CKlattEngine::OutputSelect: one of its intermediate signals instead of the
// normal output), for listening to one part of the synthesizer. It goes
// through the output low-pass and every frame's gain as the whole does, so the
// levels compare; where a part alone would clip, it is turned down as a whole
// until its peak is kSoloPeak (the normal output never is). The document is
// left alone: its buffers, flags and history. `state` is a copy, so the noise
// of the next real synthesis does not move on. Empty when the working memory
// cannot be had.
SoloSignal synthesizeSolo(const CVandrelDoc& doc, std::uint8_t select,
                          KlattState state = processKlattState());
// The same from copies of a document's settings and table, for a worker
// thread while the document goes on changing.
SoloSignal synthesizeSolo(const ParameterSet& ps, const FrameTable& table, std::uint8_t select,
                          KlattState state);

// Synthesizes when the table changed since the last synthesis (or nothing
// has been synthesized yet), telling the observers first when the document
// is modified (notifyAboutToSynthesize). Returns true
// when it synthesized. The one way the commands that need the current sound
// (Play Current, Save As Audio) bring it up to date.
bool ensureSynthesized(CVandrelDoc& doc, const ProgressFn& progress = {});

}  // namespace vandrel
