#pragma once
// CGraphicalInput: the panel of graphical data entry - one radio button per
// drawable track (exactly one checked, the document's choice), a colour
// button for f0 and each formant, "Enter All Data", the recording behind the
// strips, and "OK", which closes the window. Every control carries its id in
// the property "controlId".

#include <QColor>
#include <QWidget>

#include <functional>

#include "entry/DrawTracks.h"

class QAbstractButton;
class QCheckBox;

namespace vandrel::ui {

class CFreqInputWnd;
class OpenDocument;

class CGraphicalInput : public QWidget {
  Q_OBJECT
 public:
  enum ControlId : int {
    kEnterAllData = 1052,
    kOk = 1082,
    kF1Color = 1039,  // .. kF1Color + 4: "F5-color"
    kF0Color = 1044,
  };

  CGraphicalInput(OpenDocument& document, CFreqInputWnd& drawing, QWidget* parent = nullptr);

  // The button with control id `id`; null when there is none.
  QAbstractButton* control(int id) const;
  QCheckBox* recordingBox() const { return recording_; }

  // The radio button's id of each track, in the document's order.
  static int radioId(vandrel::DrawTrack track);

  // The colour dialog; tests answer it instead. An invalid colour: cancelled.
  static std::function<QColor(const QColor& initial, QWidget* parent)> chooseColor;

 signals:
  void enterAllData();
  void okPressed();

 private:
  void select(vandrel::DrawTrack track);
  void chooseTrackColor(vandrel::DrawTrack track, QAbstractButton* button);
  void updateChecks();

  OpenDocument& document_;
  CFreqInputWnd& drawing_;
  QCheckBox* recording_;
};

}  // namespace vandrel::ui
