#pragma once
// The table's own commands: Undo/Redo, Remove Row, Remove Column, Set to
// Default Values, Select All, the Anchors and Interpolation menus. Installed
// into every main frame from a static initialiser; a test that builds a main
// frame calls installTableCommands itself.

namespace vandrel::ui {

class CommandRouter;

void installTableCommands(CommandRouter& router);

}  // namespace vandrel::ui
