// The new content goes to a file without a name (O_TMPFILE), which disappears with the process.
// Once it is complete, it gets the target's name; if there is a target to replace, it first gets a
// temporary name beside it. On a file system that needs a name for every file, it has the temporary
// name from the start. An instance that finds such a file and can lock it removes it: the process
// that made the file is gone.
#include "system/file_replace.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/random.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <filesystem>
#include <thread>
#include <vector>

#include "system/signal_block.h"
#include "system/terminal.h"

namespace wyx::tool {

namespace {

namespace fs = std::filesystem;

constexpr int kMostLinks = 40; // as many as the system follows
constexpr int kMostNames = 100;
constexpr mode_t kModeBits = 07777;
constexpr mode_t kNewFile = 0666;
constexpr mode_t kNobodyElse = 0600;
constexpr std::string_view kMark = ".wyx-";
constexpr std::size_t kRandomLetters = 6;
constexpr std::string_view kEnding = "~";
constexpr auto kAnnounce = std::chrono::milliseconds(500);
constexpr auto kRetry = std::chrono::milliseconds(10);
constexpr const char *kInPlaceHint = "--in-place writes into the file itself";

/// Follows symbolic links to where a file would be created.
fs::path FollowLinks(fs::path path)
{
    for (int i = 0; i < kMostLinks; ++i) {
        std::error_code error;
        const fs::path next = fs::read_symlink(path, error);
        if (error) {
            break;
        }
        path = path.parent_path() / next;
    }
    return path;
}

/// Where a file that does not exist would be created.
std::string NewPath(const std::string &name)
{
    const fs::path path = FollowLinks(name);
    std::error_code error;
    const fs::path directory =
        fs::canonical(path.has_parent_path() ? path.parent_path() : ".", error);
    if (error) {
        throw SystemFailure("cannot make " + Quoted(name), error.value());
    }
    return directory / path.filename();
}

/// How the names of new files for a target begin. A file name has at most 255 bytes.
std::string BeginningOfNewNames(const fs::path &path)
{
    constexpr std::size_t kRest = 1 + kMark.size() + kRandomLetters + kEnding.size();
    return "." + path.filename().native().substr(0, NAME_MAX - kRest) + std::string(kMark);
}

std::string NewName(const fs::path &path)
{
    constexpr std::string_view kLetters = "abcdefghijklmnopqrstuvwxyz012345";
    unsigned char random[kRandomLetters] = {};
    if (getrandom(random, sizeof random, 0) == -1) {
        throw SystemFailure("cannot make up a name for a file", errno);
    }
    std::string name = path.parent_path() / BeginningOfNewNames(path);
    for (const unsigned char byte : random) {
        name += kLetters[byte % kLetters.size()];
    }
    return name + std::string(kEnding);
}

bool TryLock(int fd)
{
    return flock(fd, LOCK_EX | LOCK_NB) == 0;
}

/// Removes what killed instances left for a target.
void RemoveLeftovers(const fs::path &path)
{
    const std::string beginning = BeginningOfNewNames(path);
    std::error_code error; // ignored: leftovers in a directory that cannot be read stay there
    for (fs::directory_iterator entry(path.parent_path(), error), end; !error && entry != end;
         entry.increment(error)) {
        const std::string name = entry->path().filename();
        if (name.size() != beginning.size() + kRandomLetters + kEnding.size() ||
            !name.starts_with(beginning) || !name.ends_with(kEnding)) {
            continue;
        }
        const char *const leftover = entry->path().c_str();
        const Descriptor file(
            open(leftover, O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY));
        struct stat status = {};
        if (file.IsOpen() && fstat(file.Get(), &status) == 0 && S_ISREG(status.st_mode) &&
            TryLock(file.Get())) {
            unlink(leftover);
        }
    }
}

/// Locks a file against other instances. If the file system has no locks, goes on without one.
void Lock(int fd, const std::string &name, const TargetOptions &options)
{
    using Clock = std::chrono::steady_clock;
    const Clock::time_point begin = Clock::now();
    bool isAnnounced = false;
    while (!TryLock(fd) && (errno == EWOULDBLOCK || errno == EINTR)) {
        const auto waited = Clock::now() - begin;
        if (waited >= options.wait) {
            throw Failure(ExitCode::kIo,
                          Quoted(name) + " is locked by another program; nothing was changed",
                          options.lockedHint);
        }
        if (!isAnnounced && waited >= kAnnounce) {
            isAnnounced = true;
            PutWarning(
                Quoted(name) + " is locked by another program; waiting up to " +
                std::to_string(std::chrono::ceil<std::chrono::seconds>(options.wait).count()) +
                " s for it");
        }
        std::this_thread::sleep_for(kRetry);
    }
}

/// Gives an open file a name, which must be free.
bool Link(const Descriptor &file, const std::string &path)
{
    return linkat(AT_FDCWD, file.Path().c_str(), AT_FDCWD, path.c_str(), AT_SYMLINK_FOLLOW) == 0;
}

bool IsSameFile(const struct stat &left, const struct stat &right)
{
    return left.st_dev == right.st_dev && left.st_ino == right.st_ino;
}

/// A new file beside a target. It is removed with the object, unless it was installed.
class NewFile {
  public:
    /// @throws Failure
    explicit NewFile(const Target &target) : target_(target)
    {
        // Nobody else may read it until it has the old file's owner and mode.
        const mode_t mode = target.Exists() ? kNobodyElse : kNewFile;
        const std::string directory = fs::path(target.Path()).parent_path();
        file_ = Descriptor(open(directory.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, mode));
        for (int i = 0; !file_.IsOpen() && i < kMostNames; ++i) {
            path_ = NewName(target.Path());
            file_ = Descriptor(
                open(path_.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode));
            if (!file_.IsOpen() && errno != EEXIST) {
                break;
            }
        }
        if (!file_.IsOpen()) {
            const int error = errno;
            path_.clear();
            throw SystemFailure("cannot write to the directory " + Quoted(directory), error,
                                target.Exists() && (error == EACCES || error == EPERM)
                                    ? std::string("a change replaces the file; ") + kInPlaceHint
                                    : "");
        }
        static_cast<void>(TryLock(file_.Get())); // locked as long as this process lives
    }
    ~NewFile()
    {
        if (!path_.empty()) {
            unlink(path_.c_str());
        }
    }
    NewFile(const NewFile &) = delete;
    NewFile &operator=(const NewFile &) = delete;

