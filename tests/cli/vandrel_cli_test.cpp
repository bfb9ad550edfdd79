// vandrel-cli's misuse, its failures and the commands that read and show
// files: synth of the blank document, info, analyse.

#include <gtest/gtest.h>

#include <span>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "audio/Wave.h"
#include "document/VandrelDoc.h"
#include "engine/Synthesizer.h"
#include "util/AtomicFile.h"

#include "CliFixture.h"

namespace vandrel {
namespace {

using namespace clitest;

TEST_F(VandrelCliTest, HelpGoesToStandardOutputAndMisuseToStandardErrorWithTwo) {
  // Help: exit 0, nothing on standard error; misuse: exit 2, nothing on standard output.
  using Case = std::pair<std::vector<std::string>, const char*>;
  const Case help[] = {
      {{"--help"}, "usage: vandrel-cli <command>"},
      {{"help"}, "usage: vandrel-cli <command>"},
      {{"synth", "-h"}, "usage: vandrel-cli synth IN.vdr"},
      {{"info", "x.vdr", "--help"}, "usage: vandrel-cli info FILE"},  // help wins wherever it stands
      {{"analyse", "--help"}, "usage: vandrel-cli analyse AUDIO"},
      {{"copy", "--help"}, "usage: vandrel-cli copy AUDIO"},
      {{"continuum", "-h"}, "usage: vandrel-cli continuum A.vdr B.vdr"},
      {{"export", "--help"}, "usage: vandrel-cli export IN.vdr"},
      {{"import", "--help"}, "usage: vandrel-cli import FILE"},
      {{"grid", "--help"}, "usage: vandrel-cli grid BASE.vdr"},
  };
  const Case misuse[] = {
      {{}, "usage: vandrel-cli <command>"},
      {{"play"}, "vandrel-cli: unknown command 'play'\nusage:"},
      {{"info"}, "vandrel-cli info: name one file (try --help)"},
      {{"synth", "--default"}, "vandrel-cli synth: name the output file with -o OUT.wav"},
      {{"synth", "-o", "x.wav"}, "vandrel-cli synth: name the table to synthesize"},
      {{"synth", "a.vdr", "--default", "-o", "x.wav"}, "vandrel-cli synth: name the table"},
      {{"synth", "--default", "-o"}, "vandrel-cli synth: -o needs a value"},
      {{"synth", "--default", "--seed", "-1", "-o", "x.wav"}, "vandrel-cli synth: --seed wants"},
      {{"synth", "--default", "--loud", "-o", "x.wav"}, "vandrel-cli synth: unknown option or file '--loud'"},
      {{"synth", "--default", "--listen-to", "noise", "-o", "x.wav"},
       "vandrel-cli synth: --listen-to wants voicing"},
      {{"analyse"}, "vandrel-cli analyse: name the audio file"},
      {{"analyse", "a.wav", "b.wav"}, "vandrel-cli analyse: one audio file at a time"},
      {{"analyse", "a.wav", "--fmin", "5x"}, "vandrel-cli analyse: --fmin wants a whole number, not '5x'"},
      {{"analyse", "a.wav", "--fmin", "300", "--fmax", "300"}, "vandrel-cli analyse: --fmin must be"},
      {{"analyse", "a.wav", "--size", "100"}, "vandrel-cli analyse: --size must be 32, 64, 128, 256 or 512"},
      {{"analyse", "a.wav", "--preemph", "1.5"}, "vandrel-cli analyse: --preemph wants a number from 0 to 1"},
      {{"analyse", "a.wav", "--lpc-order", "1"}, "vandrel-cli analyse: --lpc-order must be 2 or more"},
      {{"analyse", "a.wav", "--method", "yin"}, "vandrel-cli analyse: --method wants cepstral or ac"},
      {{"synth", "x/a.vdr", "y/a.vdr", "-o", "d"},
       "vandrel-cli synth: two tables would both be written to d/a.wav"},
      {{"copy"}, "vandrel-cli copy: name the recording to copy"},
      {{"copy", "a.wav"}, "vandrel-cli copy: name the table to write with -o OUT.vdr"},
      {{"copy", "a.wav", "-o", "x.vdr", "--interval", "0"}, "vandrel-cli copy: --interval wants a whole"},
      {{"copy", "a.wav", "-o", "x.vdr", "--rate", "16000"}, "vandrel-cli copy: --rate wants 11025 or 22050"},
      {{"copy", "a.wav", "-o", "x.vdr", "--tolerances", "2,20,40"},
       "vandrel-cli copy: --tolerances wants four"},
      {{"continuum", "a.vdr", "-o", "d"}, "vandrel-cli continuum: name the two ends"},
      {{"continuum", "a.vdr", "b.vdr", "-o", "d"}, "vandrel-cli continuum: say how many files"},
      {{"continuum", "a.vdr", "b.vdr", "--steps", "1"},
       "vandrel-cli continuum: --steps wants a whole number"},
      {{"continuum", "a.vdr", "b.vdr", "--scale", "mel"},
       "vandrel-cli continuum: --scale wants linear or bark"},
      {{"continuum", "a.vdr", "b.vdr", "--steps", "3", "-o", "d", "--only", "f1,zz"},
       "vandrel-cli continuum: --only: no parameter is called 'zz'"},
      {{"grid", "a.vdr", "-o", "d"}, "vandrel-cli grid: say what to vary"},
      {{"grid", "a.vdr", "--vary", "f2:900:2100", "-o", "d"},
       "vandrel-cli grid: --vary 'f2:900:2100' is not"},
      {{"export", "a.vdr", "-o", "x"}, "vandrel-cli export: --to wants klattgrid, klp or tsv"},
      {{"export", "a.vdr", "--to", "wav", "-o", "x"},
       "vandrel-cli export: --to wants klattgrid, klp or tsv, not 'wav'"},
      {{"export", "a.vdr", "--to", "tsv"}, "vandrel-cli export: name the file to write with -o OUT"},
  };
  for (const bool misused : {false, true}) {
    for (const auto& [args, text] : misused ? std::span<const Case>(misuse) : std::span<const Case>(help)) {
      std::string all;
      for (const auto& a : args) all += a + ' ';
      SCOPED_TRACE(all);
      const Result r = run(args);
      EXPECT_EQ(r.code, misused ? 2 : 0);
      EXPECT_EQ(startOf(misused ? r.err : r.out, text), text);
      EXPECT_EQ(misused ? r.out : r.err, "");
    }
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

  CVandrelDoc doc;
  KlattState state;
  state.reset(1);
  ASSERT_TRUE(synthesize(doc, {}, state));
  SampleSet written;
  ASSERT_EQ(loadWaveFile(file("blank.wav"), written), WaveLoad::kOk);
  EXPECT_EQ(written.sampleRate, 11025.0);
  EXPECT_EQ(written.samples, doc.synthesized().samples);

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
}

TEST_F(VandrelCliTest, FailuresExitWithOneAndLeaveNoOutputFile) {
  const std::string wav = std::string(VANDREL_TEST_DATA) + "/wav/odd_chunk.wav";  // 8 samples
  const auto vdr = [](const char* name) { return std::string(VANDREL_TEST_DATA) + "/vdr/" + name; };
  struct Case {
    std::vector<std::string> args;
    const char* err;
  };
  const Case cases[] = {
      {{"synth", file("missing.vdr"), "-o", file("out.wav")}, "vandrel-cli synth: "},
      {{"synth", wav, "-o", file("out.wav")}, " is an audio file, not a parameter table"},
      {{"synth", "--default", "-o", file("no/such/folder/out.wav")}, "vandrel-cli synth: Cannot save "},
      {{"info", file("missing.wav")}, "vandrel-cli info: "},
      {{"info", vdr("text.vdr")}, ": File type not recorgnized.\n  ("},  // the editor's own slip, and why
      {{"info", "/dev/zero"},  // read to its end, it would have none
       "vandrel-cli info: /dev/zero: Cannot open /dev/zero: it is not a regular file.\n"},
      {{"synth", "/dev/zero", "-o", file("out.wav")},
       "vandrel-cli synth: /dev/zero: Cannot open /dev/zero: it is not a regular file.\n"},
      {{"info", std::string(VANDREL_TEST_DATA) + "/wav/no_data.wav"},
       "(a WAV file without a readable \"data\" chunk, and the audio decoder cannot read it)"},
      {{"analyse", file("missing.wav"), "-o", file("out.tsv")}, "vandrel-cli analyse: "},
      {{"analyse", wav, "-o", file("out.tsv")}, "too short to analyse (8 samples; a pitch track needs 1100)"},
      {{"copy", file("missing.wav"), "-o", file("out.vdr")}, "vandrel-cli copy: "},
      {{"copy", vdr("good_sel.vdr"), "-o", file("out.vdr")}, ": File type not recorgnized."},
      {{"copy", wav, "-o", file("out.vdr")}, "the recording is too short to copy"},
      {{"export", file("missing.vdr"), "--to", "tsv", "-o", file("out.tsv")}, "vandrel-cli export: "},
      {{"export", wav, "--to", "tsv", "-o", file("out.tsv")}, " is an audio file, not a parameter table"},
      {{"continuum", vdr("good_sel.vdr"), file("missing.vdr"), "--steps", "3", "-o", file("steps")},
       "vandrel-cli continuum: "},
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
  // The voiced rows, f0 and five formants near the vowel's, then any bandwidths.
  const auto voicedRows = [&](const std::vector<std::string>& table, int bandwidths) {
    int voiced = 0;
    for (std::size_t i = 1; i < table.size(); ++i) {
      SCOPED_TRACE(table[i]);
      std::istringstream in(table[i]);
      double t = 0, v[11] = {};
      in >> t;
      for (int k = 0; k < 6 + bandwidths; ++k) in >> v[k];
      EXPECT_FALSE(in.fail());
      EXPECT_EQ(t, 10.0 * static_cast<double>(i - 1));
      if (v[0] == 0) continue;
      ++voiced;
      // The tracked estimate is held to 5%, as its quality figure is.
      const double share = bandwidths > 0 ? 0.05 : 0.03;
      for (int k = 0; k < 6; ++k) EXPECT_NEAR(v[k], want[k], share * want[k]) << "column " << k;
      for (int k = 6; k < 6 + bandwidths; ++k) EXPECT_GT(v[k], 0.0);
    }
    return voiced;
  };
  EXPECT_GE(voicedRows(rows, 0), static_cast<int>(rows.size()) - 4);

  // The autocorrelation pitch and the tracked formants, with bandwidths,
  // find the same vowel (their 60 ms window leaves the last frames short).
  const Result ac = run({"analyse", file("blank.wav"), "--method", "ac", "--tracked"});
  ASSERT_EQ(ac.code, 0) << ac.err;
  const auto acRows = lines(ac.out);
  ASSERT_EQ(acRows.size(), rows.size());
  EXPECT_EQ(acRows[0], "time_ms\tf0\tf1\tf2\tf3\tf4\tf5\tb1\tb2\tb3\tb4\tb5");
  EXPECT_GE(voicedRows(acRows, 5), static_cast<int>(rows.size()) / 2);

  // One track alone to standard output.
  const Result pitch = run({"analyse", file("blank.wav"), "--pitch"});
  ASSERT_EQ(pitch.code, 0);
  EXPECT_EQ(lines(pitch.out).size(), rows.size());
  EXPECT_EQ(pitch.out.substr(0, pitch.out.find('\n')), "time_ms\tf0");
}

}  // namespace
}  // namespace vandrel
