// Every committed fuzzing seed, awkward file and regression file through the
// checks the fuzz targets run, so a reader that breaks on one of them fails
// the ordinary suite, fuzzer or not.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "FuzzChecks.h"
#include "util/AtomicFile.h"

namespace vandrel::fuzz {
namespace {

namespace fs = std::filesystem;

using Check = std::string (*)(std::string_view);

struct Folder {
  const char* path;  // under the source tree
  std::vector<Check> checks;
};

TEST(FuzzCorpus, EveryFileIsHandledSoundly) {
  const Folder folders[] = {
      {"fuzz/corpus/vdr", {checkVdr}},
      {"tests/data/vdr", {checkVdr}},
      {"tests/data/vdr/written", {checkVdr}},
      {"examples", {checkVdr}},
      {"fuzz/corpus/wav", {checkWave, checkAudioDecode}},
      {"tests/data/wav", {checkWave, checkAudioDecode}},
      {"fuzz/corpus/audio", {checkWave, checkAudioDecode}},
      {"tests/data/audio", {checkWave, checkAudioDecode}},
      {"fuzz/corpus/config", {checkConfig}},
      {"tests/data/config", {checkConfig}},
      {"fuzz/corpus/labels", {checkLabels}},
  };
  int files = 0;
  for (const Folder& folder : folders) {
    const fs::path dir = fs::path(VANDREL_SOURCE_DIR) / folder.path;
    ASSERT_TRUE(fs::is_directory(dir)) << dir;
    for (const auto& entry : fs::directory_iterator(dir)) {
      if (!entry.is_regular_file() || entry.path().extension() == ".py") continue;
      SCOPED_TRACE(entry.path().string());
      std::string bytes;
      ASSERT_TRUE(readWholeFile(entry.path().string(), bytes));
      for (Check check : folder.checks) EXPECT_EQ(check(bytes), "");
      ++files;
    }
  }
  EXPECT_GT(files, 80);
}

}  // namespace
}  // namespace vandrel::fuzz
