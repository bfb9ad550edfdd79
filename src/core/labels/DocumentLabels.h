#pragma once
// A document's labels: opened with the table or the recording (the TextGrid
// beside it), made or changed by hand, saved beside the table.
//
// Every change by hand is one undo step, like a cell edit: the new labels
// replace the document's, the document is marked modified (but not for
// synthesis: labels do not sound), a snapshot is appended and observers hear
// notifyLabelsChanged. A drag collects its moves on a copy and commits once.

#include <functional>
#include <optional>
#include <string>
#include <utility>

#include "document/VandrelDoc.h"
#include "labels/Labels.h"

namespace vandrel {

// The document's labels, or an empty set.
const Labels& documentLabels(const CVandrelDoc& doc);

// The table's frames that a stretch from `start` to `end` seconds holds, as
// the table's label strip shows them: those whose middles lie in it (a frame
// belongs to the interval over most of it). First and last frame, or none
// when the stretch holds no frame's middle.
std::optional<std::pair<int, int>> framesWithin(const CVandrelDoc& doc, double start, double end);

// Replaces the labels as one undo step.
void commitLabels(CVandrelDoc& doc, Labels labels);

// Runs `edit` (one of labels/Labels.h's edits) on a copy of the labels and
// commits it; when it refuses, returns why and changes nothing.
std::string editLabels(CVandrelDoc& doc, const std::function<std::string(Labels&)>& edit);

// File > "Open Labels...": a TextGrid read and committed as one undo step,
// or the message (file, line, reason) with the document untouched.
std::string openLabelsFile(CVandrelDoc& doc, const std::string& path);

// Opening `path` (a table or a recording): its sidecar's labels when there
// is one, taken without an undo step or a modified mark. An empty string when
// read or when there is none; else why, with the labels left as they were.
std::string openSidecarLabels(CVandrelDoc& doc, const std::string& path);

// Save beside the table at `tablePath`: the TextGrid, atomically, when the
// document has labels; nothing when it has none. Empty string on success.
std::string saveSidecarLabels(const CVandrelDoc& doc, const std::string& tablePath);

}  // namespace vandrel
