#pragma once
// The handlers of Edit > "Add Row...", "Add Column...", "Add/Subtract ..."
// and Options > "File...", "Parameters...". The editor registers them with
// every main frame by itself; a test that builds a CMainFrame calls this
// on frame.router() to have them.

namespace vandrel::ui {

class CommandRouter;

void installOptionCommands(CommandRouter& router);

}  // namespace vandrel::ui
