// Tests system/file_replace.h. The system calls that matter are watched and made to fail, or
// somebody else changes the file just before them.
#include "system/file_replace.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/random.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <set>

#include "ini/text.h"
#include "tool_runner.h"

namespace {

std::vector<std::string> calls;     // "flush file", "rename", ... in their order
std::function<void()> atFlush;      // what somebody else does before a file is flushed
std::function<void()> atInstall;    // and before a file gets its name or its length
std::set<int> *openFlags = nullptr; // unless null, collects the flags that files are opened with
mode_t newMode = 0;                 // the mode that the last file was created with
bool hasUnnamedFiles = true;        // does the file system support O_TMPFILE?
bool hasExclusiveRename = true;     // and RENAME_NOREPLACE?
bool isOtherDevice = false;         // is the file of a name now on another device?

/// A call that fails.
struct Fault {
    std::string call;
    int error = 0;
    int at = 1;             // which of these calls fails, from 1
    bool isForGood = false; // do all calls after it fail, too?
};
Fault fault;

/// Does this call fail? Then errno says why.
bool IsToFail(const std::string &call)
{
    if (call != fault.call) {
        return false;
    }
    --fault.at;
    errno = fault.error;
    return fault.at == 0 || (fault.at < 0 && fault.isForGood);
}

/// Makes a system call, or makes it fail.
template <typename... Arguments>
long Call(const char *name, long number, Arguments... arguments)
{
    return IsToFail(name) ? -1 : syscall(number, arguments...);
}

void Meddle(const std::function<void()> &meddle)
{
    if (meddle) {
        meddle();
    }
}

} // namespace

// These replace the C library's functions.
extern "C" {

int fsync(int fd)
{
    struct stat status = {};
    fstat(fd, &status);
    calls.push_back(S_ISDIR(status.st_mode) ? "flush directory" : "flush file");
    if (!S_ISDIR(status.st_mode)) {
        Meddle(atFlush);
    }
    return static_cast<int>(Call("fsync", SYS_fsync, fd));
}

int rename(const char *from, const char *to) noexcept
{
    calls.emplace_back("rename");
    Meddle(atInstall);
    return static_cast<int>(Call("rename", SYS_renameat2, AT_FDCWD, from, AT_FDCWD, to, 0));
}

int renameat2(int fromDir, const char *from, int toDir, const char *to, unsigned flags) noexcept
{
    calls.emplace_back("rename");
    Meddle(atInstall);
    if (!hasExclusiveRename) {
        errno = EINVAL;
        return -1;
    }
    return static_cast<int>(syscall(SYS_renameat2, fromDir, from, toDir, to, flags));
}

int linkat(int fromDir, const char *from, int toDir, const char *to, int flags) noexcept
{
    Meddle(atInstall);
    return static_cast<int>(Call("linkat", SYS_linkat, fromDir, from, toDir, to, flags));
}

int open(const char *name, int flags, ...)
{
    const bool isUnnamed = (flags & O_TMPFILE) == O_TMPFILE;
    mode_t mode = 0;
    if (isUnnamed || (flags & O_CREAT) != 0) {
        va_list arguments;
        va_start(arguments, flags);
        mode = va_arg(arguments, mode_t);
        va_end(arguments);
        newMode = mode;
    }
    if (openFlags != nullptr) {
        openFlags->insert(flags);
    }
    if (isUnnamed && !hasUnnamedFiles) {
        errno = EOPNOTSUPP;
        return -1;
    }
    const char *const call = isUnnamed                    ? "open unnamed"
                             : (flags & O_CREAT) != 0     ? "create"
                             : (flags & O_DIRECTORY) != 0 ? "open directory"
                             : (flags & O_RDWR) != 0      ? "open to write"
                                                          : "open";
    return static_cast<int>(Call(call, SYS_openat, AT_FDCWD, name, flags, mode));
}

ssize_t write(int fd, const void *bytes, size_t size)
{
    return Call("write", SYS_write, fd, bytes, size);
}

ssize_t pread(int fd, void *bytes, size_t size, off_t offset)
{
    return Call("pread", SYS_pread64, fd, bytes, size, offset);
}

ssize_t read(int fd, void *bytes, size_t size)
{
    return Call("read", SYS_read, fd, bytes, size);
}

off_t lseek(int fd, off_t offset, int whence) noexcept
{
    return Call("lseek", SYS_lseek, fd, offset, whence);
}

int ftruncate(int fd, off_t length) noexcept
{
    Meddle(atInstall);
    return static_cast<int>(Call("ftruncate", SYS_ftruncate, fd, length));
}

int lstat(const char *name, struct stat *status) noexcept
{
    const int result = fstatat(AT_FDCWD, name, status, AT_SYMLINK_NOFOLLOW);
    status->st_dev += isOtherDevice ? 1 : 0;
    return result;
}

int fallocate(int fd, int mode, off_t from, off_t count)
{
    return static_cast<int>(Call("fallocate", SYS_fallocate, fd, mode, from, count));
}

int fchmod(int fd, mode_t mode) noexcept
{
    return static_cast<int>(Call("fchmod", SYS_fchmod, fd, mode));
}

ssize_t getrandom(void *bytes, size_t size, unsigned flags)
{
    return Call("getrandom", SYS_getrandom, bytes, size, flags);
}

// While fsetxattr is to fail, every file seems to have an access list, and no file can be given
// one.
ssize_t flistxattr(int, char *names, size_t size) noexcept
{
    constexpr char kNames[] = "user.note\0system.posix_acl_access";
    if (fault.call != "fsetxattr") {
        return 0;
    }
    if (size > 0) {
        std::memcpy(names, kNames, std::min(size, sizeof kNames));
    }
    return sizeof kNames;
}

ssize_t fgetxattr(int, const char *, void *, size_t) noexcept
{
    return 1;
}

int fsetxattr(int, const char *, const void *, size_t, int) noexcept
{
    --fault.at;
    errno = fault.error;
    return -1;
}

} // extern "C"

