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
void XELP_MD5_Update(MD5_S_CTX *, const QAL_UINT8 *, QAL_UINT)
{
    std::abort();
}

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
    XELP_MD5_Init(&context);
    XELP_MD5_Final(aucDigest, &context); // of the empty message
    const QAL_UINT8 aucExpected[] = {0xD4, 0x1D, 0x8C, 0xD9, 0x8F, 0x00, 0xB2, 0x04,
                                     0xE9, 0x80, 0x09, 0x98, 0xEC, 0xF8, 0x42, 0x7E};
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
