// Runs that are interrupted, that overlap, or that cannot write what they
// would: a folder always holds one whole run's files, never a mixture, never
// a temporary, and nothing reports success it did not have.

#include <gtest/gtest.h>

#include <signal.h>
#include <stdlib.h>

#include <chrono>
#include <filesystem>
#include <map>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "CliFixture.h"
#include "document/VandrelDoc.h"
#include "document/VdrFile.h"
#include "util/AtomicFile.h"

namespace vandrel {
namespace {

using namespace clitest;

class InterruptedRunsTest : public VandrelCliTest {
 protected:
  // `frames` frames of `intervalMs` whose f1 is `f1`.
  std::string table(const std::string& name, double f1, int frames = 20, int intervalMs = 10) const {
    return VandrelCliTest::table(
        name, frames, [f1](CVandrelDoc& d) { setRow(d, kF1, [f1](int) { return f1; }); }, intervalMs);
  }

  // The folder's files by name with their contents.
  static std::map<std::string, std::string> contents(const std::string& folder) {
    std::map<std::string, std::string> files;
    for (const auto& e : fs::directory_iterator(folder))
      readWholeFile(e.path().string(), files[e.path().filename()]);
    return files;
  }

  // vandrel-cli started without waiting for it.
  static pid_t start(std::vector<std::string> args) {
    args.push_back("--quiet");
    return VandrelCliTest::start(VANDREL_CLI, args);
  }
};

TEST_F(InterruptedRunsTest, FolderHoldsOneWholeRunAfterSignalsAndOverlappingRuns) {
  const std::string a = table("a", 300), b = table("b", 800);
  const std::string out = file("steps");
  const auto continuum = [&](const std::string& from, const std::string& to, const std::string& dir) {
    return std::vector<std::string>{"continuum", from, to, "--steps", "6", "--wav", "-o", dir};
  };
  // What each run writes, alone.
  ASSERT_EQ(run(continuum(a, b, file("ab"))).code, 0);
  ASSERT_EQ(run(continuum(b, a, file("ba"))).code, 0);
  const auto ab = contents(file("ab")), ba = contents(file("ba"));
  ASSERT_EQ(ab.size(), 13u);
  const auto whole = [&](const std::string& what) {
    const auto now = contents(out);
    EXPECT_TRUE(now == ab || now == ba) << what << ": " << now.size() << " files, a mixture or temporaries";
    return now == ab || now == ba;
  };

  const auto began = std::chrono::steady_clock::now();
  ASSERT_EQ(run(continuum(a, b, out)).code, 0);
  const auto runUs =
      std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - began);
  std::mt19937 random(29);
  for (int attempt = 0; attempt < 100; ++attempt) {
    const pid_t pid = start(attempt % 2 ? continuum(a, b, out) : continuum(b, a, out));
    std::this_thread::sleep_for(
        std::chrono::microseconds(random() % static_cast<unsigned>(runUs.count() + 1)));
    ::kill(pid, attempt % 3 == 0 ? SIGINT : SIGTERM);
    const int code = finish(pid);
    EXPECT_TRUE(code == 0 || code == 128 + SIGTERM || code == 128 + SIGINT) << code;
    if (!whole("signal " + std::to_string(attempt))) break;
  }

