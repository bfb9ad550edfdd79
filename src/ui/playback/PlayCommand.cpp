#include "playback/PlayCommand.h"

namespace vandrel::ui {

const SampleSet& chosenSet(const CVandrelDoc& doc, PlayWhich which) {
  switch (which) {
    case PlayWhich::Current:
      return doc.synthesized();
    case PlayWhich::Previous:
      return doc.previous();
    case PlayWhich::Audio:
      return doc.audio();
  }
  return doc.synthesized();
}

namespace {
int startStretch(const SampleSet& set, const PlayRequest& request, CSoundOut& player, QWidget* view,
                 NowPlaying* playing) {
  // The whole set is every sample it holds. (Its nominal sample count can run
  // a fraction of a sample past them when the file length is not whole
  // milliseconds.)
  const SampleSpan span = samplesIn(set, request.span);
  if (playing) *playing = NowPlaying{span, set.sampleRate, request.loop};
  if (span.count == 0) return kSoundNoError;

  // A loop is streamed: the refills start over at the end of the stretch. A
  // single pass is one block, from where it is asked to begin.
  const std::size_t from = std::min(request.from, span.count - 1);
  std::size_t first = span.first, count = span.count;
  if (request.loop) {
    player.SetLoop(true, from);
  } else {
    first += from;
    count -= from;
    if (playing) playing->samples = SampleSpan{first, count};
  }
  if (!player.SetSource(set.samples, first, count, static_cast<int>(set.sampleRate), !request.loop, view))
    return kSoundNoMemory;
  const int rc = player.Start();
  // Harmless on a running sound; on a player that could not start (no device)
  // it has nothing to act on, and that is not news for the caller.
  player.Restart();
  return rc;
}
}  // namespace

int playStretch(const SampleSet& set, const PlayRequest& request, std::unique_ptr<CSoundOut>& player,
                QWidget* view, NowPlaying* playing) {
  // The running sound goes quiet at once; its device is closed only once the
  // new one has started, so the new sound does not wait for that.
  std::unique_ptr<CSoundOut> old = std::move(player);
  if (old) old->Pause();
  player = std::make_unique<CSoundOut>();
  const int rc = startStretch(set, request, *player, view, playing);
  if (old) old->Close();
  return rc;
}

int playCommand(CVandrelDoc& doc, PlayWhich which, std::unique_ptr<CSoundOut>& player, QWidget* view,
                const ProgressFn& progress) {
  if (which == PlayWhich::Current) ensureSynthesized(doc, progress);
  return playStretch(chosenSet(doc, which), PlayRequest{}, player, view);
}

}  // namespace vandrel::ui
