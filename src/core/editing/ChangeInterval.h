#pragma once
// A new frame interval for a table that already holds an utterance (File
// options). The frames are rebuilt rather than reset, so that what was typed,
// drawn or traced keeps its place in time.

#include <string>

#include "document/VandrelDoc.h"
#include "editing/TableSelection.h"
#include "editing/UserMessage.h"

namespace vandrel {

// Why `intervalMs` cannot serve a table of `fileLengthMs`, or an empty string:
// the interval is at least 1 ms and no longer than the file, so that at least
// one frame remains.
std::string intervalProblem(int intervalMs, double fileLengthMs);

// Rebuilds the table at `newIntervalMs`. The file length stays; the column
// count becomes length / interval. Column j ends at (j + 1) x interval ms and
// takes the value each row's old contour has at that time, by straight lines
// between the old columns' end times (held flat before the first and after
// the last). Each anchor moves to the new frame whose end time is nearest its
// own and keeps its value there; where two anchors of a row land on one frame,
// the later one wins. The document is marked edited and its views told; no
// undo snapshot is taken (see changeInterval). A refused interval changes
// nothing and gives the message.
UserMessages resampleToInterval(CVandrelDoc& doc, int newIntervalMs);

// resampleToInterval as one undo step: the after-edit step follows. Undo
// brings back the old interval with the old columns.
UserMessages changeInterval(CVandrelDoc& doc, int newIntervalMs);

}  // namespace vandrel
