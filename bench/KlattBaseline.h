#pragma once
// A plain, literal transcription of the synthesizer's sample loop: one method
// per step, the state in members, every branch taken per sample as the
// algorithm reads. It is the yardstick engine_bench measures CKlattEngine
// against, and the second implementation the engine tests compare it with
// sample for sample: both must produce the same integers.

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdio>

#include "engine/KlattEngine.h"

namespace vandrel {

class CKlattBaseline {
 public:
  explicit CKlattBaseline(KlattState& shared) : g_(shared) {}

  CKlattEngine::Config config;

  void initialise() {
    minusPiOverRate_ = -3.1415927 / config.sampleRate;
    twoPiOverRate_ = minusPiOverRate_ * -2.0;
    setRes(sourceLowPass_, config.sampleRate * 950 / 10000, config.sampleRate * 630 / 10000);
    position_ = T0_ = nopen_ = noiseModPoint_ = 0;
    for (Res* r :
         {&parNasalPole_, &casNasalPole_, &casNasalZero_, &impulseShaper_, &sourceLowPass_, &outputLowPass_})
      r->p1 = r->p2 = 0.0;
    for (Res& r : parFormant_) r.p1 = r.p2 = 0.0;
    for (Res& r : casFormant_) r.p1 = r.p2 = 0.0;
  }

  void synthesizeFrame(FrameRecord& rec, std::int32_t*& out) {
    setupFrame(rec);
    double lastVoice = 0.0, lastParIn = 0.0;
    for (sampleCount_ = 0; sampleCount_ < config.samplesPerFrame; ++sampleCount_) {
      double noise = nextNoise();
      if (position_ > noiseModPoint_) noise *= 0.5;
      const double fric = ampFric_ * noise;
      double voice = 0.0;
      for (int k = 0; k < 4; ++k) {
        const double src = glottalSample();
        if (position_ >= T0_) {
          position_ = 0;
          reset(rec);
        }
        voice = step(sourceLowPass_, src);
        ++position_;
      }
      voice = voice * tiltComplement_ + lastVoice * tiltDecay_;
      lastVoice = voice;
      if (position_ < nopen_) voice += ampBreath_ * randomValue_;
      const double asp = ampAsp_ * noise;
      const double casIn = ampVoice_ * voice + asp;
      const double parIn = ampParVoice_ * voice + asp;

      double y = 0.0;
      if (config.model != CKlattEngine::kAllParallel) {
        double x = stepZero(casNasalZero_, casIn);
        x = step(casNasalPole_, x);
        for (int n = 8; n >= 1; --n)
          if (config.cascadeFormants >= n) x = step(casFormant_[static_cast<std::size_t>(n - 1)], x);
        y = x;
      }
      y = y + step(parFormant_[0], parIn) + step(parNasalPole_, parIn);
      const double source = fric + parIn - lastParIn;
      lastParIn = parIn;
      for (std::size_t i = 6; i-- > 1;) y = step(parFormant_[i], source) - y;
      const double bypass = ampBypass_ * source;
      y = bypass - y;
      switch (config.outputSelect) {
        case CKlattEngine::kVoicing:
          y = voice;
          break;
        case CKlattEngine::kAspiration:
          y = asp;
          break;
        case CKlattEngine::kFrication:
          y = fric;
          break;
        case CKlattEngine::kCascadeInput:
          y = casIn;
          break;
        case CKlattEngine::kParallelInput:
          y = parIn;
          break;
        case CKlattEngine::kBypass:
          y = bypass;
          break;
        case CKlattEngine::kParallelSource:
          y = source;
          break;
        default:
          break;
      }

      y = step(outputLowPass_, y);
      double v = y * outGain_;
      if (v > 32767.0)
        v = 32767.0;
      else if (v < -32768.0)
        v = -32768.0;
      else if (v != v)
        v = 0.0;
      *out++ = static_cast<std::int32_t>(v);
    }
  }

 private:
  struct Res {
    double a = 0, b = 0, c = 0, p1 = 0, p2 = 0;
  };

  static std::int32_t sat(std::int64_t v) {
    return static_cast<std::int32_t>(std::clamp<std::int64_t>(v, INT32_MIN, INT32_MAX));
  }
  static double lin(std::int32_t db) { return CKlattEngine::dbToLinear(db); }

