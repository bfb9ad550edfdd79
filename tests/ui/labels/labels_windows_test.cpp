// Labels in the windows, through the real widgets and menu commands: a table
// opens with its TextGrid; the table's label strip and the spectrogram's and
// the drawing window's tiers choose an interval (its span and its frames) for
// every window; typing a label and dragging a boundary are undo steps; Save
// keeps the labels beside the table; File > "Open Labels..." refuses a broken
// file by line; tiled, the drawing window still shows its tiers.

#include <QHeaderView>
#include <QLineEdit>
#include <QMdiArea>
#include <QPrinter>
#include <QProcess>
#include <QScrollBar>
#include <QStandardPaths>
#include <QTest>

#include "../app/ShellFixture.h"
#include "common/Workspace.h"
#include "document/VdrFile.h"
#include "entry/CGraphicalInputChild.h"
#include "labels/DocumentLabels.h"
#include "labels/TextGrid.h"
#include "table/CVandrelView.h"
#include "table/MyCug.h"
#include "table/TableCommands.h"
#include "table/TableLabelStrip.h"
#include "util/AtomicFile.h"
#include "views/common/LabelTiersPane.h"
#include "views/common/TimeAxis.h"
#include "views/spectrogram/CSpectrogramFrame.h"
#include "views/spectrogram/CSpectrogramView.h"
#include "views/spectrogram/SpectrogramCanvas.h"
#include "views/spectrogram/SpectrogramCommands.h"

