#pragma once
// TimeAxis: the one mapping between milliseconds and pixels that the panes of
// an analysis view share. It knows the signal's length, the visible stretch
// (the zoom) and the pixel span the stretch is drawn on; every pane, the
// crosshair and the selection convert through it, so a time means the same
// x everywhere in the view.

#include <QObject>
#include <QString>

namespace vandrel::ui {

// The visible stretch laid over pixel columns [left, right): a value to draw
// with, for the screen or for a page.
struct TimeMap {
  double startMs = 0;
  double endMs = 1;
  double left = 0;
  double right = 1;
  double xOf(double ms) const { return left + (ms - startMs) * (right - left) / (endMs - startMs); }
  double msAt(double x) const { return startMs + (x - left) * (endMs - startMs) / (right - left); }
  // A readable grid spacing (1, 2, 5 x 10^k ms) that leaves at least
  // `minPixels` between lines.
  double autoGridMs(double minPixels) const;
};

// How the marks of a time scale are written: milliseconds while the scale
// stays under 10 s, then seconds, and minutes:seconds once it passes a
// minute (a 20-minute recording reads "19:30", not "1170000"), with as many
// decimals as the step between marks needs.
struct TimeLabels {
  enum Unit { kMs, kSeconds, kMinutes };
  Unit unit = kMs;
  int decimals = 0;

  // For marks every `stepMs` on a scale that reaches `endMs`.
  static TimeLabels forScale(double endMs, double stepMs);
  QString label(double ms) const;
  QString title() const;  // "Time (ms)", "Time (s)" or "Time (min:s)"
  QString unitName() const;
};

class TimeAxis : public QObject {
  Q_OBJECT
 public:
  explicit TimeAxis(QObject* parent = nullptr) : QObject(parent) {}

  // The signal's length; the visible stretch is cut back into it.
  void setLengthMs(double ms);
  double lengthMs() const { return lengthMs_; }

  double startMs() const { return startMs_; }
  double endMs() const { return endMs_; }
  double spanMs() const { return endMs_ - startMs_; }
  bool zoomed() const { return startMs_ > 0 || endMs_ < lengthMs_; }

  // Shows [startMs, endMs] (in either order), no narrower than kMinSpanMs.
  void setVisible(double startMs, double endMs);
  void showAll() { setVisible(0, lengthMs_); }
  // Halves (factor 0.5) or doubles (2) the visible span around `centreMs`.
  void zoomBy(double factor, double centreMs);
  void zoomBy(double factor) { zoomBy(factor, (startMs_ + endMs_) / 2); }

  // The pixel columns [left, right) the visible stretch is drawn on.
  void setPixels(int left, int right);
  int left() const { return left_; }
  int right() const { return right_; }

  TimeMap map() const { return map(left_, right_); }
  TimeMap map(double left, double right) const;
  double xOf(double ms) const { return map().xOf(ms); }
  double msAt(double x) const { return map().msAt(x); }

  static constexpr double kMinSpanMs = 5.0;

 signals:
  void changed();

 private:
  double lengthMs_ = 0;
  double startMs_ = 0;
  double endMs_ = 0;
  int left_ = 0;
  int right_ = 1;
};

}  // namespace vandrel::ui
