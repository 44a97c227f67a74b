// Changing a file without ever losing it: a working copy beside it that takes its name in the end.
#ifndef WYX_TOOL_FILE_REPLACE_H
#define WYX_TOOL_FILE_REPLACE_H

#include <signal.h>
#include <sys/stat.h>

#include <string>

#include "system/file_input.h"

namespace wyx::tool {

/// The file to change: where its name leads, with symbolic links resolved.
class Target {
  public:
    /// @param mayBeMissing  accept a name that leads nowhere yet
    /// @param missingHint   what to do about a file that is missing
    /// @throws Failure for a missing file, a directory, a device, a file that must not be written
    Target(const std::string &name, bool mayBeMissing, const std::string &missingHint);

    const std::string &Path() const { return path_; }
    bool Exists() const { return exists_; }
    const struct stat &Status() const { return status_; }
    /// Has it been changed, replaced, removed or made by somebody else since it was looked at?
    bool HasChanged() const;

  private:
    std::string path_;
    bool exists_ = false;
    struct stat status_ = {};
    Descriptor lock_; // keeps other instances of this tool waiting
};

/// A file beside a target that only its owner can read, gone with the object unless it was
/// installed.
class WorkingCopy {
  public:
    /// Makes it, empty. Its name ends in a dot and letters and has no other dot behind the last
    /// "/", so that a save of the library stays within the directory.
    /// @throws Failure
    explicit WorkingCopy(const Target &target);
    ~WorkingCopy();
    WorkingCopy(const WorkingCopy &) = delete;
    WorkingCopy &operator=(const WorkingCopy &) = delete;

    const std::string &Path() const { return path_; }
    void Write(const std::string &bytes);
    /// Puts it in the target's place, with the target's owner, mode and extended attributes.
    /// @throws Failure, and then the target is as it was
    void Install();

  private:
    const Target &target_;
    std::string path_;
    bool isInstalled_ = false;
    mode_t umask_;
    sigset_t signals_ = {};
};

/// Gives an open file the owner, mode and extended attributes of another file.
/// @throws Failure if the owner or mode cannot be given
void AdoptAttributes(int fd, const std::string &path, const struct stat &status);

/// Brings the entries of the directory that holds a file to the disk.
void FlushDirectoryOf(const std::string &path);

} // namespace wyx::tool

#endif
