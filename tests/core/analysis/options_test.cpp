// The analysis option records: defaults that follow the rate, range checks,
// the Defaults button and the size drop-down's entries.

#include <gtest/gtest.h>

#include <tuple>
#include <utility>

#include "analysis/AnalysisOptions.h"

namespace vandrel {
namespace {

TEST(AnalysisOptionsTest, DefaultsFollowTheRate) {
  for (auto [fs, range, coefficients, windowMs] : {std::tuple{11025.0, 5000, 14, 23},
                                                   {22050.0, 11000, 26, 11},
                                                   {16000.0, 8000, 20, 16},
                                                   {0.0, 0, 0, 0}}) {
    SCOPED_TRACE(fs);
    const COptionFFTLPC f(fs);
    EXPECT_EQ(f.frequencyRange, range);
    EXPECT_EQ(f.appliedWindowMs, windowMs);
    const COptionSpectrogram s(fs);
    EXPECT_EQ(s.frequencyRange, range);
    EXPECT_TRUE(fs == 0.0 || (f.lpcCoefficients == coefficients && s.formantCoefficients == coefficients));
  }
  EXPECT_EQ(COptionFFTLPC().lpcCoefficients, 14);  // until the view supplies a rate: 11025 Hz
  EXPECT_EQ(COptionFFTLPC::defaultLpcCoefficients(8000.0), 12);
  EXPECT_EQ(COptionFFTLPC::defaultLpcCoefficients(1e6), 400);
}

TEST(AnalysisOptionsTest, RangeChecks) {
  for (auto [v, ok] : {std::pair{3, false}, {4, true}, {100, true}, {101, false}, {-4, false}})
    EXPECT_EQ(COptionFFTLPC::lpcCoefficientsInRange(v), ok) << v;
  // Formant coefficients read back even and at most 400.
  for (auto [in, out] : {std::pair{501, 400}, {401, 400}, {400, 400}, {15, 14}, {14, 14}, {1, 0}})
    EXPECT_EQ(COptionSpectrogram::acceptFormantCoefficients(in), out) << in;
  COptionFFTLPC f;
  f.selectSize(8);
  EXPECT_EQ(f.points, 8192);
  f.selectSize(12);  // not an entry: ignored
  EXPECT_EQ(f.sizeIndex, 8);
}

TEST(AnalysisOptionsTest, DefaultsButtonKeepsDisplayFormantsAndDropDownTexts) {
  COptionSpectrogram s(22050.0);
  s.displayFormants = true;
  s.dynamicRangeDb = 60;
  s.selectSize(4);
  EXPECT_EQ(s.points, 512);
  s.setDefaults();
  EXPECT_TRUE(s.displayFormants && s.dynamicRangeDb == 35 && s.points == 64);

  EXPECT_EQ(analysisSizeEntry(0, 11025.0), "  344  Hz  (  32 pts)");
  EXPECT_EQ(analysisSizeEntry(2, 11025.0), "  86  Hz   ( 128 pts)");
  EXPECT_EQ(analysisSizeEntry(8, 22050.0), "  2  Hz   (8192 pts)");
  EXPECT_EQ(analysisSizeEntry(9, 22050.0), "");
  EXPECT_EQ(analysisSizeEntry(0, 0.0), "  0  Hz  (  32 pts)");  // no rate yet: zeros, not undefined
}

}  // namespace
}  // namespace vandrel
