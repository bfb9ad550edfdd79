#include "print/PrintCommands.h"

#include <QBuffer>
#include <QDir>
#include <QEventLoop>
#include <QFileInfo>
#include <QGuiApplication>
#include <QImage>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QPainter>
#include <QPdfWriter>
#include <QPixmap>
#include <QPointer>
#include <QPrintDialog>
#include <QPrintPreviewDialog>
#include <QPrinter>
#include <QScreen>
#include <QSvgGenerator>
#include <QTimer>

#include "app/CMainFrame.h"
#include "app/CommandIds.h"
#include "app/CommandRouter.h"
#include "app/OpenDocument.h"
#include "common/Messages.h"
#include "common/Printable.h"
#include "common/ReplaceFile.h"

namespace vandrel::ui {

namespace {

const QString kPictureFilter = QStringLiteral("Bitmap (*.bmp);;PNG image (*.png)");
const QString kDrawingFilter = QStringLiteral(";;SVG drawing (*.svg);;PDF document (*.pdf)");

// An SVG or a one-page PDF of `printable`'s own drawing, at its size, into
// `bytes`.
bool drawVector(Printable& printable, QByteArray& bytes, bool pdf) {
  const QSizeF size = printable.vectorSize();
  QBuffer buffer(&bytes);
  buffer.open(QIODevice::WriteOnly);
  QPainter painter;
  QSvgGenerator svg;
  QPdfWriter writer(&buffer);
  if (pdf) {
    writer.setResolution(96);
    writer.setPageSize(QPageSize(size / 96.0, QPageSize::Inch));
    writer.setPageMargins(QMarginsF(0, 0, 0, 0));
    if (!painter.begin(&writer)) return false;
  } else {
    svg.setOutputDevice(&buffer);
    svg.setSize(size.toSize());
    svg.setViewBox(QRectF(QPointF(0, 0), size));
    svg.setResolution(96);
    if (!painter.begin(&svg)) return false;
  }
  printable.paintVector(painter);
  return painter.end();
}

// Writes a picture's bytes in one piece, so a failing write leaves the
// previous picture as it was; a read-only one is replaced only when the user
// agrees. False when nothing was written; the user was told why.
bool writePicture(CommandContext& ctx, const QString& path, const QByteArray& bytes) {
  vandrel::WriteOptions options;
  if (!mayReplace(ctx.dialogParent(), path, options)) return false;
  const std::string error = vandrel::writeFileAtomically(
      nativePath(path), std::string_view(bytes.constData(), static_cast<std::size_t>(bytes.size())), options);
  if (error.empty()) return true;
  warn(ctx.dialogParent(), QStringLiteral("The picture could not be saved to %1.\n%2")
                               .arg(QDir::toNativeSeparators(path), QString::fromStdString(error)));
  return false;
}

// How long Save Screen As bmp lets the screen settle before it is taken.
constexpr int kSettleMs = 250;

PrintDialogRunner& dialogRunner() {
  static PrintDialogRunner runner;
  return runner;
}

bool askToPrint(QPrinter& printer, QWidget* parent) {
  if (dialogRunner()) return dialogRunner()(printer, parent);
  QPrintDialog dialog(&printer, parent);
  // Pages are cut by columns; there is no "selection" or "current page" to print.
  dialog.setOption(QAbstractPrintDialog::PrintSelection, false);
  dialog.setOption(QAbstractPrintDialog::PrintCurrentPage, false);
  return dialog.exec() == QDialog::Accepted;
}

QWidget* activeWindowWidget(const CommandContext& ctx) {
  QMdiSubWindow* sub = ctx.mainFrame->mdiArea()->activeSubWindow();
  return sub ? sub->widget() : nullptr;
}

Printable* printableOf(const CommandContext& ctx) {
  return dynamic_cast<Printable*>(activeWindowWidget(ctx));
}

// The header line names the document's file, whichever of its windows prints.
QString titleOf(const CommandContext& ctx) {
  if (ctx.document) return ctx.document->title();
  QMdiSubWindow* sub = ctx.mainFrame->mdiArea()->activeSubWindow();
  return sub ? sub->windowTitle() : QString();
}

QString suggestedPicturePath(const CommandContext& ctx, const QString& base) {
  QString folder;
  if (ctx.document && !ctx.document->path().isEmpty())
    folder = QFileInfo(ctx.document->path()).absolutePath();
  const QString name = base + QStringLiteral(".bmp");
  return folder.isEmpty() ? name : folder + QLatin1Char('/') + name;
}

// Asks for a file name and writes `image` there: PNG when the name says so,
// otherwise BMP, the menu's promise (a name without a suffix gets ".bmp").
void savePicture(CommandContext& ctx, const QString& caption, const QString& suggested,
                 const std::function<QImage()>& take, Printable* drawing = nullptr) {
  if (drawing && drawing->vectorSize().isEmpty()) drawing = nullptr;
  QString path = ctx.mainFrame->environment().hooks.saveFileName(
      ctx.dialogParent(), caption, suggested, drawing ? kPictureFilter + kDrawingFilter : kPictureFilter);
  if (path.isEmpty()) return;
  if (QFileInfo(path).suffix().isEmpty()) path += QStringLiteral(".bmp");
  const QString suffix = QFileInfo(path).suffix().toLower();
  if (drawing && (suffix == QStringLiteral("svg") || suffix == QStringLiteral("pdf"))) {
    QByteArray bytes;
    if (!drawVector(*drawing, bytes, suffix == QStringLiteral("pdf")))
      warn(ctx.dialogParent(),
           QStringLiteral("The picture could not be saved to %1.").arg(QDir::toNativeSeparators(path)));
    else if (writePicture(ctx, path, bytes))
      ctx.mainFrame->showStatus(QStringLiteral("Saved %1").arg(QDir::toNativeSeparators(path)));
    return;
  }
  const bool png = QFileInfo(path).suffix().compare(QStringLiteral("png"), Qt::CaseInsensitive) == 0;
  QGuiApplication::setOverrideCursor(Qt::WaitCursor);
  const QImage image = take();
  // 24 bits per pixel: every program that opens a BMP reads those.
  QByteArray bytes;
  QBuffer buffer(&bytes);
  buffer.open(QIODevice::WriteOnly);
  const bool encoded =
      !image.isNull() && image.convertToFormat(QImage::Format_RGB888).save(&buffer, png ? "PNG" : "BMP");
  QGuiApplication::restoreOverrideCursor();
  if (!encoded) {
    warn(ctx.dialogParent(),
         QStringLiteral("The picture could not be saved to %1.").arg(QDir::toNativeSeparators(path)));
    return;
  }
  if (!writePicture(ctx, path, bytes)) return;
  QString status = QStringLiteral("Saved %1 (%2 x %3 pixels)")
                       .arg(QDir::toNativeSeparators(path))
                       .arg(image.width())
                       .arg(image.height());
  const QString omitted = image.text(QStringLiteral("Omitted"));
  if (!omitted.isEmpty()) status += QStringLiteral("; too large for one picture, it leaves out ") + omitted;
  ctx.mainFrame->showStatus(status, omitted.isEmpty() ? 5000 : 15000);
}

void printDocument(CommandContext& ctx) {
  Printable* printable = printableOf(ctx);
  if (!printable) return;
  QPrinter& printer = ctx.mainFrame->printer();
  if (!askToPrint(printer, ctx.dialogParent())) return;
  printable->printTo(printer, titleOf(ctx));
}

void previewDocument(CommandContext& ctx) {
  QPointer<QWidget> window = activeWindowWidget(ctx);
  if (!printableOf(ctx)) return;
  // Not modal to the application: the table stays in reach while the pages
  // are looked at, and the preview closes with its window.
  auto* preview = new QPrintPreviewDialog(&ctx.mainFrame->printer(), ctx.dialogParent());
  preview->setAttribute(Qt::WA_DeleteOnClose);
  preview->setWindowTitle(QStringLiteral("Print Preview - %1").arg(titleOf(ctx)));
  const QString title = titleOf(ctx);
  QObject::connect(preview, &QPrintPreviewDialog::paintRequested, preview,
                   [window, title](QPrinter* printer) {
                     if (auto* printable = dynamic_cast<Printable*>(window.data()))
                       printable->printTo(*printer, title);
                   });
  QObject::connect(window, &QObject::destroyed, preview, &QWidget::close);
  preview->resize(900, 700);
  preview->show();
}

void saveWindowPicture(CommandContext& ctx) {
  Printable* printable = printableOf(ctx);
  if (!printable) return;
  const QString base = QFileInfo(titleOf(ctx)).completeBaseName();
  savePicture(
      ctx, QStringLiteral("Save As bmp"), suggestedPicturePath(ctx, base),
      [printable] { return printable->picture(); }, printable);
}

void saveScreenPicture(CommandContext& ctx) {
  // The screen as it is now, before the file dialog covers part of it - but
  // after the menu that chose the command has gone and the windows under it
  // have repainted, which the window system does in its own time.
  QEventLoop settle;
  QTimer::singleShot(kSettleMs, &settle, &QEventLoop::quit);
  settle.exec(QEventLoop::ExcludeUserInputEvents);
  QScreen* screen = ctx.mainFrame->screen();
  if (!screen) screen = QGuiApplication::primaryScreen();
  const QImage shot = screen ? screen->grabWindow(0).toImage() : QImage();
  if (shot.isNull()) {
    warn(ctx.dialogParent(), QStringLiteral("The screen could not be captured on this desktop."));
    return;
  }
  savePicture(ctx, QStringLiteral("Save Screen As bmp"), suggestedPicturePath(ctx, QStringLiteral("Screen")),
              [shot] { return shot; });
}

void install(CommandRouter& r) {
  const CommandEnabler printable = [](const CommandContext& ctx) { return printableOf(ctx) != nullptr; };
  r.setHandler(ID_FILE_PRINT, printDocument, printable);
  r.setHandler(ID_FILE_PRINT_PREVIEW, previewDocument, printable);
  r.setHandler(ID_FILE_SAVE_BMP, saveWindowPicture, printable);
  r.setHandler(ID_FILE_SAVE_SCREEN_BMP, saveScreenPicture);
}

const bool installed = addCommandInstaller(&install);

}  // namespace

void installPrintCommands(CommandRouter& router) { install(router); }

void setPrintDialogRunner(PrintDialogRunner runner) { dialogRunner() = std::move(runner); }

}  // namespace vandrel::ui
