#pragma once
// The analysis option records and their part of the configuration record:
// the option dialogs start from the configuration and hand it their values
// back when they are confirmed.

#include "analysis/AnalysisOptions.h"
#include "config/ConfigFile.h"

namespace vandrel {

void loadAnalysisOptions(const ConfigRecord& record, COptionFFTLPC& fftLpc, COptionPitch& pitch,
                         COptionSpectrogram& spectrogram);

void storeAnalysisOptions(const COptionFFTLPC& fftLpc, const COptionPitch& pitch,
                          const COptionSpectrogram& spectrogram, ConfigRecord& record);

}  // namespace vandrel
