#include "app/DocumentSummaryView.h"

#include <QColor>
#include <QHeaderView>
#include <QLabel>
#include <QTableView>
#include <QVBoxLayout>

#include <cmath>

#include "app/OpenDocument.h"
#include "document/ColorSlots.h"
#include "engine/Synthesizer.h"

namespace vandrel::ui {

FrameTableSummaryModel::FrameTableSummaryModel(OpenDocument& document, QObject* parent)
    : QAbstractTableModel(parent), document_(document) {
  refresh();
}

void FrameTableSummaryModel::refresh() {
  beginResetModel();
  rows_.clear();
  const auto& set = document_.doc().params();
  for (int i = 0; i < kParamCount; ++i)
    if (set.at(i).selected) rows_.push_back(i);
  endResetModel();
}

int FrameTableSummaryModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

int FrameTableSummaryModel::columnCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : document_.doc().table.columns();
}

QVariant FrameTableSummaryModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid()) return {};
  const auto& doc = document_.doc();
  const int row = rows_.at(static_cast<std::size_t>(index.row()));
  switch (role) {
    case Qt::DisplayRole:
      return static_cast<qlonglong>(std::trunc(doc.table.value(row, index.column())));
    case Qt::TextAlignmentRole:
      return QVariant::fromValue(Qt::AlignRight | Qt::AlignVCenter);
    case Qt::BackgroundRole: {
      const Colorref c =
          doc.table.anchor(row, index.column()) ? doc.anchorColor() : doc.params().at(row).color;
      return QColor(redOf(c), greenOf(c), blueOf(c));
    }
    case Qt::ToolTipRole:
      return QString::fromUtf8(doc.params().at(row).description.data(),
                               static_cast<qsizetype>(doc.params().at(row).description.size()))
          .trimmed();
    default:
      return {};
  }
}

QVariant FrameTableSummaryModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (role != Qt::DisplayRole) return {};
  const auto& doc = document_.doc();
  if (orientation == Qt::Horizontal) return QString::number(doc.params().intervalMs * (section + 1));
  const auto name = doc.params().at(rows_.at(static_cast<std::size_t>(section))).name;
  return QString::fromUtf8(name.data(), static_cast<qsizetype>(name.size()));
}

DocumentSummaryView::DocumentSummaryView(OpenDocument& document, QWidget* parent)
    : QWidget(parent),
      document_(document),
      summary_(new QLabel(this)),
      model_(new FrameTableSummaryModel(document, this)),
      table_(new QTableView(this)) {
  summary_->setTextFormat(Qt::PlainText);
  summary_->setContentsMargins(6, 4, 6, 4);
  table_->setModel(model_);
  table_->setEditTriggers(QAbstractItemView::NoEditTriggers);
  table_->setSelectionMode(QAbstractItemView::NoSelection);
  table_->verticalHeader()->setDefaultSectionSize(20);
  table_->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
  table_->horizontalHeader()->setDefaultSectionSize(52);
  table_->horizontalHeader()->setSectionResizeMode(QHeaderView::Fixed);
  table_->setFocusPolicy(Qt::StrongFocus);

  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(0);
  layout->addWidget(summary_);
  layout->addWidget(table_, 1);
  setFocusProxy(table_);

  connect(&document_, &OpenDocument::structureChanged, this, &DocumentSummaryView::refresh);
  connect(&document_, &OpenDocument::cellsChanged, this, &DocumentSummaryView::refresh);
  connect(&document_, &OpenDocument::samplesChanged, this, &DocumentSummaryView::refresh);
  refresh();
}

QString DocumentSummaryView::summaryText() const {
  const auto& doc = document_.doc();
  const auto& set = doc.params();
  const auto setup = vandrel::synthesisSetup(doc);
  QString text =
      QStringLiteral(
          "Length %1 ms   Interval %2 ms   %3 frames   %4 of 48 rows shown   %5   %6 Hz, %7 cascade formants")
          .arg(static_cast<qlonglong>(set.fileLengthMs))
          .arg(set.intervalMs)
          .arg(doc.table.columns())
          .arg(set.countSelected())
          .arg(set.cascadeParallel ? QStringLiteral("Cascade_Parallel") : QStringLiteral("Parrallel only"))
          .arg(setup.sampleRate)
          .arg(setup.cascadeFormants);
  if (doc.hasAudio())
    text += QStringLiteral("   Audio file: %1 ms at %2 Hz")
                .arg(static_cast<qlonglong>(doc.audio.fileLengthMs))
                .arg(static_cast<qlonglong>(doc.audio.sampleRate));
  return text;
}

void DocumentSummaryView::refresh() {
  model_->refresh();
  summary_->setText(summaryText());
}

}  // namespace vandrel::ui
