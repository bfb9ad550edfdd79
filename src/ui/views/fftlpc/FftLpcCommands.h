#pragma once
// "FFT/LPC" (Analysis menu) and "FFT/LPC..." (Options menu).

namespace vandrel::ui {

class CommandRouter;

// Opens the active document's FFT/LPC window (synthesizing first when the
// table has changed), or brings up the one it has; and edits the view's
// options, kept in the configuration file.
void installFftLpcCommands(CommandRouter& router);

}  // namespace vandrel::ui
