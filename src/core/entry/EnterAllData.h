#pragma once
// "Enter All Data": the recording's pitch and formant tracks copied into the
// table in one go - f0 (in tenths of a hertz) and f1 .. f5, each resampled
// to the table's frames. Rows the table does not show are left alone. It is
// one edit: one undo step takes it all back.
//
// Resampling: a table frame stands for the middle of its interval, and takes
// the straight line between the two analysis frames around that time (both
// voiced), else the nearer one; before the first and after the last analysis
// frame the end values hold. Gaps are then filled (fillGaps): an unvoiced
// frame holds the voiced value before it, and a leading unvoiced run takes the
// first voiced value. A track with no value at all leaves its row alone.
// Every value is held to its row's limits, as a typed value is (an f5 the
// tracker put at 5400 Hz is entered as the row's upper limit).

#include <array>
#include <vector>

#include "analysis/AnalysisOptions.h"
#include "analysis/AnalysisTracks.h"
#include "document/VandrelDoc.h"
#include "editing/TableSelection.h"
#include "editing/UserMessage.h"

namespace vandrel {

inline constexpr const char* kFormantTrackingOffMessage =
    "Please turn on the formant tracking in Option->Spectrogram first , then retry this operation";
inline constexpr const char* kNoRecordingMessage =
    "There is no audio file in this document.\nOpen one with \"Open an audio file...\" in the File menu "
    "first.";
inline constexpr const char* kRecordingTooShortMessage =
    "The audio file is too short to track its pitch and formants. Nothing was entered.";

// The analysis settings as the spectrogram/pitch view uses them. The
// spectrogram options' fs is the recording's rate.
struct EntryAnalysis {
  COptionPitch pitch;
  PitchMethod method = PitchMethod::kCepstral;
  COptionSpectrogram spectrogram;
};

// Tracks on the analysis frames.
struct RecordingTracks {
  std::vector<double> frameMs;                  // centre of each frame's window
  std::vector<double> f0;                       // Hz, 0 = unvoiced
  std::vector<std::array<double, 5>> formants;  // Hz, 0 = none
};

// Pitch and formants on the same frames (the pitch track's). Empty when the
// recording is too short or the options make no analysis.
RecordingTracks trackRecording(const SampleSet& recording, const EntryAnalysis& analysis,
                               const AnalysisProgress& progress = {});

// `values` at `frameMs`, at the middle of each of `frames` frames of
// `intervalMs`. A value of 0 counts as missing.
std::vector<double> resampleToFrames(const std::vector<double>& frameMs, const std::vector<double>& values,
                                     int frames, int intervalMs);

// Fills the zeros of `track` as described above; false when it has no
// non-zero value (the track is left as it is).
bool fillGaps(std::vector<double>& track);

// The whole command. Messages: formant tracking off (nothing computed), no
// recording, a recording too short.
UserMessages enterAllData(CVandrelDoc& doc, const EntryAnalysis& analysis,
                          const AnalysisProgress& progress = {});

// The part after the analysis, on tracks already computed.
void enterTracks(CVandrelDoc& doc, const RecordingTracks& tracks);

}  // namespace vandrel
