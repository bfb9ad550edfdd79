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

// Synthesizes the table of `doc` into doc.synthesized. All 48 rows drive the
// engine, shown or not. Returns false (and leaves the buffers as they were)
// only when the working memory cannot be had.
bool synthesize(CVandrelDoc& doc, const ProgressFn& progress = {}, KlattState& state = processKlattState());

// The table of `doc` synthesized with the engine's output select `select`
// (CKlattEngine::OutputSelect: one of its intermediate signals instead of the
// normal output), for listening to one part of the synthesizer. The document
// is left alone: its buffers, flags and history. `state` is a copy, so the
// noise of the next real synthesis does not move on. Empty when the working
// memory cannot be had.
SampleSet synthesizeSolo(const CVandrelDoc& doc, std::uint8_t select, KlattState state = processKlattState());
// The same from copies of a document's settings and table, for a worker
// thread while the document goes on changing.
SampleSet synthesizeSolo(const ParameterSet& ps, const FrameTable& table, std::uint8_t select,
                         KlattState state);

// Synthesizes when the table changed since the last synthesis (or nothing
// has been synthesized yet), then tells the document's observers about the
// new synthesized and previous buffers and the cleared flag. Returns true
// when it synthesized. The one way the commands that need the current sound
// (Play Current, Save As Audio) bring it up to date.
bool ensureSynthesized(CVandrelDoc& doc, const ProgressFn& progress = {});

}  // namespace vandrel
