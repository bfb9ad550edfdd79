#pragma once
// Analysis > "Copy Synthesis from Audio File": the copy engine of `vandrel-cli
// copy`, run on the recording beside the document at the table's own interval
// and rate. The copy runs on a worker thread behind a small modal window with
// its progress and a Cancel button; a cancelled copy changes nothing. The
// result enters the table as one edit (one Undo takes it back), and the
// status bar shows the copy's distance to the recording and each row's
// anchors, the line the command-line tool prints.

namespace vandrel::ui {

class CommandRouter;

void installCopyCommands(CommandRouter& router);

}  // namespace vandrel::ui
