// system/file_replace.h, with the calls of the system that matter watched, and made to fail or to
// find that somebody else was faster.
#include "system/file_replace.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdarg>
#include <filesystem>
#include <fstream>

#include "tool_runner.h"

namespace {

std::vector<std::string> calls;  // "fsync FILE", "rename FROM TO", ... in their order
std::function<void()> atFlush;   // what somebody else does before a file is flushed
std::function<void()> atInstall; // and before it takes its name
bool hasUnnamedFiles = true;     // does the file system know O_TMPFILE?
bool hasExclusiveRename = true;  // and RENAME_NOREPLACE?

void Meddle(const std::function<void()> &meddle)
{
    if (meddle) {
        meddle();
    }
}

} // namespace

// In the place of the C library's.
extern "C" {

int fsync(int fd)
{
    struct stat status = {};
    fstat(fd, &status);
    calls.push_back(S_ISDIR(status.st_mode) ? "flush directory" : "flush file");
    if (!S_ISDIR(status.st_mode)) {
        Meddle(atFlush);
    }
    return static_cast<int>(syscall(SYS_fsync, fd));
}

int rename(const char *from, const char *to) noexcept
{
    calls.emplace_back("rename");
    Meddle(atInstall);
    return static_cast<int>(syscall(SYS_renameat2, AT_FDCWD, from, AT_FDCWD, to, 0));
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
    return static_cast<int>(syscall(SYS_linkat, fromDir, from, toDir, to, flags));
}

int open(const char *name, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    if ((flags & O_TMPFILE) == O_TMPFILE && !hasUnnamedFiles) {
        errno = EOPNOTSUPP;
        return -1;
    }
    return static_cast<int>(syscall(SYS_openat, AT_FDCWD, name, flags, mode));
}

} // extern "C"

namespace wyx::tool {

namespace {

constexpr std::size_t kLimit = 1 << 20;
const std::string kOld = "[a]\nk=1\n";
const std::string kNew = "[a]\nk=2\n";

using test::Mentions;
using test::Read;

/// What a change says when it fails; empty if it does not.
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
        Write("f.ini", kOld);
    }
    ~FileReplaceTest() override
    {
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

TEST_F(FileReplaceTest, NothingIsVisibleUntilItIsComplete)
{
    std::vector<std::string> seen;
    atFlush = [&] { seen = Names(); };
    Replace(Open(), kNew);
    EXPECT_EQ(seen, alone);
    hasUnnamedFiles = false;
    Replace(Open(), kOld);
    ASSERT_EQ(seen.size(), 2U); // no name that another program loads, and no dot-less one
    EXPECT_TRUE(seen[0].starts_with(".f.ini.wyx-") && seen[0].ends_with("~")) << seen[0];
}

TEST_F(FileReplaceTest, ChangesOfOthersAreNotLost)
{
    const std::string others = "[a]\nk=9\n"; // of the same length, and at the same time
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
    const Target target = Open();
    Write("f.ini", others);
    EXPECT_TRUE(Mentions(Message([&] { WriteInPlace(target, kNew); }), {"changed by somebody"}));
    EXPECT_EQ(Read(name), others);
}

TEST_F(FileReplaceTest, ANewFileReplacesNone)
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
            // Somebody makes it meanwhile, or at the last moment.
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

TEST_F(FileReplaceTest, TheLockIsThatOfTheFileWithTheName)
{
    const int fd = open(name.c_str(), O_RDONLY);
    ASSERT_EQ(flock(fd, LOCK_EX), 0);
    const pid_t other = fork();
    if (other == 0) { // another instance replaces the file, and then lets go
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
    const std::string message =
        Message([&] { const Target target(name, {.limit = kLimit, .wait = wait}); });
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

TEST_F(FileReplaceTest, LeftoversOfKilledOnesGo)
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
    Open();
    EXPECT_EQ(Names(), (std::vector<std::string>{".f.ini.wyx-abcdefg~", ".f.ini.wyx-abcdef~",
                                                 ".g.ini.wyx-abcdef~", "f.ini"}));
    close(fd);
}

TEST_F(FileReplaceTest, AFailureLeavesNothingBehind)
{
    hasUnnamedFiles = false;
    atFlush = [] { throw Failure(ExitCode::kIo, "no room"); };
    EXPECT_NE(Message([&] { Replace(Open(), kNew); }), "");
    EXPECT_EQ(Names(), alone);
    EXPECT_EQ(Read(name), kOld);
}

TEST_F(FileReplaceTest, WhatDoesNotReadBackIsNotInstalled)
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

} // namespace

} // namespace wyx::tool
