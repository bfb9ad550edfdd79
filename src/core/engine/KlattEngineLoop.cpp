// The sample loop of CKlattEngine.
//
// Three chains of work run in it, independent of each other within a sample:
//  - the source: noise, four glottal sub-samples through the source low-pass,
//    tilt, breathiness and the nasal zero. One serial chain: the low-pass
//    feeds itself sixteen multiply-adds deep per sample, and sets the pace;
//  - the cascade, as a pipeline: stage k (the nasal pole, then the formants
//    from the highest down) works on sample i - k while stage 0 takes sample
//    i, so the stages of one step depend only on the previous step and run
//    side by side in SIMD lanes instead of one after another;
//  - the seven parallel resonators, side by side in SIMD lanes.
// They make the first stage of the loop, which fills the time the source's
// chain leaves idle. The second stage, a chunk of samples behind, sums the
// branches in their fixed order and runs the output low-pass and the clipping
// (another chain, which would not fit beside the first in the registers).
// Every lane computes a*x + b*p1 + c*p2 in the order of a plain resonator
// step, so the samples are exactly those of the plain loop: only the order in
// which independent work is done changes.
//
// The loop is compiled twice: with 4-wide vectors for processors with AVX2,
// chosen when the program runs, and with 2-wide ones for any x86-64.

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "engine/KlattEngine.h"

