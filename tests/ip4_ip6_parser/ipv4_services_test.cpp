// An IPv4 address reaches the caller only through the bounded copy routine, which a client's own
// adapter may replace.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "bounded.h"
#include "wyx_commlib/ip4_ip6_parser.h"

namespace {

struct Copy {
    void *pDest;
    QAL_ULONG ulDestMax;
    QAL_ULONG ulCount;
};
std::vector<Copy> copies;

} // namespace

extern "C" QAL_INT32 wyx_memcpy_s(void *pDest, QAL_ULONG ulDestMax, const void *pSrc,
                                  QAL_ULONG ulCount)
{
    copies.push_back({pDest, ulDestMax, ulCount});
    std::memcpy(pDest, pSrc, ulCount);
    return 0;
}

namespace wyx::test {
namespace {

TEST(Ipv4Services, AddressIsCopiedOnceWithItsBound)
{
    for (std::string text : {"1.2.3.4", "1.2.3.4:80", "255.255.255.255:65535", "0x1.2.3.4",
                             "1.2.3.4:0x50", "1.2.3.004", "0001.2.3.4"}) {
        SCOPED_TRACE(text);
        copies.clear();
        QAL_UINT32 ulAddr = 0;
        QAL_UINT16 uwPort = 0;
        EXPECT_LE(XELP_Parse_IPV4(text.data(), &ulAddr, &uwPort), 1U);
        ASSERT_EQ(copies.size(), 1U);
        EXPECT_EQ(copies[0].pDest, &ulAddr);
        EXPECT_EQ(copies[0].ulDestMax, 4U);
        EXPECT_EQ(copies[0].ulCount, 4U);
        EXPECT_NE(ulAddr, 0U);
    }
}

TEST(Ipv4Services, RefusedTextIsNotCopied)
{
    for (std::string text : {"", "1.2.3", "1.2.3.4:", "1.2.3.4x", "256.2.3.4", "1.2.3.4:0x"}) {
        SCOPED_TRACE(text);
        copies.clear();
        QAL_UINT32 ulAddr = 1;
        QAL_UINT16 uwPort = 1;
        EXPECT_GT(XELP_Parse_IPV4(text.data(), &ulAddr, &uwPort), 1U);
        EXPECT_TRUE(copies.empty());
        EXPECT_EQ(ulAddr, 0U);
        EXPECT_EQ(uwPort, 0U);
    }
}

} // namespace
} // namespace wyx::test
