#pragma once
// CFormFFTLPCChild: the "<document>::FFT/LPC" window, framing an FftLpcView
// of one document.

#include <memory>

#include "views/common/CAnalysisFrame.h"

namespace vandrel {
struct COptionFFTLPC;
}

namespace vandrel::ui {

class FftLpcView;

class CFormFFTLPCChild : public CAnalysisFrame {
  Q_OBJECT
 public:
  CFormFFTLPCChild(CMainFrame& mainFrame, std::shared_ptr<OpenDocument> document,
                   const vandrel::COptionFFTLPC& options, double preEmphasis);

  FftLpcView* view() const;
};

}  // namespace vandrel::ui
