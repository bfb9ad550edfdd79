#pragma once
// What the spectrogram/pitch view shows, and the one routine that draws it:
// the screen, the printer and the saved pictures all go through paint(), so
// what is printed is what is seen. The scene holds the computed analyses of
// one or two signals and the view's settings; it never computes anything.
//
// Panes, top to bottom for each signal: waveform ("Draw Audio"), spectrogram
// with formant dots, pitch track, intensity ("Draw Intensity"). With the
// other signal shown beneath, its panes follow under the first signal's, on
// the same time axis; overlaid, its pitch and formant tracks are drawn over
// the first signal's panes in a second colour.

#include <QColor>
#include <QRect>
#include <QString>

#include <array>
#include <memory>
#include <optional>
#include <vector>

#include "analysis/AnalysisOptions.h"
#include "common/Workspace.h"
#include "labels/Labels.h"
#include "views/common/AnalysisViewOptions.h"
#include "views/common/SignalAnalysis.h"
#include "views/common/TimeAxis.h"

class QPainter;

namespace vandrel {
class CVandrelDoc;
}

namespace vandrel::ui {

enum class PaneKind { kWave, kSpectrogram, kPitch, kIntensity };

struct Pane {
  PaneKind kind = PaneKind::kWave;
  int signal = 0;  // 0 = the view's own signal, 1 = the other one
  QRect rect;
};

struct SignalPicture {
  QString name;  // "Audio file", "Synthesized"
  Samples samples;
  double fs = 0;
  double lengthMs() const {
    return samples && fs > 0 ? static_cast<double>(samples->size()) * 1000.0 / fs : 0.0;
  }
  SpectrogramResult spectrogram;
  PitchResult pitch;
  int peak = 1;  // largest sample magnitude, for the waveform's scale
};

enum class Compare { kSingle, kBeneath, kOverlaid };

class SpectrogramScene {
 public:
  std::array<SignalPicture, 2> signal;
  Compare compare = Compare::kSingle;  // kSingle whenever signal[1] has no samples
  bool tableOverlay = false;
  const vandrel::CVandrelDoc* doc = nullptr;  // for the table's own rows
  SpectrogramViewOptions options;
  std::optional<TimeRange> selection;
  // The document's tiers, drawn under the time axis on a page; the screen
  // leaves them to its tiers pane (which draws them the same way).
  std::shared_ptr<const vandrel::Labels> labels;
  // Share of the height for the panes above the pitch pane; negative: by the
  // panes' own proportions (the screen).
  double upperShare = -1;

  bool showsOther() const { return compare != Compare::kSingle && signal[1].samples != nullptr; }

  // Margins around the panes: axis labels on the left, the time axis below.
  static constexpr int kLeft = 64;
  static constexpr int kRight = 14;
  static constexpr int kBottom = 34;

  // The panes of `area`, top to bottom.
  std::vector<Pane> layout(const QRect& area) const;
  // The time axis's pixel columns inside `area`.
  static TimeMap timeMap(const TimeAxis& axis, const QRect& area);

  void paint(QPainter& p, const QRect& area, const TimeMap& time) const;

  // The read-out for the pointer at (x, y): time, and frequency with level
  // in a spectrogram, f0 in a pitch pane, dB in the intensity pane.
  QString readout(const std::vector<Pane>& panes, const TimeMap& time, int x, int y) const;

  // Values under the pointer for callers that need numbers (tracing).
  static double frequencyAt(const Pane& pane, int y, double topHz, double bottomHz);
  double paneTopHz(const Pane& pane) const;
  double paneBottomHz(const Pane& pane) const;

  // Colours of the tracks; grey levels in black and white.
  QColor formantColor(int signalIndex) const;
  QColor pitchColor(int signalIndex) const;
  QColor tableColor() const;

 private:
  void paintWave(QPainter& p, const Pane& pane, const TimeMap& time) const;
  void paintSpectrogram(QPainter& p, const Pane& pane, const TimeMap& time) const;
  void paintPitch(QPainter& p, const Pane& pane, const TimeMap& time) const;
  void paintIntensity(QPainter& p, const Pane& pane, const TimeMap& time) const;
  void paintFormantDots(QPainter& p, const Pane& pane, const TimeMap& time, int signalIndex) const;
  void paintPitchLine(QPainter& p, const Pane& pane, const TimeMap& time, int signalIndex) const;
  void paintTableRows(QPainter& p, const Pane& pane, const TimeMap& time, bool pitch) const;
  void paintTimeGrid(QPainter& p, const Pane& pane, const TimeMap& time, bool on, int spacingMs) const;
  void paintFrequencyAxis(QPainter& p, const Pane& pane, double bottom, double top, bool title, int spacing,
                          const QString& unit) const;
  void paintTimeAxis(QPainter& p, const QRect& area, const TimeMap& time, int y) const;
  void paintLabel(QPainter& p, const Pane& pane, const QString& text, bool shown) const;
  void paintFaintWave(QPainter& p, const Pane& pane, const TimeMap& time) const;
};

}  // namespace vandrel::ui