namespace wyx::tool {

namespace {

constexpr std::size_t kLimit = 1 << 20;
const std::string kOld = "[a]\nk=1\n";
const std::string kNew = "[a]\nk=2\n";

using test::Mentions;
using test::Read;

/// The message of a change that fails; empty if it succeeds.
std::string Message(const std::function<void()> &change)
{
    try {
        change();
    } catch (const Failure &failure) {
        return std::string(failure.what()) + "; " + failure.Hint();
    }
    return {};
}

class FileReplaceTest : public test::ToolTest {
  protected:
    FileReplaceTest()
    {
        calls.clear();
        atFlush = nullptr;
        atInstall = nullptr;
        hasUnnamedFiles = true;
        hasExclusiveRename = true;
        isOtherDevice = false;
        fault = {};
        Write("f.ini", kOld);
    }
    ~FileReplaceTest() override
    {
        isOtherDevice = false;
        fault = {};
        atFlush = nullptr;
        atInstall = nullptr;
    }

    Target Open() const { return {name, {.limit = kLimit, .mayBeMissing = true}}; }

    const std::string name = Path("f.ini");
    const std::vector<std::string> alone{"f.ini"};
};

TEST_F(FileReplaceTest, FlushesTheFileBeforeAndTheDirectoryAfter)
{
    for (const bool isUnnamed : {true, false}) {
        SCOPED_TRACE(isUnnamed);
        hasUnnamedFiles = isUnnamed;
        Write("f.ini", kOld);
        calls.clear();
        Replace(Open(), kNew);
        EXPECT_EQ(Read(name), kNew);
        EXPECT_EQ(calls, (std::vector<std::string>{"flush file", "rename", "flush directory"}));
        EXPECT_EQ(Names(), alone);
    }
    calls.clear();
    WriteInPlace(Open(), kOld);
    EXPECT_EQ(calls, std::vector<std::string>{"flush file"});
    EXPECT_EQ(Read(name), kOld);
}

// No other program inherits the descriptors. If a new name or a leftover turns out to be a link or
// a device, the link is not followed and the device is neither waited for nor written to.
TEST_F(FileReplaceTest, OpensFilesWithTheseFlags)
{
    Write(".f.ini.wyx-abcdef~", "left by a killed one");
    std::set<int> seen;
    openFlags = &seen;
    Replace(Open(), kNew);
    hasUnnamedFiles = false;
    Replace(Open(), kOld);
    const Target target = Open();
    WriteInPlace(target, kOld);
    fault = {"linkat", EPERM};
    EXPECT_TRUE(KeepAs(target, Path("copy")));
    openFlags = nullptr;
    const std::set<int> expected = {
        O_RDONLY | O_CLOEXEC | O_NOCTTY,                           // the target
        O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NOFOLLOW | O_NONBLOCK, // a leftover
        O_RDONLY | O_CLOEXEC | O_DIRECTORY,                        // the directory, to flush it
        O_RDWR | O_CLOEXEC | O_TMPFILE,                            // the new file
        O_RDWR | O_CLOEXEC | O_CREAT | O_EXCL | O_NOFOLLOW,        // the new file, with a name
        O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NOCTTY,                // the target, to write in place
        O_WRONLY | O_CLOEXEC | O_CREAT | O_EXCL | O_NOFOLLOW,      // a copy
    };
    EXPECT_EQ(seen, expected);
    seen.clear();
    openFlags = &seen;
    ReadWhole(FileInput(name), kLimit);
    openFlags = nullptr;
    EXPECT_EQ(seen, std::set<int>{O_RDONLY | O_CLOEXEC | O_NOCTTY});
}

TEST_F(FileReplaceTest, NobodyElseCanReadAnUnfinishedNewFile)
{
    for (const bool isUnnamed : {true, false}) {
        hasUnnamedFiles = isUnnamed;
        Write("f.ini", kOld);
        Replace(Open(), kNew);
        EXPECT_EQ(newMode, mode_t{0600});
        unlink(name.c_str());
        Replace(Open(), kNew); // nothing says what its mode should be
        EXPECT_EQ(newMode, mode_t{0666});
    }
    fault = {"linkat", EPERM};
    EXPECT_TRUE(KeepAs(Open(), Path("copy")));
    EXPECT_EQ(newMode, mode_t{0600});
}

// Without its lock, the new file would look like one that a killed instance left.
TEST_F(FileReplaceTest, NewFileIsNotMistakenForALeftover)
{
    hasUnnamedFiles = false;
    unlink(name.c_str());
    std::vector<std::string> seen;
    atFlush = [&] {
        Open();
        seen = Names();
    };
    Replace(Open(), kNew);
    EXPECT_EQ(seen.size(), 1U);
    EXPECT_EQ(Read(name), kNew);
}

TEST_F(FileReplaceTest, ChecksPermissionsOfTheEffectiveUser)
{
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can take another user's rights";
    }
    WYX_NEED_NOBODY();
    chmod(Directory().c_str(), 0755);
    ASSERT_EQ(seteuid(65534), 0);
    const std::string message = Message([&] { Open(); });
    ASSERT_EQ(seteuid(0), 0);
    EXPECT_TRUE(Mentions(message, {"cannot change", "Permission denied"}));
}

TEST_F(FileReplaceTest, NothingIsVisibleUntilItIsComplete)
{
    std::vector<std::string> seen;
    atFlush = [&] { seen = Names(); };
    Replace(Open(), kNew);
    EXPECT_EQ(seen, alone);
    hasUnnamedFiles = false;
    Replace(Open(), kOld);
    ASSERT_EQ(seen.size(), 2U); // and the new one has a name that no program loads
    EXPECT_TRUE(seen[0].starts_with(".f.ini.wyx-") && seen[0].ends_with("~")) << seen[0];
}

TEST_F(FileReplaceTest, ConcurrentChangesAreNotLost)
{
    // As long as the old content. The first meddler also keeps the file's times.
    const std::string others = "[a]\nk=9\n";
    const std::function<void()> meddlers[] = {
        [&] {
            struct stat before = {};
            stat(name.c_str(), &before);
            Write("f.ini", others);
            const timespec times[] = {before.st_atim, before.st_mtim};
            utimensat(AT_FDCWD, name.c_str(), times, 0);
        },
        [&] {
            Write("other", others);
            std::filesystem::rename(Path("other"), name);
        },
        [&] { std::ofstream(name, std::ios::app) << "more"; },
        [&] { unlink(name.c_str()); },
    };
    for (const std::function<void()> &meddle : meddlers) {
        for (const bool isUnnamed : {true, false}) {
            Write("f.ini", kOld);
            hasUnnamedFiles = isUnnamed;
            std::string content;
            atFlush = [&] {
                meddle();
                content = access(name.c_str(), F_OK) == 0 ? Read(name) : "gone";
            };
            EXPECT_TRUE(Mentions(Message([&] { Replace(Open(), kNew); }), {"changed by somebody"}));
            EXPECT_EQ(access(name.c_str(), F_OK) == 0 ? Read(name) : "gone", content);
            EXPECT_EQ(Names().size(), content == "gone" ? 0U : 1U);
        }
    }
    atFlush = nullptr;
    Write("f.ini", kOld);
    // Another file is mounted over the target and has the same inode number.
    isOtherDevice = true;
    EXPECT_TRUE(Mentions(Message([&] { Replace(Open(), kNew); }), {"changed by somebody"}));
    isOtherDevice = false;
    const Target target = Open();
    Write("f.ini", others);
    EXPECT_TRUE(Mentions(Message([&] { WriteInPlace(target, kNew); }), {"changed by somebody"}));
    EXPECT_EQ(Read(name), others);
}

TEST_F(FileReplaceTest, NewFileDoesNotReplaceAnExistingOne)
{
    for (const bool isUnnamed : {true, false}) {
        for (const bool isExclusive : {true, false}) {
            SCOPED_TRACE(isUnnamed ? "unnamed" : "named");
            hasUnnamedFiles = isUnnamed;
            hasExclusiveRename = isExclusive;
            unlink(name.c_str());
            atFlush = nullptr;
            atInstall = nullptr;
            Replace(Open(), kNew);
            EXPECT_EQ(Read(name), kNew);
            EXPECT_EQ(Names(), alone);
            // Somebody makes a file of that name meanwhile, or at the last moment.
            for (std::function<void()> *const moment : {&atFlush, &atInstall}) {
                unlink(name.c_str());
                atFlush = nullptr;
                *moment = [&] { Write("f.ini", kOld); };
                EXPECT_TRUE(
                    Mentions(Message([&] { Replace(Open(), kNew); }), {"changed by somebody"}));
                EXPECT_EQ(Read(name), kOld);
                EXPECT_EQ(Names(), alone);
            }
        }
    }
}

TEST_F(FileReplaceTest, LocksTheFileThatHasTheName)
{
    const int fd = open(name.c_str(), O_RDONLY);
    ASSERT_EQ(flock(fd, LOCK_EX), 0);
    const pid_t other = fork();
    if (other == 0) { // another instance replaces the file, then unlocks the old one
        usleep(100000);
        std::ofstream(Path("new")) << kNew;
        std::filesystem::rename(Path("new"), name);
        usleep(100000);
        flock(fd, LOCK_UN);
        _exit(0);
    }
    close(fd);
    EXPECT_EQ(Open().Bytes(), kNew);
    waitpid(other, nullptr, 0);
}

TEST_F(FileReplaceTest, WaitsForALockButNotForever)
{
    const int fd = open(name.c_str(), O_RDONLY);
    ASSERT_EQ(flock(fd, LOCK_SH), 0);
    const auto begin = std::chrono::steady_clock::now();
    const auto wait = std::chrono::milliseconds(700);
    testing::internal::CaptureStderr();
    const std::string message = Message([&] {
        const Target target(name, {.limit = kLimit, .wait = wait, .lockedHint = "--wait"});
    });
    const std::string announced = testing::internal::GetCapturedStderr();
    EXPECT_TRUE(Mentions(message, {"is locked by another program", "--wait"}));
    EXPECT_TRUE(Mentions(announced, {"waiting up to 1 s"}));
    EXPECT_GE(std::chrono::steady_clock::now() - begin, wait);
    close(fd);
    EXPECT_EQ(Open().Bytes(), kOld);
}

TEST_F(FileReplaceTest, SignalsLeaveNothingBehind)
{
    hasUnnamedFiles = false; // so that there is something to leave
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
        SCOPED_TRACE(signal);
        Write("f.ini", kOld);
        const pid_t child = fork();
        if (child == 0) {
            ::signal(signal, SIG_DFL);
            atFlush = [&] { raise(signal); };
            Replace(Open(), kNew);
            _exit(0);
        }
        int status = 0;
        waitpid(child, &status, 0);
        EXPECT_TRUE(WIFSIGNALED(status)) << "it ends once the change is made";
        EXPECT_EQ(Read(name), kNew);
        EXPECT_EQ(Names(), alone);
    }
}

