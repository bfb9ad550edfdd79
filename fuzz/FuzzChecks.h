#pragma once
// What every reader must guarantee for any input at all, as checks that both
// the fuzz targets and the ordinary test suite run. Each returns an empty
// string when the input was handled soundly, otherwise what went wrong; a
// crash, a hang or a sanitizer report is a failure too.

#include <string>
#include <string_view>

namespace vandrel::fuzz {

// The parameter-file reader: a refusal carries its message and a reason; an
// accepted file stays within the limits, loads into a document, and what the
// document then writes reads back to the same text.
std::string checkVdr(std::string_view bytes);

// The WAV chunk reader and the 16-bit mono decoder: offsets and lengths stay
// inside the file, and decoded samples survive writing and reading back.
std::string checkWave(std::string_view bytes);

// Audio decoding through libsndfile: any result is a consistent sample set
// within the length limit.
std::string checkAudioDecode(std::string_view bytes);

// The configuration record: an accepted record encodes to the same bytes'
// meaning and builds a blank document within the frame limit.
std::string checkConfig(std::string_view bytes);

// The readers of other tools' files: a TextGrid that is accepted keeps its
// tiers whole (intervals end to end with durations, points in order, inside
// the range) and reads back from what we write; a .klp file or a KlattGrid
// that is accepted makes a table within the frame limit; every refusal says
// why.
std::string checkLabels(std::string_view bytes);

}  // namespace vandrel::fuzz
