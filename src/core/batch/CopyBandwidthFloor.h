#pragma once
// The narrowest F1 and F2 a copy may sound at its pitch. A resonance of
// bandwidth B that lies d Hz from the nearest harmonic of f0 stands
// 10 log10(1 + (2d / B)^2) dB above that harmonic. Narrow and between two
// harmonics, it takes up whatever makes one period differ from the next and
// rings with it into the following period. In the synthesizer's voicing,
// periods differ: each starts on a whole quarter of a sample, so unless the
// period is a whole number of samples consecutive periods meet the output's
// samples at different phases; and the tilt filter starts every frame from
// rest, which cuts into the pulse of a period that the frame's start falls
// in. So in a high voice (200-240 Hz, F1 between two harmonics, tl 24, as
// chooseTilt often takes) a period matched the one after next better than
// the next, and pitch trackers (ours and Praat's To Pitch (ac)) heard the
// copy an octave down, or at the frame rate, for as long as the formant
// stayed there. On steady synthesized vowels at tl 24, B1 half way between
// harmonics was still heard so up to 0.42-0.68 f0 (205-240 Hz; 0.68 at
// 220.5 Hz, 50 samples a period, where the frames' starts walk through the
// period in steps of 10 samples); at tl 16 up to 0.32 f0; at tl 8 and 0
// never, down to 0.23 f0. The harmonic fit (HarmonicFit.h) holds B1 near
// 80 Hz, so on 7-9 of 27 high-voice copies the copy's f0 agreed with the
// recording's on under 95% of the frames. In voiced frames b1 and b2
// therefore stay at or above kFloorRatio times the formant's distance to the
// nearest harmonic (its peak at most 4.8 dB above that harmonic): no floor
// on a harmonic, 0.7 f0 half way. (1.6 did as well for the pitch, with F1 agreeing less;
// 1.25 left 3 of the 27 copies short.)

#include <vector>

#include "document/VandrelDoc.h"

namespace vandrel {

inline constexpr double kFloorRatio = 1.4;
inline constexpr int kFlooredFormants = 2;  // F1 and F2: the higher formants are wide

// The floor of the bandwidth of a formant at `hz` in a frame at f0 `f0Hz`
// (0 when unvoiced).
double bandwidthFloor(double f0Hz, double hz);

// Raises b1 and b2 of every voiced frame of `t` to their floors.
void raiseToFloors(FrameTable& t);

// After the anchors are placed (CopyAnchors.h): wherever the line of b1 or
// b2 between two anchors runs below the floor (of the frame's f0 and formant
// as they stand then), the frame furthest below gets an anchor at its floor
// and the line is drawn again on both sides, until no frame is below or the
// row holds kMaxAnchorShare of its frames as anchors. `counts` (anchors per
// row of `rows`) grows by the anchors added.
void keepFloors(CVandrelDoc& doc, const std::vector<int>& rows, std::vector<int>& counts);

}  // namespace vandrel
