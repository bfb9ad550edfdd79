#pragma once
// The ceiling each sounding stretch of a formant estimate is read under
// (FormantEstimator.h, step 2).
//
// A stretch's cost under a ceiling is how unevenly its path's F1..F3 run
// and how badly it fits the harmonics. Chosen stretch by stretch, the
// cheapest flipped on near ties: on the boy's sentence `cs3_c_16k` the costs
// of 5500 and 6000 Hz differ by 3% over a 1.7 s stretch, the choice flipped
// when the recording was cut 1 ms later, and the readings under the two
// agree on F2 on only 71% of the frames.
//
// But a speaker has one vocal tract, so the stretches of one voice may share
// their costs: each stretch takes the ceiling whose costs, summed over every
// stretch of about its pitch (median f0 within kSameVoice of its own), are
// the least. A man's and a woman's stretches in one recording keep their own
// ceilings (a man's sentence followed by a woman's read F1 on every frame as
// each alone). A stretch without pitch takes its own cheapest. Measured
// against each stretch alone: `cs3_c_16k` cut 2.5 ms later agreed with
// itself on F1 on 84.5% of the frames instead of 77.5%, on F2 on 81.1%
// instead of 70.5%; the copies of 27 high voices met F1 on the same 20 files
// (mean 82.2% -> 83.5%), F2 on 15 instead of 14 (89.0% -> 90.2%), Praat's
// F2 on 3 instead of none; in mel distance the copies of `cs3_c` lay
// 0.4-0.55 dB further from their recordings, of `cs5_f` 0.2-0.27 dB nearer,
// the others within 0.16 dB. One ceiling for the whole recording did as well
// on these, but reads a woman's stretches under a man's ceiling; a pitch
// range of 1.5 did the same as 1.25.

#include <cstddef>
#include <vector>

#include "analysis/FormantPath.h"

namespace vandrel {

struct CeilingChoice {
  static constexpr double kSameVoice = 1.25;
};

// How unevenly `path`'s F1..F3 run over frames [first, end) - the mean
// squared difference in log frequency from their own running mean over
// `reach` frames either side, plus `missingCost` for every frame a formant
// is missing - plus `fitWeight` times the harmonic fit's objective `fit` of
// each frame.
double stretchCost(const std::vector<FormantFrame>& path, const std::vector<double>& fit, std::size_t first,
                   std::size_t end, std::ptrdiff_t reach, double missingCost, double fitWeight);

struct StretchCosts {
  double f0 = 0.0;            // the stretch's median f0 (Hz; 0: none)
  std::vector<double> costs;  // per ceiling, the same ceilings in the same order for every stretch
};

// The index of the ceiling each stretch takes (see above).
std::vector<std::size_t> chooseCeilings(const std::vector<StretchCosts>& stretches);

// The ceilings chosen on the frames centred at (k + 1/2) spacing
// (estimateCeilings, FormantEstimator.h) on `frames` frames centred at
// firstCentre + i spacing: each takes the nearest one's.
std::vector<double> ceilingsAt(const std::vector<double>& grid, double spacing, double firstCentre,
                               int frames);

}  // namespace vandrel
