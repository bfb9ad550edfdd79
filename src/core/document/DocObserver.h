#pragma once
// How views learn that a document changed. The core knows nothing of Qt: a
// view implements DocObserver (or wraps one that emits signals) and registers
// it with CVandrelDoc::addObserver. Every call runs on the thread that changed
// the document; observers must not add or remove observers of the same
// document from inside a notification other than themselves.

namespace vandrel {

// A rectangle of table cells, bounds included.
struct CellRange {
  int firstRow = 0;
  int lastRow = 0;
  int firstColumn = 0;
  int lastColumn = 0;
};

// Which of the document's sample sets changed.
enum class SampleSlot { kSynthesized, kPrevious, kAudio };

class DocObserver {
 public:
  virtual ~DocObserver() = default;

  // Values or anchor flags of these cells changed; the table's shape did not.
  virtual void notifyCellsChanged(const CellRange& /*cells*/) {}

  // Column count, timing, shown rows, colours or the whole table changed:
  // rebuild what is drawn from the document.
  virtual void notifyStructureChanged() {}

  // A sample set was replaced (a synthesis, an opened recording).
  virtual void notifySamplesChanged(SampleSlot /*slot*/) {}

  // The modified or changed-since-synthesis flag changed (title bar asterisk,
  // "needs synthesis" state).
  virtual void notifyFlagsChanged() {}

  // A synthesis of a modified table is about to start: the last moment to
  // keep a copy of the work before a long computation that could fail.
  virtual void notifyAboutToSynthesize() {}

  // The document's labels (tiers, boundaries or texts) were replaced.
  virtual void notifyLabelsChanged() {}

  // The graphical entry window's selected track or a track colour changed.
  virtual void notifyDrawingChanged() {}
};

}  // namespace vandrel
