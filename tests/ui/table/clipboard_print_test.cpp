// Cut, Copy and Paste on the table, File > Print, Print Preview and the two
// "Save As bmp" commands, through the real keys and menu actions; the printer
// writes a PDF file that pdftotext reads back.

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QFile>
#include <QImageReader>
#include <QPointer>
#include <QPrintPreviewDialog>
#include <QPrintPreviewWidget>
#include <QPrinter>
#include <QProcess>
#include <QScreen>
#include <QStandardPaths>
#include <QStatusBar>
#include <QTest>

#include "../app/ShellFixture.h"
#include "editing/EditTransaction.h"
#include "print/PrintCommands.h"
#include "table/CVandrelView.h"
#include "table/MyCug.h"
#include "table/TablePrintout.h"

namespace vandrel::ui::test {
namespace {

class ClipboardPrintTest : public FrameFixture {
 protected:
  void SetUp() override {
    FrameFixture::SetUp();
    view = qobject_cast<CVandrelView*>(window->view());
    ASSERT_NE(view, nullptr);
    QApplication::processEvents();
  }
  void TearDown() override {
    FrameFixture::TearDown();
    setPrintDialogRunner({});
  }

  // A table of `columns` frames with a fraction, an anchor and a hidden row.
  void shapeTable(int columns) {
    doc().newTable(columns, doc().params().intervalMs);
    EditTransaction(doc()).setValue(vandrel::kAv, 1, 42.25);
    EditTransaction(doc()).setAnchor(vandrel::kF1, 2, true);
    doc().notifyStructureChanged();
    QApplication::processEvents();
  }

  QPoint at(int row, int column) {
    MyCug* grid = view->table();
    return grid->visualRect(grid->model()->index(row, column)).center();
  }
  void click(int row, int column, Qt::KeyboardModifiers mods = {}) {
    QTest::mouseClick(view->table()->viewport(), Qt::LeftButton, mods, at(row, column));
  }
  void key(int k, Qt::KeyboardModifiers mods = Qt::ControlModifier) {
    QTest::keyClick(view->table(), static_cast<Qt::Key>(k), mods);
    QApplication::processEvents();
  }
  QString status() const { return frame->statusBar()->currentMessage(); }

  void trigger(int id) {
    frame->updateCommandStates();
    QAction* a = frame->action(id);
    ASSERT_TRUE(a && a->isEnabled()) << id;
    a->trigger();
    QApplication::processEvents();
  }

  // Prints through File > Print into `pdf` and returns the text of each page.
  // `from`..`to` is a page range chosen in the dialog (0: all pages).
  QStringList printToPdf(const QString& pdf, int from = 0, int to = 0) {
    setPrintDialogRunner([pdf, from, to](QPrinter& printer, QWidget*) {
      printer.setOutputFormat(QPrinter::PdfFormat);
      printer.setOutputFileName(pdf);
      printer.setPrintRange(from > 0 ? QPrinter::PageRange : QPrinter::AllPages);
      printer.setFromTo(from, to);
      return true;
    });
    trigger(ID_FILE_PRINT);
    QProcess text;
    text.start(QStringLiteral("pdftotext"), {QStringLiteral("-layout"), pdf, QStringLiteral("-")});
    text.waitForFinished(30000);
    return QString::fromUtf8(text.readAllStandardOutput()).split(QLatin1Char('\f'), Qt::SkipEmptyParts);
  }

