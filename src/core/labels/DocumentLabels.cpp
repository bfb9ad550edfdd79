#include "labels/DocumentLabels.h"

#include <algorithm>
#include <cmath>
#include <memory>

#include "labels/TextGrid.h"

namespace vandrel {

const Labels& documentLabels(const CVandrelDoc& doc) {
  static const Labels none;
  return doc.labels() ? *doc.labels() : none;
}

std::optional<std::pair<int, int>> framesWithin(const CVandrelDoc& doc, double start, double end) {
  const double frame = doc.params().intervalMs / 1000.0;
  const int frames = doc.table().columns();
  if (frame <= 0 || frames <= 0 || end <= start || end <= 0 || start >= frames * frame) return std::nullopt;
  start = std::max(start, 0.0);
  end = std::min(end, frames * frame);
  // Frame c's middle is (c + 0.5) * frame: the first at or after start, the
  // last before end.
  const auto middle = [&](long c) { return (static_cast<double>(c) + 0.5) * frame; };
  long first = std::max(0L, std::lround(start / frame - 0.5));
  while (first > 0 && middle(first - 1) >= start) --first;
  while (middle(first) < start) ++first;
  long last = std::min(static_cast<long>(frames) - 1, std::lround(end / frame - 0.5));
  while (last >= 0 && middle(last) >= end) --last;
  while (last + 1 < frames && middle(last + 1) < end) ++last;
  if (first > last) return std::nullopt;
  return std::pair<int, int>{static_cast<int>(first), static_cast<int>(last)};
}

void commitLabels(CVandrelDoc& doc, Labels labels) {
  // Undo goes back to the snapshot before the current one: the labels as
  // they were must be in one, or the first edit could not be taken back.
  const UndoHistory& h = doc.undo();
  if (h.current() < 0 || h.current() >= h.count() || h.labelsAt(h.current()) != doc.labels())
    doc.takeSnapshot();
  auto next = std::make_shared<const Labels>(std::move(labels));
  doc.takeSnapshot(next);
  doc.setModified(true);
  doc.setLabels(std::move(next));  // told last: the history and the flags are in step by then
}

std::string editLabels(CVandrelDoc& doc, const std::function<std::string(Labels&)>& edit) {
  Labels next = documentLabels(doc);
  if (std::string why = edit(next); !why.empty()) return why;
  commitLabels(doc, std::move(next));
  return {};
}

std::string openLabelsFile(CVandrelDoc& doc, const std::string& path) {
  TextGridRead read = readTextGridFile(path);
  if (!read.ok()) return read.message;
  commitLabels(doc, std::move(read.labels));
  return {};
}

std::string openSidecarLabels(CVandrelDoc& doc, const std::string& path) {
  const std::string side = findSidecar(path);
  if (side.empty()) return {};
  TextGridRead read = readTextGridFile(side);
  if (!read.ok()) return read.message;
  doc.setLabels(std::make_shared<const Labels>(std::move(read.labels)));
  return {};
}

std::string saveSidecarLabels(const CVandrelDoc& doc, const std::string& tablePath) {
  if (!doc.labels()) return {};
  return saveTextGridFile(sidecarPath(tablePath), *doc.labels());
}

}  // namespace vandrel
