#pragma once
// The 48 synthesis parameters and the document settings block.
//
// The definitions are data: one table of plain records, read by the engine's
// driver, the parameter file, the grid and the dialogs. The index 0..47 is the
// row identity everywhere (table row, frame record entry, file column).

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

namespace vandrel {

inline constexpr int kParamCount = 48;

// Row indices, in storage order. The formants run from the highest down.
enum Param : int {
  kF0,
  kAv,
  kAh,
  kAf,
  kTl,
  kF8,
  kF7,
  kF6,
  kF5,
  kF4,
  kF3,
  kF2,
  kF1,
  kB8,
  kB7,
  kB6,
  kB5,
  kB4,
  kB3,
  kB2,
  kB1,
  kAb,
  kA8f,
  kA7f,
  kA6f,
  kA5f,
  kA4f,
  kA3f,
  kA2f,
  kA1f,
  kB8f,
  kB7f,
  kB6f,
  kB5f,
  kB4f,
  kB3f,
  kB2f,
  kB1f,
  kFnz,
  kBnz,
  kFnp,
  kBnp,
  kOq,
  kAnv,
  kApv,
  kAtu,
  kSkew,
  kGain,
};

// Colours are stored as 0x00BBGGRR, the layout of a Windows COLORREF.
using Colorref = std::uint32_t;
inline constexpr Colorref kWhite = 0x00FFFFFF;

struct ParamDef {
  std::string_view name;
  std::string_view description;  // exact text, blanks and misspellings included
  std::int32_t defaultValue;
  std::int32_t working;  // left untouched by initialisation
  std::int32_t lower;
  std::int32_t upper;
  std::int32_t selected;  // 1 = shown in the table by default
  Colorref color;
};

// The built-in definitions, in storage order.
const std::array<ParamDef, kParamCount>& builtinParams();

// Index of the parameter called `name`, if any (exact, case-sensitive).
std::optional<int> paramIndex(std::string_view name);

// The twelve rows whose selection switches synthesis to 22050 Hz and 8
// cascade formants.
bool isHighRateRow(int index);

// One instance of the document settings block.
struct ParameterSet {
  double fileLengthMs = 200.0;
  std::int32_t intervalMs = 10;
  std::int32_t frameCount = 20;
  std::int32_t selectedCount = 31;
  std::int32_t cascadeParallel = 1;  // 1 = "Cascade_Parallel", 0 = "Parrallel only"
  std::int32_t reserved = 0;         // cleared at initialisation; no meaning yet
  std::array<ParamDef, kParamCount> params = builtinParams();

  // Back to the built-in table and the default settings.
  void initialise() { *this = ParameterSet{}; }

  const ParamDef& at(int index) const { return params.at(static_cast<std::size_t>(index)); }
  const ParamDef* find(std::string_view name) const;

  void setDefault(int index, std::int32_t v) { mut(index).defaultValue = v; }
  void setLower(int index, std::int32_t v) { mut(index).lower = v; }
  void setUpper(int index, std::int32_t v) { mut(index).upper = v; }
  void setSelected(int index, bool on);
  void setColor(int index, Colorref c) { mut(index).color = c; }

  // Recounts the selected rows into selectedCount.
  int countSelected() const;

  // 22050 Hz with 8 cascade formants as soon as any high-rate row is shown.
  bool needsHighRate() const;
  double sampleRate() const { return needsHighRate() ? 22050.0 : 11025.0; }
  int cascadeFormants() const { return needsHighRate() ? 8 : 5; }

  // Whole frames in the file: file length / interval, truncated.
  static std::int32_t framesFor(double fileLengthMs, std::int32_t intervalMs);

 private:
  ParamDef& mut(int index) { return params.at(static_cast<std::size_t>(index)); }
};

}  // namespace vandrel
