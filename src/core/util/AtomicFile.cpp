#include "util/AtomicFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <filesystem>
#include <new>
#include <random>
#include <system_error>
#include <utility>

#include "util/Temporaries.h"

namespace vandrel {

namespace fs = std::filesystem;

namespace {

// "Cannot save <path>: <reason>." and, when there was a file, that it is
// still as it was: the user's next question.
std::string failure(const std::string& path, const std::string& why, bool existed) {
  std::string m = "Cannot save " + path + ": " + why + ".";
  if (existed) m += " The previous file is unchanged.";
  return m;
}

std::string reasonOf(int error) {
  std::string reason = std::generic_category().message(error);
  if (!reason.empty()) reason[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(reason[0])));
  return reason;
}

std::string failure(const std::string& path, int error, bool existed) {
  return failure(path, reasonOf(error), existed);
}

// The file a path names in the end: symbolic links followed, each relative
// one from its own folder. A link to nothing yet names the file to create.
int resolveLinks(const std::string& path, std::string& target) {
  fs::path p = path;
  for (int hops = 0; hops < 40; ++hops) {
    struct stat st {};
    if (::lstat(p.c_str(), &st) != 0 || !S_ISLNK(st.st_mode)) {
      target = p.string();
      return 0;
    }
    std::error_code ec;
    const fs::path to = fs::read_symlink(p, ec);
    if (ec) return ec.value();
    p = to.is_absolute() ? to : p.parent_path() / to;
  }
  return ELOOP;
}

std::string folderOf(const std::string& path) {
  const fs::path dir = fs::path(path).parent_path();
  return dir.empty() ? std::string(".") : dir.string();
}

// A hidden name beside `target` that nothing else uses, opened for writing.
int createTemporary(const std::string& target, std::string& temp) {
  static std::mt19937 random{std::random_device{}()};
  std::string name = fs::path(target).filename().string();
  if (name.size() > 200) name.resize(200);  // room for the suffix within a name's 255 bytes
  const fs::path dir = folderOf(target);
  for (int attempt = 0; attempt < 100; ++attempt) {
    temp =
        (dir / ("." + name + ".tmp" + std::to_string(::getpid()) + "-" + std::to_string(random() % 1000000u)))
            .string();
    const SignalsHeld held;
    trackTemporary(temp);
    const int fd = ::open(temp.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd >= 0) return fd;
    const int error = errno;
    untrackTemporary(temp);
    if (error != EEXIST) {
      temp.clear();
      return -error;
    }
  }
  temp.clear();
  return -EEXIST;
}

void removeTemporary(std::string& temp) {
  if (temp.empty()) return;
  const SignalsHeld held;
  ::unlink(temp.c_str());
  untrackTemporary(temp);
  temp.clear();
}

// 0, or the errno of the first failing write.
int writeAll(int fd, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t n = ::write(fd, bytes.data(), std::min<std::size_t>(bytes.size(), std::size_t{1} << 30));
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return n < 0 ? errno : EIO;
    bytes.remove_prefix(static_cast<std::size_t>(n));
  }
  return 0;
}

bool readFd(int fd, std::string& bytes, std::size_t maxBytes) {
  struct stat st {};
  bytes.clear();
  if (::fstat(fd, &st) == 0 && st.st_size > 0)
    bytes.reserve(std::min(static_cast<std::size_t>(st.st_size), maxBytes));
  char buffer[1 << 16];
  while (bytes.size() < maxBytes) {
    const ssize_t n = ::read(fd, buffer, std::min(sizeof buffer, maxBytes - bytes.size()));
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return false;
    if (n == 0) break;
    bytes.append(buffer, static_cast<std::size_t>(n));
  }
  return true;
}

// Writes `bytes` over the file at `path` in place, its inode and every name
// of it kept. 0 or the errno.
int rewriteInPlace(const std::string& path, std::string_view bytes) {
  const int fd = ::open(path.c_str(), O_WRONLY | O_CLOEXEC);
  if (fd < 0) return errno;
  int error = writeAll(fd, bytes);
  if (error == 0 && ::ftruncate(fd, static_cast<off_t>(bytes.size())) != 0) error = errno;
  if (error == 0 && ::fsync(fd) != 0) error = errno;
  if (::close(fd) != 0 && error == 0) error = errno;
  return error;
}

}  // namespace

