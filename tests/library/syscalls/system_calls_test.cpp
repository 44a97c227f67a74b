// Saves a file with each of its system calls failing or the process dying there: at every point,
// the old or the whole new content exists, and the tool finds it.
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <optional>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "program.h"

namespace wyx::test {
namespace {

namespace fs = std::filesystem;

/// What is done to one system call.
struct Fault {
    std::string what; ///< the value of WYX_FAULT_DO
    bool kills;
};

// Dying after a call is the same as dying before the next one.
const Fault kFaults[] = {
    {"fail " + std::to_string(EIO), false},
    {"fail " + std::to_string(ENOSPC), false},
    {"fail " + std::to_string(EINTR), false},
    {"short", false},
    {"die before", true},
    {"die amid", true},
};

const std::string kOld = "; about\n[a]\nk=old ;note\n[b]\nx=" + std::string(70, 'y') + "\n";
const std::string kNew = "; about\n[a]\nk=new ;note\n[b]\nx=" + std::string(70, 'y') + "\n";

class SystemCalls : public ::testing::Test {
  protected:
    void Reset() const { folder_.Reset(kOld); }
    std::vector<std::string> Beside() const { return folder_.Beside(); }

    /// Runs a command with a fault at its @p at-th call; nullopt if it made fewer calls.
    std::optional<int> RunWith(const Words &command, const Fault &fault, int at)
    {
        const fs::path log = folder_.Log();
        Reset();
        const int status =
            Execute(command, {"LD_PRELOAD=" WYX_FAULT_LIBRARY, "WYX_FAULT_LOG=" + log.string(),
                              "WYX_FAULT_AT=" + std::to_string(at), "WYX_FAULT_DO=" + fault.what});
        std::ifstream in(log);
        int calls = 0;
        for (std::string line; std::getline(in, line); ++calls) {
            call_ = calls + 1 <= at ? line : call_;
        }
        EXPECT_GT(calls, 0) << "the library was not preloaded";
        if (calls < at) {
            return std::nullopt;
        }
        EXPECT_EQ(WIFSIGNALED(status), fault.kills);
        if (fault.kills) {
            EXPECT_EQ(WTERMSIG(status), SIGKILL);
        }
        return status;
    }

