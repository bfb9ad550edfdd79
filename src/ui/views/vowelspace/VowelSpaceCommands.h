#pragma once
// View > "Vowel Space".

namespace vandrel::ui {

class CommandRouter;

// Opens the active document's vowel-space window, or brings up the one it
// has.
void installVowelSpaceCommands(CommandRouter& router);

}  // namespace vandrel::ui
