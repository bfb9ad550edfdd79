#pragma once
// Several files written as one piece of work, all or nothing: a folder of
// synthesized tables, the steps of a continuum with their manifest, a table
// with its TextGrid.
//
// Each file is first written under a temporary name in its own folder. Only
// when every one is complete does commit() rename them into place, in the
// order they were added (so a manifest added last lands last). A failure
// before or during commit, the set's destruction without commit, and
// SIGINT/SIGTERM/SIGHUP (in a program that called
// removeTemporariesOnSignals) remove the temporaries and leave the files
// that were there before exactly as they were. Two sets committing into one
// folder at the same time take turns (a lock on the folder), so the folder
// ends up holding one run's files or the other's, never a mixture.
//
//   OutputSet out;
//   if (auto err = out.useFolder(dir); !err.empty()) ...
//   for (...) if (auto err = out.add(dir + "/step_01.wav", bytes); !err.empty()) return fail(err);
//   if (auto err = out.commit(); !err.empty()) return fail(err);

#include <string>
#include <string_view>
#include <vector>

#include "util/AtomicFile.h"

namespace vandrel {

class OutputSet {
 public:
  explicit OutputSet(WriteOptions options = {}) : options_(options) {}
  ~OutputSet();
  OutputSet(const OutputSet&) = delete;
  OutputSet& operator=(const OutputSet&) = delete;

  // Makes `dir` (and any missing folders above it) when it is not there; a
  // folder made here goes again when the set is not committed and it is
  // empty. Empty string on success, else why.
  std::string useFolder(const std::string& dir);

  // Writes `bytes` for `path` under a temporary name. Empty string on
  // success, else the message naming the file and the reason; the set is
  // then best dropped.
  std::string add(const std::string& path, std::string_view bytes);

  // Puts every file in place, or none of them. Empty string on success.
  std::string commit();

  std::size_t size() const { return files_.size(); }

 private:
  WriteOptions options_;
  std::vector<StagedFile> files_;
  std::vector<std::string> madeFolders_;  // outermost first
  bool committed_ = false;
};

}  // namespace vandrel
