// Arguments as they were typed.
//
// The argument parser takes a word in square brackets for a list of values, so that a file "[a,b]"
// or an address "[::1]" would arrive in pieces. Such words are marked before it sees them, and the
// mark is taken off where it stores them. Words behind "--" are marked, too: it would hand them to
// another verb.
#ifndef WYX_TOOL_OPERAND_H
#define WYX_TOOL_OPERAND_H

#include <string>
#include <vector>

namespace wyx::tool {

/// A word of the command line.
struct Operand {
    std::string text;
};

constexpr char kMark = '\x1F';

/// The words as the argument parser shall see them: marked if it would take them apart, or if they
/// stand behind a "--", so that none of them is an option.
inline std::vector<std::string> Guarded(const std::vector<std::string> &words)
{
    std::vector<std::string> guarded;
    bool isPlain = false;
    for (const std::string &word : words) {
        if (!isPlain && word == "--") {
            isPlain = true;
            continue;
        }
        const bool isList = !word.empty() && word.front() == '[' && word.back() == ']';
        const bool isMarked = !word.empty() && word.front() == kMark;
        guarded.push_back((isPlain || isList || isMarked ? std::string(1, kMark) : "") + word);
    }
    return guarded;
}

/// Found by the argument parser for values of this type.
inline bool lexical_cast(const std::string &word, Operand &operand)
{
    operand.text = !word.empty() && word.front() == kMark ? word.substr(1) : word;
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
