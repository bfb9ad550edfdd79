// Labels speed: a long-form TextGrid of three tiers with 2,000 intervals
// each (a 60 s recording segmented to phones, syllables and words at the
// same fineness: the hardest case), read from its text.

#include <benchmark/benchmark.h>

#include <string>

#include "labels/TextGrid.h"

namespace vandrel {
namespace {

const std::string& gridText() {
  static const std::string text = [] {
    Labels g;
    for (const char* name : {"phones", "syllables", "words"}) {
      addTier(g, name, false, 0.0, 60.0);
      const std::size_t tier = g.tiers.size() - 1;
      for (int k = 1; k < 2000; ++k) addBoundary(g, tier, k * 0.03 + 0.0001 * (k % 7));
      for (std::size_t k = 0; k < 2000; ++k) setLabelText(g, tier, k, k % 3 ? "aː" : "\"b\"");
    }
    return writeTextGrid(g);
  }();
  return text;
}

void BM_ReadThreeTiersOf2000(benchmark::State& st) {
  const std::string& text = gridText();
  for (auto _ : st) {
    TextGridRead r = parseTextGrid(text, "bench.TextGrid");
    benchmark::DoNotOptimize(r.labels.tiers.data());
    if (!r.ok()) st.SkipWithError(r.message.c_str());
  }
  st.counters["KB"] = static_cast<double>(text.size()) / 1e3;
}
BENCHMARK(BM_ReadThreeTiersOf2000)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace vandrel
