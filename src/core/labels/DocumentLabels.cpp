#include "labels/DocumentLabels.h"

#include <memory>

#include "labels/TextGrid.h"

namespace vandrel {

const Labels& documentLabels(const CVandrelDoc& doc) {
  static const Labels none;
  return doc.labels ? *doc.labels : none;
}

void commitLabels(CVandrelDoc& doc, Labels labels) {
  // Undo goes back to the snapshot before the current one: the labels as
  // they were must be in one, or the first edit could not be taken back.
  UndoHistory& h = doc.undo;
  if (h.current() < 0 || h.current() >= h.count() || h.labelsAt(h.current()) != doc.labels)
    h.append(doc.table, doc.params().intervalMs, doc.labels);
  doc.labels = std::make_shared<const Labels>(std::move(labels));
  doc.undo.append(doc.table, doc.params().intervalMs, doc.labels);
  doc.setModified(true);
  doc.notifyLabelsChanged();
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
  doc.labels = std::make_shared<const Labels>(std::move(read.labels));
  doc.notifyLabelsChanged();
  return {};
}

std::string saveSidecarLabels(const CVandrelDoc& doc, const std::string& tablePath) {
  if (!doc.labels) return {};
  return saveTextGridFile(sidecarPath(tablePath), *doc.labels);
}

}  // namespace vandrel
