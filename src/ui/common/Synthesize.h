#pragma once
// The one way a command brings the document's synthesized buffer up to date
// with its table before it plays, shows or saves it.

class QWidget;

namespace vandrel {
class CVandrelDoc;
}

namespace vandrel::ui {

// Synthesizes the table when it changed since the last synthesis (or nothing
// was synthesized yet). " Synthesizing... " comes up over `parent` only when
// the run takes long enough to notice (150 ms), so a short table starts
// playing at once and a long one still shows how far it has got.
void synthesizeWithProgress(vandrel::CVandrelDoc& doc, QWidget* parent);

}  // namespace vandrel::ui
