#include "views/spectrogram/CSpectrogramFrame.h"

#include <QAction>
#include <QIcon>

#include <QStatusBar>
#include <algorithm>

#include "app/CMainFrame.h"
#include "app/CommandIds.h"
#include "app/OpenDocument.h"
#include "document/VandrelDoc.h"
#include "table/CVandrelView.h"
#include "table/MyCug.h"
#include "views/common/DocumentCursor.h"
#include "views/spectrogram/CSpectrogramView.h"
#include "views/spectrogram/SpectrogramCanvas.h"

namespace vandrel::ui {

namespace {

// The table's current column is marked in the view; with "Follow" on it
// moves to the frame under the pointer.
void followTable(CMainFrame& mainFrame, CSpectrogramView& view) {
  CVandrelView* table = CVandrelView::active(mainFrame.context(ID_ENTRY_TRACE));
  if (!table) return;
  SpectrogramCanvas* canvas = view.canvas();
  canvas->setTableColumn(table->currentColumn());
  QObject::connect(table->table(), &CUGExcel::currentCellChanged, canvas,
                   [canvas](int, int column) { canvas->setTableColumn(column); });
  QAction* follow = view.action(QStringLiteral("Follow"));
  QObject::connect(&DocumentCursor::of(table->document()), &DocumentCursor::cursorChanged, table,
                   [table, follow](double ms) {
                     const vandrel::CVandrelDoc& doc = table->document().doc();
                     const int columns = doc.table.columns();
                     const int interval = doc.params().intervalMs;
                     if (!follow->isChecked() || columns <= 0 || interval <= 0) return;
                     const int column = std::clamp(static_cast<int>(ms) / interval, 0, columns - 1);
                     table->table()->setCurrentCell(table->table()->currentCell().row, column);
                   });
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
  followTable(mainFrame, *view);
  resize(960, 680);
}

CSpectrogramView* CSpectrogramFrame::view() const { return qobject_cast<CSpectrogramView*>(widget()); }

}  // namespace vandrel::ui
