#pragma once
// The vowel space: F1 against F2 as phoneticians draw it, F2 falling to the
// right (front vowels on the left) and F1 growing downwards (open vowels at
// the bottom), on a Hz or a bark scale. The map turns formant frequencies
// into plot coordinates and back; the trajectory is the table's f1 and f2
// frame by frame, with the frames where either is an anchor as handles.

#include <string>
#include <vector>

#include "document/FrameTable.h"

namespace vandrel {

enum class FormantScale { kHz, kBark };

// Hz on the chosen scale (bark: Traunmueller's).
double formantScaled(double hz, FormantScale scale);
double formantFromScaled(double v, FormantScale scale);

struct VowelSpaceMap {
  FormantScale scale = FormantScale::kHz;
  double f1Low = 200, f1High = 1300;                // Hz, top to bottom
  double f2Low = 550, f2High = 3000;                // Hz, right to left
  double left = 0, top = 0, right = 1, bottom = 1;  // the plot's pixels

  double xOf(double f2) const;
  double yOf(double f1) const;
  double f2At(double x) const;
  double f1At(double y) const;

  // Readable marks inside [low, high] of one axis, at least `minPixels`
  // apart over `pixels`: 1, 2, 5 x 10^k Hz, or whole barks.
  std::vector<double> ticks(double low, double high, double pixels, double minPixels) const;
};

struct TrajectoryPoint {
  double f1 = 0, f2 = 0;
  bool f1Anchor = false, f2Anchor = false;
  bool handle() const { return f1Anchor || f2Anchor; }
};

// f1 and f2 of every frame of `table`.
std::vector<TrajectoryPoint> vowelTrajectory(const FrameTable& table);

// The frame whose point lies nearest (x, y), within `radius` pixels; only
// handles when `handlesOnly`. -1 when none is that near.
int nearestFrame(const std::vector<TrajectoryPoint>& points, const VowelSpaceMap& map, double x, double y,
                 double radius, bool handlesOnly);

// A reference vowel to draw as a label: its symbol at (f1, f2).
struct ReferenceVowel {
  std::string label;
  double f1 = 0, f2 = 0;
};

// Reads reference vowels from tab- or blank-separated text, one "vowel f1
// f2" a line; a first line whose numbers do not read is a header and is
// skipped, as are blank lines and lines starting with '#'. Any other line
// that does not read is refused: returns why, naming the line, and leaves
// `out` alone. Empty string on success.
std::string readReferenceVowels(const std::string& text, std::vector<ReferenceVowel>& out);

}  // namespace vandrel
