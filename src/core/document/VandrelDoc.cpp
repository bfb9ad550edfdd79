#include "document/VandrelDoc.h"

namespace vandrel {

void CVandrelDoc::initialise() {
  for (auto& s : paramSets) s.initialise();
  table.reset(params().frameCount, params());
  synthesized = SampleSet{};
  previous = SampleSet{};
  audio = SampleSet{};
  sampleRate = 11025.0;
  highRate = false;
  modified = false;
  changedSinceSynthesis = true;
  changedCompanion = true;
}

}  // namespace vandrel
