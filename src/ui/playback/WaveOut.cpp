#include "playback/WaveOut.h"

#include <QAudioSink>
#include <QIODevice>
#include <QMediaDevices>
#include <QMetaObject>
#include <QObject>
#include <QThread>
#include <QTimer>

#include <algorithm>
#include <cstring>
#include <deque>
#include <new>

namespace vandrel::ui {

SoundError soundErrorFromQt(QAudio::Error error) {
  switch (error) {
    case QAudio::NoError:
      return kSoundNoError;
    // Running out of data is how every sound ends; it is not a failure.
    case QAudio::UnderrunError:
      return kSoundNoError;
    case QAudio::OpenError:
      return kSoundAllocated;
    case QAudio::IOError:
      return kSoundError;
    case QAudio::FatalError:
      return kSoundNoDriver;
  }
  return kSoundError;
}

namespace {

// The headers written to the device, read by the sink in order (pull mode).
// A header stays listed after it has been read until the stream position says
// it has been heard; then it is marked done. Used on the audio thread only.
class WaveQueue final : public QIODevice {
 public:
  WaveQueue(int bytesPerFrame, QObject* parent) : QIODevice(parent), bytesPerFrame_(bytesPerFrame) {
    open(QIODevice::ReadOnly | QIODevice::Unbuffered);
  }

  bool isSequential() const override { return true; }
  qint64 bytesAvailable() const override { return unread_ + QIODevice::bytesAvailable(); }

  void append(CWaveHeader* h) {
    writtenFrames_ += h->length / bytesPerFrame_;
    entries_.push_back(Entry{h, 0, writtenFrames_});
    unread_ += h->length;
  }

  // Marks the headers that end at or before `frame` done; returns how many.
  int markPlayed(std::int64_t frame) {
    int n = 0;
    while (!entries_.empty() && entries_.front().read == entries_.front().h->length &&
           entries_.front().endFrame <= frame) {
      finish(*entries_.front().h);
      entries_.pop_front();
      ++n;
    }
    return n;
  }

  std::int64_t writtenFrames() const { return writtenFrames_; }

  // Calls `fn` with each queued header and the bytes of it the sink has read.
  void forEachQueued(const std::function<void(const CWaveHeader&, std::int64_t)>& fn) const {
    for (const Entry& e : entries_) fn(*e.h, e.read);
  }

  // Drops every header, marking each done; the next one starts a new stream.
  int clear() {
    const int n = static_cast<int>(entries_.size());
    for (Entry& e : entries_) finish(*e.h);
    entries_.clear();
    unread_ = 0;
    writtenFrames_ = 0;
    return n;
  }

 protected:
  qint64 readData(char* out, qint64 max) override {
    qint64 done = 0;
    for (Entry& e : entries_) {
      if (done == max) break;
      const qint64 left = e.h->length - e.read;
      if (left == 0) continue;
      const qint64 n = std::min(left, max - done);
      std::memcpy(out + done, e.h->data + e.read, static_cast<std::size_t>(n));
      e.read += n;
      done += n;
    }
    unread_ -= done;
    return done;
  }

  qint64 writeData(const char*, qint64) override { return -1; }

 private:
  struct Entry {
    CWaveHeader* h;
    qint64 read;            // bytes handed to the sink so far
    std::int64_t endFrame;  // stream frame just past this header
  };

  static void finish(CWaveHeader& h) {
    unsigned f = h.flags.load();
    while (!h.flags.compare_exchange_weak(f, (f | CWaveHeader::kDone) & ~CWaveHeader::kInQueue)) {
    }
  }

  int bytesPerFrame_;
  std::deque<Entry> entries_;
  qint64 unread_ = 0;
  std::int64_t writtenFrames_ = 0;
};

}  // namespace

// The audio thread's side: the sink, the queue it reads, and a timer that turns
// the stream position into "header done".
class CWaveOut::Host : public QObject {
 public:
  Host(const QAudioDevice& device, const QAudioFormat& format, std::function<void()> onDone,
       std::atomic<std::int64_t>* played)
      : device_(device),
        format_(format),
        onDone_(std::move(onDone)),
        played_(played),
        queue_(new WaveQueue(format.bytesPerFrame(), this)),
        poll_(new QTimer(this)) {
    poll_->setTimerType(Qt::PreciseTimer);
    poll_->setInterval(10);
    QObject::connect(poll_, &QTimer::timeout, this, [this] { poll(); });
  }

