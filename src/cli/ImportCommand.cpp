#include <cstdio>
#include <string>

#include "CliSupport.h"
#include "Commands.h"
#include "batch/TableImport.h"
#include "document/VandrelDoc.h"
#include "document/VdrFile.h"
#include "labels/TextGrid.h"
#include "util/AtomicFile.h"

namespace vandrel::cli {

const char* const kImportHelp =
    "usage: vandrel-cli import FILE -o OUT.vdr [--interval MS] [--quiet]\n"
    "\n"
    "Reads another synthesizer's table into a parameter file (all parameters;\n"
    "rows the file does not give keep their defaults).\n"
    "\n"
    "  klsyn .klp      constant lines 'name value' and the varied table after\n"
    "                  _varied_params_ (or __varied_params__); f0 in Hz, du the\n"
    "                  duration and ui the update interval (the frame interval\n"
    "                  here) in ms; F1..f6, b1..b6, a1..a6 and p1..p6 (parallel\n"
    "                  amplitudes and bandwidths), fz bz fp bp an ab ap at sk g0\n"
    "                  go to f1..f6, b1..b6, a1f..a6f, b1f..b6f, fnz bnz fnp bnp\n"
    "                  anv ab apv atu skew gain; sr above 16000 shows f6 (22050\n"
    "                  Hz). Columns such as _msec_ are skipped; each line's '#'\n"
    "                  comment or notes column becomes a point of the 'notes'\n"
    "                  tier in OUT.TextGrid.\n"
    "  Praat KlattGrid a text file (Save as text file... in Praat), read back as\n"
    "                  'export --to klattgrid' writes it: each frame takes the\n"
    "                  tiers' values at its middle.\n"
    "\n"
    "Parameters or tiers with nothing to go to here are named in one warning\n"
    "line; a varied column that is no klsyn parameter is refused.\n"
    "\n"
    "  -o, --output F   the parameter file to write, replaced atomically\n"
    "  --interval MS    KlattGrid: the frame interval, 1..100 ms (10)\n"
    "  --quiet          print nothing on success but the warning\n"
    "\n"
    "Exit codes: 0 success, 1 a file that cannot be read or used, or an output\n"
    "that cannot be written (nothing is left behind), 2 bad options.\n";

int importCommand(const Args& args) {
  constexpr const char* kCmd = "import";
  std::string input, output;
  long interval = 10;
  bool quiet = false;
  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::string& a = args[i];
    if (a == "--quiet") {
      quiet = true;
    } else if (a == "-o" || a == "--output" || a == "--interval") {
      if (i + 1 >= args.size()) return complain(kExitOptions, kCmd, "%s needs a value", a.c_str());
      const std::string& v = args[++i];
      if (a == "--interval" && !parseInt(v, 1, 100, interval))
        return complain(kExitOptions, kCmd, "--interval wants a whole number of ms from 1 to 100, not '%s'",
                        v.c_str());
      if (a != "--interval") output = v;
    } else if (!a.empty() && a[0] != '-' && input.empty()) {
      input = a;
    } else {
      return complain(kExitOptions, kCmd, "unknown option or extra file '%s' (try --help)", a.c_str());
    }
  }
  if (input.empty()) return complain(kExitOptions, kCmd, "name the file to import (try --help)");
  if (output.empty()) return complain(kExitOptions, kCmd, "name the table to write with -o OUT.vdr");
  if (InputFiles({input}).wouldOverwrite(output) || InputFiles({input}).wouldOverwrite(sidecarPath(output)))
    return complain(kExitOptions, kCmd, "%s would be written over the file it reads", output.c_str());

  std::string bytes;
  if (!readWholeFile(input, bytes)) return complain(kExitInput, kCmd, "%s cannot be read", input.c_str());
  // Praat's files say what they are on their first line (in UTF-16 with a
  // zero byte in every other place); anything else is taken for klsyn's.
  std::string head;
  for (const char c : bytes.substr(0, 400))
    if (c != '\0') head += c;
  const bool praat = head.find("ooTextFile") != std::string::npos;
  CVandrelDoc doc;
  const ImportResult r =
      praat ? importKlattGrid(bytes, input, static_cast<int>(interval), doc) : importKlp(bytes, input, doc);
  if (!r.ok()) return complain(kExitInput, kCmd, "%s", r.message.c_str());
  if (!r.warning.empty()) complain(kExitOk, kCmd, "warning: %s", r.warning.c_str());
  OutputSet out(writeOptions());
  if (const std::string err = out.add(output, writeVdr(doc, VdrKind::kAllParameters)); !err.empty())
    return complain(kExitInput, kCmd, "%s", explained(err).c_str());
  if (!r.labels.empty())
    if (const std::string err = out.add(sidecarPath(output), writeTextGrid(r.labels)); !err.empty())
      return complain(kExitInput, kCmd, "%s", explained(err).c_str());
  if (const std::string err = out.commit(); !err.empty())
    return complain(kExitInput, kCmd, "%s", explained(err).c_str());
  if (!quiet)
    std::printf("wrote %s: %d frames of %d ms from a %s%s\n", output.c_str(), doc.table().columns(),
                doc.params().intervalMs, praat ? "Praat KlattGrid" : "klsyn .klp file",
                r.labels.empty() ? "" : ", its notes in a TextGrid beside it");
  return kExitOk;
}

}  // namespace vandrel::cli
