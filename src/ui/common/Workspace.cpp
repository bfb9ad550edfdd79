#include "common/Workspace.h"

#include <algorithm>

#include "app/OpenDocument.h"
#include "labels/DocumentLabels.h"

namespace vandrel::ui {

namespace {
constexpr const char* kName = "vandrel-workspace";
}

Workspace::Workspace(OpenDocument& document) : QObject(&document), document_(document) {
  setObjectName(kName);
}

Workspace& Workspace::of(OpenDocument& document) {
  auto* w = document.findChild<Workspace*>(kName, Qt::FindDirectChildrenOnly);
  if (w == nullptr) w = new Workspace(document);
  return *w;
}

void Workspace::setTimeMs(double ms) {
  ms = std::max(ms, 0.0);
  if (ms == timeMs_) return;
  timeMs_ = ms;
  emit cursorChanged(ms);
  if (!follow_) return;
  const vandrel::CVandrelDoc& doc = document_.doc();
  const int columns = doc.table().columns();
  const int interval = doc.params().intervalMs;
  if (columns > 0 && interval > 0)
    setCurrentFrame(std::clamp(static_cast<int>(ms) / interval, 0, columns - 1));
}

void Workspace::setSelection(double startMs, double endMs) {
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

void Workspace::clearSelection() {
  if (!selection_) return;
  selection_.reset();
  emit selectionChanged();
}

void Workspace::chooseInterval(double startMs, double endMs) {
  setSelection(startMs, endMs);
  if (const auto frames = vandrel::framesWithin(document_.doc(), startMs / 1000.0, endMs / 1000.0))
    emit framesChosen(FrameSpan{frames->first, frames->second});
}

void Workspace::setPlayHeadMs(double ms) {
  if (ms < 0) ms = -1;
  if (ms == playHeadMs_) return;
  playHeadMs_ = ms;
  emit playHeadMoved(ms);
}

void Workspace::setCurrentFrame(int frame) {
  frame = std::max(frame, 0);
  if (frame == currentFrame_) return;
  currentFrame_ = frame;
  emit currentFrameChanged(frame);
}

void Workspace::setFollow(bool on) {
  if (on == follow_) return;
  follow_ = on;
  emit followChanged(on);
}

void Workspace::setLoop(bool on) {
  if (on == loop_) return;
  loop_ = on;
  emit listeningChanged();
}

void Workspace::setListenTo(int choice) {
  choice = std::max(choice, 0);
  if (choice == listenTo_) return;
  listenTo_ = choice;
  emit listeningChanged();
}

}  // namespace vandrel::ui