namespace vandrel {

namespace {

using Vec2 = double __attribute__((vector_size(16)));
using Vec4 = double __attribute__((vector_size(32)));
template <int W>
struct VecOf;
template <>
struct VecOf<2> {
  using T = Vec2;
};
template <>
struct VecOf<4> {
  using T = Vec4;
};

// The impulsive source: a doublet at the start of each period.
constexpr double kDoublet[] = {0.0, 13000000.0, -13000000.0};

// Steps of the first stage a chunk ahead of the second, and the ring that
// carries a sample's values from one to the other (a chunk plus the longest
// pipeline, rounded up to a power of two).
constexpr int kChunk = 128;
constexpr int kRing = 256;

// A sample's values from the first stage for the second.
struct alignas(32) Delayed {
  double par[8];  // the parallel resonators' outputs: F1, nasal pole, F2..F6
  double parIn, src, fric, pick, cascade;
};

// What an output select other than the normal output puts out instead of
// `normal`; `pick` is the source stage's voicing, aspiration or cascade input.
double picked(std::uint8_t select, double pick, double fric, double parIn, double bypass, double source,
              double normal) {
  switch (select) {
    case CKlattEngine::kVoicing:
    case CKlattEngine::kAspiration:
    case CKlattEngine::kCascadeInput:
      return pick;
    case CKlattEngine::kFrication:
      return fric;
    case CKlattEngine::kParallelInput:
      return parIn;
    case CKlattEngine::kBypass:
      return bypass;
    case CKlattEngine::kParallelSource:
      return source;
    default:
      return normal;
  }
}

}  // namespace

struct CKlattEngine::Loop {
  // One frame of samples with W-wide vectors and V vectors of cascade stages.
  template <int W, std::uint8_t kSource, int V>
  [[gnu::always_inline]] static inline void run(CKlattEngine& e, FrameRecord& rec, std::int32_t*& outPtr) {
    using Vec = typename VecOf<W>::T;
    const int count = e.config.samplesPerFrame;
    if (count < 1) {
      e.sampleCount_ = 0;
      return;
    }
    std::int32_t* out = outPtr;
    KlattState& g = e.g_;

    // --- source ---
    Resonator lp = e.sourceLowPass_, shaper = e.impulseShaper_;
    Antiresonator nz = e.casNasalZero_;
    std::int32_t pos = e.position_, T0 = e.T0_, nopen = e.nopen_, nmod = e.noiseModPoint_;
    std::int32_t randomValue = e.randomValue_;
    double pulseA = e.pulseA_, pulseB = e.pulseB_, lastPulse = g.lastPulse;
    double ampVoice = e.ampVoice_, ampBreath = e.ampBreath_, tiltC = e.tiltComplement_, tiltD = e.tiltDecay_;
    std::uint32_t randNext = g.randNext;
    double lastNoise = g.lastNoise;
    double lastVoice = 0.0;  // tilt filter memory, fresh in every frame call
    const double ampFric = e.ampFric_, ampAsp = e.ampAsp_, ampParVoice = e.ampParVoice_;
    const std::int32_t* table = e.config.sampledTable ? e.config.sampledTable : sampledGlottalWave().data();
    const int tableLen = e.config.sampledLength;
    const std::uint8_t sourceType = e.config.sourceType;
    const std::uint8_t select = e.config.outputSelect;

    // --- cascade pipeline: lane k holds stage k; lanes past the last stage
    // have zero coefficients and are never read ---
    constexpr int kLanes = V > 0 ? W * V : W;
    Resonator* stage[kLanes] = {};
    int stages = 0;
    if constexpr (V > 0) {
      stage[stages++] = &e.casNasalPole_;
      for (int n = 8; n >= 1; --n)
        if (e.config.cascadeFormants >= n) stage[stages++] = &e.casFormant_[static_cast<std::size_t>(n - 1)];
    }
    const int delay = stages > 0 ? stages - 1 : 0;  // steps from stage 0 to the cascade output
    alignas(32) double ca[kLanes] = {}, cb[kLanes] = {}, cc[kLanes] = {}, s1[kLanes] = {}, s2[kLanes] = {};
    for (int k = 0; k < stages; ++k) {
      ca[k] = stage[k]->a;
      cb[k] = stage[k]->b;
      cc[k] = stage[k]->c;
      s1[k] = stage[k]->p1;
      s2[k] = stage[k]->p2;
    }

    // --- parallel branch: lanes F1, nasal pole (fed the parallel input), F2..F6
    // (fed the first difference), and one unused ---
    constexpr int kParVecs = 8 / W;
    Resonator* par[8] = {&e.parFormant_[0], &e.parNasalPole_,  &e.parFormant_[1], &e.parFormant_[2],
                         &e.parFormant_[3], &e.parFormant_[4], &e.parFormant_[5], nullptr};
    alignas(32) double pa[8] = {}, pb[8] = {}, pc[8] = {}, q1[8] = {}, q2[8] = {};
    for (int k = 0; k < 7; ++k) {
      pa[k] = par[k]->a;
      pb[k] = par[k]->b;
      pc[k] = par[k]->c;
      q1[k] = par[k]->p1;
      q2[k] = par[k]->p2;
    }
    Vec PA[kParVecs], PB[kParVecs], PC[kParVecs], Q1[kParVecs], Q2[kParVecs];
    for (int j = 0; j < kParVecs; ++j) {
      std::memcpy(&PA[j], pa + W * j, sizeof(Vec));
      std::memcpy(&PB[j], pb + W * j, sizeof(Vec));
      std::memcpy(&PC[j], pc + W * j, sizeof(Vec));
      std::memcpy(&Q1[j], q1 + W * j, sizeof(Vec));
      std::memcpy(&Q2[j], q2 + W * j, sizeof(Vec));
    }
    Resonator olp = e.outputLowPass_;
    const double ampBypass = e.ampBypass_, gain = e.outGain_;
    double lastParIn = 0.0;  // first-difference memory, fresh in every frame call

    Delayed ring[kRing];
    double nzOut = 0.0;

    // The pitch-synchronous reset works on the members: write the locals
    // back, run it, reload.
    auto reset = [&](int n) __attribute__((always_inline)) {
      e.pulseA_ = pulseA;
      e.pulseB_ = pulseB;
      e.impulseShaper_ = shaper;
      e.sampleCount_ = n;
      e.pitchSynchronousReset(rec);
      T0 = e.T0_;
      nopen = e.nopen_;
      nmod = e.noiseModPoint_;
      ampVoice = e.ampVoice_;
      ampBreath = e.ampBreath_;
      tiltC = e.tiltComplement_;
      tiltD = e.tiltDecay_;
      pulseA = e.pulseA_;
      pulseB = e.pulseB_;
      shaper = e.impulseShaper_;
    };

    // One glottal sub-sample of any source, with the reset when the period ends.
    auto subSample = [&](int n) __attribute__((always_inline)) {
      double src = 0.0;
      const bool natural = kSource == kNatural || (sourceType != kImpulsive && sourceType != kSampled);
      if (natural) {
        // An integrated ramp: the pulse rises while the glottis is open and
        // drops to zero when it closes.
        if (pos < nopen) {
          pulseA -= pulseB;
          lastPulse += pulseA;
          src = lastPulse * 0.028;
        } else {
          lastPulse = 0.0;
        }
      } else if (sourceType == kImpulsive) {
        src = shaper.step(pos < 3 ? kDoublet[pos] : 0.0);
      } else {
        src = e.sampledSource(table, tableLen, pos, T0);
      }
      if (pos >= T0) {
        pos = 0;
        reset(n);
      }
      const double v = lp.step(src);
      ++pos;
      return v;
    };

    // The source chain for sample n: its values for the second stage go to
    // the ring, the nasal zero's output to nzOut.
    auto source = [&](int n) __attribute__((always_inline)) {
      // Noise: random numbers of -8191..8191, each keeping 3/4 of the last value.
      randNext = randNext * 1103515245u + 12345u;
      randomValue = static_cast<std::int32_t>((randNext / 65536u) % 32768u) % 16383 - 8191;
      double noise = randomValue + 0.75 * lastNoise;
      lastNoise = noise;
      if (pos > nmod) noise *= 0.5;

      double voice;
      const std::int64_t last = std::int64_t{pos} + 3;  // the fourth sub-sample's position
      if (kSource == kNatural && last < T0 && last < nopen) {
        // Open throughout, no period end: the ramp and the low-pass alone.
        for (int k = 0; k < 3; ++k) {
          pulseA -= pulseB;
          lastPulse += pulseA;
          lp.step(lastPulse * 0.028);
        }
        pulseA -= pulseB;
        lastPulse += pulseA;
        voice = lp.step(lastPulse * 0.028);
        pos += 4;
      } else if (kSource == kNatural && last < T0 && pos >= nopen) {
        // Closed throughout: the low-pass rings out.
        lastPulse = 0.0;
        lp.step(0.0);
        lp.step(0.0);
        lp.step(0.0);
        voice = lp.step(0.0);
        pos += 4;
      } else {
        voice = 0.0;
        for (int k = 0; k < 4; ++k) voice = subSample(n);
      }

      voice = voice * tiltC + lastVoice * tiltD;
      lastVoice = voice;
      if (pos < nopen) voice += ampBreath * randomValue;

      const double asp = ampAsp * noise;
      const double casIn = ampVoice * voice + asp;
      Delayed& d = ring[n & (kRing - 1)];
      const double parIn = ampParVoice * voice + asp;
      const double fric = ampFric * noise;
      // The parallel source: frication and the first difference of the
      // parallel input, which tilts the higher formants up.
      const double src = fric + parIn - lastParIn;
      lastParIn = parIn;
      d.parIn = parIn;
      d.src = src;
      d.fric = fric;
      // The parallel resonators, F1 and the nasal pole on the parallel input,
      // the others on the parallel source.
      Vec first, rest;
      if constexpr (W == 2) {
        first = Vec{parIn, parIn};
        rest = Vec{src, src};
      } else {
        first = Vec{parIn, parIn, src, src};
        rest = Vec{src, src, src, src};
      }
#pragma GCC unroll 4
      for (int j = 0; j < kParVecs; ++j) {
        const Vec y = PA[j] * (j == 0 ? first : rest) + PB[j] * Q1[j] + PC[j] * Q2[j];
        Q2[j] = Q1[j];
        Q1[j] = y;
        std::memcpy(d.par + W * j, &y, sizeof(Vec));
      }
      if (select != kNormal) d.pick = select == kVoicing ? voice : select == kAspiration ? asp : casIn;
      if constexpr (V > 0) nzOut = nz.step(casIn);
    };

    // One pipeline step lane by lane, while the pipeline fills or drains:
    // stage k works on sample t - k when that is one of this frame's. Stages
    // go from the last to the first, so each reads its predecessor's output
    // of the previous step.
    auto scalarStep = [&](int t) __attribute__((always_inline)) {
      const int lo = std::max(0, t - count + 1), hi = std::min(t, stages - 1);
      for (int k = hi; k >= lo; --k) {
        const double x = k == 0 ? nzOut : s1[k - 1];
        const double y = ca[k] * x + cb[k] * s1[k] + cc[k] * s2[k];
        s2[k] = s1[k];
        s1[k] = y;
      }
    };

    // The second stage, for every sample whose cascade output is ready by
    // step `steps`.
    int done = 0;
    auto flush = [&](int steps) __attribute__((always_inline)) {
      const int ready = std::min(count, steps - delay);
      if (done >= ready) return;
      Resonator o = olp;
      for (int n = done; n < ready; ++n) {
        const Delayed& d = ring[n & (kRing - 1)];
        const double* r = d.par;
        const double src = d.src;
        double y = d.cascade + r[0] + r[1];
        // Alternating signs: neighbouring parallel formants are summed in
        // antiphase, so their skirts do not cancel between the peaks.
        y = r[6] - y;
        y = r[5] - y;
        y = r[4] - y;
        y = r[3] - y;
        y = r[2] - y;
        const double bypass = ampBypass * src;
        y = bypass - y;
        if (select != kNormal) y = picked(select, d.pick, d.fric, d.parIn, bypass, src, y);

        y = o.step(y);
        double v = y * gain;
        if (v != v) v = 0.0;  // an unstable filter (out-of-range bandwidth) is silenced
        v = v > 32767.0 ? 32767.0 : v;
        v = v < -32768.0 ? -32768.0 : v;
        out[n] = static_cast<std::int32_t>(v);
      }
      olp = o;
      done = ready;
    };

    if constexpr (V == 0) {
      for (int i = 0; i < count;) {
        for (const int end = std::min(count, i + kChunk); i < end; ++i) {
          source(i);
          ring[i & (kRing - 1)].cascade = 0.0;
        }
        flush(i);
      }
    } else {
      // Filling: only stages 0..i have a sample yet.
      const int fill = std::min(count, delay);
      for (int i = 0; i < fill; ++i) {
        source(i);
        scalarStep(i);
      }
      // Every stage busy: whole vectors per step.
      if (count > delay) {
        Vec A[V], B[V], C[V], P1[V], P2[V];
        for (int j = 0; j < V; ++j) {
          std::memcpy(&A[j], ca + W * j, sizeof(Vec));
          std::memcpy(&B[j], cb + W * j, sizeof(Vec));
          std::memcpy(&C[j], cc + W * j, sizeof(Vec));
          std::memcpy(&P1[j], s1 + W * j, sizeof(Vec));
          std::memcpy(&P2[j], s2 + W * j, sizeof(Vec));
        }
        const int lastVec = (stages - 1) / W, lastLane = (stages - 1) % W;
        for (int i = delay; i < count;) {
          for (const int end = std::min(count, i + kChunk); i < end; ++i) {
            source(i);
            // Each lane's input is the output of the lane before it.
            Vec X[V];
            if constexpr (W == 2) {
              X[0] = __builtin_shufflevector(Vec{nzOut, 0.0}, P1[0], 0, 2);
#pragma GCC unroll 8
              for (int j = 1; j < V; ++j) X[j] = __builtin_shufflevector(P1[j - 1], P1[j], 1, 2);
            } else {
              X[0] = __builtin_shufflevector(Vec{nzOut, 0.0, 0.0, 0.0}, P1[0], 0, 4, 5, 6);
#pragma GCC unroll 8
              for (int j = 1; j < V; ++j) X[j] = __builtin_shufflevector(P1[j - 1], P1[j], 3, 4, 5, 6);
            }
#pragma GCC unroll 8
            for (int j = 0; j < V; ++j) {
              const Vec y = A[j] * X[j] + B[j] * P1[j] + C[j] * P2[j];
              P2[j] = P1[j];
              P1[j] = y;
            }
            ring[(i - delay) & (kRing - 1)].cascade = P1[lastVec][lastLane];
          }
          flush(i);
        }
        for (int j = 0; j < V; ++j) {
          std::memcpy(s1 + W * j, &P1[j], sizeof(Vec));
          std::memcpy(s2 + W * j, &P2[j], sizeof(Vec));
        }
      }
      // Draining: the last samples move through the remaining stages.
      for (int t = count; t < count + delay; ++t) {
        scalarStep(t);
        if (t >= delay) ring[(t - delay) & (kRing - 1)].cascade = s1[stages - 1];
      }
      flush(count + delay);
    }

    for (int k = 0; k < stages; ++k) {
      stage[k]->p1 = s1[k];
      stage[k]->p2 = s2[k];
    }
    for (int j = 0; j < kParVecs; ++j) {
      std::memcpy(q1 + W * j, &Q1[j], sizeof(Vec));
      std::memcpy(q2 + W * j, &Q2[j], sizeof(Vec));
    }
    for (int k = 0; k < 7; ++k) {
      par[k]->p1 = q1[k];
      par[k]->p2 = q2[k];
    }
    e.sourceLowPass_ = lp;
    e.impulseShaper_ = shaper;
    e.casNasalZero_ = nz;
    e.outputLowPass_ = olp;
    e.position_ = pos;
    e.randomValue_ = randomValue;
    e.pulseA_ = pulseA;
    e.pulseB_ = pulseB;
    g.lastPulse = lastPulse;
    g.randNext = randNext;
    g.lastNoise = lastNoise;
    e.sampleCount_ = count;
    outPtr = out + count;
  }

