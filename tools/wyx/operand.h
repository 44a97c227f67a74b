// Arguments as they were typed.
//
// The argument parser takes a word in square brackets for a list of values, so that a file "[a,b]"
// or an address "[::1]" would arrive in pieces. Such words are marked before it sees them, and the
// mark is taken off where it stores them.
#ifndef WYX_TOOL_OPERAND_H
#define WYX_TOOL_OPERAND_H

#include <string>
#include <vector>

namespace wyx::tool {

/// A word of the command line.
struct Operand {
    std::string text;
};

constexpr char kBracketMark = '\x1F';

/// Marks a word that the argument parser would take apart.
inline std::string Guarded(std::string word)
{
    const bool isList = !word.empty() && word.front() == '[' && word.back() == ']';
    const bool isMarked = !word.empty() && word.front() == kBracketMark;
    return isList || isMarked ? kBracketMark + word : word;
}

/// Found by the argument parser for values of this type.
inline bool lexical_cast(const std::string &word, Operand &operand)
{
    operand.text = !word.empty() && word.front() == kBracketMark ? word.substr(1) : word;
    return true;
}

inline std::vector<std::string> Texts(const std::vector<Operand> &operands)
{
    std::vector<std::string> texts;
    texts.reserve(operands.size());
    for (const Operand &operand : operands) {
        texts.push_back(operand.text);
    }
    return texts;
}

} // namespace wyx::tool

#endif
