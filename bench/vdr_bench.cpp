// Parameter file speed: a 48 x 100,000-frame table (1000 s at 10 ms) written
// to text and read back, in memory and through the disk.

#include <benchmark/benchmark.h>

#include <cstdio>
#include <filesystem>
#include <random>
#include <string>

#include "document/VandrelDoc.h"
#include "document/VdrFile.h"
#include "editing/EditTransaction.h"

namespace vandrel {
namespace {

constexpr int kFrames = 100000;

// Values of every width a real table has (up to 5 digits, some negative),
// with an anchor every 25 frames in the shown rows.
const CVandrelDoc& longDoc() {
  static const CVandrelDoc doc = [] {
    CVandrelDoc d;
    d.newTable(kFrames, 10);
    vandrel::EditTransaction fill(d);  // the values, told as one structure change
    fill.noteResized();
    std::mt19937 rng(42);
    std::uniform_int_distribution<int> v(-500, 7500);
    for (int r = 0; r < kParamCount; ++r)
      for (int c = 0; c < kFrames; ++c) {
        fill.table().setValue(r, c, v(rng) + 0.25);
        if (c % 25 == 0 && d.params().at(r).selected != 0) fill.table().setAnchor(r, c, true);
      }
    return d;
  }();
  return doc;
}

void BM_WriteAll(benchmark::State& st) {
  const CVandrelDoc& doc = longDoc();
  std::size_t bytes = 0;
  for (auto _ : st) {
    std::string text = writeVdr(doc, VdrKind::kAllParameters);
    bytes = text.size();
    benchmark::DoNotOptimize(text.data());
  }
  st.counters["MB"] = static_cast<double>(bytes) / 1e6;
  st.SetBytesProcessed(static_cast<std::int64_t>(st.iterations()) * static_cast<std::int64_t>(bytes));
}
BENCHMARK(BM_WriteAll)->Unit(benchmark::kMillisecond);

void BM_ReadAll(benchmark::State& st) {
  const std::string text = writeVdr(longDoc(), VdrKind::kAllParameters);
  const ParameterSet defaults;
  for (auto _ : st) {
    VdrReadResult r = parseVdr(text, defaults);
    if (!r.ok()) st.SkipWithError(r.detail.c_str());
    benchmark::DoNotOptimize(r.content.table.row(0));
  }
  st.SetBytesProcessed(static_cast<std::int64_t>(st.iterations()) * static_cast<std::int64_t>(text.size()));
}
BENCHMARK(BM_ReadAll)->Unit(benchmark::kMillisecond);

// Through the disk: the atomic save (temporary file, then rename) and the
// whole open (read the file, parse, load into a document).
void BM_SaveAndOpenFile(benchmark::State& st) {
  const CVandrelDoc& doc = longDoc();
  const std::string path = (std::filesystem::temp_directory_path() / "vandrel_vdr_bench.vdr").string();
  for (auto _ : st) {
    if (!saveVdrFile(path, doc, VdrKind::kAllParameters).empty()) st.SkipWithError("save failed");
    VdrReadResult r = readVdrFile(path, doc.params());
    if (!r.ok()) st.SkipWithError(r.detail.c_str());
    CVandrelDoc opened;
    loadVdr(opened, std::move(r.content));
    benchmark::DoNotOptimize(opened.table().row(0));
  }
  std::remove(path.c_str());
}
BENCHMARK(BM_SaveAndOpenFile)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace vandrel
