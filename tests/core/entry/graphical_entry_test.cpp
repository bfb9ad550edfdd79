// Drawing tracks into the table and copying a recording's tracks: where a
// pointer position lands, one stroke as one undo step, and the resampling
// and gap filling of Enter All Data.

#include <gtest/gtest.h>

#include <optional>
#include <vector>

#include "editing/EditTransaction.h"
#include "editing/UndoCommands.h"
#include "engine/Synthesizer.h"
#include "entry/DrawStroke.h"
#include "entry/EnterAllData.h"

namespace vandrel {
namespace {

// A 200-pixel-wide drawing rectangle from x = 10; strips at y 0..99 (f0 up to
// 500 Hz), 120..219 (formants up to 5000 Hz), 240..299 (0..90 dB).
DrawingLayout testLayout() {
  DrawingLayout l;
  l.area = PixelBox{10, 0, 200, 300};
  l.strip = {PixelBox{10, 0, 200, 100}, PixelBox{10, 120, 200, 100}, PixelBox{10, 240, 200, 60}};
  l.range = {500, 5000, 90};
  return l;
}

TEST(DrawStrokeTest, PointerPositionsMapToFrameAndValue) {
  struct Case {
    DrawTrack track;
    int x, y;
    std::optional<DrawPoint> want;
  };
  const Case cases[] = {
      {DrawTrack::kF0, 10, 0, DrawPoint{0, 5000}},   // top of the f0 strip: ten times its maximum
      {DrawTrack::kF0, 209, 99, DrawPoint{39, 50}},  // last pixel: last frame; bottom row: one pixel's worth
      {DrawTrack::kF0, 114, 50, DrawPoint{20, 2500}},  // trunc(104 * 40 / 200) = 20
      {DrawTrack::kF1, 60, 170, DrawPoint{10, 2500}},  // formants in Hz as computed
      {DrawTrack::kF5, 60, 120, DrawPoint{10, 5000}}, {DrawTrack::kAv, 10, 240, DrawPoint{0, 90}},
      {DrawTrack::kA3f, 11, 299, DrawPoint{0, 1}},  // trunc(1 * 90 / 60)
      {DrawTrack::kF1, 60, 50, std::nullopt},       // f1 over the f0 strip
      {DrawTrack::kF0, 60, 110, std::nullopt},      // between two strips
      {DrawTrack::kF0, 9, 50, std::nullopt},        // left of the drawing rectangle
      {DrawTrack::kF0, 210, 50, std::nullopt},      // right of it
      {DrawTrack::kApv, 60, 300, std::nullopt},     // below it
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << drawTrack(c.track).name << " at " << c.x << "," << c.y);
    const auto got = drawPointAt(testLayout(), c.track, 40, c.x, c.y);
    ASSERT_EQ(got.has_value(), c.want.has_value());
    if (!got) continue;
    EXPECT_EQ(got->column, c.want->column);
    EXPECT_EQ(got->value, c.want->value);
  }
}

// A stroke writes only the frames given, in its own row, and is one undo
// step even in a new document whose history is still empty. The history
// keeps a row in blocks of 256 columns; a stroke drawn right to left over
// three of them must come back whole on redo.
TEST(DrawStrokeTest, OneStrokeIsOneUndoStep) {
  CVandrelDoc doc;
  doc.replaceTable(vandrel::FrameTable(600, doc.params()));
  const FrameTable before = doc.table();
  DrawStroke stroke(DrawTrack::kF2);
  EXPECT_FALSE(stroke.write(doc, DrawPoint{600, 1500}));
  const DrawPoint points[] = {{300, 1500}, {250, 1700}, {520, 1600}};
  FrameTable after = before;
  for (const DrawPoint& p : points) {
    ASSERT_TRUE(stroke.write(doc, p));
    after.setValue(kF2, p.column, p.value);
  }
  stroke.finish();
  EXPECT_EQ(doc.table(), after);
  EXPECT_TRUE(doc.modified() && doc.changedSinceSynthesis() && doc.tableChanged());

  EXPECT_EQ(undoCommand(doc), UndoStatus::kRestored);
  EXPECT_EQ(doc.table(), before);
  EXPECT_EQ(redoCommand(doc), UndoStatus::kRestored);
  EXPECT_EQ(doc.table(), after);

  // A stroke that wrote nothing takes no snapshot.
  const int count = doc.undo().count();
  DrawStroke(DrawTrack::kAv).finish();
  EXPECT_EQ(doc.undo().count(), count);
}

TEST(EnterAllDataTest, ResamplesToFrameMiddlesAndFillsGaps) {
  // Analysis frames every 10 ms from 5 ms; table frames of 5 ms (middles at 2.5, 7.5 ...).
  const std::vector<double> ms = {5, 15, 25, 35, 45};
  struct Case {
    const char* what;
    std::vector<double> values;
    std::vector<double> want;
  };
  const Case cases[] = {
      {"straight line between voiced frames, ends held",
       {100, 200, 300, 400, 500},
       {100, 125, 175, 225, 275, 325, 375, 425, 475, 500, 500}},
      {"next to an unvoiced frame the nearer one",
       {100, 0, 300, 0, 0},
       {100, 100, 0, 0, 300, 300, 0, 0, 0, 0, 0}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    EXPECT_EQ(resampleToFrames(ms, c.values, 11, 5), c.want);
  }

  std::vector<double> f0 = {0, 0, 120, 0, 0, 130, 0};
  ASSERT_TRUE(fillGaps(f0));
  EXPECT_EQ(f0, (std::vector<double>{120, 120, 120, 120, 120, 130, 130}));
  std::vector<double> silent = {0, 0, 0};
  EXPECT_FALSE(fillGaps(silent));
}

TEST(EnterAllDataTest, RefusesWithoutFormantTrackingOrRecordingAndSkipsHiddenRows) {
  CVandrelDoc doc;
  EntryAnalysis analysis;
  EXPECT_EQ(enterAllData(doc, analysis), UserMessages{UserMessage{kFormantTrackingOffMessage}});
  analysis.spectrogram.displayFormants = true;
  EXPECT_EQ(enterAllData(doc, analysis), UserMessages{UserMessage{kNoRecordingMessage}});
  EXPECT_EQ(doc.undo().count(), 0);

  doc.changeParams([](ParameterSet& ps) { ps.setSelected(kF4, false); });
  const FrameTable before = doc.table();
  RecordingTracks tracks;
  tracks.frameMs = {5, 105};
  tracks.f0 = {0, 150};
  tracks.formants = {{700, 1200, 2500, 3500, 5400}, {700, 1200, 2500, 3500, 5400}};
  enterTracks(doc, tracks);
  for (int c = 0; c < doc.table().columns(); ++c) {
    EXPECT_EQ(doc.table().value(kF0, c), 1500);  // the leading unvoiced frames take the first voiced value
    EXPECT_EQ(doc.table().value(kF2, c), 1200);
    EXPECT_EQ(doc.table().value(kF4, c), before.value(kF4, c));
    EXPECT_EQ(doc.table().value(kF5, c), doc.params().at(kF5).upper);  // held to the row's limit, as typed
  }
  EXPECT_EQ(undoCommand(doc), UndoStatus::kRestored);
  EXPECT_EQ(doc.table(), before);
}

// A glide of known formants through the whole command: F1 rises 10 Hz per
// 10 ms frame. Each table frame gets the value at its own middle, so the
// middle frame holds the table's own F1 there (the analysis frames are
// centred where the pitch windows are, not at their starts).
TEST(EnterAllDataTest, KnownGlideArrivesAtItsOwnFrames) {
  CVandrelDoc src;
  src.newTable(40, 10);
  for (int c = 0; c < 40; ++c) {
    vandrel::EditTransaction(src).setValue(kF0, c, 1200);
    vandrel::EditTransaction(src).setValue(kF1, c, 400 + 10 * c);
  }
  KlattState state;
  state.reset(1);
  ASSERT_TRUE(synthesize(src, {}, state));

  CVandrelDoc doc = src;
  doc.attachAudio(src.synthesized());
  EntryAnalysis analysis;
  analysis.spectrogram = COptionSpectrogram(doc.audio().sampleRate);
  analysis.spectrogram.displayFormants = true;
  for (int c = 0; c < 40; ++c) vandrel::EditTransaction(doc).setValue(kF1, c, 0);
  ASSERT_EQ(enterAllData(doc, analysis), UserMessages{});
  EXPECT_NEAR(doc.table().value(kF0, 20), 1200, 60);
  EXPECT_NEAR(doc.table().value(kF1, 20), 600, 30);
  EXPECT_NEAR(doc.table().value(kF1, 30) - doc.table().value(kF1, 10), 200, 40);
}

}  // namespace
}  // namespace vandrel
