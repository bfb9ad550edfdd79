// The graphical data-entry window through the menu and real mouse events:
// which frames a drag writes (and which modifiers stop it), a stroke as one
// undo step, the panel's radio and colour buttons, and Enter All Data on a
// synthesized vowel.

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QMdiArea>
#include <QMouseEvent>
#include <QTest>

#include <array>

#include "../app/ShellFixture.h"
#include "app/CommandRouter.h"
#include "document/ColorSlots.h"
#include "editing/EditTransaction.h"
#include "engine/Synthesizer.h"
#include "entry/CFreqInputWnd.h"
#include "entry/CGraphicalInput.h"
#include "entry/CGraphicalInputChild.h"
#include "entry/EnterAllData.h"
#include "table/TableCommands.h"

namespace vandrel::ui::test {
namespace {

class GraphicalEntryTest : public FrameFixture {
 protected:
  void SetUp() override {
    FrameFixture::SetUp();
    installTableCommands(frame->router());
    installEntryCommands(frame->router());
    frame->resize(1400, 900);
    table = window;
    frame->action(ID_ENTRY_GRAPHICAL)->trigger();
    child = qobject_cast<CGraphicalInputChild*>(frame->mdiArea()->activeSubWindow());
    ASSERT_NE(child, nullptr);
    wnd = child->drawing();
  }
  vandrel::CVandrelDoc& doc() { return table->document().doc(); }

  void mouse(QEvent::Type type, QPoint at, Qt::MouseButton button, Qt::KeyboardModifiers mods = {}) {
    const Qt::MouseButtons held = type == QEvent::MouseButtonRelease ? Qt::NoButton : Qt::LeftButton;
    QMouseEvent e(type, QPointF(at), QPointF(wnd->mapToGlobal(at)), button, held, mods);
    QApplication::sendEvent(wnd, &e);
  }
  void press(QPoint at) { mouse(QEvent::MouseButtonPress, at, Qt::LeftButton); }
  void move(QPoint at, Qt::KeyboardModifiers mods = {}) { mouse(QEvent::MouseMove, at, Qt::NoButton, mods); }
  void release(QPoint at) { mouse(QEvent::MouseButtonRelease, at, Qt::LeftButton); }

  // A click on the radio button's circle (a radio button answers only over
  // its circle and its text).
  void choose(int radioId) {
    QAbstractButton* b = child->panel()->control(radioId);
    QTest::mouseClick(b, Qt::LeftButton, {}, QPoint(8, b->height() / 2));
  }