TEST_F(FileReplaceTest, SignalsWaitForAChangeInPlace)
{
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
        SCOPED_TRACE(signal);
        Write("f.ini", kOld + "l=1\n");
        const pid_t child = fork();
        if (child == 0) {
            ::signal(signal, SIG_DFL);
            atInstall = [&] { raise(signal); };
            WriteInPlace(Open(), kNew);
            _exit(0);
        }
        int status = 0;
        waitpid(child, &status, 0);
        EXPECT_TRUE(WIFSIGNALED(status)) << "it ends once the change is made";
        EXPECT_EQ(Read(name), kNew);
    }
}

TEST_F(FileReplaceTest, LeftoversOfKilledProcessesAreRemoved)
{
    hasUnnamedFiles = false;
    const pid_t child = fork();
    if (child == 0) {
        atFlush = [] { raise(SIGKILL); };
        Replace(Open(), kNew);
        _exit(0);
    }
    waitpid(child, nullptr, 0);
    EXPECT_EQ(Names().size(), 2U);
    const std::string other = Write(".g.ini.wyx-abcdef~", "of another file");
    const std::string held = Write(".f.ini.wyx-abcdef~", "of one that lives");
    const int fd = open(held.c_str(), O_RDONLY);
    ASSERT_EQ(flock(fd, LOCK_EX), 0);
    Write(".f.ini.wyx-abcdefg~", "longer");
    mkfifo(Path(".f.ini.wyx-pipepi~").c_str(), 0666);
    Open();
    EXPECT_EQ(Names(),
              (std::vector<std::string>{".f.ini.wyx-abcdefg~", ".f.ini.wyx-abcdef~",
                                        ".f.ini.wyx-pipepi~", ".g.ini.wyx-abcdef~", "f.ini"}));
    close(fd);
    unlink(name.c_str()); // the leftovers for a missing file are removed, too
    Open();
    EXPECT_EQ(Names(), (std::vector<std::string>{".f.ini.wyx-abcdefg~", ".f.ini.wyx-pipepi~",
                                                 ".g.ini.wyx-abcdef~"}));
}

