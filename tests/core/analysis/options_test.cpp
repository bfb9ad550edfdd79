#include <gtest/gtest.h>

#include "analysis/AnalysisOptions.h"

namespace vandrel {
namespace {

TEST(AnalysisOptionsTest, DefaultsFollowTheRate) {
  struct Case {
    double fs;
    int range, fftLpc, formant, applied;
  } cases[] = {
      {11025.0, 5000, 14, 14, 23},
      {22050.0, 11000, 26, 26, 11},
      {16000.0, 8000, 20, 20, 16},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.fs);
    const COptionFFTLPC f(c.fs);
    EXPECT_EQ(f.frequencyRange, c.range);
    EXPECT_EQ(f.lpcCoefficients, c.fftLpc);
    EXPECT_EQ(f.appliedWindowMs, c.applied);
    EXPECT_EQ(f.points, 256);
    EXPECT_EQ(f.sizeIndex, 3);
    const COptionSpectrogram s(c.fs);
    EXPECT_EQ(s.frequencyRange, c.range);
    EXPECT_EQ(s.formantCoefficients, c.formant);
    EXPECT_EQ(s.points, 64);
    EXPECT_DOUBLE_EQ(s.preEmphasis, 0.98);
    EXPECT_EQ(s.dynamicRangeDb, 35);
  }
  const COptionFFTLPC unset;  // until the view supplies a rate
  EXPECT_EQ(unset.fs, 11025.0);
  EXPECT_EQ(unset.lpcCoefficients, 14);
}

TEST(AnalysisOptionsTest, FftLpcCoefficientsCappedAtFourHundred) {
  EXPECT_EQ(COptionFFTLPC::defaultLpcCoefficients(1e6), 400);
  EXPECT_EQ(COptionFFTLPC::defaultLpcCoefficients(8000.0), 12);
}

TEST(AnalysisOptionsTest, LpcEntryRange) {
  for (auto [v, ok] : {std::pair{3, false}, {4, true}, {100, true}, {101, false}, {-4, false}}) {
    SCOPED_TRACE(v);
    EXPECT_EQ(COptionFFTLPC::lpcCoefficientsInRange(v), ok);
  }
}

TEST(AnalysisOptionsTest, FormantCoefficientsReadBack) {
  for (auto [in, out] : {std::pair{501, 400}, {400, 400}, {15, 14}, {14, 14}, {401, 400}, {1, 0}}) {
    SCOPED_TRACE(in);
    EXPECT_EQ(COptionSpectrogram::acceptFormantCoefficients(in), out);
  }
}

TEST(AnalysisOptionsTest, DefaultsButtonKeepsDisplayFormants) {
  COptionSpectrogram s(22050.0);
  s.displayFormants = true;
  s.dynamicRangeDb = 60;
  s.selectSize(4);
  EXPECT_EQ(s.points, 512);
  s.setDefaults();
  EXPECT_TRUE(s.displayFormants);
  EXPECT_EQ(s.dynamicRangeDb, 35);
  EXPECT_EQ(s.points, 64);

  COptionPitch p;
  p.windowMs = 80;
  p.setDefaults();
  EXPECT_EQ(p.windowMs, 35);
  EXPECT_EQ(p.deviationHz, 100);
  EXPECT_EQ(p.calcHighHz, 500);
}

TEST(AnalysisOptionsTest, DropDownTexts) {
  EXPECT_EQ(analysisSizeEntry(0, 11025.0), "  344  Hz  (  32 pts)");
  EXPECT_EQ(analysisSizeEntry(1, 11025.0), "  172  Hz  (  64 pts)");
  EXPECT_EQ(analysisSizeEntry(2, 11025.0), "  86  Hz   ( 128 pts)");
  EXPECT_EQ(analysisSizeEntry(8, 22050.0), "  2  Hz   (8192 pts)");
  EXPECT_EQ(analysisSizeEntry(9, 22050.0), "");
  // No rate yet (an empty recording): zeros, not an undefined conversion.
  EXPECT_EQ(analysisSizeEntry(0, 0.0), "  0  Hz  (  32 pts)");
  const COptionFFTLPC none(0.0);
  EXPECT_EQ(none.appliedWindowMs, 0);
  EXPECT_EQ(none.frequencyRange, 0);
  COptionFFTLPC f;
  f.selectSize(8);
  EXPECT_EQ(f.points, 8192);
  f.selectSize(12);  // not an entry: ignored
  EXPECT_EQ(f.sizeIndex, 8);
}

}  // namespace
}  // namespace vandrel
