// The menus, toolbar and keys as the user meets them, checked against the
// command list typed out again here (not read from the code's table), so a
// slip in either shows up.

#include <QAction>
#include <QMenu>
#include <QMenuBar>
#include <QStatusBar>
#include <QTest>
#include <QToolBar>

#include "ShellFixture.h"
#include "app/CChildFrame.h"
#include "app/CMainFrame.h"
#include "app/CommandIds.h"

namespace vandrel::ui::test {
namespace {

struct Item {
  const char* menu;
  const char* text;  // with "\t" and the shortcut text
  int id;
  const char* statusTip;
  const char* toolTip;
};

// clang-format off
const Item kDocumentMenu[] = {
  {"&File", "&New Blank\tCtrl+N", 57600, "Create a new document", "New"},
  {"&File", "&Open...\tCtrl+O", 57601, "Open an existing document", "Open"},
  {"&File", "Open an audio file...", 32772, "Open an audio file", "Open an audio file"},
  {"&File", "&Close", 57602, "Close the active document", "Close"},
  {"&File", "&Save\tCtrl+S", 57603, "Save the active document", "Save"},
  {"&File", "Save &As...", 57604, "Save the active document with a new name", "Save As"},
  {"&File", "Save Selected Parameters Only As...", 32776, "", ""},
  {"&File", "Save All Parameters As...", 32804, "", ""},
  {"&File", "Save As Audio...", 32773, "", ""},
  {"&File", "Save As bmp...", 32793, "", ""},
  {"&File", "Save Screen As bmp...", 32816, "", ""},
  {"&File", "Load Configuration...", 32790, "", ""},
  {"&File", "Save Configuration...", 32792, "", ""},
  {"&File", "Revert to Default Configuration", 32803, "", ""},
  {"&File", "&Print...\tCtrl+P", 57607, "Print the active document", "Print"},
  {"&File", "Print Pre&view", 57609, "Display full pages", "Print Preview"},
  {"&File", "P&rint Setup...", 57606, "Change the printer and printing options", "Print Setup"},
  {"&File", "Recent File", 57616, "Open this document", ""},
  {"&File", "E&xit", 57665, "Quit the application; prompts to save documents", "Exit"},
  {"&Edit", "&Undo\tCtrl+Z", 57643, "Undo the last action", "Undo"},
  {"&Edit", "&Redo\tCtrl+Y", 57644, "Redo the previously undone action", "Redo"},
  {"&Edit", "Add Row...\tCtrl+U", 32775, "Add a row", "Add a row"},
  {"&Edit", "Remove Row\tCtrl+J", 32791, "Remove a row", "Romove a row"},
  {"&Edit", "Add Column...\tCtrl+I", 32774, "Add a column", "Add a column"},
  {"&Edit", "Remove Column\tCtrl+K", 32777, "Remove a column", "Remove a column"},
  {"&Edit", "Add/Subtract ...", 32799, "Add or subtract an equal amount from the selection.", ""},
  {"&Edit", "Set to Default Values\tCtrl+L", 32778, "Set values to default settings", ""},
  {"&Edit", "Select All\tCtrl+A", 32779, "Select all", ""},
  {"Data Entry Method", "Graphical\tCtrl+F", 32780, "Data entry through graphical method", "Graphical data entry"},
  {"Data Entry Method", "Trace From Spectrogram/Pitch\tCtrl+D", 32781,
   "Data entry from tracing Spectrogram and Picth", "Trace Spectrogram and Pitch"},
  {"Anchors", "Add to Selection", 32794, "Add anchor points to all the cells in the selection", ""},
  {"Anchors", "Remove from Selection", 32795, "Remove all the anchors from the cells in the selection.", ""},
  {"Anchors", "Remove All", 32798, "Remove all the anchor cells from the table.", ""},
  {"Interpolation", "Interpolate Selection", 32796, "Interpolate the data between anchor cells in the selection.", ""},
  {"Interpolation", "Interpolate All\tCtrl+B ", 32797,
   "Interpolate all the data between the anchor cells in the table.", ""},
  {"Analysis", "FFT/LPC", 32800, "Perform FFT & LPC analysis", "FFT/LPC"},
  {"Analysis", "Spectrogram/Pitch of Synthesized File\tCtrl+T", 32782,
   "Perform spectrogram-pitch of the synthesized file", "Spectrogram-Pitch of synthesized file"},
  {"Analysis", "Spectrogram/Pitch of Audio File\tCtrl+G", 32783, "Perform spectrogram-pict of the audio file",
   "Spectrogram-Pitch of audio"},
  {"Play", "Play Current\tCtrl+1", 32784, "Play current synthesized file", "Play current synthesized file"},
  {"Play", "Play Previous\tCtrl+2", 32785, "Play previously synthesized file", "Play previously synthesized file"},
  {"Play", "Play Audio\tCtrl+3", 32786, "Play audio file", "Play audio file"},
  {"Options", "File...", 32787, "", ""},
  {"Options", "Parameters...", 32788, "", ""},
  {"Options", "FFT/LPC...", 32801, "", ""},
  {"Options", "Spectrogram...", 32789, "", ""},
  {"Options", "Pitch...", 32771, "", ""},
  {"&View", "&Toolbar", 59392, "Show or hide the toolbar", "Toggle ToolBar"},
  {"&View", "&Status Bar", 59393, "Show or hide the status bar", "Toggle StatusBar"},
  {"&Window", "&New Window", 57648, "Open another window for the active document", "New Window"},
  {"&Window", "&Cascade", 57650, "Arrange windows so they overlap", "Cascade Windows"},
  {"&Window", "&Tile", 57651, "Arrange windows as non-overlapping tiles", "Tile Windows"},
  {"&Window", "&Arrange Icons", 57649, "Arrange icons at the bottom of the window", "Arrange Icons"},
  {"&Help", "Help...", 57667, "", ""},
  {"&Help", "&About Vandrel...", 57664, "Display program information, version number and copyright", "About"},
};

const Item kNoDocumentMenu[] = {
  {"&File", "&New\tCtrl+N", 57600, "Create a new document", ""},
  {"&File", "&Open...\tCtrl+O", 57601, "Open an existing document", "Open"},
  {"&File", "Open an audio file...", 32772, "Open an audio file", "Open an audio file"},
  {"&File", "P&rint Setup...", 57606, "Change the printer and printing options", "Print Setup"},
  {"&File", "Recent File", 57616, "Open this document", ""},
  {"&File", "E&xit", 57665, "Quit the application; prompts to save documents", "Exit"},
  {"&View", "&Toolbar", 59392, "Show or hide the toolbar", "Toggle ToolBar"},
  {"&View", "&Status Bar", 59393, "Show or hide the status bar", "Toggle StatusBar"},
  {"&Help", "Help...", 57667, "", ""},
  {"&Help", "&About Vandrel...", 57664, "Display program information, version number and copyright", "About"},
};
// clang-format on

// The items of the menu bar as shown: visible actions, separators left out.
std::vector<std::pair<QString, QAction*>> shownItems(QMenuBar* bar) {
  std::vector<std::pair<QString, QAction*>> items;
  for (QAction* menuAction : bar->actions())
    for (QAction* a : menuAction->menu()->actions())
      if (!a->isSeparator() && a->isVisible()) items.emplace_back(menuAction->text(), a);
  return items;
}

class CommandTableTest : public ShellFixture {};

TEST_F(CommandTableTest, BothMenusListEveryItemWithItsIdAndPrompt) {
  CMainFrame frame(environment());
  struct Menu {
    const char* what;
    const Item* begin;
    const Item* end;
    bool withDocument;
  };
  const Menu menus[] = {
      {"menu without a document (128)", std::begin(kNoDocumentMenu), std::end(kNoDocumentMenu), false},
      {"menu with a document (129)", std::begin(kDocumentMenu), std::end(kDocumentMenu), true},
  };
  for (const auto& m : menus) {
    SCOPED_TRACE(m.what);
    if (m.withDocument) frame.newDocument();
    ASSERT_EQ(frame.showsDocumentMenus(), m.withDocument);
    const auto items = shownItems(frame.menuBar());
    ASSERT_EQ(items.size(), static_cast<std::size_t>(m.end - m.begin));
    for (std::size_t i = 0; i < items.size(); ++i) {
      const Item& want = m.begin[i];
      SCOPED_TRACE(want.text);
      const QAction* a = items[i].second;
      EXPECT_EQ(items[i].first, QString::fromUtf8(want.menu));
      EXPECT_EQ(a->text(), QString::fromUtf8(want.text));
      EXPECT_EQ(a->data().toInt(), want.id);
      EXPECT_EQ(a->statusTip(), QString::fromUtf8(want.statusTip));
      if (*want.toolTip) {
        EXPECT_EQ(a->toolTip(), QString::fromUtf8(want.toolTip));
      }
    }
  }
}

TEST_F(CommandTableTest, ToolbarButtonsInOrderWithTheirGaps) {
  CMainFrame frame(environment());
  QStringList shown;
  for (QAction* a : frame.toolBar()->actions())
    shown << (a->isSeparator() ? QStringLiteral("|") : QString::number(a->data().toInt()));
  // New, Open, Open an audio file, Save, Print | Undo, Cut, Copy, Paste, Add Row, Remove Row, Add Column,
  // Remove Column | Graphical, Trace | FFT/LPC, Spectrogram of synthesized, of audio | Play Current,
  // Previous, Audio | About, Help
  EXPECT_EQ(
      shown.join(QLatin1Char(' ')),
      QStringLiteral("57600 57601 32772 57603 57607 | 57643 57635 57634 57637 32775 32791 32774 32777 | "
                     "32780 32781 | 32800 32782 32783 | 32784 32785 32786 | 57664 57667"));
  for (QAction* a : frame.toolBar()->actions()) {
    if (!a->isSeparator()) {
      EXPECT_FALSE(a->icon().isNull()) << a->data().toInt();
    }
  }
}

TEST_F(CommandTableTest, OnlyTheStandardKeysAreAccelerators) {
  CMainFrame frame(environment());
  const std::pair<int, QString> accelerators[] = {
      {ID_FILE_NEW, "Ctrl+N"},
      {ID_FILE_OPEN, "Ctrl+O"},
      {ID_FILE_SAVE, "Ctrl+S"},
      {ID_FILE_PRINT, "Ctrl+P"},
      {ID_EDIT_UNDO, "Ctrl+Z, Alt+Backspace"},
      {ID_EDIT_CUT, "Ctrl+X, Shift+Del"},
      {ID_EDIT_COPY, "Ctrl+C, Ctrl+Ins"},
      {ID_EDIT_PASTE, "Ctrl+V, Shift+Ins"},
      {ID_NEXT_PANE, "F6"},
      {ID_PREV_PANE, "Shift+F6"},
  };
  int withKeys = 0;
  for (QAction* a : frame.actions())
    if (!a->shortcuts().isEmpty()) ++withKeys;
  EXPECT_EQ(withKeys, 10);
  for (const auto& [id, keys] : accelerators) {
    SCOPED_TRACE(id);
    QStringList got;
    for (const QKeySequence& k : frame.action(id)->shortcuts()) got << k.toString(QKeySequence::PortableText);
    EXPECT_EQ(got.join(QStringLiteral(", ")), keys);
  }
  EXPECT_TRUE(frame.action(ID_EDIT_REDO)->shortcuts().isEmpty());  // Ctrl+Y is the table's own key
}

TEST_F(CommandTableTest, CommandWithoutHandlerSaysSoInTheStatusBar) {
  CMainFrame frame(environment());
  frame.newDocument();
  frame.router().removeHandler(ID_ANCHORS_REMOVE_ALL);
  EXPECT_EQ(frame.statusBar()->currentMessage(), QStringLiteral("Ready"));
  frame.action(ID_ANCHORS_REMOVE_ALL)->trigger();
  EXPECT_EQ(frame.statusBar()->currentMessage(), QStringLiteral("Remove All: not available yet"));
  frame.statusBar()->clearMessage();
  EXPECT_EQ(frame.statusBar()->currentMessage(), QStringLiteral("Ready"));
}

TEST_F(CommandTableTest, HandlersAttachByIdAndTableKeysReachThem) {
  CMainFrame frame(environment());
  frame.show();
  CChildFrame* child = frame.newDocument();
  ASSERT_TRUE(QTest::qWaitForWindowActive(&frame));

  std::vector<std::pair<int, OpenDocument*>> calls;
  for (const int id : {ID_PLAY_CURRENT, ID_INTERPOLATE_ALL, ID_FILE_NEW})
    frame.router().setHandler(id,
                              [&calls](CommandContext& ctx) { calls.emplace_back(ctx.id, ctx.document); });

  child->widget()->setFocus();
  QTest::keyClick(QApplication::focusWidget(), Qt::Key_1, Qt::ControlModifier);  // a table key
  QTest::keyClick(QApplication::focusWidget(), Qt::Key_B, Qt::ControlModifier);  // a table key
  QTest::keyClick(QApplication::focusWidget(), Qt::Key_N, Qt::ControlModifier);  // an accelerator
  frame.action(ID_PLAY_CURRENT)->trigger();                                      // the menu item

  ASSERT_EQ(calls.size(), 4u);
  EXPECT_EQ(calls[0].first, ID_PLAY_CURRENT);
  EXPECT_EQ(calls[1].first, ID_INTERPOLATE_ALL);
  EXPECT_EQ(calls[2].first, ID_FILE_NEW);
  EXPECT_EQ(calls[3].first, ID_PLAY_CURRENT);
  for (const auto& c : calls) EXPECT_EQ(c.second, &child->document());
}

TEST_F(CommandTableTest, DocumentCommandsAreDisabledWithoutADocument) {
  CMainFrame frame(environment());
  EXPECT_FALSE(frame.action(ID_PLAY_CURRENT)->isEnabled());
  EXPECT_FALSE(frame.action(ID_FILE_SAVE)->isEnabled());
  EXPECT_TRUE(frame.action(ID_FILE_OPEN)->isEnabled());
  EXPECT_TRUE(frame.action(ID_APP_ABOUT)->isEnabled());
  frame.newDocument();
  EXPECT_TRUE(frame.action(ID_PLAY_CURRENT)->isEnabled());
  EXPECT_TRUE(frame.action(ID_FILE_SAVE)->isEnabled());
}

}  // namespace
}  // namespace vandrel::ui::test
