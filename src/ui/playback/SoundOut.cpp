#include "playback/SoundOut.h"

#include <QApplication>
#include <QAudioFormat>
#include <QMetaObject>
#include <QThread>

#include <algorithm>
#include <new>

#include "common/Messages.h"

namespace vandrel::ui {

namespace {

// Message boxes belong to the interface thread; the playback thread posts its
// messages there and carries on (it must never wait for the user, or Close
// would wait for it).
void soundMessage(QWidget* parent, const char* text) {
  const QString s = QString::fromLatin1(text);
  if (QThread::currentThread() == QCoreApplication::instance()->thread()) {
    warn(parent, s);
  } else {
    QMetaObject::invokeMethod(
        QCoreApplication::instance(), [s] { warn(nullptr, s); }, Qt::QueuedConnection);
  }
}

}  // namespace

void CSoundOut::Event::Signal() {
  {
    std::lock_guard lock(m_);
    set_ = true;
  }
  cv_.notify_one();
}

void CSoundOut::Event::Wait() {
  std::unique_lock lock(m_);
  cv_.wait(lock, [this] { return set_; });
  set_ = false;
}

void CSoundOut::Event::Reset() {
  std::lock_guard lock(m_);
  set_ = false;
}

CSoundOut::CSoundOut() {
  for (auto& b : buffers_) b.assign(kStreamBufferSamples, 0);
}

CSoundOut::~CSoundOut() { Close(); }

bool CSoundOut::SetSource(std::span<const std::int16_t> block, std::size_t first, std::size_t count,
                          int sampleRate, bool wholeBlock, QWidget* context) {
  wholeBlock_ = wholeBlock;
  context_ = context;
  sampleRate_ = sampleRate;
  count_ = count;
  // 2048/10000 of a second per buffer: 2257 samples at 11025 Hz, 4515 at 22050 Hz.
  // The buffers are fixed at 32768 samples, which rates above 160 kHz would overrun.
  samplesPerBuffer_ = static_cast<int>(
      std::clamp<std::int64_t>(std::int64_t{sampleRate} * 2048 / 10000, 1, kStreamBufferSamples));

  source_.clear();
  source_.shrink_to_fit();
  haveSource_ = false;
  try {
    source_.assign(count, 0);
    if (first < block.size()) {
      const std::size_t n = std::min(count, block.size() - first);
      std::copy_n(block.begin() + static_cast<std::ptrdiff_t>(first), n, source_.begin());
    }
    if (wholeBlock_) {
      // Ten spare samples past the end, as the whole-block copy has always had.
      whole_.assign(count + 10, 0);
      std::copy(source_.begin(), source_.end(), whole_.begin());
    }
  } catch (const std::bad_alloc&) {
    source_.clear();
    whole_.clear();
    soundMessage(context_, "error in memory");
    return false;
  }
  haveSource_ = true;

  if (!wholeBlock_) {
    readPos_ = loop_ && loopFrom_ < count_ ? loopFrom_ : 0;
    FillBuffer(0);
    FillBuffer(1);
  }
  return true;
}

void CSoundOut::FillBuffer(std::size_t index) {
  // Slots at or past the end are left alone: the last buffer's tail repeats
  // what that buffer held before. The read position moves on regardless, which
  // is what tells Refill that the end has been written.
  // A loop starts over instead.
  auto& buf = buffers_[index];
  const bool loop = loop_.load() && count_ > 0;
  bufferStart_[index] = loop && readPos_ >= count_ ? 0 : readPos_;
  bufferLoops_[index] = loop;
  for (int i = 0; i < samplesPerBuffer_; ++i) {
    if (loop && readPos_ >= count_) readPos_ = 0;
    if (readPos_ < count_) buf[static_cast<std::size_t>(i)] = source_[readPos_];
    ++readPos_;
  }
}

int CSoundOut::Start() {
  if (CWaveOut::DeviceCount() == 0) {
    soundMessage(context_, "No Sound Output Device");
    return kSoundNoError;
  }
  if (CWaveOut::GetDevCaps(caps_) != kSoundNoError)
    soundMessage(context_, "Sound output Cannot determine card capabilities !");
  return wholeBlock_ ? StartWholeBlock() : StartStreamed();
}

namespace {

QAudioFormat waveFormat(int channels, int rate) {
  QAudioFormat f;
  f.setChannelCount(channels);
  f.setSampleRate(rate);
  f.setSampleFormat(QAudioFormat::Int16);
  return f;
}

}  // namespace

int CSoundOut::StartWholeBlock() {
  int rc = device_.Open(caps_, waveFormat(channels_, sampleRate_));
  if (rc != kSoundNoError) {
    soundMessage(context_, "Sound output Cannot Open Device!");
    return rc;
  }
  wholeHeader_.data = reinterpret_cast<const char*>(whole_.data());
  wholeHeader_.length = static_cast<std::int64_t>(count_) * 2;
  wholeHeader_.flags.store(0);
  rc = device_.PrepareHeader(wholeHeader_);
  if (rc != kSoundNoError || (wholeHeader_.flags.load() & CWaveHeader::kPrepared) == 0) {
    soundMessage(context_, " Sound Output Cannot Prepare Header !");
    return rc;
  }
  rc = device_.Write(wholeHeader_);
  if (rc != kSoundNoError) {
    soundMessage(context_, " Sound Output Cannot Write Buffer !");
    return rc;
  }
  return kSoundNoError;
}

int CSoundOut::StartStreamed() {
  if (thread_.joinable()) thread_.join();  // a playback that ended by itself
  stop_ = false;
  event_.Reset();
  gate_.Reset();
  // Refilling is a copy of a few thousand samples; the time-critical part (feeding
  // the server) runs on the device's own thread, so this one keeps normal priority.
  thread_ = std::thread([this] { ThreadMain(); });

  int rc = device_.Open(caps_, waveFormat(channels_, sampleRate_), [this] { event_.Signal(); });
  if (rc != kSoundNoError) {
    soundMessage(context_, "Sound output Cannot Open Device!");
    return rc;
  }
  for (std::size_t b = 0; b < 2; ++b) {
    CWaveHeader& h = headers_[b];
    h.data = reinterpret_cast<const char*>(buffers_[b].data());
    h.length = std::int64_t{samplesPerBuffer_} * 2;
    h.flags.store(0);
    rc = device_.PrepareHeader(h);
    if (rc != kSoundNoError || (h.flags.load() & CWaveHeader::kPrepared) == 0) {
      soundMessage(context_, " Sound Output Cannot Prepare Header !");
      return rc;
    }
    rc = device_.Write(h);
    if (rc != kSoundNoError) {
      soundMessage(context_, " Sound Output Cannot Write Buffer !");
      return rc;
    }
  }
  bufferIndex_ = 1;
  gate_.Signal();
  return kSoundNoError;
}

void CSoundOut::ThreadMain() {
  gate_.Wait();
  event_.Wait();
  while (!stop_) {
    Refill();
    if (stop_) break;
    MarkerStep();
    event_.Wait();
  }
}

void CSoundOut::Refill() {
  if (readPos_ > count_) {
    // The buffer written last holds the end of the sound (and its leftover
    // tail); the event that got us here was for the one before it. Close only
    // once that last buffer has been heard too.
    if ((headers_[bufferIndex_].flags.load() & CWaveHeader::kDone) == 0) return;
    EndFromThread();
    return;
  }
  std::lock_guard lock(sourceMutex_);
  ++refills_;
  bufferIndex_ ^= 1;
  CWaveHeader& h = headers_[bufferIndex_];
  if (device_.UnprepareHeader(h) != kSoundNoError) {
    soundMessage(nullptr, "Sound output Cannot UnPrepareHeader !");
    return;
  }
  FillBuffer(bufferIndex_);
  h.length = std::int64_t{samplesPerBuffer_} * 2;
  h.flags.store(0);
  const int rc = device_.PrepareHeader(h);
  if (rc != kSoundNoError || (h.flags.load() & CWaveHeader::kPrepared) == 0) {
    soundMessage(nullptr, "Sound output Cannot Prepare Header !");
    return;
  }
  if (device_.Write(h) != kSoundNoError) soundMessage(nullptr, "Sound output Cannot Add Buffer !");
}

void CSoundOut::EndFromThread() {
  device_.Pause();
  device_.Reset();
  device_.Close();
  stop_ = true;
}

bool CSoundOut::SwitchSource(std::span<const std::int16_t> block, std::size_t first, std::size_t count) {
  if (!device_.IsOpen() || count != count_ || !haveSource_) return false;
  std::vector<std::int16_t> fresh;
  try {
    fresh.assign(count, 0);
  } catch (const std::bad_alloc&) {
    return false;
  }
  if (first < block.size())
    std::copy_n(block.begin() + static_cast<std::ptrdiff_t>(first), std::min(count, block.size() - first),
                fresh.begin());
  std::lock_guard lock(sourceMutex_);
  source_.swap(fresh);
  const int rc = device_.RewriteQueued([this](const CWaveHeader& h, std::int64_t readBytes) {
    const auto from = static_cast<std::size_t>(std::max<std::int64_t>(readBytes, 0) / 2);
    if (&h == &wholeHeader_) {
      std::copy(source_.begin() + static_cast<std::ptrdiff_t>(std::min(from, count_)), source_.end(),
                whole_.begin() + static_cast<std::ptrdiff_t>(std::min(from, count_)));
      return;
    }
    for (std::size_t b = 0; b < headers_.size(); ++b) {
      if (&h != &headers_[b]) continue;
      for (auto i = from; i < static_cast<std::size_t>(samplesPerBuffer_); ++i) {
        std::size_t pos = bufferStart_[b] + i;
        if (bufferLoops_[b]) pos %= count_;
        if (pos < count_) buffers_[b][i] = source_[pos];
      }
    }
  });
  if (rc != kSoundNoError) source_.swap(fresh);
  return rc == kSoundNoError;
}

int CSoundOut::Pause() { return device_.IsOpen() ? device_.Pause() : kSoundInvalidHandle; }

int CSoundOut::Restart() { return device_.IsOpen() ? device_.Restart() : kSoundInvalidHandle; }

void CSoundOut::Close() {
  if (device_.IsOpen()) device_.Pause();
  // The playback thread must have seen the stop flag before the device goes
  // away. Joining it gives that for certain, where a fixed pause would only
  // make it likely (and delay every new Play).
  stop_ = true;
  gate_.Signal();
  event_.Signal();
  if (thread_.joinable()) thread_.join();
  if (device_.IsOpen()) {
    device_.Reset();
    device_.Close();
  }
}

void CSoundOut::SetMarker(QWidget* window, const QRect& rect) {
  std::lock_guard lock(markerMutex_);
  markerWindow_ = window;
  markerRect_ = rect;
  markerStep_ = 0;
  markerOn_ = window != nullptr && !rect.isNull();
}

QRect CSoundOut::StripAt(int step) const {
  const double steps = static_cast<double>(count_) / samplesPerBuffer_;
  const double stepWidth = markerRect_.width() / steps;
  const int x = markerRect_.left() + static_cast<int>(step * stepWidth);
  return QRect(x, markerRect_.top(), 1, markerRect_.height());
}

void CSoundOut::MarkerStep() {
  QPointer<QWidget> window;
  QRect before;
  QRect after;
  {
    std::lock_guard lock(markerMutex_);
    if (markerWindow_.isNull() || markerRect_.isNull() || count_ == 0) return;
    const double steps = static_cast<double>(count_) / samplesPerBuffer_;
    if (markerOn_) before = StripAt(markerStep_);
    ++markerStep_;
    // Past the last step the strip goes off and stays off.
    markerOn_ = markerStep_ <= steps;
    if (markerOn_) after = StripAt(markerStep_);
    window = markerWindow_;
  }
  // Drawing belongs to the interface thread: ask the window to repaint the two
  // strips; its paint reads MarkerStrip().
  QMetaObject::invokeMethod(
      QCoreApplication::instance(),
      [window, before, after] {
        if (window.isNull()) return;
        if (!before.isNull()) window->update(before);
        if (!after.isNull()) window->update(after);
      },
      Qt::QueuedConnection);
}

QRect CSoundOut::MarkerStrip() const {
  std::lock_guard lock(markerMutex_);
  return markerOn_ ? StripAt(markerStep_) : QRect();
}

void CSoundOut::SetLoop(bool on, std::size_t from) {
  loop_ = on;
  if (!device_.IsOpen()) {
    startedAsLoop_ = on;
    loopFrom_ = on ? from : 0;
  }
}

std::size_t CSoundOut::SourcePosition() const {
  if (count_ == 0) return 0;
  const auto at = static_cast<std::size_t>(device_.PlayedFrames()) + loopFrom_;
  return startedAsLoop_ ? at % count_ : std::min(at, count_);
}

std::int64_t CSoundOut::PlayPosition() const {
  return std::min<std::int64_t>(device_.PlayedFrames(), static_cast<std::int64_t>(count_));
}

}  // namespace vandrel::ui
