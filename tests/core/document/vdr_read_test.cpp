// Reading parameter files back: round trips of random documents, what a
// spreadsheet may do to a file, and the folder of awkward files.

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>

#include "document/OpenFile.h"
#include "document/VandrelDoc.h"
#include "document/VdrFile.h"
#include "util/AtomicFile.h"

namespace vandrel {
namespace {

const std::string kDir = VANDREL_TEST_DATA "/vdr/";

std::string fileText(const std::string& name) {
  std::string s;
  EXPECT_TRUE(readWholeFile(kDir + name, s)) << name;
  return s;
}

// A document with everything the file stores set at random.
CVandrelDoc randomDoc(std::uint32_t seed) {
  std::mt19937 rng(seed);
  auto pick = [&](int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng); };
  CVandrelDoc doc;
  ParameterSet& ps = doc.params();
  const int intervals[] = {1, 5, 10, 20};
  ps.intervalMs = intervals[pick(0, 3)];
  const int frames = pick(1, 60);
  ps.frameCount = frames;
  ps.fileLengthMs = frames * ps.intervalMs + pick(0, ps.intervalMs - 1);
  ps.cascadeParallel = pick(0, 1);
  for (int r = 0; r < kParamCount; ++r) ps.setSelected(r, pick(0, 3) != 0);
  for (auto& c : doc.colors) c = rgb(pick(0, 255), pick(0, 255), pick(0, 255));
  doc.sampleRate = pick(0, 1) != 0 ? 22050.0 : 11025.0;
  doc.table.reset(frames, ps);
  for (int r = 0; r < kParamCount; ++r)
    for (int c = 0; c < frames; ++c) {
      doc.table.setValue(r, c, pick(-200000, 200000) + pick(-99, 99) / 100.0);
      doc.table.setAnchor(r, c, pick(0, 19) == 0);
    }
  return doc;
}

// Both kinds, many seeds: what comes back is what was written, truncated;
// the rows a selected file leaves out hold their defaults and no anchors.
TEST(VdrReaderTest, RandomDocumentsRoundTrip) {
  for (std::uint32_t seed = 1; seed <= 40; ++seed) {
    const CVandrelDoc doc = randomDoc(seed);
    for (VdrKind kind : {VdrKind::kAllParameters, VdrKind::kSelectedParameters}) {
      SCOPED_TRACE(testing::Message()
                   << "seed " << seed << (kind == VdrKind::kAllParameters ? " all" : " sel"));
      const VdrReadResult r = parseVdr(writeVdr(doc, kind), ParameterSet{});
      ASSERT_TRUE(r.ok()) << r.detail;
      const VdrContent& c = r.content;
      const ParameterSet& ps = doc.params();
      EXPECT_EQ(c.fileLengthMs, static_cast<int>(ps.fileLengthMs));
      EXPECT_EQ(c.intervalMs, ps.intervalMs);
      EXPECT_EQ(c.sampleRate, static_cast<int>(doc.sampleRate));
      EXPECT_EQ(c.cascadeParallel, ps.cascadeParallel);
      EXPECT_EQ(c.anchorCount, doc.table.anchorCount());
      EXPECT_EQ(c.colors, doc.colors);
      ASSERT_EQ(c.table.columns(), doc.table.columns());
      for (int row = 0; row < kParamCount; ++row) {
        const bool shown = ps.at(row).selected != 0;
        EXPECT_EQ(c.selected[static_cast<std::size_t>(row)], shown);
        const bool kept = kind == VdrKind::kAllParameters || shown;
        for (int col = 0; col < doc.table.columns(); ++col) {
          const double want = kept ? std::trunc(doc.table.value(row, col)) : ps.at(row).defaultValue;
          ASSERT_EQ(c.table.value(row, col), want) << "row " << row << " column " << col;
          ASSERT_EQ(c.table.anchor(row, col), kept && doc.table.anchor(row, col)) << row << "," << col;
        }
      }
      // Written again, the file is the same text.
      CVandrelDoc again;
      loadVdr(again, c);
      if (kind == VdrKind::kAllParameters) {
        EXPECT_EQ(writeVdr(again, kind), writeVdr(doc, kind));
      }
    }
  }
}

TEST(VdrReaderTest, LoadRestoresTheDocument) {
  const VdrReadResult r = parseVdr(fileText("good_sel.vdr"), ParameterSet{});
  ASSERT_TRUE(r.ok()) << r.detail;
  CVandrelDoc doc;
  doc.table.setValue(kF2, 0, 999.0);
  doc.synthesized.samples.assign(10, 1);
  doc.markEdited();
  loadVdr(doc, r.content);
  EXPECT_EQ(doc.params().fileLengthMs, 50.0);
  EXPECT_EQ(doc.params().frameCount, 5);
  EXPECT_EQ(doc.params().selectedCount, 31);
  EXPECT_EQ(doc.table.columns(), 5);
  EXPECT_EQ(doc.table.value(kF0, 4), 1000.0);
  EXPECT_EQ(doc.table.value(kF1, 1), 400.0);
  EXPECT_EQ(doc.table.value(kF2, 0), 1500.0);
  EXPECT_EQ(doc.table.value(kF8, 0), 7500.0);  // not in the file: its default
  EXPECT_TRUE(doc.table.anchor(kF0, 0));
  EXPECT_TRUE(doc.table.anchor(kF0, 4));
  EXPECT_TRUE(doc.table.anchor(kF1, 2));
  EXPECT_EQ(doc.table.anchorCount(), 3);
  EXPECT_EQ(doc.anchorColor(), rgb(255, 200, 120));
  EXPECT_FALSE(doc.modified);
  EXPECT_TRUE(doc.changedSinceSynthesis);
  EXPECT_TRUE(doc.synthesized.empty());
  EXPECT_FALSE(doc.tableUntouched());
}

// The files of the folder were written by a separate script: the writer
// must produce them byte for byte once they are loaded.
TEST(VdrReaderTest, ScriptWrittenFilesWriteBackIdentically) {
  for (const char* name : {"good_all.vdr", "good_sel.vdr"}) {
    SCOPED_TRACE(name);
    const std::string text = fileText(name);
    const VdrReadResult r = parseVdr(text, ParameterSet{});
    ASSERT_TRUE(r.ok()) << r.detail;
    CVandrelDoc doc;
    loadVdr(doc, r.content);
    const VdrKind kind =
        std::string(name) == "good_all.vdr" ? VdrKind::kAllParameters : VdrKind::kSelectedParameters;
    EXPECT_EQ(writeVdr(doc, kind), text);
  }
}

// What a spreadsheet may do to a file: each variant reads as the original.
TEST(VdrReaderTest, SpreadsheetEditsAreTolerated) {
  const VdrReadResult original = parseVdr(fileText("good_all.vdr"), ParameterSet{});
  ASSERT_TRUE(original.ok());
  const std::string good = fileText("good_all.vdr");
  auto replaceAll = [](std::string s, const std::string& from, const std::string& to) {
    for (std::size_t at = s.find(from); at != std::string::npos; at = s.find(from, at + to.size()))
      s.replace(at, from.size(), to);
    return s;
  };
  struct Case {
    const char* what;
    std::string text;
  };
  const Case cases[] = {
      {"LF line ends", fileText("ok_lf_endings.vdr")},
      {"no tab before the line end", fileText("ok_no_final_tabs.vdr")},
      {"trailing empty lines", fileText("ok_trailing_empty_lines.vdr")},
      {"padding tabs", fileText("ok_padded_tabs.vdr")},
      {"CR line ends", replaceAll(good, "\r\n", "\r")},
      {"byte order mark", "\xEF\xBB\xBF" + good},
      {"no final line end", good.substr(0, good.size() - 2)},
      {"blanks around values", replaceAll(good, "\t", " \t ")},
      {"plus signs", replaceAll(good, "\t60\t", "\t+60\t")},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    const VdrReadResult r = parseVdr(c.text, ParameterSet{});
    ASSERT_TRUE(r.ok()) << r.detail;
    EXPECT_EQ(r.content.table, original.content.table);
    EXPECT_EQ(r.content.colors, original.content.colors);
    EXPECT_EQ(r.content.selected, original.content.selected);
    EXPECT_EQ(r.content.fileLengthMs, original.content.fileLengthMs);
  }
  // Fractions are cut toward zero, as the writer cuts them.
  const VdrReadResult f = parseVdr(fileText("ok_fractions.vdr"), ParameterSet{});
  ASSERT_TRUE(f.ok()) << f.detail;
  EXPECT_EQ(f.content.table.value(kF0, 0), 1200.0);
}

TEST(VdrReaderTest, ExtremeValuesWithin32Bits) {
  std::string text = fileText("good_all.vdr");
  const std::size_t at = text.find("\t7500\t");
  text.replace(at, 6, "\t-2147483648\t");
  const std::size_t at2 = text.find("\t6500\t");
  text.replace(at2, 6, "\t2147483647\t");
  const VdrReadResult r = parseVdr(text, ParameterSet{});
  ASSERT_TRUE(r.ok()) << r.detail;
  EXPECT_EQ(r.content.table.value(kF8, 0), -2147483648.0);
  EXPECT_EQ(r.content.table.value(kF7, 0), 2147483647.0);
}

// A selected file whose anchors are all in hidden rows has an anchor section
// that is one empty line; with no rows shown at all the data lines are empty.
TEST(VdrReaderTest, SelectedFileEdgeShapes) {
  CVandrelDoc doc;
  doc.table.setAnchor(kF8, 3, true);
  VdrReadResult r = parseVdr(writeVdr(doc, VdrKind::kSelectedParameters), ParameterSet{});
  ASSERT_TRUE(r.ok()) << r.detail;
  EXPECT_EQ(r.content.anchorCount, 1);
  EXPECT_EQ(r.content.table.anchorCount(), 0);

  for (int row = 0; row < kParamCount; ++row) doc.params().setSelected(row, false);
  for (int col = 0; col < 10; ++col) doc.table.setAnchor(kF0, col, true);
  r = parseVdr(writeVdr(doc, VdrKind::kSelectedParameters), ParameterSet{});
  ASSERT_TRUE(r.ok()) << r.detail;
  EXPECT_EQ(r.content.writtenCount, 0);
  EXPECT_EQ(r.content.table.columns(), 20);

  // Ten anchors fill their line; the empty line after them closes the section.
  r = parseVdr(writeVdr(doc, VdrKind::kAllParameters), ParameterSet{});
  ASSERT_TRUE(r.ok()) << r.detail;
  EXPECT_EQ(r.content.table.anchorCount(), 11);
}

// The folder of awkward files: each gives its message, none crashes.
TEST(VdrReaderTest, AwkwardFiles) {
  const std::string kNotRecognized(kMsgFileTypeNotRecognized);
  const std::string kAnchors(kMsgWrongAnchorCount);
  struct Case {
    const char* file;
    std::string message;  // empty: accepted
  };
  const Case cases[] = {
      {"good_all.vdr", ""},
      {"good_sel.vdr", ""},
      {"ok_lf_endings.vdr", ""},
      {"ok_no_final_tabs.vdr", ""},
      {"ok_trailing_empty_lines.vdr", ""},
      {"ok_fractions.vdr", ""},
      {"ok_padded_tabs.vdr", ""},
      {"empty.vdr", kNotRecognized},
      {"text.vdr", kNotRecognized},
      {"binary.vdr", kNotRecognized},
      {"truncated_after_timing.vdr", kNotRecognized},
      {"truncated_after_settings.vdr", kNotRecognized},
      {"truncated_after_colours.vdr", kNotRecognized},
      {"truncated_after_flags.vdr", kNotRecognized},
      {"truncated_after_anchors.vdr", kNotRecognized},
      {"truncated_after_header.vdr", kNotRecognized},
      {"truncated_after_data.vdr", kNotRecognized},
      {"truncated_mid_line.vdr", kNotRecognized},
      {"timing_two_values.vdr", kNotRecognized},
      {"timing_zero_interval.vdr", kNotRecognized},
      {"settings_nine_values.vdr", kNotRecognized},
      {"method_two.vdr", kNotRecognized},
      {"colour_256.vdr", kNotRecognized},
      {"flag_two.vdr", kNotRecognized},
      {"flags_eleven_on_a_line.vdr", kNotRecognized},
      {"anchor_f0_x.vdr", kNotRecognized},
      {"anchor_without_column.vdr", kNotRecognized},
      {"header_unknown_name.vdr", kNotRecognized},
      {"header_name_twice.vdr", kNotRecognized},
      {"data_short_line.vdr", kNotRecognized},
      {"data_long_line.vdr", kNotRecognized},
      {"data_missing_line.vdr", kNotRecognized},
      {"data_extra_line.vdr", kNotRecognized},
      {"data_not_a_number.vdr", kNotRecognized},
      {"data_twenty_digits.vdr", kNotRecognized},
      {"data_beyond_32_bits.vdr", kNotRecognized},
      {"data_exponent.vdr", kNotRecognized},
      {"data_empty_field.vdr", kNotRecognized},
      {"anchor_count_high.vdr", kAnchors},
      {"anchor_count_low.vdr", kAnchors},
      {"anchor_count_zero_with_entries.vdr", kAnchors},
      {"anchor_zz_3.vdr", kAnchors},
      {"anchor_column_beyond.vdr", kAnchors},
      {"anchor_column_negative.vdr", kAnchors},
      {"anchor_twice.vdr", kAnchors},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.file);
    const VdrReadResult r = readVdrFile(kDir + c.file, ParameterSet{});
    EXPECT_EQ(std::string(r.message()), c.message) << r.detail;
    EXPECT_EQ(r.ok(), c.message.empty());
    if (!r.ok()) {
      EXPECT_FALSE(r.detail.empty());
    }
  }
}

