// The spectrogram/pitch view through the menu commands and the view object:
// the document's shared cursor, the window's place among the document's
// windows, what a synthesized vowel's analysis shows, and the two option
// dialogs.

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QImage>
#include <QLabel>
#include <QMdiArea>
#include <QPushButton>
#include <QRadioButton>
#include <QSpinBox>
#include <QTest>
#include <QTimer>

#include <algorithm>
#include <functional>

#include "../app/ShellFixture.h"
#include "common/Workspace.h"
#include "document/VandrelDoc.h"
#include "editing/EditTransaction.h"
#include "engine/Synthesizer.h"
#include "table/CVandrelView.h"
#include "table/MyCug.h"
#include "table/TableCommands.h"
#include "views/common/CAnalysisFrame.h"
#include "views/common/TimeAxis.h"
#include "views/options/COptionPitchDialog.h"
#include "views/options/COptionSpectrogramDialog.h"
#include "views/spectrogram/CSpectrogramFrame.h"
#include "views/spectrogram/CSpectrogramView.h"
#include "views/spectrogram/SpectrogramCanvas.h"
#include "views/spectrogram/SpectrogramCommands.h"

namespace vandrel::ui::test {
namespace {

double median(std::vector<double> v) {
  if (v.empty()) return 0;
  std::nth_element(v.begin(), v.begin() + static_cast<long>(v.size() / 2), v.end());
  return v[v.size() / 2];
}

class SpectrogramViewTest : public FrameFixture {
 protected:
  void SetUp() override {
    FrameFixture::SetUp();
    installTableCommands(frame->router());
    installSpectrogramCommands(frame->router());
    frame->resize(1200, 900);
    table = window;
  }

  CSpectrogramFrame* activeSpectrogram() {
    return qobject_cast<CSpectrogramFrame*>(frame->mdiArea()->activeSubWindow());
  }

  // Runs `id` and answers the modal dialog it opens with `answer`.
  template <class Dialog>
  void withDialog(int id, const std::function<void(Dialog&)>& answer) {
    bool seen = false;
    QTimer::singleShot(0, [&] {
      auto* d = qobject_cast<Dialog*>(QApplication::activeModalWidget());
      ASSERT_NE(d, nullptr);
      seen = true;
      answer(*d);
    });
    frame->runCommand(id);
    EXPECT_TRUE(seen);
  }

