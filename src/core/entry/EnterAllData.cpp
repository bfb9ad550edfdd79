#include "entry/EnterAllData.h"

#include <algorithm>
#include <cmath>

#include "editing/AfterEdit.h"
#include "editing/CellEdit.h"
#include "editing/EditTransaction.h"

namespace vandrel {

RecordingTracks trackRecording(const SampleSet& recording, const EntryAnalysis& analysis,
                               const AnalysisProgress& progress) {
  RecordingTracks out;
  const double fs = recording.sampleRate;
  if (recording.empty() || !(fs > 0)) return out;
  const std::span<const std::int16_t> samples(recording.samples);
  // Half the steps for the pitch, half for the formants.
  const auto half = [&progress](int offset) -> AnalysisProgress {
    if (!progress) return {};
    return [&progress, offset](int done, int total) { progress(offset * total + done, 2 * total); };
  };
  COptionPitch pitchOptions = analysis.pitch;
  const PitchTrackResult pitch = computePitchTrack(samples, fs, pitchOptions, analysis.method, 0.0, half(0));
  if (pitch.status != PitchTrackResult::Status::kOk || pitch.f0.empty()) return out;

  // The formant windows are centred where the pitch windows are.
  const auto frames = static_cast<int>(pitch.f0.size());
  const double formantWindow = FormantTrackSettings::kDefaultWindowMs * fs / 1000.0;
  const double offset = std::max(0.0, (pitch.windowSamples - formantWindow) / 2.0);
  const FormantTrackSettings settings = FormantTrackSettings::forFrames(frames, pitch.stepSamples, offset);
  const FormantTrackResult formants = computeFormantTracks(samples, fs, settings, half(1));
  if (formants.status != FormantTrackResult::Status::kOk) return out;

  out.f0 = pitch.f0;
  out.formants.resize(pitch.f0.size());
  out.frameMs.resize(pitch.f0.size());
  for (std::size_t i = 0; i < pitch.f0.size(); ++i) {
    out.frameMs[i] = (static_cast<double>(i) * pitch.stepSamples + pitch.windowSamples / 2.0) * 1000.0 / fs;
    if (i < formants.frequency.size()) out.formants[i] = formants.frequency[i];
  }
  return out;
}

std::vector<double> resampleToFrames(const std::vector<double>& frameMs, const std::vector<double>& values,
                                     int frames, int intervalMs) {
  std::vector<double> out(static_cast<std::size_t>(std::max(frames, 0)), 0.0);
  const std::size_t n = std::min(frameMs.size(), values.size());
  if (n == 0) return out;
  std::size_t j = 0;  // the first analysis frame at or after t
  for (std::size_t c = 0; c < out.size(); ++c) {
    const double t = (static_cast<double>(c) + 0.5) * intervalMs;
    while (j < n && frameMs[j] < t) ++j;
    if (j == 0) {
      out[c] = values[0];
    } else if (j == n) {
      out[c] = values[n - 1];
    } else {
      const double a = values[j - 1], b = values[j];
      const double share = (t - frameMs[j - 1]) / (frameMs[j] - frameMs[j - 1]);
      if (a != 0 && b != 0)
        out[c] = a + share * (b - a);
      else
        out[c] = share < 0.5 ? a : b;
    }
  }
  return out;
}

bool fillGaps(std::vector<double>& track) {
  const auto first = std::find_if(track.begin(), track.end(), [](double v) { return v != 0; });
  if (first == track.end()) return false;
  std::fill(track.begin(), first, *first);
  double held = *first;
  for (auto it = first; it != track.end(); ++it) {
    if (*it == 0)
      *it = held;
    else
      held = *it;
  }
  return true;
}

void enterTracks(CVandrelDoc& doc, const RecordingTracks& tracks) {
  const int frames = doc.table().columns();
  const int interval = doc.params().intervalMs;
  if (frames <= 0 || interval <= 0) return;
  keepTableBeforeEdit(doc, {kF0, kF1, kF2, kF3, kF4, kF5});
  bool wrote = false;
  EditTransaction edit(doc);
  const auto enter = [&](int row, std::vector<double> values, double scale) {
    if (!doc.params().at(row).selected || !fillGaps(values)) return;
    for (int c = 0; c < frames; ++c)
      edit.table().setValue(
          row, c,
          clampToLimits(doc.params().at(row), std::trunc(scale * values[static_cast<std::size_t>(c)])));
    edit.note(CellRange{row, row, 0, frames - 1});
    edit.flush();
    wrote = true;
  };
  enter(kF0, resampleToFrames(tracks.frameMs, tracks.f0, frames, interval), 10.0);
  constexpr std::array<int, 5> kFormantRows = {kF1, kF2, kF3, kF4, kF5};
  std::vector<double> formant(tracks.formants.size());
  for (std::size_t k = 0; k < kFormantRows.size(); ++k) {
    for (std::size_t i = 0; i < formant.size(); ++i) formant[i] = tracks.formants[i][k];
    enter(kFormantRows[k], resampleToFrames(tracks.frameMs, formant, frames, interval), 1.0);
  }
  if (!wrote) return;
  doc.markEdited();
  afterEditStep(doc);
}

UserMessages enterAllData(CVandrelDoc& doc, const EntryAnalysis& analysis, const AnalysisProgress& progress) {
  if (!analysis.spectrogram.displayFormants) return {UserMessage{kFormantTrackingOffMessage}};
  if (!doc.hasAudio()) return {UserMessage{kNoRecordingMessage}};
  const RecordingTracks tracks = trackRecording(doc.audio(), analysis, progress);
  if (tracks.f0.empty()) return {UserMessage{kRecordingTooShortMessage}};
  enterTracks(doc, tracks);
  return {};
}

}  // namespace vandrel
