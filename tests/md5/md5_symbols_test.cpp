// A program whose own functions happen to have the names of MD5's building blocks.
#include <gtest/gtest.h>

#include <cstring>

#include "wyx_commlib/md5.h"

namespace {

int ownCalls = 0; // of the functions below

} // namespace

extern "C" {

// The executable exports these functions, so a call in the library reaches them unless the library
// was linked to bind the call to its own function.
__attribute__((visibility("default"))) void Encode(void *);
__attribute__((visibility("default"))) void Decode(void *);
__attribute__((visibility("default"))) void MD5Transform(void *);

void Encode(void *)
{
    ++ownCalls;
}

void Decode(void *)
{
    ++ownCalls;
}

void MD5Transform(void *)
{
    ++ownCalls;
}

} // extern "C"

namespace wyx::test {
namespace {

TEST(Md5Symbols, LibraryDoesNotCallAProgramsOwnFunctions)
{
    Encode(nullptr);
    Decode(nullptr);
    MD5Transform(nullptr);
    ASSERT_EQ(ownCalls, 3);

    MD5_S_CTX context;
    QAL_UINT8 aucDigest[16];
    const QAL_UINT8 aucExpected[16] = {0x90, 0x01, 0x50, 0x98, 0x3C, 0xD2, 0x4F, 0xB0,
                                       0xD6, 0x96, 0x3F, 0x7D, 0x28, 0xE1, 0x7F, 0x72};
    const QAL_UINT8 aucMessage[3] = {'a', 'b', 'c'};
    XELP_MD5_Init(&context);
    XELP_MD5_Update(&context, aucMessage, sizeof aucMessage);
    XELP_MD5_Final(aucDigest, &context);
    EXPECT_EQ(std::memcmp(aucDigest, aucExpected, sizeof aucDigest), 0);
    EXPECT_EQ(ownCalls, 3);
}

} // namespace
} // namespace wyx::test
