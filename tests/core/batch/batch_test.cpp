// The batch tools' core: line simplification, continuum and grid steps, level
// report, the KlattGrid and long-table writers, and copy synthesis of a
// sound whose table is known.

#include <gtest/gtest.h>

#include <atomic>

#include <cmath>
#include <cstdint>
#include <numeric>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "batch/Continuum.h"
#include "batch/CopyFormantLoop.h"
#include "batch/CopyNoiseFit.h"
#include "batch/CopyShapeChoice.h"
#include "batch/CopySynthesis.h"
#include "batch/Grid.h"
#include "batch/LevelReport.h"
#include "batch/LineSimplify.h"
#include "batch/TableExport.h"
#include "editing/EditTransaction.h"
#include "engine/Synthesizer.h"

namespace vandrel {
namespace {

// The points kept, and the values at them whose lines come closest to all
// points: the row's own where its lines pass through every point; for the
// jitter, the normal equations 2.2 y0 + 0.8 y1 = 30.4, 0.8 y0 + 2.2 y1 = 30.6.
TEST(LineSimplifyTest, KeepsTheBendsAndStaysWithinTheTolerance) {
  struct Case {
    const char* name;
    std::vector<double> values;
    double tolerance;
    std::vector<int> kept;
    std::vector<double> fitted;
  };
  const Case cases[] = {
      {"empty", {}, 1, {}, {}},
      {"one point", {5}, 1, {0}, {5}},
      {"a straight line", {0, 2, 4, 6, 8, 10}, 0.1, {0, 5}, {0, 10}},
      {"a corner", {0, 1, 2, 3, 2, 1}, 0.1, {0, 3, 5}, {0, 3, 1}},
      {"jitter below the tolerance", {10, 11, 9, 10, 11, 10}, 1.5, {0, 5}, {10.0952, 10.2381}},
      {"a step", {0, 0, 0, 9, 9, 9}, 1, {0, 2, 3, 5}, {0, 0, 9, 9}},
      {"the worst point just before the end", {0, 0, 0, 0, 5, 0}, 1, {0, 3, 4, 5}, {0, 0, 5, 0}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const std::vector<int> kept = simplifyLine(c.values, c.tolerance);
    EXPECT_EQ(kept, c.kept);
    EXPECT_LE(simplificationError(c.values, kept), c.tolerance);
    const std::vector<double> fitted = fittedLineValues(c.values, kept);
    ASSERT_EQ(fitted.size(), c.fitted.size());
    for (std::size_t k = 0; k < fitted.size(); ++k) EXPECT_NEAR(fitted[k], c.fitted[k], 1e-4);
  }
  // A long wobbly row: far fewer points, none of the rest further off than
  // the tolerance.
  std::vector<double> wobble(5000);
  for (std::size_t i = 0; i < wobble.size(); ++i)
    wobble[i] = 300.0 * std::sin(static_cast<double>(i) / 400.0) + static_cast<double>(i % 7);
  const std::vector<int> kept = simplifyLine(wobble, 20.0);
  EXPECT_LT(kept.size(), 100u);
  EXPECT_LE(simplificationError(wobble, kept), 20.0);
}

TEST(ContinuumTest, StepsFromOneEndToTheOther) {
  EXPECT_NEAR(hzToBark(1000.0), 8.527, 0.001);  // the inverse is the vowel space map's round trip

  const ParameterSet ps;
  FrameTable a(4, ps), b(4, ps);
  for (int c = 0; c < 4; ++c) {
    b.setValue(kF1, c, 700 + 20 * c);  // widest at the last frame
    b.setValue(kF2, c, 1100);
  }
  a.setAnchor(kF1, 2, true);
  const ContinuumPlan all = planContinuum(a, b, {});
  EXPECT_EQ(all.rows, (std::vector<int>{kF2, kF1}));
  EXPECT_EQ(all.widestFrame, (std::vector<int>{0, 3}));
  const ContinuumPlan only = planContinuum(a, b, {kF1, kAv});  // named rows, differing or not
  EXPECT_EQ(only.rows, (std::vector<int>{kAv, kF1}));

  for (ContinuumScale scale : {ContinuumScale::kLinear, ContinuumScale::kBark}) {
    SCOPED_TRACE(scale == ContinuumScale::kBark ? "bark" : "linear");
    EXPECT_EQ(continuumStep(a, b, only, 0, 5, scale), a);
    const FrameTable last = continuumStep(a, b, only, 4, 5, scale);
    EXPECT_EQ(last.value(kF1, 3), 760);
    EXPECT_EQ(last.value(kF2, 0), a.value(kF2, 0));  // not stepped
    EXPECT_TRUE(last.anchor(kF1, 2));                // A's anchors
  }
  // Halfway from 500 to 760 Hz: 630 in Hz, lower in bark (the scale is
  // compressed above); rows that are no formants step linearly on both.
  EXPECT_EQ(continuumValue(500, 760, 2, 5, ContinuumScale::kLinear, true), 630);
  EXPECT_EQ(continuumValue(500, 760, 2, 5, ContinuumScale::kBark, true), 623);
  EXPECT_EQ(continuumValue(1000, 2000, 1, 3, ContinuumScale::kBark, false), 1500);
  // In a whole step only f1..f8 take the bark scale: the rows either side of
  // them (tl before f8, b8 after f1) stay linear.
  FrameTable lo(1, ps), hi(1, ps);
  for (int row : {kTl, kF8, kF1, kB8}) {
    lo.setValue(row, 0, 500);
    hi.setValue(row, 0, 760);
  }
  const FrameTable mid = continuumStep(lo, hi, planContinuum(lo, hi, {}), 2, 5, ContinuumScale::kBark);
  EXPECT_EQ(mid.value(kTl, 0), 630);
  EXPECT_EQ(mid.value(kF8, 0), 623);
  EXPECT_EQ(mid.value(kF1, 0), 623);
  EXPECT_EQ(mid.value(kB8, 0), 630);

  EXPECT_EQ(continuumMismatch(20, 10, 20, 10), "");
  EXPECT_NE(continuumMismatch(20, 10, 21, 10).find("21 frames of 10 ms"), std::string::npos);
}

TEST(GridTest, StepsShiftWholeRowsToTheirValueAtTheReference) {
  GridAxis f1, f2;
  ASSERT_EQ(parseGridAxis("f1:300:800:3", f1), "");
  ASSERT_EQ(parseGridAxis("f2:900:2100:4", f2), "");
  for (const char* bad : {"f9:1:2:3", "f2:900:2100", "f2:a:2100:3", "f2:900:2100:0", "f2:900:2100:2.5"}) {
    GridAxis ignored;
    EXPECT_NE(parseGridAxis(bad, ignored), "") << bad;
  }

  // A steady f1 and a rising f2 (1000 + 20 Hz a frame) over 10 frames.
  const ParameterSet ps;
  FrameTable base(10, ps);
  for (int c = 0; c < 10; ++c) base.setValue(kF2, c, 1000 + 20 * c);
  GridPlan plan;
  ASSERT_EQ(planGrid(base, ps, {f1, f2}, ContinuumScale::kBark, 5, plan), "");
  // Even in bark: 300 and 800 Hz are 3.029 and 7.241 bark, the middle 5.135
  // bark is 525 Hz (550 in Hz); likewise 1213 and 1602 between 900 and 2100.
  EXPECT_EQ(plan.values, (std::vector<std::vector<double>>{{300, 525, 800}, {900, 1213, 1602, 2100}}));
  ASSERT_EQ(plan.pointCount(), 12u);
  EXPECT_EQ(plan.indices(6), (std::vector<int>{1, 2}));  // the first axis changes slowest
  EXPECT_EQ(plan.pointName({1, 2}), "grid_02_03");

  const FrameTable point = gridPoint(base, plan, {1, 2});
  for (int c = 0; c < 10; ++c) {
    EXPECT_EQ(point.value(kF1, c), 525);            // steady: the value everywhere
    EXPECT_EQ(point.value(kF2, c), 1502 + 20 * c);  // rising: same shape, 1602 at frame 5
    EXPECT_EQ(point.value(kF3, c), base.value(kF3, c));
  }
  EXPECT_EQ(gridManifestHeader(plan, 10), "file\tf1_step\tf2_step\tf1@50ms\tf2@50ms\n");
  EXPECT_EQ(gridManifestLine(plan, {1, 2}, "grid_02_03.vdr"), "grid_02_03.vdr\t2\t3\t525\t1602\n");

  // Refusals: the rising f2 shifted to 2900 at frame 5 would end at 2980
  // (the limit is 3000) - fine - but 2950 at frame 5 ends at 3030.
  GridPlan unused;
  EXPECT_EQ(planGrid(base, ps, {GridAxis{kF2, 2900, 2900, 1}}, ContinuumScale::kLinear, 5, unused), "");
  EXPECT_EQ(planGrid(base, ps, {GridAxis{kF2, 2000, 2950, 2}}, ContinuumScale::kLinear, 5, unused),
            "f2 = 2950 at frame 5 would take frame 9 to 3030, above f2's limit 3000");
  EXPECT_NE(planGrid(base, ps, {f1, f1}, ContinuumScale::kLinear, 5, unused).find("varied twice"),
            std::string::npos);
  EXPECT_NE(planGrid(base, ps, {GridAxis{kF1, 300, 400, 1}}, ContinuumScale::kLinear, 5, unused), "");
  EXPECT_NE(planGrid(base, ps, {f1}, ContinuumScale::kLinear, 10, unused), "");
  EXPECT_NE(planGrid(base, ps, {GridAxis{kF1, 300, 800, 1000}, GridAxis{kF2, 900, 2100, 11}},
                     ContinuumScale::kLinear, 5, unused)
                .find("more than 10000"),
            std::string::npos);
}

TEST(LevelReportTest, MeasuresPeakRmsAndClipping) {
  SampleSet s;
  s.sampleRate = 10000;
  s.samples = {16384, -16384, 32767, -32768, 0};
  const LevelReport r = measureLevels(s);
  EXPECT_DOUBLE_EQ(r.durationMs, 0.5);
  EXPECT_DOUBLE_EQ(r.peakDbfs, 0.0);
  EXPECT_NEAR(
      r.rmsDbfs,
      20 * std::log10(std::sqrt((2 * 16384.0 * 16384 + 32767.0 * 32767 + 32768.0 * 32768) / 5) / 32768),
      1e-9);
  EXPECT_EQ(r.clipped, 2);
  EXPECT_TRUE(std::isinf(measureLevels(SampleSet{}).peakDbfs));
}

// The lines of one named tier of a KlattGrid text ("pitch? <exists> " up to
// the next named part).
std::vector<std::string> tierValues(const std::string& grid, const std::string& name) {
  std::vector<std::string> values;
  const auto from = grid.find(name + "? <exists> ");
  std::istringstream in(grid.substr(from + name.size()));
  std::string line;
  std::getline(in, line);
  while (std::getline(in, line) && line.find("? <exists>") == std::string::npos)
    if (line.find("value = ") != std::string::npos) values.push_back(line.substr(line.find('=') + 2));
  return values;
}

TEST(TableExportTest, KlattGridAndLongTable) {
  const ParameterSet ps;
  FrameTable t(6, ps);
  const double f0[] = {0, 1000, 1100, 1200, 1250, 0};
  for (int c = 0; c < 6; ++c) {
    t.setValue(kF0, c, f0[c]);
    t.setValue(kAv, c, f0[c] > 0 ? 60 : 0);
  }
  const std::string grid = writeKlattGrid(t, 10, 5);
  EXPECT_EQ(
      grid.rfind("File type = \"ooTextFile\"\nObject class = \"KlattGrid\"\n\nxmin = 0 \nxmax = 0.06 \n", 0),
      0u);
  // Voiced frames only; 110 Hz lies on the line from 100 to 120 and is left out.
  EXPECT_EQ(tierValues(grid, "pitch"), (std::vector<std::string>{"100 ", "120 ", "125 "}));
  // The vowel's level against Praat's own vowel is the CLI's export test's
  // (with Praat); here, that silence stays silent and a row that is off
  // here (ab 0) is far below hearing there.
  const auto voicing = tierValues(grid, "voicingAmplitude");
  ASSERT_EQ(voicing.size(), 4u);  // silent, then a line, then silent
  EXPECT_TRUE(voicing.front() == "0 " && voicing.back() == "0 " && std::stod(voicing[1]) > 60);
  EXPECT_EQ(tierValues(grid, "spectralTilt").size(), 2u);  // constant: the two ends
  for (const auto& v : tierValues(grid, "bypass")) EXPECT_LT(std::stod(v), -100.0);
  EXPECT_TRUE(tierValues(grid, "breathinessAmplitude").empty());

  const std::string tsv = writeLongTable(t, 10, {kF0, kF1});
  EXPECT_EQ(tsv.substr(0, tsv.find('\n', 40)),
            "time_ms\tparameter\tvalue\n0\tf0\t0\n0\tf1\t500\n10\tf0\t1000");
  EXPECT_EQ(std::count(tsv.begin(), tsv.end(), '\n'), 13);
}

// The noise fit's model of the parallel branch against the synthesizer
// itself: a frication of known amplitudes (and an aspiration), fitted from
// the defaults, comes back with a spectrum within 1.5 dB (rms over the bands)
// of the sound's, and the frication with the amplitudes that shape it most;
// thinned to anchors, the refit brings the lines between them to its shape.
TEST(CopyNoiseFitTest, FindsTheAmplitudesOfASynthesizedNoise) {
  for (const bool aspiration : {false, true}) {
    SCOPED_TRACE(aspiration ? "aspiration" : "frication");
    CVandrelDoc src;
    src.newTable(40, 10);
    const int rows[] = {kA2f, kA3f, kA4f, kA5f, kAb};
    const int truth[] = {30, 45, 52, 60, 0};
    for (int c = 0; c < 40; ++c) {
      vandrel::EditTransaction e(src);
      e.setValue(kF0, c, 0);
      e.setValue(kAv, c, 0);
      e.setValue(aspiration ? kAh : kAf, c, 60);
      for (int k = 0; k < 5; ++k) e.setValue(rows[k], c, truth[k]);
      e.setValue(kF2, c, 1400);
      e.setValue(kF3, c, 2600);
      e.setValue(kF4, c, 3600);
      e.setValue(kF5, c, 4500);
    }
    KlattState state;
    state.reset(1);
    ASSERT_TRUE(synthesize(src, {}, state));
    const std::vector<double> x(src.synthesized().samples.begin(), src.synthesized().samples.end());
    CNoiseFit fit(11025, 11025, 5);
    // The mean of ten frames' spectra: one window of noise scatters too much.
    std::array<double, CNoiseFit::kBands> target{}, one{};
    for (int c = 10; c < 30; c += 2) {
      ASSERT_TRUE(fit.measure(x, (c + 0.5) * 110.25, one));
      for (std::size_t j = 0; j < target.size(); ++j) target[j] += std::pow(10.0, one[j] / 10.0) / 10.0;
    }
    for (double& v : target) v = 10.0 * std::log10(v);
    FrameTable t = src.table();
    for (const int row : rows) t.setValue(row, 20, src.params().at(row).defaultValue);
    const double misfit =
        fit.fit(t, 20, aspiration ? CNoiseFit::Source::kAspiration : CNoiseFit::Source::kFrication, target);
    EXPECT_LT(misfit, 1.5 * 1.5) << "dB^2 per band";
    if (aspiration) continue;  // the cascade shapes most of it, the parallel formants little
    EXPECT_EQ(t.value(kA5f, 20), 60);
    EXPECT_NEAR(t.value(kA4f, 20), 52, 4);
    EXPECT_NEAR(t.value(kA3f, 20), 45, 6);

    // Thinned: anchors at frames 0, 20 and 39, frame 20's with the fitted
    // amplitudes, frame 0's and 39's with a2f..a4f 10-20 dB off (the
    // frames between on the lines); frame 30 voiced. The refit moves frame
    // 0's values until the frames up to 20, synthesized, sound within twice
    // the known table's misfit, on straight lines; frame 39's lines reach
    // the voiced frame and stay.
    std::vector<CNoiseFit::Bands> bands(40);
    for (std::size_t c = 0; c < bands.size(); ++c)
      ASSERT_TRUE(fit.measure(x, (static_cast<double>(c) + 0.5) * 110.25, bands[c]));
    std::vector<char> noisy(40, 1), fricative(40, 1);
    noisy[30] = 0;
    t.setValue(kF0, 30, 1000);
    const int off[] = {-10, 15, -20};
    for (const int row : {kAb, kA2f, kA3f, kA4f, kA5f, kA6f}) {
      const double fitted = t.value(row, 20),
                   wrong = fitted + (row >= kA4f && row <= kA2f ? off[row - kA4f] : 0);
      for (int c = 0; c < 40; ++c) {
        t.setValue(row, c,
                   std::round(wrong + (fitted - wrong) * (c < 20 ? c : 39 - c) / (c < 20 ? 20.0 : 19.0)));
        t.setAnchor(row, c, c == 0 || c == 20 || c == 39);
      }
    }
    const FrameTable before = t;
    fit.refitAnchors(t, bands, noisy, fricative, true);
    // Both tables synthesized and measured as the recording was.
    const auto heard = [&](const FrameTable& table) {
      CVandrelDoc copy = src;
      {
        vandrel::EditTransaction e(copy);
        e.table() = table;
        e.noteResized();
      }
      state.reset(1);
      EXPECT_TRUE(synthesize(copy, {}, state));
      const std::vector<double> y(copy.synthesized().samples.begin(), copy.synthesized().samples.end());
      double sum = 0.0;
      for (int c = 2; c < 19; ++c) {
        EXPECT_TRUE(fit.measure(y, (c + 0.5) * 110.25, one));
        sum += CNoiseFit::shapeError(one, CNoiseFit::target(bands, noisy, c)) / 17;
      }
      return sum;
    };
    const double known = heard(src.table());
    EXPECT_GT(heard(before), 4 * known);
    EXPECT_LT(heard(t), 2 * known);
    for (const int row : {kA2f, kA3f, kA4f}) {
      EXPECT_EQ(t.value(row, 10), std::round((t.value(row, 0) + t.value(row, 20)) / 2));
      for (int c = 21; c < 40; ++c) EXPECT_EQ(t.value(row, c), before.value(row, c));
    }
  }
}

// Aspiration made with F1 at its lowest (200 Hz, 400 wide) in frames 0-19 and
// at 700 Hz 400 wide in frames 20-39, copied from a table with F1 700 Hz 100
// wide: the first frames move F1 down, the others keep it and widen B1 four
// times, and nothing else changes.
TEST(CopyShapeChoiceTest, AspirationTakesTheShapeItWasMadeWith) {
  CVandrelDoc src;
  src.newTable(40, 10);
  for (int c = 0; c < 40; ++c) {
    vandrel::EditTransaction e(src);
    e.setValue(kF0, c, 0);
    e.setValue(kAv, c, 0);
    e.setValue(kAh, c, 60);
    e.setValue(kF1, c, c < 20 ? 200 : 700);
    e.setValue(kB1, c, 400);
  }
  KlattState state;
  state.reset(1);
  ASSERT_TRUE(synthesize(src, {}, state));
  const SynthesisSetup setup = synthesisSetup(src);
  std::vector<char> measured(40, 1);
  const std::vector<Bands> bands =
      measureBands(src.synthesized().samples, 11025, 110.25, setup, 11025, measured, false);
  CVandrelDoc copy = src;
  {
    vandrel::EditTransaction e(copy);
    for (int c = 0; c < 40; ++c) {
      e.setValue(kF1, c, 700);
      e.setValue(kB1, c, 100);
    }
  }
  const FrameTable before = copy.table();
  chooseTiltAndDamping(copy, 11025, bands, std::vector<char>(40, 0), measured, false);
  int widened = 0;
  for (int c = 2; c < 38; ++c) {
    if (c >= 18 && c < 22) continue;  // the choice spans three frames
    EXPECT_EQ(copy.table().value(kF1, c), c < 20 ? 200 : 700) << "frame " << c;
    if (c < 20) {
      EXPECT_EQ(copy.table().value(kB1, c), 400) << "frame " << c;
    }
    widened += c >= 20 && copy.table().value(kB1, c) == 400 ? 1 : 0;
  }
  EXPECT_GE(widened, 12);  // of 16: one window of noise scatters
  for (int row = 0; row < before.rows(); ++row) {
    if (row == kF1 || row == kB1) continue;
    for (int c = 0; c < 40; ++c) EXPECT_EQ(copy.table().value(row, c), before.value(row, c));
  }
}

// The closed loop's step: towards the recording's reading by the damped log
// ratio, never more than 20% a round, within the row's limits.
TEST(CopyFormantLoopTest, StepsTowardsTheRecordingsReadingWithinItsClamps) {
  struct Case {
    double table, missLn, damping, expected;
  } const cases[] = {
      {500, std::log(600.0 / 550.0), 0.8, 536},  // the copy reads low: 500 x (600/550)^0.8
      {500, std::log(450.0 / 550.0), 0.8, 426},  // reads high: down
      {500, std::log(2.0), 0.8, 611},            // 500 x e^0.2: a misreading by half is not trusted
      {500, -std::log(2.0), 0.4, 409},           // 500 x e^-0.2
      {1250, 0.2, 1.0, 1300},                    // the row's top
      {170, -0.2, 1.0, 150},                     // and bottom
  };
  for (const Case& c : cases)
    EXPECT_EQ(loopStep(c.table, c.missLn, c.damping, 150, 1300), c.expected) << c.table << " " << c.missLn;
}

// A known table: a vowel gliding in f0 and F1, a silence, then frication,
// synthesized at 22050 Hz with an open quotient of 0.4. Its sound copied back
// at 11025 Hz gives the same tracks, the same open quotient in samples of the
// lower rate, and few anchors.
TEST(CopySynthesisTest, CopiesAKnownTableBackWithFewAnchors) {
  CVandrelDoc src;
  src.changeParams([](ParameterSet& ps) { ps.setSelected(kF6, true); });  // synthesized at 22050 Hz
  src.newTable(60, 10);
  const ParameterSet& ps = src.params();
  for (int c = 0; c < 60; ++c) {
    const bool vowel = c < 35, fric = c >= 42;
    vandrel::EditTransaction(src).setValue(kF0, c, vowel ? 1000 + 15 * c : 0);
    vandrel::EditTransaction(src).setValue(kAv, c, vowel ? 60 : 0);
    vandrel::EditTransaction(src).setValue(kF1, c, 500 + 6 * std::min(c, 30));
    vandrel::EditTransaction(src).setValue(kAf, c, fric ? 60 : 0);
    vandrel::EditTransaction(src).setValue(kA5f, c, fric ? 60 : 0);
    vandrel::EditTransaction(src).setValue(kOq, c, std::round(0.4 * 22050.0 / (100.0 + 1.5 * c)));
  }
  KlattState state;
  state.reset(1);
  ASSERT_TRUE(synthesize(src, {}, state));

  ASSERT_EQ(src.synthesized().sampleRate, 22050);

  CVandrelDoc copy;
  std::atomic<bool> cancel{true};
  EXPECT_EQ(copySynthesis(src.synthesized(), CopySettings{}, copy, {}, &cancel).status,
            CopyResult::Status::kCancelled);
  EXPECT_EQ(copy.table(), CVandrelDoc{}.table());  // a cancelled copy leaves the document alone
  std::vector<int> percent;
  const CopyResult r =
      copySynthesis(src.synthesized(), CopySettings{}, copy, [&](int p) { percent.push_back(p); });
  EXPECT_EQ(percent.back(), 100);
  EXPECT_TRUE(std::is_sorted(percent.begin(), percent.end()));
  ASSERT_EQ(r.status, CopyResult::Status::kOk) << r.message;
  CopySettings oneThread;  // the same copy whichever thread tracks the pitch or fits which frame
  oneThread.threads = 1;
  CVandrelDoc single;
  copySynthesis(src.synthesized(), oneThread, single);
  EXPECT_EQ(single.table(), copy.table());
  ASSERT_EQ(r.frames, 60);
  const FrameTable& t = copy.table();
  ASSERT_EQ(t.columns(), 60);
  for (int c = 3; c < 32; ++c) {
    SCOPED_TRACE("frame " + std::to_string(c));
    EXPECT_NEAR(t.value(kF0, c), src.table().value(kF0, c), 0.05 * src.table().value(kF0, c));
    EXPECT_NEAR(t.value(kF1, c), src.table().value(kF1, c), 0.10 * src.table().value(kF1, c));
    EXPECT_GT(t.value(kAv, c), 0);
    EXPECT_NEAR(t.value(kOq, c), 0.4 * 11025.0 / (100.0 + 1.5 * c), 3.0);
    // Narrow and between two harmonics, F1 and F2 make the copy's pitch heard
    // an octave down: at least 1.4 times their distance to the nearest one.
    for (const auto& [f, b] : {std::pair{kF1, kB1}, std::pair{kF2, kB2}}) {
      const double f0 = t.value(kF0, c) / 10.0, hz = t.value(f, c);
      EXPECT_GE(t.value(b, c), 1.4 * std::abs(hz - f0 * std::round(hz / f0)) - 0.5);
    }
  }
  for (int c = 45; c < 58; ++c) {
    SCOPED_TRACE("frame " + std::to_string(c));
    EXPECT_EQ(t.value(kAv, c), 0);
    EXPECT_EQ(t.value(kF0, c), 0);
    EXPECT_GT(t.value(kAf, c), 0);
  }
  // The source's periods take the f0 of the frame they start in, so its sound
  // carries the rising glide late; a copy that wrote f0 as measured would lie
  // below the glide on nearly every frame (nearly dense here: thinning hides it).
  CopySettings dense;
  dense.tolerances.f0Semitones = 0.02;
  CVandrelDoc fine;
  copySynthesis(src.synthesized(), dense, fine);
  int below = 0;
  for (int c = 3; c < 32; ++c) below += fine.table().value(kF0, c) < src.table().value(kF0, c) ? 1 : 0;
  EXPECT_LT(below, 10);
  ASSERT_EQ(r.anchors.size(), copiedRows().size());
  EXPECT_LE(r.anchors[0], 8) << "f0: a straight glide and its two voicing edges";
  // Between anchors every row lies on a straight line, and within limits.
  for (std::size_t k = 0; k < copiedRows().size(); ++k) {
    const int row = copiedRows()[k];
    SCOPED_TRACE(std::string(ps.at(row).name));
    int last = -1;
    for (int c = 0; c < 60; ++c) {
      const double v = t.value(row, c);
      if (!(row == kF0 && v == 0)) {
        EXPECT_GE(v, ps.at(row).lower);
        EXPECT_LE(v, ps.at(row).upper);
      }
      if (!t.anchor(row, c)) continue;
      for (int m = last + 1; last >= 0 && m < c; ++m)
        EXPECT_NEAR(t.value(row, m),
                    t.value(row, last) + (t.value(row, c) - t.value(row, last)) * (m - last) / (c - last),
                    0.5);
      last = c;
    }
  }

  SampleSet tiny;
  tiny.sampleRate = 16000;
  tiny.samples.assign(100, 0);
  const FrameTable kept = copy.table();  // a copy: `t` is the document's own table
  EXPECT_EQ(copySynthesis(tiny, CopySettings{}, copy).status, CopyResult::Status::kTooShort);
  EXPECT_EQ(copy.table(), kept);  // a refused copy leaves the document alone

  // A second of nothing but dither (-1, 0 or 1) is silence: no row is anchored.
  SampleSet dither;
  dither.sampleRate = 16000;
  std::uint32_t seed = 1;
  for (int i = 0; i < 16000; ++i) {
    seed = seed * 1664525u + 1013904223u;
    dither.samples.push_back(static_cast<std::int16_t>(static_cast<int>(seed >> 30) % 3 - 1));
  }
  const CopyResult quiet = copySynthesis(dither, CopySettings{}, copy);
  ASSERT_EQ(quiet.status, CopyResult::Status::kOk);
  EXPECT_EQ(quiet.voicedFrames, 0);
  EXPECT_EQ(std::accumulate(quiet.anchors.begin(), quiet.anchors.end(), 0), 0);
}

// On a high voice the copy closes F1 and F2 over its own analysis, the
// longest step of a long copy: it tells its progress and stops on a cancel
// within the reading under way.
TEST(CopySynthesisTest, ACancelStopsTheFormantLoopWithinAReading) {
  CVandrelDoc src;
  src.newTable(100, 10);
  {
    vandrel::EditTransaction edit(src);
    for (int c = 0; c < 100; ++c) {
      edit.setValue(kF0, c, 2200 + 4 * c);
      edit.setValue(kAv, c, 60);
      edit.setValue(kF1, c, 750 - 3 * c);
      edit.setValue(kF2, c, 1200 + 8 * c);
    }
  }
  KlattState state;
  state.reset(1);
  ASSERT_TRUE(synthesize(src, {}, state));
  CVandrelDoc copy;
  std::atomic<bool> cancel{false};
  std::vector<int> percent;
  const CopyResult r = copySynthesis(
      src.synthesized(), CopySettings{}, copy,
      [&](int p) {
        percent.push_back(p);
        if (p > 75) cancel.store(true);
      },
      &cancel);
  EXPECT_EQ(r.status, CopyResult::Status::kCancelled);
  EXPECT_EQ(copy.table(), CVandrelDoc{}.table());
  ASSERT_FALSE(percent.empty());
  EXPECT_GT(percent.back(), 75) << "the loop's first reading told";
  EXPECT_LT(percent.back(), 90) << "and none after the cancel";
}

}  // namespace
}  // namespace vandrel
