#include "batch/CopyIntoDocument.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

#include "editing/CellEdit.h"
#include "editing/EditTransaction.h"

namespace vandrel {

CopySettings copySettingsFor(const CVandrelDoc& doc) {
  CopySettings s;
  s.intervalMs = doc.params().intervalMs;
  s.sampleRate = doc.params().needsHighRate() ? 22050 : 11025;
  return s;
}

void enterCopy(CVandrelDoc& doc, const CVandrelDoc& copy) {
  const int columns = doc.table().columns(), copied = copy.table().columns();
  if (columns <= 0 || copied <= 0) return;
  EditTransaction edit(doc);
  // The rows of copiedRows().
  edit.keepTableBefore({kF0, kAv, kAh, kAf, kTl,  kF5,  kF4,  kF3,  kF2,  kF1,  kB5, kB4,
                        kB3, kB2, kB1, kAb, kA6f, kA5f, kA4f, kA3f, kA2f, kA1f, kOq});
  for (const int row : copiedRows()) {
    const ParamDef& def = doc.params().at(row);
    const bool source = row == kF0 || row == kAv || row == kAh || row == kAf;
    for (int c = 0; c < columns; ++c) {
      const bool reached = c < copied;
      const double v = reached  ? copy.table().value(row, c)
                       : source ? 0.0
                                : copy.table().value(row, copied - 1);
      edit.table().setValue(row, c, row == kF0 && v == 0.0 ? 0.0 : clampToLimits(def, v));
      edit.table().setAnchor(row, c, reached && copy.table().anchor(row, c));
    }
  }
  const auto [lo, hi] = std::minmax_element(copiedRows().begin(), copiedRows().end());
  edit.note(CellRange{*lo, *hi, 0, columns - 1});
  edit.commit();
}

std::string copyReport(const CopyResult& r) {
  char head[160];
  if (std::isfinite(r.distanceDb))
    std::snprintf(head, sizeof head, "copy %.1f dB from the recording (dense %.1f)", r.distanceDb,
                  r.denseDistanceDb);
  else
    std::snprintf(head, sizeof head, "copy: no frame of the recording sounds");
  std::string line = head;
  const auto anchorsOf = [&](int row) {
    const auto at = std::find(copiedRows().begin(), copiedRows().end(), row) - copiedRows().begin();
    return static_cast<std::size_t>(at) < r.anchors.size() ? r.anchors[static_cast<std::size_t>(at)] : 0;
  };
  // Rows of one kind under one name, in the order a phonetician reads them.
  const struct {
    const char* name;
    std::vector<int> rows;
  } groups[] = {{"f0", {kF0}},
                {"av", {kAv}},
                {"ah", {kAh}},
                {"af", {kAf}},
                {"tl", {kTl}},
                {"f1-f5", {kF1, kF2, kF3, kF4, kF5}},
                {"b1-b5", {kB1, kB2, kB3, kB4, kB5}},
                {"ab", {kAb}},
                {"a1f-a6f", {kA1f, kA2f, kA3f, kA4f, kA5f, kA6f}},
                {"oq", {kOq}}};
  if (r.anchors.empty()) return line;
  line += "; anchors";
  for (const auto& g : groups) {
    line += line.back() == 's' ? " " : ", ";
    line += g.name;
    for (const int row : g.rows) line += ' ' + std::to_string(anchorsOf(row));
  }
  return line;
}

}  // namespace vandrel