TEST_F(FileReplaceTest, FailureLeavesNothingBehind)
{
    hasUnnamedFiles = false;
    atFlush = [] { throw Failure(ExitCode::kIo, "no room"); };
    EXPECT_NE(Message([&] { Replace(Open(), kNew); }), "");
    EXPECT_EQ(Names(), alone);
    EXPECT_EQ(Read(name), kOld);
}

TEST_F(FileReplaceTest, ContentThatDoesNotReadBackIsNotInstalled)
{
    hasUnnamedFiles = false;
    atFlush = [&] {
        for (const std::string &file : Names()) {
            if (file.starts_with(".f.ini")) {
                std::ofstream(Path(file), std::ios::app) << "x";
            }
        }
    };
    EXPECT_TRUE(Mentions(Message([&] { Replace(Open(), kNew); }), {"does not read back"}));
    EXPECT_EQ(Read(name), kOld);
    EXPECT_EQ(Names(), alone);
}

struct FaultCase {
    const char *name;
    Fault fault;
    bool isUnnamed;
    std::vector<std::string> messages; // empty if the change still succeeds
};

TEST_F(FileReplaceTest, FailuresLeaveTheOldContent)
{
    const FaultCase cases[] = {
        {"Write", {"write", ENOSPC}, true, {"cannot write", "No space left"}},
        {"WriteNamed", {"write", ENOSPC}, false, {"cannot write", "No space left"}},
        {"WriteInterrupted", {"write", EINTR}, true, {}},
        {"Flush", {"fsync", EIO}, true, {"cannot write", "Input/output error"}},
        {"FlushNamed", {"fsync", EIO}, false, {"cannot write", "Input/output error"}},
        {"FlushDirectory", {"fsync", EIO, 2}, true, {}},
        {"OpenDirectory", {"open directory", EACCES}, true, {}},
        {"Mode", {"fchmod", EPERM}, true, {"cannot keep the mode", "not permitted"}},
        {"AccessList", {"fsetxattr", ENOTSUP}, true, {"the access list", "--in-place"}},
        {"NoName", {"getrandom", ENOSYS}, false, {"cannot make up a name", "not implemented"}},
        {"NoRoom", {"create", ENOSPC}, false, {"cannot write to the directory", "No space left"}},
        {"NoRights", {"create", EACCES}, false, {"cannot write to the directory", "--in-place"}},
        {"NameTaken", {"create", EEXIST}, false, {}},
        {"Link", {"linkat", EIO}, true, {"cannot replace", "Input/output error"}},
        {"LinkNameTaken", {"linkat", EEXIST}, true, {}},
        {"AllNamesTaken", {"linkat", EEXIST, 1, true}, true, {"cannot replace"}},
        {"Rename", {"rename", EIO}, true, {"cannot replace", "Input/output error"}},
        {"RenameNamed", {"rename", EIO}, false, {"cannot replace", "Input/output error"}},
        {"MountPoint", {"rename", EBUSY}, true, {"cannot replace", "--in-place"}},
        {"NotPermitted", {"rename", EPERM}, false, {"cannot replace", "--in-place"}},
        {"ReadBack", {"pread", EIO}, true, {"does not read back"}},
        {"ReadBackInterrupted", {"pread", EINTR}, true, {}},
        {"ReadOld", {"pread", EIO, 3}, true, {"changed by somebody"}},
    };
    for (const FaultCase &sample : cases) {
        SCOPED_TRACE(sample.name);
        Write("f.ini", kOld);
        hasUnnamedFiles = sample.isUnnamed;
        const std::string message = Message([&] {
            const Target target = Open();
            fault = sample.fault;
            Replace(target, kNew);
        });
        EXPECT_LE(fault.at, 0) << "no such call was made";
        fault = {};
        EXPECT_EQ(message.empty(), sample.messages.empty()) << message;
        EXPECT_TRUE(Mentions(message, sample.messages));
        EXPECT_EQ(Read(name), message.empty() ? kNew : kOld);
        EXPECT_EQ(Names(), alone);
    }
}

