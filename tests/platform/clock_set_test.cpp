// The adapter's clock when the system's clock is set while a process runs.
#include <gtest/gtest.h>

#include "os_adapter.h"
#include "system_double.h"

namespace wyx::test {
namespace {

class ClockSet : public SystemTest {};

TEST_F(ClockSet, AdvancesByMillisecondsUntilTheSystemClockCatchesUp)
{
    system.ReportTime(1700000000, 122999999);
    EXPECT_EQ(XELP_GetSystemTime(), 1700000000122U);
    system.ReportTime(1700000000, 123000000);
    EXPECT_EQ(XELP_GetSystemTime(), 1700000000123U);
    EXPECT_EQ(XELP_GetSystemTime(), 1700000000124U);
    system.ReportTime(1600000000, 0); // set back by years
    EXPECT_EQ(XELP_GetSystemTime(), 1700000000125U);
    system.ReportTime(1700000000, 125999999);
    EXPECT_EQ(XELP_GetSystemTime(), 1700000000126U);
    system.ReportTime(1700000000, 127000000);
    EXPECT_EQ(XELP_GetSystemTime(), 1700000000127U);
    system.ReportTime(1800000000, 5000000); // set forward
    EXPECT_EQ(XELP_GetSystemTime(), 1800000000005U);
}

/// While one thread asks the system, another gets a value.
TEST_F(ClockSet, ValueTakenByAFasterThreadIsNotReturnedAgain)
{
    system.ReportTime(1900000000, 7000000);
    QAL_UINT64 ullFaster = 0;
    system.After("clock_gettime", 1, [&] { ullFaster = XELP_GetSystemTime(); });
    EXPECT_EQ(XELP_GetSystemTime(), 1900000000008U);
    EXPECT_EQ(ullFaster, 1900000000007U);
    EXPECT_EQ(XELP_GetSystemTime(), 1900000000009U);
}

} // namespace
} // namespace wyx::test
