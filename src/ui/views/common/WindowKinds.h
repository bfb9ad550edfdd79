#pragma once
// Find-or-open for the windows of a document, in one place. A window kind's
// command installer asks here for the open windows of its kind and opens a
// new one only when the document has none that fits, so adding a window kind
// touches its own folder only.

#include <QList>
#include <QMdiArea>
#include <QMdiSubWindow>

#include <functional>

#include "app/CMainFrame.h"

namespace vandrel::ui {

class OpenDocument;

// The windows of kind Frame in the main frame's area, of `document` only when
// one is given, in the area's order.
template <class Frame>
QList<Frame*> windowsOfKind(const CMainFrame& main, const OpenDocument* document = nullptr) {
  QList<Frame*> found;
  for (QMdiSubWindow* w : main.mdiArea()->subWindowList())
    if (auto* f = qobject_cast<Frame*>(w); f && (!document || &f->document() == document)) found << f;
  return found;
}

// Brings forward the document's first window of kind Frame that `fits` (any
// when no test is given); without one, makes one with `make` and puts it into
// the area. `make` may return null when the window cannot be made; the
// window, or null, is returned.
template <class Frame>
Frame* findOrOpen(CMainFrame& main, const OpenDocument& document, const std::function<Frame*()>& make,
                  const std::function<bool(const Frame&)>& fits = {}) {
  for (Frame* f : windowsOfKind<Frame>(main, &document))
    if (!fits || fits(*f)) {
      main.mdiArea()->setActiveSubWindow(f);
      return f;
    }
  Frame* made = make();
  if (made) made->addToArea();
  return made;
}

}  // namespace vandrel::ui
