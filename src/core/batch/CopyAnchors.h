#pragma once
// Few anchors for a copied table, placed in the units a listener hears:
// formants in Bark, f0 in semitones, bandwidths as a ratio, amplitudes in dB.
// Each row is simplified (LineSimplify.h) in its unit with its tolerance;
// a row that would still hold more than kMaxAnchorShare of its frames as
// anchors is simplified again with its tolerance 1.5 times wider, so a jittery
// track cannot fill the table with anchors. The anchors of formants and
// bandwidths then take the values whose lines come closest to all the row's
// frames (fittedLineValues). The editor's Interpolate All fills the frames
// between the anchors.

#include <vector>

#include "audio/SampleSet.h"
#include "document/VandrelDoc.h"

namespace vandrel {

struct AnchorTolerances {
  static constexpr double kMaxAnchorShare = 0.35;
  double f0Semitones = 0.5;
  double formantBark = 0.3;
  double bandwidthRatio = 0.3;  // of ln(B): 0.3 lets a bandwidth drift by a third
  double amplitudeDb = 2.0;
  double openPhaseSamples = 2.0;
  // All five scaled by `k` (a narrower or wider copy).
  AnchorTolerances scaled(double k) const;
};

// A value of `row` in the unit its tolerance is given in (f0 of 0, unvoiced,
// lies far below every voiced value, so a voicing change keeps its anchors).
double perceptualValue(int row, double v);
double anchorTolerance(const AnchorTolerances& t, int row);

// Anchors on `rows` of doc.table() (other anchors of those rows cleared), the
// frames between them filled by Interpolate All and every value of those rows
// rounded to a whole number, as the file holds them. Returns the anchors per
// row, in the order of `rows`.
std::vector<int> placeAnchors(CVandrelDoc& doc, const std::vector<int>& rows, const AnchorTolerances& t);

// How far the copy in `doc` is from the recording: doc is synthesized, and
// frame by frame (at most kDistanceFrames of them, spread evenly) the LPC
// envelopes of the recording at the frame's middle and of the synthesis at
// the same frame's middle are compared as the fit meter does. The median in
// dB over the frames where both sound; NaN when there are none. Throws
// std::bad_alloc when the copy cannot be synthesized for want of memory.
inline constexpr int kDistanceFrames = 400;
double copyDistance(const SampleSet& recording, CVandrelDoc& doc);

}  // namespace vandrel
