#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "CliSupport.h"
#include "Commands.h"
#include "audio/Wave.h"
#include "batch/Continuum.h"
#include "batch/ContinuumAlign.h"
#include "document/VandrelDoc.h"
#include "document/VdrFile.h"
#include "engine/Synthesizer.h"
#include "labels/TextGrid.h"

namespace vandrel::cli {

const char* const kContinuumHelp =
    "usage: vandrel-cli continuum A.vdr B.vdr --steps N -o DIR [--wav] [--scale linear|bark]\n"
    "                             [--only f1,f2,...] [--seed N] [--quiet]\n"
    "\n"
    "Writes N parameter files stepping from table A to table B: step 1 is A,\n"
    "step N is B, and step k holds in every frame the value (k-1)/(N-1) of\n"
    "the way from A to B, rounded to a whole number. Every row in which A and\n"
    "B differ is stepped, or only the rows named with --only; the others, the\n"
    "anchors, the shown rows and the colours are A's.\n"
    "\n"
    "Labels align the ends: when A and B have labels beside them (A.TextGrid,\n"
    "B.TextGrid) whose first interval tiers hold the same number of\n"
    "intervals, every step's time line is cut at boundaries that move from\n"
    "A's to B's: step k lasts LA + (LB - LA)(k-1)/(N-1), each boundary\n"
    "likewise, and a row's value in a segment is A's and B's at the\n"
    "corresponding times of that segment. So two tokens of different lengths\n"
    "make a continuum segment by segment; the length is rounded to whole\n"
    "frames and each step gets its step_01.TextGrid. Without such labels both\n"
    "tables need the same frame count and interval (labels beside A alone go\n"
    "with every step unchanged).\n"
    "\n"
    "  --steps N        2..1000 files\n"
    "  -o, --output DIR the folder (made when missing); files step_01.vdr ...\n"
    "                   and manifest.tsv\n"
    "  --wav            also synthesize each step to step_01.wav ..., every\n"
    "                   step with the same noise (the same seed)\n"
    "  --scale S        linear (default), or bark: formant frequencies f1..f8\n"
    "                   step evenly in bark (Traunmueller) instead of in Hz\n"
    "  --only LIST      the rows to step, by name, comma-separated\n"
    "  --seed N         the noise generator's start for --wav (default 1)\n"
    "  --quiet          print nothing on success\n"
    "\n"
    "manifest.tsv has a line per step: step, file, and each stepped row's\n"
    "value at the frame where A and B differ most in that row (the column\n"
    "name says the row and that frame's start, e.g. f2@120ms; when aligned by\n"
    "labels, the time in A, and each step's value at the corresponding time).\n"
    "\n"
    "Exit codes: 0 success, 1 a table or labels that cannot be read, two\n"
    "tables of different timing without labels to align them, or a folder\n"
    "that cannot be written (nothing is left behind), 2 bad options.\n";

int continuumCommand(const Args& args) {
  constexpr const char* kCmd = "continuum";
  std::vector<std::string> inputs;
  std::string output, only;
  long steps = 0, seed = 1;
  bool wav = false, quiet = false;
  ContinuumScale scale = ContinuumScale::kLinear;
  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::string& a = args[i];
    if (a == "--wav") {
      wav = true;
    } else if (a == "--quiet") {
      quiet = true;
    } else if (a == "-o" || a == "--output" || a == "--steps" || a == "--scale" || a == "--only" ||
               a == "--seed") {
      if (i + 1 >= args.size()) return complain(kExitOptions, kCmd, "%s needs a value", a.c_str());
      const std::string& v = args[++i];
      if (a == "--steps" && !parseInt(v, 2, 1000, steps))
        return complain(kExitOptions, kCmd, "--steps wants a whole number from 2 to 1000, not '%s'",
                        v.c_str());
      if (a == "--seed" && !parseInt(v, 0, 0xFFFFFFFFL, seed))
        return complain(kExitOptions, kCmd, "--seed wants a whole number 0..4294967295, not '%s'", v.c_str());
      if (a == "--scale") {
        if (v != "linear" && v != "bark")
          return complain(kExitOptions, kCmd, "--scale wants linear or bark, not '%s'", v.c_str());
        scale = v == "bark" ? ContinuumScale::kBark : ContinuumScale::kLinear;
      }
      if (a == "--only") only = v;
      if (a == "-o" || a == "--output") output = v;
    } else if (!a.empty() && a[0] != '-') {
      inputs.push_back(a);
    } else {
      return complain(kExitOptions, kCmd, "unknown option '%s' (try --help)", a.c_str());
    }
  }
  if (inputs.size() != 2) return complain(kExitOptions, kCmd, "name the two ends: A.vdr B.vdr (try --help)");
  if (steps == 0) return complain(kExitOptions, kCmd, "say how many files with --steps N");
  if (output.empty()) return complain(kExitOptions, kCmd, "name the output folder with -o DIR");
  std::vector<int> rows;
  if (!only.empty()) {
    std::stringstream list(only);
    for (std::string name; std::getline(list, name, ',');) {
      const auto index = paramIndex(name);
      if (!index) return complain(kExitOptions, kCmd, "--only: no parameter is called '%s'", name.c_str());
      rows.push_back(*index);
    }
  }

