// vandrel-analysis-screenshots FOLDER [RECORDING.wav]: pictures of the
// analysis windows for a person to judge (never compared). FFT/LPC: a vowel of
// a real recording beside a copy made from its formants, and a synthetic vowel
// beside a copy whose f2 is 300 Hz too high (colour on screen; black and
// white, relative levels as a picture). Spectrogram/pitch: the recording and
// its synthetic copy - the table filled from the recording's own pitch and
// formant tracks - alone, side by side, overlaid and zoomed, with the two
// option dialogs. scripts/screenshots runs it under a virtual display.

#include <QApplication>
#include <QFile>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMouseEvent>
#include <QPainter>
#include <QSvgGenerator>
#include <QSvgRenderer>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "ShotKit.h"
#include "analysis/AnalysisTracks.h"
#include "analysis/SpectralSlice.h"
#include "app/CChildFrame.h"
#include "app/CMainFrame.h"
#include "app/CommandIds.h"
#include "app/OpenDocument.h"
#include "common/Workspace.h"
#include "editing/EditTransaction.h"
#include "engine/Synthesizer.h"
#include "views/fftlpc/CFormFFTLPCChild.h"
#include "views/fftlpc/FftLpcView.h"
#include "views/options/COptionPitchDialog.h"
#include "views/options/COptionSpectrogramDialog.h"
#include "views/spectrogram/CSpectrogramFrame.h"
#include "views/spectrogram/CSpectrogramView.h"
#include "views/spectrogram/SpectrogramCanvas.h"
#include "views/spectrogram/SpectrogramCommands.h"

using namespace vandrel;
using namespace vandrel::ui;
using vandrel::shots::save;

