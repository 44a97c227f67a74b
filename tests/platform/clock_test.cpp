#include <gtest/gtest.h>

#include <chrono>

#include "os_adapter.h"

namespace wyx::test {
namespace {

QAL_UINT64 Now()
{
    const auto sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
    return static_cast<QAL_UINT64>(
        std::chrono::duration_cast<std::chrono::milliseconds>(sinceEpoch).count());
}

TEST(Clock, CountsMillisecondsSince1970)
{
    for (int i = 0; i < 1000; ++i) {
        const QAL_UINT64 ullBefore = Now();
        const QAL_UINT64 ullTime = XELP_GetSystemTime();
        const QAL_UINT64 ullAfter = Now();
        if (ullBefore <= ullAfter) { // the clock may be set while the test runs
            EXPECT_LE(ullBefore, ullTime);
            EXPECT_LE(ullTime, ullAfter);
        }
    }
}

TEST(Clock, HasMillisecondsAndNotOnlySeconds)
{
    const QAL_UINT64 ullStart = XELP_GetSystemTime();
    QAL_UINT64 ullNext = ullStart;
    while (ullNext == ullStart) {
        ullNext = XELP_GetSystemTime();
    }
    EXPECT_LT(ullNext - ullStart, 1000U);
}

} // namespace
} // namespace wyx::test
