// The text of --help, made from the grammar.
#ifndef WYX_TOOL_HELP_H
#define WYX_TOOL_HELP_H

#include <string>

#include "verbs/commands.h"

namespace wyx::tool {

std::string HelpText(const Command &command);

} // namespace wyx::tool

#endif
