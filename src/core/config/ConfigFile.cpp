#include "config/ConfigFile.h"

#include <algorithm>
#include <bit>
#include <cassert>
#include <cmath>
#include <cstring>

#include "document/VandrelDoc.h"
#include "util/AtomicFile.h"

namespace vandrel {

namespace {

constexpr std::string_view kMagic = "VNDRLCFG";
constexpr std::size_t kNameSize = 32;
constexpr std::size_t kDescriptionSize = 512;
constexpr std::size_t kSlotsEnd = kConfigSlotSize * kParamCount;  // 27264
constexpr std::size_t kReservedStart = 27648;
constexpr std::string_view kCheckTag = "CRC1";
constexpr std::size_t kCheckTagAt = kConfigRecordSize - 8;
constexpr std::size_t kCheckValueAt = kConfigRecordSize - 4;

// CRC-32, reflected, polynomial 0xEDB88320 (as zlib computes it). The
// record is read once per start: a table-free loop is fast enough.
std::uint32_t crc32(std::string_view bytes) {
  std::uint32_t crc = 0xFFFFFFFFu;
  for (const char c : bytes) {
    crc ^= static_cast<unsigned char>(c);
    for (int k = 0; k < 8; ++k) crc = (crc >> 1) ^ (0xEDB88320u & (0u - (crc & 1u)));
  }
  return ~crc;
}

// Little-endian writer over a buffer of fixed size.
class Writer {
 public:
  explicit Writer(std::string& out) : out_(out) {}
  void u32(std::uint32_t v) {
    for (int i = 0; i < 4; ++i) out_[pos_++] = static_cast<char>((v >> (8 * i)) & 0xFF);
  }
  void i32(std::int32_t v) { u32(static_cast<std::uint32_t>(v)); }
  void f64(double v) {
    const auto bits = std::bit_cast<std::uint64_t>(v);
    for (int i = 0; i < 8; ++i) out_[pos_++] = static_cast<char>((bits >> (8 * i)) & 0xFF);
  }
  void text(std::string_view s, std::size_t width) {
    const std::size_t n = std::min(s.size(), width - 1);
    std::memcpy(out_.data() + pos_, s.data(), n);
    pos_ += width;  // the rest stays NUL
  }
  void raw(std::string_view s) {
    std::memcpy(out_.data() + pos_, s.data(), s.size());
    pos_ += s.size();
  }
  void field(const std::int32_t& v) { i32(v); }
  void field(const std::uint32_t& v) { u32(v); }
  void field(const double& v) { f64(v); }
  std::size_t pos() const { return pos_; }

 private:
  std::string& out_;
  std::size_t pos_ = 0;
};

class Reader {
 public:
  explicit Reader(std::string_view in) : in_(in) {}
  std::uint32_t u32() {
    std::uint32_t v = 0;
    for (int i = 0; i < 4; ++i)
      v |= static_cast<std::uint32_t>(static_cast<unsigned char>(in_[pos_++])) << (8 * i);
    return v;
  }
  std::int32_t i32() { return static_cast<std::int32_t>(u32()); }
  double f64() {
    std::uint64_t bits = 0;
    for (int i = 0; i < 8; ++i)
      bits |= static_cast<std::uint64_t>(static_cast<unsigned char>(in_[pos_++])) << (8 * i);
    return std::bit_cast<double>(bits);
  }
  // The text up to its first NUL; false (via ok_) when the field has none.
  std::string_view text(std::size_t width) {
    const std::string_view field = in_.substr(pos_, width);
    pos_ += width;
    const auto nul = field.find('\0');
    if (nul == std::string_view::npos) {
      ok_ = false;
      return {};
    }
    return field.substr(0, nul);
  }
  std::string_view raw(std::size_t n) {
    const auto s = in_.substr(pos_, n);
    pos_ += n;
    return s;
  }
  void field(std::int32_t& v) { v = i32(); }
  void field(std::uint32_t& v) { v = u32(); }
  void field(double& v) { v = f64(); }
  bool ok() const { return ok_; }

