#pragma once
// DocumentCursor: the time a document's analysis views point at, and the time
// range selected in them. One per open document, a child of its OpenDocument,
// so two views of one document (a spectrogram and an FFT/LPC window, or two
// spectrograms) show one cursor and one selection, and the table's current
// column can follow it. Times are milliseconds from the start of the signal.

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

class DocumentCursor : public QObject {
  Q_OBJECT
 public:
  // The document's cursor, made on first use.
  static DocumentCursor& of(OpenDocument& document);

  double timeMs() const { return timeMs_; }
  // Negative times are held at 0. Emits cursorChanged when the time moves.
  void setTimeMs(double ms);

  // The selected range, start <= end; none when nothing is selected.
  const std::optional<TimeRange>& selection() const { return selection_; }
  // The ends may come in either order; an empty range clears the selection.
  void setSelection(double startMs, double endMs);
  void clearSelection();

 signals:
  void cursorChanged(double ms);
  void selectionChanged();

 private:
  explicit DocumentCursor(QObject* parent);

  double timeMs_ = 0;
  std::optional<TimeRange> selection_;
};

}  // namespace vandrel::ui
