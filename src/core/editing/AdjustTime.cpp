#include "editing/AdjustTime.h"

#include <algorithm>
#include <cstdint>

#include "editing/AfterEdit.h"
#include "editing/EditTransaction.h"

namespace vandrel {

namespace {

std::string roundedAddMessage(long long asked, int interval, long long added) {
  return "you have requested a time(ms) = " + std::to_string(asked) +
         " ,But with interval(ms) = " + std::to_string(interval) +
         " ,you can only add time(ms) = " + std::to_string(added) + " ";
}

std::string shortenMessage(long long asked, int interval, long long total) {
  return "you have requested a time(ms) = " + std::to_string(asked) +
         " , But with interval(ms) = " + std::to_string(interval) +
         " , the total time will be = " + std::to_string(total) + " (ms)";
}

std::string lengthenMessage(long long asked, int interval, long long total) {
  return "you have requested a time(ms) = " + std::to_string(asked) +
         " ,But with interval(ms) = " + std::to_string(interval) +
         " ,the total time will be = " + std::to_string(total) + " (ms)";
}

UserMessage beepWith(std::string text) { return UserMessage{std::move(text), true}; }

// Common ending of both modes once the table has its new shape.
void finishTimeChange(CVandrelDoc& doc, EditTransaction& edit) {
  edit.noteResized();
  edit.flush();
  doc.markEdited();
  afterEditStep(doc);
}

// n copies of column `source` of the old table inserted at index p (0..old
// column count): old columns 0..p-1 stay, p..p+n-1 are the copies, the rest
// move n to the right. A table without columns gets default columns.
FrameTable withInsertedColumns(const FrameTable& old, const ParameterSet& ps, int p, int n, int source,
                               const ProgressFn& progress) {
  const int oldCols = old.columns();
  FrameTable next;
  next.reset(oldCols + n, ps);
  for (int r = 0; r < kParamCount; ++r) {
    const double* src = old.row(r);
    double* dst = next.row(r);
    std::copy(src, src + p, dst);
    std::copy(src + p, src + oldCols, dst + p + n);
    for (int c = 0; c < p; ++c)
      if (old.anchor(r, c)) next.setAnchor(r, c, true);
    for (int c = p; c < oldCols; ++c)
      if (old.anchor(r, c)) next.setAnchor(r, c + n, true);
  }
  for (int k = 0; k < n; ++k) {
    if (source >= 0) {
      for (int r = 0; r < kParamCount; ++r) {
        next.setValue(r, p + k, old.value(r, source));
        next.setAnchor(r, p + k, old.anchor(r, source));
      }
    }
    if (progress) progress(k + 1, n);
  }
  return next;
}

}  // namespace

std::string_view placeText(AddColumnPlace place) {
  switch (place) {
    case AddColumnPlace::kBeginning:
      return "At the beginning of the file";
    case AddColumnPlace::kSelectedColumn:
      return "At the selected column";
    case AddColumnPlace::kEnd:
      return "At the end of the file";
  }
  return {};
}

std::string columnHeading(int intervalMs, int column) {
  return std::to_string(static_cast<long long>(intervalMs) * (static_cast<long long>(column) + 1));
}

UserMessages addTime(CVandrelDoc& doc, TableSelection& selection, const ProgressFn& progress) {
  UserMessages out;
  if (doc.hasAudio()) {
    out.push_back(beepWith(std::string(kMsgTimeLockedByAudio)));
    return out;
  }
  const ParameterSet& ps = doc.params();
  const int interval = ps.intervalMs;
  if (interval <= 0) return out;

  const int asked = doc.addColumnTimeMs();
  const int n = asked / interval;
  if (static_cast<long long>(doc.table().columns()) + n > kMaxFrames) {
    out.push_back(beepWith(tooManyFramesMessage(static_cast<long long>(doc.table().columns()) + n)));
    return out;
  }
  const int added = n * interval;
  doc.setAddColumnTimeMs(added);
  if (added <= 0) {
    out.push_back(beepWith(""));
    return out;
  }
  if (added != asked) out.push_back(beepWith(roundedAddMessage(asked, interval, added)));

  // The new length holds even when the place is refused below.
  EditTransaction edit(doc);
  edit.params().fileLengthMs += added;
  edit.params().frameCount = ParameterSet::framesFor(ps.fileLengthMs, interval);

  const int oldCols = doc.table().columns();
  int p = 0;
  switch (doc.addColumnPlace()) {
    case AddColumnPlace::kBeginning:
      p = 1;
      break;
    case AddColumnPlace::kSelectedColumn:
      if (selection.kind != SelectionKind::kColumn) {
        out.push_back(beepWith(std::string(kMsgSelectColumnFirst)));
        return out;
      }
      p = selection.column + 1;
      break;
    case AddColumnPlace::kEnd:
      p = oldCols - 1;
      break;
  }
  p = std::clamp(p, 0, oldCols);
  // The copy is of the column the insertion pushed right; after the last
  // column there is none, and the nearest column, to the left, stands in.
  const int source = p < oldCols ? p : p - 1;

  edit.table() = withInsertedColumns(doc.table(), ps, p, n, source, progress);
  finishTimeChange(doc, edit);
  return out;
}

UserMessages changeFileLength(CVandrelDoc& doc, int newLengthMs, const ProgressFn& progress) {
  UserMessages out;
  const ParameterSet& ps = doc.params();
  const int interval = ps.intervalMs;
  const long long now = static_cast<long long>(ps.fileLengthMs);
  const long long wanted = std::max(newLengthMs, 0);
  if (wanted == now || interval <= 0) return out;
  if (doc.hasAudio()) {
    out.push_back(beepWith(std::string(kMsgTimeLockedByAudio)));
    return out;
  }

  EditTransaction edit(doc);
  FrameTable& t = edit.table();
  if (wanted < now) {
    const long long d = now - wanted;
    const long long n = d / interval;
    const long long taken = n * interval;
    if (taken != d) out.push_back(beepWith(shortenMessage(wanted, interval, now - taken)));
    edit.params().fileLengthMs -= static_cast<double>(taken);
    edit.params().frameCount = ParameterSet::framesFor(ps.fileLengthMs, interval);
    const int keep = t.columns() - static_cast<int>(std::min<long long>(n, t.columns()));
    FrameTable next;
    next.reset(keep, ps);
    for (int r = 0; r < kParamCount; ++r) {
      std::copy(t.row(r), t.row(r) + keep, next.row(r));
      for (int c = 0; c < keep; ++c)
        if (t.anchor(r, c)) next.setAnchor(r, c, true);
    }
    t = std::move(next);
  } else {
    const long long d = wanted - now;
    const long long n = d / interval;
    if (t.columns() + n > kMaxFrames) {
      out.push_back(beepWith(tooManyFramesMessage(t.columns() + n)));
      return out;
    }
    const long long given = n * interval;
    if (given != d) out.push_back(beepWith(lengthenMessage(wanted, interval, now + given)));
    edit.params().fileLengthMs += static_cast<double>(given);
    edit.params().frameCount = ParameterSet::framesFor(ps.fileLengthMs, interval);
    const int oldCols = t.columns();
    const int add = static_cast<int>(n);
    FrameTable next;
    next.reset(oldCols + add, ps);
    for (int r = 0; r < kParamCount; ++r) {
      std::copy(t.row(r), t.row(r) + oldCols, next.row(r));
      for (int c = 0; c < oldCols; ++c)
        if (t.anchor(r, c)) next.setAnchor(r, c, true);
    }
    for (int k = 0; k < add; ++k) {
      for (int r = 0; r < kParamCount; ++r) {
        const ParamDef& def = ps.at(r);
        next.setValue(r, oldCols + k,
                      std::clamp<double>(def.defaultValue, std::min(def.lower, def.upper),
                                         std::max(def.lower, def.upper)));
      }
      if (progress) progress(k + 1, add);
    }
    t = std::move(next);
  }
  finishTimeChange(doc, edit);
  return out;
}

UserMessages adjustTime(CVandrelDoc& doc, TableSelection& selection, bool add, int newLengthMs,
                        const ProgressFn& progress) {
  return add ? addTime(doc, selection, progress) : changeFileLength(doc, newLengthMs, progress);
}

}  // namespace vandrel
