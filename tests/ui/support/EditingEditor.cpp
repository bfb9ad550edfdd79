// The editor as the killed-editor test runs it: the real program, plus a
// timer that edits the active table every VANDREL_TEST_EDIT_EVERY_MS and
// prints "edit N" after each, so the test knows how far the work had got
// when it kills the process. Edit n writes 4000 + n into f0 of column
// (n - 1) mod columns; it stops after VANDREL_TEST_EDITS edits (999 unset).

#include <QApplication>
#include <QTimer>

#include <cstdio>

#include "app/AppProfile.h"
#include "app/CMainFrame.h"
#include "app/CVandrelApp.h"
#include "app/OpenDocument.h"
#include "editing/CellEdit.h"

namespace {

void startEditing(vandrel::ui::CMainFrame& frame) {
  bool ok = false;
  const int every = qEnvironmentVariableIntValue("VANDREL_TEST_EDIT_EVERY_MS", &ok);
  if (!ok || every <= 0) return;
  bool counted = false;
  const int count = qEnvironmentVariableIntValue("VANDREL_TEST_EDITS", &counted);
  const int last = counted && count > 0 ? count : 999;
  auto* timer = new QTimer(&frame);
  timer->setInterval(every);
  QObject::connect(timer, &QTimer::timeout, &frame, [&frame, last, edits = 0]() mutable {
    vandrel::ui::OpenDocument* doc = frame.activeDocument();
    if (!doc || doc->doc().table().columns() == 0 || edits >= last) return;
    ++edits;
    vandrel::editCell(doc->doc(), vandrel::kF0, (edits - 1) % doc->doc().table().columns(), 4000 + edits);
    std::printf("edit %d\n", edits);
    std::fflush(stdout);
  });
  timer->start();
}

}  // namespace

int main(int argc, char** argv) {
  QApplication app(argc, argv);
  QApplication::setOrganizationName(QString::fromLatin1(vandrel::ui::AppProfile::kCompany));
  QApplication::setApplicationName(QStringLiteral("Vandrel"));
  vandrel::ui::CVandrelApp vandrelApp;
  if (!vandrelApp.initInstance(QApplication::arguments())) return 1;
  startEditing(*vandrelApp.mainFrame());
  return app.exec();
}
