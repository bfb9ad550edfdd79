#pragma once
// CWaveOut: the wave-output device the player talks to, built on Qt Multimedia.
//
// It keeps the shape of a classic wave-output device: open it with a format,
// prepare and write headers (blocks of caller-owned samples) that play one after
// another, learn when each block has been heard, pause, restart, reset, close.
// Every call returns a SoundError code, so the player can show its own message
// for the step that failed and hand the code to its caller.
//
// Threads: the QAudioSink lives on a thread of its own with its own event loop,
// so sound keeps flowing while the interface thread is busy (a synthesis, an
// analysis behind a progress dialog). Calls may come from any thread except that
// audio thread; they are serialised. A header must stay alive, and its data
// unchanged, from Write until it is marked done (or until Reset or Close).

#include <QAudio>
#include <QAudioDevice>
#include <QAudioFormat>

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>

class QThread;

namespace vandrel::ui {

// Result codes of the device calls and of CSoundOut::Start. They keep the
// numbers of the classic wave-output interface, because callers and logs have
// always compared against those.
enum SoundError : int {
  kSoundNoError = 0,        // success; also the end of data (QAudio::UnderrunError)
  kSoundError = 1,          // QAudio::IOError: the stream refused data
  kSoundBadDeviceId = 2,    // no output device to open
  kSoundAllocated = 4,      // QAudio::OpenError: the sound server refused the stream
  kSoundInvalidHandle = 5,  // a call on a device that is not open
  kSoundNoDriver = 6,       // QAudio::FatalError: no usable connection to the sound server
  kSoundNoMemory = 7,       // the sink or its thread could not be made
  kSoundInvalidParam = 11,  // a header without data
  kSoundBadFormat = 32,     // the device does not take this format (mono, 16-bit, the rate)
  kSoundStillPlaying = 33,  // unpreparing a header that is still queued
  kSoundUnprepared = 34,    // writing a header that was not prepared
};

// The code for a QAudio error of the sink.
SoundError soundErrorFromQt(QAudio::Error error);

// One block handed to the device. `flags` is written by the device (done, in
// queue) while the block plays, hence atomic.
struct CWaveHeader {
  static constexpr unsigned kDone = 0x01;
  static constexpr unsigned kPrepared = 0x02;
  static constexpr unsigned kInQueue = 0x10;

  const char* data = nullptr;
  std::int64_t length = 0;  // bytes
  std::atomic<unsigned> flags{0};
};

class CWaveOut {
 public:
  CWaveOut();
  ~CWaveOut();
  CWaveOut(const CWaveOut&) = delete;
  CWaveOut& operator=(const CWaveOut&) = delete;

  // Output devices the system offers (0 when no sound server can be reached).
  static int DeviceCount();
  // The default output device.
  static int GetDevCaps(QAudioDevice& caps);

  // Opens `device` for `format`. `onDone` is called (on the audio thread, so it
  // must only signal) each time a written header has been played to its end.
  int Open(const QAudioDevice& device, const QAudioFormat& format, std::function<void()> onDone = {});
  int PrepareHeader(CWaveHeader& header);
  int UnprepareHeader(CWaveHeader& header);
  // Queues the header behind those already written. The first write after
  // Open or Reset starts the stream.
  int Write(CWaveHeader& header);
  // Calls `fn`, on the audio thread, with every header still in the queue and
  // the bytes of it already handed to the sound server; `fn` may change the
  // data past those bytes, and the stream plays the change without a break.
  int RewriteQueued(const std::function<void(const CWaveHeader&, std::int64_t readBytes)>& fn);
  int Pause();
  int Restart();
  // Stops at once; every queued header is marked done.
  int Reset();
  int Close();

  bool IsOpen() const;
  // Frames of the written headers heard so far since the stream started.
  std::int64_t PlayedFrames() const { return played_.load(); }

  class Host;  // the audio thread's side (WaveOut.cpp)

 private:
  mutable std::mutex mutex_;
  std::unique_ptr<QThread> thread_;
  Host* host_ = nullptr;  // lives on thread_, deleted there
  std::atomic<std::int64_t> played_{0};
};

}  // namespace vandrel::ui
