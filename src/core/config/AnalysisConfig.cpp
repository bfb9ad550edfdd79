#include "config/AnalysisConfig.h"

namespace vandrel {

namespace {

// Copies one field from the record to the options; the record keeps flags as
// 0/1 integers.
struct ToOptions {
  void operator()(const std::int32_t& stored, bool& option) const { option = stored != 0; }
  template <class T>
  void operator()(const T& stored, T& option) const {
    option = stored;
  }
};

// Copies one field from the options to the record.
struct ToRecord {
  void operator()(std::int32_t& stored, const bool& option) const { stored = option ? 1 : 0; }
  template <class T>
  void operator()(T& stored, const T& option) const {
    stored = option;
  }
};

// Every record field beside its option field. One list serves loading and
// storing, so the two directions can never disagree.
template <class Copy, class Record, class Fft, class Pitch, class Spectro>
void pairFields(Copy copy, Record& r, Fft& f, Pitch& p, Spectro& s) {
  auto& cf = r.fftLpc;
  copy(cf.fs, f.fs);
  copy(cf.sizeIndex, f.sizeIndex);
  copy(cf.appliedWindowMs, f.appliedWindowMs);
  copy(cf.frequencyRangeHz, f.frequencyRange);
  copy(cf.averageStepMs, f.averageStepMs);
  copy(cf.lpcCoefficients, f.lpcCoefficients);
  copy(cf.drawLpc, f.drawLpc);
  copy(cf.absolute, f.absolute);
  copy(cf.absoluteLevelDb, f.absoluteDb);
  copy(cf.width, f.width);
  copy(cf.height, f.height);
  copy(cf.inches, f.inches);
  copy(cf.color, f.color);
  copy(cf.frequencyGridOn, f.frequencyGrid);
  copy(cf.frequencyGridHz, f.frequencyGridHz);
  copy(cf.powerGridOn, f.powerGrid);
  copy(cf.powerGridDb, f.powerGridDb);

  auto& cp = r.pitch;
  copy(cp.windowMs, p.windowMs);
  copy(cp.stepMs, p.stepMs);
  copy(cp.deviationHz, p.deviationHz);
  copy(cp.thresholdPercent, p.thresholdPercent);
  copy(cp.calcLowHz, p.calcLowHz);
  copy(cp.calcHighHz, p.calcHighHz);
  copy(cp.displayLowHz, p.displayLowHz);
  copy(cp.displayHighHz, p.displayHighHz);
  copy(cp.frequencyGridOn, p.frequencyGrid);
  copy(cp.frequencyGridHz, p.frequencyGridHz);

  auto& cs = r.spectrogram;
  copy(cs.fs, s.fs);
  copy(cs.sizeIndex, s.sizeIndex);
  copy(cs.frequencyRangeHz, s.frequencyRange);
  copy(cs.dynamicRangeDb, s.dynamicRangeDb);
  copy(cs.preEmphasis, s.preEmphasis);
  copy(cs.displayFormants, s.displayFormants);
  copy(cs.lpcCoefficients, s.formantCoefficients);
  copy(cs.frequencyGridOn, s.frequencyGrid);
  copy(cs.frequencyGridHz, s.frequencyGridHz);
  copy(cs.timeGridOn, s.timeGrid);
  copy(cs.timeGridMs, s.timeGridMs);
  copy(cs.width, s.width);
  copy(cs.height, s.height);
  copy(cs.inches, s.inches);
}

}  // namespace

void loadAnalysisOptions(const ConfigRecord& record, COptionFFTLPC& f, COptionPitch& p,
                         COptionSpectrogram& s) {
  pairFields(ToOptions{}, record, f, p, s);
  // The point counts follow from the size choices; the record does not keep them.
  f.points = analysisSizePoints(f.sizeIndex);
  s.points = analysisSizePoints(s.sizeIndex);
}

void storeAnalysisOptions(const COptionFFTLPC& f, const COptionPitch& p, const COptionSpectrogram& s,
                          ConfigRecord& record) {
  pairFields(ToRecord{}, record, f, p, s);
}

}  // namespace vandrel
