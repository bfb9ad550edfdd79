#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "CliSupport.h"
#include "Commands.h"
#include "audio/Wave.h"
#include "batch/LevelReport.h"
#include "document/VandrelDoc.h"
#include "engine/SineWave.h"
#include "engine/Synthesizer.h"

namespace vandrel::cli {

const char* const kSynthHelp =
    "usage: vandrel-cli synth IN.vdr... -o OUT [--seed N] [--listen-to SIGNAL] [--report]\n"
    "                         [--fail-on-clip] [--quiet] [--sinewave [3|4]]\n"
    "       vandrel-cli synth --default -o OUT.wav [--seed N] [--quiet]\n"
    "\n"
    "Synthesizes parameter tables and writes each as a 16-bit mono WAV file.\n"
    "\n"
    "  IN.vdr         parameter files (all or selected parameters); rows a\n"
    "                 selected-parameters file leaves out take their defaults\n"
    "  --default      synthesize the blank document: 200 ms of every\n"
    "                 parameter's default (a steady vowel at 100 Hz)\n"
    "  -o, --output   the WAV file to write, or a folder (made when missing)\n"
    "                 that gets NAME.wav for each NAME.vdr; a folder when\n"
    "                 there are several tables. Files are replaced atomically.\n"
    "  --seed N       start the noise generator at N for every table (default\n"
    "                 1, as a freshly started editor does): same seed, same\n"
    "                 bytes\n"
    "  --listen-to SIGNAL\n"
    "                 write one signal of the synthesizer alone, as the\n"
    "                 editor's Listen to plays it: voicing, aspiration,\n"
    "                 frication, cascade (branch input), parallel (branch\n"
    "                 input), bypass, or everything (the normal output).\n"
    "                 A signal that would clip is turned down to a -1 dBFS\n"
    "                 peak; the report's turned_down_db column says by how much\n"
    "  --report       print a tab-separated line per file: file, duration_ms,\n"
    "                 rate_hz, peak_dbfs, rms_dbfs, clipped (samples at either\n"
    "                 end of the 16-bit range)\n"
    "  --fail-on-clip exit with 3 when any sample of any file clipped (the\n"
    "                 files are still written)\n"
    "  --quiet        print nothing on success\n"
    "  --sinewave [N] write a sine-wave replica instead: 3 (default) or 4\n"
    "                 sinusoids following f1..f3 (f4), each as loud as the\n"
    "                 table makes that formant (a1f..a4f plus the loudest of\n"
    "                 av, ah, af), scaled so that it never clips\n"
    "\n"
    "Every table is read before anything is written. Exit codes: 0 success,\n"
    "1 a table that cannot be read or a file that cannot be written (nothing\n"
    "is left behind), 2 bad options, 3 clipping with --fail-on-clip.\n";

namespace {

constexpr const char* kCmd = "synth";

struct NamedSignal {
  const char* name;
  std::uint8_t select;
};
constexpr NamedSignal kSignals[] = {
    {"everything", CKlattEngine::kNormal},     {"voicing", CKlattEngine::kVoicing},
    {"aspiration", CKlattEngine::kAspiration}, {"frication", CKlattEngine::kFrication},
    {"cascade", CKlattEngine::kCascadeInput},  {"parallel", CKlattEngine::kParallelInput},
    {"bypass", CKlattEngine::kBypass},
};

}  // namespace

int synthCommand(const Args& args) {
  bool useDefault = false, quiet = false, report = false, failOnClip = false;
  std::vector<std::string> inputs;
  std::string output;
  long seed = 1;
  int sinewave = 0;  // sinusoids of a replica, 0 for the synthesizer's sound
  std::optional<std::uint8_t> listenTo;
  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::string& a = args[i];
    if (a == "--default") {
      useDefault = true;
    } else if (a == "--quiet") {
      quiet = true;
    } else if (a == "--report") {
      report = true;
    } else if (a == "--fail-on-clip") {
      failOnClip = true;
    } else if (a == "--sinewave") {
      sinewave = 3;
      if (i + 1 < args.size() && (args[i + 1] == "3" || args[i + 1] == "4")) sinewave = args[++i][0] - '0';
    } else if (a == "-o" || a == "--output" || a == "--seed" || a == "--listen-to") {
      if (i + 1 >= args.size()) return complain(kExitOptions, kCmd, "%s needs a value", a.c_str());
      const std::string& v = args[++i];
      if (a == "--listen-to") {
        for (const NamedSignal& n : kSignals)
          if (v == n.name) listenTo = n.select;
        if (!listenTo)
          return complain(kExitOptions, kCmd,
                          "--listen-to wants voicing, aspiration, frication, cascade, parallel, bypass or "
                          "everything, not '%s'",
                          v.c_str());
      } else if (a != "--seed")
        output = v;
      else if (!parseInt(v, 0, 0xFFFFFFFFL, seed))
        return complain(kExitOptions, kCmd, "--seed wants a whole number 0..4294967295, not '%s'", v.c_str());
    } else if (!a.empty() && a[0] != '-') {
      inputs.push_back(a);
    } else {
      return complain(kExitOptions, kCmd, "unknown option or file '%s' (try --help)", a.c_str());
    }
  }
  if (useDefault == !inputs.empty())
    return complain(kExitOptions, kCmd, "name the table to synthesize: IN.vdr or --default");
  if (output.empty()) return complain(kExitOptions, kCmd, "name the output file with -o OUT.wav");

