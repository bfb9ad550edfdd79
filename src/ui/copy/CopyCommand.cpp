#include "copy/CopyCommand.h"

#include <QDialog>
#include <QDialogButtonBox>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QStatusBar>
#include <QTimer>
#include <QVBoxLayout>

#include <atomic>
#include <system_error>
#include <thread>

#include "app/CMainFrame.h"
#include "app/CommandIds.h"
#include "app/CommandRouter.h"
#include "batch/CopyIntoDocument.h"
#include "common/Messages.h"

namespace vandrel::ui {

namespace {

// How often the window looks at the worker.
constexpr int kPollMs = 25;

// The copy's progress, with Cancel. Cancel (or Escape, or closing the window)
// asks the worker to stop and waits for it: the worker polls between frames,
// so that is a moment.
class CopyProgressDialog : public QDialog {
 public:
  explicit CopyProgressDialog(QWidget* parent) : QDialog(parent) {
    setWindowTitle(QStringLiteral("Copy Synthesis"));
    setModal(true);
    caption_ = new QLabel(QStringLiteral("Copying the recording into the table..."), this);
    bar_ = new QProgressBar(this);
    bar_->setRange(0, 100);
    buttons_ = new QDialogButtonBox(QDialogButtonBox::Cancel, this);
    connect(buttons_, &QDialogButtonBox::rejected, this, &CopyProgressDialog::reject);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(caption_);
    layout->addWidget(bar_);
    layout->addWidget(buttons_);
    setMinimumWidth(360);
  }

  bool cancelled() const { return cancel_.load(); }

  // Runs the copy of `audio` into `into` on a worker; kCancelled when the
  // user cancelled, even if the worker had just finished.
  vandrel::CopyResult run(const vandrel::SampleSet& audio, const vandrel::CopySettings& settings,
                          vandrel::CVandrelDoc& into) {
    std::atomic<int> percent{0};
    std::atomic<bool> finished{false};
    vandrel::CopyResult result;
    // Short of memory, the copy says so in its result.
    const auto job = [&] {
      result = vandrel::copySynthesis(
          audio, settings, into, [&](int p) { percent.store(p); }, &cancel_);
      finished.store(true);
    };
    std::thread worker;
    try {
      worker = std::thread(job);
    } catch (const std::system_error&) {
      job();  // no thread to be had: the copy runs here, and the window waits for it
      return result;
    }
    QTimer poll;
    connect(&poll, &QTimer::timeout, this, [&] {
      bar_->setValue(percent.load());
      if (finished.load()) QDialog::done(QDialog::Accepted);
    });
    poll.start(kPollMs);
    exec();
    worker.join();
    if (cancelled()) {
      result = {};
      result.status = vandrel::CopyResult::Status::kCancelled;
    }
    return result;
  }

  void reject() override {
    cancel_.store(true);
    caption_->setText(QStringLiteral("Cancelling..."));
    buttons_->setEnabled(false);
  }

 private:
  std::atomic<bool> cancel_{false};
  QLabel* caption_ = nullptr;
  QProgressBar* bar_ = nullptr;
  QDialogButtonBox* buttons_ = nullptr;
};

void copyFromAudio(CommandContext& ctx) {
  vandrel::CVandrelDoc& doc = *ctx.doc();
  if (!doc.hasAudio()) return;
  const vandrel::SampleSet audio = doc.audio();  // the worker's own
  vandrel::CVandrelDoc copy;
  CopyProgressDialog dialog(ctx.dialogParent());
  const vandrel::CopyResult r = dialog.run(audio, vandrel::copySettingsFor(doc), copy);
  if (r.status == vandrel::CopyResult::Status::kCancelled) {
    ctx.mainFrame->showStatus(QStringLiteral("Copy Synthesis cancelled: the table is as it was"));
    return;
  }
  if (r.status != vandrel::CopyResult::Status::kOk) {
    showMessage(MessageRequest{
        ctx.dialogParent(),
        QStringLiteral("The recording could not be copied: %1.").arg(QString::fromStdString(r.message)),
        {},
        QMessageBox::Warning,
        QMessageBox::Ok,
        true});
    return;
  }
  vandrel::enterCopy(doc, copy);
  // The report (anchors per row) runs longer than the bar holds beside its
  // fields in most windows: while it stands, the bar's tooltip shows it whole.
  const QString report = QString::fromStdString(vandrel::copyReport(r));
  ctx.mainFrame->showStatus(report, 0);
  QStatusBar* bar = ctx.mainFrame->statusBar();
  bar->setToolTip(report);
  QObject::connect(
      bar, &QStatusBar::messageChanged, bar, [bar] { bar->setToolTip({}); }, Qt::SingleShotConnection);
}

const bool installed = addCommandInstaller(&installCopyCommands);

}  // namespace

void installCopyCommands(CommandRouter& router) {
  router.setHandler(ID_ANALYSIS_COPY_SYNTHESIS, copyFromAudio,
                    [](const CommandContext& ctx) { return ctx.doc() != nullptr && ctx.doc()->hasAudio(); });
}

}  // namespace vandrel::ui
