// Cepstral pitch of one frame.

#include "analysis/MathFunc.h"

namespace vandrel {

double CMathFunc::cepstralPitch(const std::int16_t* samples, double start, double end, double fs, double fmin,
                                double fmax, int fftSize, int n) {
  int m;
  switch (fftSize) {
    case 128:
      m = 7;
      break;
    case 256:
      m = 8;
      break;
    case 512:
      m = 9;
      break;
    case 1024:
      m = 10;
      break;
    case 2048:
      m = 11;
      break;
    case 4096:
      m = 12;
      break;
    default:
      return -1.0;
  }
  if (!(fs > 0.0) || !(fmin > 0.0) || !(fmax > 0.0) || !(start >= 0.0)) return 0.0;
  if (n > fftSize) n = fftSize;
  if (n < 0) n = 0;
  const auto size = static_cast<std::size_t>(fftSize);

  // The frame keeps the samples of the previous call where this one copies
  // none: near the end of the signal the copy stops at end - start (not at
  // end), so a frame there is partly or wholly the one before.
  const std::size_t frameLen = static_cast<std::size_t>(n) + 5;
  if (pitchFrame_.size() < frameLen) pitchFrame_.resize(frameLen, 0.0);
  double* frame = pitchFrame_.data();
  const auto first = static_cast<long>(start);
  if (end >= start + n + 5) {
    for (std::size_t j = 0; j < frameLen; ++j) frame[j] = samples[first + static_cast<long>(j)];
  } else {
    const auto stop = static_cast<long>(end - start);
    for (long j = first; j < stop; ++j) frame[j - first] = samples[j];
  }

  double* re = reals(size);
  double* im = imags(size);
  const double* w = window(n, 1);
  for (int i = 0; i < n; ++i) re[i] = frame[i] * w[i];
  std::fill(re + n, re + size, 0.0);
  std::fill(im, im + size, 0.0);
  fft(re, im, m);

  // Log power spectrum, then the same forward transform again: the cepstrum.
  for (std::size_t k = 0; k < size; ++k) {
    const double p = re[k] * re[k] + im[k] * im[k];
    re[k] = p != 0.0 ? 10.0 * std::log10(p) : 0.0;
    im[k] = 0.0;
  }
  fft(re, im, m);
  const int half = fftSize / 2;
  for (int q = 0; q < half; ++q) re[q] = re[q] * re[q] + im[q] * im[q];

  const int qlo = static_cast<int>(fs / fmax);
  int qhi = static_cast<int>(fs / fmin);
  if (qhi > half - 1) qhi = half - 1;  // a floor below fs / (size / 2) Hz is out of reach
  if (qlo < 0 || qhi - qlo < 1) return 0.0;
  for (int q = 0; q < qlo; ++q) re[q] = 0.0;
  for (int q = qhi; q < half; ++q) re[q] = 0.0;

  // Spline through the lags qlo .. qhi, read at tenths of a lag. Point i
  // stands at fine index offset + i, offset = truncated(10 fs / fmax); the
  // search runs up to truncated(10 fs / fmin), exclusive. Points not computed
  // count as 0 and can never win, since only a value above the running
  // maximum (which starts at 0) does.
  const int knots = qhi - qlo + 1;
  const double* y = re + qlo;
  double* y2 = y2_.size() < static_cast<std::size_t>(knots)
                   ? (y2_.resize(static_cast<std::size_t>(knots)), y2_.data())
                   : y2_.data();
  if (!spline_.prepareUnitKnots(y, knots, y2)) {
    splineFailed_ = true;
    return 0.0;
  }
  const int offset = static_cast<int>(10.0 * fs / fmax);
  const int scanEnd = static_cast<int>(10.0 * fs / fmin);
  const int points = std::max(0, std::min((qhi - qlo) * 10, scanEnd - offset));
  double best = 0.0;
  int bestIndex = 1;
  if (fine_.size() < static_cast<std::size_t>(points) + 1) fine_.resize(static_cast<std::size_t>(points) + 1);
  double* fine = fine_.data();
  CubicSpline::evaluateUnitKnotsEvenly(y, y2, knots, 0.1, points, fine);
  for (int i = 0; i < points; ++i) {
    const double v = fine[i];
    if (v > best) {
      best = v;
      bestIndex = offset + i;
    }
  }
  const double f0 = fs / (bestIndex / 10.0);
  return (f0 >= fmin && f0 <= fmax) ? f0 : 0.0;
}

}  // namespace vandrel
