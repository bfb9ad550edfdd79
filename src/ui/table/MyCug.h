#pragma once
// MyCug: the grid of the parameter table. It adds to the general grid what
// the frame table needs: only numbers start editing a cell, a cell's
// right-click menu sets or clears its anchor, and the grid's selection
// converts to the core's TableSelection.

#include "editing/TableSelection.h"
#include "grid/CUGExcel.h"

class QMenu;

namespace vandrel::ui {

class OpenDocument;

class MyCug : public CUGExcel {
  Q_OBJECT
 public:
  explicit MyCug(OpenDocument& document, QWidget* parent = nullptr);

  // The right-click menu of a cell: exactly "Add Anchor" and "Remove Anchor".
  // The caller owns it.
  QMenu* cellMenu(int row, int column);

  vandrel::TableSelection tableSelection() const;
  void showTableSelection(const vandrel::TableSelection& s);

 protected:
  bool acceptsTypedText(const QString& text) const override;
  void contextMenuEvent(QContextMenuEvent* event) override;

 private:
  OpenDocument& document_;
};

}  // namespace vandrel::ui
