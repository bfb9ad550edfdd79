#include "util/OutputSet.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <map>
#include <memory>
#include <new>
#include <system_error>

#include "util/Temporaries.h"

namespace vandrel {

namespace fs = std::filesystem;

namespace {

// An exclusive lock on a folder, waited for, released when it goes.
class FolderLock {
 public:
  explicit FolderLock(const std::string& dir) : fd_(::open(dir.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    if (fd_ < 0) return;
    while (::flock(fd_, LOCK_EX) != 0 && errno == EINTR) {
    }
  }
  ~FolderLock() {
    if (fd_ >= 0) ::close(fd_);
  }
  FolderLock(const FolderLock&) = delete;
  FolderLock& operator=(const FolderLock&) = delete;

 private:
  int fd_;
};

std::string folderOf(const std::string& path) {
  const fs::path dir = fs::path(path).parent_path();
  return dir.empty() ? std::string(".") : dir.string();
}

}  // namespace

OutputSet::~OutputSet() {
  if (committed_) return;
  files_.clear();  // each removes its temporary
  const SignalsHeld held;
  for (auto it = madeFolders_.rbegin(); it != madeFolders_.rend(); ++it) {
    ::rmdir(it->c_str());  // only when empty: another run may be writing into it
    untrackMadeFolder(*it);
  }
}

std::string OutputSet::useFolder(const std::string& dir) {
  std::error_code ec;
  if (fs::is_directory(dir, ec)) return {};
  if (fs::exists(dir, ec)) return "cannot use " + dir + " as the output folder: it is a file";
  std::vector<fs::path> missing;
  for (fs::path p = dir; !p.empty() && !fs::exists(p, ec); p = p.parent_path()) {
    missing.push_back(p);
    if (p == p.parent_path()) break;
  }
  for (auto it = missing.rbegin(); it != missing.rend(); ++it) {
    const SignalsHeld held;
    if (::mkdir(it->c_str(), 0777) != 0 && errno != EEXIST)
      return "cannot create the folder " + dir + ": " + std::generic_category().message(errno);
    madeFolders_.push_back(it->string());
    trackMadeFolder(it->string());
  }
  return {};
}

std::string OutputSet::add(const std::string& path, std::string_view bytes) {
  StagedFile file;
  if (std::string error = file.stage(path, bytes, options_, false); !error.empty()) return error;
  files_.push_back(std::move(file));
  return {};
}

std::string OutputSet::commit() {
  // One lock per folder, taken in a fixed order so two sets never wait on
  // each other.
  std::map<std::string, std::unique_ptr<FolderLock>> locks;
  for (const StagedFile& f : files_) {
    std::error_code ec;
    const std::string dir = fs::weakly_canonical(folderOf(f.path()), ec).string();
    locks.emplace(dir, nullptr);
  }
  for (auto& [dir, lock] : locks) lock = std::make_unique<FolderLock>(dir);
  // Every file reaches the disk before any takes its place: one flush of
  // each file system rather than one per file (a continuum is 2,001 files).
  for (const auto& [dir, lock] : locks) {
    const int fd = ::open(dir.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) continue;
    const bool flushed = ::syncfs(fd) == 0;
    const int error = errno;
    ::close(fd);
    if (!flushed) return "cannot write into " + dir + ": " + std::generic_category().message(error);
  }

  // What the renames are followed by is named before them: once the first
  // file has taken its place, nothing may fail for want of memory but the
  // renames themselves, which then undo those made.
  std::vector<std::string> flushed;
  for (const auto& [dir, lock] : locks) flushed.push_back(dir + "/.");
  const SignalsHeld held;
  std::size_t done = 0;
  const auto undo = [&] {
    while (done > 0) files_[--done].restore();
  };
  std::string error;
  try {
    for (; done < files_.size(); ++done) {
      error = files_[done].commit(true, false);
      if (!error.empty()) break;
    }
  } catch (const std::bad_alloc&) {
    undo();
    throw;
  }
  if (!error.empty()) {
    undo();
    return error;
  }
  for (const std::string& f : flushed) syncFolder(f);
  for (StagedFile& f : files_) f.finish();
  committed_ = true;
  for (const std::string& d : madeFolders_) untrackMadeFolder(d);
  return {};
}

}  // namespace vandrel
