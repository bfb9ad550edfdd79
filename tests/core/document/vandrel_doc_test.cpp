// CVandrelDoc: colour groups, the recording-length rule, observers.

#include "document/VandrelDoc.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace vandrel {
namespace {

// Written out by name, independently of paramGroup's index ranges.
TEST(CVandrelDocTest, ColourGroups) {
  const std::vector<std::pair<std::vector<const char*>, ParamGroup>> groups = {
      {{"f0", "av", "ah", "af", "tl"}, kGroupSource},
      {{"f1", "f2", "f3", "f4", "f5", "f6", "f7", "f8"}, kGroupFormants},
      {{"b1", "b2", "b3", "b4", "b5", "b6", "b7", "b8"}, kGroupCascadeBandwidths},
      {{"ab"}, kGroupBypass},
      {{"a1f", "a2f", "a3f", "a4f", "a5f", "a6f", "a7f", "a8f"}, kGroupParallelAmps},
      {{"b1f", "b2f", "b3f", "b4f", "b5f", "b6f", "b7f", "b8f"}, kGroupParallelBandwidths},
      {{"fnz", "bnz", "fnp", "bnp"}, kGroupNasal},
      {{"oq", "anv", "apv", "atu", "skew", "gain"}, kGroupRemaining},
  };
  int seen = 0;
  for (const auto& [names, group] : groups) {
    for (const char* name : names) {
      SCOPED_TRACE(name);
      const auto index = paramIndex(name);
      ASSERT_TRUE(index.has_value());
      EXPECT_EQ(paramGroup(*index), group);
      ++seen;
    }
  }
  EXPECT_EQ(seen, kParamCount);

  // A group's colour paints its own rows only.
  CVandrelDoc doc;
  EXPECT_NE(doc.anchorColor(), doc.groupColor(0));
  doc.setGroupColor(kGroupBypass, rgb(10, 20, 30));
  for (int i = 0; i < kParamCount; ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(doc.params().at(i).color, i == kAb ? rgb(10, 20, 30) : kWhite);
  }
  EXPECT_EQ(doc.groupColor(kGroupBypass), 0x001E140Au);
}

// A recording opened beside an untouched table gives it its length in whole
// frames; an edited or loaded table keeps its own.
TEST(CVandrelDocTest, RecordingLengthRule) {
  struct Case {
    const char* what;
    std::size_t samples;
    double rate;
    int interval;
    bool edited;
    int frames;  // expected columns afterwards
  };
  const Case cases[] = {
      {"one second at 16 kHz", 16000, 16000.0, 10, false, 100},
      {"a part frame is dropped", 16159, 16000.0, 10, false, 100},
      {"a part millisecond is dropped", 1615, 16000.0, 1, false, 100},
      {"5 ms frames", 8000, 16000.0, 5, false, 100},
      {"shorter than a frame: one frame", 50, 16000.0, 10, false, 1},
      {"no samples: table unchanged", 0, 16000.0, 10, false, 20},
      {"edited table keeps its length", 16000, 16000.0, 10, true, 20},
      {"22050 Hz, 2.5 s", 55125, 22050.0, 10, false, 250},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    CVandrelDoc doc;
    doc.params().intervalMs = c.interval;
    if (c.interval != 10) {
      doc.params().frameCount = 200 / c.interval;
      doc.table.reset(doc.params().frameCount, doc.params());
    }
    const int before = doc.table.columns();
    if (c.edited) {
      doc.table.setValue(kF1, 3, 700.0);
      doc.markEdited();
    }
    SampleSet rec;
    rec.samples.assign(c.samples, 7);
    rec.sampleRate = c.rate;
    rec.sampleCount = static_cast<double>(c.samples);
    doc.attachAudio(rec);
    const int want = c.samples == 0 || c.edited ? before : c.frames;
    EXPECT_EQ(doc.table.columns(), want);
    EXPECT_EQ(doc.params().frameCount, want);
    EXPECT_EQ(doc.params().fileLengthMs, static_cast<double>(want * c.interval));
    EXPECT_EQ(doc.audio.samples.size(), c.samples);
    EXPECT_EQ(doc.hasAudio(), c.samples > 0);
    if (c.edited) {
      EXPECT_EQ(doc.table.value(kF1, 3), 700.0);
    }
  }
}

struct Recorder : DocObserver {
  std::vector<std::string> log;
  CVandrelDoc* removeFrom = nullptr;
  void notifyCellsChanged(const CellRange& r) override {
    log.push_back("cells " + std::to_string(r.firstRow) + "-" + std::to_string(r.lastRow));
  }
  void notifyStructureChanged() override { log.push_back("structure"); }
  void notifySamplesChanged(SampleSlot s) override {
    log.push_back(s == SampleSlot::kAudio ? "audio" : "synthesis");
    if (removeFrom != nullptr) removeFrom->removeObserver(this);
  }
  void notifyFlagsChanged() override { log.push_back("flags"); }
};

TEST(CVandrelDocTest, ObserversAreTold) {
  CVandrelDoc doc;
  Recorder a, b;
  doc.addObserver(&a);
  doc.addObserver(&a);  // once only
  doc.addObserver(&b);

  doc.markEdited();
  doc.notifyCellsChanged({kF2, kF1, 0, 3});
  EXPECT_EQ(a.log, (std::vector<std::string>{"flags", "cells 11-12"}));

  SampleSet rec;
  rec.samples.assign(1600, 1);
  rec.sampleRate = 16000.0;
  a.log.clear();
  b.removeFrom = &doc;  // b leaves while it is told
  doc.attachAudio(rec);
  EXPECT_EQ(a.log, (std::vector<std::string>{"audio"}));  // edited table: no new length
  doc.attachAudio(rec);
  EXPECT_EQ(b.log.back(), "audio");
  EXPECT_EQ(std::count(b.log.begin(), b.log.end(), "audio"), 1);

  // A copy carries the data, not the observers.
  CVandrelDoc copy = doc;
  a.log.clear();
  copy.markEdited();
  EXPECT_TRUE(a.log.empty());
  copy = doc;  // assignment keeps the target's observers (none) and the source's stay
  doc.setModified(false);
  EXPECT_EQ(a.log, (std::vector<std::string>{"flags"}));

  doc.removeObserver(&a);
  doc.initialise();
  EXPECT_EQ(a.log.size(), 1u);
}

}  // namespace
}  // namespace vandrel
