#pragma once
// File > Print, Print Preview, "Save As bmp..." and "Save Screen As bmp...".
// The first three work on whatever the active document window shows, through
// its Printable interface (common/Printable.h); a window without it leaves
// them greyed.

#include <functional>

class QPrinter;
class QWidget;

namespace vandrel::ui {

class CommandRouter;

void installPrintCommands(CommandRouter& router);

// The print dialog: true when the user chose to print. Tests replace it to
// print into a PDF file without a modal dialog; {} brings back QPrintDialog.
using PrintDialogRunner = std::function<bool(QPrinter& printer, QWidget* parent)>;
void setPrintDialogRunner(PrintDialogRunner runner);

}  // namespace vandrel::ui
