// The clock: milliseconds since 1970-01-01 00:00 UTC.
#include "os_adapter.h"

#include <time.h>

namespace {

constexpr QAL_UINT64 kMsPerSecond = 1000;
constexpr QAL_UINT64 kNsPerMs = 1000000;

} // namespace

extern "C" {

QAL_UINT64 XELP_GetSystemTime(void)
{
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now); // cannot fail: the clock exists and `now` is writable
    return static_cast<QAL_UINT64>(now.tv_sec) * kMsPerSecond +
           static_cast<QAL_UINT64>(now.tv_nsec) / kNsPerMs;
}

} // extern "C"