  void setRes(Res& r, int f, int bw) {
    const double e = std::exp(bw * minusPiOverRate_);
    r.c = -(e * e);
    r.b = 2.0 * e * std::cos(f * twoPiOverRate_);
    r.a = 1.0 - r.b - r.c;
  }
  void setZero(Res& r, int f, int bw) {
    f = f == INT_MIN ? INT_MAX : -f;
    setRes(r, f >= 0 ? -1 : f, bw);
    r.a = 1.0 / r.a;
    r.c = -r.c * r.a;
    r.b = -r.b * r.a;
  }
  static double step(Res& r, double x) {
    const double y = r.a * x + r.b * r.p1 + r.c * r.p2;
    r.p2 = r.p1;
    r.p1 = y;
    return y;
  }
  static double stepZero(Res& r, double x) {
    const double y = r.a * x + r.b * r.p1 + r.c * r.p2;
    r.p2 = r.p1;
    r.p1 = x;
    return y;
  }
  double nextNoise() {
    randomValue_ = g_.rand() % 16383 - 8191;
    const double noise = randomValue_ + 0.75 * g_.lastNoise;
    g_.lastNoise = noise;
    return noise;
  }

  double glottalSample() {
    switch (config.sourceType) {
      case CKlattEngine::kImpulsive: {
        static constexpr double kDoublet[] = {0.0, 13000000.0, -13000000.0};
        return step(impulseShaper_, position_ < 3 ? kDoublet[position_] : 0.0);
      }
      case CKlattEngine::kSampled: {
        const std::int32_t* table =
            config.sampledTable ? config.sampledTable : CKlattEngine::sampledGlottalWave().data();
        const int len = config.sampledLength;
        if (T0_ == 0 || len < 1) return 0.0;
        const double t = (static_cast<double>(position_) / T0_) * len;
        const int i = std::clamp(static_cast<int>(t), 0, len - 1);
        const int next = i + 1 < len ? table[i + 1] : table[i];
        return (table[i] + (t - i) * (next - table[i])) * config.sampledFactor;
      }
      default:
        if (position_ < nopen_) {
          pulseA_ -= pulseB_;
          g_.lastPulse += pulseA_;
          return g_.lastPulse * 0.028;
        }
        g_.lastPulse = 0.0;
        return 0.0;
    }
  }

  void reset(FrameRecord& rec) {
    if (f0Tenths_ < 1) {
      T0_ = noiseModPoint_ = 4;
      ampVoice_ = ampBreath_ = pulseA_ = pulseB_ = 0.0;
    } else {
      T0_ = (40 * config.sampleRate) / f0Tenths_;
      ampVoice_ = lin(rec[kAv]);
      noiseModPoint_ = rec[kAv] > 0 ? T0_ >> 1 : T0_;
      ampBreath_ = lin(rec[kAtu]) * 0.1;
      nopen_ = sat(4 * static_cast<std::int64_t>(rec[kOq]));
      if (config.sourceType == CKlattEngine::kImpulsive && nopen_ >= 264) nopen_ = 263;
      if (nopen_ >= T0_ - 1) {
        nopen_ = T0_ - 2;
        if (!config.quiet) std::printf("Warning: glottal open period cannot exceed T0, truncated\n");
      }
      if (nopen_ < 40) {
        nopen_ = 40;
        if (!config.quiet)
          std::printf("Warning: minimum glottal open period is 10 samples.\ntruncated, nopen = 40\n");
      }
      pulseB_ = CKlattEngine::naturalPulseTable()[static_cast<std::size_t>(std::min(nopen_, 263) - 40)];
      pulseA_ = pulseB_ * nopen_ * 0.333;
      setRes(impulseShaper_, 0, config.sampleRate / nopen_);
      impulseShaper_.a *= (nopen_ * 0.00833) * (nopen_ * 0.00833);
      const std::int32_t closed = T0_ - nopen_;
      if (rec[kSkew] > closed) {
        if (!config.quiet)
          std::printf("Kskew duration=%d > glottal closed period=%d, truncate\n", rec[kSkew], closed);
        rec[kSkew] = closed;
      }
      const std::int64_t skew = g_.skewSign < 0 ? -std::int64_t{rec[kSkew]} : rec[kSkew];
      T0_ = sat(T0_ + skew);
      g_.skewSign = sat(-skew);
    }
    if (T0_ == 4 && sampleCount_ != 0) return;
    tiltDecay_ = rec[kTl] * 0.033;
    tiltComplement_ = tiltDecay_ > 0.0 ? 1.0 - tiltDecay_ : 1.0;
  }