TEST_F(FileReplaceTest, FailuresInPlaceWriteTheOldContentBack)
{
    const std::string longer = kNew + "l=1\n";
    const FaultCase cases[] = {
        {"Open", {"open to write", ETXTBSY}, true, {"cannot write", "Text file busy"}},
        {"NoRoom", {"fallocate", ENOSPC}, true, {"cannot write", "No space left"}},
        {"RoomUnknown", {"fallocate", EOPNOTSUPP}, true, {}},
        {"Write", {"write", EIO}, true, {"Input/output error", "was written back"}},
        {"Length", {"ftruncate", EIO}, true, {"Input/output error", "was written back"}},
        {"Flush", {"fsync", EIO}, true, {"Input/output error", "was written back"}},
        {"ReadBack", {"pread", EIO, 3}, true, {"does not read back"}},
        {"Damaged", {"write", EIO, 1, true}, true, {"damaged from byte 6 on"}},
        {"DamagedLength", {"ftruncate", EIO, 1, true}, true, {"damaged from byte 6 on"}},
    };
    for (const FaultCase &sample : cases) {
        SCOPED_TRACE(sample.name);
        Write("f.ini", kOld);
        const std::string message = Message([&] {
            const Target target = Open();
            fault = sample.fault;
            WriteInPlace(target, longer);
        });
        EXPECT_LE(fault.at, 0) << "no such call was made";
        fault = {};
        EXPECT_EQ(message.empty(), sample.messages.empty()) << message;
        EXPECT_TRUE(Mentions(message, sample.messages));
        const bool isNew = message.empty() || message.find("read back") != std::string::npos;
        if (message.find("damaged") == std::string::npos) {
            EXPECT_EQ(Read(name), isNew ? longer : kOld);
        }
        EXPECT_EQ(Names(), alone);
    }
}

