#include "views/fftlpc/CFormFFTLPCChild.h"

#include <QIcon>

#include "views/fftlpc/FftLpcView.h"

namespace vandrel::ui {

CFormFFTLPCChild::CFormFFTLPCChild(CMainFrame& mainFrame, std::shared_ptr<OpenDocument> document,
                                   const vandrel::COptionFFTLPC& options, double preEmphasis)
    : CAnalysisFrame(mainFrame, document, QStringLiteral("::FFT/LPC")) {
  setObjectName(QStringLiteral("CFormFFTLPCChild"));
  setWindowIcon(QIcon(QStringLiteral(":/icons/fft-lpc.svg")));
  setWidget(new FftLpcView(*document, options, preEmphasis));
  resize(900, 640);
}

FftLpcView* CFormFFTLPCChild::view() const { return qobject_cast<FftLpcView*>(widget()); }

}  // namespace vandrel::ui
