#include "editing/TableOptions.h"

#include <algorithm>
#include <string>

#include "editing/AfterEdit.h"
#include "editing/ChangeInterval.h"

namespace vandrel {

namespace {

std::string name(int index) { return std::string(builtinParams()[static_cast<std::size_t>(index)].name); }

}  // namespace

FileOptions fileOptionsOf(const CVandrelDoc& doc) {
  const ParameterSet& ps = doc.params();
  FileOptions o;
  o.sampleRate = doc.sampleRate() > 11025.0 ? 22050 : 11025;
  o.fileLengthMs = static_cast<int>(ps.fileLengthMs);
  o.intervalMs = ps.intervalMs;
  o.autoInterpolate = doc.autoInterpolate();
  o.anchorAfterEdit = doc.anchorAfterEdit();
  o.anchorColor = doc.anchorColor();
  return o;
}

std::optional<UserMessage> checkFileOptions(const FileOptions& current, const FileOptions& edited) {
  if (edited.intervalMs != current.intervalMs) {
    if (std::string why = intervalProblem(edited.intervalMs, current.fileLengthMs); !why.empty())
      return UserMessage{std::move(why), true};
  }
  if (edited.fileLengthMs != current.fileLengthMs && edited.fileLengthMs < edited.intervalMs)
    return UserMessage{"A file of " + std::to_string(edited.fileLengthMs) +
                           " ms is shorter than one frame of " + std::to_string(edited.intervalMs) +
                           " ms.\nPlease enter a length of at least " + std::to_string(edited.intervalMs) +
                           " ms.",
                       true};
  return std::nullopt;
}

UserMessages applyFileOptions(CVandrelDoc& doc, const FileOptions& options, const ProgressFn& progress) {
  const ParameterSet& ps = doc.params();
  const int now = static_cast<int>(ps.fileLengthMs);
  if (auto refused = checkFileOptions(fileOptionsOf(doc), options)) return {*refused};
  doc.setSampleRate(options.sampleRate == 11025 ? 11025.0 : 22050.0);
  UserMessages out = resampleToInterval(doc, options.intervalMs);

  // A length the user did not touch is not a request, even when it is not a
  // whole number of frames (a file saved so, or an interval just changed).
  if (options.fileLengthMs != now) {
    const int wanted = std::max(options.fileLengthMs, 0) / ps.intervalMs * ps.intervalMs;
    UserMessages more = changeFileLength(doc, wanted, progress);
    out.insert(out.end(), more.begin(), more.end());
  }

  doc.setAutoInterpolate(options.autoInterpolate);
  doc.setAnchorAfterEdit(options.anchorAfterEdit);
  if (options.anchorColor != doc.anchorColor()) {
    ColorSlots colors = doc.colors();
    colors[kAnchorColorSlot] = options.anchorColor;
    doc.setModified(true);  // the parameter file keeps the colours
    doc.setColors(colors);  // tells of the structure change
  }
  doc.setTableChanged(true);
  afterEditStep(doc);
  return out;
}

LimitTable builtinLimits() {
  LimitTable t{};
  for (int i = 0; i < kParamCount; ++i) {
    const ParamDef& p = builtinParams()[static_cast<std::size_t>(i)];
    t[static_cast<std::size_t>(i)] = ParamLimits{p.lower, p.upper, p.defaultValue};
  }
  return t;
}

std::optional<UserMessage> checkLimits(const LimitTable& limits) {
  for (int i = 0; i < kParamCount; ++i) {
    const ParamLimits& l = limits[static_cast<std::size_t>(i)];
    if (l.lower > l.upper)
      return UserMessage{"The lower limit of " + name(i) + " (" + std::to_string(l.lower) +
                             ") is above its upper limit (" + std::to_string(l.upper) +
                             ").\nPlease correct the limits of " + name(i) + ".",
                         true};
    if (l.defaultValue < l.lower || l.defaultValue > l.upper)
      return UserMessage{"The default value of " + name(i) + " (" + std::to_string(l.defaultValue) +
                             ") lies outside its limits (" + std::to_string(l.lower) + " to " +
                             std::to_string(l.upper) + ").\nPlease correct the default of " + name(i) + ".",
                         true};
  }
  return std::nullopt;
}

ParameterOptions parameterOptionsOf(const CVandrelDoc& doc) {
  const ParameterSet& ps = doc.params();
  ParameterOptions o;
  for (int i = 0; i < kParamCount; ++i) {
    const ParamDef& p = ps.at(i);
    o.shown[static_cast<std::size_t>(i)] = p.selected != 0;
    o.limits[static_cast<std::size_t>(i)] = ParamLimits{p.lower, p.upper, p.defaultValue};
  }
  for (int g = 0; g < kGroupCount; ++g) o.groupColors[static_cast<std::size_t>(g)] = doc.groupColor(g);
  o.cascadeParallel = ps.cascadeParallel != 0;
  return o;
}

void applyDefaultSelection(ParameterOptions& options) {
  static constexpr int kShown[] = {kF0,  kAv,  kAh,  kAf,  kTl,  kF1,  kF2,  kF3,  kF4,  kF5,
                                   kB1,  kB2,  kB3,  kB4,  kB5,  kAb,  kA1f, kA2f, kA3f, kA4f,
                                   kA5f, kB1f, kB2f, kB3f, kB4f, kB5f, kFnp, kBnp, kBnz, kApv};
  static constexpr int kHidden[] = {kF6,  kF7,  kF8,  kB6,  kB7,  kB8, kA6f,
                                    kA7f, kA8f, kB6f, kB7f, kB8f, kOq, kAnv};
  for (int i : kShown) options.shown[static_cast<std::size_t>(i)] = true;
  for (int i : kHidden) options.shown[static_cast<std::size_t>(i)] = false;
  options.cascadeParallel = true;
}

std::optional<UserMessage> checkGroupColor(Colorref chosen, Colorref anchorColor) {
  if (chosen != anchorColor) return std::nullopt;
  return UserMessage{std::string(kMsgColorIsAnchorColor), true};
}

std::optional<UserMessage> checkAnchorColor(Colorref chosen,
                                            const std::array<Colorref, kGroupCount>& groups) {
  if (std::find(groups.begin(), groups.end(), chosen) == groups.end()) return std::nullopt;
  return UserMessage{std::string(kMsgColorIsAnchorColor), true};
}

UserMessages applyParameterOptions(CVandrelDoc& doc, const ParameterOptions& options) {
  if (auto refused = checkLimits(options.limits)) return {*refused};
  const bool changed = options != parameterOptionsOf(doc);
  doc.setRowsInUse(kParamCount);
  doc.changeParams([&](ParameterSet& ps) {  // tells of the rows shown and their limits
    for (int i = 0; i < kParamCount; ++i) {
      const auto k = static_cast<std::size_t>(i);
      ps.setSelected(i, options.shown[k]);
      ps.setLower(i, options.limits[k].lower);
      ps.setUpper(i, options.limits[k].upper);
      ps.setDefault(i, options.limits[k].defaultValue);
    }
    ps.cascadeParallel = options.cascadeParallel ? 1 : 0;
  });
  ColorSlots colors = doc.colors();
  std::copy(options.groupColors.begin(), options.groupColors.end(), colors.begin());
  doc.setColors(colors);
  if (changed) doc.markEdited();
  afterEditStep(doc);
  return {};
}

}  // namespace vandrel
