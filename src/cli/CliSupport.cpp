#include "CliSupport.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include <sys/stat.h>
#include <utility>

#include "SndfileDecoder.h"
#include "audio/Wave.h"
#include "document/OpenFile.h"
#include "document/VandrelDoc.h"
#include "util/AtomicFile.h"

namespace vandrel::cli {

namespace fs = std::filesystem;

int complain(int code, const char* command, const char* fmt, ...) {
  std::fprintf(stderr, "vandrel-cli %s: ", command);
  va_list ap;
  va_start(ap, fmt);
  std::vfprintf(stderr, fmt, ap);
  va_end(ap);
  std::fputc('\n', stderr);
  return code;
}

bool parseInt(const std::string& s, long lo, long hi, long& out) {
  if (s.empty() || s.size() > 18) return false;
  errno = 0;
  char* end = nullptr;
  const long v = std::strtol(s.c_str(), &end, 10);
  if (*end != '\0' || errno == ERANGE || v < lo || v > hi) return false;
  out = v;
  return true;
}

int readTable(const char* command, const std::string& path, CVandrelDoc& doc) {
  OpenedFile opened = readAnyFile(path, sndfileDecoder(), doc.params());
  if (opened.kind == OpenedKind::kParameters) {
    applyOpened(doc, std::move(opened));
    return kExitOk;
  }
  if (opened.kind == OpenedKind::kAudio)
    return complain(kExitInput, command, "%s is an audio file, not a parameter table", path.c_str());
  // The reason in brackets only when it adds to the message (a missing file,
  // a folder or a device say everything in the message).
  if (opened.detail.empty() || opened.detail == opened.message)
    return complain(kExitInput, command, "%s: %s", path.c_str(), opened.message.c_str());
  return complain(kExitInput, command, "%s: %s (%s)", path.c_str(), opened.message.c_str(),
                  opened.detail.c_str());
}

std::string waveImage(const SampleSet& set) {
  const double wanted = std::max(0.0, 2.0 * set.sampleCount);
  const std::size_t bytes = std::min(static_cast<std::size_t>(wanted), set.byteSize());
  std::string image;
  CWave::write(image, set.samples.data(), set.byteSize(),
               WaveFormat::pcm16Mono(static_cast<std::uint32_t>(set.sampleRate)), 0, bytes);
  return image;
}

namespace {

bool identity(const std::string& path, std::pair<unsigned long long, unsigned long long>& id) {
  struct stat st {};
  if (::stat(path.c_str(), &st) != 0) return false;
  id = {static_cast<unsigned long long>(st.st_dev), static_cast<unsigned long long>(st.st_ino)};
  return true;
}

}  // namespace

InputFiles::InputFiles(const std::vector<std::string>& paths) {
  std::pair<unsigned long long, unsigned long long> id;
  for (const auto& p : paths)
    if (identity(p, id)) ids_.insert(id);
}

bool InputFiles::wouldOverwrite(const std::string& output) const {
  std::pair<unsigned long long, unsigned long long> id;
  return identity(output, id) && ids_.count(id) != 0;
}

std::string stemOf(const std::string& path) { return fs::path(path).stem().string(); }

WriteOptions& writeOptions() {
  static WriteOptions options;
  return options;
}

std::string explained(const std::string& error) {
  if (error.find(": the file is read-only.") == std::string::npos) return error;
  return error + " Add --force to replace it.";
}

}  // namespace vandrel::cli
