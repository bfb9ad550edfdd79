#include "views/common/DocumentCursor.h"

#include <algorithm>

#include "app/OpenDocument.h"

namespace vandrel::ui {

namespace {
constexpr const char* kName = "vandrel-cursor";
}

DocumentCursor::DocumentCursor(QObject* parent) : QObject(parent) { setObjectName(kName); }

DocumentCursor& DocumentCursor::of(OpenDocument& document) {
  auto* cursor = document.findChild<DocumentCursor*>(kName, Qt::FindDirectChildrenOnly);
  if (cursor == nullptr) cursor = new DocumentCursor(&document);
  return *cursor;
}

void DocumentCursor::setTimeMs(double ms) {
  ms = std::max(ms, 0.0);
  if (ms == timeMs_) return;
  timeMs_ = ms;
  emit cursorChanged(ms);
}

void DocumentCursor::setSelection(double startMs, double endMs) {
  if (startMs > endMs) std::swap(startMs, endMs);
  startMs = std::max(startMs, 0.0);
  endMs = std::max(endMs, 0.0);
  if (endMs <= startMs) {
    clearSelection();
    return;
  }
  const TimeRange range{startMs, endMs};
  if (selection_ == range) return;
  selection_ = range;
  emit selectionChanged();
}

void DocumentCursor::clearSelection() {
  if (!selection_) return;
  selection_.reset();
  emit selectionChanged();
}

}  // namespace vandrel::ui
