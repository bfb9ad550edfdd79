// Analysis > "Copy Synthesis from Audio File" through the real menu action: a
// synthesized token of known pitch and F1 copied into a table of its own
// interval, Cancel leaving everything as it was, and one Undo taking the
// whole copy back.

#include <QAction>
#include <QApplication>
#include <QDialogButtonBox>
#include <QPushButton>
#include <QStatusBar>
#include <QTimer>

#include <algorithm>

#include "../app/ShellFixture.h"
#include "app/CMainFrame.h"
#include "app/CommandIds.h"
#include "copy/CopyCommand.h"
#include "editing/EditTransaction.h"
#include "engine/Synthesizer.h"

namespace vandrel::ui::test {
namespace {

class CopyCommandTest : public ShellFixture {};

// Clicks Cancel in the copy's window as soon as it shows.
void cancelWhenShown() {
  QTimer::singleShot(0, [] {
    QWidget* w = QApplication::activeModalWidget();
    ASSERT_NE(w, nullptr);
    auto* box = w->findChild<QDialogButtonBox*>();
    ASSERT_NE(box, nullptr);
    box->button(QDialogButtonBox::Cancel)->click();
  });
}

TEST_F(CopyCommandTest, CopiesAtTheTablesIntervalCancelsAndUndoesAsOneStep) {
  // 600 ms at 120 Hz, F1 gliding 400 -> 700 Hz.
  vandrel::CVandrelDoc src;
  src.newTable(60, 10);
  for (int c = 0; c < 60; ++c) {
    vandrel::EditTransaction(src).setValue(vandrel::kF0, c, 1200);
    vandrel::EditTransaction(src).setValue(vandrel::kF1, c, 400 + 5 * c);
  }
  vandrel::KlattState state;
  state.reset(1);
  ASSERT_TRUE(vandrel::synthesize(src, {}, state));

  CMainFrame frame(environment());
  installCopyCommands(frame.router());
  frame.resize(1200, 800);
  frame.show();
  frame.newDocument();
  vandrel::CVandrelDoc& doc = frame.activeDocument()->doc();
  frame.updateCommandStates();
  EXPECT_FALSE(frame.action(ID_ANALYSIS_COPY_SYNTHESIS)->isEnabled());  // no recording yet
  // kept by the copy
  doc.changeParams([&](vandrel::ParameterSet& ps) { ps.intervalMs = 5; });
  doc.attachAudio(src.synthesized());
  frame.updateCommandStates();
  ASSERT_TRUE(frame.action(ID_ANALYSIS_COPY_SYNTHESIS)->isEnabled());
  ASSERT_EQ(doc.table().columns(), 120);
  const vandrel::FrameTable before = doc.table();

  cancelWhenShown();
  frame.action(ID_ANALYSIS_COPY_SYNTHESIS)->trigger();
  EXPECT_EQ(doc.table(), before);
  EXPECT_FALSE(doc.modified());

  frame.action(ID_ANALYSIS_COPY_SYNTHESIS)->trigger();
  EXPECT_TRUE(doc.modified());
  EXPECT_EQ(doc.params().intervalMs, 5);
  ASSERT_EQ(doc.table().columns(), 120);
  EXPECT_NEAR(doc.table().value(vandrel::kF0, 60), 1200, 30);
  EXPECT_NEAR(doc.table().value(vandrel::kF1, 60), 550, 40);  // the middle of the glide
  for (const int row : {vandrel::kF0, vandrel::kF1, vandrel::kAv}) {
    int anchors = 0;
    for (int c = 0; c < 120; ++c) anchors += doc.table().anchor(row, c) ? 1 : 0;
    EXPECT_GE(anchors, 2) << row;
    EXPECT_LE(anchors, 120 * 35 / 100) << row;
  }
  EXPECT_TRUE(frame.statusBar()->currentMessage().startsWith(QStringLiteral("copy ")))
      << frame.statusBar()->currentMessage().toStdString();
  // Cut short by the bar's fields in a narrow window, the report is whole in
  // the bar's tooltip until the next message.
  EXPECT_EQ(frame.statusBar()->toolTip(), frame.statusBar()->currentMessage());
  frame.showStatus(QStringLiteral("Ready"));
  EXPECT_TRUE(frame.statusBar()->toolTip().isEmpty());

  // One step takes every value back (the history keeps values, not anchor flags).
  frame.runCommand(ID_EDIT_UNDO);
  for (int row = 0; row < vandrel::kParamCount; ++row)
    EXPECT_TRUE(std::equal(doc.table().row(row), doc.table().row(row) + 120, before.row(row))) << row;
}

}  // namespace
}  // namespace vandrel::ui::test
