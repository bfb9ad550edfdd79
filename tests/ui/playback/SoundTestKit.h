#pragma once
// Sound tests run against a PulseAudio server of their own (a null sink at
// 22050 Hz mono in a scratch folder, stopped by its PID; children die with the
// test process). What reaches the sink is recorded from its monitor with parec
// and found again by normalised cross-correlation.

#include <signal.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <gtest/gtest.h>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <bit>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <numbers>
#include <span>
#include <vector>

namespace vandrel::soundtest {

inline constexpr int kSinkRate = 22050;
using Clock = std::chrono::steady_clock;
using Samples = std::vector<std::int16_t>;

// Points this process's sound clients at the server on `socket`; they never
// start one of their own.
inline void usePulseServer(const QString& dir, const QString& socket) {
  QFile conf(dir + "/client.conf");
  if (conf.open(QIODevice::WriteOnly)) conf.write("autospawn = no\n");
  qputenv("PULSE_SERVER", ("unix:" + socket).toUtf8());
  qputenv("PULSE_CLIENTCONFIG", conf.fileName().toUtf8());
}

// Starts `program` with everything it keeps (home, runtime, configuration and
// state folders) in `folder`.
inline bool startChild(QProcess& child, const QString& program, const QStringList& args,
                       const QString& folder) {
  QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
  for (const char* var :
       {"HOME", "XDG_RUNTIME_DIR", "XDG_CONFIG_HOME", "PULSE_RUNTIME_PATH", "PULSE_STATE_PATH"})
    env.insert(var, folder);
  child.setProcessEnvironment(env);
  child.setChildProcessModifier([parent = getpid()] {
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (getppid() != parent) _exit(127);
  });
  child.start(program, args);
  return child.waitForStarted();
}

// Ends a child by its PID: SIGTERM, then SIGKILL if it is still there after 3 s.
inline void endChild(QProcess& child) {
  if (child.state() == QProcess::NotRunning) return;
  kill(static_cast<pid_t>(child.processId()), SIGTERM);
  if (!child.waitForFinished(3000)) child.kill();
  child.waitForFinished();
}

// The server, for the whole test process (Qt connects to it once).
class PulseTestServer : public ::testing::Environment {
 public:
  void SetUp() override {
    // A machine without the server cannot hear anything: every test says why
    // it was skipped instead of failing on the machine.
    for (const char* tool : {"pulseaudio", "parec"})
      if (QStandardPaths::findExecutable(QString::fromLatin1(tool)).isEmpty())
        GTEST_SKIP() << tool << " is not installed (scripts/install-deps installs it)";
    const QString socket = dir_.filePath("native");
    ASSERT_TRUE(dir_.isValid());
    server_.setProcessChannelMode(QProcess::MergedChannels);
    ASSERT_TRUE(startChild(
        server_, "pulseaudio",
        {"-n", "--daemonize=no", "--exit-idle-time=-1", "--use-pid-file=no", "--disable-shm=yes", "-L",
         QString("module-null-sink norewinds=1 sink_name=testsink rate=%1 channels=1 format=s16le")
             .arg(kSinkRate),
         "-L", "module-native-protocol-unix auth-anonymous=1 socket=" + socket},
        dir_.path()))
        << "pulseaudio does not start (scripts/install-deps)";
    for (int i = 0; i < 500 && !QFile::exists(socket); ++i)
      if (server_.waitForFinished(10)) break;
    ASSERT_TRUE(QFile::exists(socket)) << "pulseaudio made no socket: " << server_.readAll().toStdString();
    usePulseServer(dir_.path(), socket);
  }
  void TearDown() override {
    const auto pid = static_cast<pid_t>(server_.processId());
    if (pid == 0) return;  // never started
    endChild(server_);
    EXPECT_TRUE(pid > 0 && kill(pid, 0) != 0) << "the test server is still running";
  }

