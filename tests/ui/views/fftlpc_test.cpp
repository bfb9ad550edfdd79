// The FFT/LPC window and its option dialog, driven through the main frame's
// commands and the real widgets.

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QMdiArea>
#include <QPrinter>
#include <QPushButton>
#include <QRadioButton>
#include <QSlider>
#include <QSpinBox>
#include <QTest>
#include <QTimer>

#include <cmath>

#include "../app/ShellFixture.h"
#include "common/Workspace.h"
#include "config/ConfigFile.h"
#include "editing/EditTransaction.h"
#include "engine/KlattState.h"
#include "engine/Synthesizer.h"
#include "views/fftlpc/CFormFFTLPCChild.h"
#include "views/fftlpc/COptionFFTLPCDialog.h"
#include "views/fftlpc/FftLpcCommands.h"
#include "views/fftlpc/FftLpcView.h"

namespace vandrel::ui::test {
namespace {

class FftLpcTest : public FrameFixture {
 protected:
  void SetUp() override {
    FrameFixture::SetUp();
    installFftLpcCommands(frame->router());  // whatever the linker kept of the static installers
    document = frame->activeDocument();
  }

  // A steady vowel in every column of the table.
  void setVowel(double f1, double f2, double f3) {
    CVandrelDoc& doc = document->doc();
    for (int c = 0; c < doc.table().columns(); ++c) {
      vandrel::EditTransaction(doc).setValue(kF1, c, f1);
      vandrel::EditTransaction(doc).setValue(kF2, c, f2);
      vandrel::EditTransaction(doc).setValue(kF3, c, f3);
    }
    doc.markEdited();
    doc.notifyStructureChanged();
  }

  FftLpcView* openView() {
    frame->runCommand(ID_ANALYSIS_FFT_LPC);
    auto* child = qobject_cast<CFormFFTLPCChild*>(frame->mdiArea()->activeSubWindow());
    return child ? child->view() : nullptr;
  }

