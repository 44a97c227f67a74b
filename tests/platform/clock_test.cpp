#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

#include "os_adapter.h"

namespace wyx::test {
namespace {

QAL_UINT64 Now()
{
    const auto sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
    return static_cast<QAL_UINT64>(
        std::chrono::duration_cast<std::chrono::milliseconds>(sinceEpoch).count());
}

/// Waits until the clock is no longer ahead: earlier calls advanced it by a millisecond each.
void CatchUp()
{
    for (QAL_UINT64 ullTime; (ullTime = XELP_GetSystemTime()) > Now();) {
        std::this_thread::sleep_for(std::chrono::milliseconds(ullTime - Now() + 1));
    }
}

TEST(Clock, CountsMillisecondsSince1970)
{
    CatchUp();
    for (int i = 0; i < 100; ++i) {
        std::this_thread::sleep_for(
            std::chrono::milliseconds(2)); // so that the clock does not run ahead
        const QAL_UINT64 ullBefore = Now();
        const QAL_UINT64 ullTime = XELP_GetSystemTime();
        const QAL_UINT64 ullAfter = Now();
        if (ullBefore <= ullAfter) { // the clock may be set while the test runs
            EXPECT_LE(ullBefore, ullTime);
            EXPECT_LE(ullTime, ullAfter);
        }
    }
}

TEST(Clock, RunsAheadByAMillisecondForEachEarlyCall)
{
    CatchUp();
    const QAL_UINT64 ullStart = Now();
    QAL_UINT64 ullTime = 0;
    for (int i = 0; i < 1000; ++i) {
        ullTime = XELP_GetSystemTime();
    }
    EXPECT_GE(ullTime, ullStart + 999);
    EXPECT_LE(ullTime, std::max(Now(), ullStart + 1001));
}

TEST(Clock, ReturnsEachValueOnce)
{
    constexpr std::size_t kCalls = 50000;
    std::atomic<int> iReady = 0;
    std::vector<QAL_UINT64> times(4 * kCalls);
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < 4; ++i) {
        threads.emplace_back([&, i] {
            for (++iReady; iReady < 4;) { // all at once
            }
            for (std::size_t at = i * kCalls; at < (i + 1) * kCalls; ++at) {
                times[at] = XELP_GetSystemTime();
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    for (std::size_t i = 0; i < 4; ++i) { // each thread's time moves forward
        const auto from = times.begin() + static_cast<std::ptrdiff_t>(i * kCalls);
        EXPECT_TRUE(std::is_sorted(from, from + kCalls));
    }
    std::sort(times.begin(), times.end());
    EXPECT_EQ(std::adjacent_find(times.begin(), times.end()), times.end());
}

} // namespace
} // namespace wyx::test
