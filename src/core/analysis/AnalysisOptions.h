#pragma once
// The settings records of the three analyses: FFT/LPC view, pitch track and
// spectrogram. Plain data that the option dialogs edit and the analyses read
// as arguments. Several defaults follow the sample rate fs of the audio file;
// setDefaults() recomputes them from the record's own fs.

#include <string>

namespace vandrel {

// Entries of the analysis-size drop-down, from 32 points (index 0) up.
// Points of entry `index`: 2^(index + 5).
int analysisSizePoints(int index);

// The drop-down text of entry `index` (0..8): the analysis bandwidth
// truncated(fs / points) in Hz, then the size, e.g. "  344  Hz  (  32 pts)".
std::string analysisSizeEntry(int index, double fs);

// FFT/LPC view settings ("FFT/LPC Option").
struct COptionFFTLPC {
  static constexpr int kSizeEntries = 9;  // 32 .. 8192 points
  static constexpr int kMinLpcCoefficients = 4;
  static constexpr int kMaxLpcCoefficients = 100;

  double fs = 11025.0;  // until the view supplies the audio file's rate

  int sizeIndex = 3;
  int points = 256;
  int appliedWindowMs = 0;
  int frequencyRange = 0;  // Hz
  int averageStepMs = 10;
  int lpcCoefficients = 0;
  bool drawLpc = true;
  bool absolute = true;  // false: "Relative "
  int absoluteDb = 80;
  double width = 6.0;
  double height = 4.0;
  bool inches = true;  // false: cm
  bool color = true;   // false: "Black / White"
  bool frequencyGrid = true;
  int frequencyGridHz = 1000;
  bool powerGrid = true;
  int powerGridDb = 20;

  COptionFFTLPC() { setDefaults(); }
  explicit COptionFFTLPC(double rate) : fs(rate) { setDefaults(); }

  // "Default size": every field back to its default, derived ones from fs.
  void setDefaults();
  // The drop-down changed to entry `index`.
  void selectSize(int index);

  // The LPC coefficient field accepts 4 .. 100 only; anything else is
  // refused with kLpcRangeMessage and the dialog stays open.
  static bool lpcCoefficientsInRange(int value);
  static const char* const kLpcRangeMessage;

  // Defaults that depend on the rate.
  static int defaultAppliedWindowMs(double fs);
  static int defaultFrequencyRange(double fs);
  static int defaultLpcCoefficients(double fs);
};

// Pitch track settings ("Pitch option"). The dialog shows more controls;
// the record keeps these nine values.
struct COptionPitch {
  int windowMs = 35;
  int stepMs = 10;
  int deviationHz = 100;
  int thresholdPercent = 1;
  int calcLowHz = 50;
  int calcHighHz = 500;
  int displayLowHz = 50;
  int displayHighHz = 500;
  bool frequencyGrid = true;
  int frequencyGridHz = 20;

  // "Defaults "
  void setDefaults() { *this = COptionPitch{}; }
  bool operator==(const COptionPitch&) const = default;
};

// Spectrogram settings ("Spectrogram Option").
struct COptionSpectrogram {
  static constexpr int kSizeEntries = 5;  // 32 .. 512 points
  static constexpr int kMaxFormantCoefficients = 400;

  double fs = 11025.0;

  int sizeIndex = 1;
  int points = 64;
  int frequencyRange = 0;  // Hz
  int dynamicRangeDb = 35;
  double preEmphasis = 0.98;
  bool displayFormants = false;  // kept by the defaults button
  int formantCoefficients = 0;
  bool frequencyGrid = true;
  int frequencyGridHz = 1000;
  bool timeGrid = true;
  int timeGridMs = 0;  // 0 = adjusts itself to the zoom
  double width = 4.0;
  double height = 6.0;
  bool inches = true;

  COptionSpectrogram() { setDefaults(); }
  explicit COptionSpectrogram(double rate) : fs(rate) { setDefaults(); }

  // "Defaults": every field but displayFormants back to its default.
  void setDefaults();
  void selectSize(int index);

  // What the dialog stores when it reads the coefficient field back:
  // rounded down to even, at most 400.
  static int acceptFormantCoefficients(int entered);
  static int defaultFormantCoefficients(double fs);

  bool operator==(const COptionSpectrogram&) const = default;
};

}  // namespace vandrel
