#pragma once
// CVandrelDoc: one open document. It owns the parameter set instances, the
// frame table, the three sample sets, the document flags, the ten colour
// slots, the table's editing options, the labels and the drawing choice.
// Views learn of changes through DocObserver.
//
// Its state is private: read through the getters, changed through setters
// that tell the observers, so no caller changes it silently. The table is
// written only through an EditTransaction (editing/EditTransaction.h), which
// tells what it wrote and notes it for the undo history, or replaced whole
// (replaceTable, loadTable). The parameter sets change through changeParams
// and the other setters, which tell of a structure change; the undo history
// grows by takeSnapshot and is walked back by an EditTransaction's restore.

#include <array>
#include <memory>
#include <string>
#include <vector>

#include "audio/SampleSet.h"
#include "document/ColorSlots.h"
#include "document/DocObserver.h"
#include "document/FrameTable.h"
#include "document/ParameterSet.h"
#include "editing/UndoHistory.h"
#include "entry/DrawTracks.h"

namespace vandrel {

struct Labels;

// Where "Add Column" puts the new time; exactly one of the three is chosen.
enum class AddColumnPlace { kBeginning, kSelectedColumn, kEnd };

class CVandrelDoc {
 public:
  CVandrelDoc() { initialise(); }

  // A blank document: default parameter sets, a table of defaults, no sound,
  // default colours and options. Observers stay registered and are told.
  void initialise();

  // The working instance of the settings block: the table, the file and the
  // synthesis use it. [1] and [2] start identical and are left to the option
  // dialogs and the configuration file.
  const ParameterSet& params() const { return paramSets_[0]; }
  const std::array<ParameterSet, 3>& paramSets() const { return paramSets_; }
  // Changes the working set in place, then tells the observers of a
  // structure change: rows shown, limits, timing and colours all show in the
  // table's layout.
  template <class F>
  void changeParams(F&& change) {
    change(paramSets_[0]);
    notifyStructureChanged();
  }
  // All three sets at once (the configuration file, a recovery copy); tells
  // of a structure change.
  void setParamSets(const std::array<ParameterSet, 3>& sets);

  // --- flags --------------------------------------------------------------
  // Each setter but setTableChanged tells the observers (notifyFlagsChanged)
  // when it changes something.
  bool modified() const { return modified_; }
  bool changedSinceSynthesis() const { return changedSinceSynthesis_; }  // set by every edit
  bool changedCompanion() const { return changedCompanion_; }  // cleared together with the flag above
  bool untouched() const { return untouched_; }                // cleared by the first edit or load
  // Set by every after-edit step and by the commands that change the table,
  // cleared by undo and redo. No window shows it.
  bool tableChanged() const { return tableChanged_; }
  double sampleRate() const { return sampleRate_; }  // of the last synthesis
  bool highRate() const { return highRate_; }        // 22050 Hz was in force at the last synthesis

  // The after-edit marking: modified, and due for synthesis.
  void markEdited();
  void setModified(bool on);
  // Due for synthesis again, without being an edit (Play synthesizes first).
  void markDueForSynthesis();
  void setUntouched(bool on);
  void setTableChanged(bool on);
  // The rate the next synthesis writes into the file (Table options).
  void setSampleRate(double rate);
  // True for a blank table that nothing has edited or loaded into yet.
  bool tableUntouched() const { return untouched_ && !modified_; }
  bool hasAudio() const { return !audio_.empty(); }
  // The rate the analyses' derived defaults (window lengths, frequency
  // ranges) follow: the recording's, else the last synthesis's, else the one
  // the table's parameters call for. One rule, so the spectrogram, FFT/LPC and
  // drawing windows of one document never disagree on it.
  double analysisRate() const {
    if (hasAudio() && audio_.sampleRate > 0.0) return audio_.sampleRate;
    return synthesized_.sampleRate > 0.0 ? synthesized_.sampleRate : params().sampleRate();
  }

  // --- sounds -------------------------------------------------------------
  const SampleSet& synthesized() const { return synthesized_; }  // the last synthesis
  const SampleSet& previous() const { return previous_; }        // the one before it ("Play Previous")
  const SampleSet& audio() const { return audio_; }              // an opened natural recording
  // The signal a window shows, by the slot its notifications name.
  const SampleSet& sampleSet(SampleSlot slot) const {
    if (slot == SampleSlot::kSynthesized) return synthesized_;
    return slot == SampleSlot::kPrevious ? previous_ : audio_;
  }
  // A new synthesis made at `rate`: the current sound becomes the previous
  // one (the first synthesis of a document leaves both holding the new one),
  // and the document is no longer due for synthesis. The observers hear of
  // both sample sets and of the flags, once each.
  void acceptSynthesis(SampleSet fresh, double rate);
  // Neither a synthesized nor a previous sound (a batch keeps tables, not
  // sounds): the document is due for synthesis.
  void dropSynthesis();

  // --- colours ------------------------------------------------------------
  const ColorSlots& colors() const { return colors_; }
  Colorref groupColor(int group) const { return colors_.at(static_cast<std::size_t>(group)); }
  Colorref anchorColor() const { return colors_[kAnchorColorSlot]; }
  Colorref selectionColor() const { return colors_[kSelectionColorSlot]; }
  // The ten slots, and every parameter row of the working set in its group's
  // colour. When a colour changed the observers hear of a structure change
  // (the table draws rows and anchors in them) and it returns true.
  bool setColors(const ColorSlots& colors);

