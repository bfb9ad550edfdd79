#pragma once
// CMainFrame: the main window. A QMdiArea holds the document windows
// (CChildFrame); the menu bar, toolbar and status bar are built from the
// command table. With no document open the short menu (File, View, Help) is
// shown, with one the full menu.

#include <QHash>
#include <QMainWindow>
#include <QStringList>

#include <memory>

#include "app/CommandRouter.h"
#include "app/ShellEnvironment.h"

class QAction;
class QLabel;
class QMdiArea;
class QMenu;
class QPrinter;
class QToolBar;

namespace vandrel {
class CVandrelDoc;
}

namespace vandrel::ui {

class CChildFrame;
class DocumentRecovery;
class OpenDocument;

class CMainFrame : public QMainWindow {
  Q_OBJECT
 public:
  explicit CMainFrame(ShellEnvironment environment, QWidget* parent = nullptr);
  ~CMainFrame() override;

  ShellEnvironment& environment() { return env_; }
  CommandRouter& router() { return router_; }

  // Runs the command `id` as a menu item would: nothing when it needs a
  // document and none is active, "<name>: not available yet" in the status
  // bar when no handler is attached.
  void runCommand(int id);
  CommandContext context(int id) const;

  QMdiArea* mdiArea() const { return mdi_; }
  // The active table window; while an analysis window (DocumentWindow) is
  // active, the first table window of its document.
  CChildFrame* activeChildFrame() const;
  OpenDocument* activeDocument() const;
  QList<CChildFrame*> childFrames() const;
  QList<CChildFrame*> windowsOf(const OpenDocument& document) const;

  // A blank document on the current configuration, in a new window.
  CChildFrame* newDocument();
  // A new window on `document` (the first one, or another: "New Window").
  CChildFrame* addWindow(std::shared_ptr<OpenDocument> document);

  // The open chain: a parameter file opens in a window of its own, a
  // recording goes beside the active document's table (a blank document is
  // made when none is open). False, after the message, when no reader
  // accepts the file.
  bool openFile(const QString& path);

  // Reopens a copy kept by DocumentRecovery: modified, under the name of the
  // file it belongs to (or untitled). False when the copy cannot be read.
  bool openRecoveredCopy(const QString& copy, const QString& originalPath);

  // Copies of unsaved work in the temp folder; null without a temp folder.
  DocumentRecovery* recovery() const { return recovery_; }

  // Saves `document` as a parameter file of all parameters; `askName` (or a
  // document without a file) asks for the name first. False when cancelled
  // or refused (the message has been shown).
  bool saveDocument(OpenDocument& document, bool askName);

  // The usual prompt before a modified document's last window closes.
  // False when the user cancels.
  bool queryCloseWindow(CChildFrame& frame);
  // A document window is closing: the others of its document are renumbered.
  void windowClosing(CChildFrame& frame);

  QStringList recentFiles() const { return recent_; }
  void addRecentFile(const QString& path);
  void removeRecentFile(const QString& path);

  QAction* action(int id) const { return actions_.value(id); }
  bool showsDocumentMenus() const { return documentMenusShown_; }
  QToolBar* toolBar() const { return toolBar_; }
  QPrinter& printer();

  // Status bar text for a while, then back to "Ready".
  void showStatus(const QString& text, int ms = 5000);

  // Enables each action for the current state (document open, enablers).
  void updateCommandStates();

  // Writes the window placement into the configuration kept in memory.
  void storePlacement();

  // The options were confirmed: the configuration in memory takes `doc`'s
  // settings (when given) and the window placement, and is written to
  // "VandrelConf.cfg" in the temp folder. The analysis option dialogs put
  // their records into environment().config first (storeAnalysisOptions).
  // False, after a message, when the file cannot be written.
  bool writeConfigurationFile(const vandrel::CVandrelDoc* doc);

 signals:
  void activeDocumentChanged();

 protected:
  void closeEvent(QCloseEvent* event) override;
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dropEvent(QDropEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void createActions();
  QMenu* buildMenu(const struct MenuDef& def, bool documentMenu);
  void buildMenus();
  void buildToolBar();
  void buildStatusBar();
  void showMenusFor(bool document);
  void listWindows(QMenu& menu);  // the open windows at the end of the Window menu
  void onSubWindowActivated();
  void updateRecentActions();
  void updateTitle();
  void renumberWindows(const OpenDocument& document);
  QString commandName(int id) const;

  ShellEnvironment env_;
  CommandRouter router_;
  QMdiArea* mdi_ = nullptr;
  QToolBar* toolBar_ = nullptr;
  QHash<int, QAction*> actions_;
  QAction* shortNewAction_ = nullptr;     // "&New\tCtrl+N" of the short menu
  QAction* recentPlaceholder_ = nullptr;  // the greyed "Recent File"
  QList<QAction*> recentActions_;
  QList<QAction*> windowListActions_;
  QList<QMenu*> documentMenus_;
  QList<QMenu*> noDocumentMenus_;
  bool documentMenusShown_ = false;
  QStringList recent_;
  int untitledCount_ = 0;
  QLabel* capIndicator_ = nullptr;
  QLabel* numIndicator_ = nullptr;
  QLabel* scrlIndicator_ = nullptr;
  bool capsLock_ = false;
  bool numLock_ = false;
  bool scrollLock_ = false;
  std::unique_ptr<QPrinter> printer_;
  DocumentRecovery* recovery_ = nullptr;
};

// The shell's own handlers, installed by every main frame before the
// registered installers run.
void installFileCommands(CommandRouter& router);
void installWindowCommands(CommandRouter& router);

}  // namespace vandrel::ui
