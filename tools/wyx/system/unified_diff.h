// What changed between two texts, as "diff -u" writes it.
#ifndef WYX_TOOL_UNIFIED_DIFF_H
#define WYX_TOOL_UNIFIED_DIFF_H

#include <string>
#include <string_view>

namespace wyx::tool {

/// @param name  of the file, for both header lines
/// @return the difference; empty if the texts are the same
std::string UnifiedDiff(const std::string &name, std::string_view before, std::string_view after);

} // namespace wyx::tool

#endif
