#pragma once
// CFormFFTLPCChild: the "<document>::FFT/LPC" window, framing an FftLpcView
// of one document.

#include "app/AnalysisFrame.h"

namespace vandrel {
struct COptionFFTLPC;
}

namespace vandrel::ui {

class FftLpcView;

class CFormFFTLPCChild : public AnalysisFrame {
  Q_OBJECT
 public:
  CFormFFTLPCChild(CMainFrame& mainFrame, OpenDocument& document, const vandrel::COptionFFTLPC& options,
                   double preEmphasis);

  FftLpcView* view() const;
};

}  // namespace vandrel::ui