TEST_F(FileReplaceTest, KeepsTheOldContentAsALinkOrACopy)
{
    const struct {
        const char *name;
        Fault fault;
        bool isKept;
    } cases[] = {
        {"Link", {}, true},
        {"NoLinks", {"linkat", EPERM}, true},
        {"NoLinksHere", {"linkat", EOPNOTSUPP}, true},
        {"NoSuchCall", {"linkat", ENOSYS}, true},
        {"Taken", {"linkat", EEXIST}, false},
        {"NoRights", {"linkat", EACCES}, false},
    };
    chmod(name.c_str(), 0640);
    for (const auto &sample : cases) {
        SCOPED_TRACE(sample.name);
        const Target target = Open();
        fault = sample.fault;
        calls.clear();
        EXPECT_EQ(KeepAs(target, Path("old")), sample.isKept);
        // A link needs no flush, as its file is on the disk already; a copy does.
        EXPECT_EQ(calls.size(), sample.isKept && sample.fault.error != 0 ? 1U : 0U);
        EXPECT_EQ(errno == sample.fault.error || sample.isKept, true);
        fault = {};
        EXPECT_EQ(Names().size(), sample.isKept ? 2U : 1U);
        if (sample.isKept) {
            EXPECT_EQ(Read(Path("old")), kOld);
            struct stat status = {};
            EXPECT_EQ(stat(Path("old").c_str(), &status), 0);
            EXPECT_EQ(status.st_mode & 07777, 0640U);
            EXPECT_EQ(unlink(Path("old").c_str()), 0);
        }
    }
    Write("old", "of somebody else");
    const Target target = Open();
    fault = {"linkat", EPERM};
    EXPECT_FALSE(KeepAs(target, Path("old")));
    EXPECT_EQ(errno, EEXIST);
    EXPECT_EQ(Read(Path("old")), "of somebody else");
}

