#include "playback/PlayCommand.h"

namespace vandrel::ui {

namespace {

const SampleSet& chosenSet(const CVandrelDoc& doc, PlayWhich which) {
  switch (which) {
    case PlayWhich::Current:
      return doc.synthesized;
    case PlayWhich::Previous:
      return doc.previous;
    case PlayWhich::Audio:
      return doc.audio;
  }
  return doc.synthesized;
}

}  // namespace

int playCommand(CVandrelDoc& doc, PlayWhich which, std::unique_ptr<CSoundOut>& player, QWidget* view,
                const ProgressFn& progress) {
  if (which == PlayWhich::Current) ensureSynthesized(doc, progress);
  if (player) {
    player->Pause();
    player->Close();
    player.reset();
  }
  player = std::make_unique<CSoundOut>();

  const SampleSet& set = chosenSet(doc, which);
  if (set.empty()) return kSoundNoError;

  // The whole block: every sample the set holds. (Its nominal sample count can
  // run a fraction of a sample past them when the file length is not whole
  // milliseconds.)
  if (!player->SetSource(set.samples, 0, set.samples.size(), static_cast<int>(set.sampleRate), true, view))
    return kSoundNoMemory;
  const int rc = player->Start();
  // Harmless on a running sound; on a player that could not start (no device)
  // it has nothing to act on, and that is not news for the caller.
  player->Restart();
  return rc;
}

}  // namespace vandrel::ui
