#include "views/common/TimeAxis.h"

#include "util/NiceStep.h"

#include <algorithm>
#include <cmath>

namespace vandrel::ui {

void TimeAxis::setLengthMs(double ms) {
  // A view that showed everything goes on showing everything.
  const bool wasZoomed = zoomed();
  lengthMs_ = std::max(ms, 0.0);
  setVisible(wasZoomed ? startMs_ : 0.0, wasZoomed ? endMs_ : lengthMs_);
}

void TimeAxis::setVisible(double startMs, double endMs) {
  if (startMs > endMs) std::swap(startMs, endMs);
  const double span = std::min(std::max(endMs - startMs, kMinSpanMs), std::max(lengthMs_, kMinSpanMs));
  startMs = std::clamp(startMs, 0.0, std::max(lengthMs_ - span, 0.0));
  endMs = startMs + span;
  if (startMs == startMs_ && endMs == endMs_) return;
  startMs_ = startMs;
  endMs_ = endMs;
  emit changed();
}

void TimeAxis::zoomBy(double factor, double centreMs) {
  const double span = spanMs() * factor;
  // The time under `centreMs` stays where it is on the screen.
  const double share = spanMs() > 0 ? (centreMs - startMs_) / spanMs() : 0.5;
  const double start = centreMs - share * span;
  setVisible(start, start + span);
}

void TimeAxis::setPixels(int left, int right) {
  right = std::max(right, left + 1);
  if (left == left_ && right == right_) return;
  left_ = left;
  right_ = right;
  emit changed();
}

TimeMap TimeAxis::map(double left, double right) const {
  return TimeMap{startMs_, std::max(endMs_, startMs_ + 1e-6), left, std::max(right, left + 1)};
}

double TimeMap::autoGridMs(double minPixels) const {
  const double msPerPixel = (endMs - startMs) / (right - left);
  return niceStepAtLeast(std::max(msPerPixel * minPixels, 1e-3));
}

}  // namespace vandrel::ui

namespace vandrel::ui {

namespace {

// Decimals that write every multiple of `step` (in the unit) exactly.
int decimalsFor(double step) {
  int d = 0;
  while (d < 4 && std::abs(step * std::pow(10.0, d) - std::round(step * std::pow(10.0, d))) > 1e-6) ++d;
  return d;
}

}  // namespace

TimeLabels TimeLabels::forScale(double endMs, double stepMs) {
  TimeLabels l;
  if (endMs < 10000 && stepMs < 1000) {
    l.decimals = decimalsFor(stepMs);
    return l;
  }
  l.unit = endMs < 60000 ? kSeconds : kMinutes;
  l.decimals = decimalsFor(stepMs / 1000);
  return l;
}

QString TimeLabels::label(double ms) const {
  if (unit == kMs) return QString::number(ms, 'f', decimals);
  const double scale = std::pow(10.0, decimals);
  const double s = std::round(ms / 1000 * scale) / scale;
  if (unit == kSeconds) return QString::number(s, 'f', decimals);
  const auto minutes = static_cast<long long>(std::floor(s / 60 + 1e-9));
  const double rest = std::max(0.0, s - 60.0 * static_cast<double>(minutes));
  return QStringLiteral("%1:%2").arg(minutes).arg(rest, decimals > 0 ? decimals + 3 : 2, 'f', decimals,
                                                  QLatin1Char('0'));
}

QString TimeLabels::unitName() const {
  return unit == kMs        ? QStringLiteral("ms")
         : unit == kSeconds ? QStringLiteral("s")
                            : QStringLiteral("min:s");
}

QString TimeLabels::title() const { return QStringLiteral("Time (%1)").arg(unitName()); }

}  // namespace vandrel::ui
