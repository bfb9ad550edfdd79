#pragma once
// The spectrogram/pitch commands: "Spectrogram/Pitch of Synthesized File"
// (Ctrl+T), "Spectrogram/Pitch of Audio File" (Ctrl+G), Options >
// "Spectrogram..." and "Pitch...", and "Trace From Spectrogram/Pitch"
// (Ctrl+D). Installed by every main frame.

#include "views/common/AnalysisViewOptions.h"

namespace vandrel::ui {

class CommandRouter;

void installSpectrogramCommands(CommandRouter& router);

}  // namespace vandrel::ui
