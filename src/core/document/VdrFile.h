#pragma once
// The parameter file (.vdr): the frame table with its timing, synthesis
// method, colours, shown rows and anchor cells as tab-separated text.
//
// Layout, every value followed by a tab and every line ended by CR LF:
//   1  file length (ms), sample rate (Hz), frame interval (ms)
//   2  method (1 cascade/parallel, 0 parallel only), anchor count, 0 x7, 50
//   3  the ten colour slots as red, green, blue (30 values)
//   4  the 48 shown-row flags, ten a line (10 10 10 10 8)
//   5  only with anchors: "name,column" entries, ten a line, then one more
//      line end (so ten entries are followed by an empty line)
//   6  the names of the rows written
//   7  one line per frame with those rows' values, truncated toward zero

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "document/ColorSlots.h"
#include "document/FrameTable.h"
#include "document/ParameterSet.h"
#include "util/WriteOptions.h"

namespace vandrel {

class CVandrelDoc;

inline constexpr std::string_view kMsgFileTypeNotRecognized = "File type not recorgnized.";
inline constexpr std::string_view kMsgWrongAnchorCount =
    "Wrong number of anchor cells in file. Check anchor count and the entries in file.";

// A parameter file's lines hold at most 48 values; a longer one is no
// parameter file, and reading it whole would only waste memory.
inline constexpr std::size_t kMaxVdrLineBytes = 1 << 20;

inline constexpr std::string_view kVdrFilter = "Vandrel files (*.vdr)|*.vdr|";
inline constexpr std::string_view kVdrExtension = ".vdr";

enum class VdrKind {
  kAllParameters,       // "Save All Parameters As", suggested "All_Parameters"
  kSelectedParameters,  // "Save Selected Parameters As", suggested "Sel_Parameters"
};

std::string_view suggestedFileName(VdrKind kind);

// The file's text for `doc`. Anchors of hidden rows are counted on line 2 but
// written only in an all-parameters file.
std::string writeVdr(const CVandrelDoc& doc, VdrKind kind);

// Writes the text atomically: the previous file survives any failure.
// Returns an empty string on success, otherwise what went wrong.
std::string saveVdrFile(const std::string& path, const CVandrelDoc& doc, VdrKind kind,
                        const WriteOptions& options = {});

// Everything a parameter file holds, read back.
struct VdrContent {
  std::int32_t fileLengthMs = 0;
  std::int32_t sampleRate = 0;
  std::int32_t intervalMs = 0;
  std::int32_t cascadeParallel = 1;
  std::int32_t anchorCount = 0;  // as line 2 states it
  ColorSlots colors{};
  std::array<bool, kParamCount> selected{};
  std::array<bool, kParamCount> written{};  // rows with a column in the data
  int writtenCount = 0;
  FrameTable table;  // rows not written hold their defaults
};

enum class VdrError {
  kNone,
  kNotRecognized,     // "File type not recorgnized."
  kWrongAnchorCount,  // "Wrong number of anchor cells in file. ..."
  kTooLarge,          // beyond kMaxFrames or kMaxVdrLineBytes; `detail` is the message
};

struct VdrReadResult {
  VdrError error = VdrError::kNone;
  std::string detail;  // for logs and the command line: line number and reason
  VdrContent content;

  bool ok() const { return error == VdrError::kNone; }
  // The text the user is shown (a view of `detail` for kTooLarge).
  std::string_view message() const;
};

// Reads a parameter file's text. `defaults` gives the values of rows that a
// selected-parameters file leaves out. Accepts LF or lone CR line ends, a
// missing last tab, extra trailing tabs, blanks around values, a UTF-8 byte
// order mark, trailing empty lines, and decimal fractions (truncated).
// Refuses wrong counts, unknown or repeated row names, non-numbers and values
// beyond 32 bits.
VdrReadResult parseVdr(std::string_view text, const ParameterSet& defaults);

// Reads the file at `path`; a file that cannot be read is not recognised.
VdrReadResult readVdrFile(const std::string& path, const ParameterSet& defaults);

// Makes `doc` hold what the file held: timing, method, shown rows, colours,
// sample rate, table and anchors. The synthesized buffers are dropped (they
// belong to another table), the undo history starts afresh, and the document
// is unmodified and due for synthesis. The recording beside the table and the
// parameter definitions (defaults, limits) stay.
void loadVdr(CVandrelDoc& doc, VdrContent content);

}  // namespace vandrel
