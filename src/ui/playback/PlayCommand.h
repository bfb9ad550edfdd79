#pragma once
// The Play commands of a document: "Play Current", "Play Previous" and
// "Play Audio" sound the synthesized buffer, the previous synthesized buffer or
// the opened recording, from the beginning, at the set's own rate.

#include <memory>

#include "document/VandrelDoc.h"
#include "engine/Synthesizer.h"
#include "playback/SoundOut.h"

class QWidget;

namespace vandrel::ui {

enum class PlayWhich : int { Current = 0, Previous = 1, Audio = 2 };

// The Play command of a view. `player` is the view's player, kept from one Play
// to the next: a running sound is stopped and replaced, never mixed. Play
// Current synthesizes first when the table has changed since the last synthesis
// (`progress` steps the progress dialog). An empty set plays nothing and says
// nothing. Returns 0 or the device's error code (its message has been shown).
int playCommand(CVandrelDoc& doc, PlayWhich which, std::unique_ptr<CSoundOut>& player, QWidget* view,
                const ProgressFn& progress = {});

}  // namespace vandrel::ui
