// CRC-32: compared with published values, and with bit-by-bit division as an independent method.
#include "wyx_commlib/crc.h"

#include "crc_checks.h"

#ifdef WYX_HAVE_ZLIB
#include <zlib.h>
#endif

namespace wyx::test {
namespace {

constexpr Crc<QAL_UINT32> kCrc = {XELP_CRC_32, XELP_CRC_Accumulate_32, 0x04C11DB7, true,
                                  XELP_ERR_CRC_INVALID_PARA};

TEST(Crc32, CheckValues)
{
    EXPECT_EQ(kCrc.Whole(Text("123456789")), 0x2DFD2D88U);
    EXPECT_EQ(kCrc.Whole(Text("a")), 0x3AB551CEU);
    EXPECT_EQ(kCrc.Piece(kCrc.Whole(Text("1234")), Text("56789")), 0x2DFD2D88U);
}

// The library leaves both inversions of the common CRC-32 to the caller.
TEST(Crc32, InvertingBeforeAndAfterYieldsTheCommonCrc32)
{
    EXPECT_EQ(kCrc.Piece(0xFFFFFFFF, Text("123456789")), 0x340BC6D9U);
    EXPECT_EQ(~kCrc.Piece(0xFFFFFFFF, Text("123456789")), 0xCBF43926U);
}

// The CRC of a single byte, starting from 0, is the table entry of that byte.
TEST(Crc32, TableEntries)
{
    EXPECT_EQ(kCrc.Whole(Text("\x01")), 0x77073096U);
    EXPECT_EQ(kCrc.Whole(Text("\x80")), 0xEDB88320U);
    EXPECT_EQ(kCrc.Whole(Text("\xFF")), 0x2D02EF8DU);
}

TEST(Crc32, NullPointerReturns10AndWritesNothing)
{
    EXPECT_EQ(kCrc.ulInvalidPara, 10U);
    ExpectRefusesNull(kCrc);
}

TEST(Crc32, EmptyMessageLeavesTheValue)
{
    ExpectEmptyChangesNothing(kCrc);
}

TEST(Crc32, EverySingleByte)
{
    ExpectEveryByte(kCrc);
}

TEST(Crc32, RandomMessagesByLongDivision)
{
    ExpectRemainders(kCrc);
}

TEST(Crc32, PiecesMatchTheWhole)
{
    ExpectSplitsMatchTheWhole(kCrc);
}

TEST(Crc32, EveryLengthAtEveryAlignment)
{
    ExpectLengthsAndAlignments(kCrc);
}

TEST(Crc32, ReadsNothingOutsideTheMessage)
{
    ExpectReadsNothingOutside(kCrc);
}

TEST(Crc32, ResultMayLieInTheMessage)
{
    ExpectResultMayLieInTheMessage(kCrc);
}

TEST(Crc32, MessageLongerThan65535Bytes)
{
    ExpectLongMessage(kCrc);
}

#ifdef WYX_HAVE_ZLIB
TEST(Crc32, AgreesWithZlib)
{
    Random random;
    SCOPED_TRACE(random.Trace());
    for (std::size_t len = 1; len < 3000; len += 1 + len / 8) {
        const std::vector<QAL_UINT8> message = random.Bytes(len);
        const auto start = static_cast<QAL_UINT32>(random.UpTo(0xFFFFFFFF));
        EXPECT_EQ(~kCrc.Piece(~start, message), crc32_z(start, message.data(), len)) << len;
    }
}
#else
TEST(Crc32, AgreesWithZlib)
{
    GTEST_SKIP() << "no zlib: scripts/install_packages.sh zlib1g-dev";
}
#endif
} // namespace
} // namespace wyx::test
