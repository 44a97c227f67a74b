#include "system/file_replace.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "ini/recovery.h"
#include "system/terminal.h"

namespace wyx::tool {

namespace {

constexpr int kMostLinks = 40; // as many as the system follows
constexpr mode_t kModeBits = 07777;
constexpr mode_t kNewFile = 0666;
constexpr const char *kWorkingName = ".wyx-XXXXXX.ini";
constexpr int kWorkingEnding = 4;

std::string DirectoryOf(const std::string &path)
{
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
}

std::string RealPath(const std::string &path)
{
    char *const resolved = realpath(path.c_str(), nullptr);
    const std::string real = resolved != nullptr ? resolved : "";
    std::free(resolved);
    return real;
}

/// Follows symbolic links to where a file would be made.
std::string FollowLinks(std::string path)
{
    for (int i = 0; i < kMostLinks; ++i) {
        char buffer[PATH_MAX];
        const ssize_t length = readlink(path.c_str(), buffer, sizeof buffer);
        if (length < 0) {
            return path;
        }
        const std::string next(buffer, static_cast<std::size_t>(length));
        path = next.starts_with('/') ? next : DirectoryOf(path) + "/" + next;
    }
    throw SystemFailure("cannot open " + Quoted(path), ELOOP);
}

/// Where a file that does not exist would be made.
std::string NewPath(const std::string &name)
{
    const std::string path = FollowLinks(name);
    const std::string directory = RealPath(DirectoryOf(path));
    if (directory.empty()) {
        throw SystemFailure("cannot make " + Quoted(name), errno);
    }
    const std::size_t slash = path.rfind('/');
    const std::string last = slash == std::string::npos ? path : path.substr(slash + 1);
    if (last.empty()) {
        throw SystemFailure("cannot make " + Quoted(name), EISDIR);
    }
    return (directory == "/" ? "" : directory) + "/" + last;
}

bool IsSame(const struct stat &left, const struct stat &right)
{
    const auto isSameTime = [](const timespec &one, const timespec &other) {
        return one.tv_sec == other.tv_sec && one.tv_nsec == other.tv_nsec;
    };
    return left.st_dev == right.st_dev && left.st_ino == right.st_ino &&
           left.st_size == right.st_size && isSameTime(left.st_mtim, right.st_mtim);
}

void CopyExtendedAttributes(int fd, const std::string &path)
{
    const ssize_t size = listxattr(path.c_str(), nullptr, 0);
    std::vector<char> names(size > 0 ? static_cast<std::size_t>(size) : 0);
    const ssize_t held = listxattr(path.c_str(), names.data(), names.size());
    for (ssize_t at = 0; at < held;) {
        const std::string name(&names[static_cast<std::size_t>(at)]);
        at += static_cast<ssize_t>(name.size()) + 1;
        const ssize_t length = getxattr(path.c_str(), name.c_str(), nullptr, 0);
        std::vector<char> value(length > 0 ? static_cast<std::size_t>(length) : 0);
        const ssize_t got = getxattr(path.c_str(), name.c_str(), value.data(), value.size());
        if (got >= 0) {
            // As far as it goes: some belong to the system, and others not every file system has.
            static_cast<void>(
                fsetxattr(fd, name.c_str(), value.data(), static_cast<std::size_t>(got), 0));
        }
    }
}

/// Gives a file another name; in place of another file only where that is expected.
bool Rename(const std::string &from, const std::string &to, bool mayReplace)
{
    if (!mayReplace) {
        if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) {
            return true;
        }
        if (errno != EINVAL && errno != ENOSYS) {
            return false;
        }
    }
    return rename(from.c_str(), to.c_str()) == 0;
}

} // namespace