  CVandrelDoc a, b;
  if (const int code = readTable(kCmd, inputs[0], a); code != kExitOk) return code;
  if (const int code = readTable(kCmd, inputs[1], b); code != kExitOk) return code;
  Labels labels[2];
  bool labelled[2] = {false, false};
  for (int k = 0; k < 2; ++k) {
    const std::string side = findSidecar(inputs[static_cast<std::size_t>(k)]);
    if (side.empty()) continue;
    TextGridRead read = readTextGridFile(side);
    if (!read.ok()) return complain(kExitInput, kCmd, "%s", read.message.c_str());
    labels[k] = std::move(read.labels);
    labelled[k] = true;
  }
  AlignedEnd ends[2] = {{&a.table(), a.params().intervalMs, &labels[0], {}},
                        {&b.table(), b.params().intervalMs, &labels[1], {}}};
  std::string unaligned;
  if (labelled[0] && labelled[1]) {
    for (int k = 0; k < 2 && unaligned.empty(); ++k)
      if (const std::string why = alignmentKnots(ends[k]); !why.empty())
        unaligned = sidecarPath(inputs[static_cast<std::size_t>(k)]) + ": " + why;
    if (unaligned.empty()) unaligned = alignmentMismatch(ends[0], ends[1]);
  } else {
    unaligned = "no labels beside both tables to align them by";
  }
  const bool aligned = unaligned.empty();
  if (!aligned)
    if (const std::string why = continuumMismatch(a.table().columns(), a.params().intervalMs,
                                                  b.table().columns(), b.params().intervalMs);
        !why.empty())
      return complain(kExitInput, kCmd, "%s and %s: %s (%s)", inputs[0].c_str(), inputs[1].c_str(),
                      why.c_str(), unaligned.c_str());
  const ContinuumPlan plan =
      aligned ? planAlignedContinuum(ends[0], ends[1], rows) : planContinuum(a.table(), b.table(), rows);

  const int n = static_cast<int>(steps);
  const int width = static_cast<int>(std::max<std::size_t>(2, std::to_string(n).size()));
  const auto stepName = [&](int s, const char* extension) {
    char name[40];
    std::snprintf(name, sizeof name, "step_%0*d%s", width, s + 1, extension);
    return std::string(name);
  };
  const InputFiles read({inputs[0], inputs[1], findSidecar(inputs[0]), findSidecar(inputs[1])});
  const auto clash = [&](const std::string& name) {
    return read.wouldOverwrite((std::filesystem::path(output) / name).string());
  };
  for (int s = 0; s < n; ++s)
    if (clash(stepName(s, ".vdr")) || clash(stepName(s, ".wav")) || clash(stepName(s, ".TextGrid")) ||
        clash("manifest.tsv"))
      return complain(kExitOptions, kCmd, "the steps in %s would be written over a table it reads",
                      output.c_str());

