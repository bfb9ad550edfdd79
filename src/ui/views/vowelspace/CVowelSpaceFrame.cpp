#include "views/vowelspace/CVowelSpaceFrame.h"

#include "app/CMainFrame.h"
#include "app/CommandIds.h"
#include "app/OpenDocument.h"
#include "table/CVandrelView.h"
#include "views/vowelspace/VowelSpaceView.h"

namespace vandrel::ui {

CVowelSpaceFrame::CVowelSpaceFrame(CMainFrame& mainFrame, std::shared_ptr<OpenDocument> document)
    : CAnalysisFrame(mainFrame, document, QStringLiteral("::Vowel Space")) {
  setObjectName(QStringLiteral("CVowelSpaceFrame"));
  auto* view = new VowelSpaceView(*document);
  // A drag ends as an edit of the document's table window, like a stroke
  // traced in the spectrogram.
  view->tableState = [frame = &mainFrame]() -> vandrel::TableViewState* {
    CVandrelView* table = CVandrelView::active(frame->context(ID_VIEW_VOWEL_SPACE));
    return table ? &table->state() : nullptr;
  };
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
