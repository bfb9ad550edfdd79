// Pictures of the spectrogram/pitch view for a person to judge (not compared
// pixel by pixel): a recording and its synthetic copy - the table filled from
// the recording's own pitch and formant tracks - alone, side by side and
// overlaid. Runs when $VANDREL_SHOT_WAV names a recording; the pictures go to
// $VANDREL_SHOT_DIR.

#include <QAction>
#include <QApplication>
#include <QDir>
#include <QMdiArea>
#include <QPainter>
#include <QSvgGenerator>
#include <QSvgRenderer>
#include <QTest>

#include <algorithm>

#include "../app/ShellFixture.h"
#include "analysis/AnalysisTracks.h"
#include "app/CChildFrame.h"
#include "app/CMainFrame.h"
#include "app/CommandIds.h"
#include "app/OpenDocument.h"
#include "document/VandrelDoc.h"
#include "views/common/DocumentCursor.h"
#include "views/options/COptionPitchDialog.h"
#include "views/options/COptionSpectrogramDialog.h"
#include "views/spectrogram/CSpectrogramFrame.h"
#include "views/spectrogram/CSpectrogramView.h"
#include "views/spectrogram/SpectrogramCanvas.h"
#include "views/spectrogram/SpectrogramCommands.h"

namespace vandrel::ui::test {
namespace {

// The table takes the recording's tracks, frame for frame.
void copyTracks(vandrel::CVandrelDoc& doc) {
  vandrel::COptionPitch pitch;
  pitch.stepMs = doc.params().intervalMs;
  const auto& x = doc.audio.samples;
  const double fs = doc.audio.sampleRate;
  const auto f0 = vandrel::computePitchTrack(x, fs, pitch, vandrel::PitchMethod::kCepstral);
  const vandrel::COptionSpectrogram spectro(fs);
  const auto formants = vandrel::computeFormantTracks(
      x, fs, vandrel::FormantTrackSettings::forFrames(spectro, doc.table.columns(), f0.stepSamples));
  const std::array rows{kF1, kF2, kF3, kF4, kF5};
  for (int c = 0; c < doc.table.columns(); ++c) {
    const auto i = static_cast<std::size_t>(c);
    const bool voiced = i < f0.f0.size() && f0.f0[i] > 0;
    if (voiced) doc.table.setValue(kF0, c, f0.f0[i] * 10);
    doc.table.setValue(kAv, c, voiced ? 60 : 0);
    doc.table.setValue(kAf, c, voiced ? 0 : 40);
    if (i >= formants.frequency.size()) continue;
    for (std::size_t k = 0; k < rows.size(); ++k) {
      const auto& def = doc.params().at(rows[k]);
      if (formants.frequency[i][k] > 0)
        doc.table.setValue(rows[k], c, std::clamp<double>(formants.frequency[i][k], def.lower, def.upper));
    }
  }
  doc.markEdited();
}

class SpectrogramScreenshotTest : public ShellFixture {};

TEST_F(SpectrogramScreenshotTest, RecordingAndItsSyntheticCopy) {
  const QString wav = qEnvironmentVariable("VANDREL_SHOT_WAV");
  if (wav.isEmpty()) GTEST_SKIP() << "set VANDREL_SHOT_WAV to a recording";
  const QString dir = qEnvironmentVariable("VANDREL_SHOT_DIR", QDir::currentPath());
  auto env = environment();
  env.config.spectrogram.displayFormants = 1;
  CMainFrame frame(env);
  installSpectrogramCommands(frame.router());
  frame.resize(1500, 950);
  frame.show();
  CChildFrame* table = frame.newDocument();
  ASSERT_TRUE(frame.openFile(wav));
  copyTracks(table->document().doc());

  frame.runCommand(ID_ANALYSIS_SPECTRO_AUDIO);
  auto* audio = qobject_cast<CSpectrogramFrame*>(frame.mdiArea()->activeSubWindow());
  ASSERT_NE(audio, nullptr);
  audio->showMaximized();
  const auto settle = [&] {
    QTest::qWait(50);
    ASSERT_TRUE(QTest::qWaitFor([&] { return !audio->view()->canvas()->busy(); }, 20000));
    QTest::qWait(50);
  };
  settle();
  frame.grab().save(dir + QStringLiteral("/spectrogram-audio.png"));

  frame.mdiArea()->setActiveSubWindow(table);
  frame.runCommand(ID_ANALYSIS_SPECTRO_SYNTH);  // synthesizes the copied tracks first
  frame.mdiArea()->setActiveSubWindow(audio);
  audio->showMaximized();
  QApplication::processEvents();  // the toolbar learns of the second signal
  CSpectrogramView* view = audio->view();
  view->action(QStringLiteral("Other Beneath"))->trigger();
  settle();
  frame.grab().save(dir + QStringLiteral("/spectrogram-side-by-side.png"));
  view->action(QStringLiteral("Other Overlaid"))->trigger();
  view->action(QStringLiteral("Table Values"))->trigger();
  settle();
  frame.grab().save(dir + QStringLiteral("/spectrogram-overlaid.png"));
  view->canvas()->axis().setVisible(400, 1400);
  settle();
  frame.grab().save(dir + QStringLiteral("/spectrogram-zoomed.png"));
  view->picture().save(dir + QStringLiteral("/spectrogram-picture.png"));
  // The drawing as SVG, read back: SVG keeps no clipping, so nothing may leave its pane.
  DocumentCursor::of(table->document()).setSelection(700, 1000);
  const QString svgPath = dir + QStringLiteral("/spectrogram-drawing.svg");
  {
    QSvgGenerator svg;
    svg.setFileName(svgPath);
    svg.setSize(view->vectorSize().toSize());
    svg.setViewBox(QRectF(QPointF(0, 0), view->vectorSize()));
    QPainter p(&svg);
    view->paintVector(p);
  }
  QSvgRenderer renderer(svgPath);
  QImage back(view->vectorSize().toSize(), QImage::Format_RGB32);
  back.fill(Qt::white);
  QPainter painter(&back);
  renderer.render(&painter);
  painter.end();
  back.save(dir + QStringLiteral("/spectrogram-drawing-svg.png"));

  COptionSpectrogramDialog spectrogramOptions(viewOptionsOf(frame.environment().config));
  spectrogramOptions.show();
  COptionPitchDialog pitchOptions(viewOptionsOf(frame.environment().config));
  pitchOptions.show();
  QApplication::processEvents();
  spectrogramOptions.grab().save(dir + QStringLiteral("/spectrogram-options.png"));
  pitchOptions.grab().save(dir + QStringLiteral("/pitch-options.png"));
}

}  // namespace
}  // namespace vandrel::ui::test
