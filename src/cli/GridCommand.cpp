#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "CliSupport.h"
#include "Commands.h"
#include "audio/Wave.h"
#include "batch/Grid.h"
#include "document/VandrelDoc.h"
#include "document/VdrFile.h"
#include "engine/Synthesizer.h"

namespace vandrel::cli {

const char* const kGridHelp =
    "usage: vandrel-cli grid BASE.vdr --vary ROW:FROM:TO:N [--vary ROW:FROM:TO:N ...] -o DIR\n"
    "                        [--scale linear|bark] [--at MS] [--wav] [--seed N] [--quiet]\n"
    "\n"
    "Writes a parameter file for every combination of the steps of the varied\n"
    "rows (an F1 x F2 vowel grid, say). A step moves its whole row by one\n"
    "amount, so that the row's value at the reference frame becomes the\n"
    "step's value: a steady vowel takes the value in every frame, a diphthong\n"
    "keeps its shape. Everything else is the base table's.\n"
    "\n"
    "  --vary ROW:FROM:TO:N  N values (1..1000) of the row from FROM to TO,\n"
    "                   ends included, rounded to whole numbers; repeat for\n"
    "                   each dimension (the first changes slowest)\n"
    "  -o, --output DIR the folder (made when missing); files grid_01_01.vdr\n"
    "                   ... named by each row's step, and manifest.tsv\n"
    "  --scale S        linear (default), or bark: formant frequencies f1..f8\n"
    "                   step evenly in bark (Traunmueller) instead of in Hz\n"
    "  --at MS          the reference time (default: the middle frame)\n"
    "  --wav            also synthesize each table to grid_01_01.wav ..., every\n"
    "                   one with the same noise (the same seed)\n"
    "  --seed N         the noise generator's start for --wav (default 1)\n"
    "  --quiet          print nothing on success\n"
    "\n"
    "manifest.tsv has a line per table: file, each row's step number, and\n"
    "each row's value at the reference (the column says the row and the time,\n"
    "e.g. f2@150ms).\n"
    "\n"
    "An unknown row, or a step that would take any frame of its row beyond\n"
    "the row's limits, is refused before anything is written. Exit codes:\n"
    "0 success, 1 a table that cannot be read or a folder that cannot be\n"
    "written (nothing is left behind), 2 bad options or an impossible grid.\n";

int gridCommand(const Args& args) {
  constexpr const char* kCmd = "grid";
  std::vector<std::string> inputs;
  std::vector<GridAxis> axes;
  std::string output;
  long seed = 1, atMs = -1;
  bool wav = false, quiet = false;
  ContinuumScale scale = ContinuumScale::kLinear;
  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::string& a = args[i];
    if (a == "--wav") {
      wav = true;
    } else if (a == "--quiet") {
      quiet = true;
    } else if (a == "-o" || a == "--output" || a == "--vary" || a == "--scale" || a == "--at" ||
               a == "--seed") {
      if (i + 1 >= args.size()) return complain(kExitOptions, kCmd, "%s needs a value", a.c_str());
      const std::string& v = args[++i];
      if (a == "--vary") {
        GridAxis axis;
        if (const std::string err = parseGridAxis(v, axis); !err.empty())
          return complain(kExitOptions, kCmd, "--vary %s", err.c_str());
        axes.push_back(axis);
      } else if (a == "--seed" && !parseInt(v, 0, 0xFFFFFFFFL, seed)) {
        return complain(kExitOptions, kCmd, "--seed wants a whole number 0..4294967295, not '%s'", v.c_str());
      } else if (a == "--at" && !parseInt(v, 0, 1000L * 1000 * 1000, atMs)) {
        return complain(kExitOptions, kCmd, "--at wants a time in whole milliseconds, not '%s'", v.c_str());
      } else if (a == "--scale") {
        if (v != "linear" && v != "bark")
          return complain(kExitOptions, kCmd, "--scale wants linear or bark, not '%s'", v.c_str());
        scale = v == "bark" ? ContinuumScale::kBark : ContinuumScale::kLinear;
      } else if (a == "-o" || a == "--output") {
        output = v;
      }
    } else if (!a.empty() && a[0] != '-') {
      inputs.push_back(a);
    } else {
      return complain(kExitOptions, kCmd, "unknown option '%s' (try --help)", a.c_str());
    }
  }
  if (inputs.size() != 1) return complain(kExitOptions, kCmd, "name one base table: BASE.vdr (try --help)");
  if (axes.empty()) return complain(kExitOptions, kCmd, "say what to vary with --vary ROW:FROM:TO:N");
  if (output.empty()) return complain(kExitOptions, kCmd, "name the output folder with -o DIR");

