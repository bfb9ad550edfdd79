#pragma once
// Copy synthesis: a parameter table that imitates a recording, with anchor
// cells only where its tracks bend, so the user edits a few anchors instead
// of every frame.
//
// Per frame of the table (the frame's middle is where each analysis window
// is centred):
//   f0       the autocorrelation pitch track; 0 where unvoiced (av is 0 there)
//   av       from the frame's level where voiced
//   ah, af   unvoiced frames only: where the band above 2.5 kHz holds a
//            third of the frame's energy or more (in most of the five frames
//            around it) it is frication, af from that band's level;
//            otherwise aspiration, ah from the whole frame's level
//   f1..f5, b1..b5   the formant tracks (chosen for continuity), with a
//            running median of five frames against frame-to-frame jitter
//   oq       half the period (an open quotient of 0.5) where voiced
//   a2f..a5f the spectral envelope at f2..f5 in frames with frication,
//            relative to its strongest; held from the nearest such frame
//            elsewhere, where the frication is off and they are not heard
// Every value is held to its parameter's limits (except f0 = 0). The source
// amplitudes are then matched to the recording: the table is synthesized,
// each frame's level compared with the recording's, and av, ah or af moved
// by the difference; in voiced frames the tilt tl is moved by how much more
// of the level lies above 2.5 kHz in the synthesis than in the recording.
// Two rounds, since the resonators carry level across frames.
// In silent frames the formants do not sound: they are filled in straight
// lines from the sounding frames around them, which costs no anchors.
//
// Last, each copied row is simplified (LineSimplify.h) with its tolerance;
// the points kept become anchors and the editor's own Interpolate All fills
// the frames between them. Values are whole numbers, as the file holds them.

#include <string>
#include <vector>

#include "audio/SampleSet.h"
#include "document/VandrelDoc.h"

namespace vandrel {

struct CopySettings {
  int intervalMs = 10;
  int sampleRate = 11025;           // 22050 shows f6, which makes synthesis run at the high rate
  double f0ToleranceTenths = 20.0;  // 2 Hz
  double formantToleranceHz = 20.0;
  double bandwidthToleranceHz = 40.0;
  double amplitudeToleranceDb = 2.0;
  double openPhaseToleranceSamples = 2.0;
};

// The tolerance of `row` under `s` (0 for rows the copy does not set).
double copyTolerance(const CopySettings& s, int row);

// The rows a copy sets, in storage order.
const std::vector<int>& copiedRows();

struct CopyResult {
  enum class Status { kOk, kTooShort, kBadSettings, kAnalysisFailed };
  Status status = Status::kBadSettings;
  std::string message;  // why, when not kOk
  int frames = 0;
  int voicedFrames = 0;
  std::vector<int> anchors;  // per row of copiedRows()
};

// Fills `doc` (timing, table, anchors, shown rows) with the copy of `audio`.
// The recording is analysed at its own rate. On failure `doc` is untouched.
CopyResult copySynthesis(const SampleSet& audio, const CopySettings& settings, CVandrelDoc& doc);

}  // namespace vandrel
