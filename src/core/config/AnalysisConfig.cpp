#include "config/AnalysisConfig.h"

namespace vandrel {

namespace {
std::int32_t flag(bool on) { return on ? 1 : 0; }
}  // namespace

void loadAnalysisOptions(const ConfigRecord& record, COptionFFTLPC& f, COptionPitch& p,
                         COptionSpectrogram& s) {
  const FftLpcConfig& cf = record.fftLpc;
  f.fs = cf.fs;
  f.sizeIndex = cf.sizeIndex;
  f.points = analysisSizePoints(cf.sizeIndex);
  f.appliedWindowMs = cf.appliedWindowMs;
  f.frequencyRange = cf.frequencyRangeHz;
  f.averageStepMs = cf.averageStepMs;
  f.lpcCoefficients = cf.lpcCoefficients;
  f.drawLpc = cf.drawLpc != 0;
  f.absolute = cf.absolute != 0;
  f.absoluteDb = cf.absoluteLevelDb;
  f.width = cf.width;
  f.height = cf.height;
  f.inches = cf.inches != 0;
  f.color = cf.color != 0;
  f.frequencyGrid = cf.frequencyGridOn != 0;
  f.frequencyGridHz = cf.frequencyGridHz;
  f.powerGrid = cf.powerGridOn != 0;
  f.powerGridDb = cf.powerGridDb;

  const PitchConfig& cp = record.pitch;
  p.windowMs = cp.windowMs;
  p.stepMs = cp.stepMs;
  p.deviationHz = cp.deviationHz;
  p.thresholdPercent = cp.thresholdPercent;
  p.calcLowHz = cp.calcLowHz;
  p.calcHighHz = cp.calcHighHz;
  p.displayLowHz = cp.displayLowHz;
  p.displayHighHz = cp.displayHighHz;
  p.frequencyGrid = cp.frequencyGridOn != 0;
  p.frequencyGridHz = cp.frequencyGridHz;

  const SpectrogramConfig& cs = record.spectrogram;
  s.fs = cs.fs;
  s.sizeIndex = cs.sizeIndex;
  s.points = analysisSizePoints(cs.sizeIndex);
  s.frequencyRange = cs.frequencyRangeHz;
  s.dynamicRangeDb = cs.dynamicRangeDb;
  s.preEmphasis = cs.preEmphasis;
  s.displayFormants = cs.displayFormants != 0;
  s.formantCoefficients = cs.lpcCoefficients;
  s.frequencyGrid = cs.frequencyGridOn != 0;
  s.frequencyGridHz = cs.frequencyGridHz;
  s.timeGrid = cs.timeGridOn != 0;
  s.timeGridMs = cs.timeGridMs;
  s.width = cs.width;
  s.height = cs.height;
  s.inches = cs.inches != 0;
}

void storeAnalysisOptions(const COptionFFTLPC& f, const COptionPitch& p, const COptionSpectrogram& s,
                          ConfigRecord& record) {
  record.fftLpc = FftLpcConfig{f.sizeIndex,
                               f.appliedWindowMs,
                               f.frequencyRange,
                               f.averageStepMs,
                               f.lpcCoefficients,
                               flag(f.drawLpc),
                               flag(f.absolute),
                               f.absoluteDb,
                               f.width,
                               f.height,
                               flag(f.inches),
                               flag(f.color),
                               flag(f.frequencyGrid),
                               f.frequencyGridHz,
                               flag(f.powerGrid),
                               f.powerGridDb,
                               f.fs};
  record.pitch =
      PitchConfig{p.windowMs,   p.stepMs,       p.deviationHz,   p.thresholdPercent,    p.calcLowHz,
                  p.calcHighHz, p.displayLowHz, p.displayHighHz, flag(p.frequencyGrid), p.frequencyGridHz};
  record.spectrogram = SpectrogramConfig{s.sizeIndex,
                                         s.frequencyRange,
                                         s.dynamicRangeDb,
                                         flag(s.displayFormants),
                                         s.preEmphasis,
                                         s.formantCoefficients,
                                         flag(s.frequencyGrid),
                                         s.frequencyGridHz,
                                         flag(s.timeGrid),
                                         s.timeGridMs,
                                         flag(s.inches),
                                         s.width,
                                         s.height,
                                         s.fs};
}

}  // namespace vandrel
