#pragma once
// VowelSpaceView: the inside of the "::Vowel Space" window. The table's f1
// against its f2 frame by frame, as a line through the vowel space (F2
// falling to the right, F1 growing downwards, in Hz or bark), with the
// frames anchored in f1 or f2 as handles and reference vowels as labels.
//
// Dragging a handle moves that frame's anchors (one edit, one undo step);
// a click elsewhere on the line moves the document's cursor to that frame,
// so every window of the document follows. The cursor's frame is marked and
// the document's selected time range drawn thicker.

#include <QWidget>

#include <functional>
#include <optional>
#include <vector>

#include "common/Printable.h"
#include "vowelspace/FormantDrag.h"
#include "vowelspace/VowelSpace.h"

class QLabel;
class QToolBar;

namespace vandrel::ui {

class OpenDocument;
class VowelSpaceCanvas;

class VowelSpaceView : public QWidget, public Printable {
  Q_OBJECT
 public:
  explicit VowelSpaceView(OpenDocument& document, QWidget* parent = nullptr);
  ~VowelSpaceView() override;

  // Asks for the reference vowels' file; empty when cancelled.
  std::function<QString()> chooseReferenceFile;

  vandrel::FormantScale scale() const { return scale_; }
  void setScale(vandrel::FormantScale scale);
  // Reads `path` ("vowel f1 f2" lines); on failure says why in a message box
  // and keeps the vowels shown. True when read.
  bool loadReferenceVowels(const QString& path);
  const std::vector<vandrel::ReferenceVowel>& referenceVowels() const { return vowels_; }

  QWidget* canvas() const;
  QToolBar* toolBar() const { return bar_; }
  // The map of the canvas as it is drawn now.
  vandrel::VowelSpaceMap canvasMap() const;
  const std::vector<vandrel::TrajectoryPoint>& trajectory() const { return points_; }

  // The one drawing routine of screen, printout and pictures; `marks` adds
  // the cursor's frame and the selection.
  void paint(QPainter& painter, const QRectF& area, bool marks) const;

  void printTo(QPrinter& printer, const QString& title) override;
  QImage picture() override;
  QSizeF vectorSize() override { return {720, 540}; }
  void paintVector(QPainter& painter) override;

 private:
  friend class VowelSpaceCanvas;
  vandrel::VowelSpaceMap mapFor(const QRectF& area) const;
  double f1HighFor(double lower, double upper) const;
  void reread();  // the whole trajectory from the table
  void reread(int firstColumn, int lastColumn);
  int cursorFrame() const;
  std::optional<std::pair<int, int>> selectedFrames() const;
  void pressAt(QPointF at);
  void moveTo(QPointF at);
  void release();
  void showReadout(QPointF at);

  OpenDocument& document_;
  vandrel::FormantScale scale_ = vandrel::FormantScale::kHz;
  std::vector<vandrel::TrajectoryPoint> points_;
  std::vector<vandrel::ReferenceVowel> vowels_;
  std::optional<vandrel::FormantDrag> drag_;
  std::optional<double> f1High_;  // the F1 scale's end, held during a drag
  QToolBar* bar_ = nullptr;
  QLabel* readout_ = nullptr;
  VowelSpaceCanvas* canvas_ = nullptr;
};

}  // namespace vandrel::ui