namespace {

FftLpcView* openView(CMainFrame& frame) {
  frame.runCommand(ID_ANALYSIS_FFT_LPC);
  auto* child = qobject_cast<CFormFFTLPCChild*>(frame.mdiArea()->activeSubWindow());
  if (!child) return nullptr;
  child->showMaximized();
  return child->view();
}

// The start (ms) of the loudest 10 ms: the vowel to copy.
double loudestMs(const SampleSet& s) {
  const auto step = static_cast<std::size_t>(s.sampleRate / 100);
  double best = 0.0, at = 0.0;
  for (std::size_t i = 0; i + step < s.samples.size(); i += step) {
    double e = 0.0;
    for (std::size_t j = i; j < i + step; ++j) e += static_cast<double>(s.samples[j]) * s.samples[j];
    if (e > best) {
      best = e;
      at = 1000.0 * static_cast<double>(i) / s.sampleRate;
    }
  }
  return at;
}

void setRows(CVandrelDoc& doc, const int* rows, const double* values, std::size_t n) {
  for (int c = 0; c < doc.table().columns(); ++c)
    for (std::size_t k = 0; k < n; ++k) EditTransaction(doc).setValue(rows[k], c, values[k]);
  doc.markEdited();
  doc.notifyStructureChanged();
}

// `paint`'s drawing as SVG into `svgFile`, and that file drawn back, to see
// what others will: SVG keeps no clipping, so nothing may leave its pane.
template <class View>
void saveSvgAndBack(View& view, const QString& svgFile, const QString& png) {
  {
    QSvgGenerator svg;
    svg.setFileName(svgFile);
    svg.setSize(view.vectorSize().toSize());
    svg.setViewBox(QRectF(QPointF(0, 0), view.vectorSize()));
    QPainter p(&svg);
    view.paintVector(p);
  }
  QSvgRenderer renderer(svgFile);
  QImage back((view.vectorSize() * 1.5).toSize(), QImage::Format_RGB32);
  back.fill(Qt::white);
  QPainter p(&back);
  renderer.render(&p);
  p.end();
  save(back, png);
}

// The table takes the recording's tracks, frame for frame.
void copyTracks(CVandrelDoc& doc) {
  COptionPitch pitch;
  pitch.stepMs = doc.params().intervalMs;
  const auto& x = doc.audio().samples;
  const double fs = doc.audio().sampleRate;
  const auto f0 = computePitchTrack(x, fs, pitch, PitchMethod::kCepstral);
  const auto formants =
      computeFormantTracks(x, fs, FormantTrackSettings::forFrames(doc.table().columns(), f0.stepSamples));
  const std::array rows{kF1, kF2, kF3, kF4, kF5};
  for (int c = 0; c < doc.table().columns(); ++c) {
    const auto i = static_cast<std::size_t>(c);
    const bool voiced = i < f0.f0.size() && f0.f0[i] > 0;
    if (voiced) EditTransaction(doc).setValue(kF0, c, f0.f0[i] * 10);
    EditTransaction(doc).setValue(kAv, c, voiced ? 60 : 0);
    EditTransaction(doc).setValue(kAf, c, voiced ? 0 : 40);
    if (i >= formants.frequency.size()) continue;
    for (std::size_t k = 0; k < rows.size(); ++k) {
      const auto& def = doc.params().at(rows[k]);
      if (formants.frequency[i][k] > 0)
        EditTransaction(doc).setValue(rows[k], c,
                                      std::clamp<double>(formants.frequency[i][k], def.lower, def.upper));
    }
  }
  doc.markEdited();
}

void spectrogramShots(CMainFrame& frame, const QString& wav, const QString& dir) {
  CChildFrame* table = frame.newDocument();
  if (!frame.openFile(wav)) return;
  copyTracks(table->document().doc());
  frame.runCommand(ID_ANALYSIS_SPECTRO_AUDIO);
  auto* audio = qobject_cast<CSpectrogramFrame*>(frame.mdiArea()->activeSubWindow());
  if (!audio) return;
  audio->showMaximized();
  const auto shot = [&](const char* name) {
    QTest::qWait(50);
    if (!QTest::qWaitFor([&] { return !audio->view()->canvas()->busy(); }, 20000))
      std::fprintf(stderr, "vandrel-analysis-screenshots: the analysis of %s did not finish\n", name);
    QTest::qWait(50);
    save(frame.grab().toImage(), dir + QLatin1String(name));
  };
  shot("/spectrogram-audio.png");
  frame.mdiArea()->setActiveSubWindow(table);
  frame.runCommand(ID_ANALYSIS_SPECTRO_SYNTH);  // synthesizes the copied tracks first
  frame.mdiArea()->setActiveSubWindow(audio);
  audio->showMaximized();
  QApplication::processEvents();  // the toolbar learns of the second signal
  CSpectrogramView* view = audio->view();
  view->action(QStringLiteral("Other Beneath"))->trigger();
  shot("/spectrogram-side-by-side.png");
  view->action(QStringLiteral("Other Overlaid"))->trigger();
  view->action(QStringLiteral("Table Values"))->trigger();
  shot("/spectrogram-overlaid.png");
  view->canvas()->axis().setVisible(400, 1400);
  shot("/spectrogram-zoomed.png");
  view->canvas()->axis().setVisible(600, 625);  // fewer samples than pixels
  shot("/spectrogram-samples.png");
  view->canvas()->axis().setVisible(400, 1400);
  save(view->picture(), dir + QStringLiteral("/spectrogram-picture.png"));
  Workspace::of(table->document()).setSelection(700, 1000);
  saveSvgAndBack(*view, dir + QStringLiteral("/spectrogram-drawing.svg"),
                 dir + QStringLiteral("/spectrogram-drawing-svg.png"));

  COptionSpectrogramDialog spectrogramOptions(viewOptionsOf(frame.environment().config));
  spectrogramOptions.show();
  COptionPitchDialog pitchOptions(viewOptionsOf(frame.environment().config));
  pitchOptions.show();
  QApplication::processEvents();
  save(spectrogramOptions.grab().toImage(), dir + QStringLiteral("/spectrogram-options.png"));
  save(pitchOptions.grab().toImage(), dir + QStringLiteral("/pitch-options.png"));
}

}  // namespace

