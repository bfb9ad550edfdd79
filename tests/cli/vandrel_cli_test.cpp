// vandrel-cli as a script meets it: the built program run in a child process,
// its exit code, what it prints on each stream, and the files it leaves.

#include <gtest/gtest.h>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "audio/Wave.h"
#include "document/VandrelDoc.h"
#include "engine/Synthesizer.h"
#include "util/AtomicFile.h"

extern char** environ;

namespace vandrel {
namespace {

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
  Result run(const std::vector<std::string>& args) const {
    const std::string out = file(".stdout"), err = file(".stderr");
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addchdir_np(&actions, dir.c_str());
    posix_spawn_file_actions_addopen(&actions, 1, out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    posix_spawn_file_actions_addopen(&actions, 2, err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    std::vector<std::string> all{VANDREL_CLI};
    all.insert(all.end(), args.begin(), args.end());
    std::vector<char*> argv;
    for (auto& a : all) argv.push_back(a.data());
    argv.push_back(nullptr);
    Result r;
    pid_t pid = 0;
    if (posix_spawn(&pid, VANDREL_CLI, &actions, nullptr, argv.data(), environ) == 0) {
      int status = 0;
      waitpid(pid, &status, 0);
      r.code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    posix_spawn_file_actions_destroy(&actions);
    readWholeFile(out, r.out);
    readWholeFile(err, r.err);
    fs::remove(out);
    fs::remove(err);
    return r;
  }

  // The files a run left in the test's folder.
  std::vector<std::string> leftBehind() const {
    std::vector<std::string> names;
    for (const auto& e : fs::directory_iterator(dir)) names.push_back(e.path().filename().string());
    return names;
  }
};

std::vector<std::string> lines(const std::string& text) {
  std::vector<std::string> out;
  std::istringstream in(text);
  for (std::string l; std::getline(in, l);) out.push_back(l);
  return out;
}

// The first strlen(prefix) characters of `s`; all of it for an empty prefix,
// which then says the stream must stay empty.
std::string startOf(const std::string& s, const char* prefix) {
  return *prefix != '\0' ? s.substr(0, std::strlen(prefix)) : s;
}

TEST_F(VandrelCliTest, HelpGoesToStandardOutputAndMisuseToStandardErrorWithTwo) {
  struct Case {
    std::vector<std::string> args;
    int code;
    const char* outStarts;
    const char* errStarts;
  };
  const Case cases[] = {
      {{"--help"}, 0, "usage: vandrel-cli <command>", ""},
      {{"help"}, 0, "usage: vandrel-cli <command>", ""},
      {{"synth", "-h"}, 0, "usage: vandrel-cli synth IN.vdr", ""},
      {{"info", "x.vdr", "--help"}, 0, "usage: vandrel-cli info FILE", ""},  // help wins wherever it stands
      {{"analyse", "--help"}, 0, "usage: vandrel-cli analyse AUDIO", ""},
      {{}, 2, "", "usage: vandrel-cli <command>"},
      {{"play"}, 2, "", "vandrel-cli: unknown command 'play'\nusage:"},
      {{"info"}, 2, "", "vandrel-cli info: name one file (try --help)"},
      {{"info", "a", "b"}, 2, "", "vandrel-cli info: name one file"},
      {{"synth", "--default"}, 2, "", "vandrel-cli synth: name the output file with -o OUT.wav"},
      {{"synth", "-o", "x.wav"}, 2, "", "vandrel-cli synth: name the table to synthesize"},
      {{"synth", "a.vdr", "--default", "-o", "x.wav"}, 2, "", "vandrel-cli synth: name the table"},
      {{"synth", "--default", "-o"}, 2, "", "vandrel-cli synth: -o needs a value"},
      {{"synth", "--default", "--seed", "-1", "-o", "x.wav"}, 2, "", "vandrel-cli synth: --seed wants"},
      {{"synth", "--default", "--seed", "4294967296", "-o", "x.wav"},
       2,
       "",
       "vandrel-cli synth: --seed wants"},
      {{"synth", "--default", "--loud", "-o", "x.wav"},
       2,
       "",
       "vandrel-cli synth: unknown option or file '--loud'"},
      {{"analyse"}, 2, "", "vandrel-cli analyse: name the audio file"},
      {{"analyse", "a.wav", "b.wav"}, 2, "", "vandrel-cli analyse: one audio file at a time"},
      {{"analyse", "a.wav", "--fmin"}, 2, "", "vandrel-cli analyse: --fmin needs a value"},
      {{"analyse", "a.wav", "--fmin", "5x"},
       2,
       "",
       "vandrel-cli analyse: --fmin wants a whole number, not '5x'"},
      {{"analyse", "a.wav", "--fmin", "300", "--fmax", "300"}, 2, "", "vandrel-cli analyse: --fmin must be"},
      {{"analyse", "a.wav", "--size", "100"},
       2,
       "",
       "vandrel-cli analyse: --size must be 32, 64, 128, 256 or 512"},
      {{"analyse", "a.wav", "--preemph", "1.5"},
       2,
       "",
       "vandrel-cli analyse: --preemph wants a number from 0 to 1"},
      {{"analyse", "a.wav", "--lpc-order", "1"}, 2, "", "vandrel-cli analyse: --lpc-order must be 2 or more"},
      {{"analyse", "a.wav", "--step-ms", "0"}, 2, "", "vandrel-cli analyse: --step-ms must be 1 or more"},
      {{"analyse", "a.wav", "--colour", "red"}, 2, "", "vandrel-cli analyse: unknown option '--colour'"},
      {{"analyse", "a.wav", "--method", "yin"}, 2, "", "vandrel-cli analyse: --method wants cepstral or ac"},
  };
  for (const Case& c : cases) {
    std::string all;
    for (const auto& a : c.args) all += a + ' ';
    SCOPED_TRACE(all);
    const Result r = run(c.args);
    EXPECT_EQ(r.code, c.code);
    EXPECT_EQ(startOf(r.out, c.outStarts), c.outStarts);
    EXPECT_EQ(startOf(r.err, c.errStarts), c.errStarts);
  }
  EXPECT_TRUE(leftBehind().empty());
}

// The blank document is 200 ms of defaults at 11025 Hz: 2205 samples, the
// same ones the editor's synthesis gives from a freshly started noise source.
TEST_F(VandrelCliTest, SynthOfTheBlankDocumentWritesTheEditorsSamples) {
  const Result r = run({"synth", "--default", "-o", file("blank.wav")});
  ASSERT_EQ(r.code, 0) << r.err;
  EXPECT_EQ(r.err, "");
  EXPECT_EQ(r.out.substr(0, r.out.find(", peak")),
            "wrote " + file("blank.wav") + ": 11025 Hz, 2205 samples, 200.0 ms");

  std::string bytes;
  ASSERT_TRUE(readWholeFile(file("blank.wav"), bytes));
  ASSERT_EQ(bytes.size(), 44u + 2 * 2205u);
  WaveChunks chunks;
  ASSERT_EQ(CWave::read(bytes, chunks), 0);
  EXPECT_EQ(chunks.dataLength, 2 * 2205.0);
  EXPECT_EQ(chunks.format.samplesPerSec, 11025u);

  CVandrelDoc doc;
  KlattState state;
  state.reset(1);
  ASSERT_TRUE(synthesize(doc, {}, state));
  SampleSet written;
  ASSERT_EQ(loadWaveFile(file("blank.wav"), written), WaveLoad::kOk);
  EXPECT_EQ(written.samples, doc.synthesized.samples);

  // Another seed, another noise; --quiet says nothing.
  const Result seeded = run({"synth", "--default", "--seed", "2", "--quiet", "-o", file("seeded.wav")});
  EXPECT_EQ(seeded.code, 0);
  EXPECT_EQ(seeded.out + seeded.err, "");
  SampleSet other;
  ASSERT_EQ(loadWaveFile(file("seeded.wav"), other), WaveLoad::kOk);
  EXPECT_NE(other.samples, written.samples);
  EXPECT_EQ(other.samples.size(), written.samples.size());
}

TEST_F(VandrelCliTest, InfoDescribesAParameterFileAndTheWaveSynthWrote) {
  const std::string vdr = std::string(VANDREL_TEST_DATA) + "/vdr/good_sel.vdr";
  const Result p = run({"info", vdr});
  ASSERT_EQ(p.code, 0) << p.err;
  const auto pl = lines(p.out);
  ASSERT_GE(pl.size(), 8u);
  EXPECT_EQ(pl[0], vdr + ": parameter file (selected parameters)");
  EXPECT_EQ(pl[1], "  timing:   50 ms, 5 frames of 10 ms, sample rate 11025 Hz");
  EXPECT_EQ(pl[2], "  method:   Cascade_Parallel");
  EXPECT_EQ(pl[3].substr(0, 20), "  written:  31: f0 a");
  EXPECT_EQ(pl[5], "  anchors:  3");
  EXPECT_EQ(pl[6], "    f0    at frames 0 4");
  EXPECT_EQ(pl[7], "    f1    at frames 2");

  ASSERT_EQ(run({"synth", "--default", "--quiet", "-o", file("blank.wav")}).code, 0);
  const Result a = run({"info", file("blank.wav")});
  ASSERT_EQ(a.code, 0) << a.err;
  const auto al = lines(a.out);
  ASSERT_EQ(al.size(), 5u);
  EXPECT_EQ(al[0], file("blank.wav") + ": audio file (16-bit mono PCM WAV)");
  EXPECT_EQ(al[1], "  rate:     11025 Hz");
  EXPECT_EQ(al[2], "  samples:  2205");
  EXPECT_EQ(al[3], "  duration: 200.0 ms");

  // What no reader takes gets the editor's own message (misspelt as it
  // always was) and the reason.
  const Result bad = run({"info", std::string(VANDREL_TEST_DATA) + "/vdr/text.vdr"});
  EXPECT_EQ(bad.code, 1);
  EXPECT_EQ(bad.out, "");
  EXPECT_NE(bad.err.find(": File type not recorgnized.\n  ("), std::string::npos) << bad.err;
}

TEST_F(VandrelCliTest, FailuresExitWithOneAndLeaveNoOutputFile) {
  const std::string wav = std::string(VANDREL_TEST_DATA) + "/wav/odd_chunk.wav";  // 8 samples
  struct Case {
    std::vector<std::string> args;
    const char* err;
  };
  const Case cases[] = {
      {{"synth", file("missing.vdr"), "-o", file("out.wav")}, "vandrel-cli synth: "},
      {{"synth", wav, "-o", file("out.wav")}, " is an audio file, not a parameter table"},
      {{"synth", "--default", "-o", file("no/such/folder/out.wav")}, "vandrel-cli synth: Cannot save "},
      {{"info", file("missing.wav")}, "vandrel-cli info: "},
      {{"analyse", file("missing.wav"), "-o", file("out.tsv")}, "vandrel-cli analyse: "},
      {{"analyse", wav, "-o", file("out.tsv")}, "too short to analyse (8 samples; a pitch track needs 1100)"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.args[0] + " " + c.args[1]);
    const Result r = run(c.args);
    EXPECT_EQ(r.code, 1);
    EXPECT_EQ(r.out, "");
    EXPECT_NE(r.err.find(c.err), std::string::npos) << r.err;
    EXPECT_TRUE(leftBehind().empty());
  }
}

// The blank document's vowel analysed back: f0 100 Hz wherever it is voiced,
// and five formants near the defaults 500, 1500, 2500, 3250 and 3700 Hz.
TEST_F(VandrelCliTest, AnalyseFindsTheBlankDocumentsPitchAndFormants) {
  ASSERT_EQ(run({"synth", "--default", "--quiet", "-o", file("blank.wav")}).code, 0);
  const Result r = run({"analyse", file("blank.wav"), "-o", file("tracks.tsv")});
  ASSERT_EQ(r.code, 0) << r.err;
  EXPECT_EQ(r.out + r.err, "");
  std::string tsv;
  ASSERT_TRUE(readWholeFile(file("tracks.tsv"), tsv));
  const auto rows = lines(tsv);
  ASSERT_GE(rows.size(), 10u);
  EXPECT_EQ(rows[0], "time_ms\tf0\tf1\tf2\tf3\tf4\tf5");
  const double want[] = {100, 500, 1500, 2500, 3250, 3700};
  int voiced = 0;
  for (std::size_t i = 1; i < rows.size(); ++i) {
    SCOPED_TRACE(rows[i]);
    std::istringstream in(rows[i]);
    double t = 0, v[6] = {};
    in >> t >> v[0] >> v[1] >> v[2] >> v[3] >> v[4] >> v[5];
    ASSERT_FALSE(in.fail());
    EXPECT_EQ(t, 10.0 * static_cast<double>(i - 1));
    if (v[0] == 0) continue;
    ++voiced;
    for (int k = 0; k < 6; ++k) EXPECT_NEAR(v[k], want[k], 0.03 * want[k]) << "column " << k;
  }
  EXPECT_GE(voiced, static_cast<int>(rows.size()) - 4);

  // The autocorrelation pitch and the tracked formants, with bandwidths,
  // find the same vowel (their 60 ms window leaves the last frames short).
  const Result ac = run({"analyse", file("blank.wav"), "--method", "ac", "--tracked"});
  ASSERT_EQ(ac.code, 0) << ac.err;
  const auto acRows = lines(ac.out);
  ASSERT_EQ(acRows.size(), rows.size());
  EXPECT_EQ(acRows[0], "time_ms\tf0\tf1\tf2\tf3\tf4\tf5\tb1\tb2\tb3\tb4\tb5");
  int acVoiced = 0;
  for (std::size_t i = 1; i < acRows.size(); ++i) {
    SCOPED_TRACE(acRows[i]);
    std::istringstream in(acRows[i]);
    double t = 0, v[6] = {}, b[5] = {};
    in >> t >> v[0] >> v[1] >> v[2] >> v[3] >> v[4] >> v[5] >> b[0] >> b[1] >> b[2] >> b[3] >> b[4];
    ASSERT_FALSE(in.fail());
    if (v[0] == 0) continue;
    ++acVoiced;
    for (int k = 0; k < 6; ++k) EXPECT_NEAR(v[k], want[k], 0.03 * want[k]) << "column " << k;
    for (double w : b) EXPECT_GT(w, 0.0);
  }
  EXPECT_GE(acVoiced, static_cast<int>(rows.size()) / 2);

  // One track alone to standard output.
  const Result pitch = run({"analyse", file("blank.wav"), "--pitch"});
  ASSERT_EQ(pitch.code, 0);
  EXPECT_EQ(lines(pitch.out).size(), rows.size());
  EXPECT_EQ(pitch.out.substr(0, pitch.out.find('\n')), "time_ms\tf0");
}

}  // namespace
}  // namespace vandrel
