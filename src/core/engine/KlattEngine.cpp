#include "engine/KlattEngine.h"

#include <cmath>
#include <cstdio>

namespace vandrel {

namespace {

// The engine's pi, kept at the precision its coefficients were tuned with.
constexpr double kPi = 3.1415927;

// Decibels to linear x 1000, for 0..87 dB. 0..12 dB are silent.
constexpr std::array<std::int32_t, 88> kAmpTable = {
    0,     0,     0,     0,     0,     0,     0,     0,     0,     0,     0,     0,     0,
    6,     7,     8,     9,     10,    11,    13,    14,    16,    18,    20,    22,    25,
    28,    32,    35,    40,    45,    51,    57,    64,    71,    80,    90,    101,   114,
    128,   142,   159,   179,   202,   227,   256,   284,   318,   359,   405,   455,   512,
    568,   638,   719,   811,   911,   1024,  1137,  1276,  1438,  1622,  1823,  2048,  2273,
    2552,  2875,  3244,  3645,  4096,  4547,  5104,  5751,  6488,  7291,  8192,  9093,  10207,
    11502, 12976, 14582, 16384, 18350, 20644, 23429, 26214, 29491, 32767};

// Initial decrement of the natural pulse for each open phase, indexed by
// nopen - 40 (nopen is 40..263 quarter samples).
constexpr int kNopenMin = 40;
constexpr int kNopenMax = 263;
constexpr std::array<std::int16_t, kNopenMax - kNopenMin + 1> kNaturalPulse = {
    1200, 1142, 1088, 1038, 991, 948, 907, 869, 833, 799, 768, 738, 710, 683, 658, 634, 612, 590,
    570,  551,  533,  515,  499, 483, 468, 454, 440, 427, 415, 403, 391, 380, 370, 360, 350, 341,
    332,  323,  315,  307,  300, 292, 285, 278, 272, 265, 259, 253, 247, 242, 237, 231, 226, 221,
    217,  212,  208,  204,  199, 195, 192, 188, 184, 180, 177, 174, 170, 167, 164, 161, 158, 155,
    153,  150,  147,  145,  142, 140, 137, 135, 133, 131, 128, 126, 124, 122, 120, 119, 117, 115,
    113,  111,  110,  108,  106, 105, 103, 102, 100, 99,  97,  96,  95,  93,  92,  91,  90,  88,
    87,   86,   85,   84,   83,  82,  80,  79,  78,  77,  76,  75,  75,  74,  73,  72,  71,  70,
    69,   68,   68,   67,   66,  65,  64,  64,  63,  62,  61,  61,  60,  59,  59,  58,  57,  57,
    56,   56,   55,   55,   54,  54,  53,  53,  52,  52,  51,  51,  50,  50,  49,  49,  48,  48,
    47,   47,   46,   46,   45,  45,  44,  44,  43,  43,  42,  42,  41,  41,  41,  41,  40,  40,
    39,   39,   38,   38,   38,  38,  37,  37,  36,  36,  36,  36,  35,  35,  35,  35,  34,  34,
    33,   33,   33,   33,   32,  32,  32,  32,  31,  31,  31,  31,  30,  30,  30,  30,  29,  29,
    29,   29,   28,   28,   28,  28,  27,  27};

// The impulsive source: a doublet at the start of each period.
constexpr std::array<double, 3> kDoublet = {0.0, 13000000.0, -13000000.0};

// A sampled glottal waveform. Entries 12..94 are a smooth curve through the
// ends; the driver never selects this source.
constexpr std::array<std::int32_t, 100> kSampledWave = {
    -310,  -400,  530,   356,   224,   89,    23,    -10,   -58,   -16,   461,   599,   732,
    855,   968,   1072,  1166,  1252,  1328,  1396,  1456,  1508,  1551,  1587,  1615,  1636,
    1650,  1658,  1658,  1653,  1641,  1623,  1600,  1571,  1537,  1498,  1454,  1406,  1353,
    1297,  1236,  1172,  1104,  1033,  959,   883,   804,   722,   639,   554,   467,   378,
    289,   198,   107,   16,    -76,   -168,  -260,  -351,  -442,  -532,  -620,  -708,  -794,
    -878,  -960,  -1040, -1117, -1192, -1264, -1333, -1398, -1460, -1518, -1572, -1622, -1667,
    -1708, -1744, -1774, -1799, -1819, -1833, -1840, -1842, -1837, -1825, -1806, -1781, -1747,
    -1706, -1658, -1601, -1536, -1462, -1384, -1261, -949,  -730};

}  // namespace

KlattState& processKlattState() {
  static KlattState state;
  return state;
}

const std::array<std::int32_t, 100>& CKlattEngine::sampledGlottalWave() { return kSampledWave; }

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

// Random numbers of -8191..8191, low-passed: each value keeps 3/4 of the last.
inline double CKlattEngine::nextNoise() {
  randomValue_ = (g_.rand() % 16383) - 8191;
  const double noise = randomValue_ + 0.75 * g_.lastNoise;
  g_.lastNoise = noise;
  return noise;
}

inline double CKlattEngine::glottalSample(const FrameRecord&) {
  switch (config.sourceType) {
    case kImpulsive: {
      const double x = position_ < 3 ? kDoublet[static_cast<std::size_t>(position_)] : 0.0;
      return impulseShaper_.step(x);
    }
    case kNatural:
      // An integrated ramp: the pulse rises while the glottis is open and
      // drops to zero when it closes.
      if (position_ < nopen_) {
        pulseA_ -= pulseB_;
        g_.lastPulse += pulseA_;
        return g_.lastPulse * 0.028;
      }
      g_.lastPulse = 0.0;
      return 0.0;
    case kSampled: {
      if (T0_ == 0) return 0.0;
      const std::int32_t* table = config.sampledTable ? config.sampledTable : kSampledWave.data();
      const int len = config.sampledLength;
      if (len < 1) return 0.0;
      const double t = (static_cast<double>(position_) / T0_) * len;
      int i = static_cast<int>(t);
      if (i < 0) i = 0;
      if (i > len - 1) i = len - 1;
      const int next = i + 1 < len ? table[i + 1] : table[i];
      return (table[i] + (t - i) * (next - table[i])) * config.sampledFactor;
    }
    default:
      return 0.0;
  }
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

    nopen_ = 4 * rec[kOq];
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
    std::int32_t skew = rec[kSkew];
    if (g_.skewSign < 0) skew = -skew;
    T0_ += skew;
    g_.skewSign = -skew;
  }

