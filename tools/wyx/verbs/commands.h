// The command line's grammar. commands.cpp is its only description: parser, help, completion and
// the manual page are all made from it.
#ifndef WYX_TOOL_COMMANDS_H
#define WYX_TOOL_COMMANDS_H

#include <span>
#include <string_view>

#include "system/exit_code.h"

namespace wyx::tool {

class Arguments;

struct Option {
    char letter;            // the short name; NUL for none
    std::string_view name;  // the long name, without its dashes; empty for none
    std::string_view value; // the name of its value in the help; empty for a flag
    std::string_view text;
};

/// A verb, a family of verbs, or the tool itself.
struct Command {
    static constexpr std::size_t kMostOptions = 16;

    std::string_view name;    // "ini get"; empty for the tool itself
    std::string_view summary; // its line in the list of verbs
    /// Its operands, separated by spaces: "FILE", "[FILE]" if it may be left out, "FILE..." if it
    /// may be repeated. The names decide how an operand is completed.
    std::string_view operands;
    std::string_view text; // paragraphs
    std::string_view examples;
    Option options[kMostOptions];       // up to the first one without a text
    ExitCode (*run)(const Arguments &); // null for a family

    std::span<const Option> Options() const;
    /// "get" of "ini get".
    std::string_view LastWord() const { return name.substr(name.rfind(' ') + 1); }
    /// Is it a verb of this family?
    bool IsBelow(const Command &family) const;
};

/// All commands; the first one is the tool itself.
std::span<const Command> Commands();

/// "wyx ini get"
std::string FullName(const Command &command);

} // namespace wyx::tool

#endif
