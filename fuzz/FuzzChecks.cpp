#include "FuzzChecks.h"

#include <algorithm>
#include <string>

#include "SndfileDecoder.h"
#include "audio/Wave.h"
#include "batch/TableImport.h"
#include "config/ConfigFile.h"
#include "document/VandrelDoc.h"
#include "document/VdrFile.h"
#include "labels/TextGrid.h"

namespace vandrel::fuzz {

std::string checkVdr(std::string_view bytes) {
  const VdrReadResult r = parseVdr(bytes, ParameterSet{});
  if (!r.ok()) {
    if (r.message().empty() || r.detail.empty()) return "a refusal without message or reason";
    return {};
  }
  const VdrContent& c = r.content;
  if (c.intervalMs <= 0 || c.sampleRate <= 0) return "accepted a timing line without interval or rate";
  if (c.table.columns() != c.fileLengthMs / c.intervalMs) return "the table does not match the timing line";
  if (c.table.columns() > kMaxFrames) return "accepted a table beyond the frame limit";
  if (c.table.anchorCount() > c.anchorCount) return "more anchors than line 2 counts";

  CVandrelDoc doc;
  loadVdr(doc, c);
  const std::string text = writeVdr(doc, VdrKind::kAllParameters);
  const VdrReadResult back = parseVdr(text, ParameterSet{});
  if (!back.ok()) return "what the document writes does not read back: " + back.detail;
  CVandrelDoc again;
  loadVdr(again, back.content);
  if (writeVdr(again, VdrKind::kAllParameters) != text) return "writing, reading and writing again differ";
  return {};
}

std::string checkWave(std::string_view bytes) {
  WaveChunks chunks;
  if (CWave::read(bytes, chunks) == 0) {
    if (chunks.dataOffset > bytes.size()) return "the data offset lies beyond the file";
    if (chunks.dataLength > static_cast<double>(bytes.size())) return "the data length exceeds the file";
  }
  SampleSet set;
  WaveLoadInfo info;
  const WaveLoad result = decodeWave(bytes, set, &info);
  if (result != WaveLoad::kOk) return set.empty() ? std::string() : "a refused file filled the sample set";
  if (set.sampleRate <= 0) return "decoded without a sample rate";
  if (set.byteSize() > bytes.size()) return "more samples than the file holds";
  if (set.sampleCount != static_cast<double>(set.samples.size())) return "the sample count is wrong";
  if (info.readBytes / 2 != set.samples.size()) return "the load info disagrees with the samples";

  std::string image;
  const auto rate = static_cast<std::uint32_t>(set.sampleRate);
  if (CWave::write(image, set.samples.data(), set.byteSize(), WaveFormat::pcm16Mono(rate), 0,
                   set.byteSize()) != 0)
    return "decoded samples cannot be written";
  SampleSet back;
  if (decodeWave(image, back) != WaveLoad::kOk || back.samples != set.samples ||
      back.sampleRate != set.sampleRate)
    return "written samples do not read back";
  return {};
}

std::string checkAudioDecode(std::string_view bytes) {
  std::string refusal;
  // A million samples covers every seed many times over and keeps one input
  // well inside the time limit under the sanitizers.
  constexpr double kMaxSamples = 1 << 20;
  const std::optional<SampleSet> set = decodeBytesWithSndfile(bytes, "input", &refusal, kMaxSamples);
  if (!set) return {};
  if (!refusal.empty()) return "decoded and refused at once";
  if (set->sampleRate <= 0) return "decoded without a sample rate";
  if (set->sampleCount != static_cast<double>(set->samples.size())) return "the sample count is wrong";
  if (set->sampleCount > std::min(kMaxAudioSeconds * set->sampleRate, kMaxSamples))
    return "decoded beyond the length limit";
  return {};
}

std::string checkConfig(std::string_view bytes) {
  ConfigRecord record;
  if (decodeConfig(bytes, record) != ConfigStatus::kOk)
    return record == ConfigRecord{} ? "" : "a refused record was filled";
  ConfigRecord back;
  if (decodeConfig(encodeConfig(record), back) != ConfigStatus::kOk || !(back == record))
    return "an accepted record does not survive writing and reading";
  CVandrelDoc doc;
  applyConfig(record, doc);
  if (doc.table().columns() > kMaxFrames) return "a blank document beyond the frame limit";
  if (doc.table().columns() != doc.params().frameCount)
    return "the blank table does not match its frame count";
  return {};
}

std::string checkLabels(std::string_view bytes) {
  const TextGridRead r = parseTextGrid(bytes, "f.TextGrid");
  if (!r.ok() && r.message.rfind("f.TextGrid", 0) != 0)
    return "a TextGrid refusal that does not name the file";
  if (r.ok()) {
    for (const LabelTier& t : r.labels.tiers) {
      if (!(t.end > t.start) || t.start < r.labels.start - 1e-6 || t.end > r.labels.end + 1e-6)
        return "a tier outside the TextGrid";
      double at = t.start;
      for (const LabelInterval& in : t.intervals) {
        if (in.start != at || !(in.end > in.start)) return "intervals that do not touch end to end";
        at = in.end;
      }
      if (!t.pointTier && at != t.end) return "intervals that stop short of their tier";
      for (std::size_t k = 1; k < t.points.size(); ++k)
        if (!(t.points[k].time > t.points[k - 1].time)) return "points out of order";
    }
    const TextGridRead back = parseTextGrid(writeTextGrid(r.labels), "back");
    if (!back.ok() || !(back.labels == r.labels)) return "a TextGrid that does not read back as written";
  }
  for (const bool klp : {true, false}) {
    CVandrelDoc doc;
    const ImportResult i = klp ? importKlp(bytes, "f", doc) : importKlattGrid(bytes, "f", 10, doc);
    if (!i.ok() && i.message.empty()) return "an import refused without a reason";
    if (i.ok() && (doc.table().columns() < 1 || doc.table().columns() > kMaxFrames))
      return "an import beyond the limits";
  }
  return {};
}

}  // namespace vandrel::fuzz