int main(int argc, char** argv) {
  shots::PictureTool tool(argc, argv, "vandrel-analysis-screenshots FOLDER [RECORDING.wav]");
  if (!tool.ok()) return tool.failure();
  const QString folder = tool.folder();
  const QString wav = tool.argument(2, QStringLiteral("/usr/share/pocketsphinx/test/data/cards/001.wav"));
  ShellEnvironment env = tool.environment();
  env.config.spectrogram.displayFormants = 1;
  CMainFrame frame(env);
  shots::showAtPictureSize(frame);

  if (QFile::exists(wav)) {
    frame.newDocument();
    if (frame.openFile(wav)) {
      CVandrelDoc& doc = frame.activeDocument()->doc();
      const double t = loudestMs(doc.audio());
      SliceAnalyser analyser;
      const SpectralSlice natural =
          analyser.analyse(doc.audio(), sliceSettings(COptionFFTLPC(doc.audio().sampleRate), 0.98), t);
      const int rows[] = {kF1, kF2, kF3, kF4, kB1, kB2, kB3, kB4};
      double values[8] = {700, 1200, 2500, 3500, 60, 90, 150, 200};
      for (std::size_t k = 0; k < 4 && k < natural.formants.size(); ++k) {
        values[k] = std::round(natural.formants[k].frequency);
        values[k + 4] = std::clamp(std::round(natural.formants[k].bandwidth), 40.0, 400.0);
      }
      setRows(doc, rows, values, 8);
      ensureSynthesized(doc);  // the copy beside the recording
      if (FftLpcView* view = openView(frame)) {
        view->setTimeMs(t);
        view->finishTrack();
        QApplication::processEvents();
        const QRectF plot = view->layout().spectrum;
        const QPointF at(plot.left() + plot.width() * 0.3, plot.top() + plot.height() * 0.4);
        QMouseEvent move(QEvent::MouseMove, at, view->canvas()->mapToGlobal(at), Qt::NoButton, Qt::NoButton,
                         Qt::NoModifier);
        QApplication::sendEvent(view->canvas(), &move);
        QApplication::processEvents();
        save(frame.grab().toImage(), folder + QStringLiteral("/fftlpc-recording.png"));
        save(view->picture(), folder + QStringLiteral("/fftlpc-recording-picture.png"));
      }
    }
    spectrogramShots(frame, wav, folder);
  } else {
    std::fprintf(stderr, "vandrel-analysis-screenshots: no %s, the recording is left out\n", qPrintable(wav));
  }

  // A synthetic vowel on the natural side; the copy's f2 300 Hz too high.
  frame.newDocument();
  OpenDocument* document = frame.activeDocument();
  const int rows[] = {kF1, kF2, kF3};
  const double vowel[] = {700, 1200, 2500}, copy[] = {700, 1500, 2500};
  setRows(document->doc(), rows, vowel, 3);
  ensureSynthesized(document->doc());
  document->doc().attachAudio(document->doc().synthesized());
  setRows(document->doc(), rows, copy, 3);
  if (FftLpcView* view = openView(frame)) {
    view->setSelection(40, 160);
    view->finishTrack();
    QApplication::processEvents();
    save(frame.grab().toImage(), folder + QStringLiteral("/fftlpc-vowel.png"));
    COptionFFTLPC paper = view->options();
    paper.color = false;
    paper.absolute = false;
    view->setOptions(paper, 0.98);
    view->finishTrack();
    save(view->picture(), folder + QStringLiteral("/fftlpc-vowel-bw-relative.png"));
    saveSvgAndBack(*view, folder + QStringLiteral("/fftlpc-vowel.svg"),
                   folder + QStringLiteral("/fftlpc-vowel-svg.png"));
  }
  // Quit without the close questions of a real session.
  for (CChildFrame* f : frame.childFrames()) f->document().setModified(false);
  return shots::exitCode();
}
