#pragma once
// The configuration file "VandrelConf.cfg": one binary record of exactly
// 27,760 bytes in the temp folder. It keeps what the user set in the options
// dialogs (parameter limits, defaults, shown rows and colours; table timing
// and after-edit behaviour; the three analysis option records) and the window
// placement, from one run of the program to the next.
//
// Layout. All integers are little-endian; int32 is two's complement, uint32
// unsigned; double is IEEE-754 binary64, little-endian; char[n] is text
// padded with NUL bytes and always holding at least one NUL.
//
//   offset   size   field
//   0        27264  48 parameter slots of 568 bytes, in storage order:
//                     +0    char[32]   name ("f0", "av", ...)
//                     +32   char[512]  description
//                     +544  int32      default value
//                     +548  int32      working value
//                     +552  int32      lower limit
//                     +556  int32      upper limit
//                     +560  int32      selected (shown): 0 or 1
//                     +564  uint32     row colour, 0x00BBGGRR
//   27264    8      magic "VNDRLCFG"
//   27272    4      uint32 layout version (1)
//   27276    4      uint32 record size (27760)
//            table settings
//   27280    8      double file length, ms
//   27288    4      int32 frame interval, ms
//   27292    4      int32 frame count
//   27296    4      int32 selected (shown) row count
//   27300    4      int32 synthesis method: 1 Cascade_Parallel, 0 Parrallel only
//   27304    4      int32 reserved flag of the settings block
//   27308    4      int32 sample rate of the file options, Hz (11025 or 22050)
//   27312    4      int32 automatic interpolation after edit: 0 or 1
//   27316    4      int32 anchor after edit: 0 or 1
//   27320    40     uint32[10] colour slots, 0x00BBGGRR: 0..7 the eight group
//                   colour sets, 8 the anchor cell colour, 9 the selection colour
//                   (the document's colour slots, in the parameter file's order)
//            FFT/LPC options
//   27360    4      int32 analysis size index (points = 2^(index+5)), 0..8
//   27364    4      int32 applied window length, ms
//   27368    4      int32 frequency range, Hz
//   27372    4      int32 average step size, ms
//   27376    4      int32 LPC coefficients
//   27380    4      int32 draw LPC: 0 or 1
//   27384    4      int32 display format: 1 absolute, 0 relative
//   27388    4      int32 absolute level, dB
//   27392    8      double print/BMP width
//   27400    8      double print/BMP height
//   27408    4      int32 size unit: 1 inches, 0 cm
//   27412    4      int32 colours: 1 colour, 0 black and white
//   27416    4      int32 frequency grid on: 0 or 1
//   27420    4      int32 frequency grid spacing, Hz
//   27424    4      int32 power grid on: 0 or 1
//   27428    4      int32 power grid spacing, dB
//   27432    8      double sample rate fs the record was made for, Hz
//            pitch options
//   27440    4      int32 window length, ms
//   27444    4      int32 step size, ms
//   27448    4      int32 frequency deviation, Hz
//   27452    4      int32 tracking threshold, %
//   27456    4      int32 calculation range low, Hz
//   27460    4      int32 calculation range high, Hz
//   27464    4      int32 display range low, Hz
//   27468    4      int32 display range high, Hz
//   27472    4      int32 frequency grid on: 0 or 1
//   27476    4      int32 frequency grid spacing, Hz
//            spectrogram options
//   27480    4      int32 analysis size index (points = 2^(index+5)), 0..4
//   27484    4      int32 frequency range, Hz
//   27488    4      int32 dynamic range, dB
//   27492    4      int32 display formants: 0 or 1
//   27496    8      double pre-emphasis
//   27504    4      int32 formant-tracking LPC coefficients
//   27508    4      int32 frequency grid on: 0 or 1
//   27512    4      int32 frequency grid spacing, Hz
//   27516    4      int32 time grid on: 0 or 1
//   27520    4      int32 time grid spacing, ms (0 = automatic)
//   27524    4      int32 size unit: 1 inches, 0 cm
//   27528    8      double print/BMP width
//   27536    8      double print/BMP height
//   27544    8      double sample rate fs the record was made for, Hz
//            display settings
//   27552    4      int32 main window x
//   27556    4      int32 main window y
//   27560    4      int32 main window width (0: not yet placed)
//   27564    4      int32 main window height
//   27568    4      int32 main window maximised: 0 or 1
//   27572    4      int32 toolbar shown: 0 or 1
//   27576    4      int32 status bar shown: 0 or 1
//   27580    4      int32 document windows maximised: 0 or 1
//            spectrogram/pitch view: the option dialogs' controls that the
//            two records above do not keep
//   27584    4      int32 block written: 1 (0 in older files: the defaults apply)
//   27588    4      int32 "Draw Audio ": 0 or 1
//   27592    4      int32 "Draw Labels": 0 or 1
//   27596    4      int32 "Draw Intensity": 0 or 1
//   27600    4      int32 pitch method: 0 "Cepstral", 1 "AutoCorrolation"
//   27604    4      int32 pitch time grid on: 0 or 1
//   27608    4      int32 pitch time grid spacing, ms (0 = automatic)
//   27612    4      int32 "Add audio": 0 or 1
//   27616    4      int32 "Add Intensity": 0 or 1
//   27620    4      int32 "Add Labels": 0 or 1
//   27624    8      double pitch print/BMP width
//   27632    8      double pitch print/BMP height
//   27640    4      int32 pitch size unit: 1 inches, 0 cm
//   27644    4      int32 pitch colours: 1 colour, 0 black and white
//   27648    104    reserved, zero
//   27752    4      check tag "CRC1" (four NUL bytes in files written before
//                   the check value)
//   27756    4      uint32 check value: CRC-32 (the polynomial of zlib and
//                   PNG) of bytes 0 to 27755
//   27760           end
//
// The parameter slots come first, in the storage order of the parameter set;
// a slot whose name is not the built-in name of its index marks a foreign
// file. A record is accepted only whole: right size, magic, version, size
// field, check value, and every field within its range. Anything else is
// ignored and the built-in defaults are used.
//
// The check value is there because most settings have no range narrower than
// their type: a flipped bit in the pitch window (35 ms becoming 43 ms) reads
// as a good value. It sits in what used to be reserved bytes, so the record
// keeps its size and every field its offset; a reader that ignores it still
// reads the record. A record without the tag (from before) is taken on its
// field checks alone; a damaged tag is a damaged record.

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "document/ParameterSet.h"

