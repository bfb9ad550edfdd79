#pragma once
// CVowelSpaceFrame: the "<document>::Vowel Space" window, framing a
// VowelSpaceView of one document.

#include <memory>

#include "views/common/CAnalysisFrame.h"

namespace vandrel::ui {

class VowelSpaceView;

class CVowelSpaceFrame : public CAnalysisFrame {
  Q_OBJECT
 public:
  CVowelSpaceFrame(CMainFrame& mainFrame, std::shared_ptr<OpenDocument> document);

  VowelSpaceView* view() const;
};

}  // namespace vandrel::ui
