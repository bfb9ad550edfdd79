// The File menu's handlers that belong to the shell.

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMdiArea>
#include <QPageSetupDialog>

#include <filesystem>
#include <system_error>

#include "SndfileDecoder.h"
#include "app/CChildFrame.h"
#include "app/CMainFrame.h"
#include "app/CProgressDialog.h"
#include "app/CommandIds.h"
#include "app/DocumentRecovery.h"
#include "app/OpenDocument.h"
#include "audio/Wave.h"
#include "common/Messages.h"
#include "common/ReplaceFile.h"
#include "common/Synthesize.h"
#include "config/ConfigFile.h"
#include "document/OpenFile.h"
#include "document/VdrFile.h"
#include "engine/Synthesizer.h"
#include "labels/DocumentLabels.h"

namespace vandrel::ui {

namespace {

const QString kVdrFilter = QStringLiteral("Vandrel Files (*.vdr);;All files (*)");
const QString kWaveFilter = QStringLiteral("Wave files (*.wav);;All files (*)");
const QString kConfigFilter = QStringLiteral("Vandrel configuration (*.cfg);;All files (*)");

std::string toStd(const QString& s) { return nativePath(s); }
QString fromStd(std::string_view s) { return QString::fromUtf8(s.data(), static_cast<qsizetype>(s.size())); }

// The labels beside a file just opened (the TextGrid of the same name): a
// table's always, a recording's when the document has none yet. Labels that
// cannot be read are said, and the file stays open without them.
void openSidecar(QWidget* parent, vandrel::CVandrelDoc& doc, const QString& path, bool recording) {
  if (recording && doc.labels()) return;
  const std::string why = vandrel::openSidecarLabels(doc, toStd(path));
  if (!why.empty()) warn(parent, QStringLiteral("The labels could not be read.\n%1").arg(fromStd(why)));
}

QString startFolder(const CommandContext& ctx) {
  if (ctx.document && !ctx.document->path().isEmpty()) return QFileInfo(ctx.document->path()).absolutePath();
  const QStringList recent = ctx.mainFrame->recentFiles();
  return recent.isEmpty() ? QString() : QFileInfo(recent.first()).absolutePath();
}

QString withSuffix(QString path, const QString& suffix) {
  if (!path.isEmpty() && QFileInfo(path).suffix().isEmpty()) path += suffix;
  return path;
}

void openDocumentFile(CommandContext& ctx) {
  const QString path = ctx.mainFrame->environment().hooks.openFileName(
      ctx.dialogParent(), QStringLiteral("Open"), startFolder(ctx), kVdrFilter);
  if (!path.isEmpty()) ctx.mainFrame->openFile(path);
}

void openAudioFile(CommandContext& ctx) {
  const QString path = ctx.mainFrame->environment().hooks.openFileName(
      ctx.dialogParent(), QStringLiteral("Open an Audio file"), startFolder(ctx), kWaveFilter);
  if (path.isEmpty()) return;
  vandrel::OpenedFile opened = vandrel::readAudioFile(toStd(path), vandrel::sndfileDecoder());
  if (!opened.ok()) {
    warn(ctx.dialogParent(), fromStd(opened.message));
    return;
  }
  if (!ctx.document) ctx.mainFrame->newDocument();
  OpenDocument* doc = ctx.mainFrame->activeDocument();
  const QString note = fromStd(opened.note);
  vandrel::applyOpened(doc->doc(), std::move(opened));  // tells the windows itself
  openSidecar(ctx.dialogParent(), doc->doc(), path, true);
  ctx.mainFrame->showStatus(
      note.isEmpty()
          ? QStringLiteral("Audio file %1 opened beside %2").arg(QFileInfo(path).fileName(), doc->title())
          : note,
      note.isEmpty() ? 5000 : 15000);
}

void closeDocument(CommandContext& ctx) {
  OpenDocument& doc = *ctx.document;
  // One prompt for the document; its other windows then close quietly.
  if (!ctx.mainFrame->queryCloseWindow(*ctx.childFrame)) return;
  if (ctx.mainFrame->windowsOf(doc).size() > 1 && doc.isModified()) {
    const auto answer = showMessage(MessageRequest{ctx.mainFrame,
                                                   QStringLiteral("Save changes to %1?").arg(doc.title()),
                                                   {},
                                                   QMessageBox::Warning,
                                                   QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel,
                                                   false});
    if (answer == QMessageBox::Cancel) return;
    if (answer == QMessageBox::Yes && !ctx.mainFrame->saveDocument(doc, false)) return;
  }
  doc.setModified(false);
  for (CChildFrame* f : ctx.mainFrame->windowsOf(doc)) f->close();
}

void exportParameters(CommandContext& ctx, vandrel::VdrKind kind) {
  const QString suggested = fromStd(vandrel::suggestedFileName(kind)) + QStringLiteral(".vdr");
  const QString folder = startFolder(ctx);
  QString path = ctx.mainFrame->environment().hooks.saveFileName(
      ctx.dialogParent(), QStringLiteral("Save As"), folder.isEmpty() ? suggested : folder + "/" + suggested,
      kVdrFilter);
  path = withSuffix(path, QStringLiteral(".vdr"));
  vandrel::WriteOptions options;
  if (path.isEmpty() || !mayReplace(ctx.dialogParent(), path, options)) return;
  const std::string error = vandrel::saveVdrFile(toStd(path), ctx.document->doc(), kind, options);
  if (!error.empty()) {
    warn(ctx.dialogParent(), QStringLiteral("The file could not be saved.\n%1").arg(fromStd(error)));
    return;
  }
  ctx.mainFrame->addRecentFile(path);
  ctx.mainFrame->showStatus(QStringLiteral("Saved %1").arg(QDir::toNativeSeparators(path)));
}

void saveAsAudio(CommandContext& ctx) {
  synthesizeWithProgress(*ctx.doc(), ctx.dialogParent());
  const vandrel::CVandrelDoc& doc = *ctx.doc();
  if (doc.synthesized().empty()) {
    warn(ctx.dialogParent(), QStringLiteral("There is no synthesized sound to save."));
    return;
  }
  QString suggested = QFileInfo(ctx.document->title()).completeBaseName() + QStringLiteral(".wav");
  const QString folder = startFolder(ctx);
  if (!folder.isEmpty()) suggested = folder + "/" + suggested;
  QString path = ctx.mainFrame->environment().hooks.saveFileName(
      ctx.dialogParent(), QStringLiteral("Save As Audio"), suggested, kWaveFilter);
  path = withSuffix(path, QStringLiteral(".wav"));
  vandrel::WriteOptions options;
  if (path.isEmpty() || !mayReplace(ctx.dialogParent(), path, options)) return;
  const std::string error = vandrel::saveWaveFile(toStd(path), doc.synthesized(), options);
  if (!error.empty()) {
    warn(ctx.dialogParent(), QStringLiteral("The audio file could not be saved.\n%1").arg(fromStd(error)));
    return;
  }
  ctx.mainFrame->showStatus(QStringLiteral("Saved %1").arg(QDir::toNativeSeparators(path)));
}

QString configProblem(vandrel::ConfigStatus status, const QString& path) {
  const QString name = QFileInfo(path).fileName();
  switch (status) {
    case vandrel::ConfigStatus::kMissing:
      return QStringLiteral("The file %1 cannot be read.").arg(name);
    case vandrel::ConfigStatus::kBadVersion:
      return QStringLiteral("The file %1 was written by a later version of Vandrel and cannot be loaded.")
          .arg(name);
    case vandrel::ConfigStatus::kBadField:
      return QStringLiteral(
                 "The file %1 is damaged: one of its settings is out of range. Nothing was loaded.")
          .arg(name);
    case vandrel::ConfigStatus::kBadCheck:
      return QStringLiteral(
                 "The file %1 is damaged: its contents no longer match its check value. Nothing was loaded.")
          .arg(name);
    default:
      return QStringLiteral("The file %1 is not a Vandrel configuration file. Nothing was loaded.").arg(name);
  }
}

void loadConfiguration(CommandContext& ctx) {
  ShellEnvironment& env = ctx.mainFrame->environment();
  const QString path = env.hooks.openFileName(ctx.dialogParent(), QStringLiteral("Load Configuration"),
                                              env.tempFolder, kConfigFilter);
  if (path.isEmpty()) return;
  vandrel::ConfigRecord record;
  const auto status = vandrel::loadConfigFile(toStd(path), record);
  if (status != vandrel::ConfigStatus::kOk) {
    warn(ctx.dialogParent(), configProblem(status, path));
    return;
  }
  // The loaded record is the configuration from now on, this run and the next.
  env.config = record;
  if (QFileInfo(path).absoluteFilePath() != QFileInfo(env.configPath()).absoluteFilePath()) {
    const std::string error = vandrel::saveConfigFile(toStd(env.configPath()), record);
    if (!error.empty())
      warn(ctx.dialogParent(),
           QStringLiteral("The configuration could not be kept in the temp folder.\n%1").arg(fromStd(error)));
  }
  ctx.mainFrame->showStatus(QStringLiteral("Configuration loaded: new documents start from it"));
}

void saveConfiguration(CommandContext& ctx) {
  ShellEnvironment& env = ctx.mainFrame->environment();
  vandrel::ConfigRecord record = env.config;
  if (ctx.doc()) vandrel::storeConfig(*ctx.doc(), record);
  ctx.mainFrame->storePlacement();
  record.display = env.config.display;
  QString path = env.hooks.saveFileName(ctx.dialogParent(), QStringLiteral("Save Configuration"),
                                        QStringLiteral("VandrelConf.cfg"), kConfigFilter);
  path = withSuffix(path, QStringLiteral(".cfg"));
  if (path.isEmpty()) return;
  const std::string error = vandrel::saveConfigFile(toStd(path), record);
  if (!error.empty()) {
    warn(ctx.dialogParent(), QStringLiteral("The configuration could not be saved.\n%1").arg(fromStd(error)));
    return;
  }
  ctx.mainFrame->showStatus(QStringLiteral("Configuration saved to %1").arg(QDir::toNativeSeparators(path)));
}

void revertConfiguration(CommandContext& ctx) {
  if (!askYesNo(ctx.mainFrame, QStringLiteral("Vandrel will close. Save your file first. Continue?"))) return;
  ShellEnvironment& env = ctx.mainFrame->environment();
  QFile::remove(env.configPath());
  env.config = vandrel::ConfigRecord::defaults();
  QMetaObject::invokeMethod(ctx.mainFrame, &QWidget::close, Qt::QueuedConnection);
}

void openRecent(CommandContext& ctx) {
  const int index = ctx.id - ID_FILE_MRU_FILE1;
  const QStringList recent = ctx.mainFrame->recentFiles();
  if (index < 0 || index >= recent.size()) return;
  const QString path = recent.at(index);
  if (!ctx.mainFrame->openFile(path)) ctx.mainFrame->removeRecentFile(path);
}

}  // namespace

bool CMainFrame::openFile(const QString& path) {
  // A document that is already open is brought forward, not opened twice:
  // two copies of one file would each save over the other's edits.
  // Compared by the system's names: Qt cannot see a file whose name is not UTF-8.
  const std::string wanted = toStd(path);
  for (CChildFrame* f : childFrames()) {
    const QString open = f->document().path();
    std::error_code ec;
    if (open.isEmpty() || !std::filesystem::equivalent(toStd(open), wanted, ec)) continue;
    mdi_->setActiveSubWindow(f);
    f->widget()->setFocus();
    addRecentFile(path);
    showStatus(QStringLiteral("%1 is already open").arg(QFileInfo(path).fileName()), 5000);
    return true;
  }
  OpenDocument* active = activeDocument();
  const vandrel::ParameterSet defaults = active ? active->doc().params() : vandrel::ParameterSet{};
  vandrel::OpenedFile opened = vandrel::readAnyFile(toStd(path), vandrel::sndfileDecoder(), defaults);
  if (!opened.ok()) {
    warn(this, fromStd(opened.message));
    return false;
  }
  if (opened.kind == vandrel::OpenedKind::kAudio) {
    if (!active) {
      newDocument();
      active = activeDocument();
    }
    const QString note = fromStd(opened.note);
    vandrel::applyOpened(active->doc(), std::move(opened));  // tells the windows itself
    openSidecar(this, active->doc(), path, true);
    showStatus(note.isEmpty() ? QStringLiteral("Audio file %1 opened beside %2")
                                    .arg(QFileInfo(path).fileName(), active->title())
                              : note,
               note.isEmpty() ? 5000 : 15000);
    return true;
  }
  auto doc = std::make_shared<OpenDocument>(++untitledCount_);
  vandrel::applyConfig(env_.config, doc->doc());
  vandrel::applyOpened(doc->doc(), std::move(opened));
  openSidecar(this, doc->doc(), path, false);
  doc->setPath(QFileInfo(path).absoluteFilePath());
  addWindow(std::move(doc));
  addRecentFile(path);
  return true;
}

bool CMainFrame::saveDocument(OpenDocument& document, bool askName) {
  QString path = document.path();
  if (askName || path.isEmpty()) {
    const QString suggested = path.isEmpty() ? document.title() + QStringLiteral(".vdr") : path;
    path = withSuffix(env_.hooks.saveFileName(this, QStringLiteral("Save As"), suggested, kVdrFilter),
                      QStringLiteral(".vdr"));
    if (path.isEmpty()) return false;
  }
  vandrel::WriteOptions options;
  if (!mayReplace(this, path, options)) return false;
  const std::string error =
      vandrel::saveVdrFile(toStd(path), document.doc(), vandrel::VdrKind::kAllParameters, options);
  if (!error.empty()) {
    warn(this, QStringLiteral("The file could not be saved.\n%1").arg(fromStd(error)));
    return false;
  }
  if (const std::string labels = vandrel::saveSidecarLabels(document.doc(), toStd(path)); !labels.empty()) {
    warn(this, QStringLiteral("The labels could not be saved.\n%1").arg(fromStd(labels)));
    return false;
  }
  document.setPath(QFileInfo(path).absoluteFilePath());
  document.setModified(false);
  if (recovery_) recovery_->forget(document.serial());
  addRecentFile(path);
  return true;
}

bool CMainFrame::writeConfigurationFile(const vandrel::CVandrelDoc* doc) {
  if (doc) vandrel::storeConfig(*doc, env_.config);
  storePlacement();
  const std::string error = vandrel::saveConfigFile(toStd(env_.configPath()), env_.config);
  if (error.empty()) return true;
  warn(this,
       QStringLiteral("The configuration could not be saved in the temp folder.\n%1").arg(fromStd(error)));
  return false;
}

bool CMainFrame::openRecoveredCopy(const QString& copy, const QString& originalPath) {
  auto doc = std::make_shared<OpenDocument>(++untitledCount_);
  vandrel::applyConfig(env_.config, doc->doc());
  vandrel::VdrReadResult read = vandrel::readVdrFile(toStd(copy), doc->doc().params());
  if (!read.ok()) return false;
  vandrel::loadVdr(doc->doc(), std::move(read.content));
  // The labels as they were at the copy (its own TextGrid), not the ones
  // last saved beside the original.
  vandrel::openSidecarLabels(doc->doc(), toStd(copy));
  if (!originalPath.isEmpty()) doc->setPath(originalPath);
  doc->setModified(true);
  addWindow(std::move(doc));
  return true;
}

void installFileCommands(CommandRouter& r) {
  r.setHandler(ID_FILE_NEW, [](CommandContext& ctx) { ctx.mainFrame->newDocument(); });
  r.setHandler(ID_FILE_OPEN, openDocumentFile);
  r.setHandler(ID_FILE_OPEN_AUDIO, openAudioFile);
  r.setHandler(ID_FILE_CLOSE, closeDocument);
  r.setHandler(ID_FILE_SAVE, [](CommandContext& ctx) { ctx.mainFrame->saveDocument(*ctx.document, false); });
  r.setHandler(ID_FILE_SAVE_AS,
               [](CommandContext& ctx) { ctx.mainFrame->saveDocument(*ctx.document, true); });
  r.setHandler(ID_FILE_SAVE_SELECTED,
               [](CommandContext& ctx) { exportParameters(ctx, vandrel::VdrKind::kSelectedParameters); });
  r.setHandler(ID_FILE_SAVE_ALL,
               [](CommandContext& ctx) { exportParameters(ctx, vandrel::VdrKind::kAllParameters); });
  r.setHandler(ID_FILE_SAVE_AUDIO, saveAsAudio);
  r.setHandler(ID_FILE_LOAD_CONFIG, loadConfiguration);
  r.setHandler(ID_FILE_SAVE_CONFIG, saveConfiguration);
  r.setHandler(ID_FILE_REVERT_CONFIG, revertConfiguration);
  r.setHandler(ID_FILE_PRINT_SETUP, [](CommandContext& ctx) {
    QPageSetupDialog dialog(&ctx.mainFrame->printer(), ctx.dialogParent());
    dialog.exec();
  });
  for (int i = 0; i < kRecentFileCount; ++i) r.setHandler(ID_FILE_MRU_FILE1 + i, openRecent);
  r.setHandler(ID_APP_EXIT, [](CommandContext& ctx) { ctx.mainFrame->close(); });
}

}  // namespace vandrel::ui
