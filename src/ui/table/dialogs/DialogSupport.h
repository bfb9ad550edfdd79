#pragma once
// What the table dialogs share: how a dialog is run and how a colour is
// chosen (both replaceable, so tests can answer them), the conversion between
// the document's 0x00BBGGRR colours and QColor, and the showing of the
// core's messages.

#include <QColor>
#include <QDialog>

#include <functional>
#include <string_view>

#include "document/ParameterSet.h"
#include "editing/UserMessage.h"

class QPushButton;

namespace vandrel::ui {

// Runs `dialog` modally and returns its result (QDialog::Accepted or
// Rejected). The program uses exec().
using DialogRunner = std::function<int(QDialog& dialog)>;
void setDialogRunner(DialogRunner runner);  // {} goes back to exec()
int runDialog(QDialog& dialog);

// Asks for a colour starting from `initial`; an invalid QColor when the user
// cancels. The program uses QColorDialog.
using ColorChooser = std::function<QColor(const QColor& initial, QWidget* parent)>;
void setColorChooser(ColorChooser chooser);  // {} goes back to QColorDialog
QColor chooseColor(const QColor& initial, QWidget* parent);

// The core's fixed texts as they are, blanks included.
inline QString text(std::string_view s) {
  return QString::fromUtf8(s.data(), static_cast<qsizetype>(s.size()));
}

QColor toQColor(vandrel::Colorref c);
vandrel::Colorref toColorref(const QColor& c);

// Shows each message in turn: a beep when it asks for one, then the box.
void showUserMessages(QWidget* parent, const vandrel::UserMessages& messages);

// Paints a button's face in `c`, keeping its text black and readable.
void paintSwatch(QPushButton* button, vandrel::Colorref c);

}  // namespace vandrel::ui
