#pragma once
// The "Listen to" choices: everything the synthesizer puts out, or one of the
// signals inside it, on its own, or the table's sine-wave replica. Each but
// the last is one of the engine's output selects; the menu names them by
// what they are, never by number.

#include <array>
#include <cstdint>

#include "engine/KlattEngine.h"

namespace vandrel::ui {

struct ListenChoice {
  std::uint8_t select;  // CKlattEngine::OutputSelect
  const char* label;    // the menu's and the drop-down's text
  const char* tip;      // status tip: what the signal is made of
};

// Not an output select of the engine: the replica has a renderer of its own.
inline constexpr std::uint8_t kSineWaveReplica = 0x80;

inline constexpr std::array<ListenChoice, 8> kListenChoices{{
    {CKlattEngine::kNormal, "Everything", "The synthesizer's normal output"},
    {CKlattEngine::kVoicing, "Voicing source",
     "The glottal pulses after spectral tilt and breathiness, before av and the formants"},
    {CKlattEngine::kAspiration, "Aspiration noise", "The aspiration noise (ah), before the formants"},
    {CKlattEngine::kFrication, "Frication noise", "The frication noise (af), before the parallel formants"},
    {CKlattEngine::kCascadeInput, "Cascade branch input",
     "Voicing times av plus aspiration: what enters the cascade formants"},
    {CKlattEngine::kParallelInput, "Parallel branch input",
     "Voicing times apv plus aspiration: what enters the parallel formants"},
    {CKlattEngine::kBypass, "Bypass path", "The parallel source through the bypass (ab) alone"},
    {kSineWaveReplica, "Sine-wave replica",
     "Three tones following f1, f2 and f3, each as loud as the table makes that formant"},
}};

}  // namespace vandrel::ui
