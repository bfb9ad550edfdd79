// The parameter file (.vdr): the writer's exact bytes, round trips of random
// documents, and the folder of awkward files (written by a separate script).

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "document/OpenFile.h"
#include "document/VandrelDoc.h"
#include "document/VdrFile.h"
#include "editing/EditTransaction.h"
#include "engine/Synthesizer.h"
#include "util/AtomicFile.h"

namespace vandrel {
namespace {

constexpr VdrKind kAll = VdrKind::kAllParameters;
constexpr VdrKind kSel = VdrKind::kSelectedParameters;
const std::string kDir = VANDREL_TEST_DATA "/vdr/";

std::string fileText(const std::string& name) {
  std::string s;
  EXPECT_TRUE(readWholeFile(kDir + name, s)) << name;
  return s;
}

// The default document after one synthesis, as written by the independent
// script of the data folder, without and with anchors. No anchors, no anchor
// section; otherwise "name,column" entries in row, then frame order, a line
// end after every tenth and one more at the end. A selected file lists only
// the anchors of shown rows while line 2 counts them all.
TEST(VdrWriterTest, ExactBytes) {
  const std::string ten = "f0,0\tf0,1\tf0,2\tf0,3\tf0,4\tf0,5\tf0,6\tf0,7\tf0,8\tf0,9\t\r\n";
  struct Case {
    int f0Run;                               // anchors at f0, columns 0 .. f0Run - 1
    std::vector<std::pair<int, int>> cells;  // and these (row, column)
    VdrKind kind;
    std::string section;
  };
  const Case cases[] = {
      {0, {}, kAll, ""},
      {0, {}, kSel, ""},
      {10, {}, kAll, ten + "\r\n"},
      {11, {}, kAll, ten + "f0,10\t\r\n"},
      {20, {}, kAll, ten + "f0,10\tf0,11\tf0,12\tf0,13\tf0,14\tf0,15\tf0,16\tf0,17\tf0,18\tf0,19\t\r\n\r\n"},
      {0, {{kGain, 0}, {kF1, 2}, {kF0, 5}, {kF0, 1}}, kAll, "f0,1\tf0,5\tf1,2\tgain,0\t\r\n"},
      {2, {{kF8, 2}}, kSel, "f0,0\tf0,1\t\r\n"},  // f8 is hidden
      {0, {{kF8, 2}}, kSel, "\r\n"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(&c - cases);
    CVandrelDoc doc;
    ASSERT_TRUE(synthesize(doc));
    for (int col = 0; col < c.f0Run; ++col) vandrel::EditTransaction(doc).setAnchor(kF0, col, true);
    for (const auto& [row, col] : c.cells) vandrel::EditTransaction(doc).setAnchor(row, col, true);
    std::string want = fileText(c.kind == kAll ? "written/default_all.vdr" : "written/default_sel.vdr");
    want.replace(want.find("\r\n1\t0\t") + 4, 1, std::to_string(c.f0Run + static_cast<int>(c.cells.size())));
    want.insert(want.find("f0\tav\t"), c.section);  // before the names line
    EXPECT_EQ(writeVdr(doc, c.kind), want);
  }
}

// Values and the file length are cut toward zero, values held within 32
// bits; the reader takes even the extremes back.
TEST(VdrWriterTest, FractionsTruncatedTowardZero) {
  const std::pair<double, std::string> cases[] = {
      {10.7, "10"}, {-3.7, "-3"}, {-0.5, "0"}, {1e12, "2147483647"}, {-1e12, "-2147483648"}};
  for (const auto& [value, written] : cases) {
    SCOPED_TRACE(value);
    CVandrelDoc doc;
    vandrel::EditTransaction(doc).setValue(kAv, 0, value);
    const std::string text = writeVdr(doc, kAll);
    EXPECT_NE(text.find("\tgain\t\r\n1000\t" + written + "\t0\t0\t0\t7500\t"), std::string::npos);
    EXPECT_EQ(parseVdr(text, ParameterSet{}).content.table.value(kAv, 0), std::stod(written));
  }
  CVandrelDoc doc;
  doc.changeParams([&](vandrel::ParameterSet& ps) { ps.fileLengthMs = 205.9; });
  doc.setSampleRate(22050.0);
  EXPECT_EQ(writeVdr(doc, kAll).substr(0, 15), "205\t22050\t10\t\r\n");
}

// A document with everything the file stores set at random; every tenth
// seed shows no rows, every tenth from the fifth has no anchors.
CVandrelDoc randomDoc(std::uint32_t seed) {
  std::mt19937 rng(seed);
  auto pick = [&](int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng); };
  CVandrelDoc doc;
  const int intervals[] = {1, 5, 10, 20};
  doc.changeParams([&](ParameterSet& ps) {
    ps.intervalMs = intervals[pick(0, 3)];
    ps.frameCount = pick(1, 60);
    ps.fileLengthMs = ps.frameCount * ps.intervalMs + pick(0, ps.intervalMs - 1);
    ps.cascadeParallel = pick(0, 1);
    for (int r = 0; r < kParamCount; ++r) ps.setSelected(r, seed % 10 != 0 && pick(0, 3) != 0);
  });
  const ParameterSet& ps = doc.params();
  ColorSlots colors;
  for (auto& c : colors) c = rgb(pick(0, 255), pick(0, 255), pick(0, 255));
  doc.setColors(colors);
  doc.setSampleRate(pick(0, 1) != 0 ? 22050.0 : 11025.0);
  doc.replaceTable(vandrel::FrameTable(ps.frameCount, ps));
  for (int r = 0; r < kParamCount; ++r)
    for (int c = 0; c < ps.frameCount; ++c) {
      // Now and then a value at an edge of the reader's number rules.
      const double edges[] = {-1, -0.5, 0.99, 2147483647, -2147483648.0};
      vandrel::EditTransaction(doc).setValue(
          r, c, pick(0, 49) == 0 ? edges[pick(0, 4)] : pick(-200000, 200000) + pick(-99, 99) / 100.0);
      vandrel::EditTransaction(doc).setAnchor(r, c, pick(0, 19) == 0 && seed % 10 != 5);
    }
  return doc;
}

// Both kinds, many seeds: what comes back is the document, values cut toward
// zero; the rows a selected file leaves out hold their defaults and no
// anchors. Loaded and written again, an all-parameters file is the same text.
TEST(VdrReaderTest, RandomDocumentsRoundTrip) {
  for (std::uint32_t seed = 1; seed <= 40; ++seed) {
    const CVandrelDoc doc = randomDoc(seed);
    const ParameterSet& ps = doc.params();
    for (VdrKind kind : {kAll, kSel}) {
      SCOPED_TRACE(testing::Message() << "seed " << seed << (kind == kAll ? " all" : " sel"));
      FrameTable want = doc.table();
      for (int row = 0; row < kParamCount; ++row)
        for (int col = 0; col < want.columns(); ++col) {
          const bool kept = kind == kAll || ps.at(row).selected != 0;
          want.setValue(row, col, kept ? std::trunc(want.value(row, col)) : ps.at(row).defaultValue);
          want.setAnchor(row, col, kept && want.anchor(row, col));
        }
      const std::string text = writeVdr(doc, kind);
      const VdrReadResult r = parseVdr(text, ParameterSet{});
      ASSERT_TRUE(r.ok()) << r.detail;
      EXPECT_TRUE(r.content.table == want);
      EXPECT_EQ(r.content.colors, doc.colors());
      EXPECT_EQ(r.content.fileLengthMs, static_cast<int>(ps.fileLengthMs));
      EXPECT_EQ(r.content.intervalMs, ps.intervalMs);
      EXPECT_EQ(r.content.sampleRate, static_cast<int>(doc.sampleRate()));
      EXPECT_EQ(r.content.cascadeParallel, ps.cascadeParallel);
      EXPECT_EQ(r.content.anchorCount, doc.table().anchorCount());
      for (int row = 0; row < kParamCount; ++row)
        EXPECT_EQ(r.content.selected[static_cast<std::size_t>(row)], ps.at(row).selected != 0) << row;
      if (kind == kAll) {
        CVandrelDoc back;
        loadVdr(back, r.content);
        EXPECT_EQ(writeVdr(back, kind), text);
      }
    }
  }
}

// The folder of awkward files through the reader and the open command: each
// gives its message and none crashes. A refused file leaves the open document
// exactly as it was; an accepted one replaces it, reads as good_all.vdr
// (written selected, as good_sel.vdr), drops the old synthesis and leaves the
// document unmodified but due for synthesis.
TEST(VdrReaderTest, AwkwardFiles) {
  const std::pair<std::string_view, std::string> groups[] = {
      {"",
       "good_all good_sel ok_lf_endings ok_cr_endings ok_no_final_tabs ok_padded_tabs "
       "ok_trailing_empty_lines ok_no_final_line_end ok_byte_order_mark ok_blanks_around_values "
       "ok_plus_signs ok_fractions"},
      {kMsgFileTypeNotRecognized,
       "empty text binary truncated_after_timing truncated_after_settings truncated_after_colours "
       "truncated_after_flags truncated_after_anchors truncated_after_header truncated_after_data "
       "truncated_mid_line timing_two_values timing_zero_interval settings_nine_values method_two colour_256 "
       "flag_two flags_eleven_on_a_line anchor_f0_x anchor_without_column header_unknown_name "
       "header_name_twice data_short_line data_long_line data_missing_line data_extra_line data_not_a_number "
       "data_twenty_digits data_beyond_32_bits data_exponent data_empty_field"},
      {kMsgWrongAnchorCount,
       "anchor_count_high anchor_count_low anchor_count_zero_with_entries anchor_zz_3 anchor_column_beyond "
       "anchor_column_negative anchor_twice"},
  };
  CVandrelDoc doc = randomDoc(7);
  SampleSet sound;
  sound.samples.assign(10, 1);
  doc.acceptSynthesis(std::move(sound), doc.sampleRate());
  doc.markEdited();
  const std::string before = writeVdr(doc, kAll);
  int files = 0;
  for (const auto& [message, names] : groups) {
    std::istringstream list(names);
    for (std::string name; list >> name; ++files) {
      SCOPED_TRACE(name);
      const std::string path = kDir + name + ".vdr";
      ASSERT_TRUE(std::filesystem::exists(path));
      EXPECT_EQ(readVdrFile(path, ParameterSet{}).message(), message);
      OpenedFile f = readAnyFile(path, {}, doc.params());
      EXPECT_EQ(f.message, message) << f.detail;
      EXPECT_EQ(f.detail.empty(), message.empty());
      EXPECT_EQ(f.kind, message.empty() ? OpenedKind::kParameters : OpenedKind::kNothing);
      EXPECT_EQ(f.by, message.empty() ? OpenedBy::kParameterReader : OpenedBy::kNone);
      CVandrelDoc opened = doc;
      applyOpened(opened, std::move(f));
      if (message.empty()) {
        EXPECT_EQ(writeVdr(opened, kAll), fileText("good_all.vdr"));
        EXPECT_EQ(writeVdr(opened, kSel), fileText("good_sel.vdr"));
        EXPECT_EQ(opened.params().frameCount, 5);
        EXPECT_EQ(opened.params().selectedCount, 31);
        EXPECT_FALSE(opened.modified());
        EXPECT_TRUE(opened.changedSinceSynthesis());
        EXPECT_TRUE(opened.synthesized().empty());
        EXPECT_FALSE(opened.tableUntouched());
      } else {
        EXPECT_EQ(writeVdr(opened, kAll), before);
        EXPECT_TRUE(opened.modified());
      }
    }
  }
  EXPECT_EQ(files, 50);
  // Where a data line goes wrong, the command line says which and why.
  for (const auto& [name, detail] :
       {std::pair{"data_beyond_32_bits", "line 11: '2147483648' is not a 32-bit whole number"},
        {"data_twenty_digits", "line 11: '12345678901234567890' is not a 32-bit whole number"},
        {"data_long_line", "line 11: 48 values expected, 49 found"},
        {"data_empty_field", "line 11: '' is not a 32-bit whole number"}})
    EXPECT_EQ(readVdrFile(kDir + name + ".vdr", ParameterSet{}).detail, detail);
  const OpenedFile missing = readAnyFile(kDir + "no_such_file.vdr", {}, doc.params());
  EXPECT_NE(missing.message.find("no_such_file.vdr"), std::string::npos);
}

}  // namespace
}  // namespace vandrel