  CChildFrame* table = nullptr;
  CGraphicalInputChild* child = nullptr;
  CFreqInputWnd* wnd = nullptr;
};

TEST_F(GraphicalEntryTest, DragWritesOnlyTheFramesUnderTheReportedPositions) {
  EXPECT_EQ(child->windowTitle(), QStringLiteral("Vandr1::Graphical Data Entry"));
  choose(1011);  // F1
  EXPECT_EQ(doc().drawing().selected, vandrel::DrawTrack::kF1);
  EXPECT_EQ(wnd->displayMode(), 3);

  const vandrel::DrawingLayout& l = wnd->layout();
  const vandrel::PixelBox f = l.stripOf(vandrel::Strip::kFormants);
  const vandrel::FrameTable before = doc().table();
  const int frames = before.columns();
  const auto xOf = [&](int column) { return l.area.left + (2 * column + 1) * l.area.width / (2 * frames); };
  const QPoint a(xOf(2), f.top + f.height / 4), b(xOf(9), f.top + f.height / 2);
  press(QPoint(xOf(1), f.top + 10));  // the press alone writes nothing
  move(a);
  move(b);
  move(QPoint(xOf(12), f.top + 5), Qt::ShiftModifier);
  move(QPoint(xOf(13), f.top + 5), Qt::ControlModifier);
  move(QPoint(xOf(14), l.stripOf(vandrel::Strip::kF0).top + 5));  // f1 over the f0 strip
  release(b);

  // By hand: a point at a column's middle is that column; its height above
  // the strip's bottom is its share of the strip's range.
  const auto valueAt = [&](const QPoint& p) {
    return (f.bottom() - p.y()) * l.rangeOf(vandrel::Strip::kFormants) / f.height;
  };
  vandrel::FrameTable want = before;
  want.setValue(vandrel::kF1, 2, valueAt(a));
  want.setValue(vandrel::kF1, 9, valueAt(b));
  EXPECT_EQ(doc().table(), want);
  EXPECT_TRUE(doc().changedSinceSynthesis());

  frame->runCommand(ID_EDIT_UNDO);  // the whole stroke is one step
  EXPECT_EQ(doc().table(), before);

  // A new display maximum in the pitch options: the f0 strip's scale follows.
  frame->environment().config.pitch.displayHighHz = 300;
  wnd->grab();  // a paint
  EXPECT_EQ(l.rangeOf(vandrel::Strip::kF0), 300);

  // A colour button stores the colour in the document.
  CGraphicalInput::chooseColor = [](const QColor&, QWidget*) { return QColor(10, 20, 30); };
  child->panel()->control(CGraphicalInput::kF1Color + 2)->click();  // "F3-color"
  CGraphicalInput::chooseColor = [](const QColor&, QWidget*) { return QColor(); };
  child->panel()->control(CGraphicalInput::kF0Color)->click();  // cancelled
  EXPECT_EQ(doc().drawing().color(vandrel::DrawTrack::kF3), vandrel::rgb(10, 20, 30));
  EXPECT_EQ(doc().drawing().color(vandrel::DrawTrack::kF0), vandrel::DrawingChoice::defaultColors()[0]);
  EXPECT_EQ(child->panel()->control(CGraphicalInput::kF0Color)->text(), QStringLiteral("F0-color"));

  // The table's keys work in this window (Play Current on its document), and
  // Ctrl+F in the table brings the one window of the document forward.
  OpenDocument* played = nullptr;
  frame->router().setHandler(ID_PLAY_CURRENT, [&](CommandContext& ctx) { played = ctx.document; });
  ASSERT_TRUE(QTest::qWaitForWindowActive(frame.get()));
  frame->mdiArea()->setActiveSubWindow(child);
  wnd->setFocus();
  QTest::keyClick(QApplication::focusWidget(), Qt::Key_1, Qt::ControlModifier);
  EXPECT_EQ(played, &table->document());
  frame->mdiArea()->setActiveSubWindow(table);
  table->widget()->setFocus();
  QTest::keyClick(QApplication::focusWidget(), Qt::Key_F, Qt::ControlModifier);
  EXPECT_EQ(frame->mdiArea()->activeSubWindow(), child);
  EXPECT_EQ(frame->mdiArea()->subWindowList().size(), 2);
}

// A vowel synthesized from known values, then opened as the recording:
// Enter All Data brings the values back within 5%.
// Its f0 glides from 80 to 240 Hz, so that a track entered a little early or
// late shows as a bias of the entered f0.
TEST_F(GraphicalEntryTest, EnterAllDataCopiesASynthesizedVowelsTracks) {
  const std::array<int, 6> made = {1200, 700, 1220, 2600, 3300, 4200};  // f0 in tenths of a hertz, f1 .. f5
  const std::array<int, 6> rows = {vandrel::kF0, vandrel::kF1, vandrel::kF2,
                                   vandrel::kF3, vandrel::kF4, vandrel::kF5};
  const auto f0At = [](int c) { return 800 + c * 1600 / 59; };
  doc().newTable(60, 10);
  for (std::size_t k = 0; k < rows.size(); ++k)
    for (int c = 0; c < 60; ++c)
      vandrel::EditTransaction(doc()).setValue(rows[k], c, k == 0 ? f0At(c) : made[k]);
  doc().markEdited();
  vandrel::ensureSynthesized(doc());
  doc().attachAudio(doc().synthesized());
  doc().replaceTable(vandrel::FrameTable(60, doc().params()));
  doc().notifyStructureChanged();

  QAbstractButton* enter = child->panel()->control(CGraphicalInput::kEnterAllData);
  enter->click();
  EXPECT_EQ(messages, std::vector<QString>{QString::fromLatin1(vandrel::kFormantTrackingOffMessage)});

  frame->environment().config.spectrogram.displayFormants = 1;
  enter->click();
  EXPECT_EQ(messages.size(), 1u);
  double bias = 0.0;
  for (std::size_t k = 0; k < rows.size(); ++k)
    for (int c = 15; c < 45; ++c) {  // the middle half, away from onset and end
      SCOPED_TRACE(testing::Message() << "row " << rows[k] << " frame " << c);
      const int want = k == 0 ? f0At(c) : made[k];
      if (k == 0) bias += (doc().table().value(rows[k], c) - want) / 30.0;
      EXPECT_NEAR(doc().table().value(rows[k], c), want, 0.05 * want);
    }
  // The glide rises 2.7 tenths a millisecond: tracks entered half a pitch
  // window (17.5 ms) late or early would be 47 tenths too low or too high.
  // The tracker itself reads about 15 tenths high on this glide.
  EXPECT_GT(bias, -15.0);
  EXPECT_LT(bias, 40.0);
  EXPECT_TRUE(child->panel()->recordingBox()->isChecked());
  EXPECT_TRUE(QTest::qWaitFor([&] { return !wnd->backgroundBusy() && wnd->hasBackground(); }, 10000));
  frame->runCommand(ID_EDIT_UNDO);
  EXPECT_EQ(doc().table().value(vandrel::kF1, 30), doc().params().at(vandrel::kF1).defaultValue);
}

}  // namespace
}  // namespace vandrel::ui::test
