#include "entry/CGraphicalInputChild.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QIcon>
#include <QMdiArea>
#include <QScrollArea>
#include <QStyle>

#include <new>
#include <stdexcept>

#include "app/CChildFrame.h"
#include "app/CMainFrame.h"
#include "app/CProgressDialog.h"
#include "app/CommandIds.h"
#include "app/CommandRouter.h"
#include "app/OpenDocument.h"
#include "common/Messages.h"
#include "entry/CFreqInputWnd.h"
#include "entry/CGraphicalInput.h"
#include "entry/EnterAllData.h"
#include "views/common/AnalysisViewOptions.h"
#include "views/common/LabelTiersPane.h"
#include "views/common/TimeAxis.h"
#include "views/common/WindowKinds.h"

namespace vandrel::ui {

namespace {

const QString kCreateError = QStringLiteral("Error in creating the graphical window.");

// The analysis settings of the spectrogram/pitch view, for the recording's rate.
vandrel::EntryAnalysis analysisFor(CMainFrame& main, const vandrel::CVandrelDoc& doc) {
  SpectrogramViewOptions o = viewOptionsOf(main.environment().config);
  const double fs = doc.analysisRate();
  if (o.spectrogram.fs != fs) {
    o.spectrogram.fs = fs;
    o.spectrogram.setDefaults();
  }
  o.spectrogram.selectSize(o.spectrogram.sizeIndex);
  return vandrel::EntryAnalysis{o.pitch, o.method, o.spectrogram};
}

void openGraphical(CommandContext& ctx) {
  if (CGraphicalInputChild* open =
          windowsOfKind<CGraphicalInputChild>(*ctx.mainFrame, ctx.document).value(0)) {
    ctx.mainFrame->mdiArea()->setActiveSubWindow(open);
    return;
  }
  CGraphicalInputChild* frame = nullptr;
  try {
    frame = new CGraphicalInputChild(*ctx.mainFrame, ctx.childFrame->sharedDocument());
  } catch (const std::bad_alloc&) {
    frame = nullptr;
  } catch (const std::runtime_error&) {
    frame = nullptr;
  }
  if (!frame || !frame->drawing()) {
    delete frame;
    warn(ctx.dialogParent(), kCreateError);
    return;
  }
  frame->addToArea();
}

const bool installed = addCommandInstaller(&installEntryCommands);

}  // namespace

CGraphicalInputChild::CGraphicalInputChild(CMainFrame& mainFrame, std::shared_ptr<OpenDocument> document)
    : CAnalysisFrame(mainFrame, document, QStringLiteral("::Graphical Data Entry")) {
  setObjectName(QStringLiteral("CGraphicalInputChild"));
  setWindowIcon(QIcon(QStringLiteral(":/icons/graphical.svg")));
  auto* content = new QWidget(this);
  drawing_ = new CFreqInputWnd(mainFrame, *document, content);
  panel_ = new CGraphicalInput(*document, *drawing_);
  // The panel scrolls rather than holding the window to its full height: a
  // window taller than its tile (Window > Tile makes every tile as tall as
  // the tallest window's least height) would run off the area and hide the
  // label tiers at its bottom.
  auto* panelScroll = new QScrollArea(content);
  panelScroll->setWidget(panel_);
  panelScroll->setWidgetResizable(true);
  panelScroll->setFrameShape(QFrame::NoFrame);
  panelScroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  panelScroll->setFixedWidth(panel_->sizeHint().width() +
                             panelScroll->style()->pixelMetric(QStyle::PM_ScrollBarExtent));
  auto* layout = new QHBoxLayout(content);
  layout->setContentsMargins(2, 2, 2, 2);
  layout->addWidget(panelScroll);
  auto* column = new QVBoxLayout;
  column->setSpacing(0);
  column->addWidget(drawing_, 1);
  auto* tiers = new LabelTiersPane(*document, *new TimeAxis(this), content);
  tiers->followAxis = [this](TimeAxis& axis) {
    const vandrel::CVandrelDoc& doc = this->document().doc();
    const vandrel::PixelBox& area = drawing_->layout().area;
    axis.setLengthMs(static_cast<double>(doc.table().columns()) * doc.params().intervalMs);
    axis.showAll();
    axis.setPixels(area.left, area.left + area.width);
  };
  column->addWidget(tiers);
  layout->addLayout(column, 1);
  setWidget(content);
  connect(panel_, &CGraphicalInput::enterAllData, this, &CGraphicalInputChild::enterAllData);
  connect(panel_, &CGraphicalInput::okPressed, this, &QWidget::close);
  // The recording is shown behind the strips whenever there is one.
  panel_->recordingBox()->setChecked(document->doc().hasAudio());
  connect(document.get(), &OpenDocument::samplesChanged, this, [this](vandrel::SampleSlot slot) {
    if (slot == vandrel::SampleSlot::kAudio && this->document().doc().hasAudio())
      panel_->recordingBox()->setChecked(true);
  });
  resize(1180, 720);
}

void CGraphicalInputChild::enterAllData() {
  if (!drawing_->hasTableWindow()) return;
  vandrel::CVandrelDoc& doc = document().doc();
  const vandrel::EntryAnalysis analysis = analysisFor(mainFrame(), doc);
  vandrel::UserMessages messages;
  if (!analysis.spectrogram.displayFormants || !doc.hasAudio()) {
    messages = vandrel::enterAllData(doc, analysis);
  } else {
    CProgressDialog::run(this, CProgressDialog::kPitch, [&](const CProgressDialog::Progress& progress) {
      messages = vandrel::enterAllData(doc, analysis, progress);
    });
  }
  for (const auto& m : messages)
    showMessage(MessageRequest{
        this, QString::fromStdString(m.text), {}, QMessageBox::Warning, QMessageBox::Ok, m.beep});
  drawing_->refreshSettings();
}

void installEntryCommands(CommandRouter& router) { router.setHandler(ID_ENTRY_GRAPHICAL, openGraphical); }

}  // namespace vandrel::ui