TEST_F(FileReplaceTest, FailedAndInterruptedReads)
{
    fault = {"read", EINTR};
    EXPECT_EQ(ReadWhole(FileInput(name), kLimit), kOld);
    fault = {"read", EIO};
    EXPECT_TRUE(Mentions(Message([&] { ReadWhole(FileInput(name), kLimit); }),
                         {"cannot read", "Input/output error"}));
    fault = {};
    EXPECT_TRUE(Mentions(Message([&] { ReadWhole(FileInput(name), 3); }), {"is too large"}));
    const Descriptor none;
    EXPECT_TRUE(Mentions(Message([&] { ReadWhole(FileInput(none, "f.ini"), kLimit); }),
                         {"cannot read 'f.ini'", "Bad file descriptor"}));
}

TEST_F(FileReplaceTest, NewFileIsNotCreatedIfItsModelCannotBeExamined)
{
    unlink(name.c_str());
    const Descriptor none;
    for (const bool isUnnamed : {true, false}) {
        hasUnnamedFiles = isUnnamed;
        EXPECT_TRUE(Mentions(Message([&] { Replace(Open(), kNew, &none); }),
                             {"cannot look at", "Bad file descriptor"}));
        EXPECT_TRUE(Names().empty());
    }
}

TEST_F(FileReplaceTest, InputThatCannotBeKeptInMemory)
{
    fault = {"write", ENOSPC};
    EXPECT_TRUE(Mentions(Message([&] { IniSource::OfBytes("f.ini", kOld); }),
                         {"cannot keep the input in memory", "No space left"}));
    fault = {"write", EINTR};
    EXPECT_EQ(IniSource::OfBytes("f.ini", kOld).Bytes(), kOld);
}

} // namespace

} // namespace wyx::tool
