// The vowel space's core: the F1/F2 map in Hz and bark, the trajectory and
// its handles, reference vowels from text, and dragging a handle as an edit.

#include <gtest/gtest.h>

#include <cmath>

#include "batch/Continuum.h"
#include "editing/EditTransaction.h"
#include "editing/UndoCommands.h"
#include "vowelspace/FormantDrag.h"
#include "vowelspace/VowelSpace.h"

namespace vandrel {
namespace {

TEST(VowelSpaceTest, MapPutsFrontVowelsLeftAndOpenVowelsDown) {
  for (FormantScale scale : {FormantScale::kHz, FormantScale::kBark}) {
    SCOPED_TRACE(scale == FormantScale::kBark ? "bark" : "Hz");
    const VowelSpaceMap map{scale, 200, 1000, 500, 3000, 0, 0, 400, 300};
    EXPECT_DOUBLE_EQ(map.xOf(3000), 0);  // the highest F2 at the left edge
    EXPECT_DOUBLE_EQ(map.xOf(500), 400);
    EXPECT_DOUBLE_EQ(map.yOf(200), 0);  // the lowest F1 at the top
    EXPECT_DOUBLE_EQ(map.yOf(1000), 300);
    EXPECT_NEAR(map.f2At(map.xOf(1234)), 1234, 1e-9);
    EXPECT_NEAR(map.f1At(map.yOf(567)), 567, 1e-9);
  }
  // On the bark scale the middle of the F1 axis is 200 and 1000 Hz's
  // middle in bark: (1.9524 + 8.5274) / 2 = 5.2399 bark, 537.5 Hz.
  const VowelSpaceMap bark{FormantScale::kBark, 200, 1000, 500, 3000, 0, 0, 400, 300};
  EXPECT_NEAR(bark.f1At(150), 537.5, 0.1);
  const std::vector<double> ticks = bark.ticks(200, 1000, 300, 40);
  ASSERT_FALSE(ticks.empty());
  for (double hz : ticks) EXPECT_NEAR(hzToBark(hz), std::round(hzToBark(hz)), 1e-9);  // whole barks
  const VowelSpaceMap hz{FormantScale::kHz, 200, 1000, 500, 3000, 0, 0, 400, 300};
  EXPECT_EQ(hz.ticks(200, 1000, 300, 40), (std::vector<double>{200, 400, 600, 800, 1000}));
}

TEST(VowelSpaceTest, TrajectoryHandlesAndReferenceVowels) {
  const ParameterSet ps;
  FrameTable t(5, ps);
  for (int c = 0; c < 5; ++c) t.setValue(kF2, c, 1000 + 200 * c);
  t.setAnchor(kF1, 1, true);
  t.setAnchor(kF2, 3, true);
  const std::vector<TrajectoryPoint> points = vowelTrajectory(t);
  ASSERT_EQ(points.size(), 5u);
  EXPECT_EQ(points[3].f2, 1600);
  EXPECT_EQ(points[3].f1, 500);
  const VowelSpaceMap map{FormantScale::kHz, 200, 1300, 550, 3000, 0, 0, 245, 110};  // 10 Hz a pixel
  // 1600 Hz is at x = 140; the pointer 4 px off finds frame 3, a handle.
  EXPECT_EQ(nearestFrame(points, map, 144, map.yOf(500), 6, true), 3);
  EXPECT_EQ(nearestFrame(points, map, map.xOf(1400), map.yOf(500), 6, true), -1);  // frame 2: no handle
  EXPECT_EQ(nearestFrame(points, map, map.xOf(1400), map.yOf(500), 6, false), 2);

  std::vector<ReferenceVowel> vowels;
  ASSERT_EQ(
      readReferenceVowels("vowel\tf1\tf2\r\n# Peterson & Barney, men\ni\t270\t2290\n\nɑ 730 1090\n", vowels),
      "");
  ASSERT_EQ(vowels.size(), 2u);
  EXPECT_EQ(vowels[1].label, "ɑ");
  EXPECT_EQ(vowels[1].f2, 1090);
  const std::vector<ReferenceVowel> kept = vowels;
  EXPECT_EQ(readReferenceVowels("i 270 2290\nu 300 high\n", vowels),
            "line 2 is not \"vowel f1 f2\" with two frequencies in Hz: u 300 high");
  EXPECT_NE(readReferenceVowels("vowel f1 f2\n", vowels), "");
  EXPECT_EQ(vowels.size(), kept.size());
}

TEST(VowelSpaceTest, DraggingAHandleMovesOnlyItsAnchorsAsOneUndoStep) {
  CVandrelDoc doc;
  vandrel::EditTransaction(doc).setAnchor(kF1, 5, true);
  vandrel::EditTransaction(doc).setAnchor(kF2, 5, true);
  vandrel::EditTransaction(doc).setAnchor(kF1, 12, true);  // f1 alone: moves up and down only
  const FrameTable before = doc.table();

  FormantDrag drag(5);
  drag.moveTo(doc, 400.4, 2000);
  drag.moveTo(doc, 350.6, 2200);
  drag.finish(doc);
  FormantDrag single(12);
  single.moveTo(doc, 9999, 900);  // held at f1's upper limit
  single.finish(doc);
  FormantDrag none(7);  // no anchor: nothing happens
  EXPECT_EQ(none.moveTo(doc, 300, 900).firstColumn, 1);
  none.finish(doc);

  for (int r = 0; r < kParamCount; ++r)
    for (int c = 0; c < doc.table().columns(); ++c) {
      const bool moved = (r == kF1 || r == kF2) && c == 5;
      if (!moved && !(r == kF1 && c == 12)) {
        EXPECT_EQ(doc.table().value(r, c), before.value(r, c)) << r << " " << c;
      }
    }
  EXPECT_EQ(doc.table().value(kF1, 5), 351);
  EXPECT_EQ(doc.table().value(kF2, 5), 2200);
  EXPECT_EQ(doc.table().value(kF1, 12), 1300);
  EXPECT_TRUE(doc.modified());

  ASSERT_EQ(undoCommand(doc), UndoStatus::kRestored);  // the f1-only drag
  EXPECT_EQ(doc.table().value(kF1, 12), 500);
  EXPECT_EQ(doc.table().value(kF2, 5), 2200);
  ASSERT_EQ(undoCommand(doc), UndoStatus::kRestored);  // the first drag, as one step
  EXPECT_EQ(doc.table(), before);

  // With automatic interpolation the frames between the anchors follow.
  doc.setAutoInterpolate(true);
  FormantDrag follow(5);
  follow.moveTo(doc, 300, 1500);
  follow.finish(doc);
  EXPECT_EQ(doc.table().value(kF1, 5), 300);
  EXPECT_NEAR(doc.table().value(kF1, 8), 300 + 3 * 200 / 7.0, 1e-9);
}

}  // namespace
}  // namespace vandrel
