// The menus, toolbar and keys as the user meets them.

#include <QAction>
#include <QMenu>
#include <QMenuBar>
#include <QStatusBar>
#include <QTest>
#include <QToolBar>

#include <set>

#include "ShellFixture.h"
#include "app/CChildFrame.h"
#include "app/CMainFrame.h"
#include "app/CommandIds.h"

namespace vandrel::ui::test {
namespace {

// The items of the menu bar as shown: visible actions, separators left out.
std::vector<std::pair<QString, QAction*>> shownItems(QMenuBar* bar) {
  std::vector<std::pair<QString, QAction*>> items;
  for (QAction* menuAction : bar->actions())
    for (QAction* a : menuAction->menu()->actions())
      if (!a->isSeparator() && a->isVisible()) items.emplace_back(menuAction->text(), a);
  return items;
}

class CommandTableTest : public ShellFixture {};

// Each menu's length, no id twice, and the texts users
// know by their slips and blanks (they appear in guides and scripts as they
// are). The texts of the rest are the command table's own business.
TEST_F(CommandTableTest, BothMenusHoldTheirItemsWithTheirOddTextsKept) {
  CMainFrame frame(environment());
  struct Menu {
    bool withDocument;
    const char* lengths;
  };
  for (const Menu& m :
       {Menu{false, "&File 6, &View 2, &Help 2"},
        Menu{true,
             "&File 20, &Edit 9, Data Entry Method 2, Anchors 3, Interpolation 2, Analysis 4, Play 7, "
             "Options 5, &View 3, &Window 4, &Help 2"}}) {
    SCOPED_TRACE(m.withDocument ? "with a document" : "without a document");
    if (m.withDocument) frame.newDocument();
    ASSERT_EQ(frame.showsDocumentMenus(), m.withDocument);
    const auto items = shownItems(frame.menuBar());
    QStringList lengths;
    QString menu;
    int n = 0;
    std::set<int> ids;
    for (const auto& [title, a] : items) {
      if (title != menu && n > 0) {
        lengths << menu + QStringLiteral(" %1").arg(n);
        n = 0;
      }
      menu = title;
      ++n;
      EXPECT_TRUE(ids.insert(a->data().toInt()).second) << a->text().toStdString();
    }
    lengths << menu + QStringLiteral(" %1").arg(n);
    EXPECT_EQ(lengths.join(QStringLiteral(", ")), QString::fromLatin1(m.lengths));
    // New is "New Blank" in the document menu only.
    EXPECT_EQ(items.front().second->text(),
              m.withDocument ? QStringLiteral("&New Blank\tCtrl+N") : QStringLiteral("&New\tCtrl+N"));
  }
  struct Text {
    int id;
    const char* text;
    const char* statusTip;
    const char* toolTip;
  };
  const Text odd[] = {
      {ID_EDIT_REMOVE_ROW, "Remove Row\tCtrl+J", "Remove a row", "Romove a row"},
      {ID_EDIT_ADD_SUBTRACT, "Add/Subtract ...", "Add or subtract an equal amount from the selection.", ""},
      {ID_ENTRY_TRACE, "Trace From Spectrogram/Pitch\tCtrl+D",
       "Data entry from tracing Spectrogram and Picth", "Trace Spectrogram and Pitch"},
      {ID_INTERPOLATE_ALL, "Interpolate All\tCtrl+B ",
       "Interpolate all the data between the anchor cells in the table.", ""},
      {ID_ANALYSIS_SPECTRO_AUDIO, "Spectrogram/Pitch of Audio File\tCtrl+G",
       "Perform spectrogram-pict of the audio file", "Spectrogram-Pitch of audio"},
  };
  for (const Text& t : odd) {
    SCOPED_TRACE(t.text);
    const QAction* a = frame.action(t.id);
    EXPECT_EQ(a->text(), QString::fromUtf8(t.text));
    EXPECT_EQ(a->statusTip(), QString::fromUtf8(t.statusTip));
    if (*t.toolTip != '\0') {
      EXPECT_EQ(a->toolTip(), QString::fromUtf8(t.toolTip));
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
  // Previous, Audio, Loop, Stop, A/B, the "Listen to" drop-down | About, Help
  EXPECT_EQ(shown.join(QLatin1Char(' ')),
            QStringLiteral(
                "57600 57601 32772 57603 57607 | 57643 57635 57634 57637 32775 32791 32774 32777 | "
                "32780 32781 | 32800 32782 32783 | 32784 32785 32786 32817 32818 32819 32820 | 57664 57667"));
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
      {ID_PLAY_STOP, "Esc"},
      {ID_PLAY_SWITCH, "Ctrl+4"},
  };
  int withKeys = 0;
  for (QAction* a : frame.actions())
    if (!a->shortcuts().isEmpty()) ++withKeys;
  EXPECT_EQ(withKeys, 12);
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

  OpenDocument* const doc = &child->document();
  EXPECT_EQ(
      calls,
      (std::vector<std::pair<int, OpenDocument*>>{
          {ID_PLAY_CURRENT, doc}, {ID_INTERPOLATE_ALL, doc}, {ID_FILE_NEW, doc}, {ID_PLAY_CURRENT, doc}}));
}

}  // namespace
}  // namespace vandrel::ui::test