  int create() {
    sink_ = new (std::nothrow) QAudioSink(device_, format_, this);
    if (sink_ == nullptr) return kSoundNoMemory;
    // About 100 ms held by the server: enough to ride out a busy moment of this
    // thread, short enough that the sound starts at once.
    sink_->setBufferSize(format_.bytesForDuration(100000));
    return kSoundNoError;
  }

  int write(CWaveHeader* h) {
    if (started_ && sink_->state() == QAudio::StoppedState && sink_->error() != QAudio::NoError)
      return soundErrorFromQt(sink_->error());
    queue_->append(h);
    if (!started_) {
      // The stream is opened on the first write, with data already queued: the
      // server then starts playing as soon as it has this much, instead of
      // waiting for a full buffer that a short sound never fills.
      sink_->start(queue_);
      if (sink_->error() != QAudio::NoError || sink_->state() == QAudio::StoppedState) {
        const int rc = sink_->error() != QAudio::NoError ? soundErrorFromQt(sink_->error()) : kSoundError;
        queue_->clear();
        return rc;
      }
      started_ = true;
      played_->store(0);
      if (paused_) sink_->suspend();
      poll_->start();
    } else {
      emit queue_->readyRead();
    }
    return kSoundNoError;
  }

  void forEachQueued(const std::function<void(const CWaveHeader&, std::int64_t)>& fn) const {
    queue_->forEachQueued(fn);
  }

  int pause() {
    paused_ = true;
    if (started_) sink_->suspend();
    return started_ ? soundErrorFromQt(sink_->error()) : kSoundNoError;
  }

  int restart() {
    if (!paused_) return kSoundNoError;
    paused_ = false;
    if (started_) sink_->resume();
    return started_ ? soundErrorFromQt(sink_->error()) : kSoundNoError;
  }

  int reset() {
    poll_->stop();
    if (started_) sink_->stop();
    started_ = false;
    signalDone(queue_->clear());
    return kSoundNoError;
  }

  void shutdown() {
    reset();
    delete sink_;
    sink_ = nullptr;
  }

 private:
  void poll() {
    if (!started_ || sink_->state() == QAudio::StoppedState) return;
    const qint64 us = sink_->processedUSecs();
    std::int64_t frames = us * format_.sampleRate() / 1000000;
    // The sink's position is the server's read point less an averaged latency,
    // and once the stream has run dry it stops a few milliseconds short of the
    // end. When everything has been handed over and the position has stood
    // still for a few polls, the rest has been heard.
    stillPolls_ = frames == lastFrames_ ? stillPolls_ + 1 : 0;
    lastFrames_ = frames;
    if (stillPolls_ >= 3 && queue_->bytesAvailable() == 0 && sink_->state() == QAudio::IdleState)
      frames = std::max(frames, queue_->writtenFrames());
    played_->store(frames);
    signalDone(queue_->markPlayed(frames));
  }

  void signalDone(int n) {
    if (!onDone_) return;
    for (int i = 0; i < n; ++i) onDone_();
  }