    const TargetFolder folder_{};
    const fs::path target_ = folder_.Target();
    std::string call_; ///< the name of the call that met the fault
};

// During a save by the library, there is a moment when no file has the target's name. In that
// moment, the whole new content is in a file beside it.
TEST_F(SystemCalls, SaveByTheLibrary)
{
    const Words command = {WYX_SAVE_CLIENT, target_.string(), "a", "k", "new"};
    Reset();
    ASSERT_EQ(Execute(command, {}), 0);
    ASSERT_EQ(Content(target_), kNew);
    int faults = 0;
    int missing = 0;
    for (const Fault &fault : kFaults) {
        for (int at = 1;; ++at, ++faults) {
            const std::optional<int> status = RunWith(command, fault, at);
            if (!status) {
                break;
            }
            SCOPED_TRACE(call_ + ", call " + std::to_string(at) + ": " + fault.what);
            const std::optional<std::string> content = Content(target_);
            const std::vector<std::string> beside = Beside();
            if (*status == 0) { // success means the whole new content
                EXPECT_EQ(content, kNew);
                EXPECT_TRUE(beside.empty());
            } else if (content) {
                EXPECT_TRUE(content == kOld || content == kNew) << *content;
                // The new file may stay, cut off if it could not be written completely.
                EXPECT_LE(beside.size(), 1U);
                EXPECT_TRUE(beside.empty() || kNew.starts_with(beside[0])) << beside[0];
            } else {
                ++missing;
                EXPECT_EQ(beside, std::vector<std::string>{kNew});
#ifdef WYX_TOOL
                EXPECT_EQ(Execute({WYX_TOOL, "ini", "recover", target_, "--restore", "newest"}, {}),
                          0);
                EXPECT_EQ(Content(target_), kNew);
#endif
            }
            ASSERT_FALSE(HasFailure());
        }
    }
    EXPECT_GT(missing, 0) << "that moment was never met";
    std::cout << faults << " faults, in " << missing << " of them the target was missing"
              << std::endl;
}

/// One name for the calls that do the same: functions of the C library by the system call that they
/// make, and system calls by the one that newer processors have instead.
std::string OneName(const std::string &call)
{
    static const std::map<std::string, std::string> names = {
        {"open", "openat"},          {"mkostemp", "openat"},     {"mkostemps", "openat"},
        {"fstat", "newfstatat"},     {"stat", "newfstatat"},     {"lstat", "newfstatat"},
        {"fstatat", "newfstatat"},   {"statx", "newfstatat"},    {"access", "faccessat"},
        {"faccessat2", "faccessat"}, {"getrlimit", "prlimit64"}, {"rename", "renameat"},
        {"renameat2", "renameat"},   {"unlink", "unlinkat"},     {"rmdir", "unlinkat"},
        {"readlink", "readlinkat"},  {"link", "linkat"},         {"chmod", "fchmodat"},
        {"chown", "fchownat"},       {"mkdir", "mkdirat"}};
    const auto found = names.find(call);
    return found != names.end() ? found->second : call;
}

/// Calls that have nothing to do with files: memory, clocks, signals, and the end of the process.
const std::set<std::string> kNoFiles = {
    "brk",      "clock_gettime", "mmap",   "munmap",    "mremap",         "madvise",
    "mprotect", "futex",         "getpid", "getrandom", "rt_sigprocmask", "exit_group",
    "geteuid",  "rt_sigaction",  "umask",  "getuid",    "getgid"};

/// The calls for files that strace sees a program make, from the first one on that can be made to
/// fail; empty if strace does not work.
std::vector<std::string> CallsSeenByStrace(const Words &command, const TargetFolder &folder)
{
    const fs::path trace = folder.Target().parent_path() / "trace";
    Words words = {"strace", "-f",
                   "-o",     trace,
                   "-E",     "LD_PRELOAD=" WYX_FAULT_LIBRARY,
                   "-E",     "WYX_FAULT_LOG=" + folder.Log().string()};
    words.insert(words.end(), command.begin(), command.end());
    if (Execute(words, {}) != 0) {
        return {};
    }
    std::vector<std::string> calls;
    std::string logFd; // writes to it are the fault library's own
    std::istringstream lines(Content(trace).value_or(""));
    static const std::regex call(R"(^\d+ +(\w+)\((\w*))");
    for (std::string line; std::getline(lines, line);) {
        std::smatch match;
        if (!std::regex_search(line, match, call)) {
            continue; // a signal, or the end
        }
        if (logFd.empty()) {
            if (line.find(folder.Log().string()) != std::string::npos && match[1] == "openat") {
                logFd = line.substr(line.rfind(' ') + 1);
            }
        } else if (!(match[1] == "write" && match[2] == logFd) && kNoFiles.count(match[1]) == 0) {
            calls.push_back(OneName(match[1]));
        }
    }
    return calls;
}

/// The same calls as the preloaded library sees them.
std::vector<std::string> CallsThatCanFail(const TargetFolder &folder)
{
    std::vector<std::string> calls;
    std::istringstream lines(Content(folder.Log()).value_or(""));
    for (std::string name; std::getline(lines, name);) {
        calls.push_back(OneName(name));
    }
    return calls;
}

// ---- What durability.md says --------------------------------------------------------------------

/// The place of the @p n-th call of a name in a log; 0 if there is none.
int PlaceOf(const std::string &log, const std::string &call, int n)
{
    std::istringstream lines(log);
    int at = 0;
    for (std::string line; std::getline(lines, line);) {
        ++at;
        if (line == call && --n == 0) {
            return at;
        }
    }
    return 0;
}

TEST_F(SystemCalls, FailedSaveLeavesTheFilesAsDocumented)
{
    const Words command = {WYX_SAVE_CLIENT, target_.string(), "a", "k", "new"};
    const std::vector<std::string> nothing;
    const std::vector<std::string> whole = {kNew};
    const struct {
        const char *pszCall;
        int n;
        int status;
        std::optional<std::string> target;
        std::vector<std::string> beside;
    } cases[] = {
        // The first open, fstat and close belong to the load.
        {"open", 3, 0, kNew, nothing},  // the directory's: everything is flushed instead
        {"open", 4, 50, kOld, nothing}, // the new file cannot be created
        {"fstat", 2, 50, kOld, nothing},
        {"getrlimit", 2, 50, kOld, {""}},   // as if the limit were 0
        {"fallocate", 1, 0, kNew, nothing}, // then nothing is buffered
        {"write", 1, 50, kOld, {""}},
        {"fsync", 1, 50, kOld, whole},
        {"close", 2, 50, kOld, whole},
        {"fsync", 2, 50, kOld, whole},
        {"unlink", 1, 50, kOld, whole},
        {"rename", 1, 50, std::nullopt, whole},
        {"open", 5, 0, kNew, nothing},
        {"fsync", 3, 50, kNew, nothing},
    };
    Reset();
    ASSERT_EQ(Execute(command,
                      {"LD_PRELOAD=" WYX_FAULT_LIBRARY, "WYX_FAULT_LOG=" + folder_.Log().string()}),
              0);
    const std::string log = Content(folder_.Log()).value_or("");
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::Message() << c.pszCall << " " << c.n);
        const int at = PlaceOf(log, c.pszCall, c.n);
        ASSERT_NE(at, 0);
        const std::optional<int> status =
            RunWith(command, {"fail " + std::to_string(EIO), false}, at);
        ASSERT_TRUE(status.has_value() && WIFEXITED(*status));
        EXPECT_EQ(WEXITSTATUS(*status) * 10, c.status);
        EXPECT_EQ(Content(target_), c.target);
        EXPECT_EQ(Beside(), c.beside);
    }
}

