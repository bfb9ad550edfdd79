#pragma once
// CVandrelDoc: one open document. It owns the parameter set instances, the
// frame table, the three sample sets and the document flags. Views learn of
// changes through their own observers (added with the editing layer).

#include <array>

#include "audio/SampleSet.h"
#include "document/FrameTable.h"
#include "document/ParameterSet.h"

namespace vandrel {

class CVandrelDoc {
public:
  CVandrelDoc() { initialise(); }

  // A blank document: default parameter sets, a table of defaults, no sound.
  void initialise();

  // The working instance of the settings block; [1] and [2] start identical.
  ParameterSet& params() { return paramSets[0]; }
  const ParameterSet& params() const { return paramSets[0]; }

  std::array<ParameterSet, 3> paramSets;
  FrameTable table;

  SampleSet synthesized;  // the last synthesis
  SampleSet previous;     // the one before it ("Play Previous")
  SampleSet audio;        // an opened natural recording

  double sampleRate = 11025.0;        // of the last synthesis
  bool highRate = false;              // 22050 Hz was in force at the last synthesis
  bool modified = false;
  bool changedSinceSynthesis = true;  // set by every edit, cleared by synthesis
  bool changedCompanion = true;       // cleared together with the flag above
};

}  // namespace vandrel