  if (T0_ == 4 && sampleCount_ != 0) return;
  tiltDecay_ = rec[kTl] * 0.033;
  tiltComplement_ = tiltDecay_ > 0.0 ? 1.0 - tiltDecay_ : 1.0;
}

void CKlattEngine::setupFrame(FrameRecord& rec) {
  const double mpr = minusPiOverRate_;
  const double tpr = twoPiOverRate_;

  f0Hz_ = rec[kF0] / 10;
  rec[kAv] -= 7;
  if (rec[kAv] < 0) rec[kAv] = 0;

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

  rec[kGain] -= 3;
  if (rec[kGain] < 1) rec[kGain] = 57;
  outGain_ = dbToLinear(rec[kGain]);

  // Cascade formants 1..4 always; 5..8 as the formant count allows.
  static constexpr std::array<int, 8> kFreq = {kF1, kF2, kF3, kF4, kF5, kF6, kF7, kF8};
  static constexpr std::array<int, 8> kBw = {kB1, kB2, kB3, kB4, kB5, kB6, kB7, kB8};
  static constexpr std::array<int, 6> kBwPar = {kB1f, kB2f, kB3f, kB4f, kB5f, kB6f};
  for (int n = 8; n >= 1; --n) {
    if (n > 4 && config.cascadeFormants < n) continue;
    const auto i = static_cast<std::size_t>(n - 1);
    casFormant_[i].set(rec[static_cast<std::size_t>(kFreq[i])], rec[static_cast<std::size_t>(kBw[i])],
                       mpr, tpr);
  }
  casNasalPole_.set(rec[kFnp], rec[kBnp], mpr, tpr);
  casNasalZero_.set(rec[kFnz], rec[kBnz], mpr, tpr);

  const std::array<double, 6> gains = {g1, g2, g3, g4, g5, g6};
  parFormant_[0].set(rec[kF1], rec[kB1f], mpr, tpr);
  parFormant_[0].a *= g1;
  parNasalPole_.set(rec[kFnp], rec[kBnp], mpr, tpr);
  parNasalPole_.a *= gnv;
  for (std::size_t i = 1; i < 6; ++i) {
    parFormant_[i].set(rec[static_cast<std::size_t>(kFreq[i])],
                       rec[static_cast<std::size_t>(kBwPar[i])], mpr, tpr);
    parFormant_[i].a *= gains[i];
  }

  outputLowPass_.set(0, config.sampleRate / 2, mpr, tpr);

  // Flutter: a slow quasi-random wobble of f0 from three incommensurate sines.
  const double n = g_.flutterFrame;
  const double delta = (config.flutter / 50.0) * (f0Hz_ / 100.0) *
                       (std::sin(79.79645458 * n) + std::sin(44.61061634 * n) +
                        std::sin(29.53097138 * n)) *
                       10.0;
  f0Tenths_ = rec[kF0] + static_cast<std::int32_t>(delta);
  ++g_.flutterFrame;
}

