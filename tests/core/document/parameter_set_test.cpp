#include "document/ParameterSet.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <set>
#include <string>

namespace vandrel {
namespace {

// The rows are checked against each other and against what the rest of the
// program relies on, not retyped: each description names its limits, and the
// few texts users know by their slips must keep them.
TEST(ParameterSetTest, DefinitionsAgreeWithTheirDescriptionsAndNames) {
  ParameterSet set;
  std::string unselected;
  for (int i = 0; i < kParamCount; ++i) {
    const ParamDef& p = set.at(i);
    SCOPED_TRACE(std::string(p.name));
    const std::string text(p.description);
    EXPECT_EQ(text.substr(0, p.name.size() + 4), " " + std::string(p.name) + " = ");
    EXPECT_TRUE(p.lower <= p.defaultValue && p.defaultValue <= p.upper);
    EXPECT_EQ(p.color, 0xFFFFFFu);
    EXPECT_EQ(paramIndex(p.name), i);
    EXPECT_EQ(set.find(p.name), &p);
    if (p.selected == 0) unselected += std::string(p.name) + ' ';
    // "(lower - upper)" in the text; f0 gives none, and atu's text says 70
    // where its limit has always been 87.
    int lo = 0, hi = 0;
    const auto open = text.rfind('(');
    if (p.name == "f0") continue;
    ASSERT_EQ(std::sscanf(text.c_str() + open, "(%d - %d)", &lo, &hi), 2);
    EXPECT_EQ(lo, p.lower);
    EXPECT_EQ(hi, p.name == "atu" ? 70 : p.upper);
  }
  EXPECT_EQ(unselected, "f8 f7 f6 b8 b7 b6 a8f a7f a6f b8f b7f b6f oq anv atu skew gain ");
  EXPECT_EQ(set.at(kAtu).upper, 87);

  // Texts shown in the parameter dialog and written into saved files, slips
  // and odd blanks included.
  EXPECT_EQ(set.at(kAh).description, " ah = Amplitude fo aspiration in dB (0 - 87) ");
  EXPECT_EQ(set.at(kAf).description, " af = Amplitude of frication in dB (0 - 87)");
  EXPECT_EQ(set.at(kF6).description, " f6 = Sixth  formant frequency in Hz (1200 - 4999) ");
  EXPECT_EQ(set.at(kOq).description, " oq =  Number of samples in an open period (10 - 65) ");
  EXPECT_EQ(set.at(kApv).description, " apv = Amplitue of voicing in parrallel branch in dB (0 - 87) ");
  EXPECT_EQ(set.at(kSkew).description, " skew = Shewness of alternate periods in sample#/2 (0 - 40) ");
  EXPECT_EQ(set.at(kB8f).description, " b8f = Eighth  formant parallel branch bandwidth in Hz (40 - 2000) ");

  EXPECT_FALSE(paramIndex("F0"));  // names are case-sensitive
  EXPECT_FALSE(paramIndex(" f0"));
  EXPECT_EQ(set.find("nope"), nullptr);
}

TEST(ParameterSetTest, SelectionIsCountedAndInitialiseRestoresTheBuiltInRows) {
  ParameterSet set;
  EXPECT_EQ(set.selectedCount, 31);
  EXPECT_EQ(ParameterSet::framesFor(205.0, 10), 20);  // whole frames only
  EXPECT_EQ(ParameterSet::framesFor(200.0, 0), 0);
  set.setDefault(kF1, 700);
  set.setSelected(kF1, false);
  set.setSelected(kF1, false);
  EXPECT_EQ(set.selectedCount, 30);
  set.initialise();
  EXPECT_EQ(set.at(kF1).defaultValue, 500);
  EXPECT_EQ(set.selectedCount, 31);
}

TEST(ParameterSetTest, AnyHighFormantRowSwitchesToTheHighRate) {
  const std::set<std::string> high = {"f8",  "f7",  "f6",  "b8",  "b7",  "b6",
                                      "a8f", "a7f", "a6f", "b8f", "b7f", "b6f"};
  ParameterSet base;
  EXPECT_EQ(base.sampleRate(), 11025.0);
  EXPECT_EQ(base.cascadeFormants(), 5);
  for (int i = 0; i < kParamCount; ++i) {
    ParameterSet set;
    const std::string name(set.at(i).name);
    SCOPED_TRACE(name);
    set.setSelected(i, true);
    const bool isHigh = high.count(name) != 0;
    EXPECT_EQ(isHighRateRow(i), isHigh);
    EXPECT_EQ(set.sampleRate(), isHigh ? 22050.0 : 11025.0);
    EXPECT_EQ(set.cascadeFormants(), isHigh ? 8 : 5);
    set.setSelected(i, false);
    EXPECT_EQ(set.sampleRate(), 11025.0);
  }
}

}  // namespace
}  // namespace vandrel
