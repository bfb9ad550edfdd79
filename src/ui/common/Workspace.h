#pragma once
// Workspace: what the windows of one document share besides the document
// itself - the time the analysis windows point at and the range selected in
// them, the play head, the table's current frame and selected frames, and
// whether the table follows the pointer. One per open document, a child of
// its OpenDocument, so every window of the document (tables of "New Window",
// spectrograms, the FFT/LPC and drawing windows) reads and writes the same
// state and hears of its changes, and no window needs to know another.
// Times are milliseconds from the start of the signal.

#include <QObject>

#include <optional>

namespace vandrel::ui {

class OpenDocument;

struct TimeRange {
  double startMs = 0;
  double endMs = 0;
  double lengthMs() const { return endMs - startMs; }
  bool operator==(const TimeRange&) const = default;
};

// Frames (table columns) first to last, bounds included.
struct FrameSpan {
  int first = 0;
  int last = 0;
  bool operator==(const FrameSpan&) const = default;
};

class Workspace : public QObject {
  Q_OBJECT
 public:
  // The document's workspace, made on first use.
  static Workspace& of(OpenDocument& document);

  // --- the analysis windows' cursor and selection ---------------------------
  double timeMs() const { return timeMs_; }
  // Negative times are held at 0. Emits cursorChanged when the time moves;
  // with follow() on, the current frame goes to the frame at that time.
  void setTimeMs(double ms);

  // The selected range, start <= end; none when nothing is selected.
  const std::optional<TimeRange>& selection() const { return selection_; }
  // The ends may come in either order; an empty range clears the selection.
  void setSelection(double startMs, double endMs);
  void clearSelection();

  // A label's interval clicked in any window: its span becomes the
  // selection, and the frames whose middles it holds are offered to the
  // tables (framesChosen), each of which makes them its selected block.
  void chooseInterval(double startMs, double endMs);

  // --- listening ------------------------------------------------------------
  // The time being heard, or a negative value when nothing plays.
  double playHeadMs() const { return playHeadMs_; }
  bool playing() const { return playHeadMs_ >= 0; }
  void setPlayHeadMs(double ms);
  void clearPlayHead() { setPlayHeadMs(-1); }

  // Loop and the "Listen to" choice (an index of the choices, 0 for the
  // whole output) belong to the document: two documents side by side can be
  // heard one looped and one not, one whole and one as its voicing alone.
  bool loop() const { return loop_; }
  void setLoop(bool on);
  int listenTo() const { return listenTo_; }
  void setListenTo(int choice);

  // --- the table --------------------------------------------------------------
  // The frame of the table's current cell (a table window writes it, the
  // others draw it and may move it).
  int currentFrame() const { return currentFrame_; }
  void setCurrentFrame(int frame);

  // The frames the table's selection covers, when it is a column or a block
  // wider than one cell: the stretch the Play commands play from the table.
  const std::optional<FrameSpan>& tableFrames() const { return tableFrames_; }
  void setTableFrames(std::optional<FrameSpan> frames) { tableFrames_ = frames; }

  // "Follow": the current frame follows the cursor time.
  bool follow() const { return follow_; }
  void setFollow(bool on);

 signals:
  void cursorChanged(double ms);
  void selectionChanged();
  void framesChosen(FrameSpan frames);
  void playHeadMoved(double ms);  // negative: the sound has stopped
  void currentFrameChanged(int frame);
  void followChanged(bool on);
  void listeningChanged();  // Loop or the "Listen to" choice

 private:
  explicit Workspace(OpenDocument& document);

  OpenDocument& document_;
  double timeMs_ = 0;
  std::optional<TimeRange> selection_;
  double playHeadMs_ = -1;
  int currentFrame_ = 0;
  std::optional<FrameSpan> tableFrames_;
  bool follow_ = false;
  bool loop_ = false;
  int listenTo_ = 0;
};

}  // namespace vandrel::ui
