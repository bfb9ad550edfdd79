#pragma once
// Command routing: every menu item, toolbar button, accelerator and table-view
// key ends in CMainFrame::runCommand(id), which asks the main frame's
// CommandRouter for the handler attached to that id. A command without a
// handler says "<menu text>: not available yet" in the status bar.
//
// Attaching handlers from another part of the program, without touching the
// shell: write an installer in your own .cpp and register it with a static
// initialiser. Every CMainFrame runs all installers when it is built, after
// the shell's own handlers, so an installer may also replace one of those.
//
//   #include "app/CChildFrame.h"
//   #include "app/CMainFrame.h"
//   #include "app/CommandIds.h"
//   #include "app/CommandRouter.h"
//   #include "app/OpenDocument.h"
//
//   namespace {
//   void installPlayback(vandrel::ui::CommandRouter& router) {
//     using namespace vandrel::ui;
//     router.setHandler(ID_PLAY_CURRENT, [](CommandContext& ctx) {
//       vandrel::CVandrelDoc& doc = *ctx.doc();    // never null: see needsDocument
//       vandrel::ensureSynthesized(doc);         // tells the windows itself
//       // ... then play doc.synthesized()
//     });
//   }
//   const bool playbackInstalled = vandrel::ui::addCommandInstaller(&installPlayback);
//   }  // namespace
//
// The `vandrel` executable links vandrel_ui whole, so such an object file is
// never dropped by the linker. A test that builds a CMainFrame and wants
// those handlers calls the installer itself (or addCommandInstaller before
// the frame is built); `mainFrame.router().setHandler(...)` also works at any
// time on a live frame.
//
// The active document: ctx.document (the UI's OpenDocument, shared by all
// windows of one document) and ctx.doc() (its core CVandrelDoc). Commands
// marked needsDocument in the command table are disabled and never dispatched
// while no document window is active, so for them both are non-null. Outside
// a handler, CMainFrame::activeDocument() gives the same.
//
// Keys: Ctrl+N, O, S, P, Z ... are main-frame accelerators. The other
// shortcuts written in menu texts (Ctrl+Y, U, J, I, K, L, A, F, D, B, T, G,
// 1, 2, 3) are keys of the document window: CChildFrame catches them while
// it (or anything inside it, such as the table) has the focus and routes them
// here, so a handler for ID_PLAY_CURRENT also answers Ctrl+1.

#include <functional>
#include <map>

class QWidget;

namespace vandrel {
class CVandrelDoc;
}

namespace vandrel::ui {

class CMainFrame;
class CChildFrame;
class OpenDocument;

struct CommandContext {
  int id = 0;
  CMainFrame* mainFrame = nullptr;    // never null while a handler runs
  CChildFrame* childFrame = nullptr;  // the active document window, or null
  OpenDocument* document = nullptr;   // its document, or null

  vandrel::CVandrelDoc* doc() const;  // the core document of `document`, or null
  QWidget* dialogParent() const;      // the widget to parent dialogs and messages on
};

using CommandHandler = std::function<void(CommandContext&)>;
using CommandEnabler = std::function<bool(const CommandContext&)>;

class CommandRouter {
 public:
  // Attaches (or replaces) the handler of `id`. `enabled`, when given, is
  // asked whenever menus and the toolbar refresh.
  void setHandler(int id, CommandHandler handler, CommandEnabler enabled = {});
  void removeHandler(int id);
  bool hasHandler(int id) const;

  // Runs the handler of ctx.id; false when none is attached.
  bool dispatch(CommandContext& ctx) const;

  // False only when an enabler is attached and says no.
  bool isEnabled(const CommandContext& ctx) const;

 private:
  struct Entry {
    CommandHandler handler;
    CommandEnabler enabled;
  };
  std::map<int, Entry> entries_;
};

using CommandInstaller = void (*)(CommandRouter&);

// Registers an installer that every main frame runs (in registration order).
// Returns true so that it can initialise a namespace-scope constant.
bool addCommandInstaller(CommandInstaller installer);

// Runs every registered installer on `router`.
void runCommandInstallers(CommandRouter& router);

// Widgets that a part of the program adds to every main frame once its menus
// and toolbar are built (a submenu, a drop-down on the toolbar), registered
// the same way as installers and run after them.
using FrameDecorator = void (*)(CMainFrame&);
bool addFrameDecorator(FrameDecorator decorator);
void runFrameDecorators(CMainFrame& frame);

}  // namespace vandrel::ui