  CVandrelView* view = nullptr;
};

// The standard keys reach the table's Copy, Cut and Paste while the grid has
// the focus; the toolbar's Paste says what it skipped.
TEST_F(ClipboardPrintTest, CopyPasteCutAndUndoThroughKeysAndToolbar) {
  using namespace vandrel;
  shapeTable(10);
  ASSERT_TRUE(QTest::qWaitForWindowActive(frame.get()));
  view->table()->setFocus();
  for (int c = 0; c < 3; ++c) EditTransaction(doc()).setValue(kF2, c, 1000 + c);
  doc().notifyCellsChanged(CellRange{kF2, kF2, 0, 2});
  click(kF1, 2);  // from f1 at 30 ms back up to f2 at 10 ms
  click(kF2, 0, Qt::ShiftModifier);
  key(Qt::Key_C);
  EXPECT_EQ(QGuiApplication::clipboard()->text(), QStringLiteral("1000\t1001\t1002\n500\t500\t500\n"));
  EXPECT_EQ(status(), QStringLiteral("Copied 6 cells (2 rows)"));

  click(kF2, 6);
  key(Qt::Key_V);
  EXPECT_EQ(doc().table().value(kF2, 8), 1002);
  EXPECT_EQ(doc().table().value(kF1, 6), 500);
  EXPECT_EQ(status(), QStringLiteral("Pasted 6 cells"));

  QGuiApplication::clipboard()->setText(QStringLiteral("12\tabc\t40"));
  click(kAv, 1);
  trigger(ID_EDIT_PASTE);
  EXPECT_EQ(doc().table().value(kAv, 1), 12);
  EXPECT_EQ(doc().table().value(kAv, 3), 40);
  EXPECT_EQ(status(), QStringLiteral("Pasted 2 cells; skipped 1 that were not numbers"));

  click(kF2, 0);
  key(Qt::Key_X);
  EXPECT_EQ(doc().table().value(kF2, 0), doc().params().at(kF2).defaultValue);
  EXPECT_EQ(QGuiApplication::clipboard()->text(), QStringLiteral("1000\n"));
  key(Qt::Key_Z);
  EXPECT_EQ(doc().table().value(kF2, 0), 1000);

  // While a cell is being typed into, Ctrl+V pastes into the typing.
  QGuiApplication::clipboard()->setText(QStringLiteral("23"));
  click(kAv, 5);
  key(Qt::Key_1, Qt::NoModifier);
  QWidget* editor = QApplication::focusWidget();
  ASSERT_NE(editor, view->table());
  QTest::keyClick(editor, Qt::Key_V, Qt::ControlModifier);
  QTest::keyClick(editor, Qt::Key_Return);
  ASSERT_TRUE(QTest::qWaitFor([this] { return !view->table()->isEditing(); }));
  EXPECT_EQ(doc().table().value(kAv, 5), 87);  // 123 held to av's limit
  EXPECT_EQ(doc().table().value(kAv, 6), 60);
  EXPECT_TRUE(messages.empty());
}

TEST_F(ClipboardPrintTest, PrintedPagesCarryRowNamesColumnHeadingsAndTheHeaderLine) {
  if (QStandardPaths::findExecutable(QStringLiteral("pdftotext")).isEmpty())
    GTEST_SKIP() << "pdftotext is missing (scripts/install-deps installs poppler-utils)";
  shapeTable(60);
  const QStringList pages = printToPdf(path(QStringLiteral("files/table.pdf")));
  ASSERT_GE(pages.size(), 2);  // 60 frames do not fit across one page
  for (int i = 0; i < 2; ++i) {
    SCOPED_TRACE(i);
    const QStringList words = pages[i].split(QRegularExpression(QStringLiteral("\\s+")), Qt::SkipEmptyParts);
    for (const char* shown : {"f0", "av", "f1", "b1", "a2f", "Vandr1"})
      EXPECT_TRUE(words.contains(shown)) << shown;
    EXPECT_FALSE(words.contains(QStringLiteral("f6")));  // hidden by default
    EXPECT_TRUE(pages[i].contains(QStringLiteral("Page %1 of %2").arg(i + 1).arg(pages.size())));
  }
  // Each band of columns starts with the frame after the last of the one before.
  QStringList headings;
  for (const QString& page : pages)
    for (const QString& line : page.split(QLatin1Char('\n')))
      if (line.startsWith(QStringLiteral("ms ")))
        headings += line.split(QLatin1Char(' '), Qt::SkipEmptyParts).mid(1);
  QStringList expected;
  for (int ms = 10; ms <= 600; ms += 10) expected += QString::number(ms);
  EXPECT_EQ(headings, expected);
  EXPECT_TRUE(pages[0].contains(QStringLiteral(" 42.25 ")));

  // A range chosen in the dialog prints those pages under their own numbers.
  const QStringList range = printToPdf(path(QStringLiteral("files/range.pdf")), 2, 3);
  ASSERT_EQ(range.size(), 2);
  EXPECT_EQ(range[0], pages[1]);
  EXPECT_TRUE(range[1].contains(QStringLiteral("Page 3 of %1").arg(pages.size())));
}

TEST_F(ClipboardPrintTest, PreviewShowsThePagesThePrinterWouldPrint) {
  shapeTable(60);
  trigger(ID_FILE_PRINT_PREVIEW);
  QPointer<QPrintPreviewDialog> preview;
  for (QWidget* w : QApplication::topLevelWidgets())
    if (auto* d = qobject_cast<QPrintPreviewDialog*>(w); d && d->isVisible()) preview = d;
  ASSERT_FALSE(preview.isNull());
  QPrintPreviewWidget* pages = preview->findChild<QPrintPreviewWidget*>();
  ASSERT_NE(pages, nullptr);
  EXPECT_EQ(pages->pageCount(), TablePrintout(doc(), view->shownParams()).pageCount(*preview->printer()));
  EXPECT_GE(pages->pageCount(), 2);
  // Closing the document's window takes the preview down with it.
  frame->activeChildFrame()->close();
  QTest::qWait(20);
  EXPECT_TRUE(preview.isNull());
}

TEST_F(ClipboardPrintTest, SaveAsBmpWritesTheWholeTableAsBmpOrPng) {
  shapeTable(30);
  const struct {
    const char* chosen;
    const char* written;
    const char* format;
  } cases[] = {{"files/t.bmp", "files/t.bmp", "bmp"},
               {"files/u", "files/u.bmp", "bmp"},
               {"files/v.png", "files/v.png", "png"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.chosen);
    nextFile = path(QString::fromUtf8(c.chosen));
    trigger(ID_FILE_SAVE_BMP);
    QImageReader reader(path(QString::fromUtf8(c.written)));
    EXPECT_EQ(reader.format(), QByteArray(c.format));
    EXPECT_GT(reader.size().width(), 30 * 20);  // every frame, not only those scrolled into view
    EXPECT_TRUE(frame->statusBar()->currentMessage().startsWith(QStringLiteral("Saved")));
  }
  EXPECT_EQ(asked.back(), QStringLiteral("Save As bmp|Bitmap (*.bmp);;PNG image (*.png)"));
  // A 24-bit BMP: "BM", then the bit count at offset 28.
  QFile bmp(path(QStringLiteral("files/t.bmp")));
  ASSERT_TRUE(bmp.open(QIODevice::ReadOnly));
  const QByteArray head = bmp.read(30);
  EXPECT_TRUE(head.startsWith("BM"));
  EXPECT_EQ(static_cast<int>(head[28]), 24);
  EXPECT_TRUE(messages.empty());
}

// The screen as it is; a desktop that gives no picture of it gets a message.
TEST_F(ClipboardPrintTest, SaveScreenAsBmpWritesTheScreen) {
  nextFile = path(QStringLiteral("files/screen"));
  trigger(ID_FILE_SAVE_SCREEN_BMP);
  const QImage shot(path(QStringLiteral("files/screen.bmp")), "BMP");
  if (messages.empty()) {
    EXPECT_EQ(shot.size(), frame->screen()->size() * frame->screen()->devicePixelRatio());
  } else {
    EXPECT_EQ(messages,
              std::vector<QString>{QStringLiteral("The screen could not be captured on this desktop.")});
    EXPECT_TRUE(shot.isNull());
  }
}

TEST_F(ClipboardPrintTest, AVeryLongTableIsWrappedAndCutToAPictureOfBoundedSize) {
  shapeTable(60000);
  const QImage image = TablePrintout(doc(), view->shownParams()).picture();
  EXPECT_LE(image.width(), TablePrintout::kMaxBandWidth);
  EXPECT_LE(static_cast<long long>(image.width()) * image.height(), TablePrintout::kMaxPixels);
  EXPECT_GT(image.height(), 2 * 32 * 10);  // several bands
  EXPECT_TRUE(image.text(QStringLiteral("Omitted")).endsWith(QStringLiteral(" to 600000 ms)")));
}

}  // namespace
}  // namespace vandrel::ui::test
