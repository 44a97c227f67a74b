// Completion of command lines. The shells ask the tool: "wyx __complete WORD...".
#ifndef WYX_TOOL_COMPLETE_H
#define WYX_TOOL_COMPLETE_H

#include "verbs/arguments.h"

namespace wyx::tool {

constexpr std::string_view kCompletionWord = "__complete";

/// Writes what the last of the words could become, the others being before it: a line
/// "WORD<tab>DESCRIPTION" each, and the line "files" where a file's name is due.
void PutCompletions(Words words);

} // namespace wyx::tool

#endif
