#include "app/TestEditHook.h"

#include <QTimer>

#include <cstdio>

#include "app/CMainFrame.h"
#include "app/OpenDocument.h"
#include "editing/CellEdit.h"

namespace vandrel::ui {

void installTestEditHook(CMainFrame& frame) {
  bool ok = false;
  const int every = qEnvironmentVariableIntValue("VANDREL_TEST_EDIT_EVERY_MS", &ok);
  if (!ok || every <= 0) return;
  bool counted = false;
  const int count = qEnvironmentVariableIntValue("VANDREL_TEST_EDITS", &counted);
  const int last = counted && count > 0 ? count : 999;
  auto* timer = new QTimer(&frame);
  timer->setInterval(every);
  QObject::connect(timer, &QTimer::timeout, &frame, [&frame, last, edits = 0]() mutable {
    OpenDocument* doc = frame.activeDocument();
    if (!doc || doc->doc().table.columns() == 0 || edits >= last) return;
    ++edits;
    vandrel::editCell(doc->doc(), vandrel::kF0, (edits - 1) % doc->doc().table.columns(), 4000 + edits);
    std::printf("edit %d\n", edits);
    std::fflush(stdout);
  });
  timer->start();
}

}  // namespace vandrel::ui
