// CRC-16: compared with published values, and with bit-by-bit division as an independent method.
#include "wyx_commlib/crc.h"

#include "crc_checks.h"

namespace wyx::test {
namespace {

constexpr Crc<QAL_UINT16> kCrc = {XELP_CRC_16, XELP_CRC_Accumulate_16, 0x1021, false,
                                  XELP_ERR_CRC16_INVALID_PARA};

TEST(Crc16, CheckValues)
{
    EXPECT_EQ(kCrc.Whole(Text("123456789")), 0x31C3); // as catalogued for CRC-16/XMODEM
    EXPECT_EQ(kCrc.Whole(Text("a")), 0x7C87);
    EXPECT_EQ(kCrc.Piece(kCrc.Whole(Text("1234")), Text("56789")), 0x31C3);
    EXPECT_EQ(kCrc.Piece(0xFFFF, Text("123456789")), 0x29B1); // the start value is all ones
}

// The CRC of a single byte, starting from 0, is the table entry of that byte.
TEST(Crc16, TableEntries)
{
    EXPECT_EQ(kCrc.Whole(Text("\x01")), 0x1021);
    EXPECT_EQ(kCrc.Whole(Text("\x02")), 0x2042);
    EXPECT_EQ(kCrc.Whole(Text("\xFF")), 0x1EF0);
}

TEST(Crc16, NullPointerReturns10AndWritesNothing)
{
    EXPECT_EQ(kCrc.ulInvalidPara, 10U);
    ExpectRefusesNull(kCrc);
}

TEST(Crc16, EmptyMessageLeavesTheValue)
{
    ExpectEmptyChangesNothing(kCrc);
}

TEST(Crc16, EverySingleByte)
{
    ExpectEveryByte(kCrc);
}

TEST(Crc16, RandomMessagesByLongDivision)
{
    ExpectRemainders(kCrc);
}

TEST(Crc16, PiecesMatchTheWhole)
{
    ExpectSplitsMatchTheWhole(kCrc);
}

TEST(Crc16, EveryLengthAtEveryAlignment)
{
    ExpectLengthsAndAlignments(kCrc);
}

TEST(Crc16, ReadsNothingOutsideTheMessage)
{
    ExpectReadsNothingOutside(kCrc);
}

TEST(Crc16, ResultMayLieInTheMessage)
{
    ExpectResultMayLieInTheMessage(kCrc);
}

TEST(Crc16, MessageLongerThan65535Bytes)
{
    ExpectLongMessage(kCrc);
}
} // namespace
} // namespace wyx::test
