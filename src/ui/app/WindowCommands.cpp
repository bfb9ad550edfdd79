// The View, Window and Help menus' handlers.

#include <QCoreApplication>
#include <QFileInfo>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QStatusBar>
#include <QToolBar>

#include "app/CChildFrame.h"
#include "app/CMainFrame.h"
#include "app/CommandIds.h"
#include "app/OpenDocument.h"
#include "common/Messages.h"

#ifndef VANDREL_VERSION
#define VANDREL_VERSION "0.1.0"
#endif

namespace vandrel::ui {

namespace {

// Minimised windows in a row along the bottom of the area, left to right.
void arrangeIcons(QMdiArea& area) {
  int x = 0;
  for (QMdiSubWindow* w : area.subWindowList(QMdiArea::CreationOrder)) {
    if (!w->isMinimized()) continue;
    const QSize s = w->size();
    if (x > 0 && x + s.width() > area.viewport()->width()) x = 0;
    w->move(x, area.viewport()->height() - s.height());
    x += s.width();
  }
}

// Qt's cascade leaves each window at its preferred size, small for a table;
// keep the staircase and let the windows fill the rest of the area.
void cascade(QMdiArea& area) {
  area.cascadeSubWindows();
  QList<QMdiSubWindow*> windows;
  for (QMdiSubWindow* w : area.subWindowList(QMdiArea::StackingOrder))
    if (!w->isMinimized() && w->isVisible()) windows << w;
  if (windows.isEmpty()) return;
  const QPoint last = windows.last()->pos();
  const QSize room(area.viewport()->width() - last.x(), area.viewport()->height() - last.y());
  for (QMdiSubWindow* w : windows) w->resize(room.expandedTo(w->minimumSizeHint()));
}

void openHelp(CommandContext& ctx) {
  const ShellEnvironment& env = ctx.mainFrame->environment();
  const QString path = env.helpPath();
  if (!QFileInfo::exists(path) || !env.hooks.openUrl(QUrl::fromLocalFile(path)))
    warn(ctx.mainFrame, QStringLiteral("No help file was found. Please contact the vendor."));
}

void showAbout(CommandContext& ctx) {
  showMessage(MessageRequest{ctx.mainFrame,
                             QStringLiteral("Vandrel Version %1\n\nA parameter editor for a Klatt-type "
                                            "cascade/parallel formant synthesizer.")
                                 .arg(QStringLiteral(VANDREL_VERSION)),
                             QStringLiteral("About Vandrel"), QMessageBox::Information, QMessageBox::Ok,
                             false});
}

}  // namespace

void installWindowCommands(CommandRouter& r) {
  r.setHandler(ID_VIEW_TOOLBAR, [](CommandContext& ctx) {
    QToolBar* bar = ctx.mainFrame->toolBar();
    bar->setVisible(!bar->isVisible());
    ctx.mainFrame->action(ID_VIEW_TOOLBAR)->setChecked(bar->isVisible());
  });
  r.setHandler(ID_VIEW_STATUS_BAR, [](CommandContext& ctx) {
    QStatusBar* bar = ctx.mainFrame->statusBar();
    bar->setVisible(!bar->isVisible());
    ctx.mainFrame->action(ID_VIEW_STATUS_BAR)->setChecked(bar->isVisible());
  });
  r.setHandler(ID_WINDOW_NEW,
               [](CommandContext& ctx) { ctx.mainFrame->addWindow(ctx.childFrame->sharedDocument()); });
  r.setHandler(ID_WINDOW_CASCADE, [](CommandContext& ctx) { cascade(*ctx.mainFrame->mdiArea()); });
  r.setHandler(ID_WINDOW_TILE_HORZ, [](CommandContext& ctx) { ctx.mainFrame->mdiArea()->tileSubWindows(); });
  r.setHandler(ID_WINDOW_ARRANGE, [](CommandContext& ctx) { arrangeIcons(*ctx.mainFrame->mdiArea()); });
  r.setHandler(ID_NEXT_PANE, [](CommandContext& ctx) { ctx.mainFrame->mdiArea()->activateNextSubWindow(); });
  r.setHandler(ID_PREV_PANE,
               [](CommandContext& ctx) { ctx.mainFrame->mdiArea()->activatePreviousSubWindow(); });
  r.setHandler(ID_HELP_INDEX, openHelp);
  r.setHandler(ID_APP_ABOUT, showAbout);
}

}  // namespace vandrel::ui
