// The clock over a system clock that is set while a process runs.
#include <gtest/gtest.h>

#include "os_adapter.h"
#include "system_double.h"

namespace wyx::test {
namespace {

class ClockSet : public SystemTest {};

TEST_F(ClockSet, GoesOnByMillisecondsUntilTheSystemHasCaughtUp)
{
    system.TellTime(1700000000, 122999999);
    EXPECT_EQ(XELP_GetSystemTime(), 1700000000122U);
    system.TellTime(1700000000, 123000000);
    EXPECT_EQ(XELP_GetSystemTime(), 1700000000123U);
    EXPECT_EQ(XELP_GetSystemTime(), 1700000000124U);
    system.TellTime(1600000000, 0); // set back by years
    EXPECT_EQ(XELP_GetSystemTime(), 1700000000125U);
    system.TellTime(1700000000, 125999999);
    EXPECT_EQ(XELP_GetSystemTime(), 1700000000126U);
    system.TellTime(1700000000, 127000000);
    EXPECT_EQ(XELP_GetSystemTime(), 1700000000127U);
    system.TellTime(1800000000, 5000000); // set forward
    EXPECT_EQ(XELP_GetSystemTime(), 1800000000005U);
}

} // namespace
} // namespace wyx::test