 private:
  std::string_view in_;
  std::size_t pos_ = 0;
  bool ok_ = true;
};

bool isFlag(std::int32_t v) { return v == 0 || v == 1; }
bool isColor(Colorref c) { return c <= 0x00FFFFFF; }
bool positive(double v) { return std::isfinite(v) && v > 0.0; }

bool validTable(const TableConfig& t) {
  if (!positive(t.fileLengthMs) || t.intervalMs < 1 || t.frameCount < 0) return false;
  // Every new document is built at this length.
  if (t.fileLengthMs / t.intervalMs > kMaxFrames || t.frameCount > kMaxFrames) return false;
  if (t.selectedCount < 0 || t.selectedCount > kParamCount) return false;
  if (!isFlag(t.cascadeParallel) || (t.sampleRate != 11025 && t.sampleRate != 22050)) return false;
  if (!isFlag(t.autoInterpolate) || !isFlag(t.anchorAfterEdit)) return false;
  for (const auto c : t.colors)
    if (!isColor(c)) return false;
  return true;
}

bool validFftLpc(const FftLpcConfig& f) {
  return f.sizeIndex >= 0 && f.sizeIndex <= 8 && isFlag(f.drawLpc) && isFlag(f.absolute) &&
         isFlag(f.inches) && isFlag(f.color) && isFlag(f.frequencyGridOn) && isFlag(f.powerGridOn) &&
         std::isfinite(f.width) && std::isfinite(f.height) && positive(f.fs);
}

bool validPitch(const PitchConfig& p) { return isFlag(p.frequencyGridOn); }

bool validSpectrogram(const SpectrogramConfig& s) {
  return s.sizeIndex >= 0 && s.sizeIndex <= 4 && isFlag(s.displayFormants) && std::isfinite(s.preEmphasis) &&
         isFlag(s.frequencyGridOn) && isFlag(s.timeGridOn) && isFlag(s.inches) && std::isfinite(s.width) &&
         std::isfinite(s.height) && positive(s.fs);
}

bool validAnalysisView(const AnalysisViewConfig& a) {
  if (a.written == 0) return true;  // a file from before the block: every byte is 0
  return a.written == 1 && isFlag(a.drawAudio) && isFlag(a.drawLabels) && isFlag(a.drawIntensity) &&
         isFlag(a.pitchMethod) && isFlag(a.pitchTimeGridOn) && a.pitchTimeGridMs >= 0 &&
         isFlag(a.pitchAddAudio) && isFlag(a.pitchAddIntensity) && isFlag(a.pitchAddLabels) &&
         std::isfinite(a.pitchWidth) && std::isfinite(a.pitchHeight) && isFlag(a.pitchInches) &&
         isFlag(a.pitchColor);
}

bool validDisplay(const DisplayConfig& d) {
  return d.width >= 0 && d.height >= 0 && isFlag(d.maximized) && isFlag(d.toolbarVisible) &&
         isFlag(d.statusBarVisible) && isFlag(d.childMaximized);
}

}  // namespace

ConfigRecord ConfigRecord::defaults() {
  ConfigRecord r;
  const auto& builtin = builtinParams();
  for (int i = 0; i < kParamCount; ++i) {
    const auto& p = builtin[static_cast<std::size_t>(i)];
    // Each row in its group's built-in colour, as a blank document has it.
    r.params[static_cast<std::size_t>(i)] =
        ParamSlot{p.defaultValue, p.working,  p.lower,
                  p.upper,        p.selected, kDefaultColors[static_cast<std::size_t>(paramGroup(i))]};
  }
  r.table.colors = kDefaultColors;
  return r;
}

namespace {

// The settings after the magic, version and size, in file order. One list
// serves writing (a Writer over a const record) and reading (a Reader over a
// record), so the two can never disagree.
template <class IO, class Record>
void transferSettings(IO& io, Record& r) {
  auto& tb = r.table;
  io.field(tb.fileLengthMs);
  for (auto* v : {&tb.intervalMs, &tb.frameCount, &tb.selectedCount, &tb.cascadeParallel, &tb.reserved,
                  &tb.sampleRate, &tb.autoInterpolate, &tb.anchorAfterEdit})
    io.field(*v);
  for (auto& c : tb.colors) io.field(c);
  auto& f = r.fftLpc;
  for (auto* v : {&f.sizeIndex, &f.appliedWindowMs, &f.frequencyRangeHz, &f.averageStepMs, &f.lpcCoefficients,
                  &f.drawLpc, &f.absolute, &f.absoluteLevelDb})
    io.field(*v);
  io.field(f.width);
  io.field(f.height);
  for (auto* v :
       {&f.inches, &f.color, &f.frequencyGridOn, &f.frequencyGridHz, &f.powerGridOn, &f.powerGridDb})
    io.field(*v);
  io.field(f.fs);
  auto& p = r.pitch;
  for (auto* v : {&p.windowMs, &p.stepMs, &p.deviationHz, &p.thresholdPercent, &p.calcLowHz, &p.calcHighHz,
                  &p.displayLowHz, &p.displayHighHz, &p.frequencyGridOn, &p.frequencyGridHz})
    io.field(*v);
  auto& s = r.spectrogram;
  for (auto* v : {&s.sizeIndex, &s.frequencyRangeHz, &s.dynamicRangeDb, &s.displayFormants}) io.field(*v);
  io.field(s.preEmphasis);
  for (auto* v :
       {&s.lpcCoefficients, &s.frequencyGridOn, &s.frequencyGridHz, &s.timeGridOn, &s.timeGridMs, &s.inches})
    io.field(*v);
  io.field(s.width);
  io.field(s.height);
  io.field(s.fs);
  auto& d = r.display;
  for (auto* v : {&d.x, &d.y, &d.width, &d.height, &d.maximized, &d.toolbarVisible, &d.statusBarVisible,
                  &d.childMaximized})
    io.field(*v);
  auto& a = r.analysisView;
  for (auto* v :
       {&a.written, &a.drawAudio, &a.drawLabels, &a.drawIntensity, &a.pitchMethod, &a.pitchTimeGridOn,
        &a.pitchTimeGridMs, &a.pitchAddAudio, &a.pitchAddIntensity, &a.pitchAddLabels})
    io.field(*v);
  io.field(a.pitchWidth);
  io.field(a.pitchHeight);
  io.field(a.pitchInches);
  io.field(a.pitchColor);
}

}  // namespace

std::string encodeConfig(const ConfigRecord& r) {
  std::string out(kConfigRecordSize, '\0');
  Writer w(out);
  const auto& builtin = builtinParams();
  for (std::size_t i = 0; i < kParamCount; ++i) {
    const auto& s = r.params[i];
    w.text(builtin[i].name, kNameSize);
    w.text(builtin[i].description, kDescriptionSize);
    w.i32(s.defaultValue);
    w.i32(s.working);
    w.i32(s.lower);
    w.i32(s.upper);
    w.i32(s.selected);
    w.u32(s.color);
  }
  w.raw(kMagic);
  w.u32(kConfigVersion);
  w.u32(static_cast<std::uint32_t>(kConfigRecordSize));
  transferSettings(w, r);
  assert(w.pos() == kReservedStart);  // the layout in the header, field for field
  out.replace(kCheckTagAt, kCheckTag.size(), kCheckTag);
  const std::uint32_t check = crc32(std::string_view(out).substr(0, kCheckValueAt));
  for (std::size_t i = 0; i < 4; ++i) out[kCheckValueAt + i] = static_cast<char>((check >> (8 * i)) & 0xFF);
  return out;
}

ConfigStatus decodeConfig(std::string_view bytes, ConfigRecord& out) {
  if (bytes.size() != kConfigRecordSize) return ConfigStatus::kWrongSize;
  if (bytes.substr(kSlotsEnd, kMagic.size()) != kMagic) return ConfigStatus::kBadMagic;
  Reader rd(bytes.substr(kSlotsEnd + kMagic.size()));
  if (rd.u32() != kConfigVersion) return ConfigStatus::kBadVersion;
  if (rd.u32() != kConfigRecordSize) return ConfigStatus::kBadField;
  const std::string_view tag = bytes.substr(kCheckTagAt, kCheckTag.size());
  if (tag == kCheckTag) {
    if (Reader(bytes.substr(kCheckValueAt)).u32() != crc32(bytes.substr(0, kCheckValueAt)))
      return ConfigStatus::kBadCheck;
  } else if (tag != std::string_view("\0\0\0\0", 4)) {
    return ConfigStatus::kBadCheck;
  }

  ConfigRecord r;
  Reader slots(bytes.substr(0, kSlotsEnd));
  const auto& builtin = builtinParams();
  for (std::size_t i = 0; i < kParamCount; ++i) {
    if (slots.text(kNameSize) != builtin[i].name) return ConfigStatus::kBadField;
    slots.text(kDescriptionSize);
    auto& s = r.params[i];
    s.defaultValue = slots.i32();
    s.working = slots.i32();
    s.lower = slots.i32();
    s.upper = slots.i32();
    s.selected = slots.i32();
    s.color = slots.u32();
    if (!slots.ok() || s.lower > s.upper || !isFlag(s.selected) || !isColor(s.color))
      return ConfigStatus::kBadField;
  }

  transferSettings(rd, r);
  if (!validTable(r.table) || !validFftLpc(r.fftLpc) || !validPitch(r.pitch) ||
      !validSpectrogram(r.spectrogram) || !validDisplay(r.display) || !validAnalysisView(r.analysisView))
    return ConfigStatus::kBadField;
  if (r.analysisView.written == 0) r.analysisView = AnalysisViewConfig{};
  out = r;
  return ConfigStatus::kOk;
}

ConfigStatus loadConfigFile(const std::string& path, ConfigRecord& out) {
  std::string bytes;
  if (!readWholeFile(path, bytes)) return ConfigStatus::kMissing;
  return decodeConfig(bytes, out);
}

std::string saveConfigFile(const std::string& path, const ConfigRecord& record) {
  return writeFileAtomically(path, encodeConfig(record));
}

void applyConfig(const ConfigRecord& record, CVandrelDoc& doc) {
  std::array<ParameterSet, 3> sets = doc.paramSets();
  for (auto& set : sets) {
    for (int i = 0; i < kParamCount; ++i) {
      const auto& s = record.params[static_cast<std::size_t>(i)];
      set.setDefault(i, s.defaultValue);
      set.setLower(i, s.lower);
      set.setUpper(i, s.upper);
      set.setSelected(i, s.selected != 0);
      set.setColor(i, s.color);
    }
    set.fileLengthMs = record.table.fileLengthMs;
    set.intervalMs = record.table.intervalMs;
    set.frameCount = ParameterSet::framesFor(set.fileLengthMs, set.intervalMs);
    set.cascadeParallel = record.table.cascadeParallel;
    set.reserved = record.table.reserved;
    set.selectedCount = set.countSelected();
  }
  doc.setParamSets(sets);
  // The rows take their group's colour, as when a parameter file is loaded,
  // so that a record written before the group colours changed still agrees.
  doc.setColors(record.table.colors);
  doc.setAutoInterpolate(record.table.autoInterpolate != 0);
  doc.setAnchorAfterEdit(record.table.anchorAfterEdit != 0);
  doc.replaceTable(FrameTable(doc.params().frameCount, doc.params()));
}

void storeConfig(const CVandrelDoc& doc, ConfigRecord& record) {
  const ParameterSet& set = doc.params();
  for (int i = 0; i < kParamCount; ++i) {
    const auto& p = set.at(i);
    record.params[static_cast<std::size_t>(i)] =
        ParamSlot{p.defaultValue, p.working, p.lower, p.upper, p.selected, p.color};
  }
  record.table.fileLengthMs = set.fileLengthMs;
  record.table.intervalMs = set.intervalMs;
  record.table.frameCount = set.frameCount;
  record.table.selectedCount = set.selectedCount;
  record.table.cascadeParallel = set.cascadeParallel;
  record.table.reserved = set.reserved;
  record.table.sampleRate = static_cast<std::int32_t>(set.sampleRate());
  record.table.colors = doc.colors();
  record.table.autoInterpolate = doc.autoInterpolate() ? 1 : 0;
  record.table.anchorAfterEdit = doc.anchorAfterEdit() ? 1 : 0;
}

}  // namespace vandrel