  CVandrelDoc doc;
  if (const int code = readTable(kCmd, inputs[0], doc); code != kExitOk) return code;
  const FrameTable base = doc.table();
  const int interval = doc.params().intervalMs;
  const int reference = atMs < 0 ? base.columns() / 2 : static_cast<int>(atMs / std::max(interval, 1));
  if (atMs >= 0 && reference >= base.columns())
    return complain(kExitOptions, kCmd, "--at %ld ms lies beyond the table's %d frames of %d ms", atMs,
                    base.columns(), interval);
  GridPlan plan;
  if (const std::string err = planGrid(base, doc.params(), axes, scale, reference, plan); !err.empty())
    return complain(kExitOptions, kCmd, "%s", err.c_str());

  // Every point has the base table's length and rate: one check covers them all.
  if (wav) {
    const SynthesisSetup setup = synthesisSetup(doc);
    if (const std::string why = waveTooLarge(setup.sampleCount, setup.sampleRate); !why.empty())
      return complain(kExitInput, kCmd, "%s: %s", inputs[0].c_str(), why.c_str());
  }

  namespace fs = std::filesystem;
  const InputFiles read(inputs);
  const std::size_t count = plan.pointCount();
  const auto target = [&](const std::string& name) { return (fs::path(output) / name).string(); };
  if (read.wouldOverwrite(target("manifest.tsv")))
    return complain(kExitOptions, kCmd, "the grid in %s would be written over a table it reads",
                    output.c_str());
  for (std::size_t n = 0; n < count; ++n) {
    const std::string stem = plan.pointName(plan.indices(n));
    if (read.wouldOverwrite(target(stem + ".vdr")) || read.wouldOverwrite(target(stem + ".wav")))
      return complain(kExitOptions, kCmd, "the grid in %s would be written over a table it reads",
                      output.c_str());
  }

  OutputSet out(writeOptions());
  if (const std::string err = out.useFolder(output); !err.empty())
    return complain(kExitInput, kCmd, "%s", explained(err).c_str());
  std::string manifest = gridManifestHeader(plan, interval);
  for (std::size_t n = 0; n < count; ++n) {
    const std::vector<int> at = plan.indices(n);
    const std::string stem = plan.pointName(at);
    doc.replaceTable(gridPoint(base, plan, at));
    if (const std::string err = out.add(target(stem + ".vdr"), writeVdr(doc, VdrKind::kAllParameters));
        !err.empty())
      return complain(kExitInput, kCmd, "%s", explained(err).c_str());
    manifest += gridManifestLine(plan, at, stem + ".vdr");
    if (!wav) continue;
    KlattState state;
    state.reset(static_cast<std::uint32_t>(seed));
    if (!synthesize(doc, {}, state)) return complain(kExitInput, kCmd, "not enough memory to synthesize");
    if (const std::string err = out.add(target(stem + ".wav"), waveImage(doc.synthesized())); !err.empty())
      return complain(kExitInput, kCmd, "%s", explained(err).c_str());
  }
  if (const std::string err = out.add(target("manifest.tsv"), manifest); !err.empty())
    return complain(kExitInput, kCmd, "%s", explained(err).c_str());
  if (const std::string err = out.commit(); !err.empty())
    return complain(kExitInput, kCmd, "%s", explained(err).c_str());
  if (!quiet) {
    std::printf("wrote %zu tables%s to %s:", count, wav ? " with WAVs" : "", output.c_str());
    for (const auto& a : plan.axes)
      std::printf(" %s x%d", builtinParams()[static_cast<std::size_t>(a.row)].name.data(), a.steps);
    std::printf("\n");
  }
  return kExitOk;
}

}  // namespace vandrel::cli
