#pragma once
// The records behind Options > "File..." and "Parameters..." (Edit > "Add
// Row..." opens the second too), and what confirming each does to the
// document. The dialogs only show these records and hand them back.

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

#include "document/ColorSlots.h"
#include "document/VandrelDoc.h"
#include "editing/AdjustTime.h"
#include "editing/TableSelection.h"
#include "editing/UserMessage.h"

namespace vandrel {

inline constexpr std::string_view kMsgColorIsAnchorColor =
    "This color is the same as anchor color.\nPlease select another color.";

// --- "File Option" ----------------------------------------------------------

struct FileOptions {
  int sampleRate = 11025;  // 11025 or 22050
  int fileLengthMs = 200;
  int intervalMs = 10;
  bool autoInterpolate = false;
  bool anchorAfterEdit = false;
  Colorref anchorColor = kDefaultColors[kAnchorColorSlot];

  bool operator==(const FileOptions&) const = default;
};

FileOptions fileOptionsOf(const CVandrelDoc& doc);

// Why `edited` cannot be confirmed over `current` (the record the dialog
// opened with), or nothing: a new interval must be at least 1 ms and fit the
// file (ChangeInterval.h); a new length must hold at least one frame.
std::optional<UserMessage> checkFileOptions(const FileOptions& current, const FileOptions& edited);

// Confirms the File options, in this order: the sample rate; a new interval
// rebuilds the table (resampleToInterval); the typed length is cut down to
// whole intervals and handed to changeFileLength - a length left as it was
// asks for nothing; the two after-edit options and the anchor colour are
// stored; the table-changed flag is set and the after-edit step runs. What
// checkFileOptions refuses stops everything before any change. The messages come in
// the order they are to be shown.
UserMessages applyFileOptions(CVandrelDoc& doc, const FileOptions& options, const ProgressFn& progress = {});

// --- "Parameters Selection" and "Parameter Settings" ------------------------

struct ParamLimits {
  std::int32_t lower = 0;
  std::int32_t upper = 0;
  std::int32_t defaultValue = 0;
  bool operator==(const ParamLimits&) const = default;
};
using LimitTable = std::array<ParamLimits, kParamCount>;

// The built-in limits and defaults ("Reset to Default Values").
LimitTable builtinLimits();

// The first parameter whose lower limit lies above its upper limit, or whose
// default lies outside its limits, as a message naming it; nothing when every
// row is sound.
std::optional<UserMessage> checkLimits(const LimitTable& limits);

struct ParameterOptions {
  std::array<bool, kParamCount> shown{};
  std::array<Colorref, kGroupCount> groupColors{};
  bool cascadeParallel = true;  // false: "Parrallel only"
  LimitTable limits{};

  bool operator==(const ParameterOptions&) const = default;
};

ParameterOptions parameterOptionsOf(const CVandrelDoc& doc);

// "Default Settings": the usual rows of a five-formant synthesis shown, the
// higher formants with oq and anv hidden, fnz, atu, skew and gain left as
// they are; the synthesis method back to "Cascade_Parallel".
void applyDefaultSelection(ParameterOptions& options);

// A group colour may not be the anchor cell colour, or anchors would vanish
// into their rows; the anchor colour, for the same reason, may not be one of
// the group colours. The message when it is.
std::optional<UserMessage> checkGroupColor(Colorref chosen, Colorref anchorColor);
std::optional<UserMessage> checkAnchorColor(Colorref chosen, const std::array<Colorref, kGroupCount>& groups);

// Confirms the parameter selection: refused with checkLimits' message, and
// nothing changed, while a limit is unsound. Otherwise the group colours,
// shown rows, synthesis method, limits and defaults go into the working
// parameter set; the count of rows in use is reset to all rows; the views are
// told the structure changed; the document is marked edited when anything
// differs; the after-edit step runs. Hidden rows keep their values.
UserMessages applyParameterOptions(CVandrelDoc& doc, const ParameterOptions& options);

}  // namespace vandrel
