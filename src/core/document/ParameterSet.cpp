#include "document/ParameterSet.h"

#include <algorithm>

namespace vandrel {

namespace {

constexpr ParamDef P(std::string_view n, std::int32_t def, std::int32_t lo, std::int32_t hi, std::int32_t sel,
                     std::string_view desc) {
  return ParamDef{n, desc, def, 0, lo, hi, sel, kWhite};
}

// clang-format off
constexpr std::array<ParamDef, kParamCount> kBuiltin = {{
  P("f0",   1000, 500, 5000, 1, " f0 = Fundamental frequency (pitch) in 0.1 hertz "),
  P("av",     60,   0,   87, 1, " av = Amplitude of voicing in dB (0 - 87) "),
  P("ah",      0,   0,   87, 1, " ah = Amplitude fo aspiration in dB (0 - 87) "),
  P("af",      0,   0,   87, 1, " af = Amplitude of frication in dB (0 - 87)"),
  P("tl",      0,   0,   24, 1, " tl = Spectral tilt for voicing in dB (0 - 24)"),
  P("f8",   7500, 4000, 7500, 0, " f8 = Eighth formant frequency in Hz (4000 - 7500) "),
  P("f7",   6500, 4000, 6500, 0, " f7 = Seventh formant frequency in Hz (4000 - 6500) "),
  P("f6",   4990, 1200, 4999, 0, " f6 = Sixth  formant frequency in Hz (1200 - 4999) "),
  P("f5",   3700, 1200, 4999, 1, " f5 = Fifth  formant frequency in Hz (1200 - 4999) "),
  P("f4",   3250, 1200, 4999, 1, " f4 = Fourth formant frequency in Hz (1200 - 4999) "),
  P("f3",   2500, 1200, 4999, 1, " f3 = Third  formant frequency in Hz (1200 - 4999) "),
  P("f2",   1500, 550, 3000, 1, " f2 = Second formant frequency in Hz (550 - 3000) "),
  P("f1",    500, 200, 1300, 1, " f1 = First  formant frequency in Hz (200 - 1300) "),
  P("b8",    600,  40, 2000, 0, " b8 = Eighth formant bandwidth in Hz (40 - 2000) "),
  P("b7",    500,  40, 2000, 0, " b7 = Seventh formant bandwidth in Hz (40 - 2000) "),
  P("b6",    500,  40, 2000, 0, " b6 = Sixth  formant bandwidth in Hz (40 - 2000) "),
  P("b5",    200,  40, 1000, 1, " b5 = Fifth  formant bandwidth in Hz (40 - 1000) "),
  P("b4",    200,  40, 1000, 1, " b4 = Fourth formant bandwidth in Hz (40 - 1000) "),
  P("b3",    150,  40, 1000, 1, " b3 = Third  formant bandwidth in Hz (40 - 1000) "),
  P("b2",     90,  40, 1000, 1, " b2 = Second formant bandwidth in Hz (40 - 1000) "),
  P("b1",     60,  40, 1000, 1, " b1 = First  formant bandwidth in Hz (40 - 1000) "),
  P("ab",      0,   0,   87, 1, " ab = Amplitude of bypass for all amplitude controls in dB (0 - 87) "),
  P("a8f",    30,   0,   87, 0, " a8f = Eighth formant parallel branch amplitude in dB (0 - 87) "),
  P("a7f",    30,   0,   87, 0, " a7f = Seventh formant parallel branch amplitude in dB (0 - 87) "),
  P("a6f",    30,   0,   87, 0, " a6f = Sixth  formant parallel branch amplitude in dB (0 - 87) "),
  P("a5f",    30,   0,   87, 1, " a5f = Fifth  formant parallel branch amplitude in dB (0 - 87) "),
  P("a4f",    30,   0,   87, 1, " a4f = Fourth formant parallel branch amplitude in dB (0 - 87) "),
  P("a3f",    30,   0,   87, 1, " a3f = Third  formant parallel branch amplitude in dB (0 - 87) "),
  P("a2f",    30,   0,   87, 1, " a2f = Second formant parallel branch amplitude in dB (0 - 87) "),
  P("a1f",    30,   0,   87, 1, " a1f = First  formant parallel branch amplitude in dB (0 - 87) "),
  P("b8f",  1500,  40, 2000, 0, " b8f = Eighth  formant parallel branch bandwidth in Hz (40 - 2000) "),
  P("b7f",  1500,  40, 2000, 0, " b7f = Seventh formant parallel branch bandwidth in Hz (40 - 2000) "),
  P("b6f",  1500,  40, 2000, 0, " b6f = Sixth  formant parallel branch bandwidth in Hz (40 - 2000) "),
  P("b5f",   500,  40, 1000, 1, " b5f = Fifth  formant parallel branch bandwidth in Hz (40 - 1000) "),
  P("b4f",   350,  40, 1000, 1, " b4f = Fourth formant parallel branch bandwidth in Hz (40 - 1000) "),
  P("b3f",   320,  40, 1000, 1, " b3f = Third  formant parallel branch bandwidth in Hz (40 - 1000) "),
  P("b2f",   250,  40, 1000, 1, " b2f = Second formant parallel branch bandwidth in Hz (40 - 1000) "),
  P("b1f",   180,  40, 1000, 1, " b1f = First  formant parallel branch bandwidth in Hz (40 - 1000) "),
  P("fnz",   280, 248,  528, 1, " fnz = Nasal zero frequency in Hz (248 - 528) "),
  P("bnz",    90,  40, 1000, 1, " bnz = Nasal zero bandwidth in Hz (40 - 1000) "),
  P("fnp",   280, 248,  528, 1, " fnp = Nasal pole frequency in Hz (248 - 528) "),
  P("bnp",    90,  40, 1000, 1, " bnp = Nasal pole bandwidth in Hz (40 - 1000) "),
  P("oq",     20,  10,   65, 0, " oq =  Number of samples in an open period (10 - 65) "),
  P("anv",     0,   0,   87, 0, " anv = Amplitude of parallel nasal pole in dB (0 - 87) "),
  P("apv",     0,   0,   87, 1, " apv = Amplitue of voicing in parrallel branch in dB (0 - 87) "),
  P("atu",    40,   0,   87, 0, " atu = Amplitude of breathiness in voicing in dB (0 - 70) "),
  P("skew",    0,   0,   40, 0, " skew = Shewness of alternate periods in sample#/2 (0 - 40) "),
  P("gain",   60,   0,   87, 0, " gain = Overall gain in dB (0 - 87) "),
}};
// clang-format on

}  // namespace

const std::array<ParamDef, kParamCount>& builtinParams() { return kBuiltin; }

std::optional<int> paramIndex(std::string_view name) {
  for (int i = 0; i < kParamCount; ++i)
    if (kBuiltin[static_cast<std::size_t>(i)].name == name) return i;
  return std::nullopt;
}

bool isHighRateRow(int index) {
  switch (index) {
    case kF8:
    case kF7:
    case kF6:
    case kB8:
    case kB7:
    case kB6:
    case kA8f:
    case kA7f:
    case kA6f:
    case kB8f:
    case kB7f:
    case kB6f:
      return true;
    default:
      return false;
  }
}

const ParamDef* ParameterSet::find(std::string_view name) const {
  auto i = paramIndex(name);
  return i ? &at(*i) : nullptr;
}

void ParameterSet::setSelected(int index, bool on) {
  mut(index).selected = on ? 1 : 0;
  selectedCount = countSelected();
}

int ParameterSet::countSelected() const {
  return static_cast<int>(
      std::count_if(params.begin(), params.end(), [](const ParamDef& p) { return p.selected != 0; }));
}

bool ParameterSet::needsHighRate() const {
  for (int i = 0; i < kParamCount; ++i)
    if (isHighRateRow(i) && at(i).selected != 0) return true;
  return false;
}

std::int32_t ParameterSet::framesFor(double fileLengthMs, std::int32_t intervalMs) {
  if (intervalMs <= 0 || !(fileLengthMs > 0.0)) return 0;
  const double frames = fileLengthMs / intervalMs;
  return frames < 2147483647.0 ? static_cast<std::int32_t>(frames) : 2147483647;
}

}  // namespace vandrel