void CKlattEngine::synthesizeFrame(FrameRecord& rec, std::int32_t*& out) {
  setupFrame(rec);

  double lastVoice = 0.0;    // tilt filter memory, fresh in every frame call
  double lastParIn = 0.0;    // first-difference memory, fresh in every frame call
  const bool cascade = config.model != kAllParallel;
  const int nCas = config.cascadeFormants;

  for (sampleCount_ = 0; sampleCount_ < config.samplesPerFrame; ++sampleCount_) {
    double noise = nextNoise();
    if (position_ > noiseModPoint_) noise *= 0.5;
    const double fric = ampFric_ * noise;

    double voice = 0.0;
    for (int k = 0; k < 4; ++k) {
      double src = glottalSample(rec);
      if (position_ >= T0_) {
        position_ = 0;
        pitchSynchronousReset(rec);
      }
      voice = sourceLowPass_.step(src);
      ++position_;
    }

    voice = voice * tiltComplement_ + lastVoice * tiltDecay_;
    lastVoice = voice;
    if (position_ < nopen_) voice += ampBreath_ * randomValue_;

    const double asp = ampAsp_ * noise;
    const double casIn = ampVoice_ * voice + asp;
    const double parIn = ampParVoice_ * voice + asp;

    double y = 0.0;
    if (cascade) {
      double x = casNasalZero_.step(casIn);
      x = casNasalPole_.step(x);
      for (int n = 8; n >= 1; --n)
        if (nCas >= n) x = casFormant_[static_cast<std::size_t>(n - 1)].step(x);
      y = x;
    }
    y = y + parFormant_[0].step(parIn) + parNasalPole_.step(parIn);

    const double source = fric + parIn - lastParIn;
    lastParIn = parIn;
    // Alternating signs: adjacent parallel formants are added in antiphase, as
    // their responses are between their peaks.
    y = parFormant_[5].step(source) - y;
    y = parFormant_[4].step(source) - y;
    y = parFormant_[3].step(source) - y;
    y = parFormant_[2].step(source) - y;
    y = parFormant_[1].step(source) - y;

    const double bypass = ampBypass_ * source;
    y = bypass - y;

    switch (config.outputSelect) {
      case kNormal: break;
      case kVoicing: y = voice; break;
      case kAspiration: y = asp; break;
      case kFrication: y = fric; break;
      case kCascadeInput: y = casIn; break;
      case kParallelInput: y = parIn; break;
      case kBypass: y = bypass; break;
      case kParallelSource: y = source; break;
      default: break;
    }

    y = outputLowPass_.step(y);
    double v = y * outGain_;
    if (v > 32767.0) v = 32767.0;
    else if (v < -32768.0) v = -32768.0;
    else if (v != v) v = 0.0;  // an unstable filter (out-of-range bandwidth) is silenced
    *out++ = static_cast<std::int32_t>(v);
  }
}

}  // namespace vandrel
