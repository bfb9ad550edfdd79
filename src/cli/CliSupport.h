#pragma once
// What the sub-commands share: option values, messages with the command's
// name, reading tables, and how files are replaced.

#include <cstdarg>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Commands.h"
#include "util/AtomicFile.h"
#include "util/OutputSet.h"

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

// How every command replaces files: a read-only one only with --force,
// which main() takes from any command's arguments.
WriteOptions& writeOptions();

// A write's error, with the way past a read-only file for the command line.
std::string explained(const std::string& error);

}  // namespace vandrel::cli
