#pragma once
// CVandrelView: the table of one document window - the 48 parameter rows over
// the frames, in a spreadsheet grid (MyCug) over the document's frame table.
// It keeps the view's own selection (as the user made it) and answers the questions the table's commands ask;
// the commands themselves are installed by TableCommands.cpp, and each calls
// one core operation.
//
// The selection kept in selection() changes only when the user changes the
// selection in the grid (or runs Select All) - never when a command runs -
// so the stored block survives from one use of a command to the next.

#include <QPointer>
#include <QWidget>

#include <vector>

#include "common/Printable.h"
#include "editing/TableSelection.h"
#include "editing/UserMessage.h"
#include "grid/CUGExcel.h"

class QLabel;
class QTableView;

namespace vandrel::ui {

class CChildFrame;
class FrameTableModel;
class MyCug;
class OpenDocument;
struct CommandContext;

class CVandrelView : public QWidget, public Printable {
  Q_OBJECT
 public:
  explicit CVandrelView(OpenDocument& document, QWidget* parent = nullptr);
  ~CVandrelView() override;

  // The table view that the document commands act on: that of the active
  // table window, or while an analysis window is active, that of its
  // document's first table window; null when there is none.
  static CVandrelView* active(const CommandContext& ctx);

  OpenDocument& document() { return document_; }

  // The stored selection that the selection commands of core take.
  vandrel::TableSelection& selection() { return selection_; }

  // The current cell: a parameter index (0..47) and a frame.
  int currentParam() const;
  int currentColumn() const;

  // Parameter indices of the shown rows, top to bottom.
  std::vector<int> shownParams() const;

  // Each message with its beep and its box, in order.
  void showMessages(const vandrel::UserMessages& messages);

  QTableView* grid();
  MyCug* table() { return grid_; }
  FrameTableModel* model() { return model_; }

  // Shows selection() in the grid after a command chose it (Select
  // All, Remove Column), without treating it as the user's.
  void showStoredSelection();

  // "av   120 ms   60": the current cell's parameter, time and value.
  QString cellStatusText() const;

  // File > Print and "Save As bmp...": the whole table (TablePrintout).
  void printTo(QPrinter& printer, const QString& title) override;
  QImage picture() override;

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void applyShownRows();
  void fitColumnWidth();
  void updateCellStatus();
  void publishSelection();  // the selected frames into the document's workspace

  OpenDocument& document_;
  vandrel::TableSelection selection_;
  FrameTableModel* model_;
  MyCug* grid_;
  GridCell kept_;  // the cursor across a rebuild
  QPointer<QLabel> statusLabel_;
};

}  // namespace vandrel::ui
