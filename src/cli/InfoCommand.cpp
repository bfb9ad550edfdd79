#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>

#include "Commands.h"
#include "SndfileDecoder.h"
#include "batch/LevelReport.h"
#include "document/OpenFile.h"
#include "document/ParameterSet.h"

namespace vandrel::cli {

const char* const kInfoHelp =
    "usage: vandrel-cli info FILE\n"
    "\n"
    "Prints what a file holds, reading it as the editor's Open command does\n"
    "(WAV reader, then the audio decoder, then the parameter-file reader).\n"
    "\n"
    "  a parameter file (.vdr): timing, synthesis method, the rows written and\n"
    "                           the rows shown, the anchor cells, the colours\n"
    "  an audio file:           sample rate, samples, duration and peak\n"
    "\n"
    "A file no reader accepts prints the editor's message and why, and exits\n"
    "with 1.\n";

namespace {

void printParameters(const std::string& path, const VdrContent& c) {
  const int frames = c.table.columns();
  std::printf("%s: parameter file (%s)\n", path.c_str(),
              c.writtenCount == kParamCount ? "all parameters" : "selected parameters");
  std::printf("  timing:   %d ms, %d frames of %d ms, sample rate %d Hz\n", c.fileLengthMs, frames,
              c.intervalMs, c.sampleRate);
  std::printf("  method:   %s\n", c.cascadeParallel != 0 ? "Cascade_Parallel" : "Parrallel only");

  auto rowList = [](const std::array<bool, kParamCount>& on) {
    std::string s;
    int n = 0;
    for (int r = 0; r < kParamCount; ++r) {
      if (!on[static_cast<std::size_t>(r)]) continue;
      s += ' ';
      s += builtinParams()[static_cast<std::size_t>(r)].name;
      ++n;
    }
    return std::to_string(n) + (n > 0 ? ":" + s : "");
  };
  std::printf("  written:  %s\n", rowList(c.written).c_str());
  std::printf("  shown:    %s\n", rowList(c.selected).c_str());

  const int listed = c.table.anchorCount();
  std::printf("  anchors:  %d", listed);
  if (listed != c.anchorCount)
    std::printf(" listed, %d counted (the others are in rows not written)", c.anchorCount);
  std::printf("\n");
  for (int r = 0; r < kParamCount; ++r) {
    std::string cols;
    for (int col = 0; col < frames; ++col)
      if (c.table.anchor(r, col)) cols += " " + std::to_string(col);
    if (!cols.empty())
      std::printf("    %-5s at frames%s\n", builtinParams()[static_cast<std::size_t>(r)].name.data(),
                  cols.c_str());
  }

  std::printf("  colours: ");
  for (std::size_t s = 0; s < c.colors.size(); ++s) {
    const char* label = s == kAnchorColorSlot ? " anchor" : s == kSelectionColorSlot ? " selection" : " set";
    std::printf("%s%s %d,%d,%d", label, s < kGroupCount ? std::to_string(s + 1).c_str() : "",
                redOf(c.colors[s]), greenOf(c.colors[s]), blueOf(c.colors[s]));
  }
  std::printf("\n");
}

void printAudio(const std::string& path, const OpenedFile& f) {
  const SampleSet& a = f.audio;
  int peak = 0;
  for (auto s : a.samples) peak = std::max(peak, std::abs(static_cast<int>(s)));
  std::printf("%s: audio file (%s)\n", path.c_str(),
              f.by == OpenedBy::kWaveReader ? "16-bit mono PCM WAV" : "decoded to 16-bit mono");
  std::printf("  rate:     %.0f Hz\n", a.sampleRate);
  std::printf("  samples:  %zu\n", a.samples.size());
  std::printf("  duration: %.1f ms\n",
              a.sampleRate > 0 ? static_cast<double>(a.samples.size()) * 1000.0 / a.sampleRate : 0.0);
  std::printf("  peak:     %d (%.1f dBFS)\n", peak, dbfs(peak));
}

}  // namespace

int infoCommand(const Args& args) {
  if (args.size() != 1 || args[0].empty() || args[0][0] == '-') {
    std::fprintf(stderr, "vandrel-cli info: name one file (try --help)\n");
    return 2;
  }
  const std::string& path = args[0];
  const OpenedFile f = readAnyFile(path, sndfileDecoder(), ParameterSet{});
  switch (f.kind) {
    case OpenedKind::kParameters:
      printParameters(path, f.parameters);
      return 0;
    case OpenedKind::kAudio:
      printAudio(path, f);
      return 0;
    case OpenedKind::kNothing:
      break;
  }
  std::fprintf(stderr, "vandrel-cli info: %s: %s\n", path.c_str(), f.message.c_str());
  if (!f.detail.empty() && f.detail != f.message) std::fprintf(stderr, "  (%s)\n", f.detail.c_str());
  return 1;
}

}  // namespace vandrel::cli
