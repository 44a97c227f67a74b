// How programs with another grammar read a file.
//
// A file is written for the program that reads it, and that program may read a line differently
// from the library: a value may continue in the indented lines below it; "key : value" and a bare
// "key" may be keys; a backslash at the end of a line may mean nothing. The file rarely shows which
// dialect it is in. So some edits are refused that would be right for one program, but would
// damage the file for another.
#ifndef WYX_TOOL_INI_OTHER_READERS_H
#define WYX_TOOL_INI_OTHER_READERS_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "ini/document.h"

namespace wyx::tool {

/// For each line, the key line or unreadable line that it may continue because it is indented
/// deeper; none for most lines. A blank line, or a comment that is indented deeper, has the owner
/// of the next line that is neither blank nor a comment.
using Owners = std::vector<std::optional<std::size_t>>;

Owners OwnersOf(const IniText &text);

/// A stored line may consist of several lines, joined by backslashes. May other readers take one of
/// them for a line of its own? Not if it is indented deeper than the line whose value it would
/// continue.
/// @param joined  its number among the lines that the stored line consists of, from 0
bool MayBeOwnLine(const IniText &text, const Owners &owners, std::size_t line, std::size_t joined);

/// Does a line look like a key and its value?
bool LooksLikeKey(std::string_view line);

/// Must an indented line be text, because it is neither a key, nor a header, comment or directive?
bool IsOnlyText(std::string_view line);

bool LooksLikeHeader(std::string_view line);

/// The stored lines of a section's last block, without its header; empty if it has none.
Range BlockOf(const IniText &text, const std::string &section);

/// The line of the file, among some stored lines, in which other readers find a key that the
/// library does not find there.
std::optional<std::size_t> LineOfOthersKey(const IniText &text, Range lines,
                                           const std::string &key);

/// The line of the file in which other readers find a section that the library does not find.
std::optional<std::size_t> LineOfOthersSection(const IniText &text, const std::string &section);

} // namespace wyx::tool

#endif
