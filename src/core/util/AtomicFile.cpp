#include "util/AtomicFile.h"

#include <filesystem>
#include <fstream>
#include <random>
#include <system_error>

namespace vandrel {

namespace fs = std::filesystem;

std::string writeFileAtomically(const std::string& path, std::string_view bytes) {
  const fs::path target(path);
  fs::path dir = target.parent_path();
  if (dir.empty()) dir = ".";

  std::random_device rd;
  const fs::path tmp = dir / ("." + target.filename().string() + ".tmp" + std::to_string(rd() % 1000000u));
  {
    std::ofstream f(tmp, std::ios::binary | std::ios::trunc);
    if (!f) return "Cannot create a file in " + dir.string() + ".";
    f.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    f.flush();
    if (!f) {
      f.close();
      std::error_code ignored;
      fs::remove(tmp, ignored);
      return "Cannot write " + path + " (disk full?).";
    }
  }
  std::error_code ec;
  fs::rename(tmp, target, ec);
  if (ec) {
    std::error_code ignored;
    fs::remove(tmp, ignored);
    return "Cannot replace " + path + ": " + ec.message() + ".";
  }
  return {};
}

bool readWholeFile(const std::string& path, std::string& bytes) {
  std::ifstream f(path, std::ios::binary);
  if (!f) return false;
  std::error_code ec;
  if (fs::is_directory(path, ec)) return false;
  bytes.assign(std::istreambuf_iterator<char>(f), std::istreambuf_iterator<char>());
  return !f.bad();
}

}  // namespace vandrel