  for (int attempt = 0; attempt < 10; ++attempt) {
    const pid_t first = start(continuum(a, b, out)), second = start(continuum(b, a, out));
    EXPECT_EQ(finish(first), 0);
    EXPECT_EQ(finish(second), 0);
    if (!whole("overlap " + std::to_string(attempt))) break;
  }
}

TEST_F(InterruptedRunsTest, NothingIsSaidWrittenThatCannotBeWrittenWhole) {
  // 1949 frames of 100 s at 11025 Hz: 2,148,772,500 samples, past a WAV's 4 GiB.
  const std::string huge = table("huge", 500, 1949, 100000);
  const std::vector<std::vector<std::string>> refusals{
      {"synth", huge, "-o", file("huge.wav")},
      {"grid", huge, "--vary", "f1:400:500:2", "--wav", "-o", file("huge")}};
  for (const auto& args : refusals) {
    const Result r = run(args);
    EXPECT_EQ(r.code, 1);
    EXPECT_EQ(r.err, "vandrel-cli " + args[0] + ": " + huge +
                         ": The sound would be 2148772500 samples (54:08:20 at 11025 Hz, 4.0 GiB); a WAV "
                         "file holds at most 4 GiB.\n");
  }
  EXPECT_FALSE(fs::exists(file("huge.wav")));
  EXPECT_FALSE(fs::exists(file("huge")));

  // A read-only file is replaced only with --force, and stays read-only.
  const std::string small = table("small", 500);
  const std::string kept = file("kept.wav");
  ASSERT_EQ(run({"synth", small, "-o", kept}).code, 0);
  fs::permissions(kept, fs::perms::owner_read | fs::perms::group_read);
  const std::string before = bytes(kept);
  const Result refused = run({"export", small, "--to", "tsv", "-o", kept});
  EXPECT_EQ(refused.code, 1);
  EXPECT_EQ(refused.err,
            "vandrel-cli export: Cannot save " + kept +
                ": the file is read-only. The previous file is unchanged. Add --force to replace it.\n");
  EXPECT_EQ(bytes(kept), before);
  EXPECT_EQ(run({"export", small, "--to", "tsv", "-o", kept, "--force"}).code, 0);
  EXPECT_EQ(fs::status(kept).permissions(), fs::perms::owner_read | fs::perms::group_read);
  EXPECT_EQ(bytes(kept).rfind("time_ms\tparameter\tvalue", 0), 0u);
}

// A run whose allocation fails wherever it may (each of eleven commands a
// dozen times, an allocation further in each time) ends with
// exit code 1 and a word, leaving the files that stood there as they were, or
// ends as a run with memory to spare does, writing the very same files.
TEST_F(InterruptedRunsTest, ARunShortOfMemoryEndsWholeOrLeavesWhatWasThere) {
#ifndef VANDREL_FAILING_MALLOC
  GTEST_SKIP() << "AddressSanitizer brings its own allocator";
#else
  const std::string a = table("a", 300), b = table("b", 800);
  const auto voice = [&](const std::string& name, int f0) {
    const std::string vdr = VandrelCliTest::table(name, 40, [f0](CVandrelDoc& d) {
      setRow(d, kF0, [f0](int c) { return f0 + 10 * c; });
      setRow(d, kAv, [](int) { return 60; });
      setRow(d, kF1, [](int c) { return 750 - 5 * c; });
    });
    EXPECT_EQ(run({"synth", vdr, "-o", file(name + ".wav"), "--quiet"}).code, 0);
    return file(name + ".wav");
  };
  const std::string high = voice("high", 2200), low = voice("low", 1100);
  // A run with the preloaded allocator, told `setting`.
  const auto preloaded = [&](const std::vector<std::string>& args, const char* setting,
                             const std::string& value) {
    ::setenv("LD_PRELOAD", VANDREL_FAILING_MALLOC, 1);
    ::setenv(setting, value.c_str(), 1);
    const Result r = run(args);
    ::unsetenv(setting);
    ::unsetenv("LD_PRELOAD");
    return r;
  };
  // The allocations of a run.
  const auto allocations = [&](const std::vector<std::string>& args) {
    preloaded(args, "VANDREL_COUNT_ALLOCATIONS", file("count"));
    return std::stol(bytes(file("count")));
  };
  // A file's bytes, or a folder's files with theirs.
  const auto state = [&](const std::string& path) {
    std::map<std::string, std::string> files;
    if (fs::is_directory(path))
      files = contents(path);
    else if (fs::exists(path))
      files[""] = bytes(path);
    return files;
  };
  const auto put = [&](const std::string& path, const std::map<std::string, std::string>& files) {
    fs::remove_all(path);
    if (files.size() == 1 && files.begin()->first.empty()) {
      writeFileAtomically(path, files.begin()->second);
      return;
    }
    fs::create_directories(path);
    for (const auto& [name, text] : files) writeFileAtomically(path + "/" + name, text);
  };
  const long startUp = allocations({"--version"});
  struct Case {
    std::vector<std::string> args, before;  // the run, and the one whose files stand there first
    std::string out;
  };
  const std::string wav = file("out.wav"), steps = file("steps"), vdr = file("copy.vdr"),
                    grid = file("a.KlattGrid");
  ASSERT_EQ(run({"export", a, "--to", "klp", "-o", file("a.klp")}).code, 0);
  ASSERT_EQ(run({"export", b, "--to", "klattgrid", "-o", file("b.KlattGrid")}).code, 0);
  for (const Case& c : {Case{{"import", file("a.klp"), "-o", file("imp.vdr")},
                             {"import", file("b.KlattGrid"), "-o", file("imp.vdr")},
                             file("imp.vdr")},
                        Case{{"analyse", high, "-o", file("an2.tsv")},
                             {"analyse", low, "-o", file("an2.tsv")},
                             file("an2.tsv")},
                        Case{{"export", a, "--to", "klp", "-o", file("x.klp")},
                             {"export", b, "--to", "klp", "-o", file("x.klp")},
                             file("x.klp")},
                        Case{{"synth", a, "-o", wav}, {"synth", b, "-o", wav}, wav},
                        Case{{"continuum", a, b, "--steps", "3", "--wav", "-o", steps},
                             {"continuum", b, a, "--steps", "3", "--wav", "-o", steps},
                             steps},
                        Case{{"copy", high, "-o", vdr}, {"copy", low, "-o", vdr}, vdr},
                        Case{{"grid", a, "--vary", "f1:300:500:3", "--wav", "-o", file("g")},
                             {"grid", a, "--vary", "f1:350:550:3", "--wav", "-o", file("g")},
                             file("g")},
                        Case{{"analyse", high, "--tracked", "-o", file("an.tsv")},
                             {"analyse", low, "--tracked", "-o", file("an.tsv")},
                             file("an.tsv")},
                        Case{{"synth", a, b, "-o", file("two")},
                             {"synth", a, b, "--listen-to", "voicing", "-o", file("two")},
                             file("two")},
                        Case{{"export", a, "--to", "tsv", "-o", file("a.tsv")},
                             {"export", b, "--to", "tsv", "-o", file("a.tsv")},
                             file("a.tsv")},
                        Case{{"export", a, "--to", "klattgrid", "-o", grid},
                             {"export", b, "--to", "klattgrid", "-o", grid},
                             grid}}) {
    SCOPED_TRACE(c.args[0]);
    ASSERT_EQ(run(c.args).code, 0);
    const auto whole = state(c.out);
    const long count = allocations(c.args);
    ASSERT_EQ(run(c.before).code, 0);
    const auto before = state(c.out);
    ASSERT_TRUE(before != whole) << "the two runs write the same";
    const std::vector<std::string> names = leftBehind();
    constexpr long kTries = 12;
    for (long i = 0; i < kTries; ++i) {
      const long at = startUp + (count - startUp) * i / kTries;
      SCOPED_TRACE("allocation " + std::to_string(at) + " of " + std::to_string(count));
      const Result r = preloaded(c.args, "VANDREL_FAIL_ALLOCATION", std::to_string(at));
      EXPECT_TRUE(r.code == 0 || r.code == 1) << r.code << " " << r.err;
      if (r.code == 0) {
        EXPECT_TRUE(state(c.out) == whole) << "a lesser run said done";
      } else {
        EXPECT_EQ(r.err.rfind("vandrel-cli " + c.args[0] + ": ", 0), 0u) << r.err;
        EXPECT_TRUE(state(c.out) == before) << "a failed run changed the files: " << r.err;
      }
      EXPECT_EQ(leftBehind(), names) << "a temporary left";
      put(c.out, before);
    }
  }
#endif
}

}  // namespace
}  // namespace vandrel
