#include "views/fftlpc/CFormFFTLPCChild.h"

#include "views/fftlpc/FftLpcView.h"

namespace vandrel::ui {

CFormFFTLPCChild::CFormFFTLPCChild(CMainFrame& mainFrame, OpenDocument& document,
                                   const vandrel::COptionFFTLPC& options, double preEmphasis)
    : AnalysisFrame(mainFrame, document, QStringLiteral("::FFT/LPC")) {
  setObjectName(QStringLiteral("CFormFFTLPCChild"));
  setWidget(new FftLpcView(document, options, preEmphasis));
  resize(900, 640);
}

FftLpcView* CFormFFTLPCChild::view() const { return qobject_cast<FftLpcView*>(widget()); }

}  // namespace vandrel::ui
