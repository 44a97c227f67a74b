// Changing a file. Replace() never loses it: the new content is complete before it takes the old
// one's place, in one step.
#ifndef WYX_TOOL_FILE_REPLACE_H
#define WYX_TOOL_FILE_REPLACE_H

#include <sys/stat.h>

#include <chrono>
#include <functional>
#include <string>

#include "system/file_input.h"

namespace wyx::tool {

constexpr std::chrono::milliseconds kUsualWait = std::chrono::seconds(10);

struct TargetOptions {
    std::size_t limit = 0;                       ///< the size of the largest file that is accepted
    bool mayBeMissing = false;                   ///< the file need not exist
    std::function<std::string()> missingHint{};  ///< makes the hint for a missing file
    std::chrono::milliseconds wait = kUsualWait; ///< how long to wait for the file's lock
    const char *lockedHint = "";                 ///< the hint if the file stays locked
};

/// The file to change: the one that its name leads to, through symbolic links. It is locked (flock)
/// against other instances of this tool, and files that killed instances left beside it are
/// removed.
class Target {
  public:
    /// @throws Failure for a missing file, a directory, a device, a file that this user may not
    ///         write, and a file that somebody else keeps locked
    Target(const std::string &name, const TargetOptions &options);

    const std::string &Path() const { return path_; }
    bool Exists() const { return file_.IsOpen(); }
    const struct stat &Status() const { return status_; }
    /// The content, empty for a file that does not exist.
    const std::string &Bytes() const { return bytes_; }
    /// The open and locked file.
    const Descriptor &File() const { return file_; }
    /// Has somebody else changed, replaced, removed or made the file since it was read?
    bool HasChanged() const;

  private:
    std::string path_;
    Descriptor file_;
    struct stat status_ = {};
    std::string bytes_;
};

/// Puts a new file in the target's place, with the target's mode, owner and, where they can be
/// copied, extended attributes. Killed at any moment, it leaves the old content or the new one, and
/// beside it at most a file that is named like a hidden backup: ".NAME.wyx-XXXXXX~".
/// @param model  for a target that does not exist: the file whose attributes the new one gets;
///               null for the usual attributes of a new file
/// @throws Failure; the target is then as it was
void Replace(const Target &target, const std::string &bytes, const Descriptor *model = nullptr);

/// Writes into the target itself. It keeps its owner and its hard links, but whoever reads it
/// meanwhile, or after a crash, may find half of the change.
/// @throws Failure; if a write failed, the old content has been written back if that was possible
void WriteInPlace(const Target &target, const std::string &bytes);

/// Keeps the target's content under a second name, which must be free.
/// @return false, with errno set, if that fails
/// @throws Failure if a copy was needed and could not get the target's attributes
bool KeepAs(const Target &target, const std::string &path);

} // namespace wyx::tool

#endif
