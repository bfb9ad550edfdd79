// The vowel-space window through the View menu and the real widgets: a drag
// of a handle is one edit, a click moves the document's cursor, reference
// vowels come from a file the user picks.

#include <QAction>
#include <QFile>
#include <QImage>
#include <QMdiArea>
#include <QTest>
#include <QToolBar>

#include <cmath>

#include "../app/ShellFixture.h"
#include "common/Workspace.h"
#include "editing/EditTransaction.h"
#include "views/vowelspace/CVowelSpaceFrame.h"
#include "views/vowelspace/VowelSpaceCommands.h"
#include "views/vowelspace/VowelSpaceView.h"

namespace vandrel::ui::test {
namespace {

class VowelSpaceTest : public FrameFixture {
 protected:
  void SetUp() override {
    FrameFixture::SetUp();
    installVowelSpaceCommands(frame->router());  // whatever the linker kept of the static installers
  }

  VowelSpaceView* openView() {
    frame->action(ID_VIEW_VOWEL_SPACE)->trigger();
    auto* child = qobject_cast<CVowelSpaceFrame*>(frame->mdiArea()->activeSubWindow());
    return child ? child->view() : nullptr;
  }

  QPoint pointOf(const VowelSpaceView& view, double f1, double f2) const {
    const VowelSpaceMap m = view.canvasMap();
    return QPointF(m.xOf(f2), m.yOf(f1)).toPoint();
  }
};

TEST_F(VowelSpaceTest, DraggingAHandleIsOneEditAndAClickMovesTheCursor) {
  for (int c = 0; c < 20; ++c)
    vandrel::EditTransaction(doc()).setValue(kF2, c, 1000 + 50 * c);  // a glide towards [i]
  vandrel::EditTransaction(doc()).setAnchor(kF1, 5, true);
  vandrel::EditTransaction(doc()).setAnchor(kF2, 5, true);
  doc().notifyStructureChanged();
  VowelSpaceView* view = openView();
  ASSERT_NE(view, nullptr);
  EXPECT_EQ(frame->mdiArea()->activeSubWindow()->windowTitle(), QStringLiteral("Vandr1::Vowel Space"));
  view->toolBar()->findChild<QAction*>(QStringLiteral("Bark"))->trigger();
  EXPECT_EQ(view->scale(), FormantScale::kBark);
  const FrameTable before = doc().table();

  QWidget* canvas = view->canvas();
  const QPoint handle = pointOf(*view, 500, 1250);
  const QPoint target = pointOf(*view, 380, 2100);
  QTest::mousePress(canvas, Qt::LeftButton, {}, handle + QPoint(3, -2));
  QTest::mouseMove(canvas, pointOf(*view, 450, 1600));
  QTest::mouseMove(canvas, target);
  QTest::mouseRelease(canvas, Qt::LeftButton, {}, target);
  const VowelSpaceMap m = view->canvasMap();
  FrameTable expected = before;  // only the anchored frame's f1 and f2 moved
  expected.setValue(kF1, 5, std::round(m.f1At(target.y())));
  expected.setValue(kF2, 5, std::round(m.f2At(target.x())));
  EXPECT_EQ(doc().table(), expected);
  EXPECT_NEAR(doc().table().value(kF1, 5), 380, 10);
  EXPECT_EQ(view->trajectory()[5].f2, doc().table().value(kF2, 5));
  EXPECT_EQ(Workspace::of(*frame->activeDocument()).timeMs(), 50.0);  // the press took the cursor along

  frame->action(ID_EDIT_UNDO)->trigger();  // one step takes the whole drag back
  EXPECT_EQ(doc().table(), before);
  EXPECT_EQ(view->trajectory()[5].f1, 500);

  // A click on the line away from any handle moves every window's cursor.
  QTest::mouseClick(canvas, Qt::LeftButton, {}, pointOf(*view, 500, 1000 + 50 * 15));
  EXPECT_EQ(Workspace::of(*frame->activeDocument()).timeMs(), 150.0);
  EXPECT_EQ(doc().table(), before);

  const QImage picture = view->picture();
  EXPECT_FALSE(picture.isNull());
}

TEST_F(VowelSpaceTest, ReferenceVowelsComeFromAChosenFile) {
  VowelSpaceView* view = openView();
  ASSERT_NE(view, nullptr);
  QAction* load = view->toolBar()->findChild<QAction*>(QStringLiteral("Reference Vowels"));
  nextFile = path(QStringLiteral("vowels.tsv"));
  QFile f(nextFile);
  ASSERT_TRUE(f.open(QIODevice::WriteOnly));
  f.write("vowel\tf1\tf2\ni\t280\t2250\nu\t310\t870\na\t710\t1100\n");
  f.close();
  load->trigger();
  ASSERT_EQ(view->referenceVowels().size(), 3u);

  ASSERT_TRUE(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
  f.write("i 280 2250\nu 310\n");
  f.close();
  load->trigger();
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_EQ(messages[0],
            QStringLiteral("Cannot show the reference vowels of vowels.tsv: line 2 is not \"vowel f1 "
                           "f2\" with two frequencies in Hz: u 310."));
  EXPECT_EQ(view->referenceVowels().size(), 3u);  // the shown ones stay
}

}  // namespace
}  // namespace vandrel::ui::test
