#pragma once
// A read-only look at a document, shown in its window until the editable
// table view takes its place: timing, method, rates, and the shown rows'
// values frame by frame.

#include <QAbstractTableModel>
#include <QWidget>

#include <vector>

class QLabel;
class QTableView;

namespace vandrel::ui {

class OpenDocument;

// The shown rows of the frame table, one column per frame, headed by the
// frame's end time in ms.
class FrameTableSummaryModel : public QAbstractTableModel {
  Q_OBJECT
 public:
  explicit FrameTableSummaryModel(OpenDocument& document, QObject* parent = nullptr);

  int rowCount(const QModelIndex& parent = {}) const override;
  int columnCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

  void refresh();

 private:
  OpenDocument& document_;
  std::vector<int> rows_;  // parameter index of each shown row
};

class DocumentSummaryView : public QWidget {
  Q_OBJECT
 public:
  explicit DocumentSummaryView(OpenDocument& document, QWidget* parent = nullptr);

  QString summaryText() const;

 private:
  void refresh();

  OpenDocument& document_;
  QLabel* summary_;
  FrameTableSummaryModel* model_;
  QTableView* table_;
};

}  // namespace vandrel::ui
