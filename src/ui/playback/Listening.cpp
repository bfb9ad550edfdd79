#include "playback/Listening.h"

#include <QTimer>

#include <algorithm>
#include <cmath>

#include "app/OpenDocument.h"
#include "common/Workspace.h"
#include "engine/SineWave.h"
#include "playback/ListenTo.h"

namespace vandrel::ui {

namespace {

constexpr const char* kName = "vandrel-listening";
// How often the play head moves: often enough for a line that glides, seldom
// enough that the views' repaints stay cheap.
constexpr int kTickMs = 30;

// Samples into `span` of `set` at the time `ms`, held inside the span.
std::size_t offsetAt(double ms, const SampleSet& set, const SampleSpan& span) {
  if (span.count == 0 || set.sampleRate <= 0 || ms <= 0) return 0;
  const double at = std::floor(ms * set.sampleRate / 1000.0) - static_cast<double>(span.first);
  if (at <= 0) return 0;
  return std::min(static_cast<std::size_t>(at), span.count - 1);
}

}  // namespace

Listening::Listening(OpenDocument& document)
    : QObject(&document), document_(document), tick_(new QTimer(this)) {
  setObjectName(kName);
  tick_->setInterval(kTickMs);
  connect(tick_, &QTimer::timeout, this, &Listening::tick);
}

Listening::~Listening() {
  tick_->stop();
  player_.reset();
}

Listening& Listening::of(OpenDocument& document) {
  Listening* l = find(document);
  return l != nullptr ? *l : *new Listening(document);
}

Listening* Listening::find(OpenDocument& document) {
  return document.findChild<Listening*>(kName, Qt::FindDirectChildrenOnly);
}

bool Listening::playing() const { return tick_->isActive(); }

PlayWhich Listening::partnerOf(PlayWhich which) const {
  if (which != PlayWhich::Current) return PlayWhich::Current;
  return document_.doc().audio.empty() ? PlayWhich::Previous : PlayWhich::Audio;
}

const SampleSet& Listening::setFor(PlayWhich which, std::uint8_t solo) {
  if (which != PlayWhich::Current || solo == CKlattEngine::kNormal) return chosenSet(document_.doc(), which);
  // The signal is synthesized again only when the table or the choice has
  // changed since (a minute of table takes a few tens of milliseconds).
  if (!solo_.valid || solo_.select != solo || solo_.revision != document_.revision()) {
    if (solo == kSineWaveReplica)
      solo_.signal = SoloSignal{synthesizeSineWave(document_.doc()), 0.0};
    else
      solo_.signal = synthesizeSolo(document_.doc(), solo);
    solo_.select = solo;
    solo_.revision = document_.revision();
    solo_.valid = true;
  }
  return solo_.signal.set;
}

int Listening::play(PlayWhich which, std::optional<TimeSpan> span, bool loop, std::uint8_t solo,
                    QWidget* view) {
  side_ = which;
  partner_ = partnerOf(which);
  started_ = true;
  span_ = span;
  loop_ = loop;
  return start(which, solo, 0, view);
}

int Listening::start(PlayWhich which, std::uint8_t solo, std::size_t from, QWidget* view) {
  const SampleSet& set = setFor(which, solo);
  soloPlaying_ = which == PlayWhich::Current ? solo : std::uint8_t{CKlattEngine::kNormal};
  const int rc = playStretch(set, PlayRequest{span_, loop_, from}, player_, view, &now_);
  if (player_ && player_->IsPlaying()) {
    tick_->start();
    tick();
    emit sideChanged();
  } else if (tick_->isActive()) {
    tick_->stop();
    Workspace::of(document_).clearPlayHead();
    emit stopped();
  }
  return rc;
}

bool Listening::switchSides(std::uint8_t solo, QWidget* view) {
  if (!started_) return false;
  const bool wasPlaying = playing();
  const double ms = wasPlaying ? now_.msAt(player_->SourcePosition()) : -1.0;
  std::swap(side_, partner_);
  const SampleSet& set = setFor(side_, solo);
  // At the same rate the other side takes over the running stream, sample for
  // sample at the same moment, with no break; otherwise a new stream starts
  // there.
  if (wasPlaying && static_cast<int>(set.sampleRate) == player_->SampleRate() &&
      player_->SwitchSource(set.samples, now_.samples.first, now_.samples.count)) {
    soloPlaying_ = side_ == PlayWhich::Current ? solo : std::uint8_t{CKlattEngine::kNormal};
    emit sideChanged();
    return true;
  }
  const std::size_t from = wasPlaying ? offsetAt(ms, set, samplesIn(set, span_)) : 0;
  start(side_, solo, from, view);
  return true;
}

void Listening::setLoop(bool on, QWidget* view) {
  loop_ = on;
  if (!playing()) return;
  if (!on) {
    player_->SetLoop(false);
    return;
  }
  if (player_->Looping()) return;
  const double ms = now_.msAt(player_->SourcePosition());
  const SampleSet& set = setFor(side_, soloPlaying_);
  start(side_, soloPlaying_, offsetAt(ms, set, samplesIn(set, span_)), view);
}

void Listening::stop() {
  if (player_) {
    player_->Pause();
    player_->Close();
  }
  if (!tick_->isActive()) return;
  tick_->stop();
  Workspace::of(document_).clearPlayHead();
  emit stopped();
}

void Listening::tick() {
  // A loop ends only when its device closes (stopped, or its last pass over).
  const bool over = !player_ || !player_->IsPlaying() ||
                    (!now_.loop && player_->PlayPosition() >= static_cast<std::int64_t>(player_->Length()));
  if (over) {
    tick_->stop();
    Workspace::of(document_).clearPlayHead();
    emit stopped();
    return;
  }
  Workspace::of(document_).setPlayHeadMs(now_.msAt(player_->SourcePosition()));
}

}  // namespace vandrel::ui
