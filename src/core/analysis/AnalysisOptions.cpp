#include "analysis/AnalysisOptions.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace vandrel {

namespace {

// Truncation toward zero, with a rate of 0 (or no rate at all) giving 0 and
// absurd rates clamped, rather than an undefined conversion.
int truncated(double v) {
  if (!(v > -2147483648.0 && v < 2147483647.0)) return v > 0.0 ? 2147483647 : 0;
  return static_cast<int>(v);
}

// The size part of each drop-down entry; the two smallest have no leading blank.
constexpr std::array<const char*, COptionFFTLPC::kSizeEntries> kSizeTexts = {
    "(  32 pts)",  "(  64 pts)",  " ( 128 pts)", " ( 256 pts)", " ( 512 pts)",
    " (1024 pts)", " (2048 pts)", " (4096 pts)", " (8192 pts)",
};

}  // namespace

int analysisSizePoints(int index) { return 1 << (index + 5); }

std::string analysisSizeEntry(int index, double fs) {
  if (index < 0 || index >= COptionFFTLPC::kSizeEntries) return {};
  char head[48];
  std::snprintf(head, sizeof head, "  %d  Hz  ", truncated(fs / analysisSizePoints(index)));
  return std::string(head) + kSizeTexts[static_cast<std::size_t>(index)];
}

// ---- FFT/LPC -------------------------------------------------------------

const char* const COptionFFTLPC::kLpcRangeMessage = "Please enter an integer between 4 and 100.";

int COptionFFTLPC::defaultAppliedWindowMs(double fs) { return fs > 0.0 ? truncated(256000.0 / fs) : 0; }

int COptionFFTLPC::defaultFrequencyRange(double fs) {
  return truncated(std::min(fs / 2000.0, 2000000.0)) * 1000;
}

int COptionFFTLPC::defaultLpcCoefficients(double fs) {
  int n = truncated(std::min(2.0 * (fs / 2000.0) + 4.0, 400.0));
  n -= n % 2;
  return n > 400 ? 400 : n;
}

void COptionFFTLPC::setDefaults() {
  sizeIndex = 3;
  points = 256;
  appliedWindowMs = defaultAppliedWindowMs(fs);
  frequencyRange = defaultFrequencyRange(fs);
  averageStepMs = 10;
  lpcCoefficients = defaultLpcCoefficients(fs);
  drawLpc = true;
  absolute = true;
  absoluteDb = 80;
  width = 6.0;
  height = 4.0;
  inches = true;
  color = true;
  frequencyGrid = true;
  frequencyGridHz = 1000;
  powerGrid = true;
  powerGridDb = 20;
}

void COptionFFTLPC::selectSize(int index) {
  if (index < 0 || index >= kSizeEntries) return;
  sizeIndex = index;
  points = analysisSizePoints(index);
}

bool COptionFFTLPC::lpcCoefficientsInRange(int value) {
  return value >= kMinLpcCoefficients && value <= kMaxLpcCoefficients;
}

// ---- Spectrogram ---------------------------------------------------------

int COptionSpectrogram::defaultFormantCoefficients(double fs) {
  return (2 + truncated(std::min(fs / 2000.0, 1000000.0))) * 2;
}

int COptionSpectrogram::acceptFormantCoefficients(int entered) {
  int n = entered - entered % 2;  // toward zero, like the dialog's integer halving
  if (n > kMaxFormantCoefficients) n = kMaxFormantCoefficients;
  return n;
}

void COptionSpectrogram::setDefaults() {
  sizeIndex = 1;
  points = 64;
  frequencyRange = COptionFFTLPC::defaultFrequencyRange(fs);
  dynamicRangeDb = 35;
  preEmphasis = 0.98;
  formantCoefficients = defaultFormantCoefficients(fs);
  frequencyGrid = true;
  frequencyGridHz = 1000;
  timeGrid = true;
  timeGridMs = 0;
  width = 4.0;
  height = 6.0;
  inches = true;
}

void COptionSpectrogram::selectSize(int index) {
  if (index < 0 || index >= kSizeEntries) return;
  sizeIndex = index;
  points = analysisSizePoints(index);
}

}  // namespace vandrel
