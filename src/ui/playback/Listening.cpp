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

// Tells a set from any other it may have become (a new synthesis, another
// recording): its rate, length and every sample. A few milliseconds for a
// minute of sound, against a hundred to take it to another rate again.
std::uint64_t fingerprintOf(const SampleSet& set) {
  std::uint64_t h = 14695981039346656037ull ^ static_cast<std::uint64_t>(set.sampleRate);
  h = (h ^ set.samples.size()) * 1099511628211ull;
  for (const std::int16_t v : set.samples) h = (h ^ static_cast<std::uint16_t>(v)) * 1099511628211ull;
  return h;
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
  return document_.doc().audio().empty() ? PlayWhich::Previous : PlayWhich::Audio;
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

const SampleSet& Listening::heard(PlayWhich which, std::uint8_t solo) {
  const SampleSet& set = setFor(which, solo);
  if (set.empty() || streamRate_ <= 0 || set.sampleRate == streamRate_) return set;
  AtStreamRate& at = atStreamRate_[static_cast<std::size_t>(which)];
  const std::uint64_t fingerprint = fingerprintOf(set);
  if (at.set.empty() || at.fingerprint != fingerprint || at.set.sampleRate != streamRate_) {
    at.set = atRate(set, streamRate_);
    at.fingerprint = fingerprint;
  }
  return at.set;
}

int Listening::play(PlayWhich which, std::optional<TimeSpan> span, bool loop, std::uint8_t solo,
                    QWidget* view) {
  side_ = which;
  partner_ = partnerOf(which);
  started_ = true;
  span_ = span;
  loop_ = loop;
  // The stream runs at the higher rate of the pair, and the other side is
  // made ready for it now, so that A/B has nothing to do but swap.
  const double own = setFor(which, solo).sampleRate;
  const SampleSet& other = chosenSet(document_.doc(), partner_);
  streamRate_ = other.empty() ? own : std::max(own, other.sampleRate);
  heard(partner_, CKlattEngine::kNormal);
  return start(which, solo, 0, view);
}

int Listening::start(PlayWhich which, std::uint8_t solo, std::size_t from, QWidget* view) {
  const SampleSet& set = heard(which, solo);
  sideRate_ = setFor(which, solo).sampleRate;
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
  const SampleSet& set = heard(side_, solo);
  // The other side, at the stream's rate, takes over the running stream,
  // sample for sample at the same moment, with no break. (Only a sound that
  // has ended, or a player short of memory, needs a new stream.)
  if (wasPlaying && static_cast<int>(set.sampleRate) == player_->SampleRate() &&
      player_->SwitchSource(set.samples, now_.samples.first, now_.samples.count)) {
    soloPlaying_ = side_ == PlayWhich::Current ? solo : std::uint8_t{CKlattEngine::kNormal};
    sideRate_ = setFor(side_, solo).sampleRate;
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
  const SampleSet& set = heard(side_, soloPlaying_);
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
