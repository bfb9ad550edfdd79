#include "common/LazyProgress.h"

namespace vandrel::ui {

LazyProgress::LazyProgress(QWidget* parent, QString caption, int delayMs)
    : parent_(parent), caption_(std::move(caption)), delayMs_(delayMs) {
  clock_.start();
}

LazyProgress::~LazyProgress() = default;

void LazyProgress::step(int done, int total) {
  if (!dialog_) {
    if (clock_.elapsed() < delayMs_ || total <= 0 || done * 10 >= total * 9) return;
    dialog_ = std::make_unique<CProgressDialog>(caption_, parent_.data());
    dialog_->show();
  }
  dialog_->setProgress(done, total);
}

CProgressDialog::Progress LazyProgress::callback() {
  return [this](int done, int total) { step(done, total); };
}

}  // namespace vandrel::ui
