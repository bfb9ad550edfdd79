#include "app/CProgressDialog.h"

#include <QApplication>
#include <QPainter>

#include <algorithm>

namespace vandrel::ui {

const QString CProgressDialog::kSynthesizing = QStringLiteral(" Synthesizing... ");
const QString CProgressDialog::kSpectrogram = QStringLiteral(" Processing Spectrogram... ");
const QString CProgressDialog::kPitch = QStringLiteral(" Processing Pitch... ");
const QString CProgressDialog::kBuildingTable = QStringLiteral(" Building the SpreadSheet table... ");

CProgressDialog::CProgressDialog(const QString& caption, QWidget* parent)
    : QDialog(parent, Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint), caption_(caption) {
  setWindowTitle(caption.trimmed());
  setFixedSize(320, 72);
  setAttribute(Qt::WA_OpaquePaintEvent);
}

QRect CProgressDialog::barRect(const QSize& size) {
  return QRect(QPoint(10, size.height() - 25), QPoint(size.width() - 10 - 1, size.height() - 10 - 1));
}

QRect CProgressDialog::filledRect(const QSize& size, int done, int total) {
  const QRect bar = barRect(size);
  if (total <= 0 || done <= 0) return QRect(bar.topLeft(), QSize(0, bar.height()));
  const long long width = static_cast<long long>(bar.width()) * std::min(done, total) / total;
  return QRect(bar.topLeft(), QSize(static_cast<int>(width), bar.height()));
}

void CProgressDialog::setProgress(int done, int total) {
  done_ = done;
  total_ = total;
  const int width = filledRect(size(), done, total).width();
  if (width == shownWidth_) return;
  shownWidth_ = width;
  if (isVisible()) {
    repaint();
    QApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
  }
}

CProgressDialog::Progress CProgressDialog::callback() {
  return [this](int done, int total) { setProgress(done, total); };
}

void CProgressDialog::run(QWidget* parent, const QString& caption,
                          const std::function<void(const Progress&)>& work) {
  CProgressDialog dialog(caption, parent);
  dialog.show();
  dialog.raise();
  QApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
  work(dialog.callback());
  dialog.hide();
}

void CProgressDialog::paintEvent(QPaintEvent*) {
  QPainter p(this);
  p.fillRect(rect(), QColor(255, 255, 0));
  const QRect bar = barRect(size());
  p.fillRect(bar, Qt::white);
  p.fillRect(filledRect(size(), done_, total_), QColor(0, 0, 160));
  p.setPen(Qt::black);
  const QRect textArea(10, 0, width() - 20, bar.top());
  p.drawText(textArea, Qt::AlignLeft | Qt::AlignVCenter, caption_);
}

}  // namespace vandrel::ui
