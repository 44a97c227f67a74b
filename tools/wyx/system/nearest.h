// "Did you mean ...?"
#ifndef WYX_TOOL_NEAREST_H
#define WYX_TOOL_NEAREST_H

#include <string>
#include <string_view>
#include <vector>

namespace wyx::tool {

/// The candidate that a word was probably meant to be, or an empty string.
std::string Nearest(std::string_view word, const std::vector<std::string> &candidates);

} // namespace wyx::tool

#endif