  // Where each table goes.
  namespace fs = std::filesystem;
  std::error_code ec;
  const bool toFolder = inputs.size() > 1 || fs::is_directory(output, ec);
  std::vector<std::string> targets;
  std::set<std::string> seen;
  for (const auto& in : inputs) {
    const std::string t = toFolder ? (fs::path(output) / (stemOf(in) + ".wav")).string() : output;
    if (!seen.insert(t).second)
      return complain(kExitOptions, kCmd, "two tables would both be written to %s", t.c_str());
    targets.push_back(t);
  }
  if (useDefault) targets.push_back(output);
  const InputFiles read(inputs);
  for (const auto& t : targets)
    if (read.wouldOverwrite(t))
      return complain(kExitOptions, kCmd, "%s would be written over a table it reads", t.c_str());

  std::vector<CVandrelDoc> docs(useDefault ? 1 : inputs.size());
  for (std::size_t k = 0; k < inputs.size(); ++k)
    if (const int code = readTable(kCmd, inputs[k], docs[k]); code != kExitOk) return code;

  // Every sound is known to fit in its WAV file before any is synthesized.
  for (std::size_t k = 0; k < docs.size(); ++k) {
    const SynthesisSetup setup = synthesisSetup(docs[k]);
    if (const std::string why = waveTooLarge(setup.sampleCount, setup.sampleRate); !why.empty())
      return complain(kExitInput, kCmd, "%s: %s", useDefault ? "--default" : inputs[k].c_str(), why.c_str());
  }

  OutputSet out(writeOptions());
  if (toFolder)
    if (const std::string err = out.useFolder(output); !err.empty())
      return complain(kExitInput, kCmd, "%s", err.c_str());
  // What is printed waits for the files to be in place: "wrote" is only said
  // of files that were written.
  std::string said = report ? std::string("file\tduration_ms\trate_hz\tpeak_dbfs\trms_dbfs\tclipped") +
                                  (listenTo ? "\tturned_down_db" : "") + "\n"
                            : "";
  long clipped = 0;
  for (std::size_t k = 0; k < docs.size(); ++k) {
    KlattState state;
    state.reset(static_cast<std::uint32_t>(seed));
    double turnedDown = 0.0;
    SampleSet other;  // a sine-wave or solo signal, written instead of the synthesis
    if (sinewave > 0) {
      other = synthesizeSineWave(docs[k], sinewave);
      if (other.sampleRate <= 0.0) return complain(kExitInput, kCmd, "not enough memory to synthesize");
    } else if (listenTo && *listenTo != CKlattEngine::kNormal) {
      SoloSignal solo = synthesizeSolo(docs[k], *listenTo, state);
      if (solo.set.empty()) return complain(kExitInput, kCmd, "not enough memory to synthesize");
      other = std::move(solo.set);
      turnedDown = solo.turnedDownDb;
    } else if (!synthesize(docs[k], {}, state)) {
      return complain(kExitInput, kCmd, "not enough memory to synthesize");
    }
    const SampleSet& s = other.sampleRate > 0.0 ? other : docs[k].synthesized();
    if (const std::string err = out.add(targets[k], waveImage(s)); !err.empty())
      return complain(kExitInput, kCmd, "%s", explained(err).c_str());
    const LevelReport level = measureLevels(s);
    clipped += level.clipped;
    const std::size_t count = s.samples.size();
    docs[k].dropSynthesis();  // a batch of thousands holds tables, not sounds
    char line[200];
    if (report) {
      std::snprintf(line, sizeof line, "\t%.1f\t%.0f\t%.2f\t%.2f\t%ld", level.durationMs, level.sampleRate,
                    level.peakDbfs, level.rmsDbfs, level.clipped);
      said += targets[k] + line;
      if (listenTo) {
        std::snprintf(line, sizeof line, "\t%.2f", turnedDown);
        said += line;
      }
    } else {
      std::snprintf(line, sizeof line, ": %.0f Hz, %zu samples, %.1f ms, peak %.1f dBFS", level.sampleRate,
                    count, level.durationMs, level.peakDbfs);
      said += "wrote " + targets[k] + line;
      if (turnedDown > 0.0) {
        std::snprintf(line, sizeof line, ", turned down %.1f dB to keep it from clipping", turnedDown);
        said += line;
      }
    }
    said += '\n';
  }
  if (const std::string err = out.commit(); !err.empty())
    return complain(kExitInput, kCmd, "%s", explained(err).c_str());
  if (!quiet) std::fputs(said.c_str(), stdout);
  if (failOnClip && clipped > 0)
    return complain(kExitClipped, kCmd, "%ld samples clipped (the files are written)", clipped);
  return kExitOk;
}

}  // namespace vandrel::cli
