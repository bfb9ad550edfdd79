#include "document/VandrelDoc.h"

#include <algorithm>
#include <cmath>

namespace vandrel {

void CVandrelDoc::initialise() {
  for (auto& s : paramSets) s.initialise();
  table_.reset(params().frameCount, params());
  synthesized = SampleSet{};
  previous = SampleSet{};
  audio = SampleSet{};
  sampleRate = 11025.0;
  highRate = false;
  modified = false;
  changedSinceSynthesis = true;
  changedCompanion = true;
  untouched = true;
  tableChanged = false;
  labels.reset();
  colors = kDefaultColors;
  applyGroupColors();
  rowsInUse = kParamCount;
  autoInterpolate = false;
  anchorAfterEdit = false;
  addColumnTimeMs = 100;
  addColumnPlace = AddColumnPlace::kEnd;
  addSubtractAmount = 0;
  undo = UndoHistory{};
  drawing = DrawingChoice{};
  notifyStructureChanged();
  notifyLabelsChanged();
  notifyFlagsChanged();
}

void CVandrelDoc::replaceTable(FrameTable&& table) {
  table_ = std::move(table);
  notifyStructureChanged();
}

void CVandrelDoc::replaceTable(const FrameTable& table) {
  table_ = table;
  notifyStructureChanged();
}

void CVandrelDoc::markEdited() {
  modified = true;
  changedSinceSynthesis = true;
  changedCompanion = true;
  untouched = false;
  notifyFlagsChanged();
}

void CVandrelDoc::setModified(bool on) {
  if (modified == on) return;
  modified = on;
  notifyFlagsChanged();
}

void CVandrelDoc::setGroupColor(int group, Colorref c) {
  colors.at(static_cast<std::size_t>(group)) = c;
  for (int i = 0; i < kParamCount; ++i)
    if (paramGroup(i) == group) params().setColor(i, c);
}

void CVandrelDoc::applyGroupColors() {
  for (int i = 0; i < kParamCount; ++i) params().setColor(i, colors[static_cast<std::size_t>(paramGroup(i))]);
}

void CVandrelDoc::attachAudio(SampleSet recording) {
  bool resized = false;
  if (tableUntouched() && !recording.empty() && recording.sampleRate > 0.0) {
    ParameterSet& ps = params();
    // Whole milliseconds, then whole frames; a recording shorter than one
    // frame still gets one column so the table never goes empty.
    const double ms =
        std::floor(static_cast<double>(recording.samples.size()) * 1000.0 / recording.sampleRate);
    const double frames = std::max(1.0, std::floor(ms / ps.intervalMs));
    if (frames < 2147483647.0 / ps.intervalMs) {
      const auto n = static_cast<std::int32_t>(frames);
      if (n != ps.frameCount || n != table_.columns()) {
        ps.frameCount = n;
        ps.fileLengthMs = static_cast<double>(n) * ps.intervalMs;
        table_.reset(n, ps);
        changedSinceSynthesis = true;
        changedCompanion = true;
        resized = true;
      }
    }
  }
  audio = std::move(recording);
  if (resized) notifyStructureChanged();
  notifySamplesChanged(SampleSlot::kAudio);
}

void CVandrelDoc::addObserver(DocObserver* o) {
  auto& l = observers_.list;
  if (o != nullptr && std::find(l.begin(), l.end(), o) == l.end()) l.push_back(o);
}

void CVandrelDoc::removeObserver(DocObserver* o) {
  auto& l = observers_.list;
  l.erase(std::remove(l.begin(), l.end(), o), l.end());
}

template <class F>
void CVandrelDoc::forEachObserver(F f) {
  // A copy, so an observer may remove itself while it is told.
  const std::vector<DocObserver*> now = observers_.list;
  const auto& l = observers_.list;
  for (DocObserver* o : now)
    if (std::find(l.begin(), l.end(), o) != l.end()) f(*o);
}

void CVandrelDoc::notifyCellsChanged(const CellRange& cells) {
  forEachObserver([&](DocObserver& o) { o.notifyCellsChanged(cells); });
}
void CVandrelDoc::notifyStructureChanged() {
  forEachObserver([](DocObserver& o) { o.notifyStructureChanged(); });
}
void CVandrelDoc::notifySamplesChanged(SampleSlot slot) {
  forEachObserver([&](DocObserver& o) { o.notifySamplesChanged(slot); });
}
void CVandrelDoc::notifyFlagsChanged() {
  forEachObserver([](DocObserver& o) { o.notifyFlagsChanged(); });
}

void CVandrelDoc::notifyAboutToSynthesize() {
  forEachObserver([](DocObserver& o) { o.notifyAboutToSynthesize(); });
}

void CVandrelDoc::notifyLabelsChanged() {
  forEachObserver([](DocObserver& o) { o.notifyLabelsChanged(); });
}

}  // namespace vandrel
