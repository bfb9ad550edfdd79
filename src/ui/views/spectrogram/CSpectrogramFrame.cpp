#include "views/spectrogram/CSpectrogramFrame.h"

#include <QIcon>
#include <QStatusBar>

#include "app/CMainFrame.h"
#include "app/CommandIds.h"
#include "table/CVandrelView.h"
#include "views/spectrogram/CSpectrogramView.h"
#include "views/spectrogram/SpectrogramCanvas.h"

namespace vandrel::ui {

CSpectrogramFrame::CSpectrogramFrame(CMainFrame& mainFrame, std::shared_ptr<OpenDocument> document,
                                     vandrel::SampleSlot own, const SpectrogramViewOptions& options)
    : CAnalysisFrame(mainFrame, document, QStringLiteral("::Spectrogram")) {
  setObjectName(QStringLiteral("CSpectrogramFrame"));
  setWindowIcon(QIcon(own == vandrel::SampleSlot::kAudio ? QStringLiteral(":/icons/spectrogram-audio.svg")
                                                         : QStringLiteral(":/icons/spectrogram-synth.svg")));
  auto* view = new CSpectrogramView(*document, own, options);
  view->canvas()->statusSink = [frame = &mainFrame](const QString& text) {
    frame->statusBar()->showMessage(text);
  };
  view->tableState = [frame = &mainFrame]() -> vandrel::TableViewState* {
    CVandrelView* table = CVandrelView::active(frame->context(ID_ENTRY_TRACE));
    return table ? &table->state() : nullptr;
  };
  setWidget(view);
  resize(960, 680);
}

CSpectrogramView* CSpectrogramFrame::view() const { return qobject_cast<CSpectrogramView*>(widget()); }

}  // namespace vandrel::ui