  template <std::uint8_t kSource, int V>
  static void runSse(CKlattEngine& e, FrameRecord& rec, std::int32_t*& out) {
    run<2, kSource, V>(e, rec, out);
  }
  template <std::uint8_t kSource, int V>
  __attribute__((target("avx2"))) static void runAvx(CKlattEngine& e, FrameRecord& rec, std::int32_t*& out) {
    run<4, kSource, V>(e, rec, out);
  }

  template <std::uint8_t kSource>
  static void dispatch(CKlattEngine& e, FrameRecord& rec, std::int32_t*& out, int stages) {
    static const bool avx = __builtin_cpu_supports("avx2");
    if (avx && e.config.wideVectors) {
      switch ((stages + 3) / 4) {
        case 0:
          return runAvx<kSource, 0>(e, rec, out);
        case 1:
          return runAvx<kSource, 1>(e, rec, out);
        case 2:
          return runAvx<kSource, 2>(e, rec, out);
        default:
          return runAvx<kSource, 3>(e, rec, out);
      }
    }
    switch ((stages + 1) / 2) {
      case 0:
        return runSse<kSource, 0>(e, rec, out);
      case 1:
        return runSse<kSource, 1>(e, rec, out);
      case 2:
        return runSse<kSource, 2>(e, rec, out);
      case 3:
        return runSse<kSource, 3>(e, rec, out);
      case 4:
        return runSse<kSource, 4>(e, rec, out);
      default:
        return runSse<kSource, 5>(e, rec, out);
    }
  }
};

void CKlattEngine::synthesizeFrame(FrameRecord& rec, std::int32_t*& out) {
  setupFrame(rec);
  // The stages of the cascade pipeline: the nasal pole and the formants in
  // use; none in the all-parallel model.
  const int stages = config.model == kAllParallel ? 0 : 1 + std::clamp(config.cascadeFormants, 0, 8);
  if (config.sourceType == kNatural)
    Loop::dispatch<kNatural>(*this, rec, out, stages);
  else
    Loop::dispatch<kSampled>(*this, rec, out, stages);
}

}  // namespace vandrel
