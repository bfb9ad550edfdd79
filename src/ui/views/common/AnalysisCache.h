#pragma once
// AnalysisCache: the analyses of one document's signals, computed once and
// shared by every window that shows them. The spectrogram/pitch window and
// the drawing window ask for the pitch track of the recording with the same
// settings; the second asks and gets the first one's run (finished or still
// going) instead of starting its own. A spectrogram grid is shared when two
// windows want the same stretch at the same size. The samples themselves are
// held once per signal, so a minute of speech is not copied per window.
//
// Entries belong to one version of a signal: when the signal changes, the
// next request makes a new copy of the samples and every run on the old copy
// is left to finish and be forgotten.

#include <QFuture>
#include <QObject>

#include <cstddef>
#include <memory>
#include <vector>

#include "document/DocObserver.h"
#include "views/common/SignalAnalysis.h"

namespace vandrel::ui {

class OpenDocument;

template <class Result>
struct AnalysisRun {
  QFuture<Result> future;
  std::shared_ptr<AnalysisProgressCounter> progress;
};

class AnalysisCache : public QObject {
  Q_OBJECT
 public:
  static AnalysisCache& of(OpenDocument& document);

  // The samples of `slot` as they are now, one copy for every caller; null
  // when the slot is empty.
  Samples samples(vandrel::SampleSlot slot);

  // The run for `request`: the one already made for an equal request, or a
  // new one on a worker thread.
  AnalysisRun<SpectrogramResult> spectrogram(const SpectrogramRequest& request);
  AnalysisRun<PitchResult> pitch(const PitchRequest& request);

  // How many analyses this document has started, to show what a second
  // window costs: a pitch track none, a spectrogram none unless its size or
  // settings differ (a grid has one column per pixel).
  int spectrogramsStarted() const { return spectrogramsStarted_; }
  int pitchesStarted() const { return pitchesStarted_; }

 private:
  explicit AnalysisCache(OpenDocument& document);
  void forgetOld();

  OpenDocument& document_;
  Samples samples_[3];
  double fs_[3] = {0, 0, 0};
  std::vector<std::pair<SpectrogramRequest, AnalysisRun<SpectrogramResult>>> spectrograms_;
  std::vector<std::pair<PitchRequest, AnalysisRun<PitchResult>>> pitches_;
  int spectrogramsStarted_ = 0;
  int pitchesStarted_ = 0;
};

}  // namespace vandrel::ui
