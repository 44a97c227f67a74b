// What a save of the library would make of lines.
#ifndef WYX_TOOL_INI_REHEARSAL_H
#define WYX_TOOL_INI_REHEARSAL_H

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace wyx::tool {

/// A line of so many bytes, line end included, is folded.
constexpr std::size_t kFolded = 80;

/// A stored line as it is written to a file.
struct SavedLine {
    std::string bytes;
    std::vector<std::size_t> folds; // the places in the text at which the line is folded
};

struct Rehearsal {
    std::vector<SavedLine> saved;      // one for each line
    std::vector<std::string> reloaded; // the lines that a load makes of it
};

/// Lays lines out as a save does, and lets the library load the result.
Rehearsal Rehearse(const std::vector<std::string> &lines);

/// The first line that does not come back, up to its line end, or nothing if all of them do.
std::optional<std::size_t> FirstChanged(const std::vector<std::string> &lines,
                                        const std::vector<std::string> &reloaded);

/// Why a line does not come back, as far as the line itself tells.
std::string WhyChanged(const std::string &line, const SavedLine &saved);

} // namespace wyx::tool

#endif