  if (wav) {
    const SynthesisSetup setup = synthesisSetup(a);
    if (const std::string why = waveTooLarge(setup.sampleCount, setup.sampleRate); !why.empty())
      return complain(kExitInput, kCmd, "%s: %s", inputs[0].c_str(), why.c_str());
  }
  OutputSet out(writeOptions());
  if (const std::string err = out.useFolder(output); !err.empty())
    return complain(kExitInput, kCmd, "%s", err.c_str());
  std::string manifest = "step\tfile";
  for (std::size_t k = 0; k < plan.rows.size(); ++k)
    manifest += '\t' + std::string(builtinParams()[static_cast<std::size_t>(plan.rows[k])].name) + '@' +
                std::to_string(static_cast<long long>(plan.widestFrame[k]) * a.params().intervalMs) + "ms";
  manifest += '\n';
  CVandrelDoc doc = a;
  for (int s = 0; s < n; ++s) {
    const Labels* stepLabels = labelled[0] ? &labels[0] : nullptr;
    AlignedStep warped;
    std::vector<int> frames = plan.widestFrame;
    if (aligned) {
      warped = alignedContinuumStep(ends[0], ends[1], plan, s, n, scale);
      doc.replaceTable(std::move(warped.table));
      doc.changeParams([&](ParameterSet& ps) {
        ps.intervalMs = warped.intervalMs;
        ps.frameCount = doc.table().columns();
        ps.fileLengthMs = static_cast<double>(doc.table().columns()) * warped.intervalMs;
      });
      for (int& f : frames)
        f = std::min(doc.table().columns() - 1,
                     static_cast<int>(warpTime((f + 0.5) * ends[0].intervalMs, ends[0].knots, warped.knots) /
                                      warped.intervalMs));
      stepLabels = &warped.labels;
    } else {
      doc.replaceTable(continuumStep(a.table(), b.table(), plan, s, n, scale));
    }
    const std::string vdr = stepName(s, ".vdr");
    if (const std::string err =
            out.add((std::filesystem::path(output) / vdr).string(), writeVdr(doc, VdrKind::kAllParameters));
        !err.empty())
      return complain(kExitInput, kCmd, "%s", explained(err).c_str());
    if (stepLabels)
      if (const std::string err = out.add((std::filesystem::path(output) / stepName(s, ".TextGrid")).string(),
                                          writeTextGrid(*stepLabels));
          !err.empty())
        return complain(kExitInput, kCmd, "%s", explained(err).c_str());
    manifest += std::to_string(s + 1) + '\t' + vdr;
    for (std::size_t k = 0; k < plan.rows.size(); ++k)
      manifest += '\t' + std::to_string(static_cast<int>(doc.table().value(plan.rows[k], frames[k])));
    manifest += '\n';
    if (!wav) continue;
    KlattState state;
    state.reset(static_cast<std::uint32_t>(seed));
    if (!synthesize(doc, {}, state)) return complain(kExitInput, kCmd, "not enough memory to synthesize");
    if (const std::string err = out.add((std::filesystem::path(output) / stepName(s, ".wav")).string(),
                                        waveImage(doc.synthesized()));
        !err.empty())
      return complain(kExitInput, kCmd, "%s", explained(err).c_str());
  }
  if (const std::string err = out.add((std::filesystem::path(output) / "manifest.tsv").string(), manifest);
      !err.empty())
    return complain(kExitInput, kCmd, "%s", explained(err).c_str());
  if (const std::string err = out.commit(); !err.empty())
    return complain(kExitInput, kCmd, "%s", explained(err).c_str());
  if (!quiet) {
    std::printf("wrote %d steps%s to %s, %sstepping %zu rows:", n, wav ? " with WAVs" : "", output.c_str(),
                aligned ? "aligned by labels, " : "", plan.rows.size());
    for (const int r : plan.rows)
      std::printf(" %s", builtinParams()[static_cast<std::size_t>(r)].name.data());
    std::printf("\n");
  }
  return kExitOk;
}

}  // namespace vandrel::cli
