#include "document/OpenFile.h"

#include <filesystem>
#include <system_error>
#include <utility>

#include "audio/Wave.h"
#include "document/VandrelDoc.h"
#include "util/AtomicFile.h"

namespace vandrel {

namespace {

bool readable(const std::string& path, OpenedFile& out) {
  std::error_code ec;
  const auto status = std::filesystem::status(path, ec);
  if (ec || !std::filesystem::exists(status)) {
    out.message = "Cannot open " + path + ": there is no such file.";
    out.detail = out.message;
    return false;
  }
  if (std::filesystem::is_directory(status)) {
    out.message = "Cannot open " + path + ": it is a folder.";
    out.detail = out.message;
    return false;
  }
  // A device or a pipe has no end to read to (/dev/zero) or may never answer.
  if (!std::filesystem::is_regular_file(status)) {
    out.message = "Cannot open " + path + ": it is not a regular file.";
    out.detail = out.message;
    return false;
  }
  // Every reader takes the whole file into memory; nothing Vandrel writes or
  // opens comes near this size.
  const auto size = std::filesystem::file_size(path, ec);
  if (!ec && size > kMaxAudioFileBytes) {
    out.message = "Cannot open " + path + ": the file is larger than 2 GB.";
    out.detail = out.message;
    return false;
  }
  return true;
}

// The audio readers in order; true when one of them accepted the file.
bool tryAudio(const std::string& path, const AudioDecoder& secondCheck, OpenedFile& out,
              WaveLoad* waveResult = nullptr) {
  SampleSet set;
  WaveLoadInfo info;
  const WaveLoad wave = loadWaveFile(path, set, &info);
  if (waveResult) *waveResult = wave;
  switch (wave) {
    case WaveLoad::kOk:
      out.kind = OpenedKind::kAudio;
      out.by = OpenedBy::kWaveReader;
      out.audio = std::move(set);
      // Read what is there rather than refuse: a recording cut short by a
      // full disk or an interrupted copy is still worth looking at.
      if (info.shortData())
        out.note = std::filesystem::path(path).filename().string() + " is cut short: its header announces " +
                   std::to_string(static_cast<long long>(info.claimedBytes / 2)) + " samples, it holds " +
                   std::to_string(info.readBytes / 2) + ".";
      return true;
    case WaveLoad::kCannotOpen:
      out.message = "Cannot open " + path + ".";
      out.detail = out.message;
      return false;
    case WaveLoad::kTooLong:
      out.message = tooLongMessage(path, info.seconds);
      out.detail = out.message;
      return false;
    case WaveLoad::kNotWave:
    case WaveLoad::kNotPcm16Mono:
      break;
  }
  if (secondCheck) {
    std::string refusal;
    if (std::optional<SampleSet> decoded = secondCheck(path, refusal)) {
      out.kind = OpenedKind::kAudio;
      out.by = OpenedBy::kSecondCheck;
      out.audio = std::move(*decoded);
      return true;
    }
    if (!refusal.empty()) {
      out.message = refusal;
      out.detail = refusal;
      return false;
    }
  }
  return false;
}

}  // namespace

OpenedFile readAnyFile(const std::string& path, const AudioDecoder& secondCheck,
                       const ParameterSet& defaults) {
  OpenedFile out;
  if (!readable(path, out)) return out;
  WaveLoad wave = WaveLoad::kNotWave;
  if (tryAudio(path, secondCheck, out, &wave)) return out;
  if (!out.message.empty()) return out;  // the file could not be read at all

  VdrReadResult r = readVdrFile(path, defaults);
  if (r.ok()) {
    out.kind = OpenedKind::kParameters;
    out.by = OpenedBy::kParameterReader;
    out.parameters = std::move(r.content);
    return out;
  }
  out.message = std::string(r.message());
  out.detail = std::move(r.detail);
  // A WAV file the audio readers refused is not a damaged parameter file:
  // the reason worth giving is the audio one.
  std::string head;
  if (wave == WaveLoad::kNotPcm16Mono)
    out.detail = "a WAV file that is not 16-bit mono PCM, and the audio decoder cannot read it";
  else if (readWholeFile(path, head, 12) && head.size() == 12 &&
           (head.starts_with("RIFF") || head.ends_with("WAVE")))
    out.detail = "a WAV file without a readable \"data\" chunk, and the audio decoder cannot read it";
  return out;
}

OpenedFile readAudioFile(const std::string& path, const AudioDecoder& secondCheck) {
  OpenedFile out;
  if (!readable(path, out)) return out;
  if (tryAudio(path, secondCheck, out)) return out;
  if (out.message.empty()) {
    out.message = std::string(kMsgFileTypeNotRecognized);
    out.detail = "neither the WAV reader nor the audio decoder reads it";
  }
  return out;
}

void applyOpened(CVandrelDoc& doc, OpenedFile opened) {
  switch (opened.kind) {
    case OpenedKind::kNothing:
      return;
    case OpenedKind::kAudio:
      doc.attachAudio(std::move(opened.audio));
      return;
    case OpenedKind::kParameters:
      loadVdr(doc, std::move(opened.parameters));
      return;
  }
}

}  // namespace vandrel
