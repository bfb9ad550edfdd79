#pragma once
// Every user-facing failure or question goes through here: a beep, then a
// message box with the exact text. Tests install a presenter that records the
// text and answers for the user, so no modal box ever blocks a test.

#include <QMessageBox>
#include <QString>

#include <functional>

class QWidget;

namespace vandrel::ui {

struct MessageRequest {
  QWidget* parent = nullptr;
  QString text;
  QString title;  // empty: the application's name
  QMessageBox::Icon icon = QMessageBox::Warning;
  QMessageBox::StandardButtons buttons = QMessageBox::Ok;
  bool beep = true;
};

// Returns the button pressed.
using MessagePresenter = std::function<QMessageBox::StandardButton(const MessageRequest&)>;

// Replaces the presenter (pass {} to go back to real message boxes).
void setMessagePresenter(MessagePresenter presenter);

QMessageBox::StandardButton showMessage(const MessageRequest& request);

// The common case: beep and an OK box with `text`.
inline void warn(QWidget* parent, const QString& text) {
  showMessage(MessageRequest{parent, text, {}, QMessageBox::Warning, QMessageBox::Ok, true});
}

// A Yes/No question; true for Yes.
inline bool askYesNo(QWidget* parent, const QString& text) {
  return showMessage(MessageRequest{
             parent, text, {}, QMessageBox::Question, QMessageBox::Yes | QMessageBox::No, true}) ==
         QMessageBox::Yes;
}

}  // namespace vandrel::ui
