#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>

#include "Commands.h"
#include "SndfileDecoder.h"
#include "audio/Wave.h"
#include "document/OpenFile.h"
#include "document/VandrelDoc.h"
#include "engine/Synthesizer.h"

namespace vandrel::cli {

const char* const kSynthHelp =
    "usage: vandrel-cli synth IN.vdr -o OUT.wav [--seed N] [--quiet]\n"
    "       vandrel-cli synth --default -o OUT.wav [--seed N] [--quiet]\n"
    "\n"
    "Synthesizes a parameter table and writes it as a 16-bit mono WAV file.\n"
    "\n"
    "  IN.vdr         a parameter file (all or selected parameters); rows a\n"
    "                 selected-parameters file leaves out take their defaults\n"
    "  --default      synthesize the blank document: 200 ms of every\n"
    "                 parameter's default (a steady vowel at 100 Hz)\n"
    "  -o, --output   the WAV file to write (replaced atomically)\n"
    "  --seed N       start the noise generator at N (default 1, as a freshly\n"
    "                 started editor does), so runs are reproducible\n"
    "  --quiet        print nothing on success\n"
    "\n"
    "On success it prints the sample rate, the sample count, the duration and\n"
    "the peak sample. Errors go to standard error with a non-zero exit.\n";

namespace {

bool parseSeed(const std::string& s, std::uint32_t& seed) {
  if (s.empty() || s.size() > 10) return false;
  char* end = nullptr;
  const unsigned long v = std::strtoul(s.c_str(), &end, 10);
  if (*end != '\0' || v > 0xFFFFFFFFul || s[0] == '-') return false;
  seed = static_cast<std::uint32_t>(v);
  return true;
}

}  // namespace

int synthCommand(const Args& args) {
  bool useDefault = false;
  bool quiet = false;
  std::string input;
  std::string output;
  std::uint32_t seed = 1;
  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::string& a = args[i];
    if (a == "--default") {
      useDefault = true;
    } else if (a == "--quiet") {
      quiet = true;
    } else if (a == "-o" || a == "--output" || a == "--seed") {
      if (i + 1 >= args.size()) {
        std::fprintf(stderr, "vandrel-cli synth: %s needs a value\n", a.c_str());
        return 2;
      }
      const std::string& v = args[++i];
      if (a == "--seed") {
        if (!parseSeed(v, seed)) {
          std::fprintf(stderr, "vandrel-cli synth: --seed wants a whole number 0..4294967295, not '%s'\n",
                       v.c_str());
          return 2;
        }
      } else {
        output = v;
      }
    } else if (!a.empty() && a[0] != '-' && input.empty()) {
      input = a;
    } else {
      std::fprintf(stderr, "vandrel-cli synth: unknown option or file '%s' (try --help)\n", a.c_str());
      return 2;
    }
  }
  if (useDefault == !input.empty()) {
    std::fprintf(stderr, "vandrel-cli synth: name the table to synthesize: IN.vdr or --default\n");
    return 2;
  }
  if (output.empty()) {
    std::fprintf(stderr, "vandrel-cli synth: name the output file with -o OUT.wav\n");
    return 2;
  }

  CVandrelDoc doc;
  if (!input.empty()) {
    OpenedFile opened = readAnyFile(input, sndfileDecoder(), doc.params());
    if (opened.kind != OpenedKind::kParameters) {
      if (opened.kind == OpenedKind::kAudio)
        std::fprintf(stderr, "vandrel-cli synth: %s is an audio file, not a parameter table\n",
                     input.c_str());
      else
        std::fprintf(stderr, "vandrel-cli synth: %s: %s (%s)\n", input.c_str(), opened.message.c_str(),
                     opened.detail.c_str());
      return 1;
    }
    applyOpened(doc, std::move(opened));
  }
  KlattState state;
  state.reset(seed);
  if (!synthesize(doc, {}, state)) {
    std::fprintf(stderr, "vandrel-cli synth: not enough memory to synthesize\n");
    return 1;
  }
  if (const std::string err = saveWaveFile(output, doc.synthesized); !err.empty()) {
    std::fprintf(stderr, "vandrel-cli synth: %s\n", err.c_str());
    return 1;
  }
  if (!quiet) {
    int peak = 0;
    for (auto s : doc.synthesized.samples) peak = std::max(peak, std::abs(static_cast<int>(s)));
    const auto& s = doc.synthesized;
    std::printf("wrote %s: %.0f Hz, %zu samples, %.1f ms, peak %d (%.1f dBFS)\n", output.c_str(),
                s.sampleRate, s.samples.size(), static_cast<double>(s.samples.size()) * 1000.0 / s.sampleRate,
                peak, peak > 0 ? 20.0 * std::log10(peak / 32768.0) : -INFINITY);
  }
  return 0;
}

}  // namespace vandrel::cli
