#include "common/Synthesize.h"

#include "common/LazyProgress.h"
#include "document/VandrelDoc.h"
#include "engine/Synthesizer.h"

namespace vandrel::ui {

void synthesizeWithProgress(vandrel::CVandrelDoc& doc, QWidget* parent) {
  if (!doc.changedSinceSynthesis() && !doc.synthesized().empty()) return;
  LazyProgress progress(parent, CProgressDialog::kSynthesizing, 150);
  vandrel::ensureSynthesized(doc, progress.callback());
}

}  // namespace vandrel::ui
