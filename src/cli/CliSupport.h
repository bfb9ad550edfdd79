#pragma once
// What the sub-commands share: option values, messages with the command's
// name, reading tables, and writing several files as one piece of work.

#include <cstdarg>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Commands.h"

namespace vandrel {
class CVandrelDoc;
struct SampleSet;
}  // namespace vandrel

namespace vandrel::cli {

// Exit codes of every sub-command.
inline constexpr int kExitOk = 0;
inline constexpr int kExitInput =
    1;  // an input that cannot be read or used, an output that cannot be written
inline constexpr int kExitOptions = 2;  // bad options
inline constexpr int kExitClipped = 3;  // --fail-on-clip and a sample clipped

// "vandrel-cli <command>: <message>" on standard error; returns `code`.
int complain(int code, const char* command, const char* fmt, ...) __attribute__((format(printf, 3, 4)));

// Whole numbers from lo to hi; false for anything else.
bool parseInt(const std::string& s, long lo, long hi, long& out);

// Reads a parameter file into `doc` as the editor opens it. On failure says
// why (naming `path`) and returns kExitInput.
int readTable(const char* command, const std::string& path, CVandrelDoc& doc);

// The WAV file of a synthesized buffer, as "Save As Audio" writes it.
std::string waveImage(const SampleSet& set);

// The files a command reads, known by device and inode, so that writing
// never replaces one of them under another name (a link, "./", a folder
// path that leads back).
class InputFiles {
 public:
  explicit InputFiles(const std::vector<std::string>& paths);
  // True when writing `output` would replace one of the inputs.
  bool wouldOverwrite(const std::string& output) const;

 private:
  std::set<std::pair<unsigned long long, unsigned long long>> ids_;
};

// The file name of `path` without folder and extension.
std::string stemOf(const std::string& path);

// Files written as one piece of work: each atomically, and all of them
// removed again (with a folder this run created) when the work fails, so a
// failed run leaves nothing behind.
class OutputSet {
 public:
  ~OutputSet();
  // Creates `dir` when it is missing. Empty string on success, else why.
  std::string useFolder(const std::string& dir);
  // Empty string on success, else why.
  std::string write(const std::string& path, std::string_view bytes);
  // Keeps what was written.
  void commit() { committed_ = true; }

 private:
  std::vector<std::string> written_;
  std::string createdDir_;
  bool committed_ = false;
};

}  // namespace vandrel::cli