// ---- The list of calls --------------------------------------------------------------------------

bool CanTrace()
{
    return !WYX_WRITES_COUNTS && std::system("strace -o /dev/null true >/dev/null 2>&1") == 0;
}

// The tests here can make every call of a save fail: strace sees no others.
TEST_F(SystemCalls, EveryCallOfASaveIsKnown)
{
    if (!CanTrace()) {
        GTEST_SKIP() << "no strace, not allowed to use it, or a coverage build";
    }
    Reset();
    const std::vector<std::string> seen =
        CallsSeenByStrace({WYX_SAVE_CLIENT, target_.string(), "a", "k", "new"}, folder_);
    EXPECT_FALSE(seen.empty());
    EXPECT_EQ(seen, CallsThatCanFail(folder_));
    std::cout << seen.size() << " calls\n";
}

#ifdef WYX_TOOL
// Calls that no test makes fail. They ask whether a file is a terminal; follow the links of a name
// inside realpath(), which the tests do make fail; and list a directory inside fdopendir() and
// readdir(), where a failure ends the list, so that leftovers stay until the next change.
const std::set<std::string> kNeverFail = {"fcntl", "getdents64", "ioctl", "readlinkat"};

TEST_F(SystemCalls, EveryCallOfTheToolIsKnown)
{
    if (!CanTrace()) {
        GTEST_SKIP() << "no strace, not allowed to use it, or a coverage build";
    }
    for (const Words &command : {Words{WYX_TOOL, "ini", "set", target_.string(), "a", "k=new"},
                                 Words{WYX_TOOL, "ini", "del", target_.string(), "a", "k"}}) {
        Reset();
        const std::vector<std::string> seen = CallsSeenByStrace(command, folder_);
        EXPECT_FALSE(seen.empty());
        const std::vector<std::string> list = CallsThatCanFail(folder_);
        const std::set<std::string> known(list.begin(), list.end());
        for (const std::string &call : seen) {
            EXPECT_TRUE(known.count(call) + kNeverFail.count(call) != 0) << call;
        }
    }
}

// The tool replaces the old file in one step: the target always exists.
TEST_F(SystemCalls, SetByTheTool)
{
    const Words command = {WYX_TOOL, "ini", "set", target_.string(), "a", "k=new"};
    Reset();
    ASSERT_EQ(Execute(command, {}), 0);
    ASSERT_EQ(Content(target_), kNew);
    int faults = 0;
    for (const Fault &fault : kFaults) {
        for (int at = 1;; ++at, ++faults) {
            const std::optional<int> status = RunWith(command, fault, at);
            if (!status) {
                break;
            }
            SCOPED_TRACE(call_ + ", call " + std::to_string(at) + ": " + fault.what);
            const std::optional<std::string> content = Content(target_);
            EXPECT_TRUE(content == kOld || content == kNew) << content.value_or("(missing)");
            if (*status == 0) {
                EXPECT_EQ(content, kNew);
            }
            ASSERT_FALSE(HasFailure());
        }
    }
    std::cout << faults << " faults" << std::endl;
}

// A restore that fails or dies can be repeated: the content is under one of the names, or both.
TEST_F(SystemCalls, RecoveryByTheTool)
{
    const Words command = {WYX_TOOL, "ini", "recover", target_.string(), "--restore", "newest"};
    const fs::path leftover = target_.parent_path() / "net1700000000123.ibk";
    int faults = 0;
    for (const Fault &fault : kFaults) {
        for (int at = 1;; ++at, ++faults) {
            const fs::path log = folder_.Log();
            Reset();
            fs::remove(target_);
            std::ofstream(leftover, std::ios::binary) << kNew;
            Execute(command, {"LD_PRELOAD=" WYX_FAULT_LIBRARY, "WYX_FAULT_LOG=" + log.string(),
                              "WYX_FAULT_AT=" + std::to_string(at), "WYX_FAULT_DO=" + fault.what});
            std::ifstream in(log);
            const auto calls = std::count(std::istreambuf_iterator<char>(in), {}, '\n');
            ASSERT_GT(calls, 0);
            if (calls < at) {
                break;
            }
            SCOPED_TRACE("call " + std::to_string(at) + ": " + fault.what);
            ASSERT_TRUE(Content(target_) == kNew || Content(leftover) == kNew);
            if (fs::exists(leftover)) {
                ASSERT_EQ(Execute(command, {}), 0);
                ASSERT_EQ(Content(target_), kNew);
            }
        }
    }
    std::cout << faults << " faults" << std::endl;
}
#endif

} // namespace
} // namespace wyx::test
