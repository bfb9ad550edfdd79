#pragma once
// vandrel-cli as a script meets it: the built program run in a child process,
// its exit code, what it prints on each stream, and the files it leaves.

#include <gtest/gtest.h>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "document/VandrelDoc.h"
#include "document/VdrFile.h"
#include "editing/EditTransaction.h"
#include "util/AtomicFile.h"

extern char** environ;

namespace vandrel::clitest {

namespace fs = std::filesystem;

struct Result {
  int code = -1;
  std::string out, err;
};

class VandrelCliTest : public ::testing::Test {
 protected:
  fs::path dir =
      fs::temp_directory_path() / ("vandrel_cli_" + std::to_string(::getpid()) + "_" +
                                   ::testing::UnitTest::GetInstance()->current_test_info()->name());
  void SetUp() override { fs::create_directories(dir); }
  void TearDown() override { fs::remove_all(dir); }

  std::string file(const std::string& name) const { return (dir / name).string(); }

  // Runs vandrel-cli with `args` in the test's folder (so a relative name
  // that should never be written, would be written there), standard output
  // and error each to a file.
  Result run(const std::vector<std::string>& args) const { return runProgram(VANDREL_CLI, args); }

  Result runProgram(const char* program, const std::vector<std::string>& args) const {
    const std::string out = file(".stdout"), err = file(".stderr");
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addchdir_np(&actions, dir.c_str());
    posix_spawn_file_actions_addopen(&actions, 1, out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    posix_spawn_file_actions_addopen(&actions, 2, err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    Result r;
    r.code = finish(start(program, args, &actions));
    posix_spawn_file_actions_destroy(&actions);
    readWholeFile(out, r.out);
    readWholeFile(err, r.err);
    fs::remove(out);
    fs::remove(err);
    return r;
  }

  // `program` started with `args` without waiting for it; finish() waits and
  // gives its exit code, 128 + the signal that ended it, or -1.
  static pid_t start(const char* program, const std::vector<std::string>& args,
                     const posix_spawn_file_actions_t* actions = nullptr) {
    std::vector<std::string> all{program};
    all.insert(all.end(), args.begin(), args.end());
    std::vector<char*> argv;
    for (auto& a : all) argv.push_back(a.data());
    argv.push_back(nullptr);
    pid_t pid = -1;
    return posix_spawn(&pid, program, actions, nullptr, argv.data(), environ) == 0 ? pid : -1;
  }
  static int finish(pid_t pid) {
    int status = 0;
    if (pid < 0 || waitpid(pid, &status, 0) != pid) return -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  }

  // Writes NAME.vdr: `frames` frames of `intervalMs` of defaults, then `edit`.
  std::string table(const std::string& name, int frames, const std::function<void(CVandrelDoc&)>& edit = {},
                    int intervalMs = 10) const {
    CVandrelDoc doc;
    doc.newTable(frames, intervalMs);
    if (edit) edit(doc);
    const std::string path = file(name + ".vdr");
    EXPECT_EQ(saveVdrFile(path, doc, VdrKind::kAllParameters), "");
    return path;
  }
  static void setRow(CVandrelDoc& d, int row, const std::function<double(int)>& value) {
    for (int c = 0; c < d.table().columns(); ++c) vandrel::EditTransaction(d).setValue(row, c, value(c));
  }
  std::string bytes(const std::string& path) const {
    std::string b;
    EXPECT_TRUE(readWholeFile(path, b)) << path;
    return b;
  }

  // The files a run left in the test's folder.
  std::vector<std::string> leftBehind() const {
    std::vector<std::string> names;
    for (const auto& e : fs::directory_iterator(dir)) names.push_back(e.path().filename().string());
    return names;
  }
};

inline std::vector<std::string> lines(const std::string& text) {
  std::vector<std::string> out;
  std::istringstream in(text);
  for (std::string l; std::getline(in, l);) out.push_back(l);
  return out;
}

// The first strlen(prefix) characters of `s`; all of it for an empty prefix,
// which then says the stream must stay empty.
inline std::string startOf(const std::string& s, const char* prefix) {
  return *prefix != '\0' ? s.substr(0, std::strlen(prefix)) : s;
}

}  // namespace vandrel::clitest
