#pragma once
// Sub-commands of vandrel-cli. Each takes the arguments after its name and
// returns the process exit code; errors go to standard error.

#include <string>
#include <vector>

namespace vandrel::cli {

using Args = std::vector<std::string>;

int synthCommand(const Args& args);
extern const char* const kSynthHelp;

int infoCommand(const Args& args);
extern const char* const kInfoHelp;

int analyseCommand(const Args& args);
extern const char* const kAnalyseHelp;

int copyCommand(const Args& args);
extern const char* const kCopyHelp;

int continuumCommand(const Args& args);
extern const char* const kContinuumHelp;

int exportCommand(const Args& args);
extern const char* const kExportHelp;

int importCommand(const Args& args);
extern const char* const kImportHelp;
int gridCommand(const Args& args);
extern const char* const kGridHelp;

int importCommand(const Args& args);
extern const char* const kImportHelp;

}  // namespace vandrel::cli
