// Several savers of the same target at once, each in a process of its own. The library requires one
// saver at a time. With several, a save may fail and its new file may stay, but no content may be
// lost.
#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <string>
#include <vector>

#include "os_adapter.h"
#include "program.h"
#include "wyx_commlib/ini_parser.h"

namespace {

bool isCoarse = false; ///< the clock shows the same time for 64 milliseconds

} // namespace

// Replaces the adapter's clock. It can be so coarse that savers keep choosing the same names.
extern "C" QAL_UINT64 XELP_GetSystemTime(void)
{
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    const auto time =
        static_cast<QAL_UINT64>(std::chrono::duration_cast<std::chrono::milliseconds>(now).count());
    return isCoarse ? time & ~QAL_UINT64{63} : time;
}

namespace wyx::test {
namespace {

std::string ContentWith(const std::string &value)
{
    return "; about\n[a]\nk=" + value + " ;note\n[b]\nx=" + std::string(70, 'y') + "\n";
}

/// The number of system calls of a load and the save after it.
int CallsOfASave(const TargetFolder &folder)
{
    folder.Reset(ContentWith("old"));
    EXPECT_EQ(Execute({WYX_SAVE_CLIENT, folder.Target(), "a", "k", "new"},
                      {"LD_PRELOAD=" WYX_FAULT_LIBRARY, "WYX_FAULT_LOG=" + folder.Log().string()}),
              0);
    const std::string log = Content(folder.Log()).value_or("");
    return static_cast<int>(std::count(log.begin(), log.end(), '\n'));
}

pid_t StartSaver(const TargetFolder &folder, const std::string &value, int stopAt)
{
    return Start({WYX_SAVE_CLIENT, folder.Target(), "a", "k", value},
                 {"LD_PRELOAD=" WYX_FAULT_LIBRARY, "WYX_FAULT_AT=" + std::to_string(stopAt),
                  "WYX_FAULT_DO=stop", "WYX_FAULT_TIME=1700000000"});
}

int Continue(pid_t saver)
{
    kill(saver, SIGCONT);
    return WaitFor(saver);
}

/// Two savers in the same millisecond, at every pair of their calls: the first stops before a call,
/// the second runs up to one of its own calls, the first continues to its end, and then the second.
TEST(Savers, TwoLoseNothingHoweverTheyInterleave)
{
    if (WYX_WRITES_COUNTS) {
        GTEST_SKIP() << "an instrumented library makes many calls of its own";
    }
    const TargetFolder folder;
    const int calls = CallsOfASave(folder);
    ASSERT_GT(calls, 10);
    const std::string first = ContentWith("first");
    const std::string second = ContentWith("second");
    int both = 0;
    int refused = 0;
    for (int i = 1; i <= calls; ++i) {
        for (int j = 1; j <= calls + 1; ++j) {
            SCOPED_TRACE(testing::Message() << "calls " << i << " and " << j);
            folder.Reset(ContentWith("old"));
            const pid_t firstSaver = StartSaver(folder, "first", i);
            ASSERT_TRUE(WIFSTOPPED(WaitFor(firstSaver)));
            const pid_t secondSaver = StartSaver(folder, "second", j);
            int secondStatus = WaitFor(secondSaver);
            const int firstStatus = Continue(firstSaver);
            if (WIFSTOPPED(secondStatus)) {
                secondStatus = Continue(secondSaver);
            }
            ASSERT_TRUE(WIFEXITED(firstStatus));
            ASSERT_TRUE(WIFEXITED(secondStatus));
            const std::optional<std::string> content = Content(folder.Target());
            const std::vector<std::string> beside = folder.Beside();
            if (firstStatus == 0 || secondStatus == 0) {
                ASSERT_TRUE(content == first || content == second) << content.value_or("(none)");
            } else if (content) {
                ASSERT_EQ(content, ContentWith("old"));
            } else {
                ASSERT_TRUE(std::count(beside.begin(), beside.end(), first) != 0 ||
                            std::count(beside.begin(), beside.end(), second) != 0);
            }
            both += firstStatus == 0 && secondStatus == 0 ? 1 : 0;
            refused += firstStatus != 0 || secondStatus != 0 ? 1 : 0;
        }
    }
    EXPECT_GT(both, 0) << "no two saves ran one after the other";
    EXPECT_GT(refused, 0) << "no two saves overlapped";
    std::cout << calls * (calls + 1) << " meetings, " << refused << " with a saver refused\n";
}

/// Loads, sets and saves until the time is over; returns how many saves succeeded, at most 100.
int KeepSaving(const std::string &target, int saver, std::chrono::steady_clock::time_point end)
{
    int saved = 0;
    for (int i = 0; std::chrono::steady_clock::now() < end; ++i) {
        XELP_IN_S_INI_FILE_STRUCT doc;
        const QAL_UINT32 status = XELP_IniGetFileContent(target.c_str(), &doc);
        if (status == XELP_ERR_INI_OPEN_FILE) {
            continue; // another saver is between its removal and its renaming
        }
        if (status != 0 || doc.ulLineNum != 5) {
            return 101;
        }
        std::string value = std::to_string(saver) + "." + std::to_string(i);
        char section[] = "a";
        char key[] = "k";
        if (XELP_IniSetKeyValue(&doc, section, key, value.data()) != 0) {
            return 102;
        }
        saved += XELP_IniSaveFileContent(target.c_str(), &doc) == 0 ? 1 : 0;
    }
    return std::min(saved, 100);
}

class ManySavers : public ::testing::TestWithParam<bool> {};

INSTANTIATE_TEST_SUITE_P(Clock, ManySavers, ::testing::Values(false, true),
                         [](const auto &item) { return item.param ? "Coarse" : "Fine"; });

TEST_P(ManySavers, NeverLoseTheTarget)
{
    const TargetFolder folder;
    const char *const pszSeconds = std::getenv("WYX_SAVERS_SECONDS");
    const auto end = std::chrono::steady_clock::now() +
                     std::chrono::seconds(pszSeconds != nullptr ? std::atoi(pszSeconds) : 3);
    folder.Reset(ContentWith("old"));
    isCoarse = GetParam();
    std::vector<pid_t> savers;
    for (int i = 0; i < 4; ++i) {
        savers.push_back(fork());
        if (savers.back() == 0) {
            _exit(KeepSaving(folder.Target(), i, end));
        }
    }
    int saved = 0;
    for (const pid_t saver : savers) {
        const int status = WaitFor(saver);
        EXPECT_TRUE(WIFEXITED(status));
        EXPECT_LE(WEXITSTATUS(status), 100) << "a load found half a file";
        saved += WEXITSTATUS(status);
    }
    EXPECT_GT(saved, 0);
    const std::string content = Content(folder.Target()).value_or("(none)");
    ASSERT_EQ(content.substr(0, 14), "; about\n[a]\nk=");
    EXPECT_EQ(content.substr(content.find('\n', 14)), ContentWith("").substr(20)) << content;
    std::cout << folder.Beside().size() << " saves failed and left their new files\n";
}

} // namespace
} // namespace wyx::test
