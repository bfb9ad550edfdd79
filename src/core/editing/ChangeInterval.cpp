#include "editing/ChangeInterval.h"

#include <algorithm>
#include <cstdint>

#include "editing/AfterEdit.h"
#include "editing/EditTransaction.h"

namespace vandrel {

namespace {

// Column positions are worked out in whole milliseconds (64 bits, as the
// products of long tables with long intervals pass 2^31), so a new frame that
// ends exactly where an old one ends takes its value unchanged.
double valueAt(const double* row, int columns, std::int64_t oldInterval, std::int64_t timeMs) {
  const std::int64_t whole = timeMs / oldInterval - 1;
  if (whole < 0) return row[0];
  if (whole >= columns - 1) return row[columns - 1];
  const auto i = static_cast<std::size_t>(whole);
  const double f = static_cast<double>(timeMs % oldInterval) / static_cast<double>(oldInterval);
  return f == 0.0 ? row[i] : row[i] + (row[i + 1] - row[i]) * f;
}

}  // namespace

std::string intervalProblem(int intervalMs, double fileLengthMs) {
  const auto length = static_cast<long long>(fileLengthMs);
  if (intervalMs >= 1 && intervalMs <= length) return {};
  return "An interval of " + std::to_string(intervalMs) + " ms does not fit a file of " +
         std::to_string(length) + " ms.\nPlease enter an interval from 1 to " +
         std::to_string(std::max(length, 1LL)) + " ms.";
}

UserMessages resampleToInterval(CVandrelDoc& doc, int newIntervalMs) {
  const ParameterSet& ps = doc.params();
  if (newIntervalMs == ps.intervalMs) return {};
  if (std::string why = intervalProblem(newIntervalMs, ps.fileLengthMs); !why.empty())
    return {UserMessage{std::move(why), true}};

  const FrameTable& old = doc.table();
  const int oldColumns = old.columns();
  const std::int64_t oldInterval = ps.intervalMs;
  const std::int32_t columns = ParameterSet::framesFor(ps.fileLengthMs, newIntervalMs);
  if (columns > kMaxFrames) return {UserMessage{tooManyFramesMessage(columns), true}};
  FrameTable next(columns, ps);
  if (oldColumns > 0 && oldInterval > 0) {
    for (int r = 0; r < kParamCount; ++r) {
      const double* src = old.row(r);
      double* dst = next.row(r);
      for (int j = 0; j < columns; ++j)
        dst[j] = valueAt(src, oldColumns, oldInterval, (std::int64_t{j} + 1) * newIntervalMs);
      for (int c = 0; c < oldColumns; ++c) {
        if (!old.anchor(r, c)) continue;
        const std::int64_t end = (std::int64_t{c} + 1) * oldInterval;
        const auto nearest = (end + newIntervalMs / 2) / newIntervalMs - 1;
        const int j = static_cast<int>(std::clamp<std::int64_t>(nearest, 0, columns - 1));
        dst[j] = src[c];
        next.setAnchor(r, j, true);
      }
    }
  }
  EditTransaction edit(doc);
  edit.params().intervalMs = newIntervalMs;
  edit.params().frameCount = columns;
  edit.table() = std::move(next);
  edit.noteResized();
  edit.flush();
  doc.markEdited();
  return {};
}

UserMessages changeInterval(CVandrelDoc& doc, int newIntervalMs) {
  const int before = doc.params().intervalMs;
  UserMessages out = resampleToInterval(doc, newIntervalMs);
  if (doc.params().intervalMs != before) afterEditStep(doc);
  return out;
}

}  // namespace vandrel