Target::Target(const std::string &name, bool mayBeMissing, const std::string &missingHint)
{
    if (name.empty()) {
        throw Failure(ExitCode::kUsage, "the file's name is empty");
    }
    if (stat(name.c_str(), &status_) != 0) {
        const int error = errno;
        if (error == ENOENT && mayBeMissing) {
            path_ = NewPath(name);
            return;
        }
        const Failure failure = SystemFailure("cannot open " + Quoted(name), error);
        if (error != ENOENT) {
            throw failure;
        }
        const std::string recovery = RecoveryHint(name);
        throw Failure(failure.Code(), failure.what(), recovery.empty() ? missingHint : recovery);
    }
    if (S_ISDIR(status_.st_mode)) {
        throw SystemFailure("cannot change " + Quoted(name), EISDIR);
    }
    if (!S_ISREG(status_.st_mode)) {
        throw Failure(ExitCode::kIo, "cannot change " + Quoted(name) + ": not a regular file");
    }
    if (faccessat(AT_FDCWD, name.c_str(), W_OK, AT_EACCESS) != 0) {
        throw SystemFailure("cannot change " + Quoted(name), errno);
    }
    exists_ = true;
    path_ = RealPath(name);
    // The lock is that of the file which has the name once the lock is held: another instance may
    // just have replaced it.
    for (;;) {
        lock_ = Descriptor(open(path_.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
        if (!lock_.IsOpen()) {
            throw SystemFailure("cannot open " + Quoted(name), errno);
        }
        const bool isLocked = flock(lock_.Get(), LOCK_EX) == 0 || errno != EINTR;
        struct stat held = {};
        if (isLocked && fstat(lock_.Get(), &held) == 0 && stat(path_.c_str(), &status_) == 0 &&
            held.st_ino == status_.st_ino && held.st_dev == status_.st_dev) {
            return;
        }
    }
}

bool Target::HasChanged() const
{
    struct stat now = {};
    const bool exists = lstat(path_.c_str(), &now) == 0;
    return exists != exists_ || (exists && !IsSame(now, status_));
}

WorkingCopy::WorkingCopy(const Target &target)
    : target_(target),
      path_((DirectoryOf(target.Path()) == "/" ? "" : DirectoryOf(target.Path())) + "/" +
            kWorkingName),
      umask_(umask(077))
{
    // A signal would leave the working copy behind; the work on it is short.
    sigset_t signals = {};
    sigemptyset(&signals);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
        sigaddset(&signals, signal);
    }
    sigprocmask(SIG_BLOCK, &signals, &signals_);
    const Descriptor file(mkostemps(path_.data(), kWorkingEnding, O_CLOEXEC));
    if (!file.IsOpen()) {
        const int error = errno;
        umask(umask_);
        sigprocmask(SIG_SETMASK, &signals_, nullptr);
        throw Failure(
            ExitCode::kIo,
            SystemFailure("cannot write to the directory " + Quoted(DirectoryOf(target.Path())),
                          error)
                .what(),
            "a change replaces the file, so its directory must take a new one");
    }
}

WorkingCopy::~WorkingCopy()
{
    if (!isInstalled_) {
        unlink(path_.c_str());
        try {
            for (const Leftover &leftover : FindLeftovers(path_)) {
                unlink(leftover.path.c_str());
            }
        } catch (const Failure &) {
            // The directory went away, and they with it.
        }
    }
    umask(umask_);
    sigprocmask(SIG_SETMASK, &signals_, nullptr);
}

void WorkingCopy::Write(const std::string &bytes)
{
    const Descriptor file(open(path_.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC | O_NOFOLLOW));
    if (!file.IsOpen() || !WriteWhole(file.Get(), bytes)) {
        throw SystemFailure("cannot write to the directory " + Quoted(DirectoryOf(path_)), errno);
    }
}

void WorkingCopy::Install()
{
    const Descriptor file(open(path_.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
    if (!file.IsOpen()) {
        throw SystemFailure("cannot open " + Quoted(path_), errno);
    }
    if (target_.Exists()) {
        AdoptAttributes(file.Get(), target_.Path(), target_.Status());
    } else if (fchmod(file.Get(), kNewFile & ~umask_) != 0) {
        throw SystemFailure("cannot set the mode of " + Quoted(target_.Path()), errno);
    }
    if (fsync(file.Get()) != 0) {
        throw SystemFailure("cannot write " + Quoted(target_.Path()), errno);
    }
    if (target_.HasChanged()) {
        throw Failure(ExitCode::kIo,
                      Quoted(target_.Path()) +
                          " was changed by somebody else; "
                          "nothing was written",
                      "try again");
    }
    if (!Rename(path_, target_.Path(), target_.Exists())) {
        throw SystemFailure("cannot replace " + Quoted(target_.Path()), errno);
    }
    isInstalled_ = true;
    FlushDirectoryOf(path_);
}

void AdoptAttributes(int fd, const std::string &path, const struct stat &status)
{
    struct stat own = {};
    if (fstat(fd, &own) != 0) {
        throw SystemFailure("cannot look at the new content of " + Quoted(path), errno);
    }
    const bool isOwners = own.st_uid == status.st_uid && own.st_gid == status.st_gid;
    if (!isOwners && fchown(fd, status.st_uid, status.st_gid) != 0) {
        throw SystemFailure("cannot keep the owner of " + Quoted(path), errno);
    }
    CopyExtendedAttributes(fd, path);
    // Last: a change of the owner clears bits, and an access list sets some.
    if (fchmod(fd, status.st_mode & kModeBits) != 0) {
        throw SystemFailure("cannot keep the mode of " + Quoted(path), errno);
    }
}

void FlushDirectoryOf(const std::string &path)
{
    const Descriptor directory(open(DirectoryOf(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    // What cannot be flushed will be, by and by: the change has been made, and is whole either way.
    if (directory.IsOpen()) {
        static_cast<void>(fsync(directory.Get()));
    }
}

} // namespace wyx::tool
