#pragma once
// A voice from our own synthesizer whose table is the truth: each 10 ms
// frame's f0 and f1..f3, and what a window of the samples sees of them.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <vector>

#include "document/VandrelDoc.h"
#include "editing/EditTransaction.h"
#include "engine/Synthesizer.h"

namespace vandrel {

struct Column {
  double f0 = 100.0;  // Hz
  int av = 60, ah = 0, af = 0;
  int f1 = 0, f2 = 0, f3 = 0;  // 0 = the default
};

// Synthesizes `frames` 10 ms columns; returns the samples and keeps the
// columns for the truth.
struct Utterance {
  std::vector<Column> columns;
  SampleSet audio;
  double openPhase = 0.0;  // samples

  Utterance(int frames, const std::function<Column(double)>& at, bool highRate = false) {
    CVandrelDoc doc;
    // A shown f6 row means 22050 Hz. The open phase is counted in samples:
    // twice as many keep the glottal pulse (and its low-frequency hump,
    // which an F1 near it would otherwise merge with) as long as at 11025 Hz.
    doc.changeParams([&](ParameterSet& ps) {
      ps.setSelected(kF6, highRate);
      if (highRate) ps.setDefault(kOq, 2 * ps.at(kOq).defaultValue);
    });
    openPhase = doc.params().at(kOq).defaultValue;
    doc.newTable(frames, doc.params().intervalMs);
    for (int c = 0; c < frames; ++c) {
      const Column col = at(frames > 1 ? c / (frames - 1.0) : 0.0);
      columns.push_back(col);
      const std::pair<int, double> rows[] = {{kF0, std::round(col.f0 * 10.0)},
                                             {kAv, col.av},
                                             {kAh, col.ah},
                                             {kAf, col.af},
                                             {kF1, col.f1},
                                             {kF2, col.f2},
                                             {kF3, col.f3}};
      for (auto [row, v] : rows)
        if (v != 0.0 || row == kAv) vandrel::EditTransaction(doc).setValue(row, c, v);
    }
    KlattState state;
    state.reset(1);
    EXPECT_TRUE(synthesize(doc, {}, state));
    audio = doc.synthesized();
  }

  // The f0 a window starting at `from` sees: the engine fixes each period at
  // its start from the column it starts in (in quarter samples); the period
  // is heard from the glottal closure, an open phase later; and the window's taper weights periods by where
  // their middle falls.
  double f0Seen(double from, double length) const {
    const double fs = audio.sampleRate;
    const double perColumn = fs / 100.0;
    double weights = 0.0, periods = 0.0;
    std::int64_t q = 0;
    const auto end = static_cast<std::int64_t>(4.0 * (from + length));
    while (q < end) {
      const auto c =
          std::min(columns.size() - 1, static_cast<std::size_t>(static_cast<double>(q) / 4.0 / perColumn));
      const auto t0 =
          40 * static_cast<std::int64_t>(fs) / static_cast<std::int64_t>(std::lround(columns[c].f0 * 10.0));
      const double mid = (static_cast<double>(q) + 0.5 * static_cast<double>(t0)) / 4.0 + openPhase - from;
      if (mid > 0.0 && mid < length) {
        const double w = 0.5 - 0.5 * std::cos(2.0 * 3.14159265358979 * mid / length);
        weights += w;
        periods += w * static_cast<double>(t0) / 4.0;
      }
      q += t0;
    }
    return fs * weights / periods;
  }

  // Time-weighted mean of a column value over samples [from, to).
  double mean(double from, double to, const std::function<double(const Column&)>& value) const {
    const double perColumn = audio.sampleRate / 100.0;
    double sum = 0.0;
    for (std::size_t c = 0; c < columns.size(); ++c) {
      const double lo = std::max(from, static_cast<double>(c) * perColumn);
      const double hi = std::min(to, static_cast<double>(c + 1) * perColumn);
      if (hi > lo) sum += (hi - lo) * value(columns[c]);
    }
    return sum / (to - from);
  }
};

}  // namespace vandrel
