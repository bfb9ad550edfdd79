// The batch commands end to end: synth of many tables with its report,
// continua, copy synthesis and export (read back by Praat when it is
// installed).

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "CliFixture.h"
#include "audio/Wave.h"
#include "batch/CopySynthesis.h"
#include "document/VandrelDoc.h"
#include "document/VdrFile.h"
#include "engine/SineWave.h"
#include "engine/Synthesizer.h"

namespace vandrel {
namespace {

using namespace clitest;

using BatchCommandsTest = VandrelCliTest;

TEST_F(BatchCommandsTest, SynthOfManyTablesReportsLevelsAndFailsOnClip) {
  const std::string quiet = table("quiet", 20);
  const std::string loud = table("loud", 20, [](CVandrelDoc& d) {
    setRow(d, kAv, [](int) { return 87; });
    setRow(d, kGain, [](int) { return 87; });
  });
  const Result r = run({"synth", quiet, loud, "-o", file("out"), "--report", "--seed", "7"});
  ASSERT_EQ(r.code, 0) << r.err;
  const auto rows = lines(r.out);
  ASSERT_EQ(rows.size(), 3u);
  EXPECT_EQ(rows[0], "file\tduration_ms\trate_hz\tpeak_dbfs\trms_dbfs\tclipped");
  EXPECT_EQ(rows[1].substr(0, rows[1].find("\t", rows[1].find("11025"))),
            file("out/quiet.wav") + "\t200.0\t11025");
  EXPECT_EQ(rows[1].substr(rows[1].rfind('\t')), "\t0");
  EXPECT_NE(rows[2].substr(rows[2].rfind('\t')), "\t0");

  // One table alone with the same seed: the same bytes.
  ASSERT_EQ(run({"synth", quiet, "-o", file("alone.wav"), "--seed", "7", "--quiet"}).code, 0);
  EXPECT_EQ(bytes(file("alone.wav")), bytes(file("out/quiet.wav")));

  // The frication of a loud fricative alone would clip: it is written at a
  // -1 dBFS peak, the same samples the editor's Listen to plays; everything
  // is the normal output.
  const auto fricative = [](CVandrelDoc& d) { setRow(d, kAf, [](int) { return 80; }); };
  const std::string hiss = table("hiss", 20, fricative);
  const Result alone = run({"synth", hiss, "-o", file("fric.wav"), "--listen-to", "frication", "--report"});
  ASSERT_EQ(alone.code, 0) << alone.err;
  EXPECT_EQ(lines(alone.out)[0], "file\tduration_ms\trate_hz\tpeak_dbfs\trms_dbfs\tclipped\tturned_down_db");
  const std::string row = lines(alone.out)[1];
  EXPECT_GT(std::stod(row.substr(row.rfind('\t'))), 3.0);  // turned down, by as much as the editor says
  CVandrelDoc hissDoc;
  fricative(hissDoc);
  KlattState seeded;
  seeded.reset(1);
  SampleSet written;
  ASSERT_EQ(loadWaveFile(file("fric.wav"), written), WaveLoad::kOk);
  EXPECT_EQ(written.samples, synthesizeSolo(hissDoc, CKlattEngine::kFrication, seeded).set.samples);
  ASSERT_EQ(
      run({"synth", quiet, "-o", file("all.wav"), "--seed", "7", "--listen-to", "everything", "--quiet"})
          .code,
      0);
  EXPECT_EQ(bytes(file("all.wav")), bytes(file("out/quiet.wav")));

  const Result clip = run({"synth", loud, "-o", file("clip.wav"), "--fail-on-clip", "--quiet"});
  EXPECT_EQ(clip.code, 3);
  EXPECT_NE(clip.err.find("samples clipped (the files are written)"), std::string::npos) << clip.err;
  EXPECT_TRUE(std::filesystem::exists(file("clip.wav")));

  // A folder that cannot be made, a table that cannot be read: nothing written.
  const auto before = leftBehind();
  EXPECT_EQ(run({"synth", quiet, loud, "-o", quiet + "/sub"}).code, 1);
  EXPECT_EQ(run({"synth", quiet, file("missing.vdr"), "-o", file("more")}).code, 1);
  EXPECT_EQ(leftBehind(), before);
}

TEST_F(BatchCommandsTest, NoCommandWritesOverWhatItReads) {
  std::filesystem::create_directories(file("steps"));
  const std::string a = table("steps/step_01", 20);
  const std::string b = table("b", 20);
  ASSERT_EQ(run({"synth", a, "-o", file("a.wav"), "--quiet"}).code, 0);
  const struct {
    std::vector<std::string> args;
    std::string victim;
  } cases[] = {
      {{"synth", b, "-o", b}, b},
      {{"copy", file("a.wav"), "-o", file("./a.wav")}, file("a.wav")},
      {{"export", b, "--to", "tsv", "-o", b}, b},
      {{"continuum", a, b, "--steps", "3", "-o", file("steps")}, a},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.args[0]);
    const std::string before = bytes(c.victim);
    const Result r = run(c.args);
    EXPECT_EQ(r.code, 2) << r.err;
    EXPECT_NE(r.err.find(" would be written over "), std::string::npos) << r.err;
    EXPECT_EQ(bytes(c.victim), before);
  }
}

TEST_F(BatchCommandsTest, ContinuumStepsShareTheirNoiseAndTheManifestSaysWhatTheFilesHold) {
  const auto breathy = [](CVandrelDoc& d) { setRow(d, kAh, [](int) { return 45; }); };
  const std::string a = table("a", 20, breathy);
  const std::string b = table("b", 20, [&](CVandrelDoc& d) {
    breathy(d);
    setRow(d, kF1, [](int) { return 700; });
    setRow(d, kF2, [](int c) { return 1500 - 20 * c; });  // differs most at the last frame
  });
  const Result r = run({"continuum", a, b, "--steps", "5", "-o", file("steps"), "--wav", "--scale", "bark"});
  ASSERT_EQ(r.code, 0) << r.err;
  EXPECT_EQ(r.out, "wrote 5 steps with WAVs to " + file("steps") + ", stepping 2 rows: f2 f1\n");

  // The ends synthesize as the tables themselves do, noise and all.
  ASSERT_EQ(run({"synth", a, b, "-o", file("ends"), "--quiet"}).code, 0);
  EXPECT_EQ(bytes(file("steps/step_01.wav")), bytes(file("ends/a.wav")));
  EXPECT_EQ(bytes(file("steps/step_05.wav")), bytes(file("ends/b.wav")));

  // Even steps in bark (Traunmueller), worked out by hand: 1500 -> 1120 Hz and 500 -> 700 Hz.
  EXPECT_EQ(bytes(file("steps/manifest.tsv")),
            "step\tfile\tf2@190ms\tf1@0ms\n1\tstep_01.vdr\t1500\t500\n2\tstep_02.vdr\t1396\t547\n"
            "3\tstep_03.vdr\t1299\t596\n4\tstep_04.vdr\t1207\t647\n5\tstep_05.vdr\t1120\t700\n");
  const VdrReadResult held = readVdrFile(file("steps/step_03.vdr"), ParameterSet{});
  ASSERT_TRUE(held.ok()) << held.detail;
  EXPECT_EQ(held.content.table.value(kF2, 19), 1299);
  EXPECT_EQ(held.content.table.value(kF1, 0), 596);

  // Ends of different timing: refused, and no folder is left.
  const std::string longer = table("longer", 21);
  const Result bad = run({"continuum", a, longer, "--steps", "3", "-o", file("bad/deeper")});
  EXPECT_EQ(bad.code, 1);
  EXPECT_NE(bad.err.find("(20 frames of 10 ms against 21 frames of 10 ms)"), std::string::npos) << bad.err;
  EXPECT_FALSE(std::filesystem::exists(file("bad")));
}

TEST_F(BatchCommandsTest, GridWritesEveryCombinationWithOneNoiseAndRefusesImpossibleSteps) {
  const std::string base = table("base", 30, [](CVandrelDoc& d) {
    setRow(d, kAh, [](int) { return 45; });
    setRow(d, kF2, [](int c) { return 1000 + 20 * c; });  // a diphthong: 1300 at 150 ms
  });
  const std::vector<std::string> args{"grid",          base,      "--vary", "f1:300:800:3", "--vary",
                                      "f2:900:2100:4", "--scale", "bark",   "--wav",        "-o",
                                      file("grid")};
  const Result r = run(args);
  ASSERT_EQ(r.code, 0) << r.err;
  EXPECT_EQ(r.out, "wrote 12 tables with WAVs to " + file("grid") + ": f1 x3 f2 x4\n");
  const auto manifest = lines(bytes(file("grid/manifest.tsv")));
  ASSERT_EQ(manifest.size(), 13u);
  EXPECT_EQ(manifest[0], "file\tf1_step\tf2_step\tf1@150ms\tf2@150ms");
  EXPECT_EQ(manifest[7], "grid_02_03.vdr\t2\t3\t525\t1602");
  const VdrReadResult held = readVdrFile(file("grid/grid_02_03.vdr"), ParameterSet{});
  ASSERT_TRUE(held.ok()) << held.detail;
  EXPECT_EQ(held.content.table.value(kF2, 0), 1302);
  EXPECT_EQ(held.content.table.value(kF1, 29), 525);

  // Every file has the noise a table synthesized alone (by another run) has.
  ASSERT_EQ(run({"synth", file("grid/grid_02_03.vdr"), "-o", file("alone.wav"), "--quiet"}).code, 0);
  EXPECT_EQ(bytes(file("alone.wav")), bytes(file("grid/grid_02_03.wav")));

  // Refused before anything is written.
  const auto before = leftBehind();
  const struct {
    std::vector<std::string> args;
    const char* says;
  } refusals[] = {
      {{"--vary", "f9:300:800:3"}, "no parameter is called 'f9'"},
      {{"--vary", "f2:900:2950:3"},
       "f2 = 2950 at frame 15 would take frame 29 to 3230, above f2's limit 3000"},
      {{"--vary", "f1:300:800:3", "--at", "300"}, "--at 300 ms lies beyond the table's 30 frames of 10 ms"},
  };
  for (const auto& c : refusals) {
    std::vector<std::string> bad{"grid", base, "-o", file("bad")};
    bad.insert(bad.end(), c.args.begin(), c.args.end());
    const Result refused = run(bad);
    EXPECT_EQ(refused.code, 2) << refused.err;
    EXPECT_NE(refused.err.find(c.says), std::string::npos) << refused.err;
  }
  EXPECT_EQ(leftBehind(), before);
}

TEST_F(BatchCommandsTest, SineWaveReplicaReplacesTheSynthesizersSound) {
  const std::string vowel = table("vowel", 20);
  ASSERT_EQ(run({"synth", vowel, "-o", file("sws.wav"), "--sinewave", "4", "--report"}).code, 0);
  SampleSet replica;
  ASSERT_EQ(loadWaveFile(file("sws.wav"), replica), WaveLoad::kOk);
  CVandrelDoc doc;
  doc.replaceTable(vandrel::FrameTable(20, doc.params()));
  EXPECT_EQ(replica.samples, synthesizeSineWave(doc, 4).samples);
}

TEST_F(BatchCommandsTest, CopyWritesATableTheEditorReadsAndSynthesizes) {
  const std::string src = table("src", 40, [](CVandrelDoc& d) {
    setRow(d, kF0, [](int c) { return 1000 + 10 * c; });
    setRow(d, kF2, [](int c) { return 1100 + 15 * c; });
  });
  ASSERT_EQ(run({"synth", src, "-o", file("src.wav"), "--quiet"}).code, 0);
  for (const char* rate : {"11025", "22050"}) {
    SCOPED_TRACE(rate);
    const Result r = run({"copy", file("src.wav"), "-o", file("copy.vdr"), "--rate", rate});
    ASSERT_EQ(r.code, 0) << r.err;
    const auto out = lines(r.out);
    ASSERT_EQ(out.size(), 3 + copiedRows().size());
    EXPECT_EQ(out[0].substr(0, out[0].find(" voiced")).substr(0, 40),
              ("wrote " + file("copy.vdr")).substr(0, 40));
    EXPECT_EQ(out[1].substr(0, 5), "copy ");
    EXPECT_EQ(out[2], "row\tanchors");
    EXPECT_EQ(out[3].substr(0, 3), "f0\t");

    CVandrelDoc doc;
    const VdrReadResult read = readVdrFile(file("copy.vdr"), doc.params());
    ASSERT_TRUE(read.ok()) << read.detail;
    loadVdr(doc, read.content);
    EXPECT_EQ(doc.table().columns(), 40);
    EXPECT_GT(doc.table().anchorCount(), 0);
    KlattState state;
    ASSERT_TRUE(synthesize(doc, {}, state));
    EXPECT_EQ(doc.synthesized().sampleRate, std::stod(rate));
    EXPECT_NEAR(doc.table().value(kF0, 20), 1200, 60);
  }
}

TEST_F(BatchCommandsTest, ExportGoesOnInPraatAndInR) {
  const std::string src = table(
      "src", 30, [](CVandrelDoc& d) { setRow(d, kF0, [](int c) { return c < 25 ? 1000 + 40 * c : 0; }); });
  ASSERT_EQ(run({"export", src, "--to", "tsv", "-o", file("shown.tsv"), "--quiet"}).code, 0);
  ASSERT_EQ(run({"export", src, "--to", "tsv", "-o", file("all.tsv"), "--all", "--quiet"}).code, 0);
  EXPECT_EQ(lines(bytes(file("shown.tsv"))).size(), 1u + 30 * 31);
  const auto all = lines(bytes(file("all.tsv")));
  ASSERT_EQ(all.size(), 1u + 30 * 48);
  EXPECT_EQ(all[48 * 3 + 1], "30\tf0\t1120");

  const Result r = run({"export", src, "--to", "klattgrid", "-o", file("src.KlattGrid")});
  ASSERT_EQ(r.code, 0) << r.err;
  EXPECT_EQ(r.out, "wrote " + file("src.KlattGrid") + ": 30 frames of 10 ms as a KlattGrid\n");
  if (!std::filesystem::exists("/usr/bin/praat")) GTEST_SKIP() << "praat is not installed";

  // Praat reads it back and synthesizes it: the table's duration, and its
  // pitch at the middles of frames 0, 10 and 24 is f0 / 10. Its own vowel
  // ("Create KlattGrid from vowel") has the voicing amplitude the table's
  // normal vowel (av 60, the default) is given.
  std::FILE* script = std::fopen(file("read.praat").c_str(), "w");
  ASSERT_NE(script, nullptr);
  std::fprintf(script,
               "grid = Read from file: \"%s\"\n"
               "pitch = Extract pitch tier\n"
               "duration = Get total duration\n"
               "appendInfo: duration\n"
               "times# = {0.005, 0.105, 0.245}\n"
               "for k to 3\n"
               "  f = Get value at time: times#[k]\n"
               "  appendInfo: \" \", f\n"
               "endfor\n"
               "selectObject: grid\n"
               "sound = To Sound\n"
               "duration = Get total duration\n"
               "appendInfoLine: \" \", duration\n"
               "selectObject: grid\n"
               "Extract voicing amplitude tier\n"
               "ours = Get value at time: 0.105\n"
               "Create KlattGrid from vowel: \"a\", 0.3, 125, 800, 50, 1200, 50, 0, 80, 2300, 100, 0.05\n"
               "Extract voicing amplitude tier\n"
               "praats = Get value at time: 0.15\n"
               "appendInfoLine: ours - praats\n",
               file("src.KlattGrid").c_str());
  std::fclose(script);
  const Result praat = runProgram("/usr/bin/praat", {"--run", file("read.praat")});
  ASSERT_EQ(praat.code, 0) << praat.err;
  EXPECT_EQ(praat.out, "0.3 100 140 196 0.3\n0\n");
}

}  // namespace
}  // namespace vandrel
