#pragma once
// Copy synthesis: a parameter table that imitates a recording, with anchor
// cells only where its tracks bend, so the user edits a few anchors instead
// of every frame.
//
// Per frame of the table (the frame's middle is where each analysis window
// is centred):
//   f0       the autocorrelation pitch track, in two passes (CopyPitch.h),
//            taken one period later (f0Ahead); 0 where unvoiced (av is 0
//            there)
//   av       from the frame's level where voiced
//   ah, af   unvoiced frames only: where the band above 2.5 kHz holds a
//            third of the frame's energy or more (in most of the five frames
//            around it) it is frication, af from that band's level;
//            otherwise aspiration, ah from the whole frame's level
//   f1..f5, b1..b5   the formant estimates (FormantEstimator.h), with a
//            running median of five frames against frame-to-frame jitter;
//            b1 and b2 no narrower than the pitch allows
//            (CopyBandwidthFloor.h)
//   oq       the open quotient of the source that fitted the harmonics
//            (FormantEstimator.h), in samples at the synthesis rate; half
//            the period where no fit was made
//   ab, a1f..a6f  fitted in frames with noise so that the parallel branch
//            gives it the recording's spectral shape (CopyNoiseFit.h); in
//            unvoiced frames without noise held from the nearest noisy
//            ones (they are not heard there), off in voiced frames
// Every value is held to its parameter's limits (except f0 = 0). The source
// amplitudes are then matched to the recording: the table is synthesized,
// each frame's level compared with the recording's, and av, ah or af moved
// by the difference; in voiced frames the tilt tl is moved by how much more
// of the level lies above 2.5 kHz in the synthesis than in the recording.
// Two rounds, since the resonators carry level across frames. Then a few
// rows are chosen by synthesis among a few values, frame by frame by the
// spectral envelope (CopyShapeChoice.h): in voiced frames the tilt, then the
// widths of F3..F5 (and of F1 with them); in aspirated frames away from
// voicing, at the same time as the tilt, B1. Last the levels are matched
// again (the tilt left as chosen).
// In silent frames the formants do not sound: they are filled in straight
// lines from the sounding frames around them, which costs no anchors.
// On a high voice F1 and F2 are then moved until the copy, analysed again,
// reads as the recording does (CopyFormantLoop.h).
//
// Last, each copied row is thinned to few anchors in perceptual units
// (CopyAnchors.h) and the editor's own Interpolate All fills the frames
// between them; b1 and b2 get anchors where their lines would run below
// their floors, and the parallel amplitudes' anchors are refitted to the
// noise's shape along their lines (CopyNoiseFit.h). The thinned copy is
// then measured against the recording; if it lies more than
// kMaxDistanceLossDb further from it than the dense copy, the tolerances are
// narrowed (times kNarrowing, at most kNarrowings times). Values are whole
// numbers, as the file holds them.

#include <atomic>
#include <functional>
#include <string>
#include <vector>

#include "audio/SampleSet.h"
#include "batch/CopyAnchors.h"
#include "document/VandrelDoc.h"

namespace vandrel {

struct CopySettings {
  static constexpr double kMaxDistanceLossDb = 0.5;
  static constexpr double kNarrowing = 0.6;
  static constexpr int kNarrowings = 2;
  int intervalMs = 10;
  int sampleRate = 11025;  // 22050 shows f6, which makes synthesis run at the high rate
  // Threads for the pitch and formant estimates (FormantEstimator.h) and the
  // distances; 0: one per core.
  int threads = 0;
  AnchorTolerances tolerances;
};

// The rows a copy sets, in storage order.
const std::vector<int>& copiedRows();

struct CopyResult {
  enum class Status { kOk, kTooShort, kBadSettings, kAnalysisFailed, kCancelled };
  Status status = Status::kBadSettings;
  std::string message;  // why, when not kOk
  int frames = 0;
  int voicedFrames = 0;
  std::vector<int> anchors;  // per row of copiedRows()
  // The median distance (dB, CopyAnchors.h) of the copy, and of the dense
  // copy before thinning, to the recording; NaN when no frame sounds.
  double distanceDb = 0.0;
  double denseDistanceDb = 0.0;
};

// Percent done, 0..100; called on the calling thread.
using CopyProgress = std::function<void(int percent)>;

// Fills `doc` (timing, table, anchors, shown rows) with the copy of `audio`.
// The recording is analysed at its own rate. On failure or when `cancel` is
// set (polled between the steps and between the analysis frames) `doc` is
// untouched. Short of memory anywhere (on this thread or a helper), the copy
// fails with kAnalysisFailed and says so: a step that could not run is not
// left out of a copy that is then called done. Runs on any thread.
CopyResult copySynthesis(const SampleSet& audio, const CopySettings& settings, CVandrelDoc& doc,
                         const CopyProgress& progress = {}, const std::atomic<bool>* cancel = nullptr);

}  // namespace vandrel