  // --- editing options and the dialogs' last choices ---------------------
  // None of these is shown by a window: the next edit or the next opening of
  // a dialog reads them, so their setters tell no one.
  //
  // Bounds the column forms of Add/Subtract and Set to Default Values;
  // lowered by Remove Row, reset by the parameter selection.
  int rowsInUse() const { return rowsInUse_; }
  void setRowsInUse(int rows) { rowsInUse_ = rows; }
  // After-edit options (File options).
  bool autoInterpolate() const { return autoInterpolate_; }  // interpolate the whole table after an edit
  bool anchorAfterEdit() const { return anchorAfterEdit_; }  // an edited cell becomes an anchor
  void setAutoInterpolate(bool on) { autoInterpolate_ = on; }
  void setAnchorAfterEdit(bool on) { anchorAfterEdit_ = on; }
  // The last choices of the Add Column and Add/Subtract dialogs.
  int addColumnTimeMs() const { return addColumnTimeMs_; }
  AddColumnPlace addColumnPlace() const { return addColumnPlace_; }
  int addSubtractAmount() const { return addSubtractAmount_; }
  void setAddColumnTimeMs(int ms) { addColumnTimeMs_ = ms; }
  void setAddColumnPlace(AddColumnPlace place) { addColumnPlace_ = place; }
  void setAddSubtractAmount(int amount) { addSubtractAmount_ = amount; }

  // --- the graphical entry window's selected track and track colours ------
  const DrawingChoice& drawing() const { return drawing_; }
  void setDrawing(const DrawingChoice& drawing);  // tells the observers (notifyDrawingChanged)

  // --- labels -------------------------------------------------------------
  // The labels of the table or the recording (a TextGrid beside the file),
  // or null when there are none. Shared and never changed in place: an edit
  // puts new labels here (labels/DocumentLabels.h), so the undo history can
  // keep the old ones. setLabels tells the observers.
  const std::shared_ptr<const Labels>& labels() const { return labels_; }
  void setLabels(std::shared_ptr<const Labels> labels);

  // --- the recording beside the table ------------------------------------
  // Puts `recording` into the audio-file set. An untouched table takes the
  // recording's length cut to whole frames (at least one frame); an edited or
  // loaded table keeps its length. A recording without samples leaves the
  // table as it is.
  void attachAudio(SampleSet recording);

  // --- observers ----------------------------------------------------------
  void addObserver(DocObserver* o);
  void removeObserver(DocObserver* o);
  void notifyCellsChanged(const CellRange& cells);
  void notifyStructureChanged();
  void notifySamplesChanged(SampleSlot slot);
  void notifyFlagsChanged();
  void notifyAboutToSynthesize();
  void notifyLabelsChanged();
  void notifyDrawingChanged();

  // --- the table ----------------------------------------------------------
  // Read freely; written only through an EditTransaction (editing/), which
  // collects the cells written and tells the observers, or replaced whole.
  const FrameTable& table() const { return table_; }
  // A whole new table (a new document, a continuum step): the observers
  // hear of a structure change. The copying form reuses the room of the
  // table it replaces (the recovery copy relies on it).
  void replaceTable(FrameTable&& table);
  void replaceTable(const FrameTable& table);
  // A table read from a file, synthesized at `rate`, with its colours: no
  // sounds but the recording, not modified, due for synthesis, no history.
  // The observers hear of the structure, both synthesized sample sets and the
  // flags, once each.
  // `settings` come with it: its length, interval and rows shown.
  void loadTable(FrameTable&& table, const ParameterSet& settings, double rate, const ColorSlots& colors);
  // A table of `frames` columns of defaults at `intervalMs`, the settings'
  // length following it; the observers hear of a structure change.
  void newTable(int frames, int intervalMs);

  // --- the undo history ---------------------------------------------------
  // Whole-table snapshots and the current index (-5 until the first one).
  const UndoHistory& undo() const { return undo_; }
  // Appends the table as it is now, with the frame interval and the labels
  // (or `labels`), as the new current snapshot. The history compares only the
  // cells an EditTransaction noted since the last snapshot; `wholeTable`
  // compares every cell, for a table that may have changed unnoted.
  void takeSnapshot(bool wholeTable = false);
  void takeSnapshot(std::shared_ptr<const Labels> labels);
  // No history: a table made by a batch starts as a loaded one does.
  void clearHistory() { undo_ = UndoHistory{}; }

 private:
  // Copies of a document carry its data, never its observers: a copy starts
  // with none, and assigning keeps the target's own.
  struct Observers {
    Observers() = default;
    Observers(const Observers&) {}
    Observers& operator=(const Observers&) { return *this; }
    std::vector<DocObserver*> list;
  };

  template <class F>
  void forEachObserver(F f);
  // Gives every parameter row of the working set its group's colour.
  void applyGroupColors();

  // The one door for writing cells: a transaction hands the table out,
  // notes what was written for the undo history and tells the observers, so
  // no caller changes cells silently.
  friend class EditTransaction;

  std::array<ParameterSet, 3> paramSets_;
  FrameTable table_;
  UndoHistory undo_;
  SampleSet synthesized_;
  SampleSet previous_;
  SampleSet audio_;
  double sampleRate_ = 11025.0;
  bool highRate_ = false;
  bool modified_ = false;
  bool changedSinceSynthesis_ = true;
  bool changedCompanion_ = true;
  bool untouched_ = true;
  bool tableChanged_ = false;
  ColorSlots colors_ = kDefaultColors;
  int rowsInUse_ = kParamCount;
  bool autoInterpolate_ = false;
  bool anchorAfterEdit_ = false;
  int addColumnTimeMs_ = 100;
  AddColumnPlace addColumnPlace_ = AddColumnPlace::kEnd;
  int addSubtractAmount_ = 0;
  std::shared_ptr<const Labels> labels_;
  DrawingChoice drawing_;

  Observers observers_;
};

}  // namespace vandrel
