#include "util/AtomicFile.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <system_error>

namespace vandrel {

namespace fs = std::filesystem;

namespace {

// "Cannot save <path>: <reason>." and, when there was a file, that it is
// still as it was: the user's next question.
std::string failure(const std::string& path, int error, bool existed) {
  std::string reason = std::generic_category().message(error);
  if (!reason.empty()) reason[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(reason[0])));
  std::string m = "Cannot save " + path + ": " + reason + ".";
  if (existed) m += " The previous file is unchanged.";
  return m;
}

}  // namespace

std::string writeFileAtomically(const std::string& path, std::string_view bytes) {
  const fs::path target(path);
  fs::path dir = target.parent_path();
  if (dir.empty()) dir = ".";
  std::error_code ec;
  const bool existed = fs::is_regular_file(target, ec);
  if (fs::is_directory(target, ec)) return failure(path, EISDIR, false);

  std::random_device rd;
  const fs::path tmp = dir / ("." + target.filename().string() + ".tmp" + std::to_string(rd() % 1000000u));
  errno = 0;
  std::FILE* f = std::fopen(tmp.c_str(), "wb");
  if (!f) return failure(path, errno != 0 ? errno : EIO, existed);
  // Every step can meet a full disk: the buffered write, the flush, the close.
  int error = 0;
  if (!bytes.empty() && std::fwrite(bytes.data(), 1, bytes.size(), f) != bytes.size()) error = errno;
  if (error == 0 && std::fflush(f) != 0) error = errno;
  if (std::fclose(f) != 0 && error == 0) error = errno;
  if (error != 0) {
    fs::remove(tmp, ec);
    return failure(path, error, existed);
  }
  fs::rename(tmp, target, ec);
  if (ec) {
    std::error_code ignored;
    fs::remove(tmp, ignored);
    return failure(path, ec.value(), existed);
  }
  return {};
}

bool readWholeFile(const std::string& path, std::string& bytes, std::size_t maxBytes) {
  std::ifstream f(path, std::ios::binary);
  if (!f) return false;
  std::error_code ec;
  if (fs::is_directory(path, ec)) return false;
  // A file of known size in one allocation and one read (a long table is
  // tens of megabytes); what a file reports no size for (/proc, a pipe) or
  // has grown by meanwhile is read on to its end.
  const auto size = fs::file_size(path, ec);
  bytes.clear();
  if (!ec && size > 0) {
    bytes.resize(static_cast<std::size_t>(std::min<std::uintmax_t>(size, maxBytes)));
    f.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    bytes.resize(static_cast<std::size_t>(f.gcount()));
  }
  for (std::istreambuf_iterator<char> in(f), end; in != end && bytes.size() < maxBytes; ++in)
    bytes.push_back(*in);
  return !f.bad();
}

}  // namespace vandrel
