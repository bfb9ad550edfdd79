#pragma once
// The Play menu of a document window: Play Current, Play Previous and Play
// Audio (Ctrl+1, Ctrl+2, Ctrl+3) on the active document, Loop, Stop (Esc),
// A/B Switch (Ctrl+4) and the "Listen to" choices (a submenu, and a
// drop-down on the toolbar). Each document keeps one player, so a second Play
// in the same document stops the first sound, while two documents may sound
// at once.
//
// What plays is the stretch the user selected in the window in front: a
// range of time in an open spectrogram or FFT/LPC view, or columns of the table (a block over
// two or more columns, or a column heading); when that window has none, the
// other kind; when there is none at all, the whole sound.

class QObject;

namespace vandrel::ui {

class CMainFrame;
class CommandRouter;
class CSoundOut;
class OpenDocument;

// Attaches the Play handlers to `router`. Every main frame runs it
// (it is registered as a command installer); tests may call it themselves.
void installPlayCommands(CommandRouter& router);

// Adds the "Listen to" submenu to the Play menu and its drop-down to the
// toolbar, and makes Loop a toggle (registered as a frame decorator).
void decoratePlayMenu(CMainFrame& frame);

// The player of `document`, or null before its first Play. Views follow its
// sound through the document's play head (Workspace).
CSoundOut* documentPlayer(OpenDocument& document);

}  // namespace vandrel::ui
