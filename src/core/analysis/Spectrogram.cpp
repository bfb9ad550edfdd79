#include "analysis/Spectrogram.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace vandrel {

SpectrogramSettings SpectrogramSettings::from(const COptionSpectrogram& o, int columns, int rows) {
  SpectrogramSettings s;
  s.columns = columns;
  s.rows = rows;
  s.size = o.points;
  s.preEmphasis = o.preEmphasis;
  s.fmax = o.frequencyRange;
  s.dynamicRangeDb = o.dynamicRangeDb;
  s.trackFormants = o.displayFormants;
  s.lpcCoefficients = o.formantCoefficients;
  return s;
}

namespace {

// Copies samples [from, to) to buf[0 ..], skipping indices outside the
// recording; what is not copied keeps its older contents.
void copyFrame(std::span<const std::int16_t> x, long from, long to, double* buf) {
  const long n = static_cast<long>(x.size());
  for (long j = std::max(from, 0L); j < to && j < n; ++j) buf[j - from] = x[static_cast<std::size_t>(j)];
}

typedef double V2 __attribute__((vector_size(16)));

// The largest of v[0..n-1] (at least -1e7), four running maxima side by side.
double largest(const double* v, int n) {
  double m0 = -1e7, m1 = -1e7, m2 = -1e7, m3 = -1e7;
  int i = 0;
  for (; i + 4 <= n; i += 4) {
    m0 = std::max(m0, v[i]);
    m1 = std::max(m1, v[i + 1]);
    m2 = std::max(m2, v[i + 2]);
    m3 = std::max(m3, v[i + 3]);
  }
  for (; i < n; ++i) m0 = std::max(m0, v[i]);
  return std::max(std::max(m0, m1), std::max(m2, m3));
}

// v = v - top + range, and below 0 becomes 0; two cells per step.
void refer(double* v, std::size_t n, double top, int range) {
  const V2 t = {top, top};
  const V2 d = {static_cast<double>(range), static_cast<double>(range)};
  const V2 zero = {0.0, 0.0};
  std::size_t i = 0;
  for (; i + 2 <= n; i += 2) {
    V2 x;
    std::memcpy(&x, v + i, sizeof x);
    x = x - t + d;
    x = x < zero ? zero : x;
    std::memcpy(v + i, &x, sizeof x);
  }
  for (; i < n; ++i) {
    v[i] = v[i] - top + range;
    if (v[i] < 0.0) v[i] = 0.0;
  }
}

}  // namespace

CSpectrogram::Status CSpectrogram::compute(std::span<const std::int16_t> samples, double fs,
                                           const SpectrogramSettings& s, const AnalysisProgress& progress) {
  spectrogramDone_ = false;
  formantsDone_ = false;
  if (samples.size() < static_cast<std::size_t>(kMinSamples)) return Status::kTooShort;
  if (s.columns < 1 || s.rows < 1 || s.size < 2 || s.size > (1 << 20) || !(fs > 0.0) || !(s.offset >= 0.0) ||
      !(s.length >= 0.0) || s.lpcCoefficients < 0)
    return Status::kBadOptions;

  const auto total = static_cast<double>(samples.size());  // L
  const int n = s.size;
  const int p = std::min(s.lpcCoefficients, CMathFunc::kMaxLpcOrder);
  const int nl = lpcFrameLength(fs, p);
  const auto cols = static_cast<std::size_t>(s.columns);
  const auto rows = static_cast<std::size_t>(s.rows);
  try {
    grid_.resize(cols * rows);
    const std::size_t frameLen = std::max(static_cast<std::size_t>(n) + 11, rows);
    if (frame_.size() < frameLen) frame_.resize(frameLen, 0.0);
    if (s.trackFormants) {
      if (lpcFrame_.size() < static_cast<std::size_t>(nl) + 20)
        lpcFrame_.resize(static_cast<std::size_t>(nl) + 20, 0.0);
      formants_.assign(cols, Formants{});
    }
  } catch (const std::bad_alloc&) {
    return Status::kNoMemory;
  }
  columns_ = s.columns;
  rows_ = s.rows;

  const double spacing = (s.length > 0.0 ? std::min(s.length, total) : total) / s.columns;
  double top = -1e7;  // running maximum of every cell
  double* frame = frame_.data();
  for (int i = 0; i < s.columns; ++i) {
    const double start = i * spacing + s.offset;
    const auto first = static_cast<long>(start);

    // N + 10 samples, so the forward pre-emphasis has its sample past the
    // frame. Near the end the copy stops at L - s (a difference, not an end
    // index), as the pitch frames do.
    const auto fullEnd = static_cast<long>(n + start + 10);
    if (fullEnd <= static_cast<long>(total)) {
      copyFrame(samples, first, fullEnd, frame);
    } else {
      copyFrame(samples, first, static_cast<long>(total - start), frame);
    }
    math_.fftSpectrum(frame, n, s.preEmphasis, 1, 1, s.rows, s.fmax, fs);
    std::copy(frame, frame + s.rows, grid_.begin() + static_cast<std::ptrdiff_t>(i * rows));
    top = std::max(top, largest(frame, s.rows));

    if (s.trackFormants) {
      double* lpc = lpcFrame_.data();
      if (total < start + nl) {
        copyFrame(samples, first, static_cast<long>(total - start), lpc);
      } else {
        copyFrame(samples, first, first + nl + 5, lpc);
      }
      math_.lpcSpectrum(lpc, p, nl, s.preEmphasis, 1, 0, 0, s.fmax, fs, 1, 1);
      Formants& f = formants_[static_cast<std::size_t>(i)];
      f = Formants{};
      if (const FormantCandidates* c = math_.lastCandidates()) {
        for (int k = 0; k < kFormants && k < c->count; ++k) {
          // Rounded to whole Hz; above 32767 Hz (a rate over 65 kHz) the
          // 16-bit slot holds its largest value rather than wrapping.
          const double hz = std::min(c->frequency[static_cast<std::size_t>(k)] + 0.5, 32767.0);
          f[static_cast<std::size_t>(k)] = static_cast<std::int16_t>(static_cast<int>(hz));
        }
      }
      formantsDone_ = true;
    }
    // A column whose spline could not have its memory is not the analysis's.
    if (math_.takeSplineFailure()) return Status::kNoMemory;
    if (progress) progress(i + 1, s.columns);
  }

  // Refer to the maximum (taken while the columns were filled) and clip to
  // the dynamic range.
  refer(grid_.data(), grid_.size(), top, s.dynamicRangeDb);
  spectrogramDone_ = true;
  return Status::kOk;
}

}  // namespace vandrel
