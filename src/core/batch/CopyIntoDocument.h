#pragma once
// Copy synthesis into an open document, as the editor's "Copy Synthesis from
// Audio File" does it: the copy is made at the document's own interval and
// rate (copySettingsFor, then copySynthesis into a scratch document, on any
// thread), then entered into the document on its own thread as one edit
// (enterCopy), which one Undo takes back.

#include <string>

#include "batch/CopySynthesis.h"

namespace vandrel {

// The document's interval, and 22050 Hz when it synthesizes at the high rate.
CopySettings copySettingsFor(const CVandrelDoc& doc);

// Writes the copied rows of `copy` (values and anchor flags) into `doc`'s
// table as one undo step. The table keeps its length and interval: frames the
// copy does not reach hold each row's last copied value and are silent (f0,
// av, ah and af 0), and a copy longer than the table is cut. Values are held
// to the document's own row limits, as a typed value is, except an unvoiced
// f0 of 0.
void enterCopy(CVandrelDoc& doc, const CVandrelDoc& copy);

// One line for the user: the copy's distance to the recording and the anchors
// of each copied row, short enough for a status bar ("copy 6.2 dB from the
// recording (dense 6.0); anchors f0 31, av 12, ..., f1-f5 40 52 38 30 29,
// ..."), as `copy` prints it and the editor's status bar shows it.
// The distance is the median over the frames (CopyAnchors.h), of the copy
// as thinned to anchors and of the dense copy before.
std::string copyReport(const CopyResult& result);

}  // namespace vandrel