  OpenDocument* document = nullptr;
};

TEST_F(FftLpcTest, VowelSliceMeterAndStripFollowTheTable) {
  setVowel(700, 1200, 2500);
  FftLpcView* view = openView();
  ASSERT_NE(view, nullptr);
  EXPECT_EQ(frame->mdiArea()->activeSubWindow()->windowTitle(), QStringLiteral("Vandr1::FFT/LPC"));
  EXPECT_TRUE(frame->showsDocumentMenus());  // the document's commands stay at hand
  EXPECT_TRUE(frame->action(ID_EDIT_UNDO)->isEnabled());
  EXPECT_EQ(frame->activeDocument(), document);

  view->setTimeMs(100);
  ASSERT_TRUE(QTest::qWaitFor([&] { return view->copySlice().formants.size() >= 3; }, 5000));
  EXPECT_TRUE(document->doc().changedSinceSynthesis());  // the view synthesized the table for itself
  const auto& formants = view->copySlice().formants;
  ASSERT_GE(formants.size(), 3u);
  const double table[] = {700, 1200, 2500};
  for (std::size_t i = 0; i < 3; ++i) EXPECT_NEAR(formants[i].frequency, table[i], 0.05 * table[i]) << i;
  EXPECT_FALSE(view->meter().valid);  // nothing natural to measure against

  // The copy against itself: 0 dB everywhere, slice and strip.
  ASSERT_TRUE(vandrel::ensureSynthesized(document->doc()));
  document->doc().attachAudio(document->doc().synthesized());
  const FitMeter& same = view->meter();
  ASSERT_TRUE(same.valid);
  EXPECT_EQ(same.distanceDb, 0.0);
  EXPECT_GE(same.peaks, 3);
  for (int j = 0; j < same.peaks; ++j) EXPECT_EQ(same.peakDiffDb[static_cast<std::size_t>(j)], 0.0);
  view->finishTrack();
  ASSERT_NE(view->track(), nullptr);
  EXPECT_GT(view->track()->db.size(), 10u);
  EXPECT_EQ(view->track()->maxDb(), 0.0);

  // f2 up by 300 Hz in the table: the view synthesizes the copy for itself
  // (the document stays due for synthesis) and the meter names F2.
  setVowel(700, 1500, 2500);
  ASSERT_TRUE(QTest::qWaitFor([&] { return view->meter().worstPeak == 1; }, 5000));
  EXPECT_TRUE(document->doc().changedSinceSynthesis());
  EXPECT_GT(view->meter().distanceDb, 1.0);
  view->finishTrack();
  EXPECT_GT(view->track()->maxDb(), 1.0);

  // The slider and a click on the strip move the time; a drag averages.
  view->timeSlider()->setValue(150);
  EXPECT_EQ(view->timeMs(), 150.0);
  QTest::keyClick(view->canvas(), Qt::Key_Right);
  EXPECT_EQ(view->timeMs(), 160.0);
  view->resize(900, 600);
  const QRectF strip = view->layout().strip;
  QTest::mouseClick(view->canvas(), Qt::LeftButton, {},
                    QPointF(strip.left() + strip.width() / 4, strip.center().y()).toPoint());
  EXPECT_NEAR(view->timeMs(), 50.0, 3.0);
  EXPECT_EQ(view->timeSlider()->value(), std::lround(view->timeMs()));
  const auto at = [&](double ms) {
    return QPointF(strip.left() + strip.width() * ms / 200.0, strip.center().y()).toPoint();
  };
  QTest::mousePress(view->canvas(), Qt::LeftButton, {}, at(20));
  QTest::mouseMove(view->canvas(), at(180));
  EXPECT_EQ(view->copySlice().frames, 1);  // averaged on release
  QTest::mouseRelease(view->canvas(), Qt::LeftButton, {}, at(180));
  EXPECT_NEAR(view->copySlice().frames, 17, 1);  // every 10 ms
  EXPECT_EQ(view->meter().worstPeak, 1);
  // The slider shows the range's start, and moving it goes back to one time.
  EXPECT_NEAR(view->timeSlider()->value(), 20, 3);
  view->timeSlider()->setValue(120);
  EXPECT_FALSE(Workspace::of(*document).selection());
  EXPECT_EQ(view->copySlice().frames, 1);

  // Closing the document closes its analysis too.
  QPointer<QMdiSubWindow> analysis = frame->mdiArea()->activeSubWindow();
  document->setModified(false);
  frame->childFrames().first()->close();
  EXPECT_TRUE(QTest::qWaitFor([&] {
    QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    return analysis.isNull();
  }));
}

// Edits with the window open leave the document's sound as they would
// without it: the buffer Play Previous plays, and the noise of the next
// synthesis, are the same.
TEST_F(FftLpcTest, TheWindowNeverSynthesizesIntoTheDocument) {
  const KlattState noiseAtStart = processKlattState();
  int saves = 0;
  const auto synthesize = [&] {
    nextFile = path(QStringLiteral("files/copy%1.wav").arg(++saves));
    frame->runCommand(ID_FILE_SAVE_AUDIO);
  };
  const auto session = [&](bool withWindow) {
    processKlattState() = noiseAtStart;
    document->doc().initialise();
    for (int c = 0; c < document->doc().table().columns(); ++c)
      vandrel::EditTransaction(document->doc()).setValue(kAh, c, 50);
    setVowel(700, 1200, 2500);
    synthesize();
    if (withWindow) {
      FftLpcView* view = openView();
      EXPECT_NE(view, nullptr);
      setVowel(700, 1500, 2500);
      QTest::qWait(400);
      view->finishTrack();
      EXPECT_NEAR(view->copySlice().formants.at(1).frequency, 1500, 75);  // the edit is shown
    }
    setVowel(700, 1800, 2500);
    QTest::qWait(400);
    synthesize();
    const auto sounds =
        std::make_pair(document->doc().previous().samples, document->doc().synthesized().samples);
    for (QMdiSubWindow* w : frame->mdiArea()->subWindowList())
      if (qobject_cast<CFormFFTLPCChild*>(w)) delete w;
    return sounds;
  };
  const auto without = session(false);
  const auto with = session(true);
  ASSERT_FALSE(without.first.empty());
  EXPECT_TRUE(with.first == without.first);
  EXPECT_TRUE(with.second == without.second);
  EXPECT_FALSE(with.first == with.second);
}

TEST_F(FftLpcTest, PicturesAndPrintoutAtTheOptionsSize) {
  FftLpcView* view = openView();
  ASSERT_NE(view, nullptr);
  EXPECT_EQ(view->picture().size(), QSize(900, 600));  // 6 x 4 inches at 150 dpi
  QPrinter printer(QPrinter::HighResolution);
  printer.setOutputFormat(QPrinter::PdfFormat);
  printer.setOutputFileName(path(QStringLiteral("files/fftlpc-print.pdf")));
  view->printTo(printer, QStringLiteral("Vandr1"));
  EXPECT_GT(QFile(printer.outputFileName()).size(), 1000);

  // "Save As bmp..." writes the type the name asks for (bitmaps are the
  // table's test; they share the code); this window also offers drawings.
  for (const auto& [name, expected] : {std::pair{"view.svg", "<svg"}, std::pair{"view.pdf", "%PDF"}}) {
    SCOPED_TRACE(name);
    nextFile = path(QStringLiteral("files/")) + QLatin1String(name);
    frame->runCommand(ID_FILE_SAVE_BMP);
    QFile f(nextFile);
    ASSERT_TRUE(f.open(QIODevice::ReadOnly));
    EXPECT_TRUE(f.read(200).contains(expected));
  }
  EXPECT_TRUE(asked.back().endsWith(QStringLiteral("SVG drawing (*.svg);;PDF document (*.pdf)")));
  EXPECT_TRUE(messages.empty());
}

// The rules behind Default size are the option record's; the dialog must
// show them at the view's rate.
class FftLpcDialogTest : public ShellFixture {};

TEST_F(FftLpcDialogTest, DefaultsLabelsRulesAndRangeCheck) {
  COptionFFTLPC record(22050.0);
  record.lpcCoefficients = 30;
  record.absolute = false;
  record.frequencyGrid = false;
  COptionFFTLPCDialog dialog(record);
  EXPECT_EQ(dialog.windowTitle(), QStringLiteral("FFT/LPC Option"));
  QStringList texts;
  for (auto* l : dialog.findChildren<QLabel*>()) texts << l->text();
  for (auto* b : dialog.findChildren<QAbstractButton*>()) texts << b->text();
  for (const char* t :
       {"Bandwidth (Window Length ) =", "Applied window length (ms)  = ", "Frequency range (Hz) = ",
        "Average step size (ms) = ", "LPC number of coefficients = ", "Draw LPC",
        "Absolute  (dB)  = ", "Relative ", "Width  = ", "Height =", "inches", "cm", "Color", "Black / White",
        "Add Frequency grid with spacing (Hz) = ", "Add Power grid with spacing (dB)       = ",
        "Default size"})
    EXPECT_TRUE(texts.contains(QString::fromLatin1(t))) << t;
  auto* size = dialog.findChild<QComboBox*>(QStringLiteral("size"));

  // Enabling follows the boxes, before and after "Default size".
  auto* absoluteDb = dialog.findChild<QSpinBox*>(QStringLiteral("absoluteDb"));
  auto* gridHz = dialog.findChild<QSpinBox*>(QStringLiteral("frequencyGridHz"));
  EXPECT_FALSE(absoluteDb->isEnabled());
  EXPECT_FALSE(gridHz->isEnabled());
  EXPECT_TRUE(dialog.findChild<QSpinBox*>(QStringLiteral("powerGridDb"))->isEnabled());
  dialog.findChild<QPushButton*>(QStringLiteral("defaults"))->click();
  EXPECT_TRUE(absoluteDb->isEnabled());
  EXPECT_TRUE(gridHz->isEnabled());
  EXPECT_EQ(dialog.findChild<QSpinBox*>(QStringLiteral("frequencyRange"))->value(), 11000);  // at 22050 Hz
  auto* lpc = dialog.findChild<QLineEdit*>(QStringLiteral("lpcCoefficients"));
  EXPECT_EQ(lpc->text(), QStringLiteral("26"));
  dialog.findChild<QCheckBox*>(QStringLiteral("powerGrid"))->click();
  EXPECT_FALSE(dialog.findChild<QSpinBox*>(QStringLiteral("powerGridDb"))->isEnabled());

  // Out of range or no number: refused and the dialog stays; 100 is taken.
  dialog.show();
  for (const char* bad : {"101", "x"}) {
    messages.clear();
    lpc->setText(QString::fromLatin1(bad));
    dialog.accept();
    EXPECT_EQ(dialog.result(), QDialog::Rejected) << bad;
    ASSERT_EQ(messages.size(), 1u) << bad;
    EXPECT_EQ(messages[0], QStringLiteral("Please enter an integer between 4 and 100."));
  }
  lpc->setText(QStringLiteral("100"));
  size->setCurrentIndex(8);
  dialog.accept();
  EXPECT_EQ(dialog.result(), QDialog::Accepted);
  EXPECT_EQ(dialog.record().lpcCoefficients, 100);
  EXPECT_EQ(dialog.record().points, 8192);
  EXPECT_FALSE(dialog.record().powerGrid);
}

TEST_F(FftLpcTest, OptionsMenuKeepsOkAndDropsCancel) {
  for (const bool ok : {false, true}) {
    SCOPED_TRACE(ok);
    QTimer::singleShot(0, [ok] {
      auto* dialog = qobject_cast<COptionFFTLPCDialog*>(QApplication::activeModalWidget());
      ASSERT_NE(dialog, nullptr);
      dialog->findChild<QLineEdit*>(QStringLiteral("lpcCoefficients"))->setText(QStringLiteral("40"));
      ok ? dialog->accept() : dialog->reject();
    });
    frame->runCommand(ID_OPTIONS_FFT_LPC);
    ConfigRecord stored = ConfigRecord::defaults();
    EXPECT_EQ(loadConfigFile(environment().configPath().toStdString(), stored) == ConfigStatus::kOk, ok);
    EXPECT_EQ(frame->environment().config.fftLpc.lpcCoefficients, ok ? 40 : 14);
  }
}

}  // namespace
}  // namespace vandrel::ui::test
