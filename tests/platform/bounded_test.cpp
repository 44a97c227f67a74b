// The test that a *Kept* comment in the default adapter names, and a text that cannot be formatted.
#include <gtest/gtest.h>

#include "bounded.h"

namespace wyx::test {
namespace {

TEST(Bounded, StrcpyCountsTheTextWithoutItsTerminator)
{
    char acBlock[5] = "old";
    EXPECT_EQ(wyx_strcpy_s(acBlock, 4, "abcd"), 0);
    EXPECT_STREQ(acBlock, "abcd");
    EXPECT_NE(wyx_strcpy_s(acBlock, 4, "abcde"), 0);
    EXPECT_STREQ(acBlock, "");
}

TEST(Bounded, SprintfRefusesWhatCannotBeFormatted)
{
    char acBlock[8] = "old";
    const wchar_t awcNoCharacter[] = {static_cast<wchar_t>(0x110000), 0};
    EXPECT_EQ(wyx_sprintf_s(acBlock, sizeof acBlock, "%ls", awcNoCharacter), -1);
    EXPECT_STREQ(acBlock, "");
}

} // namespace
} // namespace wyx::test