    int Get() const { return file_.Get(); }

    /// Gives the new file the target's name.
    /// @return false, with errno set, if that fails
    bool Install()
    {
        if (!target_.Exists() && path_.empty()) {
            return Link(file_, target_.Path());
        }
        for (int i = 0; path_.empty() && i < kMostNames; ++i) {
            const std::string path = NewName(target_.Path());
            if (Link(file_, path)) {
                path_ = path;
            } else if (errno != EEXIST) {
                return false;
            }
        }
        const char *const from = path_.c_str();
        const char *const to = target_.Path().c_str();
        // A file that somebody has just made is not replaced.
        if ((target_.Exists() ? rename(from, to)
                              : renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE)) == 0) {
            path_.clear();
            return true;
        }
        const bool isUnknown = errno == EINVAL || errno == ENOSYS;
        return !target_.Exists() && isUnknown && link(from, to) == 0;
    }

  private:
    const Target &target_;
    Descriptor file_;
    std::string path_; // empty while the file has no name
};

/// Copies the extended attributes that can be copied: some are the system's own, and not every file
/// system supports the others. An access list must not get lost: that would give or deny somebody
/// access.
void CopyExtendedAttributes(int from, int to, const std::string &path)
{
    const ssize_t size = flistxattr(from, nullptr, 0);
    std::vector<char> names(size > 0 ? static_cast<std::size_t>(size) : 0);
    const ssize_t held = flistxattr(from, names.data(), names.size());
    for (ssize_t at = 0; at < held;) {
        const std::string name(&names[static_cast<std::size_t>(at)]);
        at += static_cast<ssize_t>(name.size()) + 1;
        const ssize_t length = fgetxattr(from, name.c_str(), nullptr, 0);
        std::vector<char> value(length > 0 ? static_cast<std::size_t>(length) : 0);
        const ssize_t got = fgetxattr(from, name.c_str(), value.data(), value.size());
        if (got >= 0 &&
            fsetxattr(to, name.c_str(), value.data(), static_cast<std::size_t>(got), 0) != 0 &&
            name == "system.posix_acl_access") {
            throw SystemFailure("cannot keep the access list of " + Quoted(path), errno,
                                kInPlaceHint);
        }
    }
}

/// Gives a new file the owner, mode and extended attributes of another one.
void AdoptAttributes(int from, int to, const std::string &path)
{
    struct stat status = {};
    struct stat own = {};
    if (fstat(from, &status) != 0 || fstat(to, &own) != 0) {
        throw SystemFailure("cannot look at " + Quoted(path), errno);
    }
    const bool hasOwner = own.st_uid == status.st_uid && own.st_gid == status.st_gid;
    if (!hasOwner && fchown(to, status.st_uid, status.st_gid) != 0) {
        throw SystemFailure("cannot keep the owner of " + Quoted(path), errno, kInPlaceHint);
    }
    CopyExtendedAttributes(from, to, path);
    // The mode comes last: changing the owner clears some of its bits, and an access list sets
    // some.
    if (fchmod(to, status.st_mode & kModeBits) != 0) {
        throw SystemFailure("cannot keep the mode of " + Quoted(path), errno);
    }
}

void FlushDirectoryOf(const fs::path &path)
{
    const Descriptor directory(
        open(path.parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    // A failure does no harm: the change is complete, and will get to the disk later.
    if (directory.IsOpen()) {
        static_cast<void>(fsync(directory.Get()));
    }
}

Failure ChangedMeanwhile(const std::string &path)
{
    return {ExitCode::kIo, Quoted(path) + " was changed by somebody else; nothing was written",
            "try again"};
}

/// Refuses a file that does not hold what was written to it.
void RequireContent(int fd, const std::string &bytes, const std::string &path)
{
    if (!HoldsExactly(fd, bytes)) {
        throw Failure(ExitCode::kIo, "cannot write " + Quoted(path) +
                                         ": what was written does not read back the same");
    }
}

bool WriteAt(int fd, std::string_view bytes, std::size_t at)
{
    return lseek(fd, static_cast<off_t>(at), SEEK_SET) != -1 && WriteWhole(fd, bytes);
}

} // namespace

Target::Target(const std::string &name, const TargetOptions &options)
{
    if (name.empty()) {
        throw Failure(ExitCode::kUsage, "the file's name is empty");
    }
    if (stat(name.c_str(), &status_) != 0) {
        const int error = errno;
        if (error == ENOENT && options.mayBeMissing) {
            path_ = NewPath(name);
            RemoveLeftovers(path_);
            return;
        }
        throw SystemFailure("cannot open " + Quoted(name), error,
                            error == ENOENT && options.missingHint ? options.missingHint() : "");
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
    std::error_code error;
    path_ = fs::canonical(name, error);
    // The locked file must still have the name once the lock is held: another instance may just
    // have replaced it.
    for (bool isCurrent = false; !isCurrent;) {
        file_ = Descriptor(open(path_.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
        if (!file_.IsOpen()) {
            throw SystemFailure("cannot open " + Quoted(name), errno);
        }
        Lock(file_.Get(), name, options);
        struct stat now = {};
        isCurrent = fstat(file_.Get(), &status_) == 0 && stat(path_.c_str(), &now) == 0 &&
                    IsSameFile(status_, now);
    }
    RemoveLeftovers(path_);
    bytes_ = ReadWhole(FileInput(file_, name), options.limit);
}

bool Target::HasChanged() const
{
    struct stat now = {};
    const bool exists = lstat(path_.c_str(), &now) == 0;
    return exists != Exists() ||
           (exists && (!IsSameFile(now, status_) || !HoldsExactly(file_.Get(), bytes_)));
}

void Replace(const Target &target, const std::string &bytes, const Descriptor *model)
{
    const SignalBlock block;
    NewFile file(target);
    const std::string &path = target.Path();
    if (!WriteWhole(file.Get(), bytes)) {
        throw SystemFailure("cannot write " + Quoted(path), errno);
    }
    if (target.Exists() || model != nullptr) {
        AdoptAttributes((target.Exists() ? target.File() : *model).Get(), file.Get(), path);
    }
    if (fsync(file.Get()) != 0) {
        throw SystemFailure("cannot write " + Quoted(path), errno);
    }
    RequireContent(file.Get(), bytes, path);
    if (target.HasChanged()) {
        throw ChangedMeanwhile(path);
    }
    if (!file.Install()) {
        const int error = errno;
        if (error == EEXIST) {
            throw ChangedMeanwhile(path);
        }
        const bool mayWorkInPlace = error == EBUSY || error == EPERM || error == EACCES;
        throw SystemFailure("cannot replace " + Quoted(path), error,
                            mayWorkInPlace ? kInPlaceHint : "");
    }
    FlushDirectoryOf(path);
}

void WriteInPlace(const Target &target, const std::string &bytes)
{
    const std::string &path = target.Path();
    const std::string &old = target.Bytes();
    const SignalBlock block;
    const Descriptor file(open(path.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NOCTTY));
    if (!file.IsOpen()) {
        throw SystemFailure("cannot write " + Quoted(path), errno);
    }
    // Reserve room first, so that a full disk is noticed before anything is changed.
    if (bytes.size() > old.size() &&
        fallocate(file.Get(), FALLOC_FL_KEEP_SIZE, 0, static_cast<off_t>(bytes.size())) != 0 &&
        errno != EOPNOTSUPP) {
        throw SystemFailure("cannot write " + Quoted(path), errno);
    }
    if (target.HasChanged()) {
        throw ChangedMeanwhile(path);
    }
    const auto same = static_cast<std::size_t>(std::ranges::mismatch(old, bytes).in1 - old.begin());
    const bool isWritten = WriteAt(file.Get(), std::string_view(bytes).substr(same), same) &&
                           ftruncate(file.Get(), static_cast<off_t>(bytes.size())) == 0 &&
                           fsync(file.Get()) == 0;
    if (!isWritten) {
        const int error = errno;
        const bool isBack = WriteAt(file.Get(), std::string_view(old).substr(same), same) &&
                            ftruncate(file.Get(), static_cast<off_t>(old.size())) == 0;
        throw SystemFailure(
            "cannot write " + Quoted(path), error,
            isBack ? "its old content was written back"
                   : "its content is damaged from byte " + std::to_string(same) + " on");
    }
    RequireContent(file.Get(), bytes, path);
}

bool KeepAs(const Target &target, const std::string &path)
{
    if (Link(target.File(), path)) {
        return true;
    }
    if (errno != EPERM && errno != EOPNOTSUPP && errno != ENOSYS) {
        return false;
    }
    // A hard link cannot be made here, so make a copy.
    const Descriptor copy(
        open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, kNobodyElse));
    if (!copy.IsOpen()) {
        return false;
    }
    AdoptAttributes(target.File().Get(), copy.Get(), path);
    return WriteWhole(copy.Get(), target.Bytes()) && fsync(copy.Get()) == 0;
}

} // namespace wyx::tool
