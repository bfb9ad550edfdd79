#pragma once
// Listening: what one document is playing and how - which sample set (and,
// for the synthesized sound, which of the synthesizer's signals), which
// stretch of time, once or in a loop - with the document's one player. It
// moves the document's play head (Workspace) while the sound plays, switches between the
// copy and its original at the same moment (A/B), and keeps the signal of a
// "Listen to" choice in a buffer of its own: the document's synthesized and
// previous buffers and its undo history never see it.
//
// The two sides of a pair are heard in one stream, at the higher of their
// two rates: the side at the lower rate is taken up to it (band-limited, so
// it sounds as at its own rate), the other side's copy made when the sound
// starts. A/B then only swaps the samples the stream is fed, with no break,
// whatever the two rates.
//
// One per open document, a child of its OpenDocument, so the player closes
// with the document, on the interface thread, while Qt is still up.

#include <QObject>

#include <array>
#include <cstdint>
#include <memory>
#include <optional>

#include "engine/Synthesizer.h"
#include "playback/PlayCommand.h"

class QTimer;

namespace vandrel::ui {

class OpenDocument;

class Listening : public QObject {
  Q_OBJECT
 public:
  static Listening& of(OpenDocument& document);
  static Listening* find(OpenDocument& document);  // null before the first Play
  ~Listening() override;

  // Plays `which` (Current in the signal `solo` chooses) over `span`, once or
  // looped. Current in the normal output plays the synthesized buffer as it
  // is: the caller brings it up to date first. Returns 0 or the device error.
  int play(PlayWhich which, std::optional<vandrel::TimeSpan> span, bool loop, std::uint8_t solo,
           QWidget* view);

  // Jumps to the other side of the pair being compared (the copy and the
  // recording, or the copy and its previous synthesis) and goes on from the
  // same moment of the same stretch. With nothing playing it plays the other
  // side from the stretch's beginning. False when there is nothing to switch.
  bool switchSides(std::uint8_t solo, QWidget* view);
  // Loop on: a running sound goes on from where it is, looped. Loop off: a
  // running loop plays to the end of its pass and stops.
  void setLoop(bool on, QWidget* view);
  void stop();

  bool playing() const;
  PlayWhich side() const { return side_; }
  // The rate the sound is heard at, and the own rate of the side heard (they
  // differ when that side was taken to the other's rate).
  double streamRate() const { return streamRate_; }
  double sideRate() const { return sideRate_; }
  // The side A/B goes to next; meaningful once something has played.
  std::optional<PlayWhich> next() const { return started_ ? std::optional(partner_) : std::nullopt; }
  CSoundOut* player() const { return player_.get(); }
  const NowPlaying& now() const { return now_; }
  // The signal of a "Listen to" choice last played (empty before any).
  const vandrel::SampleSet& soloSet() const { return solo_.signal.set; }
  // By how many dB that signal was turned down to keep it from clipping.
  double soloTurnedDownDb() const { return solo_.signal.turnedDownDb; }

 signals:
  void stopped();      // the sound ended by itself or was stopped
  void sideChanged();  // a sound began, or A/B went over to the other side

 private:
  explicit Listening(OpenDocument& document);
  const vandrel::SampleSet& setFor(PlayWhich which, std::uint8_t solo);
  // setFor at the stream's rate: the set itself, or its copy at that rate
  // (made again only when the set has changed since).
  const vandrel::SampleSet& heard(PlayWhich which, std::uint8_t solo);
  PlayWhich partnerOf(PlayWhich which) const;
  int start(PlayWhich which, std::uint8_t solo, std::size_t from, QWidget* view);
  void tick();

  OpenDocument& document_;
  std::unique_ptr<CSoundOut> player_;
  NowPlaying now_;
  PlayWhich side_ = PlayWhich::Current;
  PlayWhich partner_ = PlayWhich::Audio;
  bool started_ = false;  // a Play has chosen the pair
  std::optional<vandrel::TimeSpan> span_;
  bool loop_ = false;
  std::uint8_t soloPlaying_ = 0;
  double streamRate_ = 0;
  double sideRate_ = 0;
  struct AtStreamRate {
    std::uint64_t fingerprint = 0;  // of the set it was made from
    vandrel::SampleSet set;
  };
  std::array<AtStreamRate, 3> atStreamRate_;  // by PlayWhich
  struct Solo {
    vandrel::SoloSignal signal;
    std::uint8_t select = 0;
    std::uint64_t revision = 0;
    bool valid = false;
  } solo_;
  QTimer* tick_;
};

}  // namespace vandrel::ui
