// Table editing on a long utterance: 48 rows x 60,000 frames (60 s at 1 ms).
// Cell edit with its undo snapshot, history memory over 1,000 edits, undo
// and redo, Interpolate All, and adding 10 s of time at the beginning.
//
// Per-call times are taken with manual timing; the "median_ms" counters are
// the median of the individual calls.

#include <benchmark/benchmark.h>
#include <malloc.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <random>
#include <vector>

#include "document/VandrelDoc.h"
#include "editing/AdjustTime.h"
#include "editing/CellEdit.h"
#include "editing/EditTransaction.h"
#include "editing/Interpolation.h"
#include "editing/UndoCommands.h"

namespace vandrel {
namespace {

constexpr int kFrames = 60000;

using Clock = std::chrono::steady_clock;

double msSince(Clock::time_point t0) {
  return std::chrono::duration<double, std::milli>(Clock::now() - t0).count();
}

double median(std::vector<double> v) {
  if (v.empty()) return 0.0;
  std::sort(v.begin(), v.end());
  return v[v.size() / 2];
}

// Bytes the allocator has handed out and not had back.
std::size_t heapInUse() {
  const struct mallinfo2 mi = mallinfo2();
  return mi.uordblks + mi.hblkhd;
}

// A 60 s document whose rows vary along time, with the snapshot a loaded
// document gets at its first edit already taken.
std::unique_ptr<CVandrelDoc> longDocument() {
  auto doc = std::make_unique<CVandrelDoc>();
  doc->newTable(kFrames, 1);
  vandrel::EditTransaction fill(*doc);  // the values, told as one structure change
  fill.noteResized();
  for (int r = 0; r < kParamCount; ++r) {
    double* row = fill.table().row(r);
    for (int c = 0; c < kFrames; ++c) row[c] += static_cast<double>((c / 7 + r) % 37);
  }
  doc->takeSnapshot();
  return doc;
}

void BM_CellEditWithSnapshot(benchmark::State& st) {
  auto doc = longDocument();
  TableSelection selection;
  std::mt19937 rng(7);
  std::uniform_int_distribution<int> col(0, kFrames - 1);
  std::uniform_int_distribution<int> val(300, 1200);
  std::vector<double> times;
  for (auto _ : st) {
    const int c = col(rng);
    const double v = val(rng);
    const auto t0 = Clock::now();
    editCell(*doc, kF1, c, v);
    const double ms = msSince(t0);
    st.SetIterationTime(ms / 1000.0);
    times.push_back(ms);
  }
  st.counters["median_ms"] = median(times);
  st.counters["snapshots"] = doc->undo().count();
}
BENCHMARK(BM_CellEditWithSnapshot)->UseManualTime()->Unit(benchmark::kMicrosecond)->Iterations(2000);

// 1,000 single-cell edits: how much the history grows, then undo and redo
// over that history.
void BM_ThousandEditsThenUndoRedo(benchmark::State& st) {
  for (auto _ : st) {
    auto doc = longDocument();
    TableSelection selection;
    std::mt19937 rng(11);
    std::uniform_int_distribution<int> row(0, kParamCount - 1);
    std::uniform_int_distribution<int> col(0, kFrames - 1);
    const std::size_t heap0 = heapInUse();
    const std::size_t stored0 = doc->undo().storageBytes();
    for (int i = 0; i < 1000; ++i) editCell(*doc, row(rng), col(rng), 500.5 + i);
    const std::size_t heap1 = heapInUse();
    const std::size_t stored1 = doc->undo().storageBytes();

    std::vector<double> undo, redo;
    for (int i = 0; i < 200; ++i) {
      auto t0 = Clock::now();
      undoCommand(*doc);
      undo.push_back(msSince(t0));
    }
    for (int i = 0; i < 200; ++i) {
      auto t0 = Clock::now();
      redoCommand(*doc);
      redo.push_back(msSince(t0));
    }
    st.SetIterationTime((median(undo) + median(redo)) / 1000.0);
    st.counters["heap_growth_MB"] = static_cast<double>(heap1 - heap0) / 1e6;
    st.counters["stored_growth_MB"] = static_cast<double>(stored1 - stored0) / 1e6;
    st.counters["whole_snapshot_MB"] = 48.0 * kFrames * 4 / 1e6;
    st.counters["undo_median_ms"] = median(undo);
    st.counters["undo_max_ms"] = *std::max_element(undo.begin(), undo.end());
    st.counters["redo_median_ms"] = median(redo);
    st.counters["redo_max_ms"] = *std::max_element(redo.begin(), redo.end());
  }
}
BENCHMARK(BM_ThousandEditsThenUndoRedo)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(1);

// The slowest kind of undo: back across a change of length, where every cell
// is rewritten and the table changes shape.
void BM_UndoAcrossAddedTime(benchmark::State& st) {
  auto doc = longDocument();
  TableSelection selection;
  doc->setAddColumnTimeMs(10000);
  doc->setAddColumnPlace(AddColumnPlace::kBeginning);
  addTime(*doc, selection);
  std::vector<double> times;
  for (auto _ : st) {
    auto t0 = Clock::now();
    undoCommand(*doc);
    const double undoMs = msSince(t0);
    t0 = Clock::now();
    redoCommand(*doc);
    const double redoMs = msSince(t0);
    st.SetIterationTime((undoMs + redoMs) / 1000.0);
    times.push_back(std::max(undoMs, redoMs));
  }
  st.counters["slower_of_pair_median_ms"] = median(times);
}
BENCHMARK(BM_UndoAcrossAddedTime)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(20);

// Interpolate All with two anchors in every row (the first and last frame):
// every cell between them is written. Alone, and as the menu command with its
// marks and snapshot.
void interpolateAllBench(benchmark::State& st, bool command) {
  auto doc = longDocument();
  for (int r = 0; r < kParamCount; ++r) {
    vandrel::EditTransaction(*doc).setAnchor(r, 0, true);
    vandrel::EditTransaction(*doc).setAnchor(r, kFrames - 1, true);
  }
  TableSelection selection;
  std::vector<double> times;
  for (auto _ : st) {
    st.PauseTiming();
    {
      vandrel::EditTransaction reset(*doc);
      for (int r = 0; r < kParamCount; ++r) std::fill_n(reset.table().row(r) + 1, kFrames - 2, 1.0 * r);
      reset.noteResized();
    }
    st.ResumeTiming();
    const auto t0 = Clock::now();
    if (command)
      interpolateAllCommand(*doc);
    else
      interpolateAll(*doc);
    const double ms = msSince(t0);
    st.SetIterationTime(ms / 1000.0);
    times.push_back(ms);
  }
  st.counters["median_ms"] = median(times);
}
void BM_InterpolateAll(benchmark::State& st) { interpolateAllBench(st, false); }
void BM_InterpolateAllCommand(benchmark::State& st) { interpolateAllBench(st, true); }
BENCHMARK(BM_InterpolateAll)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(30);
BENCHMARK(BM_InterpolateAllCommand)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(30);

// Add Column: 10 s at 1 ms at the beginning of the 60 s table, with the
// progress callback stepped per column and the after-edit snapshot.
void BM_AddTenSecondsAtTheBeginning(benchmark::State& st) {
  std::vector<double> times;
  for (auto _ : st) {
    st.PauseTiming();
    auto doc = longDocument();
    TableSelection selection;
    doc->setAddColumnTimeMs(10000);
    doc->setAddColumnPlace(AddColumnPlace::kBeginning);
    int steps = 0;
    st.ResumeTiming();
    const auto t0 = Clock::now();
    addTime(*doc, selection, [&](int, int) { ++steps; });
    const double ms = msSince(t0);
    st.SetIterationTime(ms / 1000.0);
    times.push_back(ms);
    benchmark::DoNotOptimize(steps);
    if (doc->table().columns() != kFrames + 10000) st.SkipWithError("wrong column count");
  }
  st.counters["median_ms"] = median(times);
}
BENCHMARK(BM_AddTenSecondsAtTheBeginning)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(10);

}  // namespace
}  // namespace vandrel
