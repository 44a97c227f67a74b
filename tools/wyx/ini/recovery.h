// Files that interrupted saves left behind.
//
// A save writes the new content to a new file, removes the target, and gives the new file the
// target's name. Until then the new file's name is the target's path up to its last dot, a time in
// milliseconds, and ".ibk". A crash leaves it there. If the target existed and is gone now, and
// nothing else removed it, the new file is complete: a save removes the target only after it has
// written the new file.
#ifndef WYX_TOOL_RECOVERY_H
#define WYX_TOOL_RECOVERY_H

#include <string>
#include <vector>

namespace wyx::tool {

/// A file that a save left.
struct Leftover {
    std::string path;
    std::string digits; // the time in its name
};

/// All files that saves of a target may have left, the newest first.
/// @throws Failure if the directory cannot be read
std::vector<Leftover> FindLeftovers(const std::string &target);

/// For a target that is missing: a hint if such files are beside it, or an empty string.
std::string RecoveryHint(const std::string &target);

} // namespace wyx::tool

#endif
