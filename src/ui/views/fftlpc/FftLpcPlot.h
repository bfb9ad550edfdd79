#pragma once
// The one drawing of the FFT/LPC view. The window, its printout and its
// pictures all call paintFftLpc(), so what is printed is what is seen.
//
// Lengths are in logical units of 1/96 inch (pixels on a usual screen); the
// printout and the pictures scale the painter, so pens and fonts keep their
// proportions on any device.

#include <QPointF>
#include <QRectF>
#include <QString>

#include <optional>
#include <utility>

#include "analysis/AnalysisOptions.h"
#include "analysis/SpectralDistance.h"
#include "analysis/SpectralSlice.h"

class QPainter;

namespace vandrel::ui {

struct FftLpcPicture {
  vandrel::COptionFFTLPC options;
  vandrel::SliceSettings settings;
  const vandrel::SpectralSlice* natural = nullptr;  // null or empty: not drawn
  const vandrel::SpectralSlice* copy = nullptr;
  vandrel::FitMeter meter;
  const vandrel::DistanceTrack* track = nullptr;  // null: still being computed
  double lengthMs = 0.0;                          // the time axis of the strip
  double timeMs = 0.0;
  std::optional<std::pair<double, double>> selection;  // averaged range, ms
  std::optional<std::pair<double, double>> dragged;    // a range being dragged on the strip
  QString title;
  std::optional<QPointF> crosshair;  // inside the spectrum: read-out of Hz and dB
};

struct FftLpcLayout {
  QRectF header;    // title line
  QRectF spectrum;  // the slices' axes
  QRectF meter;     // the fit line
  QRectF strip;     // distance over time
};

FftLpcLayout fftLpcLayout(const QRectF& area);

// Frequency (Hz) and level (dB) at a point of the spectrum rectangle.
std::pair<double, double> spectrumValueAt(const FftLpcPicture& picture, const QRectF& spectrum, QPointF at);
// Time (ms) at an abscissa of the strip.
double stripTimeAt(const FftLpcPicture& picture, const QRectF& strip, double x);

void paintFftLpc(QPainter& painter, const QRectF& area, const FftLpcPicture& picture);

}  // namespace vandrel::ui
