#pragma once
// The Play menu of a document window: Play Current, Play Previous and Play
// Audio (Ctrl+1, Ctrl+2, Ctrl+3) on the active document. Each document keeps
// one player, so a second Play in the same document stops the first sound,
// while two documents may sound at once.

class QObject;

namespace vandrel::ui {

class CommandRouter;
class CSoundOut;
class OpenDocument;

// Attaches the three Play handlers to `router`. Every main frame runs it
// (it is registered as a command installer); tests may call it themselves.
void installPlayCommands(CommandRouter& router);

// The player of `document`, or null before its first Play. Views poll its
// PlayPosition() to draw a moving play-position line.
CSoundOut* documentPlayer(OpenDocument& document);

}  // namespace vandrel::ui
