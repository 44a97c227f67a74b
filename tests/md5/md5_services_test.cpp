// What MD5 requests from the platform: this executable replaces the adapter's bounded routines.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "bounded.h"
#include "wyx_commlib/md5.h"

namespace {

struct Call {
    const void *pDest;
    QAL_ULONG ulDestMax;
    QAL_ULONG ulCount;
    int iByte; // what the bytes are set to; -1 for a copy
};
std::vector<Call> calls;

} // namespace

extern "C" {

QAL_INT32 wyx_memcpy_s(void *pDest, QAL_ULONG ulDestMax, const void *pSrc, QAL_ULONG ulCount)
{
    calls.push_back({pDest, ulDestMax, ulCount, -1});
    std::memcpy(pDest, pSrc, ulCount);
    return 0;
}

QAL_INT32 wyx_memset_s(void *pDest, QAL_ULONG ulDestMax, QAL_INT32 lByte, QAL_ULONG ulCount)
{
    calls.push_back({pDest, ulDestMax, ulCount, lByte});
    std::memset(pDest, lByte, ulCount);
    return 0;
}

} // extern "C"

namespace wyx::test {
namespace {

TEST(Md5Services, EveryBoundEqualsItsCount)
{
    MD5_S_CTX context;
    const QAL_UINT8 aucInput[64 + 64 + 5] = {};
    XELP_MD5_Init(&context);
    calls.clear();
    XELP_MD5_Update(&context, aucInput, 3);
    ASSERT_EQ(calls.size(), 1U);
    EXPECT_EQ(calls[0].pDest, context.buffer);
    EXPECT_EQ(calls[0].ulCount, 3U);

    // 61 bytes fill the block, 64 bypass the buffer, 8 remain.
    XELP_MD5_Update(&context, aucInput, sizeof aucInput);
    ASSERT_EQ(calls.size(), 3U);
    EXPECT_EQ(calls[1].pDest, context.buffer + 3);
    EXPECT_EQ(calls[1].ulCount, 61U);
    EXPECT_EQ(calls[2].pDest, context.buffer);
    EXPECT_EQ(calls[2].ulCount, 8U);

    XELP_MD5_Update(&context, aucInput, 56);
    ASSERT_EQ(calls.size(), 5U);
    EXPECT_EQ(calls[4].ulCount, 0U);

    QAL_UINT8 aucDigest[16];
    XELP_MD5_Final(aucDigest, &context);
    for (const Call &call : calls) {
        EXPECT_EQ(call.ulDestMax, call.ulCount);
    }
}

TEST(Md5Services, FinalEndsByWipingTheWholeContext)
{
    MD5_S_CTX context;
    QAL_UINT8 aucDigest[16];
    XELP_MD5_Init(&context);
    calls.clear();
    XELP_MD5_Final(aucDigest, &context);
    ASSERT_FALSE(calls.empty());
    EXPECT_EQ(calls.back().pDest, &context);
    EXPECT_EQ(calls.back().ulDestMax, 88U);
    EXPECT_EQ(calls.back().ulCount, 88U);
    EXPECT_EQ(calls.back().iByte, 0);
    for (std::size_t i = 0; i + 1 < calls.size(); ++i) {
        EXPECT_EQ(calls[i].iByte, -1) << i;
    }
}

} // namespace
} // namespace wyx::test