  void setupFrame(FrameRecord& rec) {
    const int f0Hz = rec[kF0] / 10;
    rec[kAv] = rec[kAv] < 7 ? 0 : rec[kAv] - 7;
    ampAsp_ = lin(rec[kAh]) * 0.05;
    ampFric_ = lin(rec[kAf]) * 0.25;
    ampParVoice_ = lin(rec[kApv]);
    const double gains[] = {lin(rec[kA1f]) * 0.4,  lin(rec[kA2f]) * 0.15,  lin(rec[kA3f]) * 0.06,
                            lin(rec[kA4f]) * 0.04, lin(rec[kA5f]) * 0.022, lin(rec[kA6f]) * 0.03};
    const double gnv = lin(rec[kAnv]) * 0.6;
    ampBypass_ = lin(rec[kAb]) * 0.05;
    rec[kGain] = rec[kGain] < 4 ? 57 : rec[kGain] - 3;
    outGain_ = lin(rec[kGain]);

    static constexpr int kFreq[] = {kF1, kF2, kF3, kF4, kF5, kF6, kF7, kF8};
    static constexpr int kBw[] = {kB1, kB2, kB3, kB4, kB5, kB6, kB7, kB8};
    static constexpr int kBwPar[] = {kB1f, kB2f, kB3f, kB4f, kB5f, kB6f};
    for (int n = 8; n >= 1; --n)
      if (n <= 4 || config.cascadeFormants >= n)
        setRes(casFormant_[static_cast<std::size_t>(n - 1)], rec[static_cast<std::size_t>(kFreq[n - 1])],
               rec[static_cast<std::size_t>(kBw[n - 1])]);
    setRes(casNasalPole_, rec[kFnp], rec[kBnp]);
    setZero(casNasalZero_, rec[kFnz], rec[kBnz]);
    setRes(parNasalPole_, rec[kFnp], rec[kBnp]);
    parNasalPole_.a *= gnv;
    for (std::size_t i = 0; i < 6; ++i) {
      setRes(parFormant_[i], rec[static_cast<std::size_t>(kFreq[i])],
             rec[static_cast<std::size_t>(kBwPar[i])]);
      parFormant_[i].a *= gains[i];
    }
    setRes(outputLowPass_, 0, config.sampleRate / 2);

    const double n = g_.flutterFrame;
    const double delta = (config.flutter / 50.0) * (f0Hz / 100.0) *
                         (std::sin(79.79645458 * n) + std::sin(44.61061634 * n) + std::sin(29.53097138 * n)) *
                         10.0;
    f0Tenths_ = sat(rec[kF0] + static_cast<std::int64_t>(std::clamp(delta, -1e9, 1e9)));
    ++g_.flutterFrame;
  }

  KlattState& g_;
  std::int32_t position_ = 0, sampleCount_ = 0, T0_ = 0, nopen_ = 0, noiseModPoint_ = 0, randomValue_ = 0;
  std::int32_t f0Tenths_ = 0;
  double pulseA_ = 0, pulseB_ = 0, minusPiOverRate_ = 0, twoPiOverRate_ = 0, tiltComplement_ = 1.0,
         tiltDecay_ = 0;
  double ampBypass_ = 0, ampVoice_ = 0, ampParVoice_ = 0, ampAsp_ = 0, ampFric_ = 0, ampBreath_ = 0,
         outGain_ = 0;
  Res parNasalPole_, casNasalPole_, casNasalZero_, impulseShaper_, sourceLowPass_, outputLowPass_;
  std::array<Res, 6> parFormant_;
  std::array<Res, 8> casFormant_;
};

}  // namespace vandrel
