#pragma once
// CSoundOut plays a block of 16-bit mono samples on the default output device.
//
// Two ways of playing:
// - whole-block mode: the complete copy is written to the device as one block;
//   the Play commands use it;
// - streamed mode: a playback thread refills two alternating buffers of
//   samples-per-buffer samples (204.8 ms) as the device finishes each one, and
//   steps a play-position marker after every refill.
//
// The player keeps its own zero-initialised copy of the caller's samples, so the
// caller may change or free its buffer while the sound plays.
//
// Every device failure shows its message (a beep and a box with the fixed text)
// and returns the SoundError code (WaveOut.h) to the caller. A machine without a
// reachable output device gets "No Sound Output Device" and silence.
//
// Threads: create, start and close a player on the interface thread. In streamed
// mode the playback thread alone refills buffers and moves the read position;
// the interface thread only sets the stop flag, signals the event and resets the
// device in Close.

#include <QPointer>
#include <QRect>
#include <QWidget>

#include <array>
#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <span>
#include <thread>
#include <vector>

#include "playback/WaveOut.h"

namespace vandrel::ui {

class CSoundOut {
 public:
  CSoundOut();
  virtual ~CSoundOut();
  // Moves the play-position marker one step (streamed mode, after each refill).
  // Runs on the playback thread; it only asks the marker's window to repaint.
  virtual void MarkerStep();

  CSoundOut(const CSoundOut&) = delete;
  CSoundOut& operator=(const CSoundOut&) = delete;

  static constexpr int kStreamBufferSamples = 32768;

  // Takes a copy of `count` samples of `block` from `first` on (samples beyond
  // the block's end stay zero), at `sampleRate` Hz. `context` is the view that
  // starts playback. Shows "error in memory" and returns false when the copy
  // cannot be had; nothing else changes then.
  bool SetSource(std::span<const std::int16_t> block, std::size_t first, std::size_t count, int sampleRate,
                 bool wholeBlock, QWidget* context);

  // Looping, in streamed mode: the source repeats until Close, its first pass
  // beginning `from` samples in. Set it before SetSource. SetLoop(false) on a
  // running loop lets the pass it is in play to the end, then stops.
  void SetLoop(bool on, std::size_t from = 0);
  bool Looping() const { return loop_.load(); }

  // While it plays: the rest of the sound is taken from `count` samples of
  // `block` from `first` on instead, sample for sample at the same places,
  // in the same stream, so there is no break between the two (A/B). The new
  // samples are heard once the server has played what it already holds
  // (about 100 ms). False, changing nothing, when nothing plays or the
  // length differs from the sound's.
  bool SwitchSource(std::span<const std::int16_t> block, std::size_t first, std::size_t count);

  // Opens the device and starts playing. Returns 0 or the device's error code.
  int Start();
  int Pause();
  int Restart();
  // Stops the sound at once and closes the device; the player may be deleted
  // afterwards, or given a new source.
  void Close();

  // Where the streamed-mode marker is drawn: `rect` in `window`. The marker
  // window must outlive the playback (Close the player first).
  void SetMarker(QWidget* window, const QRect& rect);
  // The one-pixel strip the marker's window draws inverted, or an empty
  // rectangle when the marker is off. Interface thread.
  QRect MarkerStrip() const;

  // Samples of the source heard so far (0 before Start). Views poll it to draw
  // a moving play-position line in either mode.
  std::int64_t PlayPosition() const;
  // The sample of the source being heard: counted from where the sound began,
  // and wrapped to the source's length when it was started as a loop.
  std::size_t SourcePosition() const;
  // True from Start until Close, or until streamed mode reaches the end.
  bool IsPlaying() const { return device_.IsOpen(); }

  int SampleRate() const { return sampleRate_; }
  int SamplesPerBuffer() const { return samplesPerBuffer_; }
  std::size_t Length() const { return count_; }
  bool WholeBlock() const { return wholeBlock_; }
  int RefillCount() const { return refills_.load(); }
  QWidget* Context() const { return context_; }

 private:
  // An auto-reset event: one Wait returns per Signal (or the Signal before it).
  class Event {
   public:
    void Signal();
    void Wait();
    void Reset();

   private:
    std::mutex m_;
    std::condition_variable cv_;
    bool set_ = false;
  };

  int StartWholeBlock();
  int StartStreamed();
  void ThreadMain();
  void Refill();
  // Pause and close from the playback thread at the end of the sound.
  void EndFromThread();
  void FillBuffer(std::size_t index);
  QRect StripAt(int step) const;

  CWaveOut device_;
  QAudioDevice caps_;
  int channels_ = 1;
  int sampleRate_ = 11025;

  std::vector<std::int16_t> source_;  // zero-initialised copy of the caller's samples
  std::size_t count_ = 0;
  std::size_t readPos_ = 0;
  bool haveSource_ = false;
  bool wholeBlock_ = true;
  std::atomic<bool> loop_{false};
  bool startedAsLoop_ = false;
  std::size_t loopFrom_ = 0;

  std::vector<std::int16_t> whole_;  // count + 10 samples
  CWaveHeader wholeHeader_;

  // Held while a buffer is filled and written, and while SwitchSource swaps
  // the source: a buffer is then either queued (and rewritten) or refilled
  // from the new source later, never filled from the old one and missed.
  std::mutex sourceMutex_;
  std::array<std::vector<std::int16_t>, 2> buffers_;
  // The source sample in each buffer's first slot, and whether it wrapped.
  std::array<std::size_t, 2> bufferStart_{};
  std::array<bool, 2> bufferLoops_{};
  std::array<CWaveHeader, 2> headers_;
  std::size_t bufferIndex_ = 0;
  int samplesPerBuffer_ = 2048;
  std::atomic<int> refills_{0};
  std::atomic<bool> stop_{false};
  Event event_;
  std::thread thread_;
  // The playback thread is made before the device is opened and held at this
  // gate until both buffers are written.
  Event gate_;

  QWidget* context_ = nullptr;
  QPointer<QWidget> markerWindow_;
  QRect markerRect_;
  mutable std::mutex markerMutex_;
  int markerStep_ = 0;
  bool markerOn_ = false;
};

}  // namespace vandrel::ui
