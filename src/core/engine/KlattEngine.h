#pragma once
// CKlattEngine: a cascade/parallel formant synthesizer of the Klatt type.
//
// One frame record (48 integers in parameter order, f0 in 0.1 Hz) in, one
// frame of 16-bit-range samples out. The glottal source runs at four times the
// output rate and is low-passed before it is taken down to the output rate.
//
// Lifecycle: set `config`, call initialise() once, then synthesizeFrame() for
// each frame in time order. The glottal period runs across frame boundaries:
// av, atu, oq, skew and tl are taken at period starts; noise amplitudes,
// formants and gain at frame starts.

#include <array>
#include <cstdint>

#include "document/ParameterSet.h"
#include "engine/KlattState.h"
#include "engine/Resonator.h"

namespace vandrel {

using FrameRecord = std::array<std::int32_t, kParamCount>;

class CKlattEngine {
 public:
  enum Model : std::uint8_t { kCascadeParallel = 1, kAllParallel = 2 };
  enum Source : std::uint8_t { kImpulsive = 1, kNatural = 2, kSampled = 3 };

  // What out.select picks instead of the normal output (before the output
  // low-pass and the gain), for listening to one part of the synthesizer.
  enum OutputSelect : std::uint8_t {
    kNormal = 0,
    kVoicing = 1,  // the glottal source after low-pass, tilt and breathiness
    kAspiration = 2,
    kFrication = 3,
    kCascadeInput = 4,   // voicing x av + aspiration
    kParallelInput = 5,  // voicing x apv + aspiration
    kBypass = 6,
    kParallelSource = 7,  // frication + first difference of the parallel input
  };

  struct Config {
    std::uint8_t model = kCascadeParallel;
    std::uint8_t outputSelect = kNormal;
    std::int32_t sampleRate = 11025;
    std::int32_t cascadeFormants = 5;
    std::uint8_t sourceType = kNatural;
    std::int32_t flutter = 0;  // percent
    std::uint8_t quiet = 1;    // 1 = no warnings on standard output
    std::int32_t samplesPerFrame = 110;
    std::int32_t sampledLength = 100;
    double sampledFactor = 0.00001;
    const std::int32_t* sampledTable = nullptr;  // defaults to sampledGlottalWave()
    // Run the sample loop on 4-wide vectors where the processor has AVX2;
    // false keeps it on the 2-wide vectors every x86-64 has. The samples are
    // the same either way.
    bool wideVectors = true;
  };

  explicit CKlattEngine(KlattState& shared = processKlattState()) : g_(shared) {}
  virtual ~CKlattEngine() = default;
  CKlattEngine(const CKlattEngine&) = delete;
  CKlattEngine& operator=(const CKlattEngine&) = delete;

  Config config;

  void initialise();

  // Synthesizes one frame. av, gain and skew of `record` are altered in place
  // (the caller fills a fresh record for each frame). Writes exactly
  // config.samplesPerFrame values, each within -32768..32767, and advances `out`.
  void synthesizeFrame(FrameRecord& record, std::int32_t*& out);

  // Decibels (0..87) to a linear amplitude; anything outside is silent.
  static double dbToLinear(std::int32_t db);

  static const std::array<std::int32_t, 100>& sampledGlottalWave();
  // The natural pulse's initial decrement for each open phase of 40..263 quarter samples.
  static const std::array<std::int16_t, 224>& naturalPulseTable();

  // Read-only views of the running state, for tests and the inspector.
  std::int32_t periodLength() const { return T0_; }
  std::int32_t openPhase() const { return nopen_; }

 private:
  struct Loop;  // the sample loop, in KlattEngineLoop.cpp
  double sampledSource(const std::int32_t* table, int len, std::int32_t pos, std::int32_t T0) const;
  void pitchSynchronousReset(FrameRecord& rec);
  void setupFrame(FrameRecord& rec);

  KlattState& g_;

  std::int32_t lowPassFreq_ = 0;
  std::int32_t lowPassBw_ = 0;
  std::int32_t position_ = 0;     // in the glottal period, quarter samples
  std::int32_t sampleCount_ = 0;  // output samples of the current frame
  std::int32_t T0_ = 0;           // period length, quarter samples
  std::int32_t nopen_ = 0;        // open phase, quarter samples
  std::int32_t noiseModPoint_ = 0;
  std::int32_t randomValue_ = 0;
  double pulseA_ = 0.0, pulseB_ = 0.0;
  double minusPiOverRate_ = 0.0;
  double twoPiOverRate_ = 0.0;
  double tiltComplement_ = 1.0;
  double tiltDecay_ = 0.0;
  double ampBypass_ = 0.0, ampVoice_ = 0.0, ampParVoice_ = 0.0, ampAsp_ = 0.0, ampFric_ = 0.0,
         ampBreath_ = 0.0, outGain_ = 0.0;
  std::int32_t f0Hz_ = 0;
  std::int32_t f0Tenths_ = 0;  // f0 of the frame after flutter, 0.1 Hz

  // The pole pairs of the last frame, by resonator.
  enum Slot : int {
    kCascade1 = 0,
    kNasalPole = 8,
    kNasalZero,
    kParallel1,
    kOutputLowPass = kParallel1 + 6,
    kSlots
  };
  std::array<PolePairCache, kSlots> poleCache_;

  Resonator parNasalPole_;
  std::array<Resonator, 6> parFormant_;  // [0] = F1
  std::array<Resonator, 8> casFormant_;  // [0] = F1
  Resonator casNasalPole_;
  Antiresonator casNasalZero_;
  Resonator impulseShaper_;
  Resonator sourceLowPass_;
  Resonator outputLowPass_;
};

}  // namespace vandrel
