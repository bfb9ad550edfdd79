#include "table/CVandrelView.h"

#include <QApplication>
#include <QEvent>
#include <QHeaderView>
#include <QLabel>
#include <QMainWindow>
#include <QScrollBar>
#include <QStatusBar>
#include <QVBoxLayout>

#include <algorithm>

#include "app/CChildFrame.h"
#include "app/CommandRouter.h"
#include "app/OpenDocument.h"
#include "common/Messages.h"
#include "common/Workspace.h"
#include "editing/AdjustTime.h"
#include "editing/Clipboard.h"
#include "table/FrameTableModel.h"
#include "table/MyCug.h"
#include "table/TableLabelStrip.h"
#include "table/TablePrintout.h"

namespace vandrel::ui {

namespace {

const bool viewInstalled = setDocumentViewFactory(
    [](OpenDocument& document, CChildFrame&) -> QWidget* { return new CVandrelView(document); });

constexpr const char* kCellStatusName = "vandrel-cell-status";

}  // namespace

CVandrelView::CVandrelView(OpenDocument& document, QWidget* parent)
    : QWidget(parent),
      document_(document),
      model_(new FrameTableModel(document, this)),
      grid_(new MyCug(document, this)) {
  grid_->setModel(model_);
  grid_->setSideHeadingWidth(grid_->fontMetrics().horizontalAdvance(QStringLiteral("gainMM")) + 12);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(0);
  layout->addWidget(new TableLabelStrip(document, *grid_, this));
  layout->addWidget(grid_);
  setFocusProxy(grid_);
  grid_->installEventFilter(this);

  // A label's interval clicked in any window of the document: its frames
  // become this table's block over the shown rows, as if dragged across
  // them (what Play plays from the table), brought into view when none of
  // them is.
  connect(&Workspace::of(document), &Workspace::framesChosen, this, [this](FrameSpan frames) {
    const int columns = model_->columnCount();
    if (columns <= 0 || frames.first >= columns) return;
    frames.last = std::min(frames.last, columns - 1);
    const int first = std::max(grid_->firstShownRow(), 0);
    int last = first;
    for (int r = 0; r < vandrel::kParamCount; ++r)
      if (!grid_->isRowHidden(r)) last = r;
    selection_ = vandrel::TableSelection::block(frames.first, first, frames.last, last);
    showStoredSelection();
    const int leftmost = grid_->columnAt(0);
    const int rightmost = grid_->columnAt(grid_->viewport()->width() - 1);
    // The grid scrolls by whole frames: the bar's value is the leftmost one.
    if (frames.last < leftmost || (rightmost >= 0 && frames.first > rightmost))
      grid_->horizontalScrollBar()->setValue(frames.first);
  });
  connect(grid_, &CUGExcel::userSelectionChanged, this, [this] {
    selection_ = grid_->tableSelection();
    publishSelection();
  });
  // The current frame is the document's: this table writes it and follows
  // it when another window (a spectrogram with "Follow" on) moves it.
  connect(grid_, &CUGExcel::currentCellChanged, this,
          [this](int, int column) { Workspace::of(document_).setCurrentFrame(column); });
  connect(&Workspace::of(document), &Workspace::currentFrameChanged, this, [this](int frame) {
    const int columns = model_->columnCount();
    if (columns > 0 && frame != currentColumn())
      grid_->setCurrentCell(grid_->currentCell().row, std::clamp(frame, 0, columns - 1));
  });
  connect(grid_, &CUGExcel::currentCellChanged, this, &CVandrelView::updateCellStatus);
  connect(model_, &FrameTableModel::dataChanged, this, &CVandrelView::updateCellStatus);
  // A rebuild forgets the grid's cursor; the user's place in the table is
  // kept, held to the new table's size.
  connect(model_, &FrameTableModel::aboutToRebuild, this, [this] { kept_ = grid_->currentCell(); });
  connect(model_, &FrameTableModel::rebuilt, this, [this] {
    applyShownRows();
    fitColumnWidth();
    const int columns = model_->columnCount();
    const int row = grid_->isRowHidden(kept_.row) ? std::max(grid_->firstShownRow(), 0) : kept_.row;
    if (columns > 0) grid_->setCurrentCell(row, std::clamp(kept_.column, 0, columns - 1));
    showStoredSelection();
  });

  // While the document's sound plays, the current column is the frame heard.
  connect(&Workspace::of(document), &Workspace::playHeadMoved, this, [this](double ms) {
    const int interval = document_.doc().params().intervalMs;
    const int columns = model_->columnCount();
    if (ms < 0 || interval <= 0 || columns <= 0) return;
    grid_->setCurrentCell(grid_->currentCell().row,
                          std::clamp(static_cast<int>(ms) / interval, 0, columns - 1));
  });

  applyShownRows();
  fitColumnWidth();
  // A new window starts with the cursor on the first shown row at the first
  // frame, and nothing selected.
  grid_->setCurrentCell(std::max(grid_->firstShownRow(), 0), 0);
}

CVandrelView::~CVandrelView() {
  // A closed table leaves no stale cell in the status bar; the table that
  // takes the focus next writes its own.
  if (statusLabel_) statusLabel_->clear();
}

void CVandrelView::printTo(QPrinter& printer, const QString& title) {
  TablePrintout(document_.doc(), shownParams()).print(printer, title);
}

QImage CVandrelView::picture() { return TablePrintout(document_.doc(), shownParams()).picture(); }

CVandrelView* CVandrelView::active(const CommandContext& ctx) {
  if (!ctx.childFrame) return nullptr;
  return qobject_cast<CVandrelView*>(ctx.childFrame->view());
}

int CVandrelView::currentParam() const { return grid_->currentCell().row; }

int CVandrelView::currentColumn() const { return grid_->currentCell().column; }

std::vector<int> CVandrelView::shownParams() const {
  std::vector<int> shown;
  const auto& params = document_.doc().params();
  for (int i = 0; i < kParamCount; ++i)
    if (params.at(i).selected) shown.push_back(i);
  return shown;
}

void CVandrelView::showMessages(const vandrel::UserMessages& messages) {
  for (const auto& m : messages)
    showMessage(MessageRequest{
        this, QString::fromStdString(m.text), {}, QMessageBox::Warning, QMessageBox::Ok, m.beep});
}

QTableView* CVandrelView::grid() { return grid_; }

void CVandrelView::showStoredSelection() {
  grid_->showTableSelection(selection_);
  publishSelection();
}

void CVandrelView::publishSelection() {
  // A column, or a block wider than one cell (one cell is where the cursor
  // is, not a stretch to listen to).
  std::optional<FrameSpan> frames;
  const vandrel::TableSelection& s = selection_;
  if (s.kind == vandrel::SelectionKind::kColumn) frames = FrameSpan{s.column, s.column};
  if (s.kind == vandrel::SelectionKind::kBlock && s.startColumn != s.endColumn)
    frames = FrameSpan{s.startColumn, s.endColumn};
  Workspace::of(document_).setTableFrames(frames);
}

void CVandrelView::applyShownRows() {
  // The selection in the document's own colour, with the values still black
  // on it, so a selected block reads like the rest of the table.
  const Colorref sel = document_.doc().selectionColor();
  QPalette palette = grid_->palette();
  palette.setColor(QPalette::Highlight, QColor(redOf(sel), greenOf(sel), blueOf(sel)));
  palette.setColor(QPalette::HighlightedText, Qt::black);
  grid_->setPalette(palette);
  const auto& params = document_.doc().params();
  for (int i = 0; i < kParamCount; ++i)
    grid_->setRowHeight(i, params.at(i).selected ? CUGExcel::kRowHeight : 0);
}

void CVandrelView::fitColumnWidth() {
  // Every column as wide as the widest value the shown rows may hold and the
  // last frame's heading (in bold, as a selected heading is drawn): a cell
  // too narrow would cut the leading digits off and show another number.
  const auto& doc = document_.doc();
  const QFontMetrics cells = grid_->fontMetrics();
  QFont bold = grid_->horizontalHeader()->font();
  bold.setBold(true);
  const std::string heading = columnHeading(doc.params().intervalMs, std::max(doc.table().columns() - 1, 0));
  int widest = QFontMetrics(bold).horizontalAdvance(QString::fromStdString(heading));
  for (int row : shownParams()) {
    const ParamDef& p = doc.params().at(row);
    for (const std::string& text : widestCellTexts(p.lower, p.upper))
      widest = std::max(widest, cells.horizontalAdvance(QString::fromStdString(text)));
  }
  grid_->setColumnWidth(widest + CUGExcel::kCellPadding);
}

QString CVandrelView::cellStatusText() const {
  const auto& doc = document_.doc();
  const int row = currentParam();
  const int column = currentColumn();
  if (row < 0 || column < 0 || column >= doc.table().columns()) return {};
  const auto name = doc.params().at(row).name;
  return QStringLiteral("%1   %2 ms   %3")
      .arg(QString::fromUtf8(name.data(), static_cast<qsizetype>(name.size())))
      .arg(doc.params().intervalMs * (column + 1))
      .arg(FrameTableModel::formatValue(doc.table().value(row, column)));
}

void CVandrelView::updateCellStatus() {
  auto* main = qobject_cast<QMainWindow*>(window());
  if (!main) return;
  // Another document window's table may hold the focus and speak for itself.
  const QWidget* focus = QApplication::focusWidget();
  if (focus && focus != this && !isAncestorOf(focus) && qobject_cast<const CUGExcel*>(focus)) return;
  QStatusBar* bar = main->statusBar();
  auto* label = bar->findChild<QLabel*>(QLatin1String(kCellStatusName));
  if (!label) {
    label = new QLabel(bar);
    label->setObjectName(QLatin1String(kCellStatusName));
    label->setMinimumWidth(
        label->fontMetrics().horizontalAdvance(QStringLiteral("gain   600000 ms   5000.00")));
    bar->insertPermanentWidget(0, label);
  }
  label->setText(cellStatusText());
  statusLabel_ = label;
}

bool CVandrelView::eventFilter(QObject* watched, QEvent* event) {
  if (watched == grid_ && event->type() == QEvent::FocusIn) {
    updateCellStatus();
    publishSelection();  // the table in front speaks for the document
  }
  return QWidget::eventFilter(watched, event);
}

}  // namespace vandrel::ui
