// vandrel-cli: the editor's core without a window, for scripts and batches.

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <new>
#include <stdexcept>
#include <string>

#include "CliSupport.h"
#include "Commands.h"
#include "util/Temporaries.h"

namespace {

struct Command {
  const char* name;
  int (*run)(const vandrel::cli::Args&);
  const char* const* help;
  const char* summary;
};

const Command kCommands[] = {
    {"synth", vandrel::cli::synthCommand, &vandrel::cli::kSynthHelp,
     "synthesize parameter tables to WAV files, with a level report"},
    {"copy", vandrel::cli::copyCommand, &vandrel::cli::kCopyHelp,
     "copy synthesis: a table with anchors that imitates a recording"},
    {"continuum", vandrel::cli::continuumCommand, &vandrel::cli::kContinuumHelp,
     "step every differing parameter from one table to another"},
    {"grid", vandrel::cli::gridCommand, &vandrel::cli::kGridHelp,
     "every combination of steps of a few rows of one table (F1 x F2 grids)"},
    {"export", vandrel::cli::exportCommand, &vandrel::cli::kExportHelp,
     "write a table as a Praat KlattGrid, a klsyn .klp file or a long TSV table"},
    {"import", vandrel::cli::importCommand, &vandrel::cli::kImportHelp,
     "read a klsyn .klp file or a Praat KlattGrid into a parameter table"},
    {"info", vandrel::cli::infoCommand, &vandrel::cli::kInfoHelp,
     "print what a parameter file or an audio file holds"},
    {"analyse", vandrel::cli::analyseCommand, &vandrel::cli::kAnalyseHelp,
     "print the pitch and formant tracks of a recording as TSV"},
};

void usage(std::FILE* to) {
  std::fprintf(to, "usage: vandrel-cli <command> [options]\n       vandrel-cli --version\n\ncommands:\n");
  for (const auto& c : kCommands) std::fprintf(to, "  %-10s %s\n", c.name, c.summary);
  std::fprintf(to,
               "\n'vandrel-cli <command> --help' explains a command's options. Every command works on\n"
               "its files alone, so a scheduler (GNU parallel, a Slurm job array) can spread a corpus.\n"
               "Exit codes: 0 success, 1 unreadable input, unwritable output or too little memory,\n"
               "2 bad options, 3 clipping (synth --fail-on-clip).\n"
               "\nFiles are replaced whole or not at all; a command that writes several writes all of\n"
               "them or none, and Ctrl+C leaves no partial files. A read-only file is replaced only\n"
               "with --force (any command).\n");
}

int run(int argc, char** argv) {
  if (argc < 2) {
    usage(stderr);
    return 2;
  }
  const std::string name = argv[1];
  if (name == "--help" || name == "-h" || name == "help") {
    usage(stdout);
    return 0;
  }
  if (name == "--version") {
    std::printf("vandrel-cli %s\n", VANDREL_VERSION);
    return 0;
  }
  for (const auto& c : kCommands) {
    if (name != c.name) continue;
    vandrel::cli::Args args;
    for (int i = 2; i < argc; ++i) {
      if (std::strcmp(argv[i], "--force") == 0)
        vandrel::cli::writeOptions().replaceReadOnly = true;
      else
        args.emplace_back(argv[i]);
    }
    vandrel::removeTemporariesOnSignals();
    for (const auto& a : args)
      if (a == "--help" || a == "-h") {
        std::fputs(*c.help, stdout);
        return 0;
      }
    const int code = c.run(args);
    // What was printed is part of the result: a report cut short by a full
    // disk is no success.
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
      std::fprintf(stderr, "vandrel-cli %s: writing the standard output failed: %s\n", c.name,
                   std::strerror(errno));
      return code == 0 ? 1 : code;
    }
    return code;
  }
  std::fprintf(stderr, "vandrel-cli: unknown command '%s'\n", name.c_str());
  usage(stderr);
  return 2;
}

}  // namespace

int main(int argc, char** argv) {
  // The writers replace their files whole or not at all, so a command cut
  // short here has left nothing half-written.
  const auto tooLittleMemory = [&] {
    std::fprintf(stderr, "vandrel-cli %s: not enough memory for this work\n", argc > 1 ? argv[1] : "");
    return 1;
  };
  try {
    return run(argc, argv);
  } catch (const std::bad_alloc&) {
    return tooLittleMemory();
  } catch (const std::length_error&) {  // a size no memory holds
    return tooLittleMemory();
  }
}
