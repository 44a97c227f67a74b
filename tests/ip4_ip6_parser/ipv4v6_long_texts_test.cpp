// Texts whose length does not fit in 32 bits: a length that wraps must not hide what follows.
#include <gtest/gtest.h>

#include <cstring>

#include "long_text.h"
#include "wyx_commlib/ip4_ip6_parser.h"

namespace wyx::test {
namespace {

TEST(LongAddress, IsRefusedNotTruncated)
{
    LongText text;
    if (!text.IsThere()) {
        GTEST_SKIP() << "needs 4 GiB of address space and 64 MiB of memory";
    }
    QAL_UINT32 ulAddr = 1;
    QAL_UINT16 uwPort = 1;
    for (const char *const psz : {"1.2.3.4", "1.2.3.4:", "0x1.2.3.4"}) {
        SCOPED_TRACE(psz);
        EXPECT_EQ(XELP_Parse_IPV4(text.Make(k4Gib + std::strlen(psz), psz), &ulAddr, &uwPort),
                  XELP_ERR_PARSE_IPV4V6_INVALID);
        EXPECT_EQ(ulAddr, 0U);
        EXPECT_EQ(uwPort, 0U);
    }
    QAL_UINT8 aucAddr[16] = {7};
    uwPort = 7;
    EXPECT_EQ(XELP_Parse_IPV6(text.Make(k4Gib + 5, "[::1]"), aucAddr, &uwPort),
              XELP_ERR_PARSE_IPV4V6_INVALID);
    EXPECT_EQ(aucAddr[0], 7U);
    EXPECT_EQ(uwPort, 7U);
}

} // namespace
} // namespace wyx::test
