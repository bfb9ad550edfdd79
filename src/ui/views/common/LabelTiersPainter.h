#pragma once
// The one drawing of label tiers: the tiers pane under an analysis window's
// panes draws the screen with it, the spectrogram's page (print, "Save As
// bmp...") the paper, so the tiers printed are the tiers seen.

#include <QColor>
#include <QRect>

#include <optional>

#include "common/Workspace.h"
#include "labels/Labels.h"
#include "views/common/TimeAxis.h"

class QFont;
class QPainter;
class QPalette;

namespace vandrel::ui {

struct TierColors {
  QColor base, text, line, boundary, chosen;
  static TierColors screen(const QPalette& palette);
  static TierColors paper();
};

// One band of `tierHeight` per tier from the top of `area`: the tier's name
// in the margin left of `time.left`, its intervals (texts centred, elided
// when narrow) or points on `time`, the interval spanning `chosen` tinted.
void paintLabelTiers(QPainter& p, const vandrel::Labels& labels, const TimeMap& time, const QRect& area,
                     int tierHeight, const TierColors& colors, const std::optional<TimeRange>& chosen = {});

}  // namespace vandrel::ui
