// The formats phoneticians exchange, end to end: labels that travel with a
// copy and align a continuum, klsyn .klp files and Praat KlattGrids in and
// out (a KlattGrid from Praat itself when it is installed).

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "CliFixture.h"
#include "document/VandrelDoc.h"
#include "document/VdrFile.h"
#include "labels/TextGrid.h"

namespace vandrel {
namespace {

using namespace clitest;

class ExchangeCommandsTest : public VandrelCliTest {
 protected:
  // Interval tier "phones" through the given boundaries (s).
  void labels(const std::string& name, const std::vector<double>& at) {
    Labels g;
    ASSERT_EQ(addTier(g, "phones", false, at.front(), at.back()), "");
    for (std::size_t k = 1; k + 1 < at.size(); ++k) ASSERT_EQ(addBoundary(g, 0, at[k]), "");
    for (std::size_t k = 0; k + 1 < at.size(); ++k)
      ASSERT_EQ(setLabelText(g, 0, k, "s" + std::to_string(k)), "");
    ASSERT_EQ(saveTextGridFile(file(name), g), "");
  }
  CVandrelDoc load(const std::string& path) {
    CVandrelDoc doc;
    const VdrReadResult r = readVdrFile(path, doc.params());
    EXPECT_TRUE(r.ok()) << path << ": " << r.detail;
    if (r.ok()) loadVdr(doc, r.content);
    return doc;
  }
};

TEST_F(ExchangeCommandsTest, LabelsAlignAContinuumOfTokensOfDifferentLengths) {
  const std::string a =
      table("a", 20, [](CVandrelDoc& d) { setRow(d, kF2, [](int c) { return 1000 + 10 * c; }); });
  const std::string b = table("b", 30, [](CVandrelDoc& d) { setRow(d, kF2, [](int) { return 2000; }); });
  labels("a.TextGrid", {0.0, 0.05, 0.15, 0.2});
  labels("b.TextGrid", {0.0, 0.05, 0.25, 0.3});
  const Result r = run({"continuum", a, b, "--steps", "5", "-o", file("steps")});
  ASSERT_EQ(r.code, 0) << r.err;
  EXPECT_EQ(r.out, "wrote 5 steps to " + file("steps") + ", aligned by labels, stepping 1 rows: f2\n");

  // The ends are the tables themselves.
  EXPECT_EQ(load(file("steps/step_01.vdr")).table(), load(a).table());
  EXPECT_EQ(load(file("steps/step_05.vdr")).table().columns(), 30);
  EXPECT_EQ(load(file("steps/step_05.vdr")).table().value(kF2, 29), 2000);
  // The middle step lasts (200 + 300) / 2 = 250 ms; its vowel runs from
  // 50 ms to (150 + 250) / 2 = 200 ms. Frame 12's middle, 125 ms, is half way
  // through it: 100 ms in A (f2 1095 between the middles of frames 9 and
  // 10), 150 ms in B (2000), so the step holds round(1095 + 905 / 2) = 1548.
  const CVandrelDoc mid = load(file("steps/step_03.vdr"));
  EXPECT_EQ(mid.table().columns(), 25);
  EXPECT_EQ(mid.table().value(kF2, 12), 1548);
  const TextGridRead grid = readTextGridFile(file("steps/step_03.TextGrid"));
  ASSERT_TRUE(grid.ok()) << grid.message;
  const auto& in = grid.labels.tiers.at(0).intervals;
  ASSERT_EQ(in.size(), 3u);
  EXPECT_EQ(in[1].text, "s1");
  EXPECT_DOUBLE_EQ(in[1].start, 0.05);
  EXPECT_DOUBLE_EQ(in[1].end, 0.2);
  EXPECT_DOUBLE_EQ(in[2].end, 0.25);

  // Labels that do not match, or cannot be read: refused, nothing written.
  labels("b.TextGrid", {0.0, 0.05, 0.3});
  const Result mismatch = run({"continuum", a, b, "--steps", "3", "-o", file("no")});
  EXPECT_EQ(mismatch.code, 1);
  EXPECT_NE(mismatch.err.find("(the first interval tiers hold 3 and 2 intervals"), std::string::npos)
      << mismatch.err;
  ASSERT_EQ(
      writeFileAtomically(file("b.TextGrid"), "File type = \"ooTextFile\"\n\"TextGrid\" 0 1 <exists> 1\n"),
      "");
  const Result broken = run({"continuum", a, b, "--steps", "3", "-o", file("no")});
  EXPECT_EQ(broken.code, 1);
  EXPECT_EQ(broken.err, "vandrel-cli continuum: " + file("b.TextGrid") +
                            ", line 2: the file ends before the class of tier 1\n");
  EXPECT_FALSE(std::filesystem::exists(file("no")));
}

TEST_F(ExchangeCommandsTest, CopyKeepsTheRecordingsLabels) {
  const std::string src =
      table("src", 30, [](CVandrelDoc& d) { setRow(d, kF0, [](int c) { return 1000 + 10 * c; }); });
  ASSERT_EQ(run({"synth", src, "-o", file("rec.wav"), "--quiet"}).code, 0);
  labels("rec.TextGrid", {0.0, 0.1, 0.3});
  ASSERT_EQ(run({"copy", file("rec.wav"), "-o", file("copy.vdr"), "--quiet"}).code, 0);
  EXPECT_EQ(readTextGridFile(file("copy.TextGrid")).labels, readTextGridFile(file("rec.TextGrid")).labels);

  ASSERT_EQ(
      writeFileAtomically(file("bad.TextGrid"), "File type = \"ooTextFile\"\n\"TextGrid\" 0 1 <exists> 1\n"),
      "");
  const auto before = leftBehind();
  const Result r =
      run({"copy", file("rec.wav"), "-o", file("other.vdr"), "--textgrid", file("bad.TextGrid")});
  EXPECT_EQ(r.code, 1);
  EXPECT_NE(r.err.find(file("bad.TextGrid") + ", line 2: "), std::string::npos) << r.err;
  EXPECT_EQ(leftBehind(), before);
}

TEST_F(ExchangeCommandsTest, KlpInBothDialectsAndBack) {
  // klsyn's older layout, and the newer one with comments and notes.
  ASSERT_EQ(
      writeFileAtomically(file("old.klp"),
                          "du\t  30\noq\t   70\ng0\t   75\nui\t10\n\n__varied_params__\n_msec\tf0\tav\tF2\n"
                          "0\t140\t0\t1200\n10\t140.5\t28\t1250\n20\t141\t57\t1300\n"),
      "");
  ASSERT_EQ(
      writeFileAtomically(file("new.klp"),
                          "# a header comment\ndu\t30\nui 10   # the interval\ng0\t75\noq\t70#oq\nagc\t0\n\n"
                          "_varied_params_\n_msec_\tf0\tav\tF2\tnotes\n0\t140\t0\t1200\n"
                          "10\t140.5\t28\t1250\t# burst\n20\t141\t57\t1300\tvowel onset\n"),
      "");
  for (const char* name : {"old", "new"}) {
    SCOPED_TRACE(name);
    const Result r =
        run({"import", file(std::string(name) + ".klp"), "-o", file(std::string(name) + ".vdr")});
    ASSERT_EQ(r.code, 0) << r.err;
    EXPECT_EQ(r.err, std::string("vandrel-cli import: warning: oq") + (name[0] == 'n' ? " agc" : "") +
                         " have no counterpart here and are left out\n");
    const CVandrelDoc d = load(file(std::string(name) + ".vdr"));
    ASSERT_EQ(d.table().columns(), 3);
    EXPECT_EQ(d.params().intervalMs, 10);
    EXPECT_EQ(d.table().value(kF0, 1), 1405);
    EXPECT_EQ(d.table().value(kAv, 2), 57);
    EXPECT_EQ(d.table().value(kF2, 1), 1250);
    EXPECT_EQ(d.table().value(kGain, 0), 75);
    EXPECT_EQ(d.table().value(kF1, 0), 500);  // not in the file: our default
  }
  const Labels notes = readTextGridFile(file("new.TextGrid")).labels;
  ASSERT_EQ(notes.tiers.size(), 1u);
  EXPECT_EQ(notes.tiers[0].points, (std::vector<LabelPoint>{{0.01, "burst"}, {0.02, "vowel onset"}}));

  // Export reads back to the same rows.
  ASSERT_EQ(run({"export", file("new.vdr"), "--to", "klp", "-o", file("back.klp"), "--quiet"}).code, 0);
  ASSERT_EQ(run({"import", file("back.klp"), "-o", file("back.vdr"), "--quiet"}).code, 0);
  EXPECT_EQ(load(file("back.vdr")).table(), load(file("new.vdr")).table());

  ASSERT_EQ(writeFileAtomically(file("odd.klp"), "du 20\n_varied_params_\n_msec_ f0 zz\n0 100 1\n"), "");
  const Result odd = run({"import", file("odd.klp"), "-o", file("odd.vdr")});
  EXPECT_EQ(odd.code, 1);
  EXPECT_EQ(odd.err,
            "vandrel-cli import: " + file("odd.klp") + ", line 3: no klsyn parameter is called \"zz\"\n");
  EXPECT_FALSE(std::filesystem::exists(file("odd.vdr")));
}

TEST_F(ExchangeCommandsTest, KlattGridsComeBackAsTables) {
  const std::string src = table("src", 30, [](CVandrelDoc& d) {
    setRow(d, kF0, [](int c) { return 1000 + 40 * c; });
    setRow(d, kF2, [](int c) { return c < 15 ? 1200 : 1700; });
    setRow(d, kAv, [](int c) { return c < 3 ? 0 : 60; });
    setRow(d, kA3f, [](int c) { return c < 20 ? 0 : 45; });
  });
  ASSERT_EQ(run({"export", src, "--to", "klattgrid", "-o", file("src.KlattGrid"), "--quiet"}).code, 0);
  const Result r = run({"import", file("src.KlattGrid"), "-o", file("back.vdr")});
  ASSERT_EQ(r.code, 0) << r.err;
  EXPECT_EQ(r.out, "wrote " + file("back.vdr") + ": 30 frames of 10 ms from a Praat KlattGrid\n");
  FrameTable expected = load(src).table(), got = load(file("back.vdr")).table();
  for (const int row : {kOq, kB1f, kAtu, kGain, kApv, kSkew, kF8, kF7, kB8, kB7, kB6, kA8f, kA7f, kB8f, kB7f})
    for (int c = 0; c < 30; ++c)
      got.setValue(row, c, expected.value(row, c));  // rows a KlattGrid does not carry
  EXPECT_EQ(got, expected);

  if (!std::filesystem::exists("/usr/bin/praat")) GTEST_SKIP() << "praat is not installed";
  ASSERT_EQ(writeFileAtomically(file("make.praat"),
                                "Create KlattGrid: \"kg\", 0, 0.3, 6, 1, 1, 6, 1, 1, 1\n"
                                "Add pitch point: 0.1, 120\nAdd pitch point: 0.2, 100\n"
                                "Add voicing amplitude point: 0.1, 90\n"
                                "Add oral formant frequency point: 1, 0.1, 700\n"
                                "Add flutter point: 0.1, 0.2\n"
                                "Save as text file: \"" +
                                    file("praat.KlattGrid") + "\"\n"),
            "");
  ASSERT_EQ(runProgram("/usr/bin/praat", {"--run", file("make.praat")}).code, 0);
  const Result p = run({"import", file("praat.KlattGrid"), "-o", file("praat.vdr"), "--interval", "5"});
  ASSERT_EQ(p.code, 0) << p.err;
  EXPECT_EQ(p.err, "vandrel-cli import: warning: flutter have no counterpart here and are left out\n");
  const CVandrelDoc d = load(file("praat.vdr"));
  ASSERT_EQ(d.table().columns(), 60);
  // Frame 30's middle, 152.5 ms, lies 52.5/100 of the way from 120 to 100 Hz.
  EXPECT_EQ(d.table().value(kF0, 30), 1095);
  EXPECT_EQ(d.table().value(kF0, 2), 1200);
  EXPECT_EQ(d.table().value(kAv, 40), 60);
  EXPECT_EQ(d.table().value(kF1, 59), 700);
}

}  // namespace
}  // namespace vandrel
