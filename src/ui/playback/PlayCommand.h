#pragma once
// The Play commands of a document: "Play Current", "Play Previous" and
// "Play Audio" sound the synthesized buffer, the previous synthesized buffer or
// the opened recording, at the set's own rate: the whole set, or the stretch
// of time the user selected, once or in a loop.

#include <cstdint>
#include <memory>
#include <optional>

#include "audio/PlayStretch.h"
#include "document/VandrelDoc.h"
#include "engine/Synthesizer.h"
#include "playback/SoundOut.h"

class QWidget;

namespace vandrel::ui {

enum class PlayWhich : int { Current = 0, Previous = 1, Audio = 2 };

// What to play of a sample set.
struct PlayRequest {
  std::optional<vandrel::TimeSpan> span;  // none: the whole set
  bool loop = false;                      // repeat the stretch until stopped
  std::size_t from = 0;                   // samples into the stretch to begin at
};

// What a player was given: the stretch of the set, at the set's rate.
struct NowPlaying {
  vandrel::SampleSpan samples;
  double rate = 0;
  bool loop = false;
  // Time of the sample being heard, in ms from the start of the set.
  double msAt(std::size_t position) const {
    return rate > 0 ? 1000.0 * static_cast<double>(samples.first + position) / rate : 0.0;
  }
};

// Plays `request`'s stretch of `set` on `player`, the view's player kept
// from one Play to the next: a running sound is stopped and replaced, never
// mixed. An empty set or stretch plays nothing and says nothing. Returns 0 or
// the device's error code (its message has been shown); `playing`, when
// given, learns what the player was given.
int playStretch(const vandrel::SampleSet& set, const PlayRequest& request, std::unique_ptr<CSoundOut>& player,
                QWidget* view, NowPlaying* playing = nullptr);

// The Play command of a view: the whole set, once. Play Current synthesizes
// first when the table has changed since the last synthesis (`progress`
// steps the progress dialog).
int playCommand(CVandrelDoc& doc, PlayWhich which, std::unique_ptr<CSoundOut>& player, QWidget* view,
                const ProgressFn& progress = {});

const vandrel::SampleSet& chosenSet(const CVandrelDoc& doc, PlayWhich which);

}  // namespace vandrel::ui
