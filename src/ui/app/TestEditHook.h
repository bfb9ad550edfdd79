#pragma once
// For the test that kills a running editor: with VANDREL_TEST_EDIT_EVERY_MS
// set in its environment, the editor changes one cell of the active table at
// that interval, as a user typing away would, and prints "edit <n>" on
// standard output after each. Edit n puts 4000 + n into f0 at column
// (n - 1) modulo the column count, so a copy of the table tells which edits
// it holds; it stops after VANDREL_TEST_EDITS edits (999 when unset).
// Without the variable nothing is
// installed.

namespace vandrel::ui {

class CMainFrame;

void installTestEditHook(CMainFrame& frame);

}  // namespace vandrel::ui
