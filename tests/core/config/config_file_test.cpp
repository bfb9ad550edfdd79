// The configuration record: exact size, fields at their documented offsets,
// round trips, and every kind of damaged or foreign file refused whole.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <limits>
#include <string>

#include "config/AnalysisConfig.h"
#include "config/ConfigFile.h"
#include "document/VandrelDoc.h"

namespace vandrel {
namespace {

// Independent little-endian readers over the raw bytes.
std::uint32_t u32At(const std::string& b, std::size_t off) {
  std::uint32_t v = 0;
  for (int i = 3; i >= 0; --i)
    v = (v << 8) | static_cast<unsigned char>(b[off + static_cast<std::size_t>(i)]);
  return v;
}
std::int32_t i32At(const std::string& b, std::size_t off) { return static_cast<std::int32_t>(u32At(b, off)); }
double f64At(const std::string& b, std::size_t off) {
  std::uint64_t v = 0;
  for (int i = 7; i >= 0; --i)
    v = (v << 8) | static_cast<unsigned char>(b[off + static_cast<std::size_t>(i)]);
  double d;
  std::memcpy(&d, &v, sizeof d);
  return d;
}
void putU32(std::string& b, std::size_t off, std::uint32_t v) {
  for (int i = 0; i < 4; ++i) b[off + static_cast<std::size_t>(i)] = static_cast<char>((v >> (8 * i)) & 0xFF);
}
void putF64(std::string& b, std::size_t off, double d) {
  std::uint64_t v;
  std::memcpy(&v, &d, sizeof v);
  for (int i = 0; i < 8; ++i) b[off + static_cast<std::size_t>(i)] = static_cast<char>((v >> (8 * i)) & 0xFF);
}
std::size_t slot(int index, std::size_t field) { return static_cast<std::size_t>(index) * 568 + field; }

// CRC-32 as zlib has it, from its 256-entry table.
std::uint32_t referenceCrc(const std::string& b, std::size_t n) {
  std::uint32_t table[256];
  for (std::uint32_t i = 0; i < 256; ++i) {
    std::uint32_t c = i;
    for (int k = 0; k < 8; ++k) c = (c & 1) ? 0xEDB88320u ^ (c >> 1) : c >> 1;
    table[i] = c;
  }
  std::uint32_t crc = 0xFFFFFFFFu;
  for (std::size_t i = 0; i < n; ++i)
    crc = table[(crc ^ static_cast<unsigned char>(b[i])) & 0xFF] ^ (crc >> 8);
  return crc ^ 0xFFFFFFFFu;
}

// A record edited on purpose, with its check value made to agree again.
void reseal(std::string& b) { putU32(b, 27756, referenceCrc(b, 27756)); }

TEST(ConfigFileTest, DefaultRecordHoldsItsFieldsAtTheDocumentedOffsets) {
  const std::string b = encodeConfig(ConfigRecord::defaults());
  ASSERT_EQ(b.size(), 27760u);
  EXPECT_EQ(b.substr(27264, 8), "VNDRLCFG");
  EXPECT_EQ(u32At(b, 27272), 1u);
  EXPECT_EQ(u32At(b, 27276), 27760u);
  EXPECT_EQ(f64At(b, 27280), 200.0);
  EXPECT_EQ(i32At(b, 27288), 10);
  EXPECT_EQ(i32At(b, 27292), 20);
  EXPECT_EQ(i32At(b, 27296), 31);
  EXPECT_EQ(i32At(b, 27300), 1);
  EXPECT_EQ(i32At(b, 27308), 11025);
  EXPECT_EQ(i32At(b, 27360), 3);    // FFT/LPC size index: 256 points
  EXPECT_EQ(i32At(b, 27376), 14);   // LPC coefficients at 11025 Hz
  EXPECT_EQ(f64At(b, 27392), 6.0);  // FFT/LPC print width
  EXPECT_EQ(f64At(b, 27432), 11025.0);
  EXPECT_EQ(i32At(b, 27440), 35);  // pitch window
  EXPECT_EQ(i32At(b, 27476), 20);  // pitch grid spacing
  EXPECT_EQ(i32At(b, 27488), 35);  // spectrogram dynamic range
  EXPECT_EQ(f64At(b, 27496), 0.98);
  EXPECT_EQ(f64At(b, 27536), 6.0);  // spectrogram print height
  EXPECT_EQ(i32At(b, 27572), 1);    // toolbar shown
  EXPECT_EQ(i32At(b, 27584), 1);    // the view block is written
  EXPECT_EQ(f64At(b, 27632), 4.0);  // pitch print height
  for (std::size_t i = 27648; i < 27752; ++i) ASSERT_EQ(b[i], '\0') << "reserved byte " << i;
  EXPECT_EQ(referenceCrc("123456789", 9), 0xCBF43926u);  // the check value every CRC-32 is known by
  EXPECT_EQ(b.substr(27752, 4), "CRC1");
  EXPECT_EQ(u32At(b, 27756), referenceCrc(b, 27756));

  // Slot 12 is f1: name, description and numbers at their places.
  EXPECT_STREQ(b.c_str() + slot(12, 0), "f1");
  EXPECT_STREQ(b.c_str() + slot(12, 32), " f1 = First  formant frequency in Hz (200 - 1300) ");
  EXPECT_EQ(i32At(b, slot(12, 544)), 500);
  EXPECT_EQ(i32At(b, slot(12, 552)), 200);
  EXPECT_EQ(i32At(b, slot(12, 556)), 1300);
  EXPECT_EQ(i32At(b, slot(12, 560)), 1);
  EXPECT_EQ(u32At(b, slot(12, 564)), 0x00C4EECCu);  // the formant group's pale green
  EXPECT_STREQ(b.c_str() + slot(47, 0), "gain");
  EXPECT_EQ(i32At(b, slot(47, 560)), 0);
}

TEST(ConfigFileTest, EveryFieldSurvivesARoundTrip) {
  ConfigRecord r = ConfigRecord::defaults();
  r.params[7] = ParamSlot{4000, -3, 1300, 4800, 1, 0x00123456};
  r.table = TableConfig{1003.5, 5, 200, 32, 0, 1, 22050, 1, 1, {}};
  for (std::size_t i = 0; i < r.table.colors.size(); ++i)
    r.table.colors[i] = static_cast<Colorref>(0x10203 * i);
  r.fftLpc = FftLpcConfig{8, 11, 11000, 7, 26, 0, 0, 66, 12.5, 7.25, 0, 0, 0, 250, 0, 10, 22050.0};
  r.pitch = PitchConfig{40, 5, 60, 3, 70, 400, 60, 300, 0, 25};
  r.spectrogram = SpectrogramConfig{4, 11000, 50, 1, 0.5, 26, 0, 500, 0, 100, 0, 10.0, 15.0, 22050.0};
  r.display = DisplayConfig{-20, 30, 1280, 900, 0, 0, 1, 0};
  r.analysisView = AnalysisViewConfig{1, 0, 0, 1, 1, 0, 250, 0, 1, 0, 8.5, 3.25, 0, 0};

  ConfigRecord back;
  ASSERT_EQ(decodeConfig(encodeConfig(r), back), ConfigStatus::kOk);
  EXPECT_EQ(back, r);
  EXPECT_EQ(loadConfigFile("/nonexistent/VandrelConf.cfg", back), ConfigStatus::kMissing);

  // A file written before the view block and the check value holds zeros
  // there: the view's defaults.
  std::string old = encodeConfig(r);
  old.replace(27584, 64, std::string(64, '\0'));
  old.replace(27752, 8, std::string(8, '\0'));
  ASSERT_EQ(decodeConfig(old, back), ConfigStatus::kOk);
  EXPECT_EQ(back.analysisView, AnalysisViewConfig{});
}

TEST(ConfigFileTest, DamagedOrForeignRecordsAreRefusedWhole) {
  const std::string good = encodeConfig(ConfigRecord::defaults());
  struct Case {
    const char* what;
    std::string bytes;
    ConfigStatus expected;
  };
  auto edited = [&](auto edit) {
    std::string b = good;
    edit(b);
    reseal(b);
    return b;
  };
  auto flipped = [&](std::size_t byte, int bit) {
    std::string b = good;
    b[byte] = static_cast<char>(b[byte] ^ (1 << bit));
    return b;
  };
  const Case cases[] = {
      {"empty", "", ConfigStatus::kWrongSize},
      {"truncated by one byte", good.substr(0, good.size() - 1), ConfigStatus::kWrongSize},
      {"one byte too many", good + '\0', ConfigStatus::kWrongSize},
      {"text file of the right size", std::string(27760, 'x'), ConfigStatus::kBadMagic},
      {"all zeros", std::string(27760, '\0'), ConfigStatus::kBadMagic},
      {"later layout", edited([](std::string& b) { putU32(b, 27272, 2); }), ConfigStatus::kBadVersion},
      {"size field wrong", edited([](std::string& b) { putU32(b, 27276, 27000); }), ConfigStatus::kBadField},
      {"slots in another order", edited([](std::string& b) { b[slot(0, 0) + 1] = '1'; }),
       ConfigStatus::kBadField},
      {"name without terminator",
       edited([](std::string& b) { b.replace(slot(3, 0), 32, std::string(32, 'a')); }),
       ConfigStatus::kBadField},
      // av's limits are 0 and 87: a row may be held to one value, never to none.
      {"lower equal to upper", edited([](std::string& b) { putU32(b, slot(1, 552), 87); }),
       ConfigStatus::kOk},
      {"lower one above upper", edited([](std::string& b) { putU32(b, slot(1, 552), 88); }),
       ConfigStatus::kBadField},
      {"selected flag 2", edited([](std::string& b) { putU32(b, slot(5, 560), 2); }),
       ConfigStatus::kBadField},
      {"colour beyond 24 bits", edited([](std::string& b) { putU32(b, slot(5, 564), 0x01000000); }),
       ConfigStatus::kBadField},
      {"interval 0", edited([](std::string& b) { putU32(b, 27288, 0); }), ConfigStatus::kBadField},
      {"file length NaN",
       edited([](std::string& b) { putF64(b, 27280, std::numeric_limits<double>::quiet_NaN()); }),
       ConfigStatus::kBadField},
      {"sample rate 44100", edited([](std::string& b) { putU32(b, 27308, 44100); }), ConfigStatus::kBadField},
      {"FFT size index 9", edited([](std::string& b) { putU32(b, 27360, 9); }), ConfigStatus::kBadField},
      {"pitch method 2", edited([](std::string& b) { putU32(b, 27600, 2); }), ConfigStatus::kBadField},
      {"spectrogram size index 5", edited([](std::string& b) { putU32(b, 27480, 5); }),
       ConfigStatus::kBadField},
      // Flipped bits that leave every field in range: only the check value tells.
      {"pitch window 35 ms read as 43", flipped(27440, 3), ConfigStatus::kBadCheck},
      {"f1's upper limit 1300 read as 1284", flipped(slot(12, 556), 4), ConfigStatus::kBadCheck},
      {"a description's letter", flipped(slot(20, 40), 0), ConfigStatus::kBadCheck},
      {"a reserved byte", flipped(27700, 6), ConfigStatus::kBadCheck},
      {"the check value", flipped(27759, 7), ConfigStatus::kBadCheck},
      {"the check tag", flipped(27753, 1), ConfigStatus::kBadCheck},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    ConfigRecord out;
    out.pitch.windowMs = 12345;  // must stay untouched on refusal
    EXPECT_EQ(decodeConfig(c.bytes, out), c.expected);
    EXPECT_EQ(out.pitch.windowMs, c.expected == ConfigStatus::kOk ? 35 : 12345);
  }
}

TEST(ConfigFileTest, ADocumentsOptionsCarryOverToTheNextBlankDocument) {
  CVandrelDoc edited;
  // a high-formant row: 22050 Hz
  edited.changeParams([&](vandrel::ParameterSet& ps) {
    ps.setSelected(kF6, true);
    ps.setUpper(kF1, 1200);
    ps.fileLengthMs = 300.0;
    ps.intervalMs = 5;
  });
  ColorSlots colors = edited.colors();
  colors[kAnchorColorSlot] = 0x000000FF;
  edited.setColors(colors);
  edited.setAnchorAfterEdit(true);

  ConfigRecord r = ConfigRecord::defaults();
  storeConfig(edited, r);
  EXPECT_EQ(r.table.sampleRate, 22050);

  ConfigRecord back;
  ASSERT_EQ(decodeConfig(encodeConfig(r), back), ConfigStatus::kOk);
  CVandrelDoc fresh;
  applyConfig(back, fresh);
  for (const auto& set : fresh.paramSets()) {
    EXPECT_EQ(set.at(kF6).selected, 1);
    EXPECT_EQ(set.at(kF1).upper, 1200);
    EXPECT_EQ(set.selectedCount, 32);
    EXPECT_EQ(set.frameCount, 60);
  }
  EXPECT_EQ(fresh.table().columns(), 60);
  EXPECT_EQ(fresh.params().sampleRate(), 22050.0);
  EXPECT_EQ(fresh.anchorColor(), 0x000000FFu);
  EXPECT_TRUE(fresh.anchorAfterEdit());
  EXPECT_FALSE(fresh.autoInterpolate());
}

// The record's built-in analysis part equals the option records' own
// defaults at 11025 Hz, and edited options come back through the file.
TEST(AnalysisConfigTest, DefaultsAgreeAndEditedOptionsSurviveTheFile) {
  COptionFFTLPC f;
  COptionPitch p;
  COptionSpectrogram s;
  loadAnalysisOptions(ConfigRecord::defaults(), f, p, s);
  const COptionFFTLPC fDefault;
  const COptionSpectrogram sDefault;
  EXPECT_EQ(f.points, fDefault.points);
  EXPECT_EQ(f.appliedWindowMs, fDefault.appliedWindowMs);
  EXPECT_EQ(f.frequencyRange, fDefault.frequencyRange);
  EXPECT_EQ(f.lpcCoefficients, fDefault.lpcCoefficients);
  EXPECT_EQ(s.points, sDefault.points);
  EXPECT_EQ(s.frequencyRange, sDefault.frequencyRange);
  EXPECT_EQ(s.formantCoefficients, sDefault.formantCoefficients);
  EXPECT_EQ(p.windowMs, COptionPitch{}.windowMs);

  COptionFFTLPC f2(22050.0);
  f2.selectSize(6);
  f2.drawLpc = false;
  COptionPitch p2;
  p2.calcHighHz = 400;
  p2.frequencyGrid = false;
  COptionSpectrogram s2(22050.0);
  s2.displayFormants = true;
  s2.preEmphasis = 0.5;
  ConfigRecord r = ConfigRecord::defaults();
  storeAnalysisOptions(f2, p2, s2, r);
  ConfigRecord back;
  ASSERT_EQ(decodeConfig(encodeConfig(r), back), ConfigStatus::kOk);
  COptionFFTLPC f3;
  COptionPitch p3;
  COptionSpectrogram s3;
  loadAnalysisOptions(back, f3, p3, s3);
  EXPECT_EQ(f3.fs, 22050.0);
  EXPECT_EQ(f3.points, 2048);
  EXPECT_EQ(f3.lpcCoefficients, f2.lpcCoefficients);
  EXPECT_FALSE(f3.drawLpc);
  EXPECT_EQ(p3.calcHighHz, 400);
  EXPECT_FALSE(p3.frequencyGrid);
  EXPECT_TRUE(s3.displayFormants);
  EXPECT_EQ(s3.preEmphasis, 0.5);
  EXPECT_EQ(s3.frequencyRange, s2.frequencyRange);
}

}  // namespace
}  // namespace vandrel
