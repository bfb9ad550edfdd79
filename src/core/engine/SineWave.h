#pragma once
// Sine-wave replicas (Remez, Rubin, Pisoni and Carrell 1981): the table's
// speech with its harmonics and noise taken away. Three sinusoids (or four)
// follow f1, f2, f3 (and f4), each as loud as the table makes that formant:
// its parallel amplitude (a1f..a4f) plus the loudest source (av, ah or af),
// so a frame without a source, or a formant at 0 dB, is silent.
//
// Frequencies and levels glide linearly from one frame's value to the
// next's and every phase runs on across frames, so the tones never click.
// The replica is scaled so that its loudest frame, with every sinusoid in
// phase, stays below full scale: it cannot clip, whatever the table holds.

#include "audio/SampleSet.h"
#include "document/VandrelDoc.h"

namespace vandrel {

// The replica of `doc`'s table at the rate and length a synthesis would
// have; `sinusoids` is 3 or 4. The document is left alone. Without a
// sample rate when the memory cannot be had.
SampleSet synthesizeSineWave(const CVandrelDoc& doc, int sinusoids = 3);

}  // namespace vandrel
