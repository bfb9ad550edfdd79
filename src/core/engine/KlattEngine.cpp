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

// The impulsive source: a doublet at the start of each period.
constexpr std::array<double, 3> kDoublet = {0.0, 13000000.0, -13000000.0};

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
  for (int n = 8; n >= 1; --n) {
    if (n > 4 && config.cascadeFormants < n) continue;
    const auto i = static_cast<std::size_t>(n - 1);
    casFormant_[i].set(rec[static_cast<std::size_t>(kFreq[i])], rec[static_cast<std::size_t>(kBw[i])], mpr,
                       tpr);
  }
  casNasalPole_.set(rec[kFnp], rec[kBnp], mpr, tpr);
  casNasalZero_.set(rec[kFnz], rec[kBnz], mpr, tpr);

  const std::array<double, 6> gains = {g1, g2, g3, g4, g5, g6};
  parFormant_[0].set(rec[kF1], rec[kB1f], mpr, tpr);
  parFormant_[0].a *= g1;
  parNasalPole_.set(rec[kFnp], rec[kBnp], mpr, tpr);
  parNasalPole_.a *= gnv;
  for (std::size_t i = 1; i < 6; ++i) {
    parFormant_[i].set(rec[static_cast<std::size_t>(kFreq[i])], rec[static_cast<std::size_t>(kBwPar[i])], mpr,
                       tpr);
    parFormant_[i].a *= gains[i];
  }

  outputLowPass_.set(0, config.sampleRate / 2, mpr, tpr);

  // Flutter: a slow quasi-random wobble of f0 from three incommensurate sines.
  const double n = g_.flutterFrame;
  const double delta = (config.flutter / 50.0) * (f0Hz_ / 100.0) *
                       (std::sin(79.79645458 * n) + std::sin(44.61061634 * n) + std::sin(29.53097138 * n)) *
                       10.0;
  f0Tenths_ = saturate(rec[kF0] + static_cast<std::int64_t>(std::clamp(delta, -1e9, 1e9)));
  ++g_.flutterFrame;
}

void CKlattEngine::synthesizeFrame(FrameRecord& rec, std::int32_t*& out) {
  setupFrame(rec);
  switch (config.sourceType) {
    case kImpulsive:
      runSamples<kImpulsive>(rec, out);
      break;
    case kSampled:
      runSamples<kSampled>(rec, out);
      break;
    default:
      runSamples<kNatural>(rec, out);
      break;
  }
}