namespace vandrel::ui::test {
namespace {

class LabelsWindowsTest : public FrameFixture {
 protected:
  void SetUp() override {
    FrameFixture::SetUp();
    installTableCommands(frame->router());
    installSpectrogramCommands(frame->router());
  }
  // files/ba.vdr, 30 frames of 10 ms, with /b/ over the first 100 ms and
  // /a/ over the rest in ba.TextGrid beside it.
  QString writeToken() {
    vandrel::CVandrelDoc d;
    d.newTable(30, 10);
    const QString vdr = path(QStringLiteral("files/ba.vdr"));
    EXPECT_EQ(vandrel::saveVdrFile(vdr.toStdString(), d, vandrel::VdrKind::kAllParameters), "");
    vandrel::Labels g;
    vandrel::addTier(g, "phones", false, 0.0, 0.3);
    vandrel::addBoundary(g, 0, 0.1);
    vandrel::setLabelText(g, 0, 0, "b");
    vandrel::setLabelText(g, 0, 1, "a");
    EXPECT_EQ(vandrel::saveTextGridFile(path(QStringLiteral("files/ba.TextGrid")).toStdString(), g), "");
    return vdr;
  }
  const vandrel::LabelTier& tier() { return vandrel::documentLabels(doc()).tiers.at(0); }
};

TEST_F(LabelsWindowsTest, AClickedIntervalIsChosenInEveryWindowAndEditsAreUndoSteps) {
  ASSERT_TRUE(frame->openFile(writeToken()));
  auto* view =
      qobject_cast<CVandrelView*>(qobject_cast<CChildFrame*>(frame->mdiArea()->activeSubWindow())->widget());
  ASSERT_NE(view, nullptr);
  EXPECT_EQ(tier().intervals.size(), 2u);

  // The table's strip: a click over frame 5 chooses /b/, frames 0..9.
  auto* strip = view->findChild<TableLabelStrip*>();
  ASSERT_NE(strip, nullptr);
  ASSERT_TRUE(strip->isVisible());
  QTableView* grid = view->grid();
  const int x =
      grid->viewport()->geometry().left() + grid->horizontalHeader()->sectionViewportPosition(5) + 2;
  QTest::mouseClick(strip, Qt::LeftButton, {}, QPoint(x, TableLabelStrip::kLineHeight / 2));
  Workspace& cursor = Workspace::of(*frame->activeDocument());
  ASSERT_TRUE(cursor.selection());
  EXPECT_EQ(*cursor.selection(), (TimeRange{0, 100}));
  EXPECT_EQ(view->selection().startColumn, 0);
  EXPECT_EQ(view->selection().endColumn, 9);

  // The spectrogram's tiers: a double click types /aː/ for /a/, one undo
  // step; a drag moves the boundary, another.
  frame->runCommand(ID_ANALYSIS_SPECTRO_SYNTH);
  auto* spectrogram = qobject_cast<CSpectrogramFrame*>(frame->mdiArea()->activeSubWindow());
  ASSERT_NE(spectrogram, nullptr);
  auto* pane = spectrogram->findChild<LabelTiersPane*>();
  ASSERT_NE(pane, nullptr);
  ASSERT_TRUE(QTest::qWaitForWindowExposed(pane));
  const TimeAxis& axis = spectrogram->view()->canvas()->axis();
  const int y = pane->tierRect(0).center().y();
  const auto at = [&](double ms) { return QPoint(static_cast<int>(axis.xOf(ms)), y); };
  // A click on /a/ there chooses it in the table too: frames 10..29.
  QTest::mouseClick(pane, Qt::LeftButton, {}, at(200));
  EXPECT_EQ(*cursor.selection(), (TimeRange{100, 300}));
  EXPECT_EQ(view->selection().startColumn, 10);
  EXPECT_EQ(view->selection().endColumn, 29);
  QTest::mouseDClick(pane, Qt::LeftButton, {}, at(200));
  auto* editor = pane->findChild<QLineEdit*>(QStringLiteral("labelEditor"));
  ASSERT_NE(editor, nullptr);
  EXPECT_EQ(editor->text(), QStringLiteral("a"));
  editor->setText(QStringLiteral("aː"));
  QTest::keyClick(editor, Qt::Key_Return);
  EXPECT_EQ(tier().intervals[1].text, "aː");
  EXPECT_TRUE(doc().modified());

  QTest::mousePress(pane, Qt::LeftButton, {}, at(100));
  QTest::mouseMove(pane, at(150));
  QTest::mouseRelease(pane, Qt::LeftButton, {}, at(150));
  EXPECT_NEAR(tier().intervals[1].start, 0.150, 0.002);
  frame->runCommand(ID_EDIT_UNDO);
  EXPECT_DOUBLE_EQ(tier().intervals[1].start, 0.1);
  EXPECT_EQ(tier().intervals[1].text, "aː");
  frame->runCommand(ID_EDIT_UNDO);
  EXPECT_EQ(tier().intervals[1].text, "a");
  frame->runCommand(ID_EDIT_REDO);

  // The printed page (the selected /a/) draws the tiers as the screen does.
  if (!QStandardPaths::findExecutable(QStringLiteral("pdftotext")).isEmpty()) {
    const QString pdf = path(QStringLiteral("files/page.pdf"));
    QPrinter printer;
    printer.setOutputFormat(QPrinter::PdfFormat);
    printer.setOutputFileName(pdf);
    spectrogram->view()->printTo(printer, QStringLiteral("ba"));
    QProcess text;
    text.start(QStringLiteral("pdftotext"), {pdf, QStringLiteral("-")});
    ASSERT_TRUE(text.waitForFinished());
    const QString page = QString::fromUtf8(text.readAllStandardOutput());
    EXPECT_TRUE(page.contains(QStringLiteral("phones")) && page.contains(QStringLiteral("aː")))
        << page.toStdString();
  }

  // Save writes the labels beside the table; opening it again reads them.
  frame->runCommand(ID_FILE_SAVE);
  const vandrel::TextGridRead saved =
      vandrel::readTextGridFile(path(QStringLiteral("files/ba.TextGrid")).toStdString());
  ASSERT_TRUE(saved.ok()) << saved.message;
  EXPECT_EQ(saved.labels.tiers.at(0).intervals[1].text, "aː");
}

TEST_F(LabelsWindowsTest, OpenLabelsRefusesABrokenFileByLineAndTheDrawingWindowShowsTheTiers) {
  const QString broken = path(QStringLiteral("files/broken.TextGrid"));
  ASSERT_EQ(vandrel::writeFileAtomically(broken.toStdString(),
                                         "File type = \"ooTextFile\"\n\"TextGrid\"\n0 0.2 <exists> 1\n"
                                         "\"IntervalTier\" \"p\" 0 0.2 2\n0 0.1 \"\"\n0.05 0.2 \"\"\n"),
            "");
  nextFile = broken;
  frame->runCommand(ID_FILE_OPEN_LABELS);
  ASSERT_FALSE(messages.empty());
  EXPECT_EQ(messages.back(), broken + QStringLiteral(", line 6: interval 2 starts before interval 1 ends"));
  EXPECT_FALSE(doc().labels());

  nextFile = path(QStringLiteral("files/ba.TextGrid"));
  writeToken();
  frame->runCommand(ID_FILE_OPEN_LABELS);
  ASSERT_TRUE(doc().labels());
  EXPECT_TRUE(doc().modified());

  // Tiled with two tables, the drawing window's tiers stay inside the area.
  frame->runCommand(ID_WINDOW_NEW);
  frame->mdiArea()->setActiveSubWindow(window);
  frame->runCommand(ID_ENTRY_GRAPHICAL);
  auto* drawing = qobject_cast<CGraphicalInputChild*>(frame->mdiArea()->activeSubWindow());
  ASSERT_NE(drawing, nullptr);
  auto* pane = drawing->findChild<LabelTiersPane*>();
  ASSERT_NE(pane, nullptr);
  ASSERT_TRUE(QTest::qWaitForWindowExposed(pane));
  frame->runCommand(ID_WINDOW_TILE_HORZ);
  QApplication::processEvents();
  QWidget* area = frame->mdiArea()->viewport();
  EXPECT_LE(pane->mapTo(area, pane->rect().bottomLeft()).y(), area->height());
  // The table narrowed and scrolled to its end, where /b/'s frames are out of view.
  auto* view = qobject_cast<CVandrelView*>(window->widget());
  window->resize(300, 400);
  QApplication::processEvents();
  view->grid()->horizontalScrollBar()->setValue(view->grid()->horizontalScrollBar()->maximum());
  ASSERT_GT(view->grid()->columnAt(0), 9);

  // The default table lasts 200 ms; the tier's /b/ its first half. A click
  // a quarter of the way across the drawing area chooses it, and its
  // frames in the table, brought into view.
  QTest::mouseClick(pane, Qt::LeftButton, {}, QPoint(pane->width() / 4, pane->tierRect(0).center().y()));
  ASSERT_TRUE(Workspace::of(*frame->activeDocument()).selection());
  EXPECT_EQ(*Workspace::of(*frame->activeDocument()).selection(), (TimeRange{0, 100}));
  EXPECT_EQ(view->selection().startColumn, 0);
  EXPECT_EQ(view->selection().endColumn, 9);
  EXPECT_EQ(view->grid()->columnAt(0), 0);
}

}  // namespace
}  // namespace vandrel::ui::test
