// Replacing files: the replaced file's identity kept (mode, links), nothing
// half-written or left behind on a full disk, a set of files all or nothing.

#include <gtest/gtest.h>

#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <functional>
#include <string>

#include "util/AtomicFile.h"
#include "util/OutputSet.h"

namespace vandrel {
namespace {

namespace fs = std::filesystem;

class AtomicFileTest : public ::testing::Test {
 protected:
  fs::path dir = fs::temp_directory_path() / ("vandrel_atomic_" + std::to_string(::getpid()));
  bool mounted = false;
  void SetUp() override { fs::create_directories(dir); }
  void TearDown() override {
    if (mounted) ::umount2(dir.c_str(), MNT_DETACH);
    fs::remove_all(dir);
  }
  std::string at(const std::string& name) const { return (dir / name).string(); }
  static std::string read(const std::string& path) {
    std::string b;
    return readWholeFile(path, b) ? b : "<unreadable>";
  }
  static void put(const std::string& path, const std::string& bytes) {
    ASSERT_EQ(writeFileAtomically(path, bytes, {true}), "");
  }
  // Names in the folder other than `expected`: temporaries left behind.
  std::vector<std::string> strays(std::vector<std::string> expected) const {
    std::vector<std::string> found;
    for (const auto& e : fs::directory_iterator(dir))
      if (std::find(expected.begin(), expected.end(), e.path().filename().string()) == expected.end())
        found.push_back(e.path().filename().string());
    return found;
  }
  // A file system of 64 KiB at `dir`, so a write runs out of room; false
  // where mounting is not allowed.
  bool mountSmallDisk() {
    mounted = ::mount("tmpfs", dir.c_str(), "tmpfs", 0, "size=64k") == 0;
    return mounted;
  }
};

TEST_F(AtomicFileTest, ReplacedFileKeepsItsModeLinksAndReadOnlyProtection) {
  struct Case {
    const char* what;
    std::function<void()> before;
    bool force;
    const char* refusal;  // empty: written
    std::function<void()> after;
  };
  const std::string file = at("table.vdr");
  const Case cases[] = {
      {"a private file stays private",
       [&] { fs::permissions(file, fs::perms::owner_read | fs::perms::owner_write); }, false, "",
       [&] { EXPECT_EQ(fs::status(file).permissions(), fs::perms::owner_read | fs::perms::owner_write); }},
      {"a link is written through to its file",
       [&] {
         fs::create_directories(dir / "real");
         put(at("real/t.vdr"), "old");
         fs::remove(file);
         fs::create_symlink("real/t.vdr", file);
       },
       false, "",
       [&] {
         EXPECT_TRUE(fs::is_symlink(file));
         EXPECT_EQ(read(at("real/t.vdr")), "new contents");
         fs::remove(file);
         fs::remove_all(dir / "real");
       }},
      {"every hard link sees the new contents", [&] { fs::create_hard_link(file, at("other")); }, false, "",
       [&] {
         EXPECT_EQ(read(at("other")), "new contents");
         EXPECT_EQ(fs::hard_link_count(file), 2u);
         fs::remove(at("other"));
       }},
      {"a read-only file is kept",
       [&] { fs::permissions(file, fs::perms::owner_read | fs::perms::group_read); }, false,
       "Cannot save " /* path */, [] {}},
      {"and replaced when the user says so", [&] { fs::permissions(file, fs::perms::owner_read); }, true, "",
       [&] { EXPECT_EQ(fs::status(file).permissions(), fs::perms::owner_read); }},
      {"a folder is not replaced",
       [&] {
         fs::remove(file);
         fs::create_directory(file);
       },
       true, "Cannot save ", [&] { fs::remove(file); }},
      {"nor is a pipe",
       [&] {
         fs::remove(file);
         ASSERT_EQ(::mkfifo(file.c_str(), 0644), 0);
       },
       true, "Cannot save ", [&] { fs::remove(file); }},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    if (fs::exists(file) && fs::is_regular_file(file)) fs::permissions(file, fs::perms::owner_all);
    fs::remove(file);
    put(file, "old");
    c.before();
    const std::string before = fs::is_regular_file(file) ? read(file) : "";
    const std::string error = writeFileAtomically(file, "new contents", {c.force});
    if (*c.refusal == '\0') {
      EXPECT_EQ(error, "");
      EXPECT_EQ(read(file), "new contents");
    } else {
      EXPECT_EQ(error.rfind(c.refusal + file + ": ", 0), 0u) << error;
      if (!before.empty()) {
        EXPECT_EQ(read(file), before);
      }
    }
    c.after();
    EXPECT_EQ(strays({"table.vdr"}), std::vector<std::string>{});
  }
}

TEST_F(AtomicFileTest, FullDiskLeavesEveryPreviousFileAsItWas) {
  if (!mountSmallDisk()) GTEST_SKIP() << "no small file system can be mounted here";
  const std::string big(200 * 1024, 'x');
  for (const char* name : {"a.wav", "b.wav", "c.wav", "linked.wav"})
    put(at(name), std::string("old ") + name);
  fs::create_hard_link(at("linked.wav"), at("link2"));
  const std::vector<std::string> names{"a.wav", "b.wav", "c.wav", "linked.wav", "link2"};

  for (const char* name : {"a.wav", "linked.wav", "new.wav"}) {
    SCOPED_TRACE(name);
    const std::string error = writeFileAtomically(at(name), big);
    EXPECT_NE(error.find(": no space left on device."), std::string::npos) << error;
    EXPECT_EQ(strays(names), std::vector<std::string>{});
  }

  // A set: the first two fit, the third does not; nothing changes.
  {
    OutputSet set;
    EXPECT_EQ(set.add(at("a.wav"), "new a"), "");
    EXPECT_EQ(set.add(at("b.wav"), "new b"), "");
    EXPECT_NE(set.add(at("c.wav"), big), "");
  }
  for (const char* name : {"a.wav", "b.wav", "c.wav", "linked.wav"})
    EXPECT_EQ(read(at(name)), std::string("old ") + name);
  EXPECT_EQ(read(at("link2")), "old linked.wav");
  EXPECT_EQ(strays(names), std::vector<std::string>{});
}

TEST_F(AtomicFileTest, SetIsPutInPlaceWholeOrNotAtAll) {
  for (const char* name : {"step_1.wav", "step_2.wav", "manifest.tsv"}) put(at(name), "old");
  OutputSet set;
  ASSERT_EQ(set.useFolder(at("made/below")), "");
  ASSERT_EQ(set.add(at("step_1.wav"), "new 1"), "");
  ASSERT_EQ(set.add(at("made/below/x"), "new x"), "");
  ASSERT_EQ(set.add(at("step_2.wav"), "new 2"), "");
  ASSERT_EQ(set.add(at("manifest.tsv"), "new manifest"), "");
  // Between the writing and the renaming the last target became a folder.
  fs::remove(at("manifest.tsv"));
  fs::create_directories(at("manifest.tsv/inside"));
  EXPECT_NE(set.commit(), "");
  EXPECT_EQ(read(at("step_1.wav")), "old");
  EXPECT_EQ(read(at("step_2.wav")), "old");
  fs::remove_all(at("manifest.tsv"));

  OutputSet again;
  ASSERT_EQ(again.useFolder(at("made/below")), "");
  ASSERT_EQ(again.add(at("step_1.wav"), "new 1"), "");
  ASSERT_EQ(again.add(at("made/below/x"), "new x"), "");
  EXPECT_EQ(again.commit(), "");
  EXPECT_EQ(read(at("step_1.wav")), "new 1");
  EXPECT_EQ(read(at("made/below/x")), "new x");
  EXPECT_EQ(strays({"step_1.wav", "step_2.wav", "made"}), std::vector<std::string>{});
}

TEST_F(AtomicFileTest, OnlyRegularFilesAreRead) {
  std::string bytes;
  EXPECT_FALSE(readWholeFile("/dev/zero", bytes));
  EXPECT_FALSE(readWholeFile(dir.string(), bytes));
  ASSERT_EQ(::mkfifo(at("pipe").c_str(), 0644), 0);
  EXPECT_FALSE(readWholeFile(at("pipe"), bytes));
}

}  // namespace
}  // namespace vandrel