// The sample loop works on local copies of everything it touches per sample,
// so the compiler can keep the filter memories in registers; the rare
// pitch-synchronous reset goes through the members, and the locals are
// written back before and reloaded after it.
template <std::uint8_t kSource>
void CKlattEngine::runSamples(FrameRecord& rec, std::int32_t*& outPtr) {
  std::int32_t* out = outPtr;

  Resonator lp = sourceLowPass_, shaper = impulseShaper_;
  Antiresonator nz = casNasalZero_;
  Resonator np = casNasalPole_;
  Resonator c1 = casFormant_[0], c2 = casFormant_[1], c3 = casFormant_[2], c4 = casFormant_[3],
            c5 = casFormant_[4], c6 = casFormant_[5], c7 = casFormant_[6], c8 = casFormant_[7];
  // The parallel resonators that share an input run in pairs, one per SIMD
  // lane; each lane does exactly the scalar arithmetic.
  ResonatorPair p1np(parFormant_[0], parNasalPole_), p23(parFormant_[1], parFormant_[2]),
      p45(parFormant_[3], parFormant_[4]);
  Resonator p6 = parFormant_[5], olp = outputLowPass_;

  std::int32_t pos = position_, T0 = T0_, nopen = nopen_, nmod = noiseModPoint_;
  std::int32_t randomValue = randomValue_;
  double pulseA = pulseA_, pulseB = pulseB_, lastPulse = g_.lastPulse;
  double ampVoice = ampVoice_, ampBreath = ampBreath_, tiltC = tiltComplement_, tiltD = tiltDecay_;
  std::uint32_t randNext = g_.randNext;
  double lastNoise = g_.lastNoise;

  const double ampFric = ampFric_, ampAsp = ampAsp_, ampParVoice = ampParVoice_, ampBypass = ampBypass_,
               gain = outGain_;
  const bool cascade = config.model != kAllParallel;
  const int nCas = config.cascadeFormants;
  const std::uint8_t select = config.outputSelect;
  const std::int32_t* table = config.sampledTable ? config.sampledTable : kSampledWave.data();
  const int tableLen = config.sampledLength;

  double lastVoice = 0.0;  // tilt filter memory, fresh in every frame call
  double lastParIn = 0.0;  // first-difference memory, fresh in every frame call

  const int count = config.samplesPerFrame;
  for (int n = 0; n < count; ++n) {
    // Noise: random numbers of -8191..8191, each keeping 3/4 of the last value.
    randNext = randNext * 1103515245u + 12345u;
    randomValue = static_cast<std::int32_t>((randNext / 65536u) % 32768u) % 16383 - 8191;
    double noise = randomValue + 0.75 * lastNoise;
    lastNoise = noise;
    if (pos > nmod) noise *= 0.5;
    const double fric = ampFric * noise;

    double voice = 0.0;
    for (int k = 0; k < 4; ++k) {
      double src = 0.0;
      if constexpr (kSource == kNatural) {
        // An integrated ramp: the pulse rises while the glottis is open and
        // drops to zero when it closes.
        if (pos < nopen) {
          pulseA -= pulseB;
          lastPulse += pulseA;
          src = lastPulse * 0.028;
        } else {
          lastPulse = 0.0;
        }
      } else if constexpr (kSource == kImpulsive) {
        src = shaper.step(pos < 3 ? kDoublet[static_cast<std::size_t>(pos)] : 0.0);
      } else {
        src = sampledSource(table, tableLen, pos, T0);
      }
      if (pos >= T0) {
        pos = 0;
        pulseA_ = pulseA;
        pulseB_ = pulseB;
        impulseShaper_ = shaper;
        sampleCount_ = n;
        pitchSynchronousReset(rec);
        T0 = T0_;
        nopen = nopen_;
        nmod = noiseModPoint_;
        ampVoice = ampVoice_;
        ampBreath = ampBreath_;
        tiltC = tiltComplement_;
        tiltD = tiltDecay_;
        pulseA = pulseA_;
        pulseB = pulseB_;
        shaper = impulseShaper_;
      }
      voice = lp.step(src);
      ++pos;
    }

    voice = voice * tiltC + lastVoice * tiltD;
    lastVoice = voice;
    if (pos < nopen) voice += ampBreath * randomValue;

    const double asp = ampAsp * noise;
    const double casIn = ampVoice * voice + asp;
    const double parIn = ampParVoice * voice + asp;

    double y = 0.0;
    if (cascade) {
      double x = nz.step(casIn);
      x = np.step(x);
      if (nCas >= 8) x = c8.step(x);
      if (nCas >= 7) x = c7.step(x);
      if (nCas >= 6) x = c6.step(x);
      if (nCas >= 5) x = c5.step(x);
      if (nCas >= 4) x = c4.step(x);
      if (nCas >= 3) x = c3.step(x);
      if (nCas >= 2) x = c2.step(x);
      if (nCas >= 1) x = c1.step(x);
      y = x;
    }
    const Pair r1np = p1np.step(parIn);
    y = y + r1np[0] + r1np[1];

    const double source = fric + parIn - lastParIn;
    lastParIn = parIn;
    // Alternating signs: neighbouring parallel formants are summed in
    // antiphase, so their skirts do not cancel between the peaks.
    const Pair r23 = p23.step(source);
    const Pair r45 = p45.step(source);
    y = p6.step(source) - y;
    y = r45[1] - y;
    y = r45[0] - y;
    y = r23[1] - y;
    y = r23[0] - y;

    const double bypass = ampBypass * source;
    y = bypass - y;

    switch (select) {
      case kNormal:
        break;
      case kVoicing:
        y = voice;
        break;
      case kAspiration:
        y = asp;
        break;
      case kFrication:
        y = fric;
        break;
      case kCascadeInput:
        y = casIn;
        break;
      case kParallelInput:
        y = parIn;
        break;
      case kBypass:
        y = bypass;
        break;
      case kParallelSource:
        y = source;
        break;
      default:
        break;
    }

    y = olp.step(y);
    double v = y * gain;
    if (v > 32767.0)
      v = 32767.0;
    else if (v < -32768.0)
      v = -32768.0;
    else if (v != v)
      v = 0.0;  // an unstable filter (out-of-range bandwidth) is silenced
    *out++ = static_cast<std::int32_t>(v);
  }

  sourceLowPass_ = lp;
  impulseShaper_ = shaper;
  casNasalZero_ = nz;
  casNasalPole_ = np;
  casFormant_ = {c1, c2, c3, c4, c5, c6, c7, c8};
  p1np.store(parFormant_[0], parNasalPole_);
  p23.store(parFormant_[1], parFormant_[2]);
  p45.store(parFormant_[3], parFormant_[4]);
  parFormant_[5] = p6;
  outputLowPass_ = olp;
  position_ = pos;
  randomValue_ = randomValue;
  pulseA_ = pulseA;
  pulseB_ = pulseB;
  g_.lastPulse = lastPulse;
  g_.randNext = randNext;
  g_.lastNoise = lastNoise;
  sampleCount_ = count > 0 ? count : 0;
  outPtr = out;
}

template void CKlattEngine::runSamples<CKlattEngine::kImpulsive>(FrameRecord&, std::int32_t*&);
template void CKlattEngine::runSamples<CKlattEngine::kNatural>(FrameRecord&, std::int32_t*&);
template void CKlattEngine::runSamples<CKlattEngine::kSampled>(FrameRecord&, std::int32_t*&);

}  // namespace vandrel
