#pragma once
// FftLpcView: the inside of the "::FFT/LPC" window. At one time of the
// utterance (or averaged over a time range) it shows the FFT spectrum and
// LPC envelope of the natural recording (the document's audio file) and of
// the synthetic copy (its synthesized buffer) over each other, the fit meter
// of the two envelopes, and beneath them the fit over the whole utterance,
// measured on a worker thread. The time and the range averaged over are the
// document's (Workspace), shared with its spectrogram; the slider and a
// click on the strip move that time, a drag on the strip selects the range.
//
// The copy follows the table: while the table has changed since the
// document's last synthesis, the view synthesizes it for itself (debounced,
// on a worker, into a buffer of its own with a copy of the noise state), so
// the document's buffers, flags and noise never depend on whether this
// window is open. Once the document is synthesized again its buffer is shown.

#include <QFuture>
#include <QPointer>
#include <QWidget>

#include <atomic>
#include <memory>
#include <optional>
#include <utility>

#include "analysis/SpectralDistance.h"
#include "analysis/SpectralSlice.h"
#include "common/Printable.h"
#include "document/DocObserver.h"
#include "views/fftlpc/FftLpcPlot.h"

class QSlider;
class QLabel;
class QTimer;

namespace vandrel {
class CVandrelDoc;
}

namespace vandrel::ui {

class OpenDocument;

class FftLpcView : public QWidget, public Printable {
  Q_OBJECT
 public:
  FftLpcView(OpenDocument& document, const vandrel::COptionFFTLPC& options, double preEmphasis,
             QWidget* parent = nullptr);
  ~FftLpcView() override;

  void setOptions(const vandrel::COptionFFTLPC& options, double preEmphasis);
  const vandrel::COptionFFTLPC& options() const { return picture_.options; }

  double timeMs() const { return picture_.timeMs; }
  void setTimeMs(double ms);
  // Set the document's cursor and range. With a range, the slices are the
  // averages from its start to its end at the options' step.
  void setSelection(double startMs, double endMs);
  void clearSelection();

  const vandrel::SpectralSlice& naturalSlice() const { return natural_; }
  const vandrel::SpectralSlice& copySlice() const { return copy_; }
  const vandrel::FitMeter& meter() const { return picture_.meter; }
  // The strip's values; null until the worker has delivered them.
  const vandrel::DistanceTrack* track() const { return picture_.track; }
  // Waits for the workers (the private synthesis, then the strip) and takes
  // their results (for tests and printing).
  void finishTrack();

  // The copy's sound shown now: the document's synthesized buffer while it
  // is up to date with the table, else the view's own synthesis of it.
  const vandrel::SampleSet& copySound() const;

  QSlider* timeSlider() const { return slider_; }
  QWidget* canvas() const { return canvas_; }
  FftLpcLayout layout() const;

  // The one drawing routine of screen, printout and pictures.
  void paint(QPainter& painter, const QRect& area) const;

  void printTo(QPrinter& printer, const QString& title) override;
  QImage picture() override;
  QSizeF vectorSize() override { return printSize(); }
  void paintVector(QPainter& painter) override;

 private:
  friend class FftLpcCanvas;
  void samplesChanged(vandrel::SampleSlot slot);
  void tableEdited();
  void synthesizePrivately();
  void takeSynthesis();  // the finished private synthesis into the picture
  void takeTrack();      // the finished strip into the picture
  void followCursor();   // the document's cursor time and range into the picture
  void recompute();      // both slices and the meter, at once
  void restartTrack();   // the strip, on the worker
  void stopTrack();
  void updateSlider();
  double lengthMs() const;
  QSizeF printSize() const;  // the options' width and height, in 1/96 inch

  QPointer<OpenDocument> document_;
  double preEmphasis_ = 0.98;
  vandrel::SliceSettings settings_;
  vandrel::SliceAnalyser naturalAnalyser_, copyAnalyser_;
  vandrel::SpectralSlice natural_, copy_;
  vandrel::DistanceTrack track_;
  FftLpcPicture picture_;

  // The strip's worker: cancelled through its flag, never waited for on
  // the UI thread except by finishTrack().
  QFuture<vandrel::DistanceTrack> trackRun_;
  std::shared_ptr<std::atomic<bool>> cancel_;
  int generation_ = 0;
  int trackTaken_ = 0;

  // The view's own synthesis of a changed table, and its run.
  std::optional<vandrel::SampleSet> ownCopy_;
  QFuture<vandrel::SampleSet> synthesisRun_;
  int synthesisGeneration_ = 0;  // moves on when a run starts or the document synthesizes
  int synthesisRunAt_ = 0;       // the generation the last run started at
  int synthesisTaken_ = 0;

  QWidget* canvas_ = nullptr;
  QSlider* slider_ = nullptr;
  QLabel* timeLabel_ = nullptr;
  QTimer* resynthesis_ = nullptr;
};

}  // namespace vandrel::ui
