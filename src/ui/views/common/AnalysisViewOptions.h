#pragma once
// The spectrogram/pitch settings as the analysis windows use them, and their
// place in the configuration record. Shared by the spectrogram/pitch window
// and the drawing window, which shows the same analysis behind its strips.

#include "analysis/AnalysisOptions.h"
#include "analysis/AnalysisTracks.h"
#include "config/ConfigFile.h"

namespace vandrel::ui {

// The settings of the view: the two option records and the controls of the
// option dialogs that the records do not keep. The spectrogram dialog's
// controls govern the upper part of the picture (waveform, spectrogram), the
// pitch dialog's the lower part (pitch, intensity); on paper each part takes
// the height its dialog gives, the page the wider of the two widths.
struct SpectrogramViewOptions {
  vandrel::COptionSpectrogram spectrogram;
  vandrel::COptionPitch pitch;
  vandrel::PitchMethod method = vandrel::PitchMethod::kCepstral;
  bool drawAudio = true;      // "Draw Audio ": the waveform pane
  bool drawIntensity = true;  // "Draw Intensity": the intensity pane
  bool drawLabels = true;     // "Draw Labels": names and axis titles of the upper part
  bool addAudio = true;       // "Add audio": the waveform in the pitch pane, behind the track
  bool addIntensity = true;   // "Add Intensity": with "Draw Intensity", the intensity pane
  bool addLabels = true;      // "Add Labels": names and axis titles of the pitch pane
  bool pitchTimeGrid = true;  // the pitch pane's own time grid
  int pitchTimeGridMs = 0;    // 0 = automatic
  double pitchWidth = 6.0;    // print/BMP size of the pitch part
  double pitchHeight = 4.0;
  bool pitchInches = true;
  bool color = true;  // false: black and white
};

// The view's settings in the configuration record and back.
SpectrogramViewOptions viewOptionsOf(const vandrel::ConfigRecord& record);
void storeViewOptions(const SpectrogramViewOptions& options, vandrel::ConfigRecord& record);

}  // namespace vandrel::ui
