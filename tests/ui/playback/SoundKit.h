#pragma once
// A private PulseAudio server for programs that play sound and check what
// came out (the sound tests, the listening benchmark): a null sink at 22050 Hz
// mono in a scratch folder, stopped by its PID, children dying with their
// parent; and a recorder of the sink's monitor.

#include <signal.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTest>

#include <algorithm>
#include <bit>
#include <chrono>
#include <cstdint>
#include <cstring>
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

// Starts the server in `dir` and points this process at it; an empty string,
// or why not.
inline QString startPulseServer(QProcess& server, const QString& dir) {
  for (const char* tool : {"pulseaudio", "parec"})
    if (QStandardPaths::findExecutable(QString::fromLatin1(tool)).isEmpty())
      return QString::fromLatin1(tool) + " is not installed (scripts/install-deps installs it)";
  const QString socket = dir + "/native";
  server.setProcessChannelMode(QProcess::MergedChannels);
  if (!startChild(
          server, "pulseaudio",
          {"-n", "--daemonize=no", "--exit-idle-time=-1", "--use-pid-file=no", "--disable-shm=yes", "-L",
           QString("module-null-sink norewinds=1 sink_name=testsink rate=%1 channels=1 format=s16le")
               .arg(kSinkRate),
           "-L", "module-native-protocol-unix auth-anonymous=1 socket=" + socket},
          dir))
    return "pulseaudio does not start (scripts/install-deps)";
  for (int i = 0; i < 500 && !QFile::exists(socket); ++i)
    if (server.waitForFinished(10)) break;
  if (!QFile::exists(socket)) return "pulseaudio made no socket: " + QString::fromUtf8(server.readAll());
  usePulseServer(dir, socket);
  return {};
}

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
  std::int64_t size() const { return bytes_.size() / 2; }
  // Index of the first non-zero sample recorded at or after `from`, or -1.
  std::int64_t soundFrom(std::int64_t from) const {
    const char* d = bytes_.constData();
    for (auto i = std::max<std::int64_t>(from, 0); i < size(); ++i)
      if (d[2 * i] != 0 || d[2 * i + 1] != 0) return i;
    return -1;
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

// Index of the first non-zero recorded sample at or after `from`, or -1.
inline std::int64_t firstSound(const Samples& cap, std::int64_t from = 0) {
  for (auto i = std::max<std::int64_t>(from, 0); i < std::ssize(cap); ++i)
    if (cap[static_cast<std::size_t>(i)] != 0) return i;
  return -1;
}

}  // namespace vandrel::soundtest
