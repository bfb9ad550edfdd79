#include "common/Messages.h"

#include <QApplication>

namespace vandrel::ui {

namespace {
MessagePresenter& presenter() {
  static MessagePresenter p;
  return p;
}
}  // namespace

void setMessagePresenter(MessagePresenter p) { presenter() = std::move(p); }

QMessageBox::StandardButton showMessage(const MessageRequest& r) {
  if (presenter()) return presenter()(r);
  if (r.beep) QApplication::beep();
  QMessageBox box(r.icon, r.title.isEmpty() ? QApplication::applicationDisplayName() : r.title, r.text,
                  r.buttons, r.parent);
  return static_cast<QMessageBox::StandardButton>(box.exec());
}

}  // namespace vandrel::ui
