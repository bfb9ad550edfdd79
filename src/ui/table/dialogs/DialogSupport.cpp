#include "DialogSupport.h"

#include <QColorDialog>
#include <QPushButton>

#include "common/Messages.h"
#include "document/ColorSlots.h"

namespace vandrel::ui {

namespace {

DialogRunner& runnerSlot() {
  static DialogRunner runner;
  return runner;
}

ColorChooser& chooserSlot() {
  static ColorChooser chooser;
  return chooser;
}

}  // namespace

void setDialogRunner(DialogRunner runner) { runnerSlot() = std::move(runner); }

int runDialog(QDialog& dialog) { return runnerSlot() ? runnerSlot()(dialog) : dialog.exec(); }

void setColorChooser(ColorChooser chooser) { chooserSlot() = std::move(chooser); }

QColor chooseColor(const QColor& initial, QWidget* parent) {
  if (chooserSlot()) return chooserSlot()(initial, parent);
  return QColorDialog::getColor(initial, parent);
}

QColor toQColor(vandrel::Colorref c) {
  return QColor(vandrel::redOf(c), vandrel::greenOf(c), vandrel::blueOf(c));
}

vandrel::Colorref toColorref(const QColor& c) { return vandrel::rgb(c.red(), c.green(), c.blue()); }

void showUserMessages(QWidget* parent, const vandrel::UserMessages& messages) {
  for (const vandrel::UserMessage& m : messages)
    showMessage(MessageRequest{
        parent, QString::fromStdString(m.text), {}, QMessageBox::Warning, QMessageBox::Ok, m.beep});
}

void paintSwatch(QPushButton* button, vandrel::Colorref c) {
  button->setStyleSheet(
      QStringLiteral("QPushButton { background-color: %1; color: black; padding: 4px 10px; }")
          .arg(toQColor(c).name()));
}

}  // namespace vandrel::ui
