// The verbs: what each does with its arguments.
#ifndef WYX_TOOL_VERBS_H
#define WYX_TOOL_VERBS_H

#include "system/exit_code.h"

namespace wyx::tool {

class Arguments;

ExitCode RunSum(const Arguments &arguments);
ExitCode RunBase64(const Arguments &arguments);
ExitCode RunAddr(const Arguments &arguments);
ExitCode RunIniGet(const Arguments &arguments);
ExitCode RunIniSet(const Arguments &arguments);
ExitCode RunIniDel(const Arguments &arguments);
ExitCode RunIniMerge(const Arguments &arguments);
ExitCode RunIniSections(const Arguments &arguments);
ExitCode RunIniKeys(const Arguments &arguments);
ExitCode RunIniList(const Arguments &arguments);
ExitCode RunIniCheck(const Arguments &arguments);
ExitCode RunIniRecover(const Arguments &arguments);

} // namespace wyx::tool

#endif
