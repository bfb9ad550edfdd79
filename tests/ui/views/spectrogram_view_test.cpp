// The spectrogram/pitch view: the document's shared cursor, the analysis
// window's place among the document's windows.

#include <QMdiArea>
#include <QSignalSpy>
#include <QTest>

#include "../app/ShellFixture.h"
#include "app/CChildFrame.h"
#include "app/CMainFrame.h"
#include "app/CommandIds.h"
#include "app/OpenDocument.h"
#include "views/common/CAnalysisFrame.h"
#include "views/common/DocumentCursor.h"

namespace vandrel::ui::test {
namespace {

class SpectrogramViewTest : public ShellFixture {};

TEST_F(SpectrogramViewTest, OneCursorPerDocumentWithOrderedSelection) {
  OpenDocument a(1), b(2);
  DocumentCursor& cursor = DocumentCursor::of(a);
  EXPECT_EQ(&cursor, &DocumentCursor::of(a));
  EXPECT_NE(&cursor, &DocumentCursor::of(b));

  QSignalSpy moved(&cursor, &DocumentCursor::cursorChanged);
  QSignalSpy selected(&cursor, &DocumentCursor::selectionChanged);
  cursor.setTimeMs(120);
  cursor.setTimeMs(120);
  cursor.setTimeMs(-5);
  EXPECT_EQ(moved.count(), 2);
  EXPECT_EQ(cursor.timeMs(), 0);

  cursor.setSelection(300, 100);  // dragged right to left
  ASSERT_TRUE(cursor.selection());
  EXPECT_EQ(*cursor.selection(), (TimeRange{100, 300}));
  cursor.setSelection(100, 300);
  cursor.setSelection(50, 50);  // a click without a drag selects nothing
  EXPECT_FALSE(cursor.selection());
  EXPECT_EQ(selected.count(), 2);
}

TEST_F(SpectrogramViewTest, AnalysisWindowKeepsTheDocumentActiveAndClosesWithIt) {
  CMainFrame frame(environment());
  frame.show();
  CChildFrame* table = frame.newDocument();
  auto* analysis = new CAnalysisFrame(frame, table->sharedDocument(), QStringLiteral("::Spectrogram"));
  analysis->addToArea();
  EXPECT_EQ(analysis->windowTitle(), QStringLiteral("Vandr1::Spectrogram"));
  EXPECT_EQ(frame.activeChildFrame(), table);
  EXPECT_TRUE(frame.showsDocumentMenus());
  EXPECT_TRUE(frame.action(ID_EDIT_UNDO)->isEnabled());

  QPointer<CAnalysisFrame> watch(analysis);
  table->close();
  EXPECT_TRUE(QTest::qWaitFor([&] { return watch.isNull(); }));
  EXPECT_TRUE(frame.mdiArea()->subWindowList().isEmpty());
}

}  // namespace
}  // namespace vandrel::ui::test
