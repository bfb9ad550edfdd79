#pragma once
// Praat TextGrid text files, read and written.
//
// Reading is Praat's own (labels/PraatText.h): the long form Praat saves
// and the short form read alike, in UTF-8 or UTF-16.
//
// A file whose tiers break the rules (intervals that overlap or leave a
// gap, an interval without duration, points out of order, a file that ends
// early) is refused whole, with its name, the line and the reason:
//   "x.TextGrid, line 14: interval 3 starts before interval 2 ends"

#include <string>
#include <string_view>

#include "labels/Labels.h"

namespace vandrel {

inline constexpr std::string_view kTextGridExtension = ".TextGrid";

struct TextGridRead {
  Labels labels;
  std::string message;  // empty when read
  bool ok() const { return message.empty(); }
};

// `name` is how messages call the file.
TextGridRead parseTextGrid(std::string_view bytes, const std::string& name);
TextGridRead readTextGridFile(const std::string& path);

enum class TextGridForm { kLong, kShort };

// UTF-8 without a byte-order mark, LF line ends: what Praat writes today.
std::string writeTextGrid(const Labels& labels, TextGridForm form = TextGridForm::kLong);
// Atomically; an empty string on success, else the sentence for the user.
std::string saveTextGridFile(const std::string& path, const Labels& labels);

// Praat's habit: the labels of "a/b.wav" or "a/b.vdr" live in "a/b.TextGrid".
std::string sidecarPath(const std::string& path);
// The sidecar that exists beside `path` (".TextGrid", or ".textgrid" as some
// tools spell it), or an empty string.
std::string findSidecar(const std::string& path);

}  // namespace vandrel