// Seeded random damage (bytes changed, cut, repeated): every result is a
// clean refusal or a consistent table, never a crash.
TEST(VdrReaderTest, RandomDamageNeverCrashes) {
  const std::string good = fileText("good_all.vdr");
  std::mt19937 rng(2024);
  const char alphabet[] = "0123456789-+.,\t\r\n fz";
  int accepted = 0;
  for (int i = 0; i < 3000; ++i) {
    std::string text = good;
    const int edits = 1 + static_cast<int>(rng() % 4);
    for (int e = 0; e < edits && !text.empty(); ++e) {
      const std::size_t at = rng() % text.size();
      switch (rng() % 4) {
        case 0:
          text[at] = alphabet[rng() % (sizeof alphabet - 1)];
          break;
        case 1:
          text.erase(at, 1 + rng() % 40);
          break;
        case 2:
          text.insert(at, text.substr(at, 1 + rng() % 60));
          break;
        default:
          text.resize(at);
          break;
      }
    }
    const VdrReadResult r = parseVdr(text, ParameterSet{});
    if (r.ok()) {
      ++accepted;
      EXPECT_EQ(r.content.table.columns(), r.content.fileLengthMs / r.content.intervalMs);
      EXPECT_LE(r.content.table.anchorCount(), r.content.anchorCount);
    } else {
      EXPECT_FALSE(r.detail.empty());
    }
  }
  EXPECT_GT(accepted, 0);  // some damage is harmless (a digit changed in a value)
}

