// Completion of command lines. The shells ask the tool: "wyx __complete WORD...".
#ifndef WYX_TOOL_COMPLETE_H
#define WYX_TOOL_COMPLETE_H

#include "verbs/arguments.h"

namespace wyx::tool {

constexpr std::string_view kCompletionWord = "__complete";

/// Writes the completions of the last word, each as a line "WORD<tab>DESCRIPTION". The line "files"
/// asks the shell for names of files.
void PutCompletions(Words words);

} // namespace wyx::tool

#endif
