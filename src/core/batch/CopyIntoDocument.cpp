#include "batch/CopyIntoDocument.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

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
  const int columns = doc.table.columns(), copied = copy.table.columns();
  if (columns <= 0 || copied <= 0) return;
  EditTransaction edit(doc);
  // The rows of copiedRows().
  edit.keepTableBefore({kF0, kAv, kAh, kAf, kTl, kF5,  kF4,  kF3,  kF2,  kF1,
                        kB5, kB4, kB3, kB2, kB1, kA5f, kA4f, kA3f, kA2f, kOq});
  for (const int row : copiedRows()) {
    const ParamDef& def = doc.params().at(row);
    const bool source = row == kF0 || row == kAv || row == kAh || row == kAf;
    for (int c = 0; c < columns; ++c) {
      const bool reached = c < copied;
      const double v = reached ? copy.table.value(row, c) : source ? 0.0 : copy.table.value(row, copied - 1);
      doc.table.setValue(row, c, row == kF0 && v == 0.0 ? 0.0 : clampToLimits(def, v));
      doc.table.setAnchor(row, c, reached && copy.table.anchor(row, c));
    }
  }
  const auto [lo, hi] = std::minmax_element(copiedRows().begin(), copiedRows().end());
  edit.note(CellRange{*lo, *hi, 0, columns - 1});
  edit.commit();
}

std::string copyReport(const CopyResult& r) {
  char head[160];
  if (std::isfinite(r.distanceDb))
    std::snprintf(head, sizeof head, "distance to the recording: %.1f dB median (%.1f dB before thinning)",
                  r.distanceDb, r.denseDistanceDb);
  else
    std::snprintf(head, sizeof head, "distance to the recording: none (no frame sounds)");
  std::string line = head;
  for (std::size_t k = 0; k < r.anchors.size() && k < copiedRows().size(); ++k) {
    line += k == 0 ? "; anchors " : ", ";
    line += builtinParams()[static_cast<std::size_t>(copiedRows()[k])].name;
    line += ' ' + std::to_string(r.anchors[k]);
  }
  return line;
}

}  // namespace vandrel