namespace vandrel {
class CVandrelDoc;
}

namespace vandrel {

inline constexpr std::size_t kConfigRecordSize = 27760;
inline constexpr std::size_t kConfigSlotSize = 568;
inline constexpr std::string_view kConfigFileName = "VandrelConf.cfg";
inline constexpr std::uint32_t kConfigVersion = 1;

struct ParamSlot {
  std::int32_t defaultValue = 0;
  std::int32_t working = 0;
  std::int32_t lower = 0;
  std::int32_t upper = 0;
  std::int32_t selected = 0;
  Colorref color = kWhite;
  bool operator==(const ParamSlot&) const = default;
};

struct TableConfig {
  double fileLengthMs = 200.0;
  std::int32_t intervalMs = 10;
  std::int32_t frameCount = 20;
  std::int32_t selectedCount = 31;
  std::int32_t cascadeParallel = 1;
  std::int32_t reserved = 0;
  std::int32_t sampleRate = 11025;
  std::int32_t autoInterpolate = 0;
  std::int32_t anchorAfterEdit = 0;
  std::array<Colorref, 10> colors{};
  bool operator==(const TableConfig&) const = default;
};

struct FftLpcConfig {
  std::int32_t sizeIndex = 3;
  std::int32_t appliedWindowMs = 23;
  std::int32_t frequencyRangeHz = 5000;
  std::int32_t averageStepMs = 10;
  std::int32_t lpcCoefficients = 14;
  std::int32_t drawLpc = 1;
  std::int32_t absolute = 1;
  std::int32_t absoluteLevelDb = 80;
  double width = 6.0;
  double height = 4.0;
  std::int32_t inches = 1;
  std::int32_t color = 1;
  std::int32_t frequencyGridOn = 1;
  std::int32_t frequencyGridHz = 1000;
  std::int32_t powerGridOn = 1;
  std::int32_t powerGridDb = 20;
  double fs = 11025.0;
  bool operator==(const FftLpcConfig&) const = default;
};

struct PitchConfig {
  std::int32_t windowMs = 35;
  std::int32_t stepMs = 10;
  std::int32_t deviationHz = 100;
  std::int32_t thresholdPercent = 1;
  std::int32_t calcLowHz = 50;
  std::int32_t calcHighHz = 500;
  std::int32_t displayLowHz = 50;
  std::int32_t displayHighHz = 500;
  std::int32_t frequencyGridOn = 1;
  std::int32_t frequencyGridHz = 20;
  bool operator==(const PitchConfig&) const = default;
};

struct SpectrogramConfig {
  std::int32_t sizeIndex = 1;
  std::int32_t frequencyRangeHz = 5000;
  std::int32_t dynamicRangeDb = 35;
  std::int32_t displayFormants = 0;
  double preEmphasis = 0.98;
  std::int32_t lpcCoefficients = 14;
  std::int32_t frequencyGridOn = 1;
  std::int32_t frequencyGridHz = 1000;
  std::int32_t timeGridOn = 1;
  std::int32_t timeGridMs = 0;
  std::int32_t inches = 1;
  double width = 4.0;
  double height = 6.0;
  double fs = 11025.0;
  bool operator==(const SpectrogramConfig&) const = default;
};

struct AnalysisViewConfig {
  std::int32_t written = 1;
  std::int32_t drawAudio = 1;
  std::int32_t drawLabels = 1;
  std::int32_t drawIntensity = 1;
  std::int32_t pitchMethod = 0;
  std::int32_t pitchTimeGridOn = 1;
  std::int32_t pitchTimeGridMs = 0;
  std::int32_t pitchAddAudio = 1;
  std::int32_t pitchAddIntensity = 1;
  std::int32_t pitchAddLabels = 1;
  double pitchWidth = 6.0;
  double pitchHeight = 4.0;
  std::int32_t pitchInches = 1;
  std::int32_t pitchColor = 1;
  bool operator==(const AnalysisViewConfig&) const = default;
};

struct DisplayConfig {
  std::int32_t x = 0;
  std::int32_t y = 0;
  std::int32_t width = 0;
  std::int32_t height = 0;
  std::int32_t maximized = 1;
  std::int32_t toolbarVisible = 1;
  std::int32_t statusBarVisible = 1;
  std::int32_t childMaximized = 1;
  bool operator==(const DisplayConfig&) const = default;
};

struct ConfigRecord {
  std::array<ParamSlot, kParamCount> params{};
  TableConfig table;
  FftLpcConfig fftLpc;
  PitchConfig pitch;
  SpectrogramConfig spectrogram;
  DisplayConfig display;
  AnalysisViewConfig analysisView;

