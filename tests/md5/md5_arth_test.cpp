// MD5: compared with published vectors, with a model that follows the definition, and with an
// independent library if the machine has one.
#include "wyx_commlib/md5.h"

#include <gtest/gtest.h>
#include <sys/mman.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "../../src/commlib/md5/source/md5_arth_internal.h"
#include "guarded_memory.h"
#include "md5_models.h"
#include "random.h"

#ifdef WYX_HAVE_OPENSSL
#include <openssl/evp.h>
#endif

namespace wyx::test {
namespace {

Bytes Text(std::string_view text)
{
    return {reinterpret_cast<const QAL_UINT8 *>(text.data()), text.size()};
}

std::string Hex(const Digest &digest)
{
    std::string hex;
    for (const QAL_UINT8 uc : digest) {
        hex += "0123456789abcdef"[uc >> 4];
        hex += "0123456789abcdef"[uc & 15];
    }
    return hex;
}

void Update(MD5_S_CTX &context, Bytes piece)
{
    XELP_MD5_Update(&context, piece.data(), static_cast<QAL_UINT>(piece.size()));
}

Digest Md5(Bytes message)
{
    MD5_S_CTX context;
    Digest digest;
    XELP_MD5_Init(&context);
    Update(context, message);
    XELP_MD5_Final(digest.data(), &context);
    return digest;
}

struct TestVector {
    std::string_view message;
    std::string_view digest;
};

// The test suite of RFC 1321, A.5.
constexpr TestVector kPublished[] = {
    {"", "d41d8cd98f00b204e9800998ecf8427e"},
    {"a", "0cc175b9c0f1b6a831c399e269772661"},
    {"abc", "900150983cd24fb0d6963f7d28e17f72"},
    {"message digest", "f96b697d7cb7938d525a2f31aaf161d0"},
    {"abcdefghijklmnopqrstuvwxyz", "c3fcd3d76192e4007dfb496cca67e13b"},
    {"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789",
     "d174ab98d277d9f5a5611c2c9f419d9f"},
    {"12345678901234567890123456789012345678901234567890123456789012345678901234567890",
     "57edf4a22be3c955ac49da2e2107b67a"},
};

TEST(Md5, PublishedVectors)
{
    for (const TestVector &vector : kPublished) {
        EXPECT_EQ(Hex(Md5(Text(vector.message))), vector.digest) << vector.message;
        EXPECT_EQ(Hex(ModelMd5(Text(vector.message))), vector.digest) << vector.message;
    }
}

TEST(Md5, EveryLengthAcrossThePaddingBoundaries)
{
    Random random;
    SCOPED_TRACE(random.Trace());
    const std::vector<QAL_UINT8> message = random.Bytes(330);
    for (std::size_t len = 0; len <= message.size(); ++len) { // 55, 56, 63, 64 and 65 among them
        const Bytes head(message.data(), len);
        EXPECT_EQ(Md5(head), ModelMd5(head)) << len;
    }
}

TEST(Md5, DigestDoesNotDependOnTheSplit)
{
    Random random;
    SCOPED_TRACE(random.Trace());
    const std::vector<QAL_UINT8> message = random.Bytes(200);
    const Bytes all(message);
    const Digest expected = ModelMd5(all);
    for (std::size_t first = 0; first <= all.size(); ++first) {
        for (std::size_t second = first; second <= all.size(); second += 7) {
            MD5_S_CTX context;
            Digest digest;
            XELP_MD5_Init(&context);
            Update(context, all.first(first));
            Update(context, all.subspan(first, second - first));
            Update(context, all.subspan(second));
            XELP_MD5_Final(digest.data(), &context);
            ASSERT_EQ(digest, expected) << first << ", " << second;
        }
    }
    for (std::size_t size = 1; size <= 130; ++size) { // pieces of equal size, then the rest
        MD5_S_CTX context;
        Digest digest;
        XELP_MD5_Init(&context);
        for (std::size_t at = 0; at < all.size(); at += size) {
            Update(context, all.subspan(at, std::min(size, all.size() - at)));
        }
        XELP_MD5_Final(digest.data(), &context);
        EXPECT_EQ(digest, expected) << size;
    }
}

TEST(Md5, EmptyPiecesChangeNothing)
{
    MD5_S_CTX context;
    XELP_MD5_Init(&context);
    Update(context, Text("ab"));
    MD5_S_CTX before;
    std::memcpy(&before, &context, sizeof before);
    const GuardedMemory memory(1);
    XELP_MD5_Update(&context, memory.End(), 0); // an address that cannot be read
    XELP_MD5_Update(&context, nullptr, 0);      // survived, although the header forbids it
    EXPECT_EQ(std::memcmp(&before, &context, sizeof before), 0);
}

TEST(Md5, EveryAlignmentOfInputAndDigest)
{
    Random random;
    SCOPED_TRACE(random.Trace());
    const std::vector<QAL_UINT8> message = random.Bytes(150);
    const Digest expected = ModelMd5(message);
    alignas(64) QAL_UINT8 aucInput[17 + 150];
    alignas(64) QAL_UINT8 aucDigest[17 + 16 + 17];
    for (std::size_t at = 0; at < 17; ++at) {
        std::copy(message.begin(), message.end(), aucInput + at);
        std::memset(aucDigest, 0xA5, sizeof aucDigest);
        MD5_S_CTX context;
        XELP_MD5_Init(&context);
        Update(context, {aucInput + at, message.size()});
        XELP_MD5_Final(aucDigest + at, &context);
        EXPECT_TRUE(std::equal(expected.begin(), expected.end(), aucDigest + at)) << at;
        EXPECT_EQ(std::count(aucDigest, aucDigest + at, 0xA5), static_cast<std::ptrdiff_t>(at));
        EXPECT_EQ(std::count(aucDigest + at + 16, std::end(aucDigest), 0xA5),
                  static_cast<std::ptrdiff_t>(sizeof aucDigest - at - 16));
    }
}

TEST(Md5, ReadsNothingOutsideTheInput)
{
    Random random;
    SCOPED_TRACE(random.Trace());
    const std::vector<QAL_UINT8> message = random.Bytes(200);
    const GuardedMemory memory(message.size());
    for (std::size_t len = 0; len <= message.size(); ++len) {
        const Bytes head(message.data(), len);
        const Digest expected = Md5(head);
        std::copy(head.begin(), head.end(), memory.Begin());
        EXPECT_EQ(Md5({memory.Begin(), len}), expected) << len;
        std::copy(head.begin(), head.end(), memory.End() - len);
        EXPECT_EQ(Md5({memory.End() - len, len}), expected) << len;
    }
}

TEST(Md5, InitSetsOnlyStateAndCount)
{
    MD5_S_CTX context;
    std::memset(&context, 0xA5, sizeof context);
    XELP_MD5_Init(&context);
    EXPECT_TRUE(std::equal(kStart.begin(), kStart.end(), context.state));
    EXPECT_EQ(context.count[0], 0U);
    EXPECT_EQ(context.count[1], 0U);
    EXPECT_EQ(std::count(std::begin(context.buffer), std::end(context.buffer), 0xA5), 64);
}

TEST(Md5, UpdateStoresBitCountAndPendingBytes)
{
    Random random;
    SCOPED_TRACE(random.Trace());
    const std::vector<QAL_UINT8> message = random.Bytes(64 + 64 + 10);
    MD5_S_CTX context;
    XELP_MD5_Init(&context);
    Update(context, Bytes(message).first(70));
    EXPECT_EQ(context.count[0], 70U * 8);
    EXPECT_TRUE(std::equal(context.buffer, context.buffer + 6, message.begin() + 64));
    Update(context, Bytes(message).subspan(70));
    EXPECT_EQ(context.count[0], 138U * 8);
    EXPECT_EQ(context.count[1], 0U);
    EXPECT_TRUE(std::equal(context.buffer, context.buffer + 10, message.begin() + 128));
    const State state =
        ModelBlock(ModelBlock(kStart, Bytes(message).first(64)), Bytes(message).subspan(64, 64));
    EXPECT_TRUE(std::equal(state.begin(), state.end(), context.state));
}

TEST(Md5, CountCarriesIntoItsHighWord)
{
    MD5_S_CTX context;
    XELP_MD5_Init(&context);
    context.count[0] = 0xFFFFFFF8; // one byte below 2^32 bits
    context.count[1] = 7;
    const QAL_UINT8 aucTwo[2] = {'x', 'y'};
    XELP_MD5_Update(&context, aucTwo, 1);
    EXPECT_EQ(context.count[0], 0U);
    EXPECT_EQ(context.count[1], 8U);
    context.count[0] = 0xFFFFFFF8;
    context.count[1] = 0xFFFFFFFF;
    XELP_MD5_Update(&context, aucTwo, 2);
    EXPECT_EQ(context.count[0], 8U);
    EXPECT_EQ(context.count[1], 0U); // the count wraps at 2^64 bits
}

#ifdef WYX_TEST_LONG_MESSAGE
TEST(Md5, OnePieceWhoseBitCountExceeds32Bits)
{
    constexpr QAL_UINT kLen = 0x20000000 + 24; // 2^32 + 192 bits
    void *const pZeros =
        mmap(nullptr, kLen, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    ASSERT_NE(pZeros, MAP_FAILED);
    MD5_S_CTX context;
    XELP_MD5_Init(&context);
    XELP_MD5_Update(&context, static_cast<const QAL_UINT8 *>(pZeros), kLen);
    EXPECT_EQ(context.count[0], 192U);
    EXPECT_EQ(context.count[1], 1U);
    Digest digest;
    XELP_MD5_Final(digest.data(), &context);
    EXPECT_EQ(Hex(digest),
              "07db000b0e17e3357b58313f7ba2e86e"); // head -c 536870936 /dev/zero | md5sum
    munmap(pZeros, kLen);
}
#else
TEST(Md5, OnePieceWhoseBitCountExceeds32Bits)
{
    GTEST_SKIP() << "takes too long in this build: run the release preset";
}
#endif

TEST(Md5, FinalWipesTheContext)
{
    Random random;
    SCOPED_TRACE(random.Trace());
    const std::vector<QAL_UINT8> message = random.Bytes(150);
    for (std::size_t len = 0; len <= message.size(); ++len) {
        MD5_S_CTX context;
        std::memset(&context, 0xA5, sizeof context);
        XELP_MD5_Init(&context);
        Update(context, Bytes(message).first(len));
        Digest digest;
        XELP_MD5_Final(digest.data(), &context);
        const auto *const pucContext = reinterpret_cast<const QAL_UINT8 *>(&context);
        EXPECT_EQ(std::count(pucContext, pucContext + sizeof context, 0), 88) << len;
    }
}

TEST(Md5, WipedContextNeedsInitAgain)
{
    MD5_S_CTX context;
    Digest digest;
    XELP_MD5_Init(&context);
    XELP_MD5_Final(digest.data(), &context);
    EXPECT_EQ(Hex(digest), kPublished[0].digest);
    XELP_MD5_Final(digest.data(), &context); // on the wiped context
    EXPECT_NE(Hex(digest), kPublished[0].digest);
    XELP_MD5_Init(&context);
    XELP_MD5_Final(digest.data(), &context);
    EXPECT_EQ(Hex(digest), kPublished[0].digest);
}

TEST(Md5Blocks, TransformFollowsTheDefinition)
{
    Random random;
    SCOPED_TRACE(random.Trace());
    for (int iRun = 0; iRun < 200; ++iRun) {
        const std::vector<QAL_UINT8> block = random.Bytes(64 + 1);
        State state;
        for (QAL_UINT32 &ul : state) {
            ul = static_cast<QAL_UINT32>(random.UpTo(0xFFFFFFFF));
        }
        const State expected = ModelBlock(state, Bytes(block).subspan(1));
        MD5Transform(state.data(), block.data() + 1);
        EXPECT_EQ(state, expected) << iRun;
    }
}

TEST(Md5Blocks, EncodeWritesTheLowByteFirst)
{
    const QAL_UINT32 aulWords[] = {0x03020100, 0x87868584, 0xDEADBEEF};
    const QAL_UINT8 aucExpected[] = {0, 1, 2, 3, 0x84, 0x85, 0x86, 0x87};
    for (const QAL_UINT len : {0U, 4U, 8U}) {
        for (std::size_t at = 1; at <= 4; ++at) {
            QAL_UINT8 aucBytes[1 + 4 + 8];
            std::memset(aucBytes, 0xA5, sizeof aucBytes);
            Encode(aucBytes + at, aulWords, len);
            EXPECT_TRUE(std::equal(aucExpected, aucExpected + len, aucBytes + at)) << len;
            EXPECT_EQ(std::count(std::begin(aucBytes), std::end(aucBytes), 0xA5),
                      static_cast<std::ptrdiff_t>(sizeof aucBytes - len));
        }
    }
}

TEST(Md5Blocks, DecodeReadsTheLowByteFirst)
{
    const QAL_UINT8 aucBytes[] = {0xA5, 0, 1, 2, 3, 0x84, 0x85, 0x86, 0xFF, 9, 9, 9};
    for (const QAL_UINT len : {0U, 4U, 8U}) {
        QAL_UINT32 aulWords[3] = {0xA5A5A5A5, 0xA5A5A5A5, 0xA5A5A5A5};
        Decode(aulWords, aucBytes + 1, len);
        EXPECT_EQ(aulWords[0], len >= 4 ? 0x03020100 : 0xA5A5A5A5);
        EXPECT_EQ(aulWords[1], len >= 8 ? 0xFF868584 : 0xA5A5A5A5);
        EXPECT_EQ(aulWords[2], 0xA5A5A5A5);
    }
}

#ifdef WYX_HAVE_OPENSSL
TEST(Md5, AgreesWithAnIndependentLibrary)
{
    Random random;
    SCOPED_TRACE(random.Trace());
    for (int iRun = 0; iRun < 300; ++iRun) {
        const std::vector<QAL_UINT8> message = random.Bytes(random.UpTo(5000));
        Digest expected;
        ASSERT_EQ(EVP_Digest(message.data(), message.size(), expected.data(), nullptr, EVP_md5(),
                             nullptr),
                  1);
        EXPECT_EQ(Md5(message), expected) << iRun;
    }
}
#else
TEST(Md5, AgreesWithAnIndependentLibrary)
{
    GTEST_SKIP() << "no OpenSSL: scripts/install_packages.sh libssl-dev";
}
#endif

} // namespace
} // namespace wyx::test
