#pragma once
// Sound tests run against a PulseAudio server of their own: a null sink at
// 22050 Hz mono, reached through a socket in a scratch folder, started before
// Qt first looks for audio devices and stopped by its PID at the end. The
// server also dies with the test process (parent-death signal), so a crashed
// test leaves nothing running. What reaches the sink is recorded from its
// monitor with parec.

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace vandrel::soundtest {

inline constexpr int kSinkRate = 22050;

// A fresh folder under TMPDIR (or /tmp).
inline std::string makeScratchDir(const char* tag) {
  const char* base = std::getenv("TMPDIR");
  std::string pattern = std::string(base != nullptr && *base != '\0' ? base : "/tmp") + "/" + tag + "-XXXXXX";
  std::vector<char> buf(pattern.begin(), pattern.end());
  buf.push_back('\0');
  if (mkdtemp(buf.data()) == nullptr) return {};
  return std::string(buf.data());
}

// Client settings that never start a server on their own.
inline std::string writeClientConfig(const std::string& dir) {
  const std::string path = dir + "/client.conf";
  std::ofstream(path) << "autospawn = no\n";
  return path;
}

// Starts `argv` with `env`, stdout to `outFd` (or a log file), and a parent-death
// signal so that the child never outlives this process. Returns its PID or -1.
inline pid_t spawnChild(const std::vector<std::string>& argv, const std::vector<std::string>& env, int outFd,
                        const std::string& logPath) {
  std::vector<char*> args;
  for (const auto& a : argv) args.push_back(const_cast<char*>(a.c_str()));
  args.push_back(nullptr);
  std::vector<char*> envp;
  for (const auto& e : env) envp.push_back(const_cast<char*>(e.c_str()));
  envp.push_back(nullptr);
  const int logFd = open(logPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  const pid_t parent = getpid();

  const pid_t pid = fork();
  if (pid == 0) {
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (getppid() != parent) _exit(127);
    const int devNull = open("/dev/null", O_RDONLY);
    if (devNull >= 0) dup2(devNull, 0);
    if (outFd >= 0)
      dup2(outFd, 1);
    else if (logFd >= 0)
      dup2(logFd, 1);
    if (logFd >= 0) dup2(logFd, 2);
    execve(args[0], args.data(), envp.data());
    _exit(127);
  }
  if (logFd >= 0) close(logFd);
  return pid;
}

// Ends a child by its PID: SIGTERM, then SIGKILL if it does not go.
inline void endChild(pid_t pid) {
  if (pid <= 0) return;
  kill(pid, SIGTERM);
  for (int i = 0; i < 300; ++i) {
    if (waitpid(pid, nullptr, WNOHANG) == pid) return;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  kill(pid, SIGKILL);
  waitpid(pid, nullptr, 0);
}

inline std::string findProgram(const char* name) {
  for (const char* dir : {"/usr/bin", "/bin", "/usr/local/bin"}) {
    const std::string p = std::string(dir) + "/" + name;
    if (access(p.c_str(), X_OK) == 0) return p;
  }
  return {};
}

class PulseTestServer {
 public:
  ~PulseTestServer() { stop(); }

  // Starts the server and points this process's clients at it (PULSE_SERVER,
  // PULSE_CLIENTCONFIG). Returns an empty string, or why it could not.
  std::string start() {
    dir_ = makeScratchDir("vandrel-pulse");
    if (dir_.empty()) return "no scratch folder";
    const std::string exe = findProgram("pulseaudio");
    if (exe.empty()) return "pulseaudio is not installed (scripts/install-deps)";
    std::filesystem::create_directories(dir_ + "/runtime");
    std::filesystem::create_directories(dir_ + "/config");
    std::filesystem::create_directories(dir_ + "/state");
    std::filesystem::permissions(dir_ + "/runtime", std::filesystem::perms::owner_all);
    socket_ = dir_ + "/native";
    const std::string conf = dir_ + "/server.pa";
    std::ofstream(conf) << "load-module module-null-sink norewinds=1 sink_name=testsink rate=" << kSinkRate
                        << " channels=1 format=s16le\n"
                        << "load-module module-native-protocol-unix auth-anonymous=1 socket=" << socket_
                        << "\n"
                        << "set-default-sink testsink\n";
    const char* path = std::getenv("PATH");
    const std::vector<std::string> env{
        "HOME=" + dir_,
        "XDG_RUNTIME_DIR=" + dir_ + "/runtime",
        "XDG_CONFIG_HOME=" + dir_ + "/config",
        "PULSE_RUNTIME_PATH=" + dir_ + "/runtime/pulse",
        "PULSE_STATE_PATH=" + dir_ + "/state",
        "PATH=" + std::string(path != nullptr ? path : "/usr/bin:/bin"),
    };
    pid_ = spawnChild({exe, "-n", "-F", conf, "--daemonize=no", "--exit-idle-time=-1", "--use-pid-file=no",
                       "--disable-shm=yes"},
                      env, -1, dir_ + "/server.log");
    if (pid_ <= 0) return "fork failed";
    for (int i = 0; i < 500; ++i) {
      if (std::filesystem::exists(socket_)) {
        setenv("PULSE_SERVER", ("unix:" + socket_).c_str(), 1);
        setenv("PULSE_CLIENTCONFIG", writeClientConfig(dir_).c_str(), 1);
        return {};
      }
      if (waitpid(pid_, nullptr, WNOHANG) == pid_) {
        pid_ = -1;
        return "pulseaudio exited at start; see " + dir_ + "/server.log";
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return "pulseaudio made no socket in 5 s";
  }

  void stop() {
    endChild(pid_);
    pid_ = -1;
    if (!dir_.empty()) std::filesystem::remove_all(dir_);
    dir_.clear();
  }

  const std::string& socket() const { return socket_; }
  pid_t pid() const { return pid_; }

 private:
  std::string dir_;
  std::string socket_;
  pid_t pid_ = -1;
};

// Records the null sink's monitor: 22050 Hz mono 16-bit, from start() on.
// Silence there is exact zeros, so the first non-zero sample is the first one
// played. Each sample's wall time is estimated from the reads: sample i was
// recorded at t0 + i / rate, and it cannot have arrived before it was
// recorded, so t0 <= arrival - samples so far / rate for every read; the
// smallest bound is kept (it errs towards later, never earlier).
class MonitorCapture {
 public:
  using Clock = std::chrono::steady_clock;

  ~MonitorCapture() { stop(); }

  bool start() {
    const std::string exe = findProgram("parec");
    if (exe.empty()) return false;
    int fds[2];
    if (pipe2(fds, O_CLOEXEC) != 0) return false;
    const char* server = std::getenv("PULSE_SERVER");
    const char* conf = std::getenv("PULSE_CLIENTCONFIG");
    std::vector<std::string> env{"PULSE_SERVER=" + std::string(server != nullptr ? server : ""),
                                 "PULSE_CLIENTCONFIG=" + std::string(conf != nullptr ? conf : ""),
                                 "HOME=/nonexistent"};
    pid_ = spawnChild({exe, "-d", "testsink.monitor", "--rate=" + std::to_string(kSinkRate), "--channels=1",
                       "--format=s16le", "--raw", "--latency-msec=5"},
                      env, fds[1], "/dev/null");
    close(fds[1]);
    fd_ = fds[0];
    if (pid_ <= 0) return false;
    reader_ = std::thread([this] { readLoop(); });
    // Only once samples flow is the monitor really recording.
    for (int i = 0; i < 500 && count() < kSinkRate / 10; ++i)
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    return count() >= kSinkRate / 10;
  }

  void stop() {
    endChild(pid_);
    pid_ = -1;
    if (reader_.joinable()) reader_.join();
    if (fd_ >= 0) close(fd_);
    fd_ = -1;
  }

  std::size_t count() const {
    std::lock_guard lock(m_);
    return samples_.size();
  }
  std::vector<std::int16_t> samples() const {
    std::lock_guard lock(m_);
    return samples_;
  }
  // Wall time of sample `index`.
  Clock::time_point timeOf(std::int64_t index) const {
    std::lock_guard lock(m_);
    return t0_ + std::chrono::microseconds(index * 1000000 / kSinkRate);
  }

 private:
  void readLoop() {
    std::vector<unsigned char> buf(4096);
    bool odd = false;
    unsigned char low = 0;
    for (;;) {
      const ssize_t n = read(fd_, buf.data(), buf.size());
      if (n <= 0) return;
      const auto now = Clock::now();
      std::lock_guard lock(m_);
      for (ssize_t i = 0; i < n; ++i) {
        if (!odd) {
          low = buf[static_cast<std::size_t>(i)];
        } else {
          const auto v = static_cast<std::uint16_t>(low | (buf[static_cast<std::size_t>(i)] << 8));
          samples_.push_back(static_cast<std::int16_t>(v));
        }
        odd = !odd;
      }
      const auto bound =
          now - std::chrono::microseconds(static_cast<std::int64_t>(samples_.size()) * 1000000 / kSinkRate);
      if (!haveT0_ || bound < t0_) t0_ = bound;
      haveT0_ = true;
    }
  }

  mutable std::mutex m_;
  std::vector<std::int16_t> samples_;
  Clock::time_point t0_{};
  bool haveT0_ = false;
  pid_t pid_ = -1;
  int fd_ = -1;
  std::thread reader_;
};

}  // namespace vandrel::soundtest
