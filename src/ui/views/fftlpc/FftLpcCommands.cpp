#include "views/fftlpc/FftLpcCommands.h"

#include <QMdiArea>
#include <QMdiSubWindow>

#include "app/CChildFrame.h"
#include "app/CMainFrame.h"
#include "app/CProgressDialog.h"
#include "app/CommandIds.h"
#include "app/CommandRouter.h"
#include "app/OpenDocument.h"
#include "config/AnalysisConfig.h"
#include "engine/Synthesizer.h"
#include "views/common/WindowKinds.h"
#include "views/fftlpc/CFormFFTLPCChild.h"
#include "views/fftlpc/COptionFFTLPCDialog.h"
#include "views/fftlpc/FftLpcView.h"

namespace vandrel::ui {

namespace {

struct Options {
  vandrel::COptionFFTLPC fftLpc;
  vandrel::COptionPitch pitch;
  vandrel::COptionSpectrogram spectrogram;
};

Options loadOptions(CMainFrame& frame) {
  Options o;
  vandrel::loadAnalysisOptions(frame.environment().config, o.fftLpc, o.pitch, o.spectrogram);
  o.fftLpc.selectSize(o.fftLpc.sizeIndex);
  return o;
}

void openFftLpc(CommandContext& ctx) {
  OpenDocument& document = *ctx.document;
  vandrel::CVandrelDoc& doc = document.doc();
  // The view shows the synthesized buffer while it is current and otherwise
  // synthesizes the table for itself, so opening it changes nothing in the
  // document.
  findOrOpen<CFormFFTLPCChild>(*ctx.mainFrame, document, [&ctx, &doc] {
    // The options' fs is the recording's: its derived defaults follow it.
    Options o = loadOptions(*ctx.mainFrame);
    const double fs = doc.analysisRate();
    if (fs != o.fftLpc.fs) {
      o.fftLpc.fs = fs;
      o.fftLpc.setDefaults();
    }
    return new CFormFFTLPCChild(*ctx.mainFrame, ctx.childFrame->sharedDocument(), o.fftLpc,
                                o.spectrogram.preEmphasis);
  });
}

void editOptions(CommandContext& ctx) {
  CMainFrame& main = *ctx.mainFrame;
  Options o = loadOptions(main);
  if (ctx.document) o.fftLpc.fs = ctx.document->doc().analysisRate();
  COptionFFTLPCDialog dialog(o.fftLpc, ctx.dialogParent());
  if (dialog.exec() != QDialog::Accepted) return;
  vandrel::storeAnalysisOptions(dialog.record(), o.pitch, o.spectrogram, main.environment().config);
  main.writeConfigurationFile(nullptr);
  for (CFormFFTLPCChild* w : windowsOfKind<CFormFFTLPCChild>(main))
    if (FftLpcView* v = w->view()) v->setOptions(dialog.record(), o.spectrogram.preEmphasis);
}

const bool installed = addCommandInstaller(&installFftLpcCommands);

}  // namespace

void installFftLpcCommands(CommandRouter& router) {
  router.setHandler(ID_ANALYSIS_FFT_LPC, openFftLpc);
  router.setHandler(ID_OPTIONS_FFT_LPC, editOptions);
}

}  // namespace vandrel::ui
