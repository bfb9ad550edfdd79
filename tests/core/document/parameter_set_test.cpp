#include "document/ParameterSet.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

#include "document/FrameTable.h"

namespace vandrel {
namespace {

struct Row {
  const char* name;
  int def, lo, hi, sel;
  const char* text;
};

// Written out again, independently of the built-in table, so a slip in either
// shows up as a difference.
const Row kExpected[kParamCount] = {
    {"f0", 1000, 500, 5000, 1, " f0 = Fundamental frequency (pitch) in 0.1 hertz "},
    {"av", 60, 0, 87, 1, " av = Amplitude of voicing in dB (0 - 87) "},
    {"ah", 0, 0, 87, 1, " ah = Amplitude fo aspiration in dB (0 - 87) "},
    {"af", 0, 0, 87, 1, " af = Amplitude of frication in dB (0 - 87)"},
    {"tl", 0, 0, 24, 1, " tl = Spectral tilt for voicing in dB (0 - 24)"},
    {"f8", 7500, 4000, 7500, 0, " f8 = Eighth formant frequency in Hz (4000 - 7500) "},
    {"f7", 6500, 4000, 6500, 0, " f7 = Seventh formant frequency in Hz (4000 - 6500) "},
    {"f6", 4990, 1200, 4999, 0, " f6 = Sixth  formant frequency in Hz (1200 - 4999) "},
    {"f5", 3700, 1200, 4999, 1, " f5 = Fifth  formant frequency in Hz (1200 - 4999) "},
    {"f4", 3250, 1200, 4999, 1, " f4 = Fourth formant frequency in Hz (1200 - 4999) "},
    {"f3", 2500, 1200, 4999, 1, " f3 = Third  formant frequency in Hz (1200 - 4999) "},
    {"f2", 1500, 550, 3000, 1, " f2 = Second formant frequency in Hz (550 - 3000) "},
    {"f1", 500, 200, 1300, 1, " f1 = First  formant frequency in Hz (200 - 1300) "},
    {"b8", 600, 40, 2000, 0, " b8 = Eighth formant bandwidth in Hz (40 - 2000) "},
    {"b7", 500, 40, 2000, 0, " b7 = Seventh formant bandwidth in Hz (40 - 2000) "},
    {"b6", 500, 40, 2000, 0, " b6 = Sixth  formant bandwidth in Hz (40 - 2000) "},
    {"b5", 200, 40, 1000, 1, " b5 = Fifth  formant bandwidth in Hz (40 - 1000) "},
    {"b4", 200, 40, 1000, 1, " b4 = Fourth formant bandwidth in Hz (40 - 1000) "},
    {"b3", 150, 40, 1000, 1, " b3 = Third  formant bandwidth in Hz (40 - 1000) "},
    {"b2", 90, 40, 1000, 1, " b2 = Second formant bandwidth in Hz (40 - 1000) "},
    {"b1", 60, 40, 1000, 1, " b1 = First  formant bandwidth in Hz (40 - 1000) "},
    {"ab", 0, 0, 87, 1, " ab = Amplitude of bypass for all amplitude controls in dB (0 - 87) "},
    {"a8f", 30, 0, 87, 0, " a8f = Eighth formant parallel branch amplitude in dB (0 - 87) "},
    {"a7f", 30, 0, 87, 0, " a7f = Seventh formant parallel branch amplitude in dB (0 - 87) "},
    {"a6f", 30, 0, 87, 0, " a6f = Sixth  formant parallel branch amplitude in dB (0 - 87) "},
    {"a5f", 30, 0, 87, 1, " a5f = Fifth  formant parallel branch amplitude in dB (0 - 87) "},
    {"a4f", 30, 0, 87, 1, " a4f = Fourth formant parallel branch amplitude in dB (0 - 87) "},
    {"a3f", 30, 0, 87, 1, " a3f = Third  formant parallel branch amplitude in dB (0 - 87) "},
    {"a2f", 30, 0, 87, 1, " a2f = Second formant parallel branch amplitude in dB (0 - 87) "},
    {"a1f", 30, 0, 87, 1, " a1f = First  formant parallel branch amplitude in dB (0 - 87) "},
    {"b8f", 1500, 40, 2000, 0, " b8f = Eighth  formant parallel branch bandwidth in Hz (40 - 2000) "},
    {"b7f", 1500, 40, 2000, 0, " b7f = Seventh formant parallel branch bandwidth in Hz (40 - 2000) "},
    {"b6f", 1500, 40, 2000, 0, " b6f = Sixth  formant parallel branch bandwidth in Hz (40 - 2000) "},
    {"b5f", 500, 40, 1000, 1, " b5f = Fifth  formant parallel branch bandwidth in Hz (40 - 1000) "},
    {"b4f", 350, 40, 1000, 1, " b4f = Fourth formant parallel branch bandwidth in Hz (40 - 1000) "},
    {"b3f", 320, 40, 1000, 1, " b3f = Third  formant parallel branch bandwidth in Hz (40 - 1000) "},
    {"b2f", 250, 40, 1000, 1, " b2f = Second formant parallel branch bandwidth in Hz (40 - 1000) "},
    {"b1f", 180, 40, 1000, 1, " b1f = First  formant parallel branch bandwidth in Hz (40 - 1000) "},
    {"fnz", 280, 248, 528, 1, " fnz = Nasal zero frequency in Hz (248 - 528) "},
    {"bnz", 90, 40, 1000, 1, " bnz = Nasal zero bandwidth in Hz (40 - 1000) "},
    {"fnp", 280, 248, 528, 1, " fnp = Nasal pole frequency in Hz (248 - 528) "},
    {"bnp", 90, 40, 1000, 1, " bnp = Nasal pole bandwidth in Hz (40 - 1000) "},
    {"oq", 20, 10, 65, 0, " oq =  Number of samples in an open period (10 - 65) "},
    {"anv", 0, 0, 87, 0, " anv = Amplitude of parallel nasal pole in dB (0 - 87) "},
    {"apv", 0, 0, 87, 1, " apv = Amplitue of voicing in parrallel branch in dB (0 - 87) "},
    {"atu", 40, 0, 87, 0, " atu = Amplitude of breathiness in voicing in dB (0 - 70) "},
    {"skew", 0, 0, 40, 0, " skew = Shewness of alternate periods in sample#/2 (0 - 40) "},
    {"gain", 60, 0, 87, 0, " gain = Overall gain in dB (0 - 87) "},
};

TEST(ParameterSetTest, EveryDefinitionMatchesTheTable) {
  ParameterSet set;
  for (int i = 0; i < kParamCount; ++i) {
    const Row& e = kExpected[i];
    SCOPED_TRACE(e.name);
    const ParamDef& p = set.at(i);
    EXPECT_EQ(p.name, e.name);
    EXPECT_EQ(std::string(p.description), e.text);
    EXPECT_EQ(p.defaultValue, e.def);
    EXPECT_EQ(p.lower, e.lo);
    EXPECT_EQ(p.upper, e.hi);
    EXPECT_EQ(p.selected, e.sel);
    EXPECT_EQ(p.color, 0xFFFFFFu);
    EXPECT_EQ(paramIndex(e.name), i);
    EXPECT_EQ(set.find(e.name), &set.at(i));
  }
  EXPECT_FALSE(paramIndex("F0"));  // names are case-sensitive
  EXPECT_FALSE(paramIndex(" f0"));
  EXPECT_EQ(set.find("nope"), nullptr);
}

TEST(ParameterSetTest, SettingsBlockDefaultsAndSelection) {
  ParameterSet set;
  EXPECT_EQ(set.fileLengthMs, 200.0);
  EXPECT_EQ(set.intervalMs, 10);
  EXPECT_EQ(set.frameCount, 20);
  EXPECT_EQ(set.selectedCount, 31);
  EXPECT_EQ(set.countSelected(), 31);
  EXPECT_EQ(set.cascadeParallel, 1);
  EXPECT_EQ(set.reserved, 0);
  EXPECT_EQ(ParameterSet::framesFor(200.0, 10), 20);
  EXPECT_EQ(ParameterSet::framesFor(205.0, 10), 20);
  EXPECT_EQ(ParameterSet::framesFor(200.0, 0), 0);

  set.setDefault(kF1, 700);
  set.setLower(kF1, 250);
  set.setUpper(kF1, 1200);
  set.setColor(kF1, 0x0000FF);
  set.setSelected(kF1, false);
  EXPECT_EQ(set.at(kF1).defaultValue, 700);
  EXPECT_EQ(set.at(kF1).lower, 250);
  EXPECT_EQ(set.at(kF1).upper, 1200);
  EXPECT_EQ(set.at(kF1).color, 0x0000FFu);
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

TEST(FrameTableTest, NewTableHoldsDefaultsAndNoAnchors) {
  ParameterSet set;
  FrameTable t(set.frameCount, set);
  ASSERT_EQ(t.columns(), 20);
  ASSERT_EQ(t.rows(), 48);
  for (int r = 0; r < kParamCount; ++r)
    for (int c = 0; c < t.columns(); ++c) ASSERT_EQ(t.value(r, c), set.at(r).defaultValue);
  EXPECT_EQ(t.anchorCount(), 0);
  t.setAnchor(kF2, 19, true);
  t.setValue(kF2, 19, 1234.5);
  EXPECT_TRUE(t.anchor(kF2, 19));
  EXPECT_FALSE(t.anchor(kF2, 18));
  EXPECT_FALSE(t.anchor(kF1, 19));
  EXPECT_EQ(t.value(kF2, 19), 1234.5);
  EXPECT_EQ(t.value(kF2, 18), 1500.0);
  EXPECT_EQ(t.anchorCount(), 1);
}

}  // namespace
}  // namespace vandrel