void syncFolder(const std::string& path) noexcept {
  // Called once the file is in place: short of memory for the folder's
  // name, the rename stands and only its flush to the disk is left to the
  // system.
  try {
    const int fd = ::open(folderOf(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) return;
    ::fsync(fd);
    ::close(fd);
  } catch (const std::bad_alloc&) {
  }
}

bool isReadOnlyFile(const std::string& path) {
  std::string target;
  struct stat st {};
  if (resolveLinks(path, target) != 0 || ::stat(target.c_str(), &st) != 0 || !S_ISREG(st.st_mode))
    return false;
  // The superuser may open anything for writing: the permission bits are
  // what tell whether the file was meant to be kept as it is.
  return (st.st_mode & 0222) == 0 || (::access(target.c_str(), W_OK) != 0 && errno == EACCES);
}

StagedFile::StagedFile(StagedFile&& other) noexcept { *this = std::move(other); }

StagedFile& StagedFile::operator=(StagedFile&& other) noexcept {
  if (this == &other) return *this;
  discard();
  path_ = std::move(other.path_);
  target_ = std::move(other.target_);
  temp_ = std::exchange(other.temp_, {});
  backup_ = std::exchange(other.backup_, {});
  previousBytes_ = std::move(other.previousBytes_);
  existed_ = other.existed_;
  inPlace_ = other.inPlace_;
  committed_ = other.committed_;
  return *this;
}

StagedFile::~StagedFile() { discard(); }

void StagedFile::discard() {
  removeTemporary(temp_);
  finish();
}

std::string StagedFile::stage(const std::string& path, std::string_view bytes, const WriteOptions& options,
                              bool flush) {
  discard();
  path_ = path;
  committed_ = inPlace_ = existed_ = false;
  if (const int error = resolveLinks(path, target_); error != 0) return failure(path, error, false);
  struct stat st {};
  existed_ = ::stat(target_.c_str(), &st) == 0;
  if (existed_ && S_ISDIR(st.st_mode)) return failure(path, EISDIR, false);
  if (existed_ && !S_ISREG(st.st_mode)) return failure(path, "it is not a regular file", false);
  if (existed_ && !options.replaceReadOnly && isReadOnlyFile(target_))
    return failure(path, "the file is read-only", true);

  const int fd = createTemporary(target_, temp_);
  if (fd < 0) return failure(path, -fd, existed_);
  int error = 0;
  if (existed_) {
    // Owner first: changing it clears the set-user-id bits the mode restores.
    if (st.st_uid != ::geteuid() || st.st_gid != ::getegid()) (void)::fchown(fd, st.st_uid, st.st_gid);
    if (::fchmod(fd, st.st_mode & 07777) != 0) error = errno;
  }
  if (error == 0) error = writeAll(fd, bytes);
  if (error == 0 && flush && ::fsync(fd) != 0) error = errno;
  if (::close(fd) != 0 && error == 0) error = errno;
  if (error != 0) {
    removeTemporary(temp_);
    return failure(path, error, existed_);
  }
  if (existed_ && st.st_nlink > 1) {
    // The trial copy proved there is room for the new contents; rewriting in
    // place needs no more than that, and the old contents come back on failure.
    inPlace_ = true;
    const int in = ::open(target_.c_str(), O_RDONLY | O_CLOEXEC);
    const bool read = in >= 0 && readFd(in, previousBytes_, static_cast<std::size_t>(-1));
    if (in >= 0) ::close(in);
    if (!read) {
      removeTemporary(temp_);
      return failure(path, errno != 0 ? errno : EIO, true);
    }
  }
  return {};
}

std::string StagedFile::commit(bool keepPrevious, bool flushFolder) {
  if (temp_.empty()) return failure(path_, EINVAL, existed_);
  if (inPlace_) {
    std::string bytes;
    const int in = ::open(temp_.c_str(), O_RDONLY | O_CLOEXEC);
    const bool read = in >= 0 && readFd(in, bytes, static_cast<std::size_t>(-1));
    if (in >= 0) ::close(in);
    removeTemporary(temp_);
    if (!read) return failure(path_, EIO, true);
    if (const int error = rewriteInPlace(target_, bytes); error != 0) {
      rewriteInPlace(target_, previousBytes_);
      return failure(path_, error, true);
    }
    committed_ = true;
    if (!keepPrevious) finish();
    return {};
  }
  const SignalsHeld held;
  if (keepPrevious && existed_) {
    // Named and tracked before the link is made: short of memory here, no
    // file has moved yet.
    std::string backup = temp_ + ".previous";
    trackTemporary(backup);
    backup_ = std::move(backup);
    if (::link(target_.c_str(), backup_.c_str()) != 0) {
      untrackTemporary(backup_);
      backup_.clear();  // a file system without hard links: no way back for this one
    }
  }
  if (::rename(temp_.c_str(), target_.c_str()) != 0) {
    const int error = errno;
    removeTemporary(temp_);
    finish();
    return failure(path_, error, existed_);
  }
  untrackTemporary(temp_);
  temp_.clear();
  committed_ = true;
  if (flushFolder) syncFolder(target_);
  if (!keepPrevious) finish();
  return {};
}

void StagedFile::restore() {
  if (!committed_) return;
  const SignalsHeld held;
  if (inPlace_)
    rewriteInPlace(target_, previousBytes_);
  else if (!backup_.empty() && ::rename(backup_.c_str(), target_.c_str()) == 0)
    untrackTemporary(std::exchange(backup_, {}));
  else if (!existed_)
    ::unlink(target_.c_str());
  committed_ = false;
  finish();
}

void StagedFile::finish() {
  previousBytes_.clear();
  previousBytes_.shrink_to_fit();
  removeTemporary(backup_);
}

std::string writeFileAtomically(const std::string& path, std::string_view bytes,
                                const WriteOptions& options) {
  StagedFile file;
  if (std::string error = file.stage(path, bytes, options); !error.empty()) return error;
  return file.commit();
}

bool readWholeFile(const std::string& path, std::string& bytes, std::size_t maxBytes) {
  bytes.clear();
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (fd < 0) return false;
  struct stat st {};
  const bool regular = ::fstat(fd, &st) == 0 && S_ISREG(st.st_mode);
  const bool read = regular && readFd(fd, bytes, maxBytes);
  ::close(fd);
  if (!regular) errno = S_ISDIR(st.st_mode) ? EISDIR : EINVAL;
  return read;
}

}  // namespace vandrel