// Through the open command: a refused file leaves the open document exactly
// as it was; no audio reader takes a parameter file.
TEST(VdrReaderTest, RefusedFileLeavesTheDocumentAlone) {
  CVandrelDoc doc = randomDoc(7);
  doc.markEdited();
  const std::string before = writeVdr(doc, VdrKind::kAllParameters);
  for (const char* name : {"empty.vdr", "truncated_after_data.vdr", "anchor_count_high.vdr",
                           "data_twenty_digits.vdr", "anchor_f0_x.vdr", "binary.vdr"}) {
    SCOPED_TRACE(name);
    OpenedFile f = readAnyFile(kDir + name, {}, doc.params());
    EXPECT_EQ(f.kind, OpenedKind::kNothing);
    EXPECT_FALSE(f.message.empty());
    applyOpened(doc, std::move(f));
    EXPECT_EQ(writeVdr(doc, VdrKind::kAllParameters), before);
    EXPECT_TRUE(doc.modified);
  }
  OpenedFile ok = readAnyFile(kDir + "good_all.vdr", {}, doc.params());
  EXPECT_EQ(ok.kind, OpenedKind::kParameters);
  EXPECT_EQ(ok.by, OpenedBy::kParameterReader);

  const OpenedFile missing = readAnyFile(kDir + "no_such_file.vdr", {}, doc.params());
  EXPECT_EQ(missing.kind, OpenedKind::kNothing);
  EXPECT_NE(missing.message.find("no_such_file.vdr"), std::string::npos);
}

}  // namespace
}  // namespace vandrel
