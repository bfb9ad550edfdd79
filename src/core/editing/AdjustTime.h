#pragma once
// Adding time to the table ("Add Column...\tCtrl+I") and changing its length
// (the File options): AdjustTime with its two modes.
//
// Time is whole milliseconds and whole frames: a request is cut down to a
// whole number of intervals, and the user is told when that changed it. The
// messages come back in the order they are to be shown.

#include <functional>
#include <string>
#include <string_view>

#include "document/VandrelDoc.h"
#include "editing/TableSelection.h"
#include "editing/UserMessage.h"

namespace vandrel {

inline constexpr std::string_view kAddColumnCaption = "Add Column";
inline constexpr std::string_view kAddColumnTimeField = "Time to add (ms) =";
inline constexpr std::string_view kMsgTimeLockedByAudio =
    "You may not change the time of the file while the audio file is open\nThe timing alignment between the "
    "two "
    "files will be disrupted\nIf you wish to do so, save the file and reopen it independently.";
inline constexpr std::string_view kMsgSelectColumnFirst = "Please select a column first";

// The dialog's text for each placement.
std::string_view placeText(AddColumnPlace place);

// Top heading of column `column` (from 0): the frame's end time in ms.
std::string columnHeading(int intervalMs, int column);

// Stepped once for each column added: (columns added so far, columns to add).
using ProgressFn = std::function<void(int done, int total)>;

// Add Column with the document's stored time to add and placement (the
// dialog stores them on OK). Refused while an audio file is open. The stored
// time becomes the time actually added (a whole number of intervals); nothing
// to add gives an empty message box and no change. The columns are inserted
// at index 1 for "At the beginning of the file", after the selected column for
// "At the selected column" (a whole column must be selected - otherwise
// "Please select a column first", and the new file length has already been
// set while the table stays as it was), and before the last column for "At
// the end of the file". Each new column is a copy (values and anchor flags) of
// the column that the insertion pushed to the right; with no column to the
// right (inserting after the last one) it copies the column to its left.
UserMessages addTime(CVandrelDoc& doc, TableSelection& selection, const ProgressFn& progress = {});

// The File options' new length. Shortening deletes whole frames from the end;
// lengthening appends whole frames whose cells take their row's default held
// to its limits and are not anchors. Equal length does nothing; a negative
// length counts as 0. Refused while an audio file is open.
UserMessages changeFileLength(CVandrelDoc& doc, int newLengthMs, const ProgressFn& progress = {});

// The one routine of both modes: add ? addTime : changeFileLength(newLengthMs).
UserMessages adjustTime(CVandrelDoc& doc, TableSelection& selection, bool add, int newLengthMs,
                        const ProgressFn& progress = {});

}  // namespace vandrel
