#include "document/VandrelDoc.h"

#include <algorithm>
#include <cmath>

namespace vandrel {

namespace {

// Taking in, dropping or clearing a synthesis changes both sound buffers and
// the flags.
void tellSynthesisChanged(CVandrelDoc& doc) {
  doc.notifySamplesChanged(SampleSlot::kSynthesized);
  doc.notifySamplesChanged(SampleSlot::kPrevious);
  doc.notifyFlagsChanged();
}

}  // namespace

void CVandrelDoc::initialise() {
  for (auto& s : paramSets_) s.initialise();
  table_.reset(params().frameCount, params());
  synthesized_ = SampleSet{};
  previous_ = SampleSet{};
  audio_ = SampleSet{};
  sampleRate_ = 11025.0;
  highRate_ = false;
  modified_ = false;
  changedSinceSynthesis_ = true;
  changedCompanion_ = true;
  untouched_ = true;
  tableChanged_ = false;
  labels_.reset();
  colors_ = kDefaultColors;
  applyGroupColors();
  rowsInUse_ = kParamCount;
  autoInterpolate_ = false;
  anchorAfterEdit_ = false;
  addColumnTimeMs_ = 100;
  addColumnPlace_ = AddColumnPlace::kEnd;
  addSubtractAmount_ = 0;
  undo_ = UndoHistory{};
  drawing_ = DrawingChoice{};
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

void CVandrelDoc::loadTable(FrameTable&& table, const ParameterSet& settings, double rate,
                            const ColorSlots& colors) {
  paramSets_[0] = settings;
  table_ = std::move(table);
  colors_ = colors;
  applyGroupColors();
  sampleRate_ = rate;
  highRate_ = rate == 22050;
  synthesized_ = SampleSet{};
  previous_ = SampleSet{};
  modified_ = false;
  changedSinceSynthesis_ = true;
  changedCompanion_ = true;
  untouched_ = false;
  rowsInUse_ = kParamCount;
  undo_ = UndoHistory{};
  notifyStructureChanged();
  tellSynthesisChanged(*this);
}

void CVandrelDoc::newTable(int frames, int intervalMs) {
  ParameterSet& ps = paramSets_[0];
  ps.intervalMs = intervalMs;
  ps.frameCount = frames;
  ps.fileLengthMs = static_cast<double>(frames) * intervalMs;
  table_.reset(frames, ps);
  notifyStructureChanged();
}

void CVandrelDoc::setParamSets(const std::array<ParameterSet, 3>& sets) {
  paramSets_ = sets;
  notifyStructureChanged();
}

void CVandrelDoc::takeSnapshot(bool wholeTable) {
  if (wholeTable) undo_.noteAllChanged();
  undo_.append(table_, params().intervalMs, labels_);
}

void CVandrelDoc::takeSnapshot(std::shared_ptr<const Labels> labels) {
  undo_.append(table_, params().intervalMs, std::move(labels));
}

void CVandrelDoc::acceptSynthesis(SampleSet fresh, double rate) {
  const bool first = synthesized_.byteSize() < 100;
  sampleRate_ = rate;
  highRate_ = rate == 22050;
  if (!first) previous_ = std::move(synthesized_);
  synthesized_ = std::move(fresh);
  if (first) previous_ = synthesized_;
  changedSinceSynthesis_ = false;
  changedCompanion_ = false;
  tellSynthesisChanged(*this);
}

void CVandrelDoc::dropSynthesis() {
  synthesized_ = SampleSet{};
  previous_ = SampleSet{};
  changedSinceSynthesis_ = true;
  changedCompanion_ = true;
  tellSynthesisChanged(*this);
}

void CVandrelDoc::markEdited() {
  modified_ = true;
  changedSinceSynthesis_ = true;
  changedCompanion_ = true;
  untouched_ = false;
  notifyFlagsChanged();
}

void CVandrelDoc::setModified(bool on) {
  if (modified_ == on) return;
  modified_ = on;
  notifyFlagsChanged();
}

void CVandrelDoc::markDueForSynthesis() {
  if (changedSinceSynthesis_ && changedCompanion_) return;
  changedSinceSynthesis_ = changedCompanion_ = true;
  notifyFlagsChanged();
}

void CVandrelDoc::setUntouched(bool on) {
  if (untouched_ == on) return;
  untouched_ = on;
  notifyFlagsChanged();
}

void CVandrelDoc::setTableChanged(bool on) {
  // No window shows this flag, so there is no one to tell: every command that
  // sets it tells of its edit (markEdited) or of its snapshot itself.
  tableChanged_ = on;
}

void CVandrelDoc::setSampleRate(double rate) {
  if (sampleRate_ == rate) return;
  sampleRate_ = rate;
  notifyFlagsChanged();
}

bool CVandrelDoc::setColors(const ColorSlots& colors) {
  const bool changed = colors != colors_;
  colors_ = colors;
  applyGroupColors();
  if (changed) notifyStructureChanged();
  return changed;
}

void CVandrelDoc::applyGroupColors() {
  for (int i = 0; i < kParamCount; ++i)
    paramSets_[0].setColor(i, colors_[static_cast<std::size_t>(paramGroup(i))]);
}

void CVandrelDoc::setDrawing(const DrawingChoice& drawing) {
  drawing_ = drawing;
  notifyDrawingChanged();
}

void CVandrelDoc::setLabels(std::shared_ptr<const Labels> labels) {
  labels_ = std::move(labels);
  notifyLabelsChanged();
}

void CVandrelDoc::attachAudio(SampleSet recording) {
  bool resized = false;
  if (tableUntouched() && !recording.empty() && recording.sampleRate > 0.0) {
    ParameterSet& ps = paramSets_[0];
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
        changedSinceSynthesis_ = true;
        changedCompanion_ = true;
        resized = true;
      }
    }
  }
  audio_ = std::move(recording);
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

void CVandrelDoc::notifyDrawingChanged() {
  forEachObserver([](DocObserver& o) { o.notifyDrawingChanged(); });
}

}  // namespace vandrel
