// The clipboard on a long utterance: 48 rows x 60,000 frames (60 s at 1 ms).
// Copying the whole table (Select All, Ctrl+C) and pasting it back (one undo
// step) run on the interface thread, so they must stay well under a second.

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "document/VandrelDoc.h"
#include "editing/AfterEdit.h"
#include "editing/Clipboard.h"
#include "editing/EditTransaction.h"

namespace vandrel {
namespace {

constexpr int kFrames = 60000;

struct LongTable {
  LongTable() {
    doc.newTable(kFrames, 1);
    vandrel::EditTransaction fill(doc);  // the values, told as one structure change
    fill.noteResized();
    // Values as interpolation leaves them: fractions in every row.
    for (int r = 0; r < kParamCount; ++r)
      for (int c = 0; c < kFrames; ++c)
        fill.table().setValue(r, c, doc.params().at(r).lower + (c % 997) / 3.0);
    for (int r = 0; r < kParamCount; ++r) rows.push_back(r);
    afterEditStep(doc);
  }
  CVandrelDoc doc;
  TableSelection selection;
  std::vector<int> rows;
};

void BM_CopyWholeTable(benchmark::State& state) {
  LongTable t;
  std::size_t bytes = 0;
  for (auto _ : state) {
    const std::string text = copySelection(t.doc, selectAll(t.doc.table()), t.rows);
    bytes = text.size();
    benchmark::DoNotOptimize(text.data());
  }
  state.counters["MB"] = static_cast<double>(bytes) / 1e6;
}
BENCHMARK(BM_CopyWholeTable)->Unit(benchmark::kMillisecond);

void BM_PasteWholeTable(benchmark::State& state) {
  LongTable t;
  const std::string text = copySelection(t.doc, selectAll(t.doc.table()), t.rows);
  for (auto _ : state) {
    const PasteResult r = pasteText(t.doc, 0, 0, text, t.rows);
    benchmark::DoNotOptimize(r.written);
  }
}
BENCHMARK(BM_PasteWholeTable)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace vandrel
