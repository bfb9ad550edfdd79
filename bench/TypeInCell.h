#pragma once
// Types `digits` into a cell of the table the way a user does (the first key
// opens the editor, Return commits) and waits until every window has painted
// what the edit changed. Shared by the benchmarks that time a typed value.

#include <QApplication>
#include <QTest>

#include "table/MyCug.h"

namespace vandrel::ui {

inline void typeInCell(MyCug* grid, int row, int column, const QString& digits) {
  grid->setCurrentCell(row, column);
  QTest::keyClicks(grid, digits.left(1));
  QWidget* editor = QApplication::focusWidget();
  QTest::keyClicks(editor, digits.mid(1));
  QTest::keyClick(editor, Qt::Key_Return);
  while (grid->isEditing()) QApplication::processEvents();
  QApplication::processEvents();
}

}  // namespace vandrel::ui