  // The built-in configuration: the parameter set's table and the options'
  // defaults for an 11025 Hz file.
  static ConfigRecord defaults();

  bool operator==(const ConfigRecord&) const = default;
};

enum class ConfigStatus {
  kOk,
  kMissing,     // no file (or it cannot be opened)
  kWrongSize,   // not 27,760 bytes
  kBadMagic,    // not a configuration record of this program
  kBadVersion,  // a later or unknown layout
  kBadField,    // a field out of range, or a slot of another parameter
  kBadCheck,    // the check value does not match the contents: the file was damaged
};

// Exactly kConfigRecordSize bytes.
std::string encodeConfig(const ConfigRecord& record);

// Fills `out` only when the whole record is valid.
ConfigStatus decodeConfig(std::string_view bytes, ConfigRecord& out);

ConfigStatus loadConfigFile(const std::string& path, ConfigRecord& out);

// Writes atomically. Empty string on success, otherwise the reason.
std::string saveConfigFile(const std::string& path, const ConfigRecord& record);

// A blank document on the configuration: all three parameter-set instances
// take the slots and the settings block, the document its colours and
// after-edit options, and the table is rebuilt at the configured length.
void applyConfig(const ConfigRecord& record, CVandrelDoc& doc);

// The document's side of the record: its working parameter set, settings,
// colours and after-edit options. The analysis and display parts of `record`
// are left as they are.
void storeConfig(const CVandrelDoc& doc, ConfigRecord& record);

}  // namespace vandrel
