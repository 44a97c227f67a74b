// The harness of the comparisons: it times only contenders that have the same result.
#include "harness.h"

#include <gtest/gtest.h>

namespace wyx::bench {
namespace {

/// Runs a report of one case, quickly.
template <typename AddContenders>
int StatusOf(const AddContenders &addContenders)
{
    char szProgram[] = "harness_test";
    char szOption[] = "--rounds";
    char szRounds[] = "1";
    char *apszArguments[] = {szProgram, szOption, szRounds, nullptr};
    Report report(3, apszArguments);
    addContenders(report.Add("task", "case"));
    return report.Run();
}

constexpr auto kSeven = [](auto keep) { keep(7); };
constexpr auto kEight = [](auto keep) { keep(8); };

TEST(Harness, TimesContendersWithTheSameResult)
{
    int iTimed = 0;
    const auto counted = [&](auto keep) {
        iTimed += std::is_same_v<decltype(keep), Timed>;
        keep(std::string("7"), [] { return 7; });
    };
    EXPECT_EQ(
        StatusOf([&](Case &c) { c.Ours(kSeven).Peer("same", counted).Other("other", kEight); }), 0);
    EXPECT_GT(iTimed, 0);
}

TEST(Harness, FailsForAPeerWithADifferentResult)
{
    int iTimed = 0;
    const auto counted = [&](auto keep) {
        iTimed += std::is_same_v<decltype(keep), Timed>;
        keep(7);
    };
    EXPECT_EQ(StatusOf([&](Case &c) { c.Ours(counted).Peer("wrong", kEight); }), 1);
    EXPECT_EQ(iTimed, 0);
}

TEST(Harness, FailsForAPeerThatKeepsNothing)
{
    EXPECT_EQ(StatusOf([](Case &c) { c.Ours(kSeven).Peer("idle", [](auto) {}); }), 1);
    EXPECT_EQ(StatusOf([](Case &c) { c.Ours([](auto) {}).Peer("idle", [](auto) {}); }), 1);
}

TEST(Harness, FailsWithoutACase)
{
    char szProgram[] = "harness_test";
    char *apszArguments[] = {szProgram, nullptr};
    EXPECT_EQ(Report(1, apszArguments).Run(), 1);
}

} // namespace
} // namespace wyx::bench