 private:
  QTemporaryDir dir_{QDir::tempPath() + "/vandrel-pulse-XXXXXX"};
  QProcess server_;
};

// Records the sink's monitor (22050 Hz mono 16-bit) from start() on, while
// the interface thread serves events. Silence there is exact zeros. Sample i
// was recorded at t0 + i / rate and cannot have arrived before that, so every
// read bounds t0 from above; the smallest bound is kept (it errs towards
// later, never earlier).
class MonitorCapture {
 public:
  bool start() {
    QObject::connect(&parec_, &QProcess::readyReadStandardOutput, &parec_, [this] {
      const auto now = Clock::now();
      bytes_ += parec_.readAllStandardOutput();
      t0_ = std::min(t0_, now - std::chrono::microseconds(bytes_.size() / 2 * 1000000 / kSinkRate));
    });
    parec_.setStandardErrorFile(QProcess::nullDevice());
    if (!startChild(parec_, "parec",
                    {"-d", "testsink.monitor", QString("--rate=%1").arg(kSinkRate), "--channels=1",
                     "--format=s16le", "--raw", "--latency-msec=5"},
                    "/nonexistent"))
      return false;
    // Only once samples flow is the monitor really recording.
    for (int i = 0; i < 500 && bytes_.size() < kSinkRate / 5; ++i) QTest::qWait(10);
    return bytes_.size() >= kSinkRate / 5;
  }

  void stop() { endChild(parec_); }

  Samples samples() const {
    static_assert(std::endian::native == std::endian::little, "the monitor records s16le");
    Samples out(static_cast<std::size_t>(bytes_.size() / 2));
    if (!out.empty()) std::memcpy(out.data(), bytes_.constData(), out.size() * 2);
    return out;
  }
  // Wall time of sample `index`.
  Clock::time_point timeOf(std::int64_t index) const {
    return t0_ + std::chrono::microseconds(index * 1000000 / kSinkRate);
  }

 private:
  QProcess parec_;
  QByteArray bytes_;
  Clock::time_point t0_ = Clock::time_point::max();
};

// Correlation of ref[0, n) with cap[lag + step * k]: 0 when the recording is
// too short or either side is silent. A sound at half the sink's rate is
// compared with every second recorded sample (the server resamples it).
inline double ncc(const Samples& cap, std::span<const std::int16_t> ref, std::int64_t lag, int step,
                  std::size_t n) {
  n = std::min(n, ref.size());
  if (lag < 0 || n == 0 || lag + std::int64_t{step} * static_cast<std::int64_t>(n - 1) >= std::ssize(cap))
    return 0.0;
  double xy = 0, xx = 0, yy = 0;
  for (std::size_t k = 0; k < n; ++k) {
    const double x = cap[static_cast<std::size_t>(lag) + static_cast<std::size_t>(step) * k], y = ref[k];
    xy += x * y;
    xx += x * x;
    yy += y * y;
  }
  return xx > 0 && yy > 0 ? xy / std::sqrt(xx * yy) : 0.0;
}

// Index of the first non-zero recorded sample at or after `from`, or -1.
inline std::int64_t firstSound(const Samples& cap, std::int64_t from = 0) {
  for (auto i = std::max<std::int64_t>(from, 0); i < std::ssize(cap); ++i)
    if (cap[static_cast<std::size_t>(i)] != 0) return i;
  return -1;
}

struct Match {
  std::int64_t lag = -1;  // recording index of the sound's first sample
  double ncc = 0.0;
};

// The lag within `radius` of `around` where the first `head` samples of `ref`
// match best.
inline Match locate(const Samples& cap, std::span<const std::int16_t> ref, int step, std::int64_t around,
                    std::int64_t radius, std::size_t head) {
  Match best;
  for (auto lag = std::max<std::int64_t>(0, around - radius); lag <= around + radius; ++lag)
    if (const double c = ncc(cap, ref, lag, step, head); c > best.ncc) best = Match{lag, c};
  return best;
}

// A sine with a 50 ms linear fade-in, so that it has exactly one best alignment.
inline Samples fadedTone(double hz, int rate, double seconds) {
  Samples out(static_cast<std::size_t>(seconds * rate));
  for (std::size_t i = 0; i < out.size(); ++i)
    out[i] = static_cast<std::int16_t>(
        std::lround(12000.0 * std::min(1.0, static_cast<double>(i) / (0.05 * rate)) *
                    std::sin(2.0 * std::numbers::pi * hz * static_cast<double>(i) / rate)));
  return out;
}

}  // namespace vandrel::soundtest
