#pragma once
// The spectrogram/pitch commands: "Spectrogram/Pitch of Synthesized File"
// (Ctrl+T), "Spectrogram/Pitch of Audio File" (Ctrl+G), Options >
// "Spectrogram..." and "Pitch...", and "Trace From Spectrogram/Pitch"
// (Ctrl+D). Installed by every main frame.

#include "analysis/AnalysisOptions.h"
#include "config/ConfigFile.h"
#include "views/spectrogram/SpectrogramScene.h"

namespace vandrel::ui {

class CommandRouter;

void installSpectrogramCommands(CommandRouter& router);

// The view's settings in the configuration record and back.
SpectrogramViewOptions viewOptionsOf(const vandrel::ConfigRecord& record);
void storeViewOptions(const SpectrogramViewOptions& options, vandrel::ConfigRecord& record);

}  // namespace vandrel::ui
