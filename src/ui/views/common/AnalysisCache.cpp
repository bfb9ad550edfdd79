#include "views/common/AnalysisCache.h"

#include <algorithm>

#include "app/OpenDocument.h"
#include "common/RunOnWorker.h"
#include "document/VandrelDoc.h"

namespace vandrel::ui {

namespace {

constexpr const char* kName = "vandrel-analysis-cache";
// Zooming asks for a new stretch each time; the last few grids are kept so
// that going back to a view seen a moment ago costs nothing.
constexpr std::size_t kGridsKept = 8;

bool sameRequest(const SpectrogramRequest& a, const SpectrogramRequest& b) {
  return a.samples == b.samples && a.fs == b.fs && a.startMs == b.startMs && a.endMs == b.endMs &&
         a.columns == b.columns && a.rows == b.rows && a.options == b.options;
}

bool sameRequest(const PitchRequest& a, const PitchRequest& b) {
  return a.samples == b.samples && a.fs == b.fs && a.startMs == b.startMs && a.endMs == b.endMs &&
         a.options == b.options && a.method == b.method;
}

}  // namespace

AnalysisCache::AnalysisCache(OpenDocument& document) : QObject(&document), document_(document) {
  setObjectName(kName);
}

AnalysisCache& AnalysisCache::of(OpenDocument& document) {
  auto* c = document.findChild<AnalysisCache*>(kName, Qt::FindDirectChildrenOnly);
  if (c == nullptr) c = new AnalysisCache(document);
  return *c;
}

Samples AnalysisCache::samples(vandrel::SampleSlot slot) {
  const auto i = static_cast<std::size_t>(slot);
  const vandrel::SampleSet& set = document_.doc().sampleSet(slot);
  if (set.empty() || !(set.sampleRate > 0)) {
    samples_[i].reset();
  } else if (!samples_[i] || fs_[i] != set.sampleRate || *samples_[i] != set.samples) {
    // Compared by value, not told by a notification: a signal replaced by any
    // path is never answered with its old analyses.
    samples_[i] = std::make_shared<const std::vector<std::int16_t>>(set.samples);
    fs_[i] = set.sampleRate;
    forgetOld();
  }
  return samples_[i];
}

void AnalysisCache::forgetOld() {
  const auto current = [this](const Samples& s) {
    return std::any_of(std::begin(samples_), std::end(samples_), [&s](const Samples& c) { return c == s; });
  };
  std::erase_if(spectrograms_, [&](const auto& e) { return !current(e.first.samples); });
  std::erase_if(pitches_, [&](const auto& e) { return !current(e.first.samples); });
}

namespace {

// The run kept for an equal request, or a new one on a worker thread; the
// oldest of a kind is forgotten beyond kGridsKept.
template <class Request, class Result, class Compute>
AnalysisRun<Result> runFor(std::vector<std::pair<Request, AnalysisRun<Result>>>& runs, const Request& request,
                           Compute compute, int& started) {
  for (const auto& [r, run] : runs)
    if (sameRequest(r, request)) return run;
  AnalysisRun<Result> run;
  run.progress = std::make_shared<AnalysisProgressCounter>();
  run.future = runOnWorker<Result>(
      [request, compute, progress = run.progress] { return compute(request, progress.get()); });
  ++started;
  if (runs.size() >= kGridsKept) runs.erase(runs.begin());
  runs.emplace_back(request, run);
  return run;
}

}  // namespace

AnalysisRun<SpectrogramResult> AnalysisCache::spectrogram(const SpectrogramRequest& request) {
  return runFor(spectrograms_, request, &computeSpectrogram, spectrogramsStarted_);
}

AnalysisRun<PitchResult> AnalysisCache::pitch(const PitchRequest& request) {
  return runFor(pitches_, request, &computePitch, pitchesStarted_);
}

}  // namespace vandrel::ui
