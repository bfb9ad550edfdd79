#pragma once
// LazyProgress: a progress callback for work on the table that is usually
// quick (building it, adding time) but can take a while on a long table. The
// progress window " Building the SpreadSheet table... " appears only once the
// work has run for about 300 ms and is not nearly done, so ordinary edits
// never flash a window.

#include <QElapsedTimer>
#include <QPointer>
#include <QString>

#include <memory>

#include "app/CProgressDialog.h"

namespace vandrel::ui {

class LazyProgress {
 public:
  explicit LazyProgress(QWidget* parent, QString caption = CProgressDialog::kBuildingTable,
                        int delayMs = 300);
  ~LazyProgress();

  // Steps the window, opening it when the delay has passed.
  void step(int done, int total);
  CProgressDialog::Progress callback();

  bool shown() const { return dialog_ != nullptr; }

 private:
  QPointer<QWidget> parent_;
  QString caption_;
  int delayMs_;
  QElapsedTimer clock_;
  std::unique_ptr<CProgressDialog> dialog_;
};

}  // namespace vandrel::ui