  QAudioDevice device_;
  QAudioFormat format_;
  std::function<void()> onDone_;
  std::atomic<std::int64_t>* played_;
  WaveQueue* queue_;
  QTimer* poll_;
  QAudioSink* sink_ = nullptr;
  std::int64_t lastFrames_ = -1;
  int stillPolls_ = 0;
  bool started_ = false;
  bool paused_ = false;
};

namespace {

// Runs `fn` on the audio thread and waits for it.
template <typename Fn>
void onAudioThread(QObject* host, Fn&& fn) {
  QMetaObject::invokeMethod(host, std::forward<Fn>(fn), Qt::BlockingQueuedConnection);
}

}  // namespace

CWaveOut::CWaveOut() = default;

CWaveOut::~CWaveOut() { Close(); }

int CWaveOut::DeviceCount() { return static_cast<int>(QMediaDevices::audioOutputs().size()); }

int CWaveOut::GetDevCaps(QAudioDevice& caps) {
  caps = QMediaDevices::defaultAudioOutput();
  return caps.isNull() ? kSoundBadDeviceId : kSoundNoError;
}

int CWaveOut::Open(const QAudioDevice& device, const QAudioFormat& format, std::function<void()> onDone) {
  std::lock_guard lock(mutex_);
  if (host_ != nullptr) return kSoundAllocated;
  if (device.isNull()) return kSoundBadDeviceId;
  if (!device.isFormatSupported(format)) return kSoundBadFormat;

  thread_ = std::make_unique<QThread>();
  thread_->setObjectName(QStringLiteral("WaveOut"));
  thread_->start(QThread::TimeCriticalPriority);
  host_ = new Host(device, format, std::move(onDone), &played_);
  host_->moveToThread(thread_.get());
  played_.store(0);

  int rc = kSoundNoError;
  onAudioThread(host_, [&] { rc = host_->create(); });
  if (rc != kSoundNoError) {
    // Deleted when its thread finishes, never from inside its own event.
    onAudioThread(host_, [h = host_] { h->deleteLater(); });
    host_ = nullptr;
    thread_->quit();
    thread_->wait();
    thread_.reset();
  }
  return rc;
}

int CWaveOut::PrepareHeader(CWaveHeader& header) {
  std::lock_guard lock(mutex_);
  if (host_ == nullptr) return kSoundInvalidHandle;
  if (header.data == nullptr || header.length < 0) return kSoundInvalidParam;
  // The sink copies what it reads into the server's buffer; there is no memory
  // to lock, so preparing only marks the header.
  header.flags.fetch_or(CWaveHeader::kPrepared);
  return kSoundNoError;
}

int CWaveOut::UnprepareHeader(CWaveHeader& header) {
  std::lock_guard lock(mutex_);
  if (host_ == nullptr) return kSoundInvalidHandle;
  const unsigned f = header.flags.load();
  if ((f & CWaveHeader::kInQueue) != 0 && (f & CWaveHeader::kDone) == 0) return kSoundStillPlaying;
  header.flags.fetch_and(~CWaveHeader::kPrepared);
  return kSoundNoError;
}

int CWaveOut::Write(CWaveHeader& header) {
  std::lock_guard lock(mutex_);
  if (host_ == nullptr) return kSoundInvalidHandle;
  if ((header.flags.load() & CWaveHeader::kPrepared) == 0) return kSoundUnprepared;
  header.flags.store((header.flags.load() & ~CWaveHeader::kDone) | CWaveHeader::kInQueue);
  int rc = kSoundNoError;
  onAudioThread(host_, [&] { rc = host_->write(&header); });
  if (rc != kSoundNoError) header.flags.fetch_and(~CWaveHeader::kInQueue);
  return rc;
}

int CWaveOut::RewriteQueued(const std::function<void(const CWaveHeader&, std::int64_t)>& fn) {
  std::lock_guard lock(mutex_);
  if (host_ == nullptr) return kSoundInvalidHandle;
  // On the audio thread, between two reads of the sink: no sample is half
  // taken from the old data and half from the new.
  onAudioThread(host_, [&] { host_->forEachQueued(fn); });
  return kSoundNoError;
}

int CWaveOut::Pause() {
  std::lock_guard lock(mutex_);
  if (host_ == nullptr) return kSoundInvalidHandle;
  int rc = kSoundNoError;
  onAudioThread(host_, [&] { rc = host_->pause(); });
  return rc;
}

int CWaveOut::Restart() {
  std::lock_guard lock(mutex_);
  if (host_ == nullptr) return kSoundInvalidHandle;
  int rc = kSoundNoError;
  onAudioThread(host_, [&] { rc = host_->restart(); });
  return rc;
}

int CWaveOut::Reset() {
  std::lock_guard lock(mutex_);
  if (host_ == nullptr) return kSoundInvalidHandle;
  int rc = kSoundNoError;
  onAudioThread(host_, [&] { rc = host_->reset(); });
  return rc;
}

int CWaveOut::Close() {
  std::lock_guard lock(mutex_);
  if (host_ == nullptr) return kSoundInvalidHandle;
  onAudioThread(host_, [h = host_] {
    h->shutdown();
    h->deleteLater();  // runs as the thread finishes, below
  });
  host_ = nullptr;
  thread_->quit();
  thread_->wait();
  thread_.reset();
  return kSoundNoError;
}

bool CWaveOut::IsOpen() const {
  std::lock_guard lock(mutex_);
  return host_ != nullptr;
}

}  // namespace vandrel::ui
