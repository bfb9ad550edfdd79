#pragma once
// The stretch of a sample set that a Play command sounds.
//
// A stretch is chosen as times (ms from the start of the signal), so the
// synthesized buffer, the previous one and the recording, each at its own
// rate, play the same moments and can be compared like with like.

#include <cstddef>
#include <optional>

#include "audio/SampleSet.h"

namespace vandrel {

struct TimeSpan {
  double startMs = 0;
  double endMs = 0;
  bool operator==(const TimeSpan&) const = default;
};

struct SampleSpan {
  std::size_t first = 0;
  std::size_t count = 0;
  bool operator==(const SampleSpan&) const = default;
};

// The times of table columns c0..c1 (either order) of `intervalMs` frames:
// column i covers [i x interval, (i + 1) x interval).
TimeSpan columnsSpan(int c0, int c1, int intervalMs);

// The samples of `set` inside `span`: from the first sample at or after its
// start up to the last one before its end, cut to what the set holds. No span
// means the whole set. A span past the set's end is empty.
SampleSpan samplesIn(const SampleSet& set, const std::optional<TimeSpan>& span);

// `set` at `rate` Hz, so that it can be heard in one stream with a sound of
// that rate (A/B between a copy and a recording of different rates without
// reopening the device). Band-limited: nothing above the lower rate's half
// comes through, so a recording taken down to a copy's rate does not alias
// and a copy taken up gains no images. Sample i of the result is at the same
// moment as i / rate seconds of the original. A set at that rate already, or
// an empty one, comes back as it is.
SampleSet atRate(const SampleSet& set, double rate);

}  // namespace vandrel
