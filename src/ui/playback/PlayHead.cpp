#include "playback/PlayHead.h"

#include "app/OpenDocument.h"

namespace vandrel::ui {

namespace {
constexpr const char* kName = "vandrel-play-head";
}

PlayHead::PlayHead(QObject* parent) : QObject(parent) { setObjectName(kName); }

PlayHead& PlayHead::of(OpenDocument& document) {
  auto* head = document.findChild<PlayHead*>(kName, Qt::FindDirectChildrenOnly);
  if (head == nullptr) head = new PlayHead(&document);
  return *head;
}

void PlayHead::setMs(double ms) {
  if (ms < 0) ms = -1;
  if (ms == ms_) return;
  ms_ = ms;
  emit moved(ms);
}

}  // namespace vandrel::ui
