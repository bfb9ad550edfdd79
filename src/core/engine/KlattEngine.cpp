#include "engine/KlattEngine.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdio>

namespace vandrel {

namespace {

// The engine's pi, kept at the precision its coefficients were tuned with.
constexpr double kPi = 3.1415927;

// Decibels to linear x 1000, for 0..87 dB. 0..12 dB are silent.
constexpr std::array<std::int32_t, 88> kAmpTable = {
    0,    0,    0,     0,     0,     0,     0,     0,     0,     0,     0,     0,     0,    6,    7,
    8,    9,    10,    11,    13,    14,    16,    18,    20,    22,    25,    28,    32,   35,   40,
    45,   51,   57,    64,    71,    80,    90,    101,   114,   128,   142,   159,   179,  202,  227,
    256,  284,  318,   359,   405,   455,   512,   568,   638,   719,   811,   911,   1024, 1137, 1276,
    1438, 1622, 1823,  2048,  2273,  2552,  2875,  3244,  3645,  4096,  4547,  5104,  5751, 6488, 7291,
    8192, 9093, 10207, 11502, 12976, 14582, 16384, 18350, 20644, 23429, 26214, 29491, 32767};

// Initial decrement of the natural pulse for each open phase, indexed by
// nopen - 40 (nopen is 40..263 quarter samples).
constexpr int kNopenMin = 40;
constexpr int kNopenMax = 263;
constexpr std::array<std::int16_t, kNopenMax - kNopenMin + 1> kNaturalPulse = {
    1200, 1142, 1088, 1038, 991, 948, 907, 869, 833, 799, 768, 738, 710, 683, 658, 634, 612, 590, 570,
    551,  533,  515,  499,  483, 468, 454, 440, 427, 415, 403, 391, 380, 370, 360, 350, 341, 332, 323,
    315,  307,  300,  292,  285, 278, 272, 265, 259, 253, 247, 242, 237, 231, 226, 221, 217, 212, 208,
    204,  199,  195,  192,  188, 184, 180, 177, 174, 170, 167, 164, 161, 158, 155, 153, 150, 147, 145,
    142,  140,  137,  135,  133, 131, 128, 126, 124, 122, 120, 119, 117, 115, 113, 111, 110, 108, 106,
    105,  103,  102,  100,  99,  97,  96,  95,  93,  92,  91,  90,  88,  87,  86,  85,  84,  83,  82,
    80,   79,   78,   77,   76,  75,  75,  74,  73,  72,  71,  70,  69,  68,  68,  67,  66,  65,  64,
    64,   63,   62,   61,   61,  60,  59,  59,  58,  57,  57,  56,  56,  55,  55,  54,  54,  53,  53,
    52,   52,   51,   51,   50,  50,  49,  49,  48,  48,  47,  47,  46,  46,  45,  45,  44,  44,  43,
    43,   42,   42,   41,   41,  41,  41,  40,  40,  39,  39,  38,  38,  38,  38,  37,  37,  36,  36,
    36,   36,   35,   35,   35,  35,  34,  34,  33,  33,  33,  33,  32,  32,  32,  32,  31,  31,  31,
    31,   30,   30,   30,   30,  29,  29,  29,  29,  28,  28,  28,  28,  27,  27};

// A sampled glottal waveform. Entries 12..94 are a smooth curve through the
// ends; the driver never selects this source.
constexpr std::array<std::int32_t, 100> kSampledWave = {
    -310,  -400,  530,   356,   224,   89,    23,    -10,   -58,   -16,   461,   599,   732,   855,   968,
    1072,  1166,  1252,  1328,  1396,  1456,  1508,  1551,  1587,  1615,  1636,  1650,  1658,  1658,  1653,
    1641,  1623,  1600,  1571,  1537,  1498,  1454,  1406,  1353,  1297,  1236,  1172,  1104,  1033,  959,
    883,   804,   722,   639,   554,   467,   378,   289,   198,   107,   16,    -76,   -168,  -260,  -351,
    -442,  -532,  -620,  -708,  -794,  -878,  -960,  -1040, -1117, -1192, -1264, -1333, -1398, -1460, -1518,
    -1572, -1622, -1667, -1708, -1744, -1774, -1799, -1819, -1833, -1840, -1842, -1837, -1825, -1806, -1781,
    -1747, -1706, -1658, -1601, -1536, -1462, -1384, -1261, -949,  -730};

// Records can come from files; keep integer arithmetic on them defined for any
// 32-bit value.
std::int32_t saturate(std::int64_t v) {
  return static_cast<std::int32_t>(std::clamp<std::int64_t>(v, INT32_MIN, INT32_MAX));
}

}  // namespace

KlattState& processKlattState() {
  static KlattState state;
  return state;
}

const std::array<std::int32_t, 100>& CKlattEngine::sampledGlottalWave() { return kSampledWave; }
const std::array<std::int16_t, 224>& CKlattEngine::naturalPulseTable() { return kNaturalPulse; }

double CKlattEngine::dbToLinear(std::int32_t db) {
  // One unsigned comparison rejects both negative values and values above 87.
  if (static_cast<std::uint32_t>(db) > 87u) return 0.0;
  return kAmpTable[static_cast<std::size_t>(db)] * 0.001;
}

void CKlattEngine::initialise() {
  minusPiOverRate_ = -kPi / config.sampleRate;
  twoPiOverRate_ = minusPiOverRate_ * -2.0;
  lowPassFreq_ = config.sampleRate * 950 / 10000;
  lowPassBw_ = config.sampleRate * 630 / 10000;
  sourceLowPass_.set(lowPassFreq_, lowPassBw_, minusPiOverRate_, twoPiOverRate_);
  for (auto& c : poleCache_) c.clear();  // the rate may have changed

  position_ = 0;
  T0_ = 0;
  nopen_ = 0;
  noiseModPoint_ = 0;
  parNasalPole_.reset();
  for (auto& r : parFormant_) r.reset();
  for (auto& r : casFormant_) r.reset();
  casNasalPole_.reset();
  casNasalZero_.reset();
  impulseShaper_.reset();
  sourceLowPass_.reset();
  outputLowPass_.reset();
}

// The sampled glottal waveform, stretched over the period by linear
// interpolation. The period is still 0 before the first reset of a run.
double CKlattEngine::sampledSource(const std::int32_t* table, int len, std::int32_t pos,
                                   std::int32_t T0) const {
  if (T0 == 0 || len < 1) return 0.0;
  const double t = (static_cast<double>(pos) / T0) * len;
  int i = static_cast<int>(t);
  if (i < 0) i = 0;
  if (i > len - 1) i = len - 1;
  const int next = i + 1 < len ? table[i + 1] : table[i];
  return (table[i] + (t - i) * (next - table[i])) * config.sampledFactor;
}

void CKlattEngine::pitchSynchronousReset(FrameRecord& rec) {
  const std::int32_t f0 = f0Tenths_;  // after flutter
  if (f0 < 1) {
    T0_ = 4;
    noiseModPoint_ = 4;
    ampVoice_ = 0.0;
    ampBreath_ = 0.0;
    pulseA_ = pulseB_ = 0.0;
  } else {
    T0_ = (40 * config.sampleRate) / f0;
    ampVoice_ = dbToLinear(rec[kAv]);
    noiseModPoint_ = T0_;
    if (rec[kAv] > 0) noiseModPoint_ >>= 1;
    ampBreath_ = dbToLinear(rec[kAtu]) * 0.1;

    nopen_ = saturate(4 * static_cast<std::int64_t>(rec[kOq]));
    if (config.sourceType == kImpulsive && nopen_ >= kNopenMax + 1) nopen_ = kNopenMax;
    if (nopen_ >= T0_ - 1) {
      nopen_ = T0_ - 2;
      if (!config.quiet) std::printf("Warning: glottal open period cannot exceed T0, truncated\n");
    }
    if (nopen_ < kNopenMin) {
      nopen_ = kNopenMin;
      if (!config.quiet) {
        std::printf("Warning: minimum glottal open period is 10 samples.\n");
        std::printf("truncated, nopen = %i\n", nopen_);
      }
    }
    // oq above 65 would run past the table; such a pulse takes its last entry.
    const int idx = (nopen_ > kNopenMax ? kNopenMax : nopen_) - kNopenMin;
    pulseB_ = kNaturalPulse[static_cast<std::size_t>(idx)];
    pulseA_ = pulseB_ * nopen_ * 0.333;

    impulseShaper_.set(0, config.sampleRate / nopen_, minusPiOverRate_, twoPiOverRate_);
    const double k = nopen_ * 0.00833;
    impulseShaper_.a *= k * k;

    // Alternate periods are lengthened and shortened by the skew, which may not
    // exceed the closed phase.
    const std::int32_t closed = T0_ - nopen_;
    if (rec[kSkew] > closed) {
      if (!config.quiet)
        std::printf("Kskew duration=%d > glottal closed period=%d, truncate\n", rec[kSkew], closed);
      rec[kSkew] = closed;
    }
    std::int64_t skew = rec[kSkew];
    if (g_.skewSign < 0) skew = -skew;
    T0_ = saturate(T0_ + skew);
    g_.skewSign = saturate(-skew);
  }

  if (T0_ == 4 && sampleCount_ != 0) return;
  tiltDecay_ = rec[kTl] * 0.033;
  tiltComplement_ = tiltDecay_ > 0.0 ? 1.0 - tiltDecay_ : 1.0;
}

void CKlattEngine::setupFrame(FrameRecord& rec) {
  const double mpr = minusPiOverRate_;
  const double tpr = twoPiOverRate_;

  f0Hz_ = rec[kF0] / 10;
  // av - 7, floored at 0 (written as a comparison so no value can overflow).
  rec[kAv] = rec[kAv] < 7 ? 0 : rec[kAv] - 7;

  ampAsp_ = dbToLinear(rec[kAh]) * 0.05;
  ampFric_ = dbToLinear(rec[kAf]) * 0.25;
  ampParVoice_ = dbToLinear(rec[kApv]);

  const double g1 = dbToLinear(rec[kA1f]) * 0.4;
  const double g2 = dbToLinear(rec[kA2f]) * 0.15;
  const double g3 = dbToLinear(rec[kA3f]) * 0.06;
  const double g4 = dbToLinear(rec[kA4f]) * 0.04;
  const double g5 = dbToLinear(rec[kA5f]) * 0.022;
  const double g6 = dbToLinear(rec[kA6f]) * 0.03;
  const double gnv = dbToLinear(rec[kAnv]) * 0.6;
  ampBypass_ = dbToLinear(rec[kAb]) * 0.05;

  // gain - 3; a result below 1 dB becomes 57 dB, so a gain of 0 is loud.
  rec[kGain] = rec[kGain] < 4 ? 57 : rec[kGain] - 3;
  outGain_ = dbToLinear(rec[kGain]);

  // Cascade formants 1..4 always; 5..8 as the formant count allows.
  static constexpr std::array<int, 8> kFreq = {kF1, kF2, kF3, kF4, kF5, kF6, kF7, kF8};
  static constexpr std::array<int, 8> kBw = {kB1, kB2, kB3, kB4, kB5, kB6, kB7, kB8};
  static constexpr std::array<int, 6> kBwPar = {kB1f, kB2f, kB3f, kB4f, kB5f, kB6f};
  auto pole = [&](Slot slot, int f, int bw) -> const PolePair& {
    return poleCache_[static_cast<std::size_t>(slot)].get(f, bw, mpr, tpr);
  };
  for (int n = 8; n >= 1; --n) {
    if (n > 4 && config.cascadeFormants < n) continue;
    const auto i = static_cast<std::size_t>(n - 1);
    casFormant_[i].set(pole(static_cast<Slot>(kCascade1 + n - 1), rec[static_cast<std::size_t>(kFreq[i])],
                            rec[static_cast<std::size_t>(kBw[i])]));
  }
  // The nasal pole's pair serves both branches.
  const PolePair& nasal = pole(kNasalPole, rec[kFnp], rec[kBnp]);
  casNasalPole_.set(nasal);
  casNasalZero_.set(pole(kNasalZero, Antiresonator::poleFrequency(rec[kFnz]), rec[kBnz]));

  const std::array<double, 6> gains = {g1, g2, g3, g4, g5, g6};
  parFormant_[0].set(pole(kParallel1, rec[kF1], rec[kB1f]));
  parFormant_[0].a *= g1;
  parNasalPole_.set(nasal);
  parNasalPole_.a *= gnv;
  for (std::size_t i = 1; i < 6; ++i) {
    parFormant_[i].set(pole(static_cast<Slot>(kParallel1 + static_cast<int>(i)),
                            rec[static_cast<std::size_t>(kFreq[i])],
                            rec[static_cast<std::size_t>(kBwPar[i])]));
    parFormant_[i].a *= gains[i];
  }

  outputLowPass_.set(pole(kOutputLowPass, 0, config.sampleRate / 2));

  // Flutter: a slow quasi-random wobble of f0 from three incommensurate sines.
  // Without flutter the wobble is exactly 0, and its sines are not needed.
  const double n = g_.flutterFrame++;
  if (config.flutter == 0) {
    f0Tenths_ = rec[kF0];
    return;
  }
  const double delta = (config.flutter / 50.0) * (f0Hz_ / 100.0) *
                       (std::sin(79.79645458 * n) + std::sin(44.61061634 * n) + std::sin(29.53097138 * n)) *
                       10.0;
  f0Tenths_ = saturate(rec[kF0] + static_cast<std::int64_t>(std::clamp(delta, -1e9, 1e9)));
}

}  // namespace vandrel
