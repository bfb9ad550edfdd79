#pragma once
// The values the synthesizer keeps across frames *and* across synthesis runs:
// noise memory, the natural pulse's last sample, the flutter's frame counter,
// the skew's sign store, and the noise generator itself.
//
// The editor keeps one of these for the whole process and never resets it, so
// a second synthesis of the same table continues the noise rather than
// repeating it. Tests and `vandrel-cli --seed` reset it for reproducible output.

#include <cstdint>

namespace vandrel {

struct KlattState {
  std::uint32_t randNext = 1;  // the generator starts at seed 1 in a fresh process
  double lastNoise = 0.0;
  double lastPulse = 0.0;
  std::int32_t flutterFrame = 0;
  std::int32_t skewSign = 0;

  // The portable generator of the C standard's example: range 0..32767, and
  // the same sequence on every platform (unsigned 32-bit wrap-around).
  int rand() {
    randNext = randNext * 1103515245u + 12345u;
    return static_cast<int>((randNext / 65536u) % 32768u);
  }

  void reset(std::uint32_t seed = 1) {
    *this = KlattState{};
    randNext = seed;
  }
};

// The one state of this process, used by every engine unless given another.
KlattState& processKlattState();

}  // namespace vandrel
