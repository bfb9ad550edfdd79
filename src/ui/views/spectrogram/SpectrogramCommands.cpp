#include "views/spectrogram/SpectrogramCommands.h"

#include <QMdiArea>
#include <QMdiSubWindow>

#include "app/CChildFrame.h"
#include "app/CMainFrame.h"
#include "app/CProgressDialog.h"
#include "app/CommandIds.h"
#include "app/CommandRouter.h"
#include "app/OpenDocument.h"
#include "common/Messages.h"
#include "common/Synthesize.h"
#include "config/AnalysisConfig.h"
#include "engine/Synthesizer.h"
#include "views/common/WindowKinds.h"
#include "views/options/COptionPitchDialog.h"
#include "views/options/COptionSpectrogramDialog.h"
#include "views/spectrogram/CSpectrogramFrame.h"
#include "views/spectrogram/CSpectrogramView.h"
#include "views/spectrogram/SpectrogramCanvas.h"

namespace vandrel::ui {

SpectrogramViewOptions viewOptionsOf(const vandrel::ConfigRecord& record) {
  SpectrogramViewOptions o;
  vandrel::COptionFFTLPC unused;
  vandrel::loadAnalysisOptions(record, unused, o.pitch, o.spectrogram);
  const auto& a = record.analysisView;
  o.method = a.pitchMethod == 1 ? vandrel::PitchMethod::kAutocorrelation : vandrel::PitchMethod::kCepstral;
  o.drawAudio = a.drawAudio != 0;
  o.drawLabels = a.drawLabels != 0;
  o.drawIntensity = a.drawIntensity != 0;
  o.pitchTimeGrid = a.pitchTimeGridOn != 0;
  o.pitchTimeGridMs = a.pitchTimeGridMs;
  o.addAudio = a.pitchAddAudio != 0;
  o.addIntensity = a.pitchAddIntensity != 0;
  o.addLabels = a.pitchAddLabels != 0;
  o.pitchWidth = a.pitchWidth;
  o.pitchHeight = a.pitchHeight;
  o.pitchInches = a.pitchInches != 0;
  o.color = a.pitchColor != 0;
  return o;
}

void storeViewOptions(const SpectrogramViewOptions& o, vandrel::ConfigRecord& record) {
  vandrel::COptionFFTLPC fft, unusedFft;
  vandrel::COptionPitch unusedPitch;
  vandrel::COptionSpectrogram unusedSpectrogram;
  vandrel::loadAnalysisOptions(record, fft, unusedPitch, unusedSpectrogram);
  vandrel::storeAnalysisOptions(fft, o.pitch, o.spectrogram, record);
  auto& a = record.analysisView;
  a.written = 1;
  a.pitchMethod = o.method == vandrel::PitchMethod::kAutocorrelation ? 1 : 0;
  a.drawAudio = o.drawAudio ? 1 : 0;
  a.drawLabels = o.drawLabels ? 1 : 0;
  a.drawIntensity = o.drawIntensity ? 1 : 0;
  a.pitchTimeGridOn = o.pitchTimeGrid ? 1 : 0;
  a.pitchTimeGridMs = o.pitchTimeGridMs;
  a.pitchAddAudio = o.addAudio ? 1 : 0;
  a.pitchAddIntensity = o.addIntensity ? 1 : 0;
  a.pitchAddLabels = o.addLabels ? 1 : 0;
  a.pitchWidth = o.pitchWidth;
  a.pitchHeight = o.pitchHeight;
  a.pitchInches = o.pitchInches ? 1 : 0;
  a.pitchColor = o.color ? 1 : 0;
}

namespace {

const QString kNoAudio = QStringLiteral(
    "There is no audio file in this document.\nOpen one with \"Open an audio file...\" in the File menu "
    "first.");

SpectrogramViewOptions optionsFor(CMainFrame& main, double fs) {
  SpectrogramViewOptions o = viewOptionsOf(main.environment().config);
  if (fs != o.spectrogram.fs) {
    o.spectrogram.fs = fs;
    o.spectrogram.setDefaults();
  }
  o.spectrogram.selectSize(o.spectrogram.sizeIndex);
  return o;
}

CSpectrogramFrame* openSpectrogram(CommandContext& ctx, vandrel::SampleSlot slot) {
  OpenDocument& document = *ctx.document;
  vandrel::CVandrelDoc& doc = document.doc();
  if (slot == vandrel::SampleSlot::kAudio && !doc.hasAudio()) {
    warn(ctx.dialogParent(), kNoAudio);
    return nullptr;
  }
  if (slot == vandrel::SampleSlot::kSynthesized) synthesizeWithProgress(doc, ctx.dialogParent());
  return findOrOpen<CSpectrogramFrame>(
      *ctx.mainFrame, document,
      [&ctx, &doc, slot] {
        const double fs =
            slot == vandrel::SampleSlot::kAudio ? doc.audio().sampleRate : doc.synthesized().sampleRate;
        return new CSpectrogramFrame(*ctx.mainFrame, ctx.childFrame->sharedDocument(), slot,
                                     optionsFor(*ctx.mainFrame, fs > 0 ? fs : doc.analysisRate()));
      },
      [slot](const CSpectrogramFrame& f) { return f.view()->ownSlot() == slot; });
}

// Trace: the audio file's view, in trace mode, on F0 (or the track traced last).
void trace(CommandContext& ctx) {
  if (CSpectrogramFrame* frame = openSpectrogram(ctx, vandrel::SampleSlot::kAudio)) {
    CSpectrogramView* view = frame->view();
    view->startTracing(view->tracing() ? view->traceRow() : vandrel::kF0);
  }
}

// OK in either dialog: the configuration keeps the values and every open view
// recomputes with them.
void applyOptions(CMainFrame& main, const SpectrogramViewOptions& o) {
  storeViewOptions(o, main.environment().config);
  main.writeConfigurationFile(nullptr);
  for (CSpectrogramFrame* f : windowsOfKind<CSpectrogramFrame>(main)) {
    SpectrogramViewOptions mine = o;
    mine.spectrogram.fs = f->view()->canvas()->scene().signal[0].fs;
    f->view()->setOptions(mine);
  }
}

void editSpectrogramOptions(CommandContext& ctx) {
  const double fs = ctx.document ? ctx.document->doc().analysisRate() : 11025.0;
  SpectrogramViewOptions o = optionsFor(*ctx.mainFrame, fs);
  COptionSpectrogramDialog dialog(o, ctx.dialogParent());
  if (dialog.exec() != QDialog::Accepted) return;
  applyOptions(*ctx.mainFrame, dialog.options());
}

void editPitchOptions(CommandContext& ctx) {
  const double fs = ctx.document ? ctx.document->doc().analysisRate() : 11025.0;
  COptionPitchDialog dialog(optionsFor(*ctx.mainFrame, fs), ctx.dialogParent());
  if (dialog.exec() != QDialog::Accepted) return;
  applyOptions(*ctx.mainFrame, dialog.options());
}

const bool installed = addCommandInstaller(&installSpectrogramCommands);

}  // namespace

void installSpectrogramCommands(CommandRouter& router) {
  router.setHandler(ID_ANALYSIS_SPECTRO_SYNTH,
                    [](CommandContext& ctx) { openSpectrogram(ctx, vandrel::SampleSlot::kSynthesized); });
  router.setHandler(ID_ANALYSIS_SPECTRO_AUDIO,
                    [](CommandContext& ctx) { openSpectrogram(ctx, vandrel::SampleSlot::kAudio); });
  router.setHandler(ID_OPTIONS_SPECTROGRAM, editSpectrogramOptions);
  router.setHandler(ID_ENTRY_TRACE, trace);
  router.setHandler(ID_OPTIONS_PITCH, editPitchOptions);
}

}  // namespace vandrel::ui
