#include <cstdio>
#include <string>
#include <vector>

#include "CliSupport.h"
#include "Commands.h"
#include "batch/TableExport.h"
#include "batch/TableImport.h"
#include "document/VandrelDoc.h"

namespace vandrel::cli {

const char* const kExportHelp =
    "usage: vandrel-cli export IN.vdr --to klattgrid|klp|tsv -o OUT [--all] [--quiet]\n"
    "\n"
    "Writes a parameter table in a form other tools read.\n"
    "\n"
    "  --to klattgrid   a Praat KlattGrid text file (Read from file... in\n"
    "                   Praat): pitch (f0 / 10 Hz), voicing, aspiration and\n"
    "                   frication amplitudes (av, ah, af + 30 dB, 0 stays 0),\n"
    "                   tilt, oral formants f1..f5 (f1..f8 at 22050 Hz) with\n"
    "                   b1.. and a1f.., the nasal pole (fnp, bnp, anv) and\n"
    "                   zero (fnz, bnz), frication formants f2..f6 with\n"
    "                   b2f..b6f and a2f..a6f, and the bypass (ab); the formant\n"
    "                   and bypass amplitudes become gains (60 dB is 0 dB, 0 is\n"
    "                   -120 dB). Each frame is a point at its middle; points\n"
    "                   on the line between their neighbours are left out.\n"
    "  --to klp         a klsyn .klp file: rows with one value as constant\n"
    "                   lines, the others in the varied table (_msec_ and\n"
    "                   klsyn's names, f0 in Hz); du, ui and sr from the table.\n"
    "                   Rows klsyn has no parameter for (oq, f7, f8, b7, b8,\n"
    "                   a7f, a8f, b7f, b8f) are named in a warning when they\n"
    "                   differ from their defaults. 'import' reads it back.\n"
    "  --to tsv         a long table, time_ms, parameter, value: a line per\n"
    "                   frame and shown row (time_ms is the frame's start)\n"
    "  --all            tsv: every one of the 48 rows, not only the shown ones\n"
    "  -o, --output F   the file to write, replaced atomically\n"
    "  --quiet          print nothing on success\n"
    "\n"
    "Exit codes: 0 success, 1 a table that cannot be read or a file that\n"
    "cannot be written (nothing is left behind), 2 bad options.\n";

int exportCommand(const Args& args) {
  constexpr const char* kCmd = "export";
  std::string input, output, to;
  bool all = false, quiet = false;
  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::string& a = args[i];
    if (a == "--all") {
      all = true;
    } else if (a == "--quiet") {
      quiet = true;
    } else if (a == "-o" || a == "--output" || a == "--to") {
      if (i + 1 >= args.size()) return complain(kExitOptions, kCmd, "%s needs a value", a.c_str());
      (a == "--to" ? to : output) = args[++i];
    } else if (!a.empty() && a[0] != '-' && input.empty()) {
      input = a;
    } else {
      return complain(kExitOptions, kCmd, "unknown option or extra file '%s' (try --help)", a.c_str());
    }
  }
  if (input.empty()) return complain(kExitOptions, kCmd, "name the table to export (try --help)");
  if (to != "klattgrid" && to != "klp" && to != "tsv")
    return complain(kExitOptions, kCmd, "--to wants klattgrid, klp or tsv%s%s%s", to.empty() ? "" : ", not '",
                    to.c_str(), to.empty() ? "" : "'");
  if (output.empty()) return complain(kExitOptions, kCmd, "name the file to write with -o OUT");
  if (InputFiles({input}).wouldOverwrite(output))
    return complain(kExitOptions, kCmd, "%s would be written over the table", output.c_str());

  CVandrelDoc doc;
  if (const int code = readTable(kCmd, input, doc); code != kExitOk) return code;
  const ParameterSet& ps = doc.params();
  std::string text;
  if (to == "klattgrid") {
    text = writeKlattGrid(doc.table(), ps.intervalMs, ps.cascadeFormants());
  } else if (to == "klp") {
    std::string leftOut;
    text = writeKlp(doc, stemOf(input), leftOut);
    if (!leftOut.empty())
      complain(kExitOk, kCmd, "warning: klsyn has no parameter for %s; left out", leftOut.c_str());
  } else {
    std::vector<int> rows;
    for (int r = 0; r < kParamCount; ++r)
      if (all || ps.at(r).selected != 0) rows.push_back(r);
    text = writeLongTable(doc.table(), ps.intervalMs, rows);
  }
  if (const std::string err = writeFileAtomically(output, text, writeOptions()); !err.empty())
    return complain(kExitInput, kCmd, "%s", explained(err).c_str());
  if (!quiet)
    std::printf("wrote %s: %d frames of %d ms as %s\n", output.c_str(), doc.table().columns(), ps.intervalMs,
                to == "klattgrid" ? "a KlattGrid"
                : to == "klp"     ? "a klsyn .klp file"
                                  : "a long table");
  return kExitOk;
}

}  // namespace vandrel::cli
