#pragma once
// Whole-file writes that never leave a half-written file behind and keep the
// identity of the file they replace.
//
// The bytes go to a temporary file in the folder of the file they replace,
// are flushed to the disk, and only then take the file's place by a rename;
// the folder is flushed after it. The new file keeps the replaced file's
// permission bits (and owner and group where the system lets us), a symbolic
// link is written through to the file it points at, and a file with other
// hard links is rewritten in place once a full trial copy proved there is
// room for it, so every name of it sees the new contents. A read-only file is
// replaced only when the caller says so (the editor asks, the command line
// wants --force). On any failure the temporary is removed and the message
// names the file and the system's reason.

#include <cstddef>
#include <string>
#include <string_view>

#include "util/WriteOptions.h"

namespace vandrel {

// Returns an empty string on success, otherwise a sentence for the user that
// names the file and the system's reason ("Cannot save /a/b.vdr: no space
// left on device."), adding that the previous file is unchanged when there
// was one.
std::string writeFileAtomically(const std::string& path, std::string_view bytes,
                                const WriteOptions& options = {});

// True when `path` (through its links) is a file its user may not write: no
// write permission bit is set, or the system refuses to open it for writing.
bool isReadOnlyFile(const std::string& path);

// Reads a whole regular file, or its first `maxBytes`; false when it cannot
// be opened or read, and for anything that is not a regular file (a device
// such as /dev/zero would be read without end, a pipe would wait).
bool readWholeFile(const std::string& path, std::string& bytes,
                   std::size_t maxBytes = static_cast<std::size_t>(-1));

// Flushes the record of the folder holding `path` (its renames) to the disk;
// a file system that cannot flush a folder (some network ones) is no failure.
void syncFolder(const std::string& path) noexcept;

// One file written under a temporary name beside its target, complete and on
// the disk, waiting to be put in place. Several of them make an OutputSet.
class StagedFile {
 public:
  StagedFile() = default;
  StagedFile(StagedFile&& other) noexcept;
  StagedFile& operator=(StagedFile&& other) noexcept;
  StagedFile(const StagedFile&) = delete;
  StagedFile& operator=(const StagedFile&) = delete;
  ~StagedFile();  // a temporary not yet in place is removed

  // Writes `bytes` to the temporary and, with `flush`, to the disk (a set
  // flushes its whole file system once instead). Empty string on success,
  // else why.
  std::string stage(const std::string& path, std::string_view bytes, const WriteOptions& options = {},
                    bool flush = true);
  // Puts the file in place. With `keepPrevious`, the file it replaced can be
  // put back by restore() until finish() is called. With `flushFolder`, the
  // folder's record of the rename goes to the disk at once.
  std::string commit(bool keepPrevious = false, bool flushFolder = true);
  void restore();
  void finish();

  const std::string& path() const { return path_; }
  const std::string& temporary() const { return temp_; }

 private:
  void discard();

  std::string path_;    // as the caller named it
  std::string target_;  // the file really written, through symbolic links
  std::string temp_;
  std::string backup_;         // a second name of the replaced file, for restore()
  std::string previousBytes_;  // the replaced contents of a file rewritten in place
  bool existed_ = false;
  bool inPlace_ = false;
  bool committed_ = false;
};

}  // namespace vandrel
