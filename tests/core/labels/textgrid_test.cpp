// Labels and their TextGrid files: every form and encoding Praat writes
// reads back to the same tiers; broken files are refused whole with the
// line and the reason; Praat itself reads what we write.

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include <unistd.h>

#include "editing/CellEdit.h"
#include "editing/UndoCommands.h"
#include "labels/DocumentLabels.h"
#include "labels/Labels.h"
#include "labels/TextGrid.h"
#include "util/AtomicFile.h"

namespace vandrel {
namespace {

Labels sample() {
  Labels g{0.0, 1.25, {}};
  LabelTier phones = makeTier("phones", false, 0.0, 1.25);
  phones.intervals = {{0.0, 0.1, ""}, {0.1, 0.35, "b"}, {0.35, 0.8, "aː"}, {0.8, 1.25, "say \"da\""}};
  LabelTier words = makeTier("wörds ʃ", false, 0.0, 1.25);
  LabelTier events = makeTier("events", true, 0.0, 1.25);
  events.points = {{0.105, "burst"}, {0.37, "ə onset"}};
  g.tiers = {phones, words, events};
  return g;
}

// A second, plain encoder: UTF-8 to UTF-16 with a byte-order mark.
std::string utf16(const std::string& s, bool big) {
  std::string out = big ? "\xFE\xFF" : "\xFF\xFE";
  const auto unit = [&](unsigned u) {
    const char hi = static_cast<char>(u >> 8), lo = static_cast<char>(u & 0xFF);
    out += big ? hi : lo;
    out += big ? lo : hi;
  };
  for (std::size_t i = 0; i < s.size();) {
    const auto b = static_cast<unsigned char>(s[i]);
    const int n = b < 0x80 ? 1 : b < 0xE0 ? 2 : b < 0xF0 ? 3 : 4;
    unsigned c = n == 1 ? b : b & (0xFFu >> (n + 1));
    for (int k = 1; k < n; ++k)
      c = (c << 6) | (static_cast<unsigned char>(s[i + static_cast<std::size_t>(k)]) & 0x3F);
    i += static_cast<std::size_t>(n);
    if (c >= 0x10000) {
      unit(0xD800 + ((c - 0x10000) >> 10));
      unit(0xDC00 + ((c - 0x10000) & 0x3FF));
    } else {
      unit(c);
    }
  }
  return out;
}

TEST(TextGridTest, EveryFormAndEncodingReadsBackTheSameLabels) {
  Labels g = sample();
  g.tiers[2].points.push_back({1.25, "release"});  // a point may sit on its tier's very end
  const std::string longText = writeTextGrid(g, TextGridForm::kLong);
  const std::string shortText = writeTextGrid(g, TextGridForm::kShort);
  EXPECT_NE(longText.find("            text = \"say \"\"da\"\"\" \n"), std::string::npos);
  EXPECT_NE(shortText.find("\n\"IntervalTier\"\n\"phones\"\n0\n1.25\n4\n0\n0.1\n\"\"\n"), std::string::npos);
  std::string crlf;
  for (const char c : shortText) crlf += c == '\n' ? std::string("\r\n") : std::string(1, c);
  const struct {
    const char* name;
    std::string bytes;
  } cases[] = {
      {"long", longText},
      {"short", shortText},
      {"BOM", "\xEF\xBB\xBF" + longText},
      {"UTF-16 BE", utf16(longText, true)},
      {"UTF-16 LE", utf16(shortText + "! an emoji in a comment: \xF0\x9F\x98\x80\n", false)},
      {"CR LF", crlf},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    const TextGridRead r = parseTextGrid(c.bytes, "x.TextGrid");
    ASSERT_TRUE(r.ok()) << r.message;
    EXPECT_EQ(r.labels, g);
  }
}

TEST(TextGridTest, OnlyFreeStandingNumbersTextsAndFlagsAreData) {
  // Praat's older short form, comments, labels in odd places, numbers
  // glued to brackets that are not data, and a Latin-1 text.
  const std::string text =
      "File type = \"ooTextFile short\" \"TextGrid\"\n"
      "! the range\n"
      "xmin=[1] 0 xmax 2.5 tiers? <exists> size = 1 item [1]: \"IntervalTier\" \"caf\xE9\"\n"
      "0 2.5 intervals: size = 2 (7) +0 1.5e0 \"a\" 1.5 2.5 \"\" ! done 3 \"x\"\n";
  const TextGridRead r = parseTextGrid(text, "x.TextGrid");
  ASSERT_TRUE(r.ok()) << r.message;
  ASSERT_EQ(r.labels.tiers.size(), 1u);
  EXPECT_EQ(r.labels.tiers[0].name, "caf\xC3\xA9");
  EXPECT_EQ(r.labels.tiers[0].intervals, (std::vector<LabelInterval>{{0.0, 1.5, "a"}, {1.5, 2.5, ""}}));
  EXPECT_EQ(*r.labels.tiers[0].intervalAt(1.5), 1u);
  EXPECT_EQ(*r.labels.tiers[0].intervalAt(2.5), 1u);
  EXPECT_FALSE(r.labels.tiers[0].intervalAt(2.6));
}

TEST(TextGridTest, BrokenTiersAreRefusedWholeWithLineAndReason) {
  const std::string head =
      "File type = \"ooTextFile\"\nObject class = \"TextGrid\"\n\n0\n1\n<exists>\n1\n"
      "\"IntervalTier\"\n\"p\"\n0\n1\n3\n";  // the intervals start on line 13
  const struct {
    const char* name;
    std::string body;
    std::string message;
  } cases[] = {
      {"overlap", "0\n0.5\n\"a\"\n0.4\n0.8\n\"b\"\n0.8\n1\n\"\"\n",
       "x.TextGrid, line 16: interval 2 starts before interval 1 ends"},
      {"gap", "0\n0.5\n\"a\"\n0.5\n0.8\n\"b\"\n0.9\n1\n\"\"\n",
       "x.TextGrid, line 19: interval 3 starts after interval 2 ends"},
      {"no duration", "0\n0.5\n\"a\"\n0.5\n0.5\n\"b\"\n",
       "x.TextGrid, line 16: interval 2 does not end after it starts"},
      {"short of the end", "0\n0.5\n\"a\"\n0.5\n0.8\n\"b\"\n0.8\n0.9\n\"\"\n",
       "x.TextGrid, line 21: interval 3 ends at 0.9 s, not where its tier ends (1 s)"},
      {"truncated", "0\n0.5\n\"a\"\n0.5\n",
       "x.TextGrid, line 16: the file ends before the end of interval 2 of 3 in tier 1"},
      {"open quote", "0\n0.5\n\"a\n", "x.TextGrid, line 15: a text starts here and has no closing quote"},
      {"text for a time", "0\n\"a\"\n",
       "x.TextGrid, line 14: the end of interval 1 of 3 in tier 1 should be a number"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    const TextGridRead r = parseTextGrid(head + c.body, "x.TextGrid");
    EXPECT_EQ(r.message, c.message);
    EXPECT_TRUE(r.labels.empty());
  }
  EXPECT_EQ(parseTextGrid("File type = \"ooTextFile\"\nObject class = \"Pitch 1\"\n", "p").message,
            "p, line 2: the file holds a Pitch 1, not a TextGrid");
  EXPECT_EQ(parseTextGrid("0 1 <exists> 1", "q").message,
            "q: not a Praat text file (it does not start with File type = \"ooTextFile\")");
}

TEST(LabelsTest, HandEditsKeepTheTiersWhole) {
  Labels g;
  ASSERT_EQ(addTier(g, "phones", false, 0.0, 1.0), "");
  ASSERT_EQ(addTier(g, "events", true, 5.0, 9.0), "");  // takes the labels' range
  EXPECT_EQ(g.tiers[1].end, 1.0);
  EXPECT_EQ(addBoundary(g, 0, 0.4), "");
  EXPECT_EQ(addBoundary(g, 0, 0.7), "");
  EXPECT_EQ(addBoundary(g, 0, 0.4), "there is a boundary at that time already");
  EXPECT_EQ(setLabelText(g, 0, 1, "a"), "");
  EXPECT_EQ(setLabelText(g, 0, 2, "i"), "");
  EXPECT_EQ(moveBoundary(g, 0, 2, 0.9), "");
  EXPECT_EQ(moveBoundary(g, 0, 1, 5.0), "");  // held before the next boundary
  EXPECT_LT(g.tiers[0].intervals[0].end, 0.9);
  EXPECT_EQ(g.tiers[0].intervals[0].end, g.tiers[0].intervals[1].start);
  EXPECT_EQ(moveBoundary(g, 0, 1, 0.5), "");
  EXPECT_EQ(removeBoundary(g, 0, 2), "");
  EXPECT_EQ(g.tiers[0].intervals, (std::vector<LabelInterval>{{0.0, 0.5, ""}, {0.5, 1.0, "a i"}}));
  EXPECT_EQ(addBoundary(g, 1, 0.3), "");
  EXPECT_EQ(addBoundary(g, 1, 0.1), "");
  EXPECT_EQ(g.tiers[1].points, (std::vector<LabelPoint>{{0.1, ""}, {0.3, ""}}));
  EXPECT_EQ(removeBoundary(g, 0, 0), "there is no such boundary");
  EXPECT_EQ(removeTier(g, 2), "there is no tier 3");
  // What the edits leave is a file that reads back.
  EXPECT_EQ(parseTextGrid(writeTextGrid(g), "e").labels, g);
}

TEST(DocumentLabelsTest, EachHandEditIsOneUndoStepAndTheLabelsLiveBesideTheTable) {
  CVandrelDoc doc;
  const auto tier = [](Labels& g) { return addTier(g, "phones", false, 0.0, 0.2); };
  const auto split = [](Labels& g) { return addBoundary(g, 0, 0.05); };
  ASSERT_EQ(editLabels(doc, tier), "");
  ASSERT_EQ(editLabels(doc, split), "");
  EXPECT_EQ(editLabels(doc, split), "there is a boundary at that time already");  // no step
  ASSERT_TRUE(editCell(doc, kF1, 3, 700));
  EXPECT_TRUE(doc.modified());
  const auto intervals = [&] { return documentLabels(doc).tiers.at(0).intervals.size(); };
  ASSERT_EQ(undoCommand(doc), UndoStatus::kRestored);
  EXPECT_EQ(doc.table().value(kF1, 3), 500);
  EXPECT_EQ(intervals(), 2u);
  ASSERT_EQ(undoCommand(doc), UndoStatus::kRestored);
  EXPECT_EQ(intervals(), 1u);
  redoCommand(doc);
  redoCommand(doc);
  EXPECT_EQ(doc.table().value(kF1, 3), 700);
  EXPECT_EQ(intervals(), 2u);

  const auto dir = std::filesystem::temp_directory_path() / ("vandrel_dl_" + std::to_string(::getpid()));
  std::filesystem::create_directories(dir);
  ASSERT_EQ(saveSidecarLabels(doc, (dir / "t.vdr").string()), "");
  CVandrelDoc other;
  EXPECT_EQ(openSidecarLabels(other, (dir / "t.wav").string()), "");
  EXPECT_EQ(documentLabels(other), documentLabels(doc));
  EXPECT_FALSE(other.modified());
  ASSERT_EQ(writeFileAtomically((dir / "t.TextGrid").string(), "File type = \"ooTextFile\"\n\"TextGrid\" 0"),
            "");
  EXPECT_EQ(openSidecarLabels(other, (dir / "t.vdr").string()),
            (dir / "t.TextGrid").string() + ", line 2: the file ends before the end time");
  EXPECT_EQ(documentLabels(other), documentLabels(doc));
  std::filesystem::remove_all(dir);
}

// An interval's frames are those whose middles it holds: 20 frames of 10 ms,
// middles at 5, 15, ... 195 ms.
TEST(DocumentLabelsTest, AnIntervalHoldsTheFramesWhoseMiddlesItHolds) {
  CVandrelDoc doc;
  ASSERT_EQ(doc.table().columns(), 20);
  ASSERT_EQ(doc.params().intervalMs, 10);
  using Frames = std::optional<std::pair<int, int>>;
  const struct {
    double start, end;
    Frames frames;
  } cases[] = {{0.0, 0.1, std::pair{0, 9}},  {0.1, 0.3, std::pair{10, 19}},   {0.014, 0.016, std::pair{1, 1}},
               {0.016, 0.024, std::nullopt}, {0.194, 0.3, std::pair{19, 19}}, {0.196, 0.3, std::nullopt},
               {-1.0, 0.004, std::nullopt},  {-1.0, 0.006, std::pair{0, 0}}};
  for (const auto& c : cases)
    EXPECT_EQ(framesWithin(doc, c.start, c.end), c.frames) << c.start << ".." << c.end;
}

TEST(TextGridTest, PraatReadsWhatWeWrite) {
  if (!std::filesystem::exists("/usr/bin/praat")) GTEST_SKIP() << "praat is not installed";
  const auto dir = std::filesystem::temp_directory_path() / ("vandrel_tg_" + std::to_string(::getpid()));
  std::filesystem::create_directories(dir);
  const std::string grid = (dir / "ours.TextGrid").string(), script = (dir / "read.praat").string();
  ASSERT_EQ(saveTextGridFile(grid, sample()), "");
  // Praat lists every interval and point as it understood them, written
  // back as a short TextGrid of its own, which we read.
  ASSERT_EQ(writeFileAtomically(script, "tg = Read from file: \"" + grid + "\"\nSave as short text file: \"" +
                                            (dir / "praat.TextGrid").string() + "\"\n"),
            "");
  ASSERT_EQ(std::system(("/usr/bin/praat --run " + script + " >/dev/null 2>&1").c_str()), 0);
  const TextGridRead back = readTextGridFile((dir / "praat.TextGrid").string());
  ASSERT_TRUE(back.ok()) << back.message;
  EXPECT_EQ(back.labels, sample());
  std::filesystem::remove_all(dir);
}

}  // namespace
}  // namespace vandrel
