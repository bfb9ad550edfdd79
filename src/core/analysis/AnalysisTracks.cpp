#include "analysis/AnalysisTracks.h"

#include <memory>
#include <new>

#include "analysis/AutocorrelationPitch.h"
#include "analysis/FormantEstimator.h"

namespace vandrel {
namespace {

PitchTrackResult cepstralTrack(std::span<const std::int16_t> samples, double fs, COptionPitch& options,
                               double offset, const AnalysisProgress& progress) {
  using S = PitchTrackResult::Status;
  PitchTrackResult r;
  auto tracker = std::make_unique<CPitchTracker>();
  switch (tracker->compute(samples, fs, options, offset, progress)) {
    case CPitchTracker::Status::kOk:
      break;
    case CPitchTracker::Status::kTooShort:
      r.status = S::kTooShort;
      return r;
    case CPitchTracker::Status::kBadOptions:
      r.status = S::kBadOptions;
      return r;
    case CPitchTracker::Status::kNoMemory:
      r.status = S::kNoMemory;
      return r;
  }
  r.f0 = tracker->track();
  r.strength.resize(r.f0.size());
  for (std::size_t i = 0; i < r.f0.size(); ++i) r.strength[i] = r.f0[i] != 0.0 ? 1.0 : 0.0;
  r.stepSamples = tracker->stepSamples();
  r.windowSamples = tracker->windowSamples();
  r.status = S::kOk;
  return r;
}

PitchTrackResult autocorrelationTrack(std::span<const std::int16_t> samples, double fs,
                                      const COptionPitch& options, double offset,
                                      const AnalysisProgress& progress) {
  using S = PitchTrackResult::Status;
  PitchTrackResult r;
  if (!(fs > 0.0) || options.stepMs <= 0 || options.windowMs < 0 || options.calcLowHz <= 0 ||
      options.calcHighHz <= options.calcLowHz) {
    r.status = S::kBadOptions;
    return r;
  }
  CAutocorrelationPitch::Settings s;
  s.fmin = options.calcLowHz;
  s.fmax = options.calcHighHz;
  s.stepSamples = fs / 1000.0 * options.stepMs;
  s.offset = offset;
  s.minWindowSamples = fs / 1000.0 * options.windowMs;
  auto tracker = std::make_unique<CAutocorrelationPitch>();
  switch (tracker->compute(samples, fs, s, progress)) {
    case CAutocorrelationPitch::Status::kOk:
      break;
    case CAutocorrelationPitch::Status::kTooShort:
      r.status = S::kTooShort;
      r.windowSamples = tracker->windowSamples();  // what it would have needed
      return r;
    case CAutocorrelationPitch::Status::kBadOptions:
      r.status = S::kBadOptions;
      return r;
    case CAutocorrelationPitch::Status::kNoMemory:
      r.status = S::kNoMemory;
      return r;
  }
  r.f0 = tracker->track();
  r.strength = tracker->strength();
  r.stepSamples = s.stepSamples;
  r.windowSamples = tracker->windowSamples();
  r.status = S::kOk;
  return r;
}

}  // namespace

PitchTrackResult computePitchTrack(std::span<const std::int16_t> samples, double fs, COptionPitch& options,
                                   PitchMethod method, double offset, const AnalysisProgress& progress) {
  try {
    return method == PitchMethod::kAutocorrelation
               ? autocorrelationTrack(samples, fs, options, offset, progress)
               : cepstralTrack(samples, fs, options, offset, progress);
  } catch (const std::bad_alloc&) {
    PitchTrackResult r;
    r.status = PitchTrackResult::Status::kNoMemory;
    return r;
  }
}

FormantTrackSettings FormantTrackSettings::forColumns(int columns, std::size_t sampleCount, double offset) {
  FormantTrackSettings s;
  s.frames = columns;
  s.firstSample = offset;
  s.spacing = columns > 0 ? static_cast<double>(sampleCount) / columns : 0.0;
  return s;
}

FormantTrackSettings FormantTrackSettings::forFrames(int frames, double stepSamples, double offset) {
  FormantTrackSettings s;
  s.frames = frames;
  s.firstSample = offset;
  s.spacing = stepSamples;
  return s;
}

FormantTrackResult computeFormantTracks(std::span<const std::int16_t> samples, double fs,
                                        const FormantTrackSettings& settings,
                                        const AnalysisProgress& progress) {
  FormantTrackResult r;
  if (!(fs > 0.0) || settings.frames < 0 || !(settings.spacing > 0.0) || !(settings.firstSample >= 0.0) ||
      !(settings.windowMs > 0.0) || settings.windowMs * fs / 1000.0 > static_cast<double>(1 << 20)) {
    r.status = FormantTrackResult::Status::kBadOptions;
    return r;
  }
  FormantEstimateSettings es;
  es.frames = settings.frames;
  es.spacing = settings.spacing;
  es.firstCentre = settings.firstSample + settings.windowMs * fs / 2000.0;
  es.f0 = settings.f0;
  const FormantEstimate e = estimateFormants(samples, fs, es, progress);
  switch (e.status) {
    case FormantEstimate::Status::kOk:
      break;
    case FormantEstimate::Status::kTooShort:
      r.status = FormantTrackResult::Status::kTooShort;
      return r;
    case FormantEstimate::Status::kNoMemory:
      r.status = FormantTrackResult::Status::kNoMemory;
      return r;
    default:
      r.status = FormantTrackResult::Status::kBadOptions;
      return r;
  }
  r.frequency.resize(e.frames.size());
  r.bandwidth.resize(e.frames.size());
  for (std::size_t i = 0; i < e.frames.size(); ++i) {
    r.frequency[i] = e.frames[i].f;
    r.bandwidth[i] = e.frames[i].b;
  }
  r.status = FormantTrackResult::Status::kOk;
  return r;
}

}  // namespace vandrel
