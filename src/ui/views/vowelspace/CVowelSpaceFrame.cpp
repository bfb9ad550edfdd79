#include "views/vowelspace/CVowelSpaceFrame.h"

#include "app/CMainFrame.h"
#include "app/CommandIds.h"
#include "app/OpenDocument.h"
#include "views/vowelspace/VowelSpaceView.h"

namespace vandrel::ui {

CVowelSpaceFrame::CVowelSpaceFrame(CMainFrame& mainFrame, std::shared_ptr<OpenDocument> document)
    : CAnalysisFrame(mainFrame, document, QStringLiteral("::Vowel Space")) {
  setObjectName(QStringLiteral("CVowelSpaceFrame"));
  auto* view = new VowelSpaceView(*document);
  view->chooseReferenceFile = [frame = &mainFrame, view] {
    return frame->environment().hooks.openFileName(
        view, QStringLiteral("Reference Vowels"), QString(),
        QStringLiteral("Vowel tables (*.tsv *.txt);;All files (*)"));
  };
  setWidget(view);
  resize(760, 600);
}

VowelSpaceView* CVowelSpaceFrame::view() const { return qobject_cast<VowelSpaceView*>(widget()); }

}  // namespace vandrel::ui
