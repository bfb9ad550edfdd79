// CVandrelDoc: group colours, the recording-length rule, observers.

#include "document/VandrelDoc.h"
#include "editing/EditTransaction.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace vandrel {
namespace {

TEST(CVandrelDocTest, GroupColourPaintsItsOwnRowsOnly) {
  CVandrelDoc doc;
  ColorSlots colors = doc.colors();
  colors[kGroupNasal] = rgb(10, 20, 30);
  doc.setColors(colors);
  EXPECT_EQ(doc.groupColor(kGroupNasal), rgb(10, 20, 30));
  for (int i = 0; i < kParamCount; ++i)
    EXPECT_EQ(doc.params().at(i).color, i >= kFnz && i <= kBnp
                                            ? rgb(10, 20, 30)
                                            : kDefaultColors[static_cast<std::size_t>(paramGroup(i))])
        << i;
}

// A recording opened beside an untouched table gives it its length in whole
// frames (at least one); an edited table, or no samples, keeps the length.
TEST(CVandrelDocTest, RecordingLengthRule) {
  struct Case {
    std::size_t samples;  // at 16 kHz
    int interval;
    bool edited;
    int frames;  // columns afterwards
  };
  const Case cases[] = {
      {16159, 5, false, 201},  // 1009.9 ms: a part frame is dropped
      {50, 10, false, 1},
      {0, 10, false, 20},
      {16000, 10, true, 20},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << c.samples << (c.edited ? ", edited" : ""));
    CVandrelDoc doc;
    doc.newTable(200 / c.interval, c.interval);
    vandrel::EditTransaction(doc).setValue(kF1, 0, 700.0);
    if (c.edited) doc.markEdited();
    SampleSet rec;
    rec.samples.assign(c.samples, 7);
    rec.sampleRate = 16000.0;
    rec.sampleCount = static_cast<double>(c.samples);
    doc.attachAudio(rec);
    EXPECT_EQ(doc.table().columns(), c.frames);
    EXPECT_EQ(doc.params().frameCount, c.frames);
    EXPECT_EQ(doc.params().fileLengthMs, static_cast<double>(c.frames * c.interval));
    EXPECT_EQ(doc.audio().samples.size(), c.samples);
    EXPECT_EQ(doc.table().value(kF1, 0), c.edited || c.samples == 0 ? 700.0 : 500.0);
  }
}

struct Recorder : DocObserver {
  std::vector<std::string> log;
  CVandrelDoc* leaveWhenTold = nullptr;
  void notifyCellsChanged(const CellRange& r) override {
    log.push_back("cells " + std::to_string(r.lastRow));
  }
  void notifyStructureChanged() override { log.push_back("structure"); }
  void notifyFlagsChanged() override { log.push_back("flags"); }
  void notifySamplesChanged(SampleSlot s) override {
    log.push_back(s == SampleSlot::kAudio ? "audio" : "synthesis");
    if (leaveWhenTold != nullptr) leaveWhenTold->removeObserver(this);
  }
};

// Each observer is told once, may leave while it is told, and is not carried
// by a copy of the document.
TEST(CVandrelDocTest, ObserversAreTold) {
  CVandrelDoc doc;
  Recorder a, b;
  doc.addObserver(&a);
  doc.addObserver(&a);
  doc.addObserver(&b);
  doc.markEdited();
  doc.notifyCellsChanged({kF2, kF1, 0, 3});
  b.leaveWhenTold = &doc;
  SampleSet rec;
  rec.samples.assign(1600, 1);
  rec.sampleRate = 16000.0;
  doc.attachAudio(rec);
  doc.attachAudio(rec);
  CVandrelDoc copy = doc;
  copy.markEdited();
  copy = doc;
  copy.setModified(false);
  doc.removeObserver(&a);
  doc.initialise();
  EXPECT_EQ(a.log, (std::vector<std::string>{"flags", "cells 12", "audio", "audio"}));
  EXPECT_EQ(b.log, (std::vector<std::string>{"flags", "cells 12", "audio"}));
}

}  // namespace
}  // namespace vandrel
