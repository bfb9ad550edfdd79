#pragma once
// Sound tests run against a PulseAudio server of their own (SoundKit.h). What
// reaches the sink is recorded from its monitor with parec and found again by
// normalised cross-correlation.

#include <gtest/gtest.h>
#include <QTemporaryDir>

#include <cmath>
#include <numbers>
#include <span>

#include "SoundKit.h"

namespace vandrel::soundtest {

// The server, for the whole test process (Qt connects to it once).
class PulseTestServer : public ::testing::Environment {
 public:
  void SetUp() override {
    // A machine without the server cannot hear anything: every test says why
    // it was skipped instead of failing on the machine.
    ASSERT_TRUE(dir_.isValid());
    const QString why = startPulseServer(server_, dir_.path());
    if (why.endsWith("(scripts/install-deps installs it)")) GTEST_SKIP() << why.toStdString();
    ASSERT_TRUE(why.isEmpty()) << why.toStdString();
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