  CChildFrame* table = nullptr;
};

TEST_F(SpectrogramViewTest, TimeAxisZoomsAboutThePointerAndStaysInsideTheSignal) {
  TimeAxis axis;
  axis.setLengthMs(10000);
  axis.setPixels(100, 1100);  // 10 ms a pixel
  EXPECT_FALSE(axis.zoomed());
  struct Step {
    const char* what;
    std::function<void()> act;
    double start, end;
  };
  const Step steps[] = {
      {"zoom in about 2500 ms keeps it under the pointer", [&] { axis.zoomBy(0.5, 2500); }, 1250, 6250},
      {"zoom out near the start stops at 0", [&] { axis.zoomBy(4, 1250); }, 0, 10000},
      {"a stretch past the end slides back in", [&] { axis.setVisible(9000, 12000); }, 7000, 10000},
      {"never narrower than 5 ms", [&] { axis.setVisible(300, 301); }, 300, 305},
      {"a shorter signal cuts the stretch", [&] { axis.setLengthMs(303); }, 298, 303},
  };
  for (const Step& s : steps) {
    SCOPED_TRACE(s.what);
    s.act();
    EXPECT_DOUBLE_EQ(axis.startMs(), s.start);
    EXPECT_DOUBLE_EQ(axis.endMs(), s.end);
  }
  axis.setLengthMs(10000);
  axis.setVisible(1000, 2000);
  EXPECT_DOUBLE_EQ(axis.xOf(1500), 600);
  EXPECT_DOUBLE_EQ(axis.msAt(600), 1500);
  EXPECT_EQ(axis.map().autoGridMs(70), 100);  // 1 ms a pixel: lines at least 70 px apart

  // Marks read in ms below 10 s, in seconds below a minute, then in
  // minutes:seconds, with the decimals their step needs.
  const struct {
    double end, step, at;
    const char *label, *title;
  } scales[] = {
      {600, 50, 350, "350", "Time (ms)"},
      {20, 0.5, 12.5, "12.5", "Time (ms)"},
      {30000, 5000, 25000, "25", "Time (s)"},
      {12000, 200, 10400, "10.4", "Time (s)"},
      {1200000, 60000, 1140000, "19:00", "Time (min:s)"},
      {1200000, 500, 90500, "1:30.5", "Time (min:s)"},
      {1200000, 10, 65020, "1:05.02", "Time (min:s)"},
  };
  for (const auto& c : scales) {
    const TimeLabels l = TimeLabels::forScale(c.end, c.step);
    EXPECT_EQ(l.label(c.at), QString::fromUtf8(c.label));
    EXPECT_EQ(l.title(), QString::fromUtf8(c.title));
  }
}

TEST_F(SpectrogramViewTest, AudioCommandWithoutARecordingSaysSo) {
  frame->runCommand(ID_ANALYSIS_SPECTRO_AUDIO);
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_TRUE(messages[0].startsWith(QStringLiteral("There is no audio file")));
  EXPECT_EQ(activeSpectrogram(), nullptr);
}

// A steady vowel: the formant dots near the table's f2, the pitch near its
// f0, the table's own rows drawn where the analysis is.
TEST_F(SpectrogramViewTest, SynthesizedVowelShowsTheTablesFormantsAndPitch) {
  frame->environment().config.spectrogram.displayFormants = 1;
  vandrel::CVandrelDoc& doc = table->document().doc();
  const int f0 = 1200, f1 = 700, f2 = 1220, f3 = 2600;  // f0 in tenths of a hertz
  doc.newTable(60, 10);
  for (int c = 0; c < doc.table().columns(); ++c) {
    vandrel::EditTransaction(doc).setValue(kF0, c, f0);
    vandrel::EditTransaction(doc).setValue(kF1, c, f1);
    vandrel::EditTransaction(doc).setValue(kF2, c, f2);
    vandrel::EditTransaction(doc).setValue(kF3, c, f3);
  }
  doc.markEdited();
  doc.notifyStructureChanged();

  frame->runCommand(ID_ANALYSIS_SPECTRO_SYNTH);
  CSpectrogramFrame* window = activeSpectrogram();
  ASSERT_NE(window, nullptr);
  EXPECT_EQ(window->windowTitle(), QStringLiteral("Vandr1::Spectrogram"));
  EXPECT_FALSE(doc.changedSinceSynthesis());
  SpectrogramCanvas* canvas = window->view()->canvas();
  const SignalPicture& s = canvas->scene().signal[0];
  ASSERT_TRUE(QTest::qWaitFor([&] { return !canvas->busy() && s.spectrogram.ok && s.pitch.ok; }, 10000));
  // The middle half of the sound, away from the onset and the end. The
  // trackers' accuracy is tested on their own; here the view must show this
  // document's sound.
  const auto middle = [&](double ms) { return ms > 150 && ms < 450; };
  std::vector<double> found;
  for (std::size_t c = 0; c < s.spectrogram.formants.size(); ++c)
    if (middle(s.spectrogram.columnMs[c])) found.push_back(s.spectrogram.formants[c][1]);
  EXPECT_NEAR(median(found), f2, 0.05 * f2);
  std::vector<double> pitch;
  for (std::size_t i = 0; i < s.pitch.f0.size(); ++i)
    if (middle(s.pitch.frameMs[i])) pitch.push_back(s.pitch.f0[i]);
  EXPECT_NEAR(median(pitch), f0 / 10.0, 0.02 * f0 / 10.0);

  // Moving the pointer moves the document's cursor and reads the time out.
  QString status;
  canvas->statusSink = [&](const QString& text) { status = text; };
  const TimeMap time = SpectrogramScene::timeMap(canvas->axis(), canvas->rect());
  const Pane spectro = canvas->panes()[1];
  ASSERT_EQ(spectro.kind, PaneKind::kSpectrogram);
  QTest::mouseMove(canvas, QPoint(static_cast<int>(time.xOf(300)), spectro.rect.center().y()));
  EXPECT_NEAR(Workspace::of(table->document()).timeMs(), 300, 2);
  EXPECT_TRUE(status.contains(QStringLiteral("Frequency:"))) << status.toStdString();

  // The table's current column is marked; with Follow it moves with the pointer.
  auto* grid = qobject_cast<CVandrelView*>(table->widget())->table();
  grid->setCurrentCell(grid->currentCell().row, 7);
  EXPECT_EQ(canvas->tableColumn(), 7);
  window->view()->action(QStringLiteral("Follow"))->setChecked(true);
  // 418 ms lies in frame 41 (410 to 420 ms), where its highlight is drawn; rounding would say 42.
  QTest::mouseMove(canvas, QPoint(static_cast<int>(time.xOf(418)), spectro.rect.center().y()));
  EXPECT_EQ(grid->currentCell().column, 41);
  EXPECT_EQ(canvas->tableColumn(), 41);

  // A drag, right to left, selects in time order; the selection is the document's.
  QTest::mousePress(canvas, Qt::LeftButton, {}, QPoint(static_cast<int>(time.xOf(200)), 200));
  QTest::mouseMove(canvas, QPoint(static_cast<int>(time.xOf(100)), 200));
  QTest::mouseRelease(canvas, Qt::LeftButton, {}, QPoint(static_cast<int>(time.xOf(100)), 200));
  const auto sel = Workspace::of(table->document()).selection();
  ASSERT_TRUE(sel);
  EXPECT_NEAR(sel->startMs, 100, 2);
  EXPECT_NEAR(sel->endMs, 200, 2);
  window->view()->action(QStringLiteral("Zoom to Selection"))->trigger();
  EXPECT_NEAR(canvas->axis().startMs(), sel->startMs, 1e-9);
  EXPECT_NEAR(canvas->axis().endMs(), sel->endMs, 1e-9);

  // Zoomed in to fewer samples than pixels, the waveform is one connected
  // line: every pixel column of its pane holds some of it.
  canvas->axis().setVisible(100, 120);
  // A drag back to where it began selects nothing (and leaves no tint over the line).
  const QPoint mid(canvas->width() / 2, 200);
  QTest::mousePress(canvas, Qt::LeftButton, {}, mid);
  QTest::mouseMove(canvas, mid + QPoint(40, 0));
  QTest::mouseMove(canvas, mid);
  QTest::mouseRelease(canvas, Qt::LeftButton, {}, mid);
  EXPECT_FALSE(Workspace::of(table->document()).selection());
  const QImage zoomed = canvas->grab().toImage();
  const Pane wave = canvas->panes()[0];
  ASSERT_EQ(wave.kind, PaneKind::kWave);
  const auto inked = [](QRgb c) { return qBlue(c) > qRed(c) + 15; };  // the wave's blue, antialiased
  // The red line at the pointer crosses every pane: its columns are left out.
  const auto underPointer = [](const QImage& image, int x, const QRect& r) {
    for (int y = r.top() + 1; y < r.bottom(); ++y)
      if (qRed(image.pixel(x, y)) > qBlue(image.pixel(x, y)) + 100) return true;
    return false;
  };
  int emptyColumns = 0;
  for (int x = wave.rect.left() + 2; x < wave.rect.right() - 2; ++x) {
    if (underPointer(zoomed, x, wave.rect)) continue;
    bool any = false;
    for (int y = wave.rect.top() + 1; y < wave.rect.bottom() && !any; ++y) any = inked(zoomed.pixel(x, y));
    emptyColumns += any ? 0 : 1;
  }
  EXPECT_EQ(emptyColumns, 0);
  canvas->axis().showAll();

  // The pitch pane holds pitch alone: no intensity curve on its Hz scale, and
  // table values above its top are left out rather than drawn along the edge.
  window->view()->action(QStringLiteral("Table Values"))->setChecked(true);
  for (int c = 20; c < 40; ++c) vandrel::EditTransaction(doc).setValue(kF0, c, 6000);  // 600 Hz, above 500
  doc.notifyCellsChanged(CellRange{kF0, kF0, 20, 39});
  QApplication::processEvents();
  const QImage whole = canvas->grab().toImage();
  const Pane pitchPane = canvas->panes()[2];
  ASSERT_EQ(pitchPane.kind, PaneKind::kPitch);
  int atTheTop = 0, purple = 0;
  for (int x = pitchPane.rect.left() + 1; x < pitchPane.rect.right(); ++x) {
    if (underPointer(whole, x, pitchPane.rect)) continue;
    for (int y = pitchPane.rect.top() + 1; y < pitchPane.rect.bottom(); ++y) {
      const QRgb c = whole.pixel(x, y);
      if (y <= pitchPane.rect.top() + 3 && qGreen(c) > qRed(c) + 40 && qGreen(c) > qBlue(c) + 20) ++atTheTop;
      if (qRed(c) > qGreen(c) + 20 && qBlue(c) > qGreen(c) + 20) ++purple;
    }
  }
  EXPECT_EQ(atTheTop, 0);
  EXPECT_EQ(purple, 0);

  // A picture: the spectrogram part 4 x 6 in, the pitch part 6 x 4 in, at 150 dpi.
  EXPECT_EQ(window->view()->picture().size(), QSize(900, 1500));
  EXPECT_EQ(window->view()->vectorSize(), QSizeF(576, 960));  // the same in 1/96 inch, for SVG and PDF

  // The recording's window is a second one of the same kind: both numbered.
  doc.attachAudio(doc.synthesized());
  frame->runCommand(ID_ANALYSIS_SPECTRO_AUDIO);
  CSpectrogramFrame* audio = activeSpectrogram();
  ASSERT_NE(audio, window);
  EXPECT_EQ(window->windowTitle(), QStringLiteral("Vandr1::Spectrogram:1"));
  EXPECT_EQ(audio->windowTitle(), QStringLiteral("Vandr1::Spectrogram:2"));
  audio->close();
  QApplication::processEvents();
  EXPECT_EQ(window->windowTitle(), QStringLiteral("Vandr1::Spectrogram"));

  // Ctrl+T again brings the same window forward.
  table->widget()->setFocus();
  frame->mdiArea()->setActiveSubWindow(table);
  frame->runCommand(ID_ANALYSIS_SPECTRO_SYNTH);
  EXPECT_EQ(activeSpectrogram(), window);
}

// Ctrl+D: the audio file's view traces; a stroke over the pitch pane writes
// f0 (in tenths of a hertz) into the frames it passes, and one undo takes the
// whole stroke back.
TEST_F(SpectrogramViewTest, TracingAStrokeWritesTheFramesUnderThePointerAsOneUndoStep) {
  vandrel::CVandrelDoc& doc = table->document().doc();
  doc.newTable(100, 10);  // a second of the table's vowel as the recording to trace over
  ASSERT_TRUE(vandrel::ensureSynthesized(doc));
  doc.attachAudio(doc.synthesized());
  const vandrel::FrameTable before = doc.table();

  frame->runCommand(ID_ENTRY_TRACE);
  CSpectrogramFrame* window = activeSpectrogram();
  ASSERT_NE(window, nullptr);
  ASSERT_TRUE(window->view()->tracing());
  EXPECT_EQ(window->view()->traceRow(), kF0);
  SpectrogramCanvas* canvas = window->view()->canvas();
  const TimeMap time = SpectrogramScene::timeMap(canvas->axis(), canvas->rect());
  Pane pitch;
  for (const Pane& p : canvas->panes())
    if (p.kind == PaneKind::kPitch) pitch = p;
  const auto yOf = [&](double hz) {
    const auto& o = canvas->scene().options.pitch;
    return pitch.rect.bottom() - static_cast<int>((hz - o.displayLowHz) / (o.displayHighHz - o.displayLowHz) *
                                                  (pitch.rect.height() - 1));
  };
  // From 205 ms at 150 Hz to 395 ms at 250 Hz in two moves: the frames between take the line.
  QTest::mousePress(canvas, Qt::LeftButton, {}, QPoint(static_cast<int>(time.xOf(205)), yOf(150)));
  QTest::mouseMove(canvas, QPoint(static_cast<int>(time.xOf(395)), yOf(250)));
  QTest::mouseRelease(canvas, Qt::LeftButton, {}, QPoint(static_cast<int>(time.xOf(395)), yOf(250)));

  // Which frames a stroke writes is the core's business; here the pointer's height becomes the value.
  const auto& o = canvas->scene().options.pitch;
  const double pixel = 10.0 * (o.displayHighHz - o.displayLowHz) / (pitch.rect.height() - 1);  // tenths of Hz
  EXPECT_NEAR(doc.table().value(kF0, 20), 1500, pixel);
  EXPECT_NEAR(doc.table().value(kF0, 39), 2500, pixel);
  EXPECT_TRUE(doc.modified());

  frame->runCommand(ID_EDIT_UNDO);
  EXPECT_EQ(doc.table(), before);
}

// The rules behind the Defaults button are the option record's; the dialog
// must show them at the view's rate.
TEST_F(SpectrogramViewTest, SpectrogramDialogDefaultsFollowTheRateAndLabelsKeepTheirBlanks) {
  SpectrogramViewOptions o;
  o.spectrogram = vandrel::COptionSpectrogram(22050);
  o.spectrogram.dynamicRangeDb = 70;
  o.spectrogram.displayFormants = true;
  COptionSpectrogramDialog dialog(o);
  EXPECT_EQ(dialog.windowTitle(), QStringLiteral("Spectrogram Option"));
  QPushButton* defaults = nullptr;
  for (QPushButton* b : dialog.findChildren<QPushButton*>())
    if (b->text() == QStringLiteral("Defaults")) defaults = b;
  ASSERT_NE(defaults, nullptr);
  defaults->click();
  dialog.accept();
  EXPECT_EQ(dialog.options().spectrogram.frequencyRange, 11000);
  EXPECT_TRUE(dialog.options().spectrogram.displayFormants);  // the defaults leave it

  QStringList texts;
  for (QLabel* l : dialog.findChildren<QLabel*>()) texts << l->text();
  for (QAbstractButton* b : dialog.findChildren<QAbstractButton*>()) texts << b->text();
  for (const char* label :
       {"Bandwidth (Window Length)  = ", "Frequency range (Hz) = ", "Dynamic range (dB) = ",
        "Pre-Emphasis (0-1)(0 adds nothing)", "Display formants",
        "Formant tracking LPC coefficients        = ", "Add frequency grid with spacing (Hz)   = ",
        "Add time grid with spacing (ms)            =", "Width   = ", "Height  =", "Inches", "cm",
        "Draw Audio ", "Draw Labels", "Draw Intensity"})
    EXPECT_TRUE(texts.contains(QString::fromLatin1(label))) << label;
}

TEST_F(SpectrogramViewTest, OptionDialogsThroughTheMenuStoreOnOkOnly) {
  for (const auto& [entered, stored] : {std::pair{15, 14}, std::pair{501, 400}}) {
    SCOPED_TRACE(entered);
    withDialog<COptionSpectrogramDialog>(ID_OPTIONS_SPECTROGRAM, [&](COptionSpectrogramDialog& d) {
      auto* field = d.findChild<QSpinBox*>(QStringLiteral("formantCoefficients"));
      ASSERT_NE(field, nullptr);
      field->setValue(entered);
      d.findChild<QCheckBox*>()->setChecked(false);  // "Display formants"
      d.accept();
    });
    EXPECT_EQ(frame->environment().config.spectrogram.lpcCoefficients, stored);
  }

  // Pitch: Cancel keeps everything; OK stores the record and the controls it does not keep.
  withDialog<COptionPitchDialog>(ID_OPTIONS_PITCH, [](COptionPitchDialog& d) {
    d.findChildren<QSpinBox*>().first()->setValue(50);
    d.reject();
  });
  EXPECT_EQ(frame->environment().config.pitch.windowMs, 35);
  withDialog<COptionPitchDialog>(ID_OPTIONS_PITCH, [](COptionPitchDialog& d) {
    EXPECT_EQ(d.windowTitle(), QStringLiteral("Pitch option"));
    d.findChildren<QSpinBox*>().first()->setValue(50);
    for (QRadioButton* r : d.findChildren<QRadioButton*>())
      if (r->text() == QStringLiteral("AutoCorrolation") || r->text() == QStringLiteral("Black White"))
        r->setChecked(true);
    d.accept();
  });
  EXPECT_EQ(frame->environment().config.pitch.windowMs, 50);
  EXPECT_EQ(frame->environment().config.analysisView.pitchMethod, 1);
  EXPECT_EQ(frame->environment().config.analysisView.pitchColor, 0);

  // A range upside down is refused and the dialog stays.
  withDialog<COptionPitchDialog>(ID_OPTIONS_PITCH, [this](COptionPitchDialog& d) {
    QList<QSpinBox*> fields = d.findChildren<QSpinBox*>();
    fields[4]->setValue(600);  // calculation range low above its high end
    d.accept();
    EXPECT_TRUE(d.isVisible());
    EXPECT_EQ(messages.back(), COptionPitchDialog::kRangeMessage);
    d.reject();
  });
}

}  // namespace
}  // namespace vandrel::ui::test
