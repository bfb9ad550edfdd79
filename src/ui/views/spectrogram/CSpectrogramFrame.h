#pragma once
// CSpectrogramFrame: the window of a spectrogram/pitch view,
// "<document title>::Spectrogram". One per document and signal: the
// synthesized buffer (Ctrl+T) or the audio file (Ctrl+G).

#include <memory>

#include "document/DocObserver.h"
#include "views/common/CAnalysisFrame.h"
#include "views/spectrogram/SpectrogramScene.h"

namespace vandrel::ui {

class CSpectrogramView;

class CSpectrogramFrame : public CAnalysisFrame {
  Q_OBJECT
 public:
  CSpectrogramFrame(CMainFrame& mainFrame, std::shared_ptr<OpenDocument> document, vandrel::SampleSlot own,
                    const SpectrogramViewOptions& options);

  CSpectrogramView* view() const;
};

}  // namespace vandrel::ui
