#pragma once
// CProgressDialog: the small window that a long operation shows while it
// runs. It draws itself: a yellow client area, a white bar area 10 px in from
// the left and right edges and from 25 to 10 px above the bottom, the part
// done filled, and the operation's caption above the bar.

#include <QDialog>
#include <QString>

#include <functional>

namespace vandrel::ui {

class CProgressDialog : public QDialog {
  Q_OBJECT
 public:
  // The captions, blanks included.
  static const QString kSynthesizing;   // " Synthesizing... "
  static const QString kSpectrogram;    // " Processing Spectrogram... "
  static const QString kPitch;          // " Processing Pitch... "
  static const QString kBuildingTable;  // " Building the SpreadSheet table... "

  using Progress = std::function<void(int done, int total)>;

  explicit CProgressDialog(const QString& caption, QWidget* parent = nullptr);

  QString caption() const { return caption_; }
  int done() const { return done_; }
  int total() const { return total_; }

  // Records the step and repaints at once when the filled width changes, so
  // the window keeps up while the interface thread is busy in the core.
  void setProgress(int done, int total);

  // A core progress callback that steps this dialog.
  Progress callback();

  // Shows a dialog with `caption` over `parent`, runs `work` with its
  // callback, and takes the dialog down again.
  static void run(QWidget* parent, const QString& caption, const std::function<void(const Progress&)>& work);

  // The bar area and its filled part for a client area of `size`.
  static QRect barRect(const QSize& size);
  static QRect filledRect(const QSize& size, int done, int total);

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  QString caption_;
  int done_ = 0;
  int total_ = 0;
  int shownWidth_ = -1;
};

}  // namespace vandrel::ui
