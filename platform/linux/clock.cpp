// The clock: milliseconds since 1970-01-01 00:00 UTC, never the same value twice.
#include "os_adapter.h"

#include <time.h>

#include <atomic>

namespace {

constexpr QAL_UINT64 kMsPerSecond = 1000;
constexpr QAL_UINT64 kNsPerMs = 1000000;

/// The last value that was returned. A save puts the time into the name of its new file, so two
/// saves of one target must not get the same value, even within a millisecond or after the clock
/// was set back.
constinit std::atomic<QAL_UINT64> ullLast = 0;
static_assert(std::atomic<QAL_UINT64>::is_always_lock_free);

QAL_UINT64 Now()
{
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now); // cannot fail: the clock exists and `now` is writable
    return static_cast<QAL_UINT64>(now.tv_sec) * kMsPerSecond +
           static_cast<QAL_UINT64>(now.tv_nsec) / kNsPerMs;
}

} // namespace

extern "C" {

QAL_UINT64 XELP_GetSystemTime(void)
{
    QAL_UINT64 ullBefore = ullLast;
    const QAL_UINT64 ullNow = Now();
    QAL_UINT64 ullTime = 0;
    do { // again if another thread was faster
        ullTime = ullNow > ullBefore ? ullNow : ullBefore + 1;
    } while (!ullLast.compare_exchange_weak(ullBefore, ullTime));
    return ullTime;
}

} // extern "C"
