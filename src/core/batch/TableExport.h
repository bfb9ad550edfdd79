#pragma once
// A frame table in the formats other tools read:
//
//   writeKlattGrid  a Praat KlattGrid text file, so the table can go on in
//                   Praat: pitch (f0 / 10 Hz), the voicing, aspiration and
//                   frication amplitudes, tilt, the oral formants with
//                   bandwidths and parallel amplitudes, the nasal pole and
//                   zero, the frication formants f2..f6 with b2f..b6f and
//                   a2f..a6f, and the bypass. Breathiness (atu) is left out:
//                   Praat adds it as noise of its own level, where here it
//                   is shaped by the voicing.
//   writeLongTable  time_ms, parameter, value: one line per frame and row,
//                   the long form R and pandas take without reshaping.
//
// Frame c holds its values from c x interval to (c + 1) x interval ms; a
// KlattGrid tier point sits at the frame's middle, and Praat's straight
// lines between points take the place of the steps between frames.

#include <string>
#include <vector>

#include "document/FrameTable.h"

namespace vandrel {

// Praat's amplitudes are dB re 2e-5 (its 90 dB is the level of a loud
// vowel); this table's are the synthesizer's, where 60 dB is a normal vowel.
// The offset makes a table's vowel as loud in Praat as here; a value of 0,
// which silences the source here, becomes 0 dB there (inaudible).
inline constexpr double kKlattGridDbOffset = 30.0;

// Praat's formant and bypass amplitudes are gains in dB on the branch's
// source; here a2f..a6f, ab and anv are levels where 60 dB is a strong
// formant. So 60 becomes 0 dB, every dB less a dB of attenuation, and 0
// (off here) a gain too small to hear.
inline constexpr double kParallelReferenceDb = 60.0;
inline constexpr double kSilentGainDb = -120.0;

// `oralFormants`: 5, or 8 when the table synthesizes at the high rate.
std::string writeKlattGrid(const FrameTable& table, int intervalMs, int oralFormants);

// The rows given (storage order), every frame; values as the parameter file
// holds them (truncated to whole numbers). time_ms is the frame's start.
std::string writeLongTable(const FrameTable& table, int intervalMs, const std::vector<int>& rows);

}  // namespace vandrel
