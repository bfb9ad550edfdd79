// The parameter file's exact bytes. Expected texts are written out here by
// hand, not produced by the writer's own helpers.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "document/VandrelDoc.h"
#include "document/VdrFile.h"
#include "engine/Synthesizer.h"
#include "util/AtomicFile.h"

namespace vandrel {
namespace {

const std::string kAllNames =
    "f0\tav\tah\taf\ttl\tf8\tf7\tf6\tf5\tf4\tf3\tf2\tf1\tb8\tb7\tb6\tb5\tb4\tb3\tb2\tb1\tab\t"
    "a8f\ta7f\ta6f\ta5f\ta4f\ta3f\ta2f\ta1f\tb8f\tb7f\tb6f\tb5f\tb4f\tb3f\tb2f\tb1f\t"
    "fnz\tbnz\tfnp\tbnp\toq\tanv\tapv\tatu\tskew\tgain\t\r\n";
const std::string kAllDefaults =
    "1000\t60\t0\t0\t0\t7500\t6500\t4990\t3700\t3250\t2500\t1500\t500\t600\t500\t500\t200\t200\t150\t90\t60\t"
    "0\t"
    "30\t30\t30\t30\t30\t30\t30\t30\t1500\t1500\t1500\t500\t350\t320\t250\t180\t"
    "280\t90\t280\t90\t20\t0\t0\t40\t0\t60\t\r\n";
const std::string kSelectedNames =
    "f0\tav\tah\taf\ttl\tf5\tf4\tf3\tf2\tf1\tb5\tb4\tb3\tb2\tb1\tab\ta5f\ta4f\ta3f\ta2f\ta1f\t"
    "b5f\tb4f\tb3f\tb2f\tb1f\tfnz\tbnz\tfnp\tbnp\tapv\t\r\n";
const std::string kSelectedDefaults =
    "1000\t60\t0\t0\t0\t3700\t3250\t2500\t1500\t500\t200\t200\t150\t90\t60\t0\t30\t30\t30\t30\t30\t"
    "500\t350\t320\t250\t180\t280\t90\t280\t90\t0\t\r\n";
const std::string kTiming = "200\t11025\t10\t\r\n";
std::string settings(int anchors) {
  return "1\t" + std::to_string(anchors) + "\t0\t0\t0\t0\t0\t0\t0\t50\t\r\n";
}
const std::string kColours =
    "255\t255\t255\t255\t255\t255\t255\t255\t255\t255\t255\t255\t255\t255\t255\t255\t255\t255\t255\t255\t"
    "255\t255\t255\t255\t255\t200\t120\t180\t210\t255\t\r\n";
const std::string kFlags =
    "1\t1\t1\t1\t1\t0\t0\t0\t1\t1\t\r\n"
    "1\t1\t1\t0\t0\t0\t1\t1\t1\t1\t\r\n"
    "1\t1\t0\t0\t0\t1\t1\t1\t1\t1\t\r\n"
    "0\t0\t0\t1\t1\t1\t1\t1\t1\t1\t\r\n"
    "1\t1\t0\t0\t1\t0\t0\t0\t\r\n";
const std::string kHead = kTiming + settings(0) + kColours + kFlags;

std::string repeat(const std::string& s, int n) {
  std::string out;
  for (int i = 0; i < n; ++i) out += s;
  return out;
}

TEST(VdrWriterTest, DefaultDocumentAfterOneSynthesis) {
  CVandrelDoc doc;
  ASSERT_TRUE(synthesize(doc));
  EXPECT_EQ(writeVdr(doc, VdrKind::kAllParameters), kHead + kAllNames + repeat(kAllDefaults, 20));
  EXPECT_EQ(writeVdr(doc, VdrKind::kSelectedParameters),
            kHead + kSelectedNames + repeat(kSelectedDefaults, 20));
}

// The anchor section: "name,column" entries in row order, then frame order,
// a line end after every tenth, and one more at the end.
TEST(VdrWriterTest, AnchorSectionTenPerLine) {
  struct Case {
    int anchors;
    std::string section;
  };
  std::string ten;
  for (int c = 0; c < 10; ++c) ten += "f0," + std::to_string(c) + "\t";
  const Case cases[] = {
      {1, "f0,0\t\r\n"},
      {9, ten.substr(0, ten.find("f0,9")) + "\r\n"},
      {10, ten + "\r\n\r\n"},
      {11, ten + "\r\nf0,10\t\r\n"},
      {20, ten + "\r\n" + "f0,10\tf0,11\tf0,12\tf0,13\tf0,14\tf0,15\tf0,16\tf0,17\tf0,18\tf0,19\t\r\n\r\n"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.anchors);
    CVandrelDoc doc;
    doc.params().fileLengthMs = 300.0;
    doc.params().frameCount = 30;
    doc.table.reset(30, doc.params());
    for (int col = 0; col < c.anchors; ++col) doc.table.setAnchor(kF0, col, true);
    EXPECT_EQ(writeVdr(doc, VdrKind::kAllParameters), "300\t11025\t10\t\r\n" + settings(c.anchors) +
                                                          kColours + kFlags + c.section + kAllNames +
                                                          repeat(kAllDefaults, 30));
  }
}

TEST(VdrWriterTest, AnchorEntriesInRowThenFrameOrder) {
  CVandrelDoc doc;
  doc.table.setAnchor(kGain, 0, true);
  doc.table.setAnchor(kF1, 2, true);
  doc.table.setAnchor(kF0, 5, true);
  doc.table.setAnchor(kF0, 1, true);
  const std::string text = writeVdr(doc, VdrKind::kAllParameters);
  EXPECT_NE(text.find("1\t1\t0\t0\t1\t0\t0\t0\t\r\nf0,1\tf0,5\tf1,2\tgain,0\t\r\nf0\tav\t"),
            std::string::npos);
}

// A selected-parameters file lists only the anchors of shown rows, while
// line 2 counts them all.
TEST(VdrWriterTest, SelectedFileCountsHiddenAnchors) {
  CVandrelDoc doc;
  doc.table.setAnchor(kF0, 1, true);
  doc.table.setAnchor(kF8, 2, true);  // hidden by default
  const std::string sel = writeVdr(doc, VdrKind::kSelectedParameters);
  EXPECT_NE(sel.find("\r\n1\t2\t0\t0\t0\t0\t0\t0\t0\t50\t\r\n"), std::string::npos);
  EXPECT_NE(sel.find("\t\r\nf0,1\t\r\nf0\tav\t"), std::string::npos);
  EXPECT_EQ(sel.find("f8"), std::string::npos);
  const std::string all = writeVdr(doc, VdrKind::kAllParameters);
  EXPECT_NE(all.find("\t\r\nf0,1\tf8,2\t\r\nf0\tav\t"), std::string::npos);
}

// Anchors only in hidden rows: the section of a selected file is a bare
// line end.
TEST(VdrWriterTest, SelectedFileWithOnlyHiddenAnchors) {
  CVandrelDoc doc;
  doc.table.setAnchor(kF8, 2, true);
  const std::string sel = writeVdr(doc, VdrKind::kSelectedParameters);
  EXPECT_NE(sel.find("1\t1\t0\t0\t1\t0\t0\t0\t\r\n\r\nf0\tav\t"), std::string::npos);
}

TEST(VdrWriterTest, ValuesAndTimingTruncatedTowardZero) {
  struct Case {
    double value;
    const char* written;
  };
  const Case cases[] = {
      {10.7, "10"},         {-3.7, "-3"},           {0.999, "0"},     {-0.5, "0"},
      {1e12, "2147483647"}, {-1e12, "-2147483648"}, {4999.0, "4999"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.value);
    CVandrelDoc doc;
    doc.table.setValue(kAv, 0, c.value);
    const std::string text = writeVdr(doc, VdrKind::kAllParameters);
    const std::size_t data = text.find(kAllNames) + kAllNames.size();
    EXPECT_EQ(text.substr(data, 5 + std::string(c.written).size() + 1),
              "1000\t" + std::string(c.written) + "\t");
  }
  CVandrelDoc doc;
  doc.params().fileLengthMs = 205.9;
  doc.sampleRate = 22050.0;
  EXPECT_EQ(writeVdr(doc, VdrKind::kAllParameters).substr(0, 15), "205\t22050\t10\t\r\n");
}

TEST(VdrWriterTest, ColoursAsRedGreenBlue) {
  CVandrelDoc doc;
  doc.setGroupColor(kGroupSource, rgb(1, 2, 3));
  doc.colors[kSelectionColorSlot] = 0x00102030;  // blue 0x10, green 0x20, red 0x30
  const std::string text = writeVdr(doc, VdrKind::kAllParameters);
  EXPECT_NE(text.find("\r\n1\t2\t3\t255\t"), std::string::npos);
  EXPECT_NE(text.find("\t255\t200\t120\t48\t32\t16\t\r\n"), std::string::npos);
}

// Saving replaces the file in one step; a save that cannot be made leaves
// what was there, and no temporary file behind.
TEST(VdrWriterTest, SaveIsAtomic) {
  namespace fs = std::filesystem;
  const fs::path dir = fs::temp_directory_path() / "vandrel-vdr-save";
  fs::remove_all(dir);
  fs::create_directories(dir);
  const std::string path = (dir / "All_Parameters.vdr").string();
  CVandrelDoc doc;
  ASSERT_EQ(saveVdrFile(path, doc, VdrKind::kAllParameters), "");
  std::string bytes;
  ASSERT_TRUE(readWholeFile(path, bytes));
  EXPECT_EQ(bytes, kHead + kAllNames + repeat(kAllDefaults, 20));

  fs::create_directories(dir / "taken.vdr" / "inside");
  EXPECT_NE(saveVdrFile((dir / "taken.vdr").string(), doc, VdrKind::kAllParameters), "");
  EXPECT_TRUE(fs::is_directory(dir / "taken.vdr" / "inside"));
  EXPECT_NE(saveVdrFile((dir / "missing" / "x.vdr").string(), doc, VdrKind::kAllParameters), "");

  doc.table.setValue(kF1, 0, 800.0);
  ASSERT_EQ(saveVdrFile(path, doc, VdrKind::kSelectedParameters), "");
  int files = 0;
  for ([[maybe_unused]] const auto& e : fs::directory_iterator(dir)) ++files;
  EXPECT_EQ(files, 2);  // the saved file and the folder in the way
  fs::remove_all(dir);
}

}  // namespace
}  // namespace vandrel
