// Saving a file while its system calls fail and the process dies at each of them: at every point
// the old content or the whole new content is there, and the tool finds it.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

namespace wyx::test {
namespace {

namespace fs = std::filesystem;

using Words = std::vector<std::string>;

std::optional<std::string> Content(const fs::path &path)
{
    std::ifstream in(path, std::ios::binary);
    if (!in.is_open()) {
        return std::nullopt;
    }
    return std::string(std::istreambuf_iterator<char>(in), {});
}

/// Runs a program to its end, with nothing to read and its output thrown away; its status as
/// waitpid() gives it.
int Execute(const Words &command, const Words &environment)
{
    std::vector<char *> words;
    for (const std::string &word : command) {
        words.push_back(const_cast<char *>(word.c_str()));
    }
    words.push_back(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        for (const std::string &setting : environment) {
            putenv(const_cast<char *>(setting.c_str()));
        }
        const int null = open("/dev/null", O_RDWR);
        dup2(null, 0);
        dup2(null, 1);
        dup2(null, 2);
        execv(words[0], words.data());
        _exit(127);
    }
    int status = 0;
    while (waitpid(child, &status, 0) == -1 && errno == EINTR) {
    }
    return status;
}

/// What is done to one system call.
struct Fault {
    std::string what; ///< as the preloaded library takes it
    bool kills;
};

// Dying after a call is dying before the next one.
const Fault kFaults[] = {
    {"fail " + std::to_string(EIO), false},
    {"fail " + std::to_string(ENOSPC), false},
    {"fail " + std::to_string(EINTR), false},
    {"die before", true},
    {"die amid", true},
};

const std::string kOld = "; about\n[a]\nk=old ;note\n[b]\nx=" + std::string(70, 'y') + "\n";
const std::string kNew = "; about\n[a]\nk=new ;note\n[b]\nx=" + std::string(70, 'y') + "\n";

class SystemCalls : public ::testing::Test {
  protected:
    void SetUp() override
    {
        std::string name = (fs::temp_directory_path() / "wyx_calls_XXXXXX").string();
        ASSERT_NE(mkdtemp(name.data()), nullptr);
        folder_ = name;
        target_ = folder_ / "conf.d" / "net.ini";
    }
    void TearDown() override { fs::remove_all(folder_); }

    /// Begins anew: the old file, and nothing else.
    void Reset()
    {
        fs::remove_all(target_.parent_path());
        fs::create_directory(target_.parent_path());
        std::ofstream(target_, std::ios::binary) << kOld;
    }

    /// The files beside the target, by their content.
    std::vector<std::string> Beside() const
    {
        std::vector<std::string> contents;
        for (const auto &entry : fs::directory_iterator(target_.parent_path())) {
            if (entry.path() != target_) {
                contents.push_back(Content(entry.path()).value_or(""));
            }
        }
        return contents;
    }

    /// Runs a command with a fault at its @p at-th call; none if it did not get that far.
    std::optional<int> RunWith(const Words &command, const Fault &fault, int at)
    {
        const fs::path log = folder_ / "log";
        fs::remove(log);
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

    fs::path folder_;
    fs::path target_;
    std::string call_; ///< the name of the call that met the fault
};

// A save by the library goes through a moment without a file of the target's name. In it the whole
// new content is beside the target.
TEST_F(SystemCalls, SaveOfTheLibrary)
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
            if (*status == 0) { // success is never claimed for less
                EXPECT_EQ(content, kNew);
                EXPECT_TRUE(beside.empty());
            } else if (content) {
                EXPECT_TRUE(content == kOld || content == kNew) << *content;
                // The new file may have stayed, cut off where it could not be written out.
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

#ifdef WYX_TOOL
// The tool puts the new file in the old one's place in one step: the target is always there.
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

// A restoring that fails or dies can be repeated: the content to restore is under either name.
TEST_F(SystemCalls, RecoveryByTheTool)
{
    const Words command = {WYX_TOOL, "ini", "recover", target_.string(), "--restore", "newest"};
    const fs::path leftover = target_.parent_path() / "net1700000000123.ibk";
    int faults = 0;
    for (const Fault &fault : kFaults) {
        for (int at = 1;; ++at, ++faults) {
            const fs::path log = folder_ / "log";
            fs::remove(log);
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
            ASSERT_NE(Content(target_) == kNew, Content(leftover) == kNew);
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
