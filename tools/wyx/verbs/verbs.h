// The verbs: each function adds one to the command line, with its options, its help and what it
// does.
#ifndef WYX_TOOL_VERBS_H
#define WYX_TOOL_VERBS_H

#include <functional>

#include "system/exit_code.h"

namespace CLI {
class App;
}

namespace wyx::tool {

/// What the command line asked for. It runs once the whole command line has been accepted.
using Action = std::function<ExitCode()>;

void AddSum(CLI::App &app, Action &chosen);
void AddBase64(CLI::App &app, Action &chosen);
void AddAddr(CLI::App &app, Action &chosen);

/// The family "wyx ini"; the functions below add its verbs.
void AddIni(CLI::App &app, Action &chosen);
void AddIniCheck(CLI::App &ini, Action &chosen);
void AddIniSections(CLI::App &ini, Action &chosen);
void AddIniKeys(CLI::App &ini, Action &chosen);
void AddIniGet(CLI::App &ini, Action &chosen);
void AddIniList(CLI::App &ini, Action &chosen);
void AddIniSet(CLI::App &ini, Action &chosen);
void AddIniDel(CLI::App &ini, Action &chosen);
void AddIniRecover(CLI::App &ini, Action &chosen);
void AddIniRoundtrip(CLI::App &ini, Action &chosen);

} // namespace wyx::tool

#endif
