// This executable defines functions with the names of exported ones. If the library's own calls
// went through the dynamic linker, they would be bound to these functions.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

#include "wyx_commlib/commlib.h"

// Defined with other arguments: in a client they are unrelated functions.
#pragma GCC diagnostic ignored "-Wmissing-declarations"
extern "C" {
[[noreturn]] void Encode()
{
    std::abort();
}
[[noreturn]] void Decode()
{
    std::abort();
}
[[noreturn]] void MD5Transform()
{
    std::abort();
}
} // extern "C"

// These are in the library's headers, with their arguments.
QAL_UINT32 XELP_CRC_Accumulate_16(QAL_UINT16, const QAL_UINT8 *, QAL_UINT32, QAL_UINT16 *)
{
    std::abort();
}

QAL_UINT32 IniGetLineType(QAL_INT8 *, XELP_INI_E_LINE_TYPE *)
{
    std::abort();
}

QAL_UINT32 INI_StrLen(const QAL_INT8 *)
{
    std::abort();
}

namespace wyx::test {
namespace {

TEST(Interposition, DoesNotReachTheChecksum)
{
    QAL_UINT16 uwResult = 0;
    EXPECT_EQ(XELP_CRC_16(reinterpret_cast<const QAL_UINT8 *>("123456789"), 9, &uwResult), 0U);
    EXPECT_EQ(uwResult, 0x31C3);
}

TEST(Interposition, DoesNotReachTheDigest)
{
    MD5_S_CTX context;
    QAL_UINT8 aucDigest[16];
    const QAL_UINT8 aucText[] = {'a', 'b', 'c'};
    XELP_MD5_Init(&context);
    XELP_MD5_Update(&context, aucText, 3);
    XELP_MD5_Final(aucDigest, &context);
    const QAL_UINT8 aucExpected[] = {0x90, 0x01, 0x50, 0x98, 0x3C, 0xD2, 0x4F, 0xB0,
                                     0xD6, 0x96, 0x3F, 0x7D, 0x28, 0xE1, 0x7F, 0x72};
    EXPECT_EQ(std::memcmp(aucDigest, aucExpected, sizeof aucDigest), 0);
}

TEST(Interposition, DoesNotReachTheIniModule)
{
    QAL_INT8 szLine[] = "[net]\n";
    QAL_INT8 *apszLines[50] = {szLine};
    const XELP_IN_S_INI_FILE_STRUCT doc = {0, 1, 50, 1, apszLines};
    QAL_UINT32 ulNum = 0;
    QAL_INT8 **ppszNames = nullptr;
    EXPECT_EQ(XELP_IniGetSectionList(&doc, &ulNum, &ppszNames), XELP_ERR_INI_OK);
    EXPECT_EQ(ulNum, 1U);
    XELP_IniFreeList(ppszNames);
}

} // namespace
} // namespace wyx::test
