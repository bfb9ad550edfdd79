#include "views/spectrogram/CSpectrogramFrame.h"

#include <QAction>
#include <QIcon>

#include <QStatusBar>
#include <algorithm>

#include "app/CMainFrame.h"
#include "app/CommandIds.h"
#include "app/OpenDocument.h"
#include "common/Workspace.h"
#include "document/VandrelDoc.h"
#include "views/spectrogram/CSpectrogramView.h"
#include "views/spectrogram/SpectrogramCanvas.h"

namespace vandrel::ui {

namespace {

// The document's current frame is marked in the view; with "Follow" on
// (one switch for the document) it moves to the frame under the pointer.
void followTable(CSpectrogramView& view, OpenDocument& document) {
  Workspace& workspace = Workspace::of(document);
  SpectrogramCanvas* canvas = view.canvas();
  canvas->setTableColumn(workspace.currentFrame());
  QObject::connect(&workspace, &Workspace::currentFrameChanged, canvas, &SpectrogramCanvas::setTableColumn);
  QAction* follow = view.action(QStringLiteral("Follow"));
  follow->setChecked(workspace.follow());
  QObject::connect(follow, &QAction::toggled, &workspace, &Workspace::setFollow);
  QObject::connect(&workspace, &Workspace::followChanged, follow, &QAction::setChecked);
}

}  // namespace

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
  setWidget(view);
  followTable(*view, *document);
  resize(960, 680);
}

CSpectrogramView* CSpectrogramFrame::view() const { return qobject_cast<CSpectrogramView*>(widget()); }

}  // namespace vandrel::ui
