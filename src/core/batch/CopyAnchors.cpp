#include "batch/CopyAnchors.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <new>

#include "analysis/SpectralDistance.h"
#include "analysis/SpectralSlice.h"
#include "batch/Continuum.h"
#include "batch/LineSimplify.h"
#include "editing/EditTransaction.h"
#include "editing/Interpolation.h"
#include "engine/Synthesizer.h"
#include "util/Median.h"

namespace vandrel {

namespace {

// Rows of each unit.
bool isFormant(int row) { return row >= kF8 && row <= kF1; }
bool isBandwidth(int row) { return row >= kB8 && row <= kB1; }
// A formant's or bandwidth's value in Hz from its perceptual value.
double inHz(int row, double p) { return isFormant(row) ? barkToHz(p) : std::exp(p); }
bool isAmplitude(int row) {
  return row == kAv || row == kAh || row == kAf || row == kTl || (row >= kA8f && row <= kA1f);
}

}  // namespace

AnchorTolerances AnchorTolerances::scaled(double k) const {
  AnchorTolerances t = *this;
  t.f0Semitones *= k;
  t.formantBark *= k;
  t.bandwidthRatio *= k;
  t.amplitudeDb *= k;
  t.openPhaseSamples *= k;
  return t;
}

double perceptualValue(int row, double v) {
  if (row == kF0) return v > 0.0 ? 12.0 * std::log2(v / 1000.0) : -100.0;  // semitones from 100 Hz
  if (isFormant(row)) return hzToBark(v);
  if (isBandwidth(row)) return std::log(std::max(v, 1.0));
  return v;
}

double anchorTolerance(const AnchorTolerances& t, int row) {
  if (row == kF0) return t.f0Semitones;
  if (isFormant(row)) return t.formantBark;
  if (isBandwidth(row)) return t.bandwidthRatio;
  if (isAmplitude(row)) return t.amplitudeDb;
  if (row == kOq) return t.openPhaseSamples;
  return 0.0;
}

std::vector<int> placeAnchors(CVandrelDoc& doc, const std::vector<int>& rows, const AnchorTolerances& t) {
  EditTransaction edit(doc);
  FrameTable& table = edit.table();
  const int frames = table.columns();
  const auto cap =
      std::max<std::size_t>(2, static_cast<std::size_t>(AnchorTolerances::kMaxAnchorShare * frames));
  std::vector<int> counts;
  std::vector<double> v(static_cast<std::size_t>(frames));
  for (const int row : rows) {
    for (int c = 0; c < frames; ++c) {
      table.setAnchor(row, c, false);
      v[static_cast<std::size_t>(c)] = perceptualValue(row, table.value(row, c));
    }
    std::vector<int> kept;
    if (std::adjacent_find(v.begin(), v.end(), std::not_equal_to<>()) != v.end()) {
      double tolerance = anchorTolerance(t, row);
      kept = simplifyLine(v, tolerance);
      while (kept.size() > cap && tolerance < 1e6) {
        tolerance = std::max(1.5 * tolerance, 1e-3);
        kept = simplifyLine(v, tolerance);
      }
    }
    for (const int c : kept) table.setAnchor(row, c, true);
    counts.push_back(static_cast<int>(kept.size()));
    // A formant's or a bandwidth's anchors take the values whose lines come
    // closest to every frame's: its track jitters by a frame's estimate, and
    // lines through the extremes simplifyLine keeps play the jitter's edge.
    // (Amplitudes and f0 keep theirs: a line fitted across an onset would
    // sound the source before it starts.)
    if ((isFormant(row) || isBandwidth(row)) && kept.size() >= 2) {
      const std::vector<double> fitted = fittedLineValues(v, kept);
      const ParamDef& d = doc.params().at(row);
      for (std::size_t k = 0; k < kept.size(); ++k)
        table.setValue(row, kept[k],
                       std::clamp(std::round(inHz(row, fitted[k])), static_cast<double>(d.lower),
                                  static_cast<double>(d.upper)));
    }
  }
  interpolateAll(doc);
  for (const int row : rows)
    for (int c = 0; c < frames; ++c) table.setValue(row, c, std::round(table.value(row, c)));
  for (const int row : rows) edit.note(CellRange{row, row, 0, frames - 1});
  return counts;
}

double copyDistance(const SampleSet& recording, CVandrelDoc& doc) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  KlattState state;
  state.reset(1);
  if (!synthesize(doc, {}, state)) throw std::bad_alloc();  // its only failure
  if (doc.synthesized().samples.empty() || !(recording.sampleRate > 0.0)) return nan;
  const SynthesisSetup setup = synthesisSetup(doc);
  const int frames = doc.table().columns();
  const int interval = doc.params().intervalMs;
  SliceSettings ss;
  ss.fftPoints = 512;
  ss.windowMs = 25;
  ss.orderRate = 11025.0;
  ss.fmaxHz = static_cast<int>(std::min({5000.0, recording.sampleRate / 2.0, setup.sampleRate / 2.0}));
  SliceAnalyser natural, copy;
  std::vector<double> en, ec, d;
  const int stride = std::max(1, frames / kDistanceFrames);
  for (int c = stride / 2; c < frames; c += stride) {
    const double atRecording = (c + 0.5) * interval;
    const double atCopy = (c + 0.5) * setup.samplesPerFrame * 1000.0 / setup.sampleRate;
    if (doc.table().value(kAv, c) <= 0.0 && doc.table().value(kAh, c) <= 0.0 &&
        doc.table().value(kAf, c) <= 0.0)
      continue;
    if (!natural.envelope(recording, ss, atRecording, en) ||
        !copy.envelope(doc.synthesized(), ss, atCopy, ec))
      continue;
    const double dist = envelopeDistance(en, ec);
    if (std::isfinite(dist)) d.push_back(dist);
  }
  if (d.empty()) return nan;
  return upperMedian(d);
}

}  // namespace vandrel
